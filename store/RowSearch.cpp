#include "store/RowSearch.h"

#include "store/FieldAccess.h"
#include "store/TableRows.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <string_view>

namespace zuLogging {

namespace {

/// What one slice looks at: so many rows, or fewer when their texts are longer than so many
/// characters a row.
constexpr std::size_t searchSlice = 512;
constexpr std::size_t usualTexts = 1024;

} // namespace

RowSearch::RowSearch(const QModelIndex& start, const QString& text, bool directionDown,
                     Qt::CaseSensitivity caseRule)
    : wanted_(text, caseRule)
    , down_(directionDown)
    , startColumn_(start.column())
    , startRow_(start.row())
    , row_(start.row())
    , column_(start.column())
{
}

RowSearch::State RowSearch::lookOn(const TableRows& rows)
{
    row_ = rows.movedRow(row_, hidden_, message_);
    startRow_ = rows.movedRow(startRow_, hidden_, startMessage_);
    hidden_ = rows.hidden();
    const int rowsNow = rows.shown();
    const int columns = rows.columns.size();
    if (rowsNow == 0 || columns == 0)
        return State::NotFound;
    if (!hasBegun_) {
        hasBegun_ = true;
        total_ = static_cast<std::int64_t>(rowsNow) * columns;
        left_ = total_;
    }
    if (row_ < 0 || row_ >= rowsNow || column_ >= columns) { // gone: on with the table's end
        row_ = down_ ? rowsNow - 1 : 0;
        column_ = down_ ? columns - 1 : 0;
    }
    int rowsRead = 0; // ahead
    for (std::size_t slice = 0; slice < searchSlice;) {
        bool newRow = false;
        if (down_ && ++column_ == columns) {
            column_ = 0;
            row_ = row_ + 1 < rowsNow ? row_ + 1 : 0;
            newRow = true;
        } else if (!down_ && --column_ < 0) {
            column_ = columns - 1;
            row_ = row_ > 0 ? row_ - 1 : rowsNow - 1;
            newRow = true;
        }
        int storedRow = -1;
        const LogMessage* const shown = rows.shownMessage(row_, storedRow);
        if (newRow) {
            if (rowsRead == 0)
                rowsRead = readAhead(rows);
            --rowsRead;
            slice += 1 + (shown ? shown->texts().size() / usualTexts : 0);
            // Most rows are left behind after one look instead of one at each of their cells.
            if (row_ != startRow_ && !isInAnyField(rows, shown, storedRow)) {
                if (left_ < columns)
                    return State::NotFound;
                left_ -= columns;
                column_ = down_ ? columns - 1 : 0;
                continue;
            }
        }
        if ((row_ == startRow_ && column_ == startColumn_) || left_ == 0)
            return State::NotFound;
        --left_;
        if (isInCell(rows, shown, storedRow, rows.columns.at(column_)))
            return State::Found;
    }
    message_ = rows.sharedAt(row_ + hidden_);
    startMessage_ = rows.sharedAt(startRow_ + hidden_);
    return State::GoesOn;
}

bool RowSearch::isInCell(const TableRows& rows, const LogMessage* message, int storedRow,
                         int field) const
{
    if (!message)
        return wanted_.isEmpty();
    if (isTextField(field))
        return wanted_.foundInText(textOf(*message, field));
    if (isNumberField(field))
        return wanted_.foundInNumber(numberOf(*message, field));
    switch (field) {
    case FieldTimestamp:
        if (!rows.references.showSeconds())
            return wanted_.foundInTimestampText(*message);
        return wanted_.canBeInSeconds(TimeReferences::itself, TimeReferences::none) &&
               wanted_.foundInText(rows.references.cellText(*message, storedRow));
    case FieldLogLevelHex:
        return wanted_.foundInLevelCode(message->logLevel());
    case FieldLogLevel:
        return wanted_.foundInLevelName(message->logLevel());
    default:
        return wanted_.isEmpty();
    }
}

bool RowSearch::isInAnyField(const TableRows& rows, const LogMessage* message, int storedRow) const
{
    if (!message)
        return wanted_.isEmpty();
    // The four texts in one go; what is left costs next to nothing unless the text could be in it.
    constexpr int others[] = {FieldServiceMsgID, FieldSourceMsgID, FieldSenderMsgID, FieldTimestamp,
                              FieldLogLevelHex,  FieldLogLevel,    FieldProcessID,   FieldThreadID};
    return wanted_.foundInTexts(*message) ||
           std::any_of(std::begin(others), std::end(others),
                       [&](int field) { return isInCell(rows, message, storedRow, field); });
}

/// Reads the texts of the next rows of a sorted table, which lie scattered in memory: the processor
/// waits for many reads at once as long as nothing depends on what they bring. Returns for how many
/// rows from this one on it need not be done again.
int RowSearch::readAhead(const TableRows& rows) const
{
    constexpr int rowsAhead = 32;
    constexpr std::size_t unitsInCacheLine = 32;
    if (rows.sortIndex.isEmpty())
        return rowsAhead;
    // One step after the other for all of them: the row's message, the place of its texts, the
    // texts.
    std::array<const LogMessage*, rowsAhead> messages;
    int storedRow = -1;
    for (int i = 0; i < rowsAhead; ++i)
        messages[static_cast<std::size_t>(i)] =
            rows.shownMessage(down_ ? row_ + i : row_ - i, storedRow);
    std::array<std::u16string_view, rowsAhead> texts;
    for (std::size_t i = 0; i < texts.size(); ++i)
        if (messages[i])
            texts[i] = messages[i]->texts().substr(0, usualTexts);
    for (const std::u16string_view text : texts)
        for (std::size_t i = 0; i < text.size(); i += unitsInCacheLine)
            static_cast<void>(*static_cast<const volatile char16_t*>(text.data() + i));
    return rowsAhead;
}

} // namespace zuLogging
