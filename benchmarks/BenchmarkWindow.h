#pragma once

#include "benchmarks/BenchmarkRun.h"
#include "store/LogContainer.h"
#include "view/LogMessageView.h"
#include "view/LogTableView.h"
#include "view/LogViewHost.h"

#include <QApplication>
#include <QMainWindow>
#include <QStatusBar>

#include <memory>
#include <utility>

namespace zuLogging::benchmarks {

/// The main window as far as the message view is concerned, with the real view in it, shown.
class BenchmarkWindow : public QMainWindow, public LogViewHost
{
public:
    explicit BenchmarkWindow(std::shared_ptr<LogContainer> store)
        : store_(std::move(store))
    {
        view_ = new LogMessageView(statusBar(), this);
        setCentralWidget(view_);
        resize(1536, 864);
        show();
    }
    /// The view goes while what it asks its host for is still there.
    ~BenchmarkWindow() override { delete view_; }

    LogMessageView& view() { return *view_; }

    std::shared_ptr<LogContainer> messageStore() const override { return store_; }
    bool isConfigurationModified() const override { return false; }
    QAction* filterAction() const override { return nullptr; }
    QAction* resizeRowsAction() const override { return nullptr; }
    QAction* replayAction() const override { return nullptr; }
    QAction* startAction() const override { return nullptr; }
    QAction* stopAction() const override { return nullptr; }
    QAction* dateAndTimeAction() const override { return nullptr; }
    QAction* secondsAction() const override { return nullptr; }

private:
    std::shared_ptr<LogContainer> store_;
    LogMessageView* view_ = nullptr;
};

/// What runBenchmarks does, in a program with windows that nobody sees.
inline int runWindowBenchmarks(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qunsetenv("ARZDATA"); // nothing is read or written
    const QApplication application(argc, argv);
    return runBenchmarks(argc, argv);
}

} // namespace zuLogging::benchmarks
