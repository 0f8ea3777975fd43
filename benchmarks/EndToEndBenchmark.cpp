// From the datagram to the row: what a message costs the viewer and whether any is lost, beside
// bare loops that wait and receive and do nothing else; with the window open at the row limit, and
// beside programs that only compute.

#include "benchmarks/BenchmarkRun.h"
#include "benchmarks/BenchmarkWindow.h"
#include "benchmarks/BusyPrograms.h"
#include "benchmarks/Goals.h"
#include "benchmarks/Scale.h"
#include "benchmarks/SubscriptionDesk.h"
#include "benchmarks/TrafficProcess.h"
#include "platform/Memory.h"
#include "platform/ThreadPriority.h"
#include "store/LogTableModel.h"
#include "store/ViewSettings.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace zuLogging::benchmarks {

namespace {

constexpr std::size_t containerSize = 200;
const int limitRows = scaled(100000, 1000);
const int rounds = scaled(3, 1);

struct Load
{
    std::uint64_t rate;
    std::uint64_t count;
};

/// Ten seconds of traffic.
Load loadOf(std::uint64_t rate)
{
    const std::uint64_t used = scaled(rate, std::uint64_t{5000});
    return {used, scaled(used * 10, std::uint64_t{500})};
}

struct Result
{
    double microseconds = 0; ///< of processor time, for a message that came through
    double lost = 0;
    double stolen = 0;
    double perSecond = 0;
};

/// Lives on, events included, until `condition` holds. False when it took longer than two minutes.
bool liveUntil(const std::function<bool()>& condition)
{
    QElapsedTimer clock;
    clock.start();
    QTimer looks; // wakes the loop where nothing else does
    looks.start(20);
    while (!condition()) {
        if (clock.elapsed() > 120000)
            return false;
        QApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

/// For what is on its way when the sender has ended: until nothing has come for 0.3 seconds.
void liveUntilQuiet(const std::function<std::uint64_t()>& arrived)
{
    QElapsedTimer sinceLast;
    sinceLast.start();
    std::uint64_t seen = arrived();
    liveUntil([&] {
        if (arrived() != seen) {
            seen = arrived();
            sinceLast.restart();
        }
        return sinceLast.elapsed() > scaled(300, 120);
    });
}

Result measureTraffic(const SocketAddress& destination, const Load& load,
                      const std::function<std::uint64_t()>& arrived)
{
    const std::uint64_t arrivedBefore = arrived();
    const double before = processorSeconds();
    const double stolenBefore = stolenSeconds();
    const double elapsed = secondsOf([&] {
        TrafficProcess traffic({destination, load.rate, load.count, containerSize});
        liveUntil([&] { return traffic.hasEnded(); });
    });
    liveUntilQuiet(arrived);
    const auto count = static_cast<double>(arrived() - arrivedBefore);
    Result result;
    result.microseconds = (processorSeconds() - before) * 1e6 / std::max(count, 1.0);
    result.lost = static_cast<double>(load.count) - count;
    result.stolen = stolenSeconds() - stolenBefore;
    result.perSecond = count / elapsed;
    return result;
}

/// The limit: one thread that waits and receives, `atOnce` datagrams at most in one call.
Result bareLoop(const Load& load, std::size_t atOnce)
{
    platform::UdpSocket socket;
    socket.open();
    socket.setReceiveBufferSize(0x20000);
    socket.setNonBlocking();
    socket.bind({platform::loopbackAddress, 0});
    std::atomic<std::uint64_t> received{0};
    std::atomic<bool> running{true};
    std::thread receiver([&] {
        platform::raiseCurrentThreadPriority();
        platform::DatagramBatch batch(atOnce, maximumPacket + 1);
        while (running) {
            if (socket.waitReadable(std::chrono::milliseconds(100)) !=
                platform::WaitResult::Readable)
                continue;
            if (socket.receive(batch) == platform::ReceiveResult::Datagram)
                received += batch.size();
        }
    });
    const Result result =
        measureTraffic(*socket.boundAddress(), load, [&] { return received.load(); });
    running = false;
    receiver.join();
    return result;
}

enum class Rows
{
    NoLimit,
    AtTheLimit
};

enum class Window
{
    No,
    Open
};

/// The program: listener, sink, queue, worker and both models; with the window also the live table.
Result viewer(benchmark::State& state, const Load& load, Rows rows, Window window)
{
    SubscriptionDesk desk;
    auto store = std::make_shared<LogContainer>();
    store->setMaximumMessages(rows == Rows::AtTheLimit ? limitRows
                                                       : static_cast<int>(load.count) + 1000000);
    std::unique_ptr<LogTableModel> full;
    std::unique_ptr<LogTableModel> filtered;
    std::unique_ptr<BenchmarkWindow> shown;
    if (window == Window::Open) {
        ViewSettings::instance().reset();
        shown = std::make_unique<BenchmarkWindow>(store);
        shown->view().setAutoScroll(true);
        shown->view().startLoggingClicked();
    } else {
        full = std::make_unique<LogTableModel>(store);
        filtered = std::make_unique<LogTableModel>(store);
        store->setModels(full.get(), filtered.get());
        store->startLogging(false);
    }
    const auto close = [&] {
        if (shown) {
            shown->view().stopLoggingClicked();
            liveUntil([&] { return !store->isActive(); });
        } else {
            store->stopLogging();
            store->setModels(nullptr, nullptr);
        }
    };
    const auto moved = [&] { return store->movedMessages(); };
    if (!require(state, store->isActive() && desk.subscriber().port != 0, "logging has started")) {
        close();
        return {};
    }
    if (rows == Rows::AtTheLimit) {
        TrafficProcess fill({desk.subscriber(), scaled<std::uint64_t>(40000, 5000),
                             static_cast<std::uint64_t>(limitRows) * 6 / 5, containerSize});
        liveUntil([&] { return fill.hasEnded(); });
        liveUntilQuiet(moved);
    }
    const Result result = measureTraffic(desk.subscriber(), load, moved);
    const int count = store->fullModel()->rowCount();
    require(state, result.lost >= 0, "no message came twice");
    require(state, result.lost < static_cast<double>(load.count), "messages came");
    require(state, store->queueSize() == 0, "the queue is empty at the end");
    require(state,
            rows == Rows::AtTheLimit ? count <= limitRows
                                     : static_cast<std::uint64_t>(count) == store->movedMessages(),
            "the table holds what came, and no more than its limit");
    close();
    return result;
}

double medianTime(const std::vector<Result>& results)
{
    std::vector<double> times;
    for (const Result& result : results)
        times.push_back(result.microseconds);
    return median(times);
}

double lostOf(const std::vector<Result>& results)
{
    double lost = 0;
    for (const Result& result : results)
        lost += result.lost;
    return lost;
}

/// What each round lost, with the seconds that the machine itself stood still meanwhile.
std::string lostText(const std::vector<Result>& results)
{
    std::ostringstream text;
    for (const Result& result : results)
        text << (text.tellp() > 0 ? ", " : "") << result.lost << " (stolen " << result.stolen
             << " s)";
    return text.str();
}

void show(benchmark::State& state, const std::vector<Result>& ours, const std::vector<Result>& bare)
{
    state.counters["cpu_us"] = medianTime(ours);
    state.counters["bare_us"] = medianTime(bare);
    state.counters["lost"] = lostOf(ours);
    state.counters["bare_lost"] = lostOf(bare);
    state.counters["per_second"] = ours.back().perSecond;
    double stolen = 0;
    for (const std::vector<Result>* results : {&ours, &bare})
        for (const Result& result : *results)
            stolen += result.stolen;
    state.counters["stolen_s"] = stolen;
    state.SetLabel("lost a round: " + lostText(ours) + "; bare: " + lostText(bare));
}

std::string rateText(const Load& load)
{
    return std::to_string(load.rate / 1000) + ",000/s";
}

/// Without a window, one datagram a call beside it: what listener, store and models cost.
void listenerToModel(benchmark::State& state)
{
    const Load load = loadOf(static_cast<std::uint64_t>(state.range(0)));
    const Rows rows = state.range(1) != 0 ? Rows::AtTheLimit : Rows::NoLimit;
    for (auto _ : state) {
        std::vector<Result> ours;
        std::vector<Result> bare;
        bare.push_back(bareLoop(load, 1));
        ours.push_back(viewer(state, load, rows, Window::No));
        show(state, ours, bare);
        const std::string work =
            "end to end, no window, " + rateText(load) +
            (rows == Rows::AtTheLimit ? ", at the row limit" : ", below the row limit");
        report({work, medianTime(ours), "us a message", "bare loop, one a call", medianTime(bare),
                Goal::Kind::AtMostTimes, 3});
        report({work + ": lost", lostOf(ours), "of " + std::to_string(load.count), "bare loop",
                lostOf(bare), Goal::Kind::Shown, 0});
    }
}

void windowOpenAtTheRowLimit(benchmark::State& state)
{
    const Load load = loadOf(static_cast<std::uint64_t>(state.range(0)));
    for (auto _ : state) {
        std::vector<Result> ours;
        std::vector<Result> bare;
        for (int round = 0; round < rounds; ++round) {
            bare.push_back(bareLoop(load, 64));
            ours.push_back(viewer(state, load, Rows::AtTheLimit, Window::Open));
        }
        show(state, ours, bare);
        const std::string work = "end to end, window open, at the row limit, " + rateText(load);
        report({work, medianTime(ours), "us a message", "receive in batches", medianTime(bare),
                Goal::Kind::AtMost, 2});
        report({work + ": lost", lostOf(ours),
                "of " + std::to_string(load.count * static_cast<std::uint64_t>(rounds)),
                "receive in batches", lostOf(bare), Goal::Kind::AtMost, 0});
    }
}

/// One program that only computes for each processor.
void busyMachine(benchmark::State& state)
{
    const Load load = loadOf(static_cast<std::uint64_t>(state.range(0)));
    for (auto _ : state) {
        std::vector<Result> ours;
        std::vector<Result> bare;
        {
            const BusyPrograms busy(static_cast<int>(std::thread::hardware_concurrency()), 300);
            for (int round = 0; round < rounds; ++round) {
                bare.push_back(bareLoop(load, 1));
                ours.push_back(viewer(state, load, Rows::NoLimit, Window::No));
            }
        }
        show(state, ours, bare);
        report({"busy program on each processor, " + rateText(load) + ": lost", lostOf(ours),
                "of " + std::to_string(load.count * static_cast<std::uint64_t>(rounds)),
                "bare loop of the same priority", lostOf(bare), Goal::Kind::AtMostTimes, 1});
    }
}

BENCHMARK(listenerToModel)
    ->ArgNames({"rate", "at_limit"})
    ->Apply([](benchmark::internal::Benchmark* loads) {
        loads->Args({50000, 1});
        if (isShortRun())
            return; // one of them shows that it works
        loads->Args({50000, 0});
        loads->Args({100000, 0});
    })
    ->Iterations(1)
    ->Unit(benchmark::kSecond);
BENCHMARK(windowOpenAtTheRowLimit)
    ->ArgName("rate")
    ->Arg(120000)
    ->Iterations(1)
    ->Unit(benchmark::kSecond);
BENCHMARK(busyMachine)->ArgName("rate")->Arg(50000)->Iterations(1)->Unit(benchmark::kSecond);

} // namespace

} // namespace zuLogging::benchmarks

int main(int argc, char** argv)
{
    zuLogging::benchmarks::TrafficProcess::runIfAsked(argc, argv);
    zuLogging::platform::avoidAllocationStalls(); // as the window does
    qputenv("ZULOG_CONNECTION_INFO", "zuLogBenchmark-" + QByteArray::number(getpid()));
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qunsetenv("ARZDATA"); // nothing is read or written
    QApplication application(argc, argv);
    return zuLogging::benchmarks::runBenchmarks(argc, argv);
}
