// "Resize rows" in tables of growing size: what the person waits for when it is switched on, and
// when the view jumps to rows that were not measured before, beside painting the same rows.

#include "benchmarks/BenchmarkRun.h"
#include "benchmarks/BenchmarkWindow.h"
#include "benchmarks/Goals.h"
#include "benchmarks/Scale.h"
#include "store/LogTableModel.h"
#include "store/ViewSettings.h"

#include <QApplication>
#include <QScrollBar>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace zuLogging::benchmarks {
namespace {

std::vector<std::shared_ptr<LogMessage>> messagesOfSeveralLines(int count)
{
    std::vector<std::shared_ptr<LogMessage>> messages;
    messages.reserve(static_cast<std::size_t>(count));
    for (std::uint64_t id = 1; id <= static_cast<std::uint64_t>(count); ++id) {
        std::u16string text = u"Order 4711 was accepted after 12 ms and passed on";
        for (std::uint64_t line = 0; line < id % 4; ++line)
            text += u"\na line of what it was about";
        auto message = std::make_shared<LogMessage>(
            id, id, id, 19000000000000000ULL + id * 100, 8, u"OrderService.cpp:1234",
            u"OrderService", u"Network", text, std::uint64_t{4711}, std::uint64_t{4712});
        message->renderTimestamp();
        messages.push_back(std::move(message));
    }
    return messages;
}

void resizeRows(benchmark::State& state)
{
    const int rows = static_cast<int>(state.range(0));
    ViewSettings::instance().reset();
    for (auto _ : state) {
        auto store = std::make_shared<LogContainer>();
        BenchmarkWindow window(store);
        LogMessageView& view = window.view();
        view.setAutoScroll(false);
        view.fullModel()->addMessages(messagesOfSeveralLines(rows));
        view.updateView();
        QApplication::processEvents();
        QTableView* table = view.table();
        QScrollBar* bar = table->verticalScrollBar();
        const auto milliseconds = [](const std::function<void()>& work) {
            return 1000 * secondsOf([&] {
                       work();
                       QApplication::processEvents(); // what is deferred, and the painting
                   });
        };
        std::mt19937 random(1);
        const auto anyPlace = [&] { return static_cast<int>(random()) % bar->maximum(); };

        std::vector<double> plainJumps;
        for (int jump = 0; jump < scaled(40, 3); ++jump)
            plainJumps.push_back(milliseconds([&] { bar->setValue(std::abs(anyPlace())); }));
        std::vector<double> switches;
        std::vector<double> jumps;
        for (int round = 0; round < scaled(5, 1); ++round) {
            view.setResizeRows(false);
            QApplication::processEvents();
            switches.push_back(milliseconds([&] { view.setResizeRows(true); }));
            for (int jump = 0; jump < scaled(8, 3); ++jump)
                jumps.push_back(milliseconds([&] { bar->setValue(std::abs(anyPlace())); }));
            jumps.push_back(milliseconds([&] { bar->setValue(bar->maximum()); }));
            jumps.push_back(milliseconds([&] { bar->setValue(0); }));
        }
        for (int y = 0; y < table->viewport()->height(); ++y) {
            const int row = table->rowAt(y);
            const QAbstractItemView* asView = table;
            if (row >= 0 && !require(state, table->rowHeight(row) >= asView->sizeHintForRow(row),
                                     "a row in view is as high as its text"))
                break;
        }
        require(state, table->rowHeight(table->rowAt(5)) >= 20, "rows are in view");
        const std::string size = std::to_string(rows) + " rows";
        const double slowestSwitch = *std::max_element(switches.begin(), switches.end());
        const double slowestJump = *std::max_element(jumps.begin(), jumps.end());
        state.counters["switch_ms"] = median(switches);
        state.counters["jump_ms"] = median(jumps);
        report({"\"Resize rows\" switched on, slowest of 5, " + size, slowestSwitch, "ms",
                "a jump with plain rows", median(plainJumps), Goal::Kind::AtMost, 50});
        report({"\"Resize rows\", slowest jump of 50, " + size, slowestJump, "ms",
                "a jump with plain rows", median(plainJumps), Goal::Kind::AtMost, 50});
        report({"\"Resize rows\", a jump, " + size, median(jumps), "ms", "a jump with plain rows",
                median(plainJumps), Goal::Kind::Shown, 0});
    }
}

BENCHMARK(resizeRows)
    ->ArgName("rows")
    ->Arg(scaled(100000, 1000))
    ->Arg(scaled(1000000, 5000))
    ->Iterations(1)
    ->Unit(benchmark::kSecond);

} // namespace
} // namespace zuLogging::benchmarks

int main(int argc, char** argv)
{
    return zuLogging::benchmarks::runWindowBenchmarks(argc, argv);
}
