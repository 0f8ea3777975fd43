#pragma once

#include "store/ListItem.h"

#include <QString>
#include <QVariant>
#include <Qt>

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace zuLogging {

/// The sort index of a table model: one (key, row number) entry a row. Sorts with a median-of-three
/// quicksort that is not stable: the order of rows with equal keys is part of what users see, so
/// the comparisons, the choice of the pivot and the swaps are fixed. Input on which that would take
/// quadratic time is sorted in another way, which leaves equal keys in another order. Stack depth
/// is logarithmic.
///
/// `insert` only ever appends, and `remove` leaves the row numbers of the other entries alone; the
/// model rebuilds the list at the next change of the sort column. No lock of its own.
class SortedList
{
public:
    SortedList() = default;
    virtual ~SortedList();

    /// Appends an entry to the list of the key's type: QString, qulonglong or float. A key of any
    /// other type is ignored.
    void insert(const QVariant& key, int row);
    // The same without a variant around the key.
    void insertText(const QString& key, int row);
    void insertNumber(quint64 key, int row);
    void insertReal(float key, int row);
    /// A text that `owner` keeps, or that lives for ever if there is none.
    void insertSharedText(std::u16string_view key, std::shared_ptr<const void> owner, int row);

    /// Rows leave a table at its limit while their entries stay: looks at the next two entries and
    /// copies a text whose owner nobody but this list holds any more, to let go of the rest of a
    /// message. To be called with each entry that comes after the first sort.
    void copyForgottenTexts();

    /// Makes room for as many entries of either kind.
    void reserveTexts(int count);
    void reserveNumbers(int count);

    /// The row number of the entry at `position`; -1 when there is none.
    int indexAt(int position) const;
    bool isEmpty() const;
    int size() const;
    void clear();
    void remove(int position);
    void sort(Qt::SortOrder order);

    /// The first position whose row number is 0; -1, at once, when no entry has it.
    int firstPositionOfRowZero() const;

private:
    /// A text by reference: an index over a million messages must not copy them.
    struct TextItem
    {
        const char16_t* units;
        std::uint32_t length;
        bool isCopy; ///< `owner` holds nothing but this text
        std::shared_ptr<const void> owner;

        std::u16string_view text() const { return {units, length}; }
    };
    /// What the order is made of.
    struct TextPosition
    {
        std::uint32_t item; ///< in texts_
        int row;
    };

    void addText(TextItem item, int row);
    void sortTexts(Qt::SortOrder order);
    int rowAt(std::size_t position) const;

    std::vector<TextItem> texts_;          ///< in no order; they stay where they are
    std::vector<TextPosition> textOrder_;  ///< the entries with text keys
    std::vector<std::uint32_t> freeTexts_; ///< places in texts_ to be used again
    std::size_t nextForgotten_ = 0;        ///< where copyForgottenTexts goes on
    std::vector<ListItem<quint64>> numbers_;
    std::vector<ListItem<float>> reals_;
    int rowZeroEntries_ = 0; ///< how many entries have row number 0
};

} // namespace zuLogging
