#include "service/LogService.h"

#include "logging/LogMessageSinkForwarder.h"
#include "logging/LogSvcError.h"
#include "logging/SinkFactory.h"
#include "logging/SocketAddressText.h"

#include <algorithm>
#include <utility>

namespace zuLogging {

LogService::LogService(SinkList sinks)
    : LogMessageListener(std::move(sinks))
    , ownAddress_(boundAddress())
{
    start();
}

LogService::~LogService() { stop(); }

void LogService::process(const Packet& request, std::size_t length, Packet& acknowledge)
{
    const PacketHeader header = request.header();
    const auto* payload = reinterpret_cast<const char*>(request.payload());
    const std::string_view text(payload, header.payloadLength);
    constexpr std::size_t typeSize = sizeof(std::uint32_t);

    if (header.command == static_cast<std::uint16_t>(LogMessageCommand::ReplayAndForward))
        checkNewForwarder(text);
    else if (header.command == static_cast<std::uint16_t>(LogMessageCommand::StartForwarding)
             && text.size() > typeSize
             && loadU32(request.payload()) == static_cast<std::uint32_t>(SinkType::Forwarder))
        checkNewForwarder(text.substr(typeSize));

    LogMessageListener::process(request, length, acknowledge);
}

bool LogService::processForeign(const Packet& request, std::size_t length, Packet& acknowledge)
{
    if (request.header().magic != magicLogClient)
        return LogMessageListener::processForeign(request, length, acknowledge);
    clientCommands_.answer(request, length, acknowledge);
    return true;
}

void LogService::checkNewForwarder(std::string_view addressText) const
{
    const SocketAddress destination = parseSocketAddress(addressText);
    // The address 0.0.0.0 reaches this machine's loopback too. A message sent to oneself would come
    // back and be sent again for ever.
    if (destination.port == ownAddress_.port
        && (destination.address == ownAddress_.address || destination.address == 0))
        throw LogSvcError("The log service cannot forward to itself");

    std::size_t forwarders = 0;
    for (const std::shared_ptr<LogMessageSink>& sink : sinks()) {
        if (dynamic_cast<const LogMessageSinkForwarder*>(sink.get()) == nullptr)
            continue;
        if (sink->matches(addressText))
            return;
        ++forwarders;
    }
    if (forwarders >= maximumForwarders)
        throw LogSvcError("The log service has too many forwarders");
}

} // namespace zuLogging
