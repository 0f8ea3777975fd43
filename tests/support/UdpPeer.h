#pragma once

#include "logging/Packet.h"
#include "platform/Udp.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <optional>
#include <vector>

#include <unistd.h>

namespace zuLogging::test {

using Bytes = std::vector<std::uint8_t>;

/// The bytes that a packet puts on the wire.
inline Bytes wireBytes(const Packet& packet)
{
    return Bytes(packet.bytes(), packet.bytes() + packet.size());
}

/// A datagram of `wireLength` bytes with this header, whatever the header says about its length.
inline Bytes datagram(const PacketHeader& header, std::size_t wireLength)
{
    Bytes bytes(std::max(wireLength, packetHeaderSize), 0);
    writePacketHeader(bytes.data(), header);
    bytes.resize(wireLength);
    return bytes;
}

/// A well-formed packet with header and payload of one's own choice.
inline Bytes datagram(PacketHeader header, const Bytes& payload)
{
    header.payloadLength = static_cast<std::uint16_t>(payload.size());
    Bytes bytes = datagram(header, packetHeaderSize + payload.size());
    if (!payload.empty())
        std::memcpy(bytes.data() + packetHeaderSize, payload.data(), payload.size());
    return bytes;
}

/// A loopback address of this process: a port that is given back there is nobody else's afterwards.
inline std::uint32_t ownLoopbackAddress()
{
    return platform::loopbackAddress + static_cast<std::uint32_t>(::getpid());
}

/// A bare socket on the loopback that sends and receives what it is told, valid or not.
class UdpPeer
{
public:
    explicit UdpPeer(std::uint32_t host = platform::loopbackAddress)
    {
        EXPECT_TRUE(socket_.open());
        EXPECT_TRUE(socket_.setReceiveBufferSize(0x20000));
        EXPECT_TRUE(socket_.setSendBufferSize(0x20000));
        EXPECT_TRUE(socket_.setNonBlocking());
        EXPECT_TRUE(socket_.bind({host, 0}));
    }

    platform::SocketAddress address() const { return socket_.boundAddress().value(); }

    void send(const Bytes& bytes, const platform::SocketAddress& to)
    {
        ASSERT_TRUE(socket_.send(bytes.data(), bytes.size(), to)) << bytes.size() << " bytes";
    }

    /// The next datagram; nothing when none comes within the limit.
    std::optional<Bytes> receive(std::chrono::milliseconds limit = std::chrono::seconds(10))
    {
        if (socket_.waitReadable(limit) != platform::WaitResult::Readable)
            return std::nullopt;
        Bytes buffer(70000);
        const platform::ReceivedDatagram received = socket_.receive(buffer.data(), buffer.size());
        if (received.result != platform::ReceiveResult::Datagram)
            return std::nullopt;
        buffer.resize(received.length);
        return buffer;
    }

    /// Sends one datagram and returns the header of the next one that comes back; nothing when
    /// that is no bare header.
    std::optional<PacketHeader> exchange(const Bytes& bytes, const platform::SocketAddress& to)
    {
        send(bytes, to);
        const std::optional<Bytes> reply = receive();
        if (!reply || reply->size() != packetHeaderSize)
            return std::nullopt;
        return readPacketHeader(reply->data());
    }

    /// Sends a request that does nothing. True when its acknowledge is the very next datagram,
    /// which shows that nothing sent before it was answered, and that all of it was handled.
    bool nextAnswerIsToPing(const platform::SocketAddress& to)
    {
        const std::uint16_t sequence = ++pings_;
        const std::optional<PacketHeader> reply = exchange(ping(sequence), to);
        return reply && reply->command == (273 | commandAcknowledgeBit) &&
               reply->sequence == sequence && reply->status == 0;
    }

    /// The same, throwing away answers to what was sent before.
    bool isAnswered(const platform::SocketAddress& to)
    {
        const std::uint16_t sequence = ++pings_;
        send(ping(sequence), to);
        while (const std::optional<Bytes> reply = receive()) {
            if (reply->size() != packetHeaderSize)
                continue;
            const PacketHeader header = readPacketHeader(reply->data());
            if (header.command == (273 | commandAcknowledgeBit) && header.sequence == sequence &&
                header.status == 0)
                return true;
        }
        return false;
    }

private:
    static Bytes ping(std::uint16_t sequence)
    {
        return datagram({magicLogMessage, 0, 273, 0, sequence, 0}, Bytes());
    }

    platform::UdpSocket socket_;
    std::uint16_t pings_ = 40000;
};

} // namespace zuLogging::test
