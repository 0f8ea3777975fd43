#pragma once

#include "view/CellRange.h"

#include <vector>

class QHeaderView;
class QItemSelectionModel;
class QTableView;

namespace zuLogging {

class LogTableModel;

// What is selected in a table, by ranges: of millions of selected rows nobody wants to go through
// the cells. GUI thread.

/// A copy that other threads may have.
std::vector<CellRange> selectedRanges(const QItemSelectionModel& selection);

/// Has the header mark the columns in which something is selected, unless too many rows are in one
/// piece: it would ask about each of them whenever it paints. To be called at each change.
void markSelectedColumns(QHeaderView& header, QItemSelectionModel& selection);

/// From now on rows that leave `model` at its front are selected no more in the table, while it
/// shows that model; a range that begins in them goes on with its rest.
void deselectRowsThatLeave(QTableView& table, LogTableModel& model);

} // namespace zuLogging
