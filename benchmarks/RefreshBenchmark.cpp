// What one refresh of the live table costs the window's thread: 800 new rows a tick (10,000 a
// second), auto scroll on, beside the same tick with few rows in the table.

#include "benchmarks/BenchmarkRun.h"
#include "benchmarks/BenchmarkWindow.h"
#include "benchmarks/Goals.h"
#include "benchmarks/Scale.h"
#include "store/LogTableModel.h"
#include "store/ViewSettings.h"

#include <QApplication>
#include <QHeaderView>
#include <QLabel>

#include <memory>
#include <string>
#include <vector>

namespace zuLogging::benchmarks {

namespace {

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
    BenchmarkWindow window(store);
    LogMessageView* view = &window.view();
    view->setAutoScroll(true);
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
    require(state,
            view->fullModel()->rowCount() ==
                rows + (atLimit ? 0 : newRows * static_cast<int>(state.iterations())),
            "every row is in the table");
}

/// Time of the window's thread for a tick, and for painting what it painted once more:
/// the cells, the row numbers and the counters.
void tickBesideRepaint(benchmark::State& state)
{
    constexpr int newRows = 800;
    const int rows = static_cast<int>(state.range(0));
    ViewSettings::instance().reset();
    auto store = std::make_shared<LogContainer>();
    BenchmarkWindow window(store);
    LogMessageView& view = window.view();
    view.setAutoScroll(true);
    view.fullModel()->addMessages(someMessages(1, rows));
    view.updateView();
    QApplication::processEvents();
    auto next = static_cast<std::uint64_t>(rows) + 1;
    for (auto _ : state) {
        std::vector<double> ticks;
        std::vector<double> repaints;
        for (int round = 0; round < scaled(200, 5); ++round) {
            view.fullModel()->addMessages(someMessages(next, newRows));
            next += newRows;
            ticks.push_back(1000 * secondsOf([&] {
                                view.updateView();
                                QApplication::processEvents();
                            }));
            repaints.push_back(1000 * secondsOf([&] {
                                   view.table()->viewport()->update();
                                   view.table()->verticalHeader()->viewport()->update();
                                   for (const char* label : {"countLabel", "queuedLabel"})
                                       view.findChild<QLabel*>(QLatin1String(label))->update();
                                   QApplication::processEvents();
                               }));
        }
        require(state,
                view.table()->rowAt(view.table()->viewport()->height() - 2) ==
                    view.fullModel()->rowCount() - 1,
                "the newest row is in view");
        state.counters["tick_ms"] = median(ticks);
        state.counters["repaint_ms"] = median(repaints);
        report({"refresh tick, " + std::to_string(rows) + " rows, 800 new", median(ticks), "ms",
                "repaint alone", median(repaints), Goal::Kind::AtMostTimes, 1.5});
    }
}

BENCHMARK(refreshTick)
    ->ArgNames({"rows", "at_limit"})
    ->ArgsProduct({{1000, scaled(1000000, 5000)}, {0, 1}})
    ->Iterations(scaled(100, 3))
    ->Unit(benchmark::kMillisecond);
BENCHMARK(tickBesideRepaint)
    ->ArgName("rows")
    ->Arg(scaled(1000000, 5000))
    ->Iterations(1)
    ->Unit(benchmark::kSecond);

} // namespace

} // namespace zuLogging::benchmarks

int main(int argc, char** argv)
{
    return zuLogging::benchmarks::runWindowBenchmarks(argc, argv);
}
