#include "tools/TailSubscription.h"

#include "logging/ConnectionInfo.h"
#include "logging/LogClient.h"
#include "logging/LogSvcError.h"
#include "logging/SinkFactory.h"

#include <array>

namespace zuLogging {

namespace {

/// More than come between two calls; who sends without rest must not keep us.
constexpr int maximumAnswers = 64;

Packet messageRequest(LogMessageCommand command, const std::string& payload,
                      std::uint16_t flags = 0)
{
    return makeRequest(magicLogMessage, static_cast<std::uint16_t>(command), payload.data(),
                       payload.size(), flags);
}

/// Start or stop forwarding to `addressText`.
Packet forwardingRequest(LogMessageCommand command, const std::string& addressText,
                         std::uint16_t flags = 0)
{
    std::string type(sizeof(std::uint32_t), '\0');
    storeU32(reinterpret_cast<std::uint8_t*>(type.data()),
             static_cast<std::uint32_t>(SinkType::Forwarder));
    return messageRequest(command, type + addressText, flags);
}

} // namespace

TailSubscription::TailSubscription(const SocketAddress& address, bool replay)
    : addressText_(socketAddressText(address))
    , service_(readConnectionInfo())
{
    if (!socket_.open() || !socket_.bind({platform::loopbackAddress, 0}) ||
        !socket_.setNonBlocking())
        throw LogSvcError("Failed to create the log client socket");
    LogClient client(service_);
    try {
        client.command(replay
                           ? messageRequest(LogMessageCommand::ReplayAndForward, addressText_)
                           : forwardingRequest(LogMessageCommand::StartForwarding, addressText_));
    } catch (const LogSvcError&) {
        // Perhaps only its answer was lost or late.
        const Packet undo =
            forwardingRequest(LogMessageCommand::StopForwarding, addressText_, flagNoAcknowledge);
        socket_.send(undo.bytes(), undo.size(), service_);
        throw;
    }
}

std::string TailSubscription::keep(bool heard)
{
    const Answer answer = readAnswers();
    const bool hasMoved = findService();
    const bool isGone = isNobodyThere();
    const auto at = [this] { return " at " + socketAddressText(service_); };
    std::string told;
    if (hasMoved) {
        // What it has answered was the one before.
        state_ = State::Moved;
        unanswered_ = 0;
        isRefusalTold_ = false;
    } else if (state_ != State::Subscribed && answer == Answer::Yes) {
        told = "the log service " +
               std::string(state_ == State::Moved ? "was started anew" : "is back") + at() +
               "; showing its messages again";
        state_ = State::Subscribed;
        unanswered_ = 0;
        isRefusalTold_ = false;
    } else if (answer == Answer::No && !isRefusalTold_) {
        told = "the log service" + at() + " refuses to send its messages; asking again";
        state_ = State::Waiting;
        isRefusalTold_ = true;
    } else if (state_ != State::Waiting) {
        unanswered_ = heard || answer == Answer::Yes ? 0 : unanswered_ + 1;
        if (isGone || unanswered_ > patience) {
            told = "the log service" + at() + (isGone ? " has gone" : " does not answer any more") +
                   "; waiting for it to come back";
            state_ = State::Waiting;
        }
    }
    if (!isGone)
        ask();
    return told;
}

void TailSubscription::end()
{
    if (isNobodyThere())
        return;
    try {
        LogClient(service_).command(
            forwardingRequest(LogMessageCommand::StopForwarding, addressText_));
    } catch (const LogSvcError&) {
        // A service that is gone forwards nothing any more.
    }
}

/// False also where the system does not tell.
bool TailSubscription::isNobodyThere() const
{
    const Packet nothing = messageRequest(LogMessageCommand::NoOperation, {}, flagNoAcknowledge);
    return platform::isNobodyThere(service_, nothing.bytes(), nothing.size());
}

/// True if the service is at another place than before.
bool TailSubscription::findService()
{
    SocketAddress published;
    try {
        published = readConnectionInfo();
    } catch (const LogSvcError&) {
        return false; // ended, or just starting
    }
    if (published == service_)
        return false;
    // Should there still be one, it has no more to send here.
    const Packet undo =
        forwardingRequest(LogMessageCommand::StopForwarding, addressText_, flagNoAcknowledge);
    socket_.send(undo.bytes(), undo.size(), service_);
    service_ = published;
    firstSequence_ = nextSequence_;
    return true;
}

/// What the service has answered to what it was asked; a yes counts more than a no.
TailSubscription::Answer TailSubscription::readAnswers()
{
    Answer result = Answer::None;
    std::array<std::uint8_t, maximumPacket> buffer{};
    for (int i = 0; i < maximumAnswers; ++i) {
        const platform::ReceivedDatagram datagram = socket_.receive(buffer.data(), buffer.size());
        if (datagram.result != platform::ReceiveResult::Datagram)
            break;
        if (datagram.sender != service_ || datagram.length != packetHeaderSize)
            continue;
        const PacketHeader header = readPacketHeader(buffer.data());
        const auto age = static_cast<std::uint16_t>(header.sequence - firstSequence_);
        const auto asked = static_cast<std::uint16_t>(nextSequence_ - firstSequence_);
        if (header.magic != magicLogMessage || age >= asked ||
            header.command != (static_cast<std::uint16_t>(LogMessageCommand::StartForwarding) |
                               commandAcknowledgeBit))
            continue;
        if (header.status == static_cast<std::uint16_t>(PacketStatus::Success))
            result = Answer::Yes;
        else if (result == Answer::None)
            result = Answer::No;
    }
    return result;
}

void TailSubscription::ask()
{
    Packet request = forwardingRequest(LogMessageCommand::StartForwarding, addressText_);
    PacketHeader header = request.header();
    header.sequence = nextSequence_++;
    request.setHeader(header);
    // An answer to one of long ago is none.
    constexpr std::uint16_t recent = 64;
    if (static_cast<std::uint16_t>(nextSequence_ - firstSequence_) > recent)
        ++firstSequence_;
    socket_.send(request.bytes(), request.size(), service_);
}

} // namespace zuLogging
