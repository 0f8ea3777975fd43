#include "logging/LogClient.h"

#include "logging/LogSvcError.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <limits>
#include <new>
#include <stdexcept>

namespace zuLogging {

namespace {

using namespace std::chrono_literals;
using platform::ReceiveResult;
using platform::WaitResult;

constexpr int socketBufferSize = 0x20000;
constexpr int attempts = 2;
constexpr std::chrono::milliseconds acknowledgeLimit = 500ms;

// More than the socket's buffer can hold: what still comes then was sent while we were reading, by
// a peer that must not keep us here.
constexpr int staleDatagramLimit = 4096;

constexpr std::size_t handleSize = 8;
constexpr std::size_t bufferSizeSize = 4;

// Of the payloads of ReadPiece and WritePiece.
constexpr std::size_t pieceHandleOffset = 0;
constexpr std::size_t pieceOffsetOffset = 8;
constexpr std::size_t pieceLengthOffset = 12;
constexpr std::size_t pieceDataOffset = 16;

// No configuration and no module list comes near it; a service that announces more is wrong, and
// must not have us take gigabytes piece by piece.
constexpr std::size_t maximumDownload = std::size_t{256} << 20;

constexpr std::size_t maximumReadPiece = maximumPayload;
constexpr std::size_t maximumWritePiece = maximumPayload - pieceDataOffset;

constexpr char executionFailure[] =
    "Log client command execution failure when communicating with the server.";
constexpr char malformedAcknowledge[] = "Received malformed acknowledge packet";
constexpr char noMemoryForDownload[] = "Failed to allocate buffer for the data to be downloaded";
constexpr char outOfRange[] = "The command packet data are out of range";

Packet clientRequest(LogClientCommand command, const void* payload, std::size_t length)
{
    return makeRequest(magicLogClient, static_cast<std::uint16_t>(command), payload, length);
}

Packet handleRequest(LogClientCommand command, std::uint64_t handle)
{
    std::array<std::uint8_t, handleSize> payload{};
    storeU64(payload.data(), handle);
    return clientRequest(command, payload.data(), payload.size());
}

Packet createBufferRequest(std::uint32_t size)
{
    std::array<std::uint8_t, bufferSizeSize> payload{};
    storeU32(payload.data(), size);
    return clientRequest(LogClientCommand::CreateBuffer, payload.data(), payload.size());
}

Packet readPieceRequest(std::uint64_t handle, std::uint32_t offset, std::uint32_t length)
{
    std::array<std::uint8_t, pieceDataOffset> payload{};
    storeU64(payload.data() + pieceHandleOffset, handle);
    storeU32(payload.data() + pieceOffsetOffset, offset);
    storeU32(payload.data() + pieceLengthOffset, length);
    return clientRequest(LogClientCommand::ReadPiece, payload.data(), payload.size());
}

// Always a full packet: the service takes the length of the piece from the payload.
Packet writePieceRequest(std::uint64_t handle, std::uint32_t offset, const char* data,
                         std::uint32_t length)
{
    std::array<std::uint8_t, maximumPayload> payload{};
    storeU64(payload.data() + pieceHandleOffset, handle);
    storeU32(payload.data() + pieceOffsetOffset, offset);
    storeU32(payload.data() + pieceLengthOffset, length);
    std::memcpy(payload.data() + pieceDataOffset, data, length);
    return clientRequest(LogClientCommand::WritePiece, payload.data(), payload.size());
}

// The acknowledge's payload must hold at least `length` bytes before anybody reads them.
void requirePayload(const Packet& acknowledge, std::size_t length)
{
    if (acknowledge.header().payloadLength < length)
        throw LogSvcError(malformedAcknowledge);
}

std::uint64_t handleOf(const Packet& acknowledge)
{
    requirePayload(acknowledge, handleSize);
    return loadU64(acknowledge.payload());
}

std::uint32_t bufferSizeOf(const Packet& acknowledge)
{
    requirePayload(acknowledge, bufferSizeSize);
    return loadU32(acknowledge.payload());
}

bool wantsAcknowledge(const Packet& request)
{
    return (request.header().flags & flagNoAcknowledge) == 0;
}

void dropStaleDatagrams(platform::UdpSocket& socket)
{
    std::array<std::uint8_t, 1024> scratch;
    for (int i = 0; i < staleDatagramLimit; ++i) {
        if (socket.waitReadable(0ms) != WaitResult::Readable)
            return;
        if (socket.receive(scratch.data(), scratch.size()).result == ReceiveResult::Failed)
            throw LogSvcError(
                "Failed to read out invalid previous data from the log client socket");
    }
}

// The service frees a forgotten buffer itself, so a failure here spoils nothing.
void releaseBuffer(LogClient& client, std::uint64_t handle)
{
    try {
        client.command(handleRequest(LogClientCommand::ReleaseBuffer, handle));
    } catch (const LogSvcError&) {
    }
}

} // namespace

LogClient::LogClient(const SocketAddress& server)
    : server_(server)
{
    if (!socket_.open())
        throw LogSvcError("Failed to create the log client socket");
    // Left alone, the first send would open it to every network of the machine.
    if (server.address >> 24 == platform::loopbackAddress >> 24 &&
        !socket_.bind({platform::loopbackAddress, 0}))
        throw LogSvcError("Failed to create the log client socket");
    // Smaller buffers than these, or a socket that blocks, cost speed and no more: every receive
    // follows a wait.
    socket_.setReceiveBufferSize(socketBufferSize);
    socket_.setSendBufferSize(socketBufferSize);
    socket_.setNonBlocking();
}

std::size_t LogClient::execute(const Packet& request, Packet& reply)
{
    return execute(request, request.size(), reply);
}

std::size_t LogClient::execute(const Packet& request, std::size_t wireLength, Packet& reply)
{
    if (wireLength > maximumPacket)
        throw LogSvcError(outOfRange);
    const bool acknowledgeWanted = wantsAcknowledge(request);
    if (acknowledgeWanted)
        dropStaleDatagrams(socket_);

    for (int attempt = 0; attempt < attempts; ++attempt) {
        if (!socket_.send(request.bytes(), wireLength, server_))
            continue;
        if (!acknowledgeWanted)
            return 0;
        if (socket_.waitReadable(acknowledgeLimit) != WaitResult::Readable)
            continue;
        const platform::ReceivedDatagram datagram = socket_.receive(reply.bytes(), maximumPacket);
        if (datagram.result == ReceiveResult::Datagram && datagram.sender == server_)
            return datagram.length;
    }
    throw LogSvcError(executionFailure);
}

void LogClient::checkAcknowledge(const Packet& request, const Packet& reply, std::size_t length)
{
    if (length < packetHeaderSize || length > maximumPacket)
        throw LogSvcError(malformedAcknowledge);
    const PacketHeader asked = request.header();
    const PacketHeader answer = reply.header();
    if (answer.magic != asked.magic || answer.payloadLength > maximumPayload ||
        length != packetHeaderSize + answer.payloadLength)
        throw LogSvcError(malformedAcknowledge);
    if (answer.command != static_cast<std::uint16_t>(asked.command | commandAcknowledgeBit) ||
        answer.sequence != asked.sequence)
        throw LogSvcError("The received acknowledge does not match the actual request");
    if (answer.flags != 0)
        throw LogSvcError("The received acknowledge contains unsupported flags");
    if (answer.status != static_cast<std::uint16_t>(PacketStatus::Success))
        throw LogSvcError("The command was not successful (negative acknowledge received)");
}

Packet LogClient::command(const Packet& request)
{
    Packet reply;
    const std::size_t length = execute(request, reply);
    if (wantsAcknowledge(request))
        checkAcknowledge(request, reply, length);
    return reply;
}

std::string LogClient::download(LogClientCommand command)
{
    const std::uint64_t handle = handleOf(this->command(clientRequest(command, nullptr, 0)));
    const std::size_t size =
        bufferSizeOf(this->command(handleRequest(LogClientCommand::QueryBufferSize, handle)));

    if (size > maximumDownload)
        throw LogSvcError(noMemoryForDownload);
    std::string bytes;
    try {
        // Room only: the memory is touched as the pieces come, so that a wrong size costs none.
        bytes.reserve(size);
    } catch (const std::bad_alloc&) {
        throw LogSvcError(noMemoryForDownload);
    } catch (const std::length_error&) {
        throw LogSvcError(noMemoryForDownload);
    }
    while (bytes.size() < size) {
        const std::size_t piece = std::min(maximumReadPiece, size - bytes.size());
        const Packet reply = this->command(readPieceRequest(
            handle, static_cast<std::uint32_t>(bytes.size()), static_cast<std::uint32_t>(piece)));
        if (reply.header().payloadLength != piece)
            throw LogSvcError(malformedAcknowledge);
        bytes.append(reinterpret_cast<const char*>(reply.payload()), piece);
    }
    releaseBuffer(*this, handle);
    return bytes;
}

void LogClient::upload(const char* data, std::size_t size)
{
    if (data == nullptr)
        throw LogSvcError("The data buffer to be uploaded is invalid.");
    if (size > std::numeric_limits<std::uint32_t>::max())
        throw LogSvcError(outOfRange);

    const std::uint64_t handle =
        handleOf(command(createBufferRequest(static_cast<std::uint32_t>(size))));
    for (std::size_t offset = 0; offset < size;) {
        const std::size_t piece = std::min(maximumWritePiece, size - offset);
        command(writePieceRequest(handle, static_cast<std::uint32_t>(offset), data + offset,
                                  static_cast<std::uint32_t>(piece)));
        offset += piece;
    }
    command(handleRequest(LogClientCommand::SetConfiguration, handle));
    releaseBuffer(*this, handle);
}

void LogClient::forward(const LogMessageContainerView& container)
{
    const Packet request = messagePacket(container, flagNoAcknowledge);
    Packet noReply;
    execute(request, noReply);
}

void LogClient::deliver(const LogMessageContainerView& container)
{
    command(messagePacket(container, 0));
}

Packet LogClient::messagePacket(const LogMessageContainerView& container, std::uint16_t flags)
{
    // The numbers stand in the container's header, so there must be a whole one.
    if (container.length < containerHeaderSize)
        throw LogSvcError(outOfRange);
    const bool secondary = (container.data[containerFlagsOffset] & containerFlagSecondary) != 0;
    // Counted before the length is looked at: a container that is too long leaves a gap in the
    // numbers, by which the receiver sees that one is missing.
    const std::uint64_t number = secondary ? ++sentSecondaryMessages_ : ++sentMessages_;
    const auto command =
        secondary ? LogMessageCommand::SecondaryMessage : LogMessageCommand::Message;

    Packet request = makeRequest(magicLogMessage, static_cast<std::uint16_t>(command),
                                 container.data, container.length, flags);
    storeU64(request.payload() + containerSenderMsgIdOffset, number);
    if (container.serviceNumber)
        storeU64(request.payload() + containerServiceMsgIdOffset, *container.serviceNumber);
    return request;
}

} // namespace zuLogging
