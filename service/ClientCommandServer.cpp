#include "service/ClientCommandServer.h"

#include "logging/LogSvcError.h"
#include "platform/Trace.h"

#include <algorithm>
#include <exception>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace zuLogging {

namespace {

// Of the payloads.
constexpr std::size_t handleSize = 8;
constexpr std::size_t bufferSizeSize = 4;
constexpr std::size_t keyCountSize = 4;
constexpr std::size_t keySize = 8;
constexpr std::size_t maximumKeysInPacket = (maximumPayload - keyCountSize) / keySize;
constexpr std::size_t pieceHandleOffset = 0;
constexpr std::size_t pieceOffsetOffset = 8;
constexpr std::size_t pieceLengthOffset = 12;
constexpr std::size_t pieceDataOffset = 16;

constexpr char wrongHandle[] = "There is no such transfer buffer";
constexpr char wrongPiece[] = "There is no such place in a transfer buffer";
constexpr char noBuffer[] = "There is no room for another transfer buffer";

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

/// The payload that a command needs at least, in bytes.
std::size_t neededPayload(LogClientCommand command)
{
    switch (command) {
    case LogClientCommand::ReadPiece:
    case LogClientCommand::WritePiece:
        return pieceDataOffset;
    case LogClientCommand::CreateBuffer:
        return bufferSizeSize;
    case LogClientCommand::ReleaseBuffer:
    case LogClientCommand::QueryBufferSize:
    case LogClientCommand::SetConfiguration:
        return handleSize;
    case LogClientCommand::ReportCounterSetKeys:
        return maximumPayload; // always full packets, however many keys are in them
    default:
        return 0;
    }
}

template <class Value>
Value require(const std::optional<Value>& value, const char* otherwise)
{
    if (!value)
        throw LogSvcError(otherwise);
    return *value;
}

/// Fills `acknowledge` with the successful answer to `request` and room for `payloadLength` bytes.
void succeed(const PacketHeader& request, Packet& acknowledge, std::size_t payloadLength)
{
    PacketHeader header = acknowledgeOf(request, PacketStatus::Success);
    header.payloadLength = static_cast<std::uint16_t>(payloadLength);
    acknowledge.setHeader(header);
}

void succeedWithHandle(const PacketHeader& request, Packet& acknowledge, std::uint64_t handle)
{
    succeed(request, acknowledge, handleSize);
    storeU64(acknowledge.payload(), handle);
}

} // namespace

ClientCommandServer::Service::~Service() = default;

ClientCommandServer::ClientCommandServer(Service& service, TransferBuffers::Clock clock)
    : service_(service)
    , buffers_(std::move(clock))
{
}

bool ClientCommandServer::answer(const Packet& request, std::size_t length, Packet& acknowledge)
{
    const PacketHeader header = request.header();
    if (header.magic != magicLogClient || header.payloadLength > maximumPayload ||
        length < packetHeaderSize || length > maximumPacket)
        throw LogSvcError("Received malformed input packet");
    if (length != packetHeaderSize + header.payloadLength) {
        traceLine("Refusing command packet with unexpected size");
        acknowledge.setHeader(acknowledgeOf(header, PacketStatus::BadPacket));
        return true;
    }
    if (!hasSupportedFlags(header)) {
        traceLine("Refusing command packet containing unsupported flags");
        acknowledge.setHeader(acknowledgeOf(header, PacketStatus::UnsupportedFlags));
        return true;
    }
    try {
        return process(request, acknowledge);
    } catch (const std::exception& error) {
        traceLine(std::string("Error while processing log protocol requests (negative ack "
                              "generated): ") +
                  error.what());
        acknowledge.setHeader(acknowledgeOf(header, PacketStatus::Failed));
        return true;
    }
}

bool ClientCommandServer::knows(std::uint16_t command)
{
    switch (static_cast<LogClientCommand>(command)) {
    case LogClientCommand::ReadPiece:
    case LogClientCommand::WritePiece:
    case LogClientCommand::CreateBuffer:
    case LogClientCommand::ReleaseBuffer:
    case LogClientCommand::QueryBufferSize:
    case LogClientCommand::GetConfiguration:
    case LogClientCommand::SetConfiguration:
    case LogClientCommand::GetModules:
    case LogClientCommand::ReportCounterSetKeys:
    case LogClientCommand::GetServiceStatus:
        return true;
    }
    return false;
}

