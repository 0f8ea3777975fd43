#pragma once

#include "store/PreparedSort.h"
#include "store/RowContent.h"
#include "store/RowShifts.h"
#include "store/SortKeys.h"
#include "store/TimeReferences.h"

#include <QList>
#include <QString>
#include <Qt>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

namespace zuLogging {

/// What the lock of a LogTableModel guards: the messages, the order and the columns in which they
/// are shown, their time references, and what the views are to be told next. The functions that
/// change rows, order or columns keep all of this in step; none of them tells the views.
///
/// No lock of its own: whoever calls or reads anything here holds the model's.
///
/// Stored rows count in order of arrival, displayed rows in the order that is shown, from the first
/// row shown on: those in front of it are negative.
struct TableRows : RowContent
{
    using Messages = std::vector<std::shared_ptr<LogMessage>>;

    /// Both outlive this; the store may be null.
    TableRows(const LogTableModel& model, const LogContainer* store);

    QList<int> columns; ///< fields, left to right
    TimeReferences references;
    SortKeys sortKeys;         ///< of the sort index
    std::uint64_t version = 0; ///< another one whenever rows, columns or their order change
    Qt::SortOrder sortOrder = Qt::AscendingOrder;
    int sortColumn = 0;
    RowShifts shifts; ///< what happened since the last announcement, by stored row
    int maximumShown = std::numeric_limits<int>::max();
    int announcedHidden = 0; ///< the views' row numbers begin behind so many

    int count() const { return static_cast<int>(messages.size()); }
    /// Rows that are not shown; they come first in the order in which rows are displayed.
    int hidden() const { return std::max(count() - maximumShown, 0); }
    int shown() const { return count() - hidden(); }

    /// Null for a stored row that is not there.
    const LogMessage* at(int row) const
    {
        return row >= 0 && row < count() ? messages[static_cast<std::size_t>(row)].get() : nullptr;
    }
    std::shared_ptr<LogMessage> sharedAt(int row) const
    {
        return at(row) ? messages[static_cast<std::size_t>(row)] : nullptr;
    }
    /// May be out of range, as `displayedRow` may.
    int stored(int displayedRow) const
    {
        const int position = displayedRow + hidden();
        return sortIndex.isEmpty() ? position : sortIndex.indexAt(position);
    }
    /// The stored row of the message that was in a displayed row at the last announcement; out of
    /// range when it is gone. A sorted table shows others in the place of those that leave.
    int storedWhenAnnounced(int displayedRow) const
    {
        return sortIndex.isEmpty() ? shifts.newRow(displayedRow + announcedHidden)
                                   : stored(displayedRow);
    }
    /// The message of a displayed row, null if there is none, and its stored row.
    const LogMessage* shownMessage(int displayedRow, int& storedRow) const
    {
        storedRow = stored(displayedRow);
        return at(storedRow);
    }
    /// Where the message that was in the displayed `row`, with `hiddenThen` rows in front of those
    /// shown, is displayed now that older ones may have left; negative if it is not shown any more.
    /// A sorted table shows others in the place of those that leave: there rows stay.
    int movedRow(int row, int hiddenThen, const std::shared_ptr<LogMessage>& message) const;
    /// By stored row: its place in the order of a sort index, -1 for none. Empty when there is no
    /// order.
    template <class Index>
    static std::vector<int> displayedRows(const Index& index, int count);
    /// Messages from stored row `first` on.
    Messages from(int first, int atMost) const;
    /// Those of them that `keep` wants, in order. With many, `keep` is asked on two threads at
    /// once.
    Messages from(int first, int atMost, const std::function<bool(const LogMessage&)>& keep) const;

    int fieldAt(int column) const
    {
        return column >= 0 && column < columns.size() ? columns.at(column) : FieldNone;
    }
    /// What the cell of a message in a row shows; empty for a field that there is not.
    QString cellText(const LogMessage& message, int storedRow, int field) const;
    /// The same by place; empty for one that is not there.
    QString shownText(int displayedRow, int column) const;

    /// Before a stored row, or at the end; without a message nothing happens.
    void insert(int row, std::shared_ptr<LogMessage> message);
    void append(std::shared_ptr<LogMessage> message) { insert(count(), std::move(message)); }
    /// Stored row 0, to be freed without the lock; null when there is none.
    std::shared_ptr<LogMessage> takeOldest();
    /// The first rows, so many if there are, in order.
    std::deque<std::shared_ptr<LogMessage>> takeOldest(int atMost);
    /// The first row with this identifier, sign-extended, if it is 1 or more. The sort index is not
    /// touched.
    std::shared_ptr<LogMessage> takeByIdentifier(int identifier);
    /// Unsorted from now on.
    void exchange(RowContent& rows);

    /// What the rows are sorted by when they are sorted by this column now.
    SortKeys keysOf(int column) const { return {fieldAt(column), references.showSeconds()}; }
    /// Sorts by a column, by none if there is no such.
    void sort(int column, Qt::SortOrder order);
    /// What is to be worked out beside the rows for that, room for it included.
    PreparedSort beginSort(int column, Qt::SortOrder order) const;
    /// Does in a moment what `sort` does, once it is worked out. False, with nothing done, if what
    /// was prepared was made of other rows, columns or another order.
    bool takeOver(PreparedSort& prepared);
    /// The rows stay in the order that they are in, also when their sort column goes.
    void removeColumn(int column);
    void addColumn(int field);
    /// The same columns in another order.
    void setColumnOrder(const QList<int>& fields);
    /// From here on the views' row numbers are those of now.
    void markAnnounced()
    {
        shifts.clear();
        announcedHidden = hidden();
    }

private:
    void addToSortIndex(const std::shared_ptr<LogMessage>& message, int storedRow);
};

template <class Index>
std::vector<int> TableRows::displayedRows(const Index& index, int count)
{
    std::vector<int> displayed;
    const int entries = index.size();
    if (entries == 0)
        return displayed;
    displayed.assign(static_cast<std::size_t>(count), -1);
    for (int position = std::min(count, entries) - 1; position >= 0; --position) {
        const int row = index.indexAt(position);
        if (row < count)
            displayed[static_cast<std::size_t>(row)] = position;
    }
    return displayed;
}

} // namespace zuLogging
