// Ten million messages in the window's table: filled, scrolled, filtered, sorted, searched; and
// more rows than the heights of a table can add up to.

#include "benchmarks/BenchmarkRun.h"
#include "benchmarks/BenchmarkWindow.h"
#include "benchmarks/Goals.h"
#include "benchmarks/Scale.h"
#include "benchmarks/StoreAccess.h"
#include "logging/DecodedMessage.h"
#include "platform/Memory.h"
#include "store/LogTableModel.h"
#include "store/ViewSettings.h"
#include "tools/DemoTraffic.h"
#include "view/RowHeightFitter.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QHeaderView>
#include <QProcess>
#include <QScrollBar>

#include <algorithm>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace zuLogging::benchmarks {
namespace {

constexpr int messageColumn = 11;
constexpr const char* beyondArgument = "--beyond-the-table";
constexpr double mebibyte = 1024 * 1024;

void shown(const std::string& work, double figure, const std::string& unit)
{
    report({work, figure, unit, "", 0, Goal::Kind::Shown, 0});
}

double secondsWithPainting(const std::function<void()>& work)
{
    return secondsOf([&] {
        work();
        QApplication::processEvents();
    });
}

void tenMillion(benchmark::State& state)
{
    const int rows = scaled(10000000, 5000);
    ViewSettings::instance().reset();
    for (auto _ : state) {
        auto store = std::make_shared<LogContainer>();
        BenchmarkWindow window(store);
        LogMessageView& view = window.view();
        LogContainerAccess::setActive(*store);
        store->setMaximumMessages(rows);
        const double before = currentMemory();
        DemoTraffic traffic(1);
        DecodedMessage fields;
        const double filled = secondsOf([&] {
            for (int i = 0; i < rows; ++i) {
                const std::vector<std::uint8_t> bytes = traffic.next().build();
                LogMessageContainerView container;
                container.data = bytes.data();
                container.length = bytes.size();
                fields.assign(container);
                store->addMessage(fields);
                if (i % 10000 == 0)
                    LogContainerAccess::drain(*store);
            }
            LogContainerAccess::drain(*store);
        });
        shown("10,000,000 messages: made, decoded and in the table", filled, "s");
        shown("10,000,000 messages: first refresh", secondsWithPainting([&] { view.updateView(); }),
              "s");
        require(state, view.table()->model()->rowCount() == rows, "every row is in the table");
        shown("10,000,000 messages: memory", (currentMemory() - before) / mebibyte, "MiB");

        QScrollBar* bar = view.table()->verticalScrollBar();
        std::vector<double> jumps;
        for (int place = 0; place <= 20; ++place)
            jumps.push_back(1000 * secondsWithPainting([&] {
                                bar->setValue(static_cast<int>(static_cast<qint64>(bar->maximum()) *
                                                               place / 20));
                            }));
        shown("10,000,000 messages: slowest of 21 scrolls",
              *std::max_element(jumps.begin(), jumps.end()), "ms");
        require(state, view.table()->rowAt(view.table()->viewport()->height() - 2) == rows - 1,
                "the last row can be scrolled to");
        shown("10,000,000 messages: one refresh",
              1000 * secondsWithPainting([&] { view.updateView(); }), "ms");

        const double nothing = secondsOf(
            [&] { store->setFilter({QStringLiteral("is nowhere")}, {}, {}, false, false); });
        require(state, store->filteredModel()->rowCount() == 0, "nothing passes");
        shown("10,000,000 messages: filter, no match", nothing, "s");
        const double some = secondsOf(
            [&] { store->setFilter({QStringLiteral("verified")}, {}, {}, false, false); });
        shown("10,000,000 messages: filter, " + std::to_string(store->filteredModel()->rowCount()) +
                  " matches",
              some, "s");
        store->setFilter({}, {}, {}, false, false);
        shown("10,000,000 messages: find-next, no match", secondsOf([&] {
                  const QModelIndex found = view.fullModel()->findNext(
                      view.fullModel()->index(0, 0), QStringLiteral("is nowhere"), true,
                      Qt::CaseInsensitive);
                  require(state, !found.isValid(), "nothing is found");
              }),
              "s");
        shown("10,000,000 messages: sort by message text", secondsWithPainting([&] {
                  view.fullModel()->sort(messageColumn, Qt::AscendingOrder);
              }),
              "s");
        bool sorted = true;
        for (int row = 1; row < rows; row += std::max(rows / 1000, 1))
            sorted = sorted && view.fullModel()->cellText(row - 1, messageColumn) <=
                                   view.fullModel()->cellText(row, messageColumn);
        require(state, sorted, "the rows are sorted");
        shown("10,000,000 messages: memory, sorted", (currentMemory() - before) / mebibyte, "MiB");
        shown("10,000,000 messages: sort by time",
              secondsWithPainting([&] { view.fullModel()->sort(3, Qt::DescendingOrder); }), "s");
        shown("10,000,000 messages: \"Resize rows\" switched on",
              1000 * secondsWithPainting([&] { view.setResizeRows(true); }), "ms");
        shown("10,000,000 messages: cleared", secondsWithPainting([&] {
                  view.fullModel()->sort(-1, Qt::AscendingOrder);
                  view.messageViewClearClicked();
              }),
              "s");
        require(state, view.fullModel()->rowCount() == 0, "the table is empty");
    }
}

/// In a process of its own, which may not come back: rows that are one shared record, as many as
/// the table shows, and more than the heights of rows could add up to. Prints the seconds that the
/// first refresh beyond took, in the last line.
int fillBeyondTheTable()
{
    const int most = scaled(RowHeightFitter::maximumRows, 5000);
    const int rows =
        scaled(std::numeric_limits<int>::max() / RowHeightFitter::plainHeight, 5000) + 1000;
    ViewSettings::instance().reset();
    auto store = std::make_shared<LogContainer>();
    BenchmarkWindow window(store);
    LogMessageView& view = window.view();
    auto message = std::make_shared<LogMessage>(
        1, 1, 1, 19000000000000000ULL, 8, u"OrderService.cpp:1234", u"OrderService", u"Network",
        u"Order 4711", std::uint64_t{4711}, std::uint64_t{4712});
    message->renderTimestamp();
    const auto fillTo = [&](int count) {
        constexpr int atOnce = 1000000;
        while (view.fullModel()->messageCount() < count)
            view.fullModel()->addMessages(std::vector<std::shared_ptr<LogMessage>>(
                static_cast<std::size_t>(
                    std::min(atOnce, count - view.fullModel()->messageCount())),
                message));
        return secondsWithPainting([&] { view.updateView(); });
    };
    const auto look = [&](const char* when) {
        const QHeaderView* header = view.table()->verticalHeader();
        QScrollBar* bar = view.table()->verticalScrollBar();
        bar->setValue(bar->maximum());
        QApplication::processEvents();
        std::printf("%s: %d of %d rows, heights add up to %d, the scroll bar goes to %d, the last "
                    "row in view is %d, %.0f MiB\n",
                    when, header->count(), view.fullModel()->messageCount(), header->length(),
                    bar->maximum(), view.table()->rowAt(view.table()->viewport()->height() - 2),
                    currentMemory() / mebibyte);
        std::fflush(stdout);
        bar->setValue(0);
        QApplication::processEvents();
        return header->length();
    };
    fillTo(most - 10);
    look("just below");
    const double seconds = fillTo(rows);
    look("beyond");
    view.setResizeRows(true);
    QApplication::processEvents();
    look("beyond, rows resized");
    view.setResizeRows(false);
    QApplication::processEvents();
    view.messageViewClearClicked();
    QApplication::processEvents();
    fillTo(100);
    const bool asBefore = look("cleared, 100 rows") == 2000;
    std::printf("%.3f\n", seconds);
    return asBefore ? 0 : 1;
}

void moreThanATableCanShow(benchmark::State& state)
{
    constexpr int limit = 60; // seconds between two lines; filling the table takes longer
    for (auto _ : state) {
        QProcess process;
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.start(QCoreApplication::applicationFilePath(), {beyondArgument});
        QByteArray output;
        QElapsedTimer clock;
        clock.start();
        while (process.state() != QProcess::NotRunning &&
               clock.elapsed() < (output.isEmpty() ? 5 : 1) * limit * 1000) {
            if (process.waitForReadyRead(1000)) {
                output += process.readAll();
                clock.restart(); // it goes on
            }
        }
        const bool ended = process.state() == QProcess::NotRunning;
        if (!ended) {
            process.kill();
            process.waitForFinished(30000);
        }
        output += process.readAll();
        std::printf("%s", output.constData());
        require(state, output.contains("just below"), "the rows below the limit were shown");
        if (ended)
            require(state, process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0,
                    "a cleared table is as before");
        const std::string work =
            "more messages than row heights of 31 bits (107,374,182): first refresh";
        report({ended ? work : work + ", no end seen",
                ended ? output.trimmed().split('\n').last().toDouble() : limit, "s", "", 0,
                Goal::Kind::AtMost, 1});
    }
}

BENCHMARK(tenMillion)->Iterations(1)->Unit(benchmark::kSecond);
BENCHMARK(moreThanATableCanShow)->Iterations(1)->Unit(benchmark::kSecond);

} // namespace
} // namespace zuLogging::benchmarks

int main(int argc, char** argv)
{
    zuLogging::platform::avoidAllocationStalls(); // as the window does
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qunsetenv("ARZDATA"); // nothing is read or written
    QApplication application(argc, argv);
    if (argc == 2 && QByteArray(argv[1]) == zuLogging::benchmarks::beyondArgument)
        return zuLogging::benchmarks::fillBeyondTheTable();
    return zuLogging::benchmarks::runBenchmarks(argc, argv);
}
