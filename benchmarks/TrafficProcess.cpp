#include "benchmarks/TrafficProcess.h"

#include "logging/LogMessageContainerBuilder.h"
#include "logging/Packet.h"
#include "logging/TimestampText.h"
#include "platform/Udp.h"
#include "tools/PacedSender.h"

#include <cerrno>
#include <cstdlib>
#include <string>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace zuLogging::benchmarks {

namespace {

constexpr std::string_view sendArgument = "--send-traffic";

std::vector<std::uint8_t> typicalContainer(std::size_t size)
{
    LogMessageContainerBuilder builder;
    builder.timestamp = currentTimestamp();
    builder.logLevel = 8;
    builder.processId = 4711;
    builder.threadId = 4712;
    builder.module = "OrderService";
    builder.groupName = "Network";
    builder.logPos = "OrderService.cpp:1234";
    builder.logMessage = "";
    const std::size_t rest = builder.size();
    builder.logMessage = std::string(size > rest ? size - rest : 0, 'm');
    return builder.build();
}

/// Sends 64, waits for 64 acknowledges, and so on.
[[noreturn]] void sendAcknowledged(const TrafficProcess::Load& load)
{
    constexpr std::size_t window = 64;
    platform::UdpSocket socket;
    if (!socket.open() || !socket.bind({platform::loopbackAddress, 0}))
        std::_Exit(1);
    socket.setReceiveBufferSize(0x20000);
    const auto container = typicalContainer(load.containerSize);
    Packet packet =
        makeRequest(magicLogMessage, static_cast<std::uint16_t>(LogMessageCommand::Message),
                    container.data(), container.size(), 0);
    platform::OutgoingBatch requests(window, maximumPacket);
    platform::DatagramBatch answers(window, maximumPacket);
    for (std::uint64_t sent = 0; sent < load.count; sent += window) {
        for (std::size_t i = 0; i < window; ++i) {
            storeU64(packet.payload() + containerServiceMsgIdOffset, sent + i + 1);
            requests.add(packet.bytes(), packet.size(), load.destination);
        }
        socket.send(requests);
        for (std::size_t answered = 0; answered < window; answered += answers.size()) {
            if (socket.waitReadable(std::chrono::seconds(5)) != platform::WaitResult::Readable)
                std::_Exit(1);
            socket.receive(answers);
        }
    }
    std::_Exit(0);
}

[[noreturn]] void sendTraffic(const TrafficProcess::Load& load)
{
    platform::UdpSocket socket;
    if (!socket.open())
        std::_Exit(1);
    socket.setSendBufferSize(0x20000);
    const auto container = typicalContainer(load.containerSize);
    Packet packet =
        makeRequest(magicLogMessage, static_cast<std::uint16_t>(LogMessageCommand::Message),
                    container.data(), container.size(), flagNoAcknowledge);
    StoppableClock clock;
    PacedSender(load.ratePerSecond, clock).run(load.count, [&](std::uint64_t number) {
        storeU64(packet.payload() + containerSourceMsgIdOffset, number);
        storeU64(packet.payload() + containerServiceMsgIdOffset, number);
        socket.send(packet.bytes(), packet.size(), load.destination);
    });
    std::_Exit(0);
}

} // namespace

TrafficProcess::TrafficProcess(const Load& load)
{
    const std::string destination = socketAddressText(load.destination);
    const std::string rate = std::to_string(load.ratePerSecond);
    const std::string count = std::to_string(load.count);
    const std::string size = std::to_string(load.containerSize);
    child_ = fork();
    if (child_ == 0) {
        execl("/proc/self/exe", "traffic", sendArgument.data(), destination.c_str(), rate.c_str(),
              count.c_str(), size.c_str(), nullptr);
        _exit(127);
    }
}

TrafficProcess::~TrafficProcess()
{
    if (!ended_ && child_ > 0) {
        while (waitpid(child_, nullptr, 0) < 0 && errno == EINTR) {
        }
    }
}

bool TrafficProcess::hasEnded()
{
    if (!ended_ && child_ > 0)
        ended_ = waitpid(child_, nullptr, WNOHANG) == child_;
    return ended_;
}

void TrafficProcess::runIfAsked(int argc, char** argv)
{
    if (argc != 6 || argv[1] != sendArgument)
        return;
    Load load;
    load.destination = parseSocketAddress(argv[2]);
    load.ratePerSecond = std::strtoull(argv[3], nullptr, 10);
    load.count = std::strtoull(argv[4], nullptr, 10);
    load.containerSize = std::strtoull(argv[5], nullptr, 10);
    if (load.ratePerSecond == 0)
        sendAcknowledged(load);
    sendTraffic(load);
}

} // namespace zuLogging::benchmarks
