#include "logging/Packet.h"

#include "logging/LogSvcError.h"

#include <gtest/gtest.h>

#include <chrono>
#include <vector>

namespace {

using namespace zuLogging;

TEST(Packet, TheHeaderIsTwelveLittleEndianBytes)
{
    std::vector<std::uint8_t> bytes(packetHeaderSize);
    writePacketHeader(bytes.data(), {0xACCA, 0x0102, 0x8304, 0x0506, 0x0708, 0x056C});
    EXPECT_EQ(bytes, (std::vector<std::uint8_t>{0xCA, 0xAC, 0x02, 0x01, 0x04, 0x83, 0x06, 0x05,
                                                0x08, 0x07, 0x6C, 0x05}));
    const PacketHeader header = readPacketHeader(bytes.data());
    EXPECT_EQ(header.magic, 0xACCA);
    EXPECT_EQ(header.flags, 0x0102);
    EXPECT_EQ(header.command, 0x8304);
    EXPECT_EQ(header.status, 0x0506);
    EXPECT_EQ(header.sequence, 0x0708);
    EXPECT_EQ(header.payloadLength, 1388);
}

TEST(Packet, NumbersAreLittleEndianAtAnyAddress)
{
    std::vector<std::uint8_t> bytes(16, 0xEE);
    storeU16(bytes.data() + 1, 0x1122);
    storeU32(bytes.data() + 3, 0x33445566U);
    storeU64(bytes.data() + 7, 0x778899AABBCCDDEEULL);
    EXPECT_EQ(bytes, (std::vector<std::uint8_t>{0xEE, 0x22, 0x11, 0x66, 0x55, 0x44, 0x33, 0xEE,
                                                0xDD, 0xCC, 0xBB, 0xAA, 0x99, 0x88, 0x77, 0xEE}));
    EXPECT_EQ(loadU16(bytes.data() + 1), 0x1122);
    EXPECT_EQ(loadU32(bytes.data() + 3), 0x33445566U);
    EXPECT_EQ(loadU64(bytes.data() + 7), 0x778899AABBCCDDEEULL);
}

TEST(Packet, ARequestHasStatus0AndACopyOfThePayload)
{
    const std::vector<std::uint8_t> payload{1, 2, 3};
    const Packet packet = makeRequest(magicLogClient, 17, payload.data(), payload.size());
    const PacketHeader header = packet.header();
    EXPECT_EQ(header.magic, magicLogClient);
    EXPECT_EQ(header.flags, 0);
    EXPECT_EQ(header.command, 17);
    EXPECT_EQ(header.status, 0);
    EXPECT_EQ(header.payloadLength, 3);
    EXPECT_EQ(packet.size(), 15U);
    EXPECT_EQ(std::vector<std::uint8_t>(packet.payload(), packet.payload() + 3), payload);
}

TEST(Packet, APayloadOf1388BytesIsTheLongestThatARequestTakes)
{
    const std::vector<std::uint8_t> payload(maximumPayload + 1, 7);
    EXPECT_EQ(makeRequest(magicLogMessage, 257, payload.data(), maximumPayload).size(),
              maximumPacket);
    try {
        makeRequest(magicLogMessage, 257, payload.data(), maximumPayload + 1);
        FAIL() << "a payload of 1389 bytes was taken";
    } catch (const LogSvcError& error) {
        EXPECT_STREQ(error.what(), "The command packet data are out of range");
    }
}

TEST(Packet, AnAcknowledgeRepeatsSequenceAndMagicAndCarriesNoFlags)
{
    const PacketHeader header =
        acknowledgeOf({magicLogMessage, 1, 289, 0, 0xBEEF, 40}, PacketStatus::Failed);
    EXPECT_EQ(header.magic, magicLogMessage);
    EXPECT_EQ(header.flags, 0);
    EXPECT_EQ(header.command, 0x8000 | 289);
    EXPECT_EQ(header.status, 3);
    EXPECT_EQ(header.sequence, 0xBEEF);
    EXPECT_EQ(header.payloadLength, 0);
}

TEST(Packet, TheSequenceNumberIsTheLow16BitsOfTheMicrosecondsSince1970)
{
    const auto now = [] {
        return std::chrono::duration_cast<std::chrono::microseconds>(
                   std::chrono::system_clock::now().time_since_epoch())
            .count();
    };
    // Tried again where the machine was busy for as long as the number takes to come round.
    for (int attempt = 0; attempt < 100; ++attempt) {
        const auto before = now();
        const std::uint16_t sequence = newSequenceNumber();
        const auto after = now();
        if (after - before >= 0x8000)
            continue;
        EXPECT_LE(static_cast<std::uint16_t>(sequence - static_cast<std::uint16_t>(before)),
                  after - before);
        return;
    }
    FAIL() << "the machine never read its clock three times within 32 ms";
}

} // namespace
