#pragma once

#include <QTableView>

namespace zuLogging {

/// The table of log messages: a plain table view under a name of its own, so that it can be told
/// from others by its class (in style sheets, for example). `LogMessageView` sets it up.
class LogTableView : public QTableView
{
    Q_OBJECT

public:
    using QTableView::QTableView;
};

} // namespace zuLogging
