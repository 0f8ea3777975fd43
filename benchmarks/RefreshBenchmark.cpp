// What one refresh of the live table costs the window's thread: 800 new rows a tick (10,000 a
// second), auto scroll on, beside the same tick with few rows in the table.

#include "store/LogContainer.h"
#include "store/LogTableModel.h"
#include "store/ViewSettings.h"
#include "view/LogMessageView.h"
#include "view/LogTableView.h"
#include "view/LogViewHost.h"

#include <QApplication>
#include <QMainWindow>
#include <QStatusBar>

#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

namespace zuLogging::benchmarks {

namespace {

class Window : public QMainWindow, public LogViewHost
{
public:
    explicit Window(std::shared_ptr<LogContainer> store)
        : store_(std::move(store))
    {
    }

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
};

std::vector<std::shared_ptr<LogMessage>> someMessages(std::uint64_t first, int count)
{
    std::vector<std::shared_ptr<LogMessage>> messages;
    messages.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        const std::uint64_t id = first + static_cast<std::uint64_t>(i);
        auto message = std::make_shared<LogMessage>(
            id, id, id, 19000000000000000ULL + id * 100, 8, u"OrderService.cpp:1234",
            u"OrderService", u"Network", u"Order 4711 was accepted after 12 ms and passed on",
            std::uint64_t{4711}, std::uint64_t{4712});
        message->renderTimestamp();
        messages.push_back(std::move(message));
    }
    return messages;
}

void refreshTick(benchmark::State& state)
{
    constexpr int newRows = 800;
    const int rows = static_cast<int>(state.range(0));
    const bool atLimit = state.range(1) != 0;
    ViewSettings::instance().reset();
    auto store = std::make_shared<LogContainer>();
    Window window(store);
    auto* view = new LogMessageView(window.statusBar(), &window);
    window.setCentralWidget(view);
    view->setAutoScroll(true);
    window.resize(1536, 864);
    window.show();
    view->fullModel()->addMessages(someMessages(1, rows));
    view->updateView();
    QApplication::processEvents();

    auto next = static_cast<std::uint64_t>(rows) + 1;
    for (auto _ : state) {
        state.PauseTiming();
        view->fullModel()->addMessages(someMessages(next, newRows));
        if (atLimit)
            view->fullModel()->removeOldest(newRows);
        next += newRows;
        state.ResumeTiming();
        view->updateView();
        QApplication::processEvents(); // paints what the refresh made dirty
    }
    state.counters["rows"] = view->fullModel()->rowCount();
}

BENCHMARK(refreshTick)
    ->ArgNames({"rows", "at_limit"})
    ->ArgsProduct({{1000, 1000000}, {0, 1}})
    ->Iterations(100)
    ->Unit(benchmark::kMillisecond);

} // namespace

} // namespace zuLogging::benchmarks

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qunsetenv("ARZDATA"); // nothing is read or written
    QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
