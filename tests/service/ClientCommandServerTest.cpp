#include "service/ClientCommandServer.h"

#include "logging/LogSvcError.h"
#include "platform/Trace.h"

#include <gtest/gtest.h>

#include <string>

namespace zuLogging {
namespace {

class ClientCommands : public ::testing::Test
{
protected:
    ClientCommands()
    {
        previous_ = platform::setTraceHandler([this](std::string_view text) { traced_ += text; });
    }
    ~ClientCommands() override { platform::setTraceHandler(previous_); }

    PacketHeader answer(const Packet& request, std::size_t length)
    {
        Packet acknowledge;
        server_.answer(request, length, acknowledge);
        return acknowledge.header();
    }

    ClientCommandServer server_;
    platform::TraceHandler previous_;
    std::string traced_;
};

TEST_F(ClientCommands, EveryCommandIsUnknown)
{
    for (const std::uint16_t command :
         std::initializer_list<std::uint16_t>{17, 18, 19, 20, 21, 33, 34, 35, 53, 1, 257, 0}) {
        const Packet request = makeRequest(magicLogClient, command, "1234567890", 10);
        const PacketHeader header = answer(request, 22);
        EXPECT_EQ(header.magic, magicLogClient);
        EXPECT_EQ(header.flags, 0);
        EXPECT_EQ(header.command, command | commandAcknowledgeBit);
        EXPECT_EQ(header.status, static_cast<std::uint16_t>(PacketStatus::BadPacket));
        EXPECT_EQ(header.sequence, request.header().sequence);
        EXPECT_EQ(header.payloadLength, 0);
    }
    EXPECT_EQ(traced_, "");
}

TEST_F(ClientCommands, SizeMismatchIsAnsweredWithStatus1)
{
    const Packet request = makeRequest(magicLogClient, 33, "1234567890", 10);
    EXPECT_EQ(answer(request, 24).status, 1);
    EXPECT_EQ(traced_, "Refusing command packet with unexpected size\n");
}

TEST_F(ClientCommands, FlagsOtherThanBit0AreAnsweredWithStatus9)
{
    for (const std::uint16_t flags : std::initializer_list<std::uint16_t>{2, 3, 4, 0x8000}) {
        traced_.clear();
        EXPECT_EQ(answer(makeRequest(magicLogClient, 33, nullptr, 0, flags), 12).status, 9);
        EXPECT_EQ(traced_, "Refusing command packet containing unsupported flags\n");
    }
    EXPECT_EQ(answer(makeRequest(magicLogClient, 33, nullptr, 0, 1), 12).status, 1);
}

TEST_F(ClientCommands, AnAcknowledgeMayCarryNoFlagAtAll)
{
    EXPECT_EQ(answer(makeRequest(magicLogClient, 0x8021, nullptr, 0, 1), 12).status, 9);
    EXPECT_EQ(answer(makeRequest(magicLogClient, 0x8021, nullptr, 0, 0), 12).status, 1);
}

TEST_F(ClientCommands, PayloadLengthAboveTheLimitDeservesNoAnswer)
{
    Packet request = makeRequest(magicLogClient, 33, nullptr, 0);
    PacketHeader header = request.header();
    header.payloadLength = maximumPayload + 1;
    request.setHeader(header);
    EXPECT_THROW(answer(request, maximumPacket), LogSvcError);
    EXPECT_THROW(answer(request, 12), LogSvcError);
    header.payloadLength = maximumPayload;
    request.setHeader(header);
    EXPECT_EQ(answer(request, maximumPacket).status, 1);
    EXPECT_THROW(answer(request, maximumPacket + 1), LogSvcError);
    EXPECT_THROW(answer(request, packetHeaderSize - 1), LogSvcError);
}

} // namespace
} // namespace zuLogging
