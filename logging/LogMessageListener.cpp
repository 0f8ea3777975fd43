#include "logging/LogMessageListener.h"

#include "logging/LogMessageSinkForwarder.h"
#include "logging/LogMessageSinkRecorder.h"
#include "logging/LogSvcError.h"
#include "logging/SinkFactory.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <typeindex>
#include <typeinfo>
#include <utility>

namespace zuLogging {

namespace {

constexpr char outOfRange[] = "The command packet data are out of range";

constexpr std::size_t sinkTypeSize = sizeof(std::uint32_t);
constexpr std::size_t replayRequestSize = sizeof(ReplayRequest::bytes);

std::type_index classOf(const LogMessageSink& sink)
{
    return std::type_index(typeid(sink));
}

std::string_view textBehind(const std::uint8_t* payload, std::size_t length, std::size_t offset)
{
    return {reinterpret_cast<const char*>(payload) + offset, length - offset};
}

/// What one sink throws is kept until all have been called and thrown then: one that fails (a
/// forwarder that cannot send any more) must not cost the sinks behind it a message, and the sender
/// still learns of it.
template <class Operation>
void callKeepingFirstError(std::exception_ptr& firstError, const Operation& operation)
{
    try {
        operation();
    } catch (...) {
        if (!firstError)
            firstError = std::current_exception();
    }
}

template <class Operation>
void forEachSink(const SinkList& sinks, const Operation& operation)
{
    std::exception_ptr firstError;
    for (const std::shared_ptr<LogMessageSink>& sink : sinks)
        callKeepingFirstError(firstError, [&] { operation(*sink); });
    if (firstError)
        std::rethrow_exception(firstError);
}

} // namespace

LogMessageListener::LogMessageListener(SinkList sinks, std::uint64_t firstNumber,
                                       ListenerLimits limits, std::shared_ptr<LogLedger> ledger)
    : LogProtoServer<LogMsgProtocol>(std::move(ledger))
    , limits_(limits)
    , gaps_(this->ledger())
    , sinks_(std::move(sinks))
    , counter_(firstNumber)
{
}

LogMessageListener::~LogMessageListener()
{
    // The derived class has stopped the thread; should one forget to, the sinks are safe here.
    stop();
}

void LogMessageListener::process(const Packet& request, std::size_t length, Packet& acknowledge)
{
    const bool numbered = assignsServiceIds();
    const PacketHeader header = request.header();
    const auto command = static_cast<LogMessageCommand>(header.command);
    switch (command) {
    case LogMessageCommand::Message:
    case LogMessageCommand::SecondaryMessage:
    case LogMessageCommand::NoOperation:
    case LogMessageCommand::StartForwarding:
    case LogMessageCommand::StopForwarding:
    case LogMessageCommand::Replay:
    case LogMessageCommand::ReplayAndForward:
        handleCommand(command, request.payload(), length - packetHeaderSize, numbered);
        acknowledge.setHeader(acknowledgeOf(header, PacketStatus::Success));
        return;
    }
    acknowledge.setHeader(acknowledgeOf(header, PacketStatus::BadPacket));
}

void LogMessageListener::handleCommand(LogMessageCommand command, const std::uint8_t* payload,
                                       std::size_t length, bool numbered)
{
    switch (command) {
    case LogMessageCommand::Message:
        deliver(payload, length, false, numbered);
        break;
    case LogMessageCommand::SecondaryMessage:
        deliver(payload, length, true, numbered);
        break;
    case LogMessageCommand::NoOperation:
        break;
    case LogMessageCommand::StartForwarding:
    case LogMessageCommand::StopForwarding: {
        if (length < sinkTypeSize)
            throw LogSvcError(outOfRange);
        const std::uint32_t typeCode = loadU32(payload);
        const std::string_view argumentText = textBehind(payload, length, sinkTypeSize);
        if (command == LogMessageCommand::StartForwarding)
            addSink(typeCode, argumentText);
        else
            removeSink(typeCode, argumentText);
        break;
    }
    case LogMessageCommand::Replay: {
        if (length < replayRequestSize)
            throw LogSvcError(outOfRange);
        ReplayRequest request;
        std::memcpy(request.bytes.data(), payload, replayRequestSize);
        replay(command, request, textBehind(payload, length, replayRequestSize));
        break;
    }
    case LogMessageCommand::ReplayAndForward: {
        const std::string_view addressText = textBehind(payload, length, 0);
        replay(command, ReplayRequest::everything(), addressText);
        addSink(static_cast<std::uint32_t>(SinkType::Forwarder), addressText);
        break;
    }
    }
}

void LogMessageListener::deliver(const std::uint8_t* payload, std::size_t length, bool secondary,
                                 bool numbered)
{
    if (length < containerHeaderSize || length > maximumContainer ||
        loadU16(payload + containerSizeOffset) != length) {
        countAs(LogCount::RefusedContainer);
        throw LogSvcError("Constructing an output log message container from inconsistent data");
    }
    countAs(LogCount::Messages);
    // Senders count by the container's kind, whatever the command.
    if (sender())
        gaps_.note(*sender(), (payload[containerFlagsOffset] & containerFlagSecondary) != 0,
                   loadU64(payload + containerSenderMsgIdOffset));

    LogMessageContainerView container;
    container.data = payload;
    container.length = length;
    try {
        if (!isWanted(container)) {
            ledger().add(LogCount::Unwanted);
            return;
        }
        if (++counter_ == 0)
            counter_ = 1;
        if (numbered)
            container.serviceNumber = counter_;
        deliverToSinks(container, secondary);
    } catch (...) {
        ledger().add(LogCount::SinkFailed);
        throw;
    }
}

void LogMessageListener::deliverToSinks(const LogMessageContainerView& container, bool secondary)
{
    std::exception_ptr firstError;
    for (const std::shared_ptr<LogMessageSink>& sink : sinks_) {
        // No failure of one sink at one moment but a mistake of the program: it ends the round.
        if (sink->containerOperatingMode() != 0)
            throw LogSvcError("Unknown log sink container operating mode selected");
        callKeepingFirstError(firstError, [&] {
            if (secondary)
                sink->consumeSecondary(container);
            else
                sink->consume(container);
        });
    }
    if (firstError)
        std::rethrow_exception(firstError);
}

void LogMessageListener::replay(LogMessageCommand /*command*/, const ReplayRequest& request,
                                std::string_view addressText)
{
    bool toItself = false;
    try {
        toItself = !limits_.allowsOwnAddress && isOwnAddress(addressText);
    } catch (const LogSvcError&) {
        // What is no address is the business of the sinks.
    }
    // What it recorded would be recorded again, once for each request.
    if (toItself)
        throw LogSvcError(outOfRange);
    if (limits_.replays != ListenerLimits::unlimited && replaysUnderWay() >= limits_.replays)
        throw LogSvcError(outOfRange);
    forEachSink(sinks_, [&](LogMessageSink& sink) { sink.replay(request, addressText); });
}

std::size_t LogMessageListener::replaysUnderWay() const
{
    std::size_t count = 0;
    for (const std::shared_ptr<LogMessageSink>& sink : sinks_)
        if (const auto* recorder = dynamic_cast<const LogMessageSinkRecorder*>(sink.get()))
            count += recorder->requestsUnderWay();
    return count;
}

void LogMessageListener::idle()
{
    forEachSink(sinks_, [](LogMessageSink& sink) { sink.idle(); });
}

bool LogMessageListener::addSink(std::uint32_t typeCode, std::string_view argumentText)
{
    if (!sinks_.empty()) {
        const std::type_index wanted = sinkTypeIdentity(typeCode);
        for (const std::shared_ptr<LogMessageSink>& sink : sinks_)
            if (classOf(*sink) == wanted && sink->matches(argumentText))
                return false;
    }
    if (!limits_.allowsOwnAddress && typeCode == static_cast<std::uint32_t>(SinkType::Forwarder) &&
        isOwnAddress(argumentText))
        throw LogSvcError(outOfRange);
    if (sinks_.size() >= limits_.sinks && !removeForwardersToNobody())
        throw LogSvcError(outOfRange);

    SinkDescription description;
    description.argumentText = std::string(argumentText);
    sinks_.push_back(makeSink(typeCode, description));
    return true;
}

void LogMessageListener::appendSink(std::shared_ptr<LogMessageSink> sink)
{
    const auto* forwarder = dynamic_cast<const LogMessageSinkForwarder*>(sink.get());
    if (!limits_.allowsOwnAddress && forwarder != nullptr &&
        isOwnAddress(forwarder->argumentText()))
        throw LogSvcError(outOfRange);
    sinks_.push_back(std::move(sink));
}

bool LogMessageListener::removeSink(std::uint32_t typeCode, std::string_view argumentText)
{
    if (sinks_.empty())
        return false;
    const std::type_index wanted = sinkTypeIdentity(typeCode);
    const auto found = std::find_if(
        sinks_.begin(), sinks_.end(), [&](const std::shared_ptr<LogMessageSink>& sink) {
            return classOf(*sink) == wanted && sink->matches(argumentText);
        });
    if (found == sinks_.end())
        return false;
    removing(**found);
    sinks_.erase(found);
    return true;
}

/// Viewers that were killed have never unsubscribed; when their places are needed they are looked
/// for. True if there were any.
bool LogMessageListener::removeForwardersToNobody()
{
    const auto gone = std::remove_if(
        sinks_.begin(), sinks_.end(), [this](const std::shared_ptr<LogMessageSink>& sink) {
            const auto* forwarder = dynamic_cast<const LogMessageSinkForwarder*>(sink.get());
            if (forwarder == nullptr || !forwarder->isDestinationGone())
                return false;
            removing(*sink);
            return true;
        });
    const bool any = gone != sinks_.end();
    sinks_.erase(gone, sinks_.end());
    return any;
}

/// True if a datagram to that address comes back to this server's own socket.
bool LogMessageListener::isOwnAddress(std::string_view addressText) const
{
    const SocketAddress own = boundAddress();
    const SocketAddress target = parseSocketAddress(addressText);
    // The system takes the empty address for its own.
    return target.port == own.port && (target.address == own.address || target.address == 0);
}

} // namespace zuLogging
