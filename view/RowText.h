#pragma once

#include "view/CellRange.h"

#include <QString>

#include <vector>

class QFile;

namespace zuLogging {

class LogTableModel;
class WorkControl;

// Rows of a table as text, for files and the clipboard. Any thread, but no row may come or go
// meanwhile (LogContainer::holdRows): rows are read by their numbers. All throw WorkCancelled, and
// std::bad_alloc where the text is too large.

/// All rows, also those in front of the ones shown: each cell followed by a tab, each row by a
/// newline.
QString rowsAsText(const LogTableModel& model, WorkControl& control);

/// Appends the program's name and all rows, as above, to a file that is open. Where that is
/// cancelled the file has the size that it had, and is removed if it `isNew`.
void appendRows(QFile& file, bool isNew, const LogTableModel& model, WorkControl& control);

/// The cells row by row, left to right: tabs between the cells of a row, newlines between rows.
/// `ranges` do not overlap; what is no row any more is left out.
QString cellsAsText(const LogTableModel& model, std::vector<CellRange> ranges,
                    WorkControl& control);

} // namespace zuLogging
