#pragma once

#include <QString>

#include <utility>

namespace zuLogging {

/// One entry of a sort index: a row's key and its number in order of arrival.
template <class Key>
struct ListItem
{
    Key key;
    int row;
};

/// Entries with text keys carry the text's first four code units as one number, most significant
/// first: where two of these differ they order the texts, and no text is looked at.
template <>
struct ListItem<QString>
{
    quint64 prefix;
    QString key;
    int row;

    ListItem(const QString& text, int rowNumber);
};

/// The keys' ascending order: texts by UTF-16 code units, numbers by value.
template <class Key>
bool operator<(const ListItem<Key>& a, const ListItem<Key>& b)
{
    return a.key < b.key;
}

inline bool operator<(const ListItem<QString>& a, const ListItem<QString>& b)
{
    return a.prefix != b.prefix ? a.prefix < b.prefix : a.key < b.key;
}

inline void swap(ListItem<QString>& a, ListItem<QString>& b) noexcept
{
    std::swap(a.prefix, b.prefix);
    a.key.swap(b.key);
    std::swap(a.row, b.row);
}

inline ListItem<QString>::ListItem(const QString& text, int rowNumber)
    : prefix(0)
    , key(text)
    , row(rowNumber)
{
    // Missing units count as 0: a text never orders behind one that continues it.
    const int length = key.size();
    const QChar* const units = key.constData();
    for (int i = 0; i < 4; ++i)
        prefix = (prefix << 16) | (i < length ? units[i].unicode() : 0U);
}

} // namespace zuLogging