bool ClientCommandServer::process(const Packet& request, Packet& acknowledge)
{
    const PacketHeader header = request.header();
    const auto command = static_cast<LogClientCommand>(header.command);
    const std::uint8_t* payload = request.payload();
    if (header.payloadLength < neededPayload(command)) {
        acknowledge.setHeader(acknowledgeOf(header, PacketStatus::BadPacket));
        return true;
    }
    switch (command) {
    case LogClientCommand::ReadPiece: {
        const std::size_t length = loadU32(payload + pieceLengthOffset);
        if (length > maximumPayload)
            throw LogSvcError(wrongPiece);
        const std::string_view piece =
            require(buffers_.read(loadU64(payload + pieceHandleOffset),
                                  loadU32(payload + pieceOffsetOffset), length),
                    wrongPiece);
        succeed(header, acknowledge, piece.size());
        std::copy(piece.begin(), piece.end(), acknowledge.payload());
        return true;
    }
    case LogClientCommand::WritePiece:
        write(request, acknowledge);
        return true;
    case LogClientCommand::CreateBuffer:
        succeedWithHandle(header, acknowledge,
                          require(buffers_.create(std::size_t{loadU32(payload)}), noBuffer));
        return true;
    case LogClientCommand::ReleaseBuffer:
        if (!buffers_.release(loadU64(payload)))
            throw LogSvcError(wrongHandle);
        succeed(header, acknowledge, 0);
        return true;
    case LogClientCommand::QueryBufferSize: {
        const std::uint32_t size = require(buffers_.size(loadU64(payload)), wrongHandle);
        succeed(header, acknowledge, bufferSizeSize);
        storeU32(acknowledge.payload(), size);
        return true;
    }
    case LogClientCommand::GetConfiguration:
        succeedWithHandle(header, acknowledge,
                          require(buffers_.create(service_.configuration()), noBuffer));
        return true;
    case LogClientCommand::SetConfiguration: {
        const std::uint64_t handle = loadU64(payload);
        service_.replaceConfiguration(require(buffers_.freeze(handle), wrongHandle), header,
                                      handle);
        return false;
    }
    case LogClientCommand::GetModules:
        succeedWithHandle(header, acknowledge,
                          require(buffers_.create(service_.modules()), noBuffer));
        return true;
    case LogClientCommand::GetServiceStatus:
        succeedWithHandle(header, acknowledge,
                          require(buffers_.create(service_.status()), noBuffer));
        return true;
    case LogClientCommand::ReportCounterSetKeys:
        takeKeys(request, acknowledge);
        return true;
    }
    acknowledge.setHeader(acknowledgeOf(header, PacketStatus::BadPacket));
    return true;
}

void ClientCommandServer::write(const Packet& request, Packet& acknowledge)
{
    const PacketHeader header = request.header();
    const std::uint8_t* payload = request.payload();
    // Clients send full packets whatever the piece's length, which stands in the payload.
    const std::size_t length = loadU32(payload + pieceLengthOffset);
    if (length > header.payloadLength - pieceDataOffset) {
        acknowledge.setHeader(acknowledgeOf(header, PacketStatus::BadPacket));
        return;
    }
    if (!buffers_.write(loadU64(payload + pieceHandleOffset), loadU32(payload + pieceOffsetOffset),
                        payload + pieceDataOffset, length))
        throw LogSvcError(wrongPiece);
    succeed(header, acknowledge, 0);
}

void ClientCommandServer::takeKeys(const Packet& request, Packet& acknowledge)
{
    const PacketHeader header = request.header();
    const std::uint8_t* payload = request.payload();
    const std::size_t count = loadU32(payload);
    if (count > maximumKeysInPacket) {
        acknowledge.setHeader(acknowledgeOf(header, PacketStatus::BadPacket));
        return;
    }
    std::vector<std::uint64_t> keys;
    keys.reserve(count);
    for (std::size_t i = 0; i < count; ++i)
        keys.push_back(loadU64(payload + keyCountSize + i * keySize));
    service_.counterSetKeysReported(keys);
    succeed(header, acknowledge, 0);
}

} // namespace zuLogging
