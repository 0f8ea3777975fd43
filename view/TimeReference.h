#pragma once

class QModelIndex;

namespace zuLogging {

class LogTableModel;

/// Makes the row of `current`, an index of `shown`, a time reference of the model of all messages,
/// or takes that back. `shown` is one of the two models; does nothing when the row is not there
/// (any more). GUI thread.
void toggleTimeReference(LogTableModel& full, const LogTableModel& shown,
                         const QModelIndex& current);

} // namespace zuLogging
