#include "tests/service/RawPeer.h"

#include "logging/LogMessageContainerBuilder.h"
#include "logging/SocketAddressText.h"

#include <stdexcept>

namespace zuLogging::test {

RawPeer::RawPeer()
{
    if (!socket_.open() || !socket_.setNonBlocking() || !socket_.setReceiveBufferSize(1 << 20) ||
        !socket_.bind({platform::loopbackAddress, 0}))
        throw std::runtime_error("the test needs a socket");
}

platform::SocketAddress RawPeer::address() const
{
    return socket_.boundAddress().value();
}

std::string RawPeer::addressText() const
{
    return socketAddressText(address());
}

void RawPeer::send(const std::vector<std::uint8_t>& bytes, const platform::SocketAddress& to)
{
    if (!socket_.send(bytes.data(), bytes.size(), to))
        throw std::runtime_error("the test could not send");
}

void RawPeer::send(const Packet& packet, const platform::SocketAddress& to)
{
    send(bytesOf(packet), to);
}

std::optional<std::vector<std::uint8_t>> RawPeer::receive(std::chrono::milliseconds limit)
{
    if (socket_.waitReadable(limit) != platform::WaitResult::Readable)
        return std::nullopt;
    std::vector<std::uint8_t> bytes(2048);
    const platform::ReceivedDatagram datagram = socket_.receive(bytes.data(), bytes.size());
    if (datagram.result != platform::ReceiveResult::Datagram)
        return std::nullopt;
    bytes.resize(datagram.length);
    return bytes;
}

std::optional<std::vector<std::uint8_t>> RawPeer::receive(platform::SocketAddress& sender)
{
    if (socket_.waitReadable(std::chrono::seconds(10)) != platform::WaitResult::Readable)
        return std::nullopt;
    std::vector<std::uint8_t> bytes(2048);
    const platform::ReceivedDatagram datagram = socket_.receive(bytes.data(), bytes.size());
    if (datagram.result != platform::ReceiveResult::Datagram || !datagram.sender)
        return std::nullopt;
    sender = *datagram.sender;
    bytes.resize(datagram.length);
    return bytes;
}

std::optional<PacketHeader> RawPeer::ask(const platform::SocketAddress& server, std::uint16_t magic,
                                         std::uint16_t command, std::string_view payload)
{
    return ask(server, bytesOf(makeRequest(magic, command, payload.data(), payload.size())));
}

std::optional<PacketHeader> RawPeer::ask(const platform::SocketAddress& server,
                                         const std::vector<std::uint8_t>& bytes)
{
    send(bytes, server);
    const auto answer = receive();
    if (!answer || answer->size() < packetHeaderSize)
        return std::nullopt;
    return readPacketHeader(answer->data());
}

std::vector<std::uint8_t> bytesOf(const Packet& packet)
{
    return {packet.bytes(), packet.bytes() + packet.size()};
}

std::string sinkPayload(std::uint32_t type, std::string_view text)
{
    std::string payload(sizeof type, '\0');
    storeU32(reinterpret_cast<std::uint8_t*>(payload.data()), type);
    return payload.append(text);
}

std::vector<std::uint8_t> sampleContainer(std::uint64_t sourceMsgId, const std::string& text,
                                          bool secondary)
{
    LogMessageContainerBuilder builder;
    builder.sourceMsgId = sourceMsgId;
    builder.secondary = secondary;
    builder.logMessage = text;
    return builder.build();
}

} // namespace zuLogging::test
