// A text log of a million lines, 180 MB, brought into the window and filtered: by opening it, by
// sending its lines to the service, and through a JSON file that another program makes of it;
// beside programs that open such a file themselves.

#include "benchmarks/BenchmarkRun.h"
#include "benchmarks/BenchmarkWindow.h"
#include "benchmarks/Goals.h"
#include "benchmarks/Peers.h"
#include "benchmarks/Scale.h"
#include "benchmarks/ServiceProgram.h"
#include "platform/Memory.h"
#include "store/LogTableModel.h"
#include "store/ViewSettings.h"
#include "view/FilterDialog.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QLineEdit>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace zuLogging::benchmarks {
namespace {

const int lines = scaled(1000000, 300);

const QTemporaryDir& folder()
{
    static const QTemporaryDir made;
    return made;
}

/// The file that the other programs were measured with, or one like it.
QString textLog()
{
    const QString given = qEnvironmentVariable("LOGDESK_BENCHMARK_TEXT_LOG");
    if (!given.isEmpty() && !isShortRun())
        return given;
    const QString path = folder().filePath(QStringLiteral("lines.log"));
    if (!QFile::exists(path))
        writeTextLog(path.toStdString(), lines);
    return path;
}

void liveUntil(const std::function<bool()>& condition)
{
    QElapsedTimer clock;
    clock.start();
    QTimer looks; // wakes the loop where nothing else does
    looks.start(5);
    while (!condition() && clock.elapsed() < 300000)
        QApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

struct Shown
{
    Shown()
        : store(std::make_shared<LogContainer>())
    {
        ViewSettings::instance().reset();
        store->setMaximumMessages(2 * lines + 100);
        window = std::make_unique<BenchmarkWindow>(store);
    }

    /// From the button of the filter dialog to the painted table.
    double secondsToFilter()
    {
        FilterDialog& dialog = *window->view().filterDialog();
        dialog.filterText()->setText(QString::fromLatin1(textInNoLine));
        dialog.addIncludeFilter();
        return secondsOf([&] {
            dialog.accept();
            QApplication::processEvents();
        });
    }

    std::shared_ptr<LogContainer> store;
    std::unique_ptr<BenchmarkWindow> window;
};

void reportBesidePeers(const std::string& way, double bringIn, double filter)
{
    const std::string work = "text log of 1,000,000 lines, " + way;
    const auto lnav = peerSeconds("lnav");
    const auto gloggOpen = peerSeconds("glogg-open");
    const auto gloggSearch = peerSeconds("glogg-search");
    if (lnav) {
        report({work + ": brought in and filtered", bringIn + filter, "s", "lnav", *lnav,
                Goal::Kind::AtMostTimes, 1});
    } else {
        report({work + ": brought in and filtered", bringIn + filter, "s", "", 0, Goal::Kind::Shown,
                0});
    }
    if (gloggOpen && gloggSearch) {
        report({work + ": brought in and filtered", bringIn + filter, "s", "glogg",
                *gloggOpen + *gloggSearch, Goal::Kind::Shown, 0});
        report({work + ": filtered by the 11-field rule", filter, "s", "glogg", *gloggSearch,
                Goal::Kind::AtMostTimes, 0.25});
    } else {
        report(
            {work + ": filtered by the 11-field rule", filter, "s", "", 0, Goal::Kind::Shown, 0});
    }
}

/// logdesk lines.log, without the start of the program: the figure beside is that of a program
/// whose start is in it, but this one's start has a benchmark of its own.
void linesOpened(benchmark::State& state)
{
    for (auto _ : state) {
        const QString log = textLog();
        std::vector<std::pair<double, double>> runs; // opened and filtered together, opened
        for (int round = 0; round < scaled(5, 1); ++round) {
            Shown shown;
            const double opened = secondsOf([&] {
                shown.window->view().openLogFiles({log});
                QApplication::processEvents();
            });
            require(state, shown.window->view().fullModel()->rowCount() == lines,
                    "every line is there");
            const double filter = shown.secondsToFilter();
            require(state, shown.store->filteredModel()->rowCount() == 0, "no line passes");
            runs.emplace_back(opened + filter, opened);
        }
        std::sort(runs.begin(), runs.end());
        const auto [both, opened] = runs[runs.size() / 2];
        report({"text log of 1,000,000 lines, opened: in the table", opened, "s", "", 0,
                Goal::Kind::Shown, 0});
        reportBesidePeers("opened", opened, both - opened);
    }
}

/// zulog send < lines.log, into a running service, with the window logging.
void linesSentToTheService(benchmark::State& state)
{
    for (auto _ : state) {
        const ServiceProgram service;
        const QString log = textLog();
        if (!require(state, service.isRunning(), "there is a service"))
            return;
        Shown shown;
        shown.window->view().startLoggingClicked();
        if (!require(state, shown.store->isActive(), "logging has started"))
            return;
        int sent = -1;
        const double seconds = secondsOf([&] {
            QProcess sender;
            sender.setStandardInputFile(log);
            sender.setProcessChannelMode(QProcess::ForwardedErrorChannel);
            sender.start(ServiceProgram::path(QStringLiteral("zulog")), {QStringLiteral("send")});
            liveUntil([&] { return sender.state() == QProcess::NotRunning; });
            sent = sender.exitCode();
            QElapsedTimer quiet;
            quiet.start();
            std::uint64_t moved = shown.store->movedMessages();
            liveUntil([&] {
                if (shown.store->movedMessages() != moved) {
                    moved = shown.store->movedMessages();
                    quiet.restart();
                }
                return moved >= static_cast<std::uint64_t>(lines) || quiet.elapsed() > 500;
            });
        });
        const int rows = shown.window->view().fullModel()->rowCount();
        require(state, sent == 0, "every line was acknowledged");
        require(state, rows > 0 && rows <= lines, "lines came");
        const double filter = shown.secondsToFilter();
        require(state, shown.store->filteredModel()->rowCount() == 0, "no line passes");
        reportBesidePeers("zulog send", seconds, filter);
        report({"text log of 1,000,000 lines, zulog send: lines missing",
                static_cast<double>(lines - rows), "lines", "", 0, Goal::Kind::AtMost, 0});
        shown.window->view().stopLoggingClicked();
        liveUntil([&] { return !shown.store->isActive(); });
    }
}

/// jq makes the JSON file, the window loads it.
void linesThroughJson(benchmark::State& state)
{
    for (auto _ : state) {
        const QString jq = QStandardPaths::findExecutable(QStringLiteral("jq"));
        const QString json = folder().filePath(QStringLiteral("lines.json"));
        if (jq.isEmpty()) {
            std::printf("jq is not installed: measured without the JSON file\n");
            continue;
        }
        const double made = secondsOf([&] {
            QProcess converter;
            converter.setStandardInputFile(textLog());
            converter.setStandardOutputFile(json);
            converter.start(jq,
                            {QStringLiteral("-Rnc"), QStringLiteral("[inputs|{LogMessage:.}]")});
            require(state, converter.waitForFinished(300000) && converter.exitCode() == 0,
                    "the JSON file was made");
        });
        Shown shown;
        const double loaded = secondsOf([&] {
            require(state, shown.window->view().fullModel()->loadFromJson(json),
                    "the JSON file was read");
            shown.window->view().updateView();
            QApplication::processEvents();
        });
        require(state, shown.window->view().fullModel()->rowCount() == lines,
                "every line is there");
        const double filter = shown.secondsToFilter();
        require(state, shown.store->filteredModel()->rowCount() == 0, "no line passes");
        report({"text log of 1,000,000 lines, JSON: made by jq", made, "s", "", 0,
                Goal::Kind::Shown, 0});
        report({"text log of 1,000,000 lines, JSON: loaded and shown", loaded, "s", "", 0,
                Goal::Kind::Shown, 0});
        reportBesidePeers("jq and JSON", made + loaded, filter);
    }
}

BENCHMARK(linesOpened)->Iterations(1)->Unit(benchmark::kSecond);
BENCHMARK(linesSentToTheService)->Iterations(1)->Unit(benchmark::kSecond);
BENCHMARK(linesThroughJson)->Iterations(1)->Unit(benchmark::kSecond);

} // namespace
} // namespace zuLogging::benchmarks

int main(int argc, char** argv)
{
    using namespace zuLogging::benchmarks;
    // For the other programs: the same lines.
    if (argc == 3 && std::string(argv[1]) == "--write-lines")
        return writeTextLog(argv[2], lines) ? 0 : 1;
    zuLogging::platform::avoidAllocationStalls(); // as the window does
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    return runBenchmarks(argc, argv);
}
