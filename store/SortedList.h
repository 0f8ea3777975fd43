#pragma once

#include "store/ListItem.h"

#include <QString>
#include <QVariant>
#include <Qt>

#include <vector>

namespace zuLogging {

/// The sort index of a table model: one (key, row number) entry a row. Sorts with a median-of-three
/// quicksort that is not stable: the order of rows with equal keys is part of what users see, so
/// the comparisons, the choice of the pivot and the swaps are fixed. Stack depth is logarithmic.
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
    std::vector<ListItem<QString>> texts_;
    std::vector<ListItem<quint64>> numbers_;
    std::vector<ListItem<float>> reals_;
    int rowZeroEntries_ = 0; ///< how many entries have row number 0
};

} // namespace zuLogging
