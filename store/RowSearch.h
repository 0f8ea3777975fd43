#pragma once

#include "logging/LogMessage.h"
#include "logging/LogMessageMatcher.h"

#include <QModelIndex>
#include <QString>

#include <cstdint>
#include <memory>

namespace zuLogging {

struct TableRows;

/// A search from cell to cell of a table, row by row and around its ends, that stops at the next
/// cell whose text contains another. It is done in slices: between two of them it remembers the
/// messages of its row and of the row that it began in, and finds them again in what has become of
/// the table.
class RowSearch
{
public:
    /// From a cell of the table on, in this direction.
    RowSearch(const QModelIndex& start, const QString& text, bool directionDown,
              Qt::CaseSensitivity caseRule);

    enum class State
    {
        GoesOn,
        Found,   ///< in `row()` and `column()`
        NotFound ///< in none but the cell that it began with
    };
    /// Looks at the next few hundred rows, fewer if their texts are long. Whoever calls holds the
    /// lock of the model that has the rows, which are those of the same model each time.
    State lookOn(const TableRows& rows);

    int row() const { return row_; }
    int column() const { return column_; }
    // How far it is, in cells. 0 before the first slice.
    std::uint64_t looked() const { return static_cast<std::uint64_t>(total_ - left_); }
    std::uint64_t total() const { return static_cast<std::uint64_t>(total_); }

private:
    bool isInCell(const TableRows& rows, const LogMessage* message, int storedRow, int field) const;
    bool isInAnyField(const TableRows& rows, const LogMessage* message, int storedRow) const;
    int readAhead(const TableRows& rows) const;

    const LogMessageMatcher wanted_;
    const bool down_;
    const int startColumn_;
    int startRow_;
    int row_;
    int column_;
    int hidden_ = 0; ///< rows in front of those shown, in the last slice
    // Of the two rows, while the lock is others'.
    std::shared_ptr<LogMessage> message_;
    std::shared_ptr<LogMessage> startMessage_;
    // Rows that leave or come meanwhile could keep the start cell from being met again: the number
    // of cells at the beginning bounds the search as well.
    bool hasBegun_ = false;
    std::int64_t total_ = 0;
    std::int64_t left_ = 0;
};

} // namespace zuLogging
