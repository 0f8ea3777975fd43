#pragma once

#include "view/CellRange.h"

#include <vector>

class QHeaderView;
class QItemSelectionModel;

namespace zuLogging {

// What is selected in a table, by ranges: of millions of selected rows nobody wants to go through
// the cells. GUI thread.

/// A copy that other threads may have.
std::vector<CellRange> selectedRanges(const QItemSelectionModel& selection);

/// Has the header mark the columns in which something is selected, unless too many rows are in one
/// piece: it would ask about each of them whenever it paints. To be called at each change.
void markSelectedColumns(QHeaderView& header, QItemSelectionModel& selection);

/// Lets go of the first `count` rows; a range that begins in them goes on with its rest.
void deselectFirstRows(QItemSelectionModel& selection, int count);

} // namespace zuLogging
