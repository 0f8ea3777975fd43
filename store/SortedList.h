#pragma once

#include "store/ListItem.h"

#include <QString>
#include <QVariant>
#include <Qt>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace zuLogging {

class WorkControl;

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
    /// What the order is made of.
    struct TextPosition
    {
        std::uint32_t item; ///< in texts_
        int row;
    };

public:
    /// The entries in another order, worked out beside a list for its `setOrder`.
    class Order
    {
    public:
        int size() const;
        /// The row number of the entry at `position`, which is there.
        int indexAt(int position) const { return rowOf(texts_, numbers_, reals_, position); }

    private:
        friend SortedList;
        std::vector<TextPosition> texts_;
        std::vector<ListItem<quint64>> numbers_;
        std::vector<ListItem<float>> reals_;
    };

    SortedList() = default;
    SortedList(SortedList&&) = default;
    SortedList& operator=(SortedList&&) = default;
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
    /// With a `control` it tells how far it is; when it throws WorkCancelled the list is good for
    /// nothing but to be cleared.
    void sort(Qt::SortOrder order, WorkControl* control = nullptr);
    /// What `sort` would make of the list as it is. The list must not change meanwhile.
    Order sorted(Qt::SortOrder order, WorkControl* control) const;
    /// Takes the order over that was made of this list as it is; `order` gets the one before.
    void setOrder(Order& order);

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

    void addText(TextItem item, int row);
    std::vector<TextPosition> sortedTexts(Qt::SortOrder order, WorkControl* control) const;
    static int sizeOf(const std::vector<TextPosition>& texts,
                      const std::vector<ListItem<quint64>>& numbers,
                      const std::vector<ListItem<float>>& reals);
    static int rowOf(const std::vector<TextPosition>& texts,
                     const std::vector<ListItem<quint64>>& numbers,
                     const std::vector<ListItem<float>>& reals, int position)
    {
        const auto at = static_cast<std::size_t>(position);
        if (!texts.empty())
            return texts[at].row;
        return numbers.empty() ? reals[at].row : numbers[at].row;
    }

    std::vector<TextItem> texts_;          ///< in no order; they stay where they are
    std::vector<TextPosition> textOrder_;  ///< the entries with text keys
    std::vector<std::uint32_t> freeTexts_; ///< places in texts_ to be used again
    std::size_t nextForgotten_ = 0;        ///< where copyForgottenTexts goes on
    std::vector<ListItem<quint64>> numbers_;
    std::vector<ListItem<float>> reals_;
    int rowZeroEntries_ = 0; ///< how many entries have row number 0
};

} // namespace zuLogging
