#pragma once

#include "app/Application.h"
#include "app/MainView.h"
#include "store/LogContainer.h"
#include "store/LogTableModel.h"
#include "store/ViewSettings.h"
#include "tests/service/ProgramRun.h"
#include "view/LogMessageView.h"

#include <QAction>
#include <QLabel>
#include <QString>
#include <QToolButton>

#include <gtest/gtest.h>

namespace zuLogging::test {

/// The window, opened as the program opens it, and what a user does with it.
class WindowTest : public ::testing::Test
{
protected:
    ~WindowTest() override
    {
        window_.reset();
        ViewSettings::instance().reset();
    }

    bool openWindow()
    {
        createMainView(window_);
        return window_ != nullptr;
    }

    LogMessageView& view() { return *window_->messageView(); }
    LogTableModel& model() { return *view().fullModel(); }

    QToolButton* button(const char* toolTip)
    {
        for (QToolButton* candidate : view().findChildren<QToolButton*>())
            if (candidate->toolTip() == QLatin1String(toolTip))
                return candidate;
        qFatal("no button \"%s\"", toolTip);
        return nullptr;
    }
    QToolButton* startButton() { return button("Start logging"); }
    QToolButton* stopButton() { return button("Stop logging"); }

    QAction* command(const char* text)
    {
        for (QAction* candidate : window_->findChildren<QAction*>())
            if (candidate->text() == QLatin1String(text))
                return candidate;
        qFatal("no command \"%s\"", text);
        return nullptr;
    }

    QString shownServiceState()
    {
        return view().findChild<QLabel*>(QStringLiteral("serviceLabel"))->text();
    }

    bool isStopped() { return startButton()->isEnabled() && !stopButton()->isEnabled(); }
    bool isLogging() { return !startButton()->isEnabled() && stopButton()->isEnabled(); }
    bool isStopping() { return !startButton()->isEnabled() && !stopButton()->isEnabled(); }

    /// `zulog demo` as a process of its own. It waits for the service's acknowledge of each
    /// message. Nobody waits for a window: its socket has room for some 300, which at 2000 a second
    /// is 150 ms of standing still.
    static ProgramRun demo(int rate, int count)
    {
        return runProgram(QStringLiteral("zulog"),
                          {QStringLiteral("demo"), QStringLiteral("--reliable"),
                           QStringLiteral("--rate"), QString::number(rate),
                           QStringLiteral("--count"), QString::number(count)},
                          {}, {}, 60000);
    }

    /// Tells on which side of the service something was lost.
    /// And what the window knows of messages that never became rows.
    std::string lastRow()
    {
        const std::shared_ptr<LogMessage> last = model().messageAt(model().rowCount() - 1);
        const LogLedger& ledger = *window_->messageStore()->ledger();
        const std::string lost =
            "; lost in the socket: " + std::to_string(ledger.count(LogCount::LostInSocket)) +
            ", missing numbers: " + std::to_string(ledger.count(LogCount::MissingNumbers)) +
            ", dropped from the queue: " + std::to_string(ledger.count(LogCount::DroppedFromQueue));
        return (last ? "the last row has number " + std::to_string(last->sourceMsgId()) +
                           " of its sender and " + std::to_string(last->serviceMsgId()) +
                           " of the service"
                     : "no row") +
               lost;
    }

    MainViewHolder window_;
};

} // namespace zuLogging::test
