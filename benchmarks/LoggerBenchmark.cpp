// What a program pays for its log calls, in its own time: one that is filtered out beside a bare
// load of an atomic number, one that is sent beside a copy of its text and a look at the clock. A
// service takes the messages meanwhile. The queue is emptied between two rounds, outside the clock,
// for the service takes messages more slowly than a loop can make them.

#include "benchmarks/BenchmarkRun.h"
#include "benchmarks/Goals.h"
#include "benchmarks/Scale.h"
#include "logging/ConnectionInfo.h"
#include "platform/Process.h"
#include "platform/SharedMemory.h"
#include "service/LogService.h"

#include <zulog/Logger.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <thread>

namespace {

using namespace zuLogging;
using namespace zuLogging::benchmarks;
using Clock = std::chrono::steady_clock;

constexpr std::string_view text =
    "Block 4711 written, checksum verified, next one requested (64 B)";
const int callsInRound = scaled(2000, 200);
const int rounds = scaled(300, 5);

double nanosecondsEach(Clock::duration time, int calls)
{
    return std::chrono::duration<double, std::nano>(time).count() / calls;
}

/// The median round of `call`, made callsInRound times each, in nanoseconds a call.
template <class Call, class Between>
double medianOf(const Call& call, const Between& between)
{
    std::vector<double> results;
    for (int round = 0; round < rounds; ++round) {
        const Clock::time_point begin = Clock::now();
        for (int i = 0; i < callsInRound; ++i)
            call();
        results.push_back(nanosecondsEach(Clock::now() - begin, callsInRound));
        between();
    }
    return median(results);
}

void nothing() {}

/// A service in this process, under a name of its own.
class Service
{
public:
    Service()
        : service_({}, {})
    {
        const std::string name = "zuLogBenchmark-" + std::to_string(platform::currentProcessId());
        ::setenv("ZULOG_CONNECTION_INFO", name.c_str(), 1);
        isThere_ = publisher_.publish(name, encodeConnectionInfo(service_.boundAddress())) ==
                   platform::SharedMemoryPublisher::Result::Published;
    }
    bool isThere() const { return isThere_; }

private:
    LogService service_;
    platform::SharedMemoryPublisher publisher_;
    bool isThere_ = false;
};

void filteredOut(benchmark::State& state)
{
    zulog::Logger log("Benchmark", "group");
    log.setLevel(zulog::Level::Info);
    std::atomic<unsigned> number{1};
    double call = 0;
    double load = 0;
    for (auto _ : state) {
        load = medianOf([&] { benchmark::DoNotOptimize(number.load(std::memory_order_relaxed)); },
                        nothing);
        call = medianOf(
            [&] {
                benchmark::ClobberMemory();
                log.debug(text);
            },
            nothing);
    }
    state.counters["ns"] = call;
    report({"log call that is filtered out", call, "ns", "a relaxed load of an atomic", load,
            Goal::Kind::AtMost, 10});
}

void sent(benchmark::State& state)
{
    const Service service;
    if (!require(state, service.isThere(), "the service could publish its address"))
        return;
    zulog::Logger log("Benchmark", "group");
    log.setLevel(zulog::Level::Info);
    log.info("starts the library's thread");
    if (!require(state, zulog::flush(std::chrono::seconds(10)), "the service takes messages"))
        return;
    std::array<char, 256> copy{};
    double call = 0;
    double peer = 0;
    double single = 0;
    bool isTaken = true;
    for (auto _ : state) {
        peer = medianOf(
            [&] {
                std::memcpy(copy.data(), text.data(), text.size());
                benchmark::DoNotOptimize(copy.data());
                benchmark::DoNotOptimize(std::chrono::system_clock::now());
                benchmark::ClobberMemory();
            },
            nothing);
        call = medianOf([&] { log.info(text); },
                        [&] { isTaken = isTaken && zulog::flush(std::chrono::seconds(10)); });

        // Now and then a message, after which the library's thread has gone to sleep.
        std::vector<double> alone;
        for (int i = 0; i < scaled(40, 3); ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(120));
            const Clock::time_point begin = Clock::now();
            log.info(text);
            alone.push_back(nanosecondsEach(Clock::now() - begin, 1));
        }
        single = median(alone);
    }
    require(state, isTaken, "every round was taken by the service");
    require(state, zulog::droppedMessages() == 0, "no message was dropped");
    state.counters["ns"] = call;
    report({"log call that is sent", call, "ns", "a copy of its text and the clock", peer,
            Goal::Kind::AtMost, 500});
    report({"log call after a pause, waking the sender", single, "ns",
            "a copy of its text and the clock", peer, Goal::Kind::Shown, 0});
}

/// Four threads at a time.
void sentByFourThreads(benchmark::State& state)
{
    const Service service;
    zulog::Logger log("Benchmark", "group");
    log.setLevel(zulog::Level::Info);
    constexpr int threads = 4;
    double call = 0;
    bool isTaken = true;
    for (auto _ : state) {
        std::vector<double> results;
        for (int round = 0; round < rounds / 3 + 1; ++round) {
            std::array<double, threads> times{};
            std::vector<std::thread> running;
            for (int thread = 0; thread < threads; ++thread)
                running.emplace_back([&, thread] {
                    const Clock::time_point begin = Clock::now();
                    for (int i = 0; i < callsInRound; ++i)
                        log.info(text);
                    times[static_cast<std::size_t>(thread)] =
                        nanosecondsEach(Clock::now() - begin, callsInRound);
                });
            for (std::thread& thread : running)
                thread.join();
            results.push_back(median({times.begin(), times.end()}));
            isTaken = isTaken && zulog::flush(std::chrono::seconds(10));
        }
        call = median(results);
    }
    require(state, isTaken, "every round was taken by the service");
    require(state, zulog::droppedMessages() == 0, "no message was dropped");
    state.counters["ns"] = call;
    report(
        {"the same from four threads at a time, elapsed", call, "ns", "", 0, Goal::Kind::Shown, 0});
}

} // namespace

BENCHMARK(filteredOut)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(sent)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(sentByFourThreads)->Iterations(1)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv)
{
    return runBenchmarks(argc, argv);
}
