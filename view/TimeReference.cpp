#include "view/TimeReference.h"

#include "store/LogTableModel.h"

namespace zuLogging {

namespace {

/// The stored row in the full model; -1 if there is none.
int fullRowOf(const LogTableModel& full, const LogTableModel& shown, const QModelIndex& current)
{
    if (!current.isValid())
        return -1;
    const int shownRow = shown.storedRow(current.row());
    if (&shown == &full)
        return shownRow;
    const std::shared_ptr<LogMessage> message = shown.messageAt(shownRow);
    if (!message)
        return -1;
    // Hardly ever earlier than among those that pass the filter: only where that kept rows which
    // the full model has lost.
    const int rows = full.messageCount();
    for (int i = 0; i < rows; ++i) {
        const int row = (shownRow + i) % rows;
        if (full.messageAt(row) == message)
            return row;
    }
    return -1;
}

} // namespace

void toggleTimeReference(LogTableModel& full, const LogTableModel& shown,
                         const QModelIndex& current)
{
    const int storedRow = fullRowOf(full, shown, current);
    if (storedRow < 0)
        return;
    // The model takes displayed rows. Unsorted, or by luck, that is the number itself.
    const int hidden = full.hiddenRows();
    int displayedRow = &shown == &full ? current.row() : storedRow - hidden;
    if (full.storedRow(displayedRow) != storedRow) {
        const int rows = full.rowCount();
        displayedRow = -hidden;
        while (displayedRow < rows && full.storedRow(displayedRow) != storedRow)
            ++displayedRow;
        if (displayedRow == rows)
            return;
    }
    if (full.references().contains(storedRow))
        full.removeReference(displayedRow);
    else
        full.addReference(displayedRow);
}

} // namespace zuLogging
