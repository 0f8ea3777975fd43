#include "service/ClientCommandServer.h"

#include "logging/LogSvcError.h"
#include "platform/Trace.h"

#include <exception>
#include <string>
#include <string_view>

namespace zuLogging {

namespace {

bool hasSupportedFlags(const PacketHeader& header)
{
    // An acknowledge may carry no flag at all, a request only the wish for none.
    const bool isAcknowledge = (header.command & commandAcknowledgeBit) != 0;
    const unsigned allowed = isAcknowledge ? 0U : unsigned{flagNoAcknowledge};
    return (header.flags & ~allowed) == 0;
}

void traceLine(const std::string& text)
{
    platform::trace(std::string_view(text));
    platform::trace(std::string_view("\n"));
}

} // namespace

void ClientCommandServer::answer(const Packet& request, std::size_t length, Packet& acknowledge)
{
    const PacketHeader header = request.header();
    if (header.magic != magicLogClient || header.payloadLength > maximumPayload ||
        length < packetHeaderSize || length > maximumPacket)
        throw LogSvcError("Received malformed input packet");
    if (length != packetHeaderSize + header.payloadLength) {
        traceLine("Refusing command packet with unexpected size");
        acknowledge.setHeader(acknowledgeOf(header, PacketStatus::BadPacket));
        return;
    }
    if (!hasSupportedFlags(header)) {
        traceLine("Refusing command packet containing unsupported flags");
        acknowledge.setHeader(acknowledgeOf(header, PacketStatus::UnsupportedFlags));
        return;
    }
    try {
        process(request, acknowledge);
    } catch (const std::exception& error) {
        traceLine(std::string("Error while processing log protocol requests (negative ack "
                              "generated): ") +
                  error.what());
        acknowledge.setHeader(acknowledgeOf(header, PacketStatus::Failed));
    }
}

void ClientCommandServer::process(const Packet& request, Packet& acknowledge)
{
    acknowledge.setHeader(acknowledgeOf(request.header(), PacketStatus::BadPacket));
}

} // namespace zuLogging
