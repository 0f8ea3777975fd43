// What a packet costs the receiving side: received, decoded, queued and acknowledged, beside a loop
// that receives and acknowledges in batches and looks at nothing, which is its limit.

#include "benchmarks/BenchmarkRun.h"
#include "benchmarks/Goals.h"
#include "benchmarks/Scale.h"
#include "benchmarks/StoreAccess.h"
#include "benchmarks/TrafficProcess.h"
#include "logging/LogMessageListener.h"
#include "platform/Memory.h"
#include "store/GUISink.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

namespace zuLogging::benchmarks {
namespace {

const std::uint64_t packets = scaled<std::uint64_t>(1000000, 6400) / 64 * 64;
constexpr std::size_t containerSize = 200;

void sendTo(const SocketAddress& address)
{
    TrafficProcess traffic({address, 0, packets, containerSize});
    while (!traffic.hasEnded())
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
}

struct Result
{
    double microseconds; ///< of processor time a packet
    std::uint64_t received;
};

Result batchedLoop()
{
    platform::UdpSocket socket;
    socket.open();
    socket.setReceiveBufferSize(0x20000);
    socket.setSendBufferSize(0x20000);
    socket.setNonBlocking();
    socket.bind({platform::loopbackAddress, 0});
    const SocketAddress address = *socket.boundAddress();
    std::atomic<bool> running{true};
    std::uint64_t received = 0;
    const double before = processorSeconds();
    std::thread receiver([&] {
        platform::DatagramBatch arrived(64, maximumPacket + 1);
        platform::OutgoingBatch answers(64, maximumPacket);
        std::uint8_t answer[packetHeaderSize];
        while (running) {
            if (socket.waitReadable(std::chrono::milliseconds(100)) !=
                platform::WaitResult::Readable)
                continue;
            if (socket.receive(arrived) != platform::ReceiveResult::Datagram)
                continue;
            for (std::size_t i = 0; i < arrived.size(); ++i) {
                writePacketHeader(answer, acknowledgeOf(readPacketHeader(arrived.data(i)),
                                                        PacketStatus::Success));
                answers.add(answer, sizeof answer, *arrived.sender(i));
            }
            received += arrived.size();
            socket.send(answers);
        }
    });
    sendTo(address);
    running = false;
    receiver.join();
    return {(processorSeconds() - before) * 1e6 / static_cast<double>(packets), received};
}

class Listener final : public LogMessageListener
{
public:
    explicit Listener(SinkList sinks)
        : LogMessageListener(std::move(sinks))
    {
        start();
    }
    ~Listener() override { stop(); }

protected:
    bool assignsServiceIds() const override { return false; }
};

Result receiver()
{
    LogContainer store;
    store.setMaximumMessages(static_cast<int>(packets));
    LogContainerAccess::setActive(store);
    const double before = processorSeconds();
    {
        Listener listener({std::make_shared<GUISink>(&store)});
        sendTo(listener.boundAddress());
    }
    return {(processorSeconds() - before) * 1e6 / static_cast<double>(packets), store.queueSize()};
}

/// Turn by turn, so that both meet the same machine.
void receiveDecodeQueueAcknowledge(benchmark::State& state)
{
    for (auto _ : state) {
        std::vector<double> ours;
        std::vector<double> limit;
        for (int round = 0; round < scaled(5, 1); ++round) {
            const Result bare = batchedLoop();
            const Result made = receiver();
            // So many at a time fit into the socket's buffer, and the sender waits for each answer.
            require(state, bare.received == packets, "the batched loop got every packet");
            require(state, made.received == packets, "every packet was queued");
            limit.push_back(bare.microseconds);
            ours.push_back(made.microseconds);
        }
        state.counters["cpu_us"] = median(ours);
        state.counters["limit_us"] = median(limit);
        report({"receiver: a packet of 200 B acknowledged, decoded, queued", median(ours),
                "us a packet", "batched receive and send", median(limit), Goal::Kind::AtMostTimes,
                1.5});
    }
}

BENCHMARK(receiveDecodeQueueAcknowledge)->Iterations(1)->Unit(benchmark::kSecond);

} // namespace
} // namespace zuLogging::benchmarks

int main(int argc, char** argv)
{
    zuLogging::benchmarks::TrafficProcess::runIfAsked(argc, argv);
    zuLogging::platform::avoidAllocationStalls(); // as the window does
    return zuLogging::benchmarks::runBenchmarks(argc, argv);
}
