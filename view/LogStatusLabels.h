#pragma once

#include <QCoreApplication>
#include <QPointer>

class QLabel;
class QStatusBar;

namespace zuLogging {

class LogCounts;
class LogTableModel;

/// What the right of the status bar tells of the messages, where there is something to tell: that
/// there are more rows than the table can show, and how many messages were lost. The labels go with
/// this object, or with the status bar. GUI thread.
class LogStatusLabels
{
    Q_DECLARE_TR_FUNCTIONS(zuLogging::LogStatusLabels)

public:
    /// `statusBar` may be null: then nothing is told.
    explicit LogStatusLabels(QStatusBar* statusBar);
    ~LogStatusLabels();
    LogStatusLabels(const LogStatusLabels&) = delete;
    LogStatusLabels& operator=(const LogStatusLabels&) = delete;

    void showRows(const LogTableModel& shown);
    /// `counts`: since the last clear.
    void showLost(const LogCounts& counts);

private:
    QPointer<QLabel> rows_;
    QPointer<QLabel> lost_;
};

} // namespace zuLogging
