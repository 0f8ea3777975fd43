// From the datagram to the row of the full model: what a message costs the viewer and whether any
// is lost, beside a bare loop that waits and receives and does nothing else.

#include "benchmarks/TrafficProcess.h"
#include "logging/ConnectionInfo.h"
#include "logging/LogMessageListener.h"
#include "platform/Memory.h"
#include "platform/SharedMemory.h"
#include "platform/ThreadPriority.h"
#include "store/LogContainer.h"
#include "store/LogTableModel.h"

#include <QCoreApplication>

#include <benchmark/benchmark.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

namespace zuLogging::benchmarks {

namespace {

constexpr std::size_t containerSize = 200;
constexpr std::uint64_t seconds = 10;

double processorSeconds()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto part = [](const timeval& t) {
        return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_usec) * 1e-6;
    };
    return part(usage.ru_utime) + part(usage.ru_stime);
}

/// Time that the machine below took from this one's processors: a virtual machine that stands still
/// for two milliseconds loses datagrams whatever the program does.
double stolenSeconds()
{
    std::ifstream statistics("/proc/stat");
    std::string word;
    double ticks = 0;
    statistics >> word;
    for (int field = 0; field < 8; ++field)
        statistics >> ticks;
    return ticks / static_cast<double>(sysconf(_SC_CLK_TCK));
}

/// The service that the viewer subscribes at. It only takes note of the viewer's address; the
/// messages come from the traffic process.
class SubscriptionDesk final : public LogMessageListener
{
public:
    SubscriptionDesk()
        : LogMessageListener({})
    {
        start();
        const auto record = encodeConnectionInfo(boundAddress());
        publisher_.publish(connectionInfoName(), record);
    }
    ~SubscriptionDesk() override { stop(); }

    SocketAddress subscriber() const { return {platform::loopbackAddress, subscriberPort_.load()}; }

protected:
    bool assignsServiceIds() const override { return true; }
    void process(const Packet& request, std::size_t length, Packet& acknowledge) override
    {
        if (request.header().command ==
            static_cast<std::uint16_t>(LogMessageCommand::StartForwarding)) {
            const std::string text(reinterpret_cast<const char*>(request.payload()) + 4,
                                   request.header().payloadLength - 4U);
            subscriberPort_ = parseSocketAddress(text).port;
        }
        acknowledge.setHeader(acknowledgeOf(request.header(), PacketStatus::Success));
        static_cast<void>(length);
    }

private:
    platform::SharedMemoryPublisher publisher_;
    std::atomic<std::uint16_t> subscriberPort_{0};
};

/// The limit: one thread that waits and receives, one datagram a time.
void bareLoop(benchmark::State& state)
{
    const auto rate = static_cast<std::uint64_t>(state.range(0));
    for (auto _ : state) {
        platform::UdpSocket socket;
        socket.open();
        socket.setReceiveBufferSize(0x20000);
        socket.setNonBlocking();
        socket.bind({platform::loopbackAddress, 0});
        const SocketAddress address = *socket.boundAddress();
        std::atomic<std::uint64_t> received{0};
        std::atomic<bool> running{true};
        const double before = processorSeconds();
        const double stolenBefore = stolenSeconds();
        std::thread receiver([&] {
            platform::raiseCurrentThreadPriority();
            char buffer[maximumPacket];
            while (running) {
                if (socket.waitReadable(std::chrono::milliseconds(100)) !=
                    platform::WaitResult::Readable)
                    continue;
                if (socket.receive(buffer, sizeof buffer).result ==
                    platform::ReceiveResult::Datagram)
                    ++received;
            }
        });
        {
            TrafficProcess traffic({address, rate, rate * seconds, containerSize});
            while (!traffic.hasEnded())
                std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        running = false;
        receiver.join();
        const double used = processorSeconds() - before;
        const auto count = static_cast<double>(received.load());
        state.counters["cpu_us_per_message"] = used * 1e6 / count;
        state.counters["stolen_s"] = stolenSeconds() - stolenBefore;
        state.counters["lost"] = static_cast<double>(rate * seconds) - count;
    }
}

/// The program: listener, sink, queue, worker and both models, as the window runs them.
void datagramToModel(benchmark::State& state)
{
    const auto rate = static_cast<std::uint64_t>(state.range(0));
    const bool atLimit = state.range(1) != 0;
    for (auto _ : state) {
        SubscriptionDesk desk;
        auto store = std::make_shared<LogContainer>();
        const int limit = atLimit ? 100000 : static_cast<int>(rate * seconds) + 1000000;
        store->setMaximumMessages(limit);
        auto full = std::make_unique<LogTableModel>(store);
        auto filtered = std::make_unique<LogTableModel>(store);
        store->setModels(full.get(), filtered.get());
        if (!store->startLogging(false)) {
            state.SkipWithError(store->takeErrorText().toStdString().c_str());
            break;
        }
        std::uint64_t sentBefore = 0;
        const auto settled = [&](std::uint64_t) { return store->queueSize() == 0; };
        if (atLimit) {
            sentBefore = 120000; // fills the model up to its limit first
            TrafficProcess fill({desk.subscriber(), 40000, sentBefore, containerSize});
            while (!fill.hasEnded())
                std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        while (!settled(sentBefore))
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        const std::uint64_t takenBefore = store->movedMessages();
        const double before = processorSeconds();
        const double stolenBefore = stolenSeconds();
        const auto wallBefore = std::chrono::steady_clock::now();
        {
            TrafficProcess traffic({desk.subscriber(), rate, rate * seconds, containerSize});
            while (!traffic.hasEnded())
                std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        const double wall =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - wallBefore).count();
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        while (!settled(rate * seconds))
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        const double used = processorSeconds() - before;
        const auto count = static_cast<double>(store->movedMessages() - takenBefore);
        state.counters["cpu_us_per_message"] = used * 1e6 / count;
        state.counters["stolen_s"] = stolenSeconds() - stolenBefore;
        state.counters["lost"] = static_cast<double>(rate * seconds) - count;
        state.counters["rows"] = full->rowCount();
        state.counters["per_second"] = count / wall;
        store->stopLogging();
        store->setModels(nullptr, nullptr);
    }
}

BENCHMARK(bareLoop)->Arg(50000)->Arg(100000)->Iterations(1)->Unit(benchmark::kSecond);
BENCHMARK(datagramToModel)
    ->ArgNames({"rate", "at_limit"})
    ->Args({50000, 0})
    ->Args({100000, 0})
    ->Args({50000, 1})
    ->Iterations(1)
    ->Unit(benchmark::kSecond);

} // namespace

} // namespace zuLogging::benchmarks

int main(int argc, char** argv)
{
    zuLogging::benchmarks::TrafficProcess::runIfAsked(argc, argv);
    zuLogging::platform::avoidAllocationStalls(); // as the window does
    const std::string name = "zuLogBenchmark-" + std::to_string(getpid());
    setenv("ZULOG_CONNECTION_INFO", name.c_str(), 1);
    unsetenv("ARZDATA");
    QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
