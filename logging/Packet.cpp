#include "logging/Packet.h"

#include "logging/LogSvcError.h"

#include <QtEndian>

#include <chrono>
#include <cstring>

namespace zuLogging {

namespace {

constexpr std::size_t magicOffset = 0;
constexpr std::size_t flagsOffset = 2;
constexpr std::size_t commandOffset = 4;
constexpr std::size_t statusOffset = 6;
constexpr std::size_t sequenceOffset = 8;
constexpr std::size_t payloadLengthOffset = 10;

template <class Number>
Number load(const std::uint8_t* p) noexcept
{
    Number value;
    std::memcpy(&value, p, sizeof value);
    return qFromLittleEndian(value);
}

template <class Number>
void store(std::uint8_t* p, Number value) noexcept
{
    const Number wire = qToLittleEndian(value);
    std::memcpy(p, &wire, sizeof wire);
}

} // namespace

std::uint16_t loadU16(const std::uint8_t* p) noexcept
{
    return load<std::uint16_t>(p);
}

std::uint32_t loadU32(const std::uint8_t* p) noexcept
{
    return load<std::uint32_t>(p);
}

std::uint64_t loadU64(const std::uint8_t* p) noexcept
{
    return load<std::uint64_t>(p);
}

void storeU16(std::uint8_t* p, std::uint16_t value) noexcept
{
    store(p, value);
}

void storeU32(std::uint8_t* p, std::uint32_t value) noexcept
{
    store(p, value);
}

void storeU64(std::uint8_t* p, std::uint64_t value) noexcept
{
    store(p, value);
}

PacketHeader readPacketHeader(const std::uint8_t* packet) noexcept
{
    PacketHeader header;
    header.magic = loadU16(packet + magicOffset);
    header.flags = loadU16(packet + flagsOffset);
    header.command = loadU16(packet + commandOffset);
    header.status = loadU16(packet + statusOffset);
    header.sequence = loadU16(packet + sequenceOffset);
    header.payloadLength = loadU16(packet + payloadLengthOffset);
    return header;
}

void writePacketHeader(std::uint8_t* packet, const PacketHeader& header) noexcept
{
    storeU16(packet + magicOffset, header.magic);
    storeU16(packet + flagsOffset, header.flags);
    storeU16(packet + commandOffset, header.command);
    storeU16(packet + statusOffset, header.status);
    storeU16(packet + sequenceOffset, header.sequence);
    storeU16(packet + payloadLengthOffset, header.payloadLength);
}

PacketHeader acknowledgeOf(const PacketHeader& request, PacketStatus status) noexcept
{
    PacketHeader header;
    header.magic = request.magic;
    header.command = static_cast<std::uint16_t>(request.command | commandAcknowledgeBit);
    header.status = static_cast<std::uint16_t>(status);
    header.sequence = request.sequence;
    return header;
}

std::uint16_t newSequenceNumber()
{
    using namespace std::chrono;
    const auto now = system_clock::now().time_since_epoch();
    const auto microsecondCount = duration_cast<microseconds>(now).count();
    return static_cast<std::uint16_t>(static_cast<std::uint64_t>(microsecondCount) & 0xFFFFU);
}

Packet makeRequest(std::uint16_t magic, std::uint16_t command, const void* payload,
                   std::size_t payloadLength, std::uint16_t flags)
{
    if (payloadLength > maximumPayload)
        throw LogSvcError("The command packet data are out of range");
    PacketHeader header;
    header.magic = magic;
    header.flags = flags;
    header.command = command;
    header.sequence = newSequenceNumber();
    header.payloadLength = static_cast<std::uint16_t>(payloadLength);
    Packet packet;
    packet.setHeader(header);
    if (payloadLength != 0)
        std::memcpy(packet.payload(), payload, payloadLength);
    return packet;
}

} // namespace zuLogging
