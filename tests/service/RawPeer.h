#pragma once

#include "logging/Packet.h"
#include "platform/Udp.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zuLogging::test {

/// A socket on the loopback that sends and receives whatever bytes a test wants.
class RawPeer
{
public:
    RawPeer();

    platform::SocketAddress address() const;
    std::string addressText() const;

    void send(const std::vector<std::uint8_t>& bytes, const platform::SocketAddress& to);
    void send(const Packet& packet, const platform::SocketAddress& to);

    /// The next datagram; nothing if none comes within the limit.
    std::optional<std::vector<std::uint8_t>>
    receive(std::chrono::milliseconds limit = std::chrono::seconds(10));
    /// The same, with its sender.
    std::optional<std::vector<std::uint8_t>> receive(platform::SocketAddress& sender);

    /// Sends a request and returns the header of the next datagram that comes back.
    std::optional<PacketHeader> ask(const platform::SocketAddress& server, std::uint16_t magic,
                                    std::uint16_t command, std::string_view payload = {});
    /// The same for bytes as they are.
    std::optional<PacketHeader> ask(const platform::SocketAddress& server,
                                    const std::vector<std::uint8_t>& bytes);

private:
    platform::UdpSocket socket_;
};

/// `packet`'s header and payload.
std::vector<std::uint8_t> bytesOf(const Packet& packet);

/// Payload of the commands that add and remove sinks.
std::string sinkPayload(std::uint32_t type, std::string_view text);

/// A small container with that SourceMsgID and that text.
std::vector<std::uint8_t> sampleContainer(std::uint64_t sourceMsgId, const std::string& text = "x",
                                          bool secondary = false);

} // namespace zuLogging::test
