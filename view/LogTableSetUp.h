#pragma once

class QTableView;

namespace zuLogging {

/// How the message table looks and is used, once it has its model: called once. The header's mark
/// stands for rows as they came; who follows it sorts, the table does not. GUI thread.
void setUpLogTable(QTableView& table);

} // namespace zuLogging
