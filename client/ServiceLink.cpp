#include "client/ServiceLink.h"

#include "logging/ConnectionInfo.h"
#include "logging/LogSvcError.h"

#include <algorithm>
#include <thread>

namespace zuLogging::client {

namespace {

using Clock = StopRequest::Clock;
using namespace std::chrono_literals;

/// So long the answer may take before the question is put again.
constexpr std::chrono::milliseconds answerLimit = 500ms;
/// Where the system cannot even wait, for lack of memory, say.
constexpr std::chrono::milliseconds troublePause = 100ms;

std::chrono::milliseconds timeUntil(Clock::time_point moment)
{
    return std::max(0ms, std::chrono::ceil<std::chrono::milliseconds>(moment - Clock::now()));
}

} // namespace

ServiceLink::ServiceLink(platform::UdpSocket& socket, platform::WakeSignal& wake,
                         const StopRequest& stop, const std::string& connectionInfo)
    : socket_(socket)
    , wake_(wake)
    , stop_(stop)
    , connectionInfo_(connectionInfo)
    , batch_(windowSize + 1, maximumPacket)
{
}

std::optional<SocketAddress> ServiceLink::publishedAddress() const
{
    try {
        return readConnectionInfo(connectionInfo_);
    } catch (const LogSvcError&) {
        return std::nullopt;
    }
}

bool ServiceLink::connect()
{
    // A service that was killed leaves its record behind.
    service_ = publishedAddress();
    return service_ && isStillThere();
}

bool ServiceLink::isStillThere()
{
    if (!isAnyoneThere())
        disconnect();
    return service_.has_value();
}

bool ServiceLink::hasMoved() const
{
    const std::optional<SocketAddress> published = publishedAddress();
    return published && published != service_;
}

bool ServiceLink::isAnyoneThere() const
{
    const Packet packet =
        makeRequest(magicLogMessage, static_cast<std::uint16_t>(LogMessageCommand::NoOperation),
                    nullptr, 0, flagNoAcknowledge);
    return !platform::isNobodyThere(*service_, packet.bytes(), packet.size());
}

Packet ServiceLink::ping()
{
    Packet packet = makeRequest(
        magicLogMessage, static_cast<std::uint16_t>(LogMessageCommand::NoOperation), nullptr, 0);
    PacketHeader header = packet.header();
    header.sequence = ++sequence_;
    packet.setHeader(header);
    return packet;
}

ServiceLink::Outcome ServiceLink::deliver(const std::vector<Packet>& packets)
{
    for (const Packet& packet : packets)
        batch_.add(packet.bytes(), packet.size(), *service_);
    const Packet question = ping();
    const std::uint16_t first = question.header().sequence;
    batch_.add(question.bytes(), question.size(), *service_);
    if (socket_.send(batch_) > 0) {
        disconnect();
        return Outcome::Gone;
    }

    for (;;) {
        const Clock::time_point limit = Clock::now() + answerLimit;
        while (const std::optional<std::uint16_t> answer = nextAnswer(limit)) {
            if (*answer == first)
                return Outcome::Taken;
            // Answers come in the order of the questions: the first one never arrived there, so
            // there was no room for what was sent just before it either.
            if (static_cast<std::uint16_t>(*answer - first) <=
                static_cast<std::uint16_t>(sequence_ - first))
                return Outcome::Lost;
            if (Clock::now() >= limit)
                break; // others of long ago
        }
        if (stop_.isOverdue())
            return Outcome::Abandoned;
        // A service that is merely slow has the messages and will answer.
        if (hasMoved())
            disconnect();
        if (!service_ || !isStillThere())
            return Outcome::Gone;
        const Packet again = ping();
        socket_.send(again.bytes(), again.size(), *service_);
    }
}

/// The sequence number of the next answer to a question of ours; nothing when none comes in time.
std::optional<std::uint16_t> ServiceLink::nextAnswer(Clock::time_point limit)
{
    for (;;) {
        const Clock::time_point end = std::min(limit, stop_.deadline());
        const platform::WaitResult result = socket_.waitReadable(timeUntil(end), &wake_);
        if (result == platform::WaitResult::Woken) {
            wake_.lower(); // the end may be nearer now
            continue;
        }
        if (result == platform::WaitResult::Failed) {
            std::this_thread::sleep_for(troublePause);
            return std::nullopt;
        }
        if (result != platform::WaitResult::Readable)
            return std::nullopt;
        Packet packet;
        const platform::ReceivedDatagram datagram = socket_.receive(packet.bytes(), maximumPacket);
        if (datagram.result != platform::ReceiveResult::Datagram || datagram.sender != service_ ||
            datagram.length < packetHeaderSize) {
            // Whoever sends us other things must not keep us here.
            if (Clock::now() >= end)
                return std::nullopt;
            continue;
        }
        const PacketHeader header = packet.header();
        if (header.magic == magicLogMessage &&
            header.command == (static_cast<std::uint16_t>(LogMessageCommand::NoOperation) |
                               commandAcknowledgeBit))
            return header.sequence;
        if (Clock::now() >= end)
            return std::nullopt;
    }
}

} // namespace zuLogging::client
