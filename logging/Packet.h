#pragma once

// The datagram that both protocols of the log service share: a 12-byte little-endian header and a
// payload. The layout stands here once; everybody else calls these functions.
//
//   offset  0  u16  magic: which protocol
//   offset  2  u16  flags: bit 0 = no acknowledge wanted
//   offset  4  u16  command; bit 15 marks the acknowledge of that command
//   offset  6  u16  status, 0 in a request
//   offset  8  u16  sequence number, repeated by the acknowledge
//   offset 10  u16  payload length, at most 1,388
//   offset 12       payload

#include <array>
#include <cstddef>
#include <cstdint>

namespace zuLogging {

inline constexpr std::uint16_t magicLogClient = 0xACCA;
inline constexpr std::uint16_t magicLogMessage = 0xADDA;

inline constexpr std::uint16_t flagNoAcknowledge = 0x0001;
inline constexpr std::uint16_t commandAcknowledgeBit = 0x8000;

inline constexpr std::size_t packetHeaderSize = 12;
inline constexpr std::size_t maximumPayload = 1388;
inline constexpr std::size_t maximumPacket = packetHeaderSize + maximumPayload;

enum class PacketStatus : std::uint16_t
{
    Success = 0,
    BadPacket = 1, ///< unknown command, or packet size mismatch
    Failed = 3,    ///< negative acknowledge
    UnsupportedFlags = 9
};

/// Commands of the log client protocol (magic 0xACCA).
enum class LogClientCommand : std::uint16_t
{
    ReadPiece = 17,
    WritePiece = 18,
    CreateBuffer = 19,
    ReleaseBuffer = 20,
    QueryBufferSize = 21,
    GetConfiguration = 33,
    SetConfiguration = 34,
    GetModules = 35,
    ReportCounterSetKeys = 53,
    /// Of zulogsvc alone: places a ServiceStatus (JSON text) in a new transfer buffer, as
    /// GetConfiguration does. Other services do not know it (status 1).
    GetServiceStatus = 0x5A53
};

/// Commands of the log message protocol (magic 0xADDA).
enum class LogMessageCommand : std::uint16_t
{
    Message = 257,
    SecondaryMessage = 258,
    NoOperation = 273,
    StartForwarding = 289,
    StopForwarding = 290,
    Replay = 291,
    ReplayAndForward = 292
};

struct PacketHeader
{
    std::uint16_t magic = 0;
    std::uint16_t flags = 0;
    std::uint16_t command = 0;
    std::uint16_t status = 0;
    std::uint16_t sequence = 0;
    std::uint16_t payloadLength = 0;
};

std::uint16_t loadU16(const std::uint8_t* p) noexcept;
std::uint32_t loadU32(const std::uint8_t* p) noexcept;
std::uint64_t loadU64(const std::uint8_t* p) noexcept;
void storeU16(std::uint8_t* p, std::uint16_t value) noexcept;
void storeU32(std::uint8_t* p, std::uint32_t value) noexcept;
void storeU64(std::uint8_t* p, std::uint64_t value) noexcept;

/// Reads the header at `packet`, which must hold at least packetHeaderSize bytes.
PacketHeader readPacketHeader(const std::uint8_t* packet) noexcept;
void writePacketHeader(std::uint8_t* packet, const PacketHeader& header) noexcept;

/// The header of the answer to `request`: no flags, acknowledge bit, same sequence, no payload.
PacketHeader acknowledgeOf(const PacketHeader& request, PacketStatus status) noexcept;

/// The low 16 bits of the number of microseconds since 1970-01-01 00:00:00 UTC.
std::uint16_t newSequenceNumber();

/// One datagram with room for the largest payload.
class Packet
{
public:
    std::uint8_t* bytes() noexcept { return bytes_.data(); }
    const std::uint8_t* bytes() const noexcept { return bytes_.data(); }
    std::uint8_t* payload() noexcept { return bytes_.data() + packetHeaderSize; }
    const std::uint8_t* payload() const noexcept { return bytes_.data() + packetHeaderSize; }

    PacketHeader header() const noexcept { return readPacketHeader(bytes_.data()); }
    void setHeader(const PacketHeader& header) noexcept
    {
        writePacketHeader(bytes_.data(), header);
    }
    /// Header plus payload, in bytes.
    std::size_t size() const noexcept { return packetHeaderSize + header().payloadLength; }

private:
    std::array<std::uint8_t, maximumPacket> bytes_{};
};

/// A request with a fresh sequence number and a copy of `payload`. Throws LogSvcError "The command
/// packet data are out of range" when the payload is longer than 1,388 bytes.
Packet makeRequest(std::uint16_t magic, std::uint16_t command, const void* payload,
                   std::size_t payloadLength, std::uint16_t flags = 0);

} // namespace zuLogging
