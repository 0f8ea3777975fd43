// From the start of the program to its window, with a log service present, beside a program that
// shows a window with nothing in it; on a virtual display of its own.

#include "benchmarks/BenchmarkRun.h"
#include "benchmarks/Goals.h"
#include "benchmarks/MappedWindows.h"
#include "benchmarks/Scale.h"
#include "benchmarks/ServiceProgram.h"

#include <QCoreApplication>
#include <QProcess>

#include <chrono>
#include <vector>

namespace zuLogging::benchmarks {
namespace {

class VirtualDisplay
{
public:
    VirtualDisplay()
    {
        server_.setStandardErrorFile(QProcess::nullDevice());
        server_.start("Xvfb",
                      {"-displayfd", "1", "-screen", "0", "1600x900x24", "-nolisten", "tcp"});
        if (server_.waitForStarted() && server_.waitForReadyRead(20000)) {
            qputenv("DISPLAY", ":" + server_.readAllStandardOutput().trimmed());
            isThere_ = true;
        }
    }
    ~VirtualDisplay()
    {
        server_.terminate();
        if (!server_.waitForFinished(5000)) {
            server_.kill();
            server_.waitForFinished(5000);
        }
    }
    bool isThere() const { return isThere_; }

private:
    QProcess server_;
    bool isThere_ = false;
};

/// In milliseconds; -1 when no window came.
double timeToWindow(const QString& program, MappedWindows& windows)
{
    windows.forget();
    QProcess process;
    process.setStandardErrorFile(QProcess::nullDevice());
    bool shown = false;
    const double seconds = secondsOf([&] {
        process.start(program, QStringList());
        // No box that tells of a failure is as large as this.
        shown = windows.waitForOne(500, std::chrono::seconds(20));
    });
    process.terminate();
    if (!process.waitForFinished(5000)) {
        process.kill();
        process.waitForFinished(5000);
    }
    return shown ? seconds * 1000 : -1;
}

void startToWindow(benchmark::State& state)
{
    for (auto _ : state) {
        qputenv("QT_QPA_PLATFORM", "xcb");
        const VirtualDisplay display;
        MappedWindows windows;
        const ServiceProgram service;
        if (!require(state, display.isThere() && windows.isConnected(), "there is a display") ||
            !require(state, service.isRunning(), "there is a service"))
            return;
        std::vector<double> ours;
        std::vector<double> empty;
        for (int round = 0; round < scaled(15, 1) + 1; ++round) {
            const double first =
                timeToWindow(ServiceProgram::path("benchmark_empty_window"), windows);
            const double second = timeToWindow(ServiceProgram::path("logdesk"), windows);
            if (!require(state, first >= 0, "the empty window was shown") ||
                !require(state, second >= 0, "the window was shown"))
                return;
            if (round == 0)
                continue; // the programs are read from the disk
            empty.push_back(first);
            ours.push_back(second);
        }
        state.counters["ours_ms"] = median(ours);
        state.counters["empty_ms"] = median(empty);
        report({"start to shown window, service present", median(ours), "ms",
                "an empty Qt Widgets window", median(empty), Goal::Kind::AtMostTimes, 1.5});
    }
}

BENCHMARK(startToWindow)->Iterations(1)->Unit(benchmark::kSecond);

} // namespace
} // namespace zuLogging::benchmarks

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    return zuLogging::benchmarks::runBenchmarks(argc, argv);
}
