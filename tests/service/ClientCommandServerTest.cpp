#include "service/ClientCommandServer.h"

#include "logging/LogSvcError.h"
#include "platform/Trace.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace zuLogging {
namespace {

class FakeService final : public ClientCommandServer::Service
{
public:
    TransferBuffers::Contents configuration() override { return contents("the configuration"); }
    TransferBuffers::Contents modules() override
    {
        if (hasNoModules)
            throw LogSvcError("no modules");
        return contents(std::string("a\0b\0", 4));
    }
    void replaceConfiguration(TransferBuffers::Contents brought, const PacketHeader&,
                              std::uint64_t) override
    {
        replacement = std::string(brought.bytes);
    }
    TransferBuffers::Contents status() override { return contents("the status"); }
    void counterSetKeysReported(const std::vector<std::uint64_t>& keys) override
    {
        reports.push_back(keys);
    }

    bool hasNoModules = false;
    std::string replacement;
    std::vector<std::vector<std::uint64_t>> reports;

private:
    static TransferBuffers::Contents contents(const std::string& text)
    {
        const auto owner = std::make_shared<const std::string>(text);
        return {owner, *owner};
    }
};

std::string bytesOfNumber(std::uint64_t value, std::size_t size)
{
    std::string bytes(8, '\0');
    storeU64(reinterpret_cast<std::uint8_t*>(bytes.data()), value);
    return bytes.substr(0, size);
}

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
        isAnswered_ = server_.answer(request, length, acknowledge_);
        return acknowledge_.header();
    }
    std::uint16_t ask(std::uint16_t command, const std::string& payload = {})
    {
        const Packet request = makeRequest(magicLogClient, command, payload.data(), payload.size());
        return answer(request, request.size()).status;
    }
    std::uint64_t create(std::uint32_t size)
    {
        EXPECT_EQ(ask(19, bytesOfNumber(size, 4)), 0);
        EXPECT_EQ(acknowledge_.header().payloadLength, 8);
        return loadU64(acknowledge_.payload());
    }
    static std::string piece(std::uint64_t handle, std::uint32_t offset, std::uint32_t length)
    {
        return bytesOfNumber(handle, 8) + bytesOfNumber(offset, 4) + bytesOfNumber(length, 4);
    }
    std::string payload() const
    {
        return {reinterpret_cast<const char*>(acknowledge_.payload()),
                acknowledge_.header().payloadLength};
    }

    FakeService service_;
    ClientCommandServer server_{service_};
    Packet acknowledge_;
    bool isAnswered_ = false;
    platform::TraceHandler previous_;
    std::string traced_;
};

TEST_F(ClientCommands, CommandsThatNobodyKnowsAreAnsweredWithStatus1)
{
    for (const std::uint16_t command : std::initializer_list<std::uint16_t>{
             16, 22, 32, 36, 52, 54, 1, 257, 0, 0x5A52, 0x5A54, 0x7FFF}) {
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

TEST_F(ClientCommands, APayloadTooShortForItsCommandIsAnsweredWithStatus1)
{
    const std::uint64_t handle = create(100);
    const std::string whole = piece(handle, 0, 0);
    for (const auto& [command, needed] :
         std::initializer_list<std::pair<std::uint16_t, std::size_t>>{
             {17, 16}, {18, 16}, {19, 4}, {20, 8}, {21, 8}, {34, 8}}) {
        EXPECT_EQ(ask(command, whole.substr(0, needed - 1)), 1) << command;
        EXPECT_EQ(ask(command, ""), 1) << command;
    }
    // Nothing was released or taken by that.
    EXPECT_EQ(ask(21, bytesOfNumber(handle, 8)), 0);
    EXPECT_EQ(service_.replacement, "");
}

TEST_F(ClientCommands, APieceIsAsLongAsItsPayloadSaysAndNotAsItsPacket)
{
    const std::uint64_t handle = create(10);
    std::string payload = piece(handle, 2, 3) + "abcREST";
    payload.resize(maximumPayload, 'R');
    EXPECT_EQ(ask(18, payload), 0);
    EXPECT_EQ(acknowledge_.header().payloadLength, 0);
    EXPECT_EQ(ask(18, piece(handle, 8, 2) + "yz"), 0); // a packet just long enough
    EXPECT_EQ(ask(17, piece(handle, 0, 10)), 0);
    EXPECT_EQ(this->payload(), std::string("\0\0abc\0\0\0yz", 10));
}

TEST_F(ClientCommands, APieceLongerThanItsPacketIsAnsweredWithStatus1)
{
    const std::uint64_t handle = create(2000);
    EXPECT_EQ(ask(18, piece(handle, 0, 4) + "abc"), 1);
    std::string full = piece(handle, 0, 1373);
    full.resize(maximumPayload, 'x');
    EXPECT_EQ(ask(18, full), 1);
    full = piece(handle, 0, 0xFFFFFFFF);
    full.resize(maximumPayload, 'x');
    EXPECT_EQ(ask(18, full), 1);
    EXPECT_EQ(ask(17, piece(handle, 0, 1388)), 0);
    EXPECT_EQ(payload(), std::string(1388, '\0'));
    full = piece(handle, 0, 1372);
    full.resize(maximumPayload, 'x');
    EXPECT_EQ(ask(18, full), 0);
}

TEST_F(ClientCommands, PlacesOutsideTheBufferAndWrongHandlesAreAnsweredWithStatus3)
{
    const std::uint64_t handle = create(10);
    for (const std::string& wrong :
         {piece(handle, 8, 3), piece(handle, 11, 0), piece(handle, 0xFFFFFFFF, 2),
          piece(handle + 1, 0, 1), piece(0, 0, 1)}) {
        EXPECT_EQ(ask(17, wrong), 3);
        EXPECT_EQ(acknowledge_.header().payloadLength, 0);
        EXPECT_EQ(ask(18, wrong + "abc"), 3);
    }
    EXPECT_EQ(ask(17, piece(handle, 0, 1389)), 3);
    EXPECT_EQ(ask(17, piece(handle, 0, 0xFFFFFFFF)), 3);
    for (const std::uint16_t command : std::initializer_list<std::uint16_t>{20, 21, 34})
        EXPECT_EQ(ask(command, bytesOfNumber(handle + 1, 8)), 3) << command;
    EXPECT_EQ(ask(17, piece(handle, 0, 10)), 0);
    EXPECT_EQ(payload(), std::string(10, '\0'));
}

TEST_F(ClientCommands, ABufferThatIsTooLargeIsAnsweredWithStatus3)
{
    EXPECT_EQ(ask(19, bytesOfNumber((16U << 20) + 1, 4)), 3);
    EXPECT_EQ(ask(19, bytesOfNumber(0xFFFFFFFF, 4)), 3);
    EXPECT_EQ(ask(19, bytesOfNumber(16U << 20, 4)), 0);
}

TEST_F(ClientCommands, ConfigurationAndModulesComeInBuffersOfTheirOwn)
{
    EXPECT_EQ(ask(33), 0);
    const std::uint64_t configuration = loadU64(acknowledge_.payload());
    EXPECT_EQ(ask(35), 0);
    const std::uint64_t modules = loadU64(acknowledge_.payload());
    EXPECT_NE(configuration, modules);
    EXPECT_EQ(ask(21, bytesOfNumber(configuration, 8)), 0);
    EXPECT_EQ(payload(), bytesOfNumber(17, 4));
    EXPECT_EQ(ask(17, piece(configuration, 4, 13)), 0);
    EXPECT_EQ(payload(), "configuration");
    EXPECT_EQ(ask(17, piece(modules, 0, 4)), 0);
    EXPECT_EQ(payload(), std::string("a\0b\0", 4));
    EXPECT_EQ(ask(20, bytesOfNumber(modules, 8)), 0);
    EXPECT_EQ(ask(20, bytesOfNumber(modules, 8)), 3);
}

TEST_F(ClientCommands, TheStatusComesInABufferOfItsOwn)
{
    EXPECT_EQ(ask(0x5A53), 0);
    EXPECT_EQ(acknowledge_.header().payloadLength, 8);
    const std::uint64_t handle = loadU64(acknowledge_.payload());
    EXPECT_EQ(ask(21, bytesOfNumber(handle, 8)), 0);
    EXPECT_EQ(payload(), bytesOfNumber(10, 4));
    EXPECT_EQ(ask(17, piece(handle, 0, 10)), 0);
    EXPECT_EQ(payload(), "the status");
    EXPECT_EQ(ask(20, bytesOfNumber(handle, 8)), 0);
}

/// A full packet's payload with that many keys: 1000, 1001, ...
std::string keyPayload(std::uint32_t count)
{
    std::string payload = bytesOfNumber(count, 4);
    for (std::uint64_t i = 0; i < 173; ++i)
        payload += bytesOfNumber(1000 + i, 8);
    return payload;
}

TEST_F(ClientCommands, CounterSetKeysAreTakenAsManyAsTheirCountSays)
{
    const std::vector<std::uint64_t> two = {1000, 1001};
    ASSERT_EQ(keyPayload(2).size(), 1388U);
    EXPECT_EQ(ask(53, keyPayload(2)), 0);
    EXPECT_EQ(acknowledge_.header().payloadLength, 0);
    EXPECT_EQ(ask(53, keyPayload(0)), 0);
    EXPECT_EQ(ask(53, keyPayload(173)), 0);
    ASSERT_EQ(service_.reports.size(), 3U);
    EXPECT_EQ(service_.reports[0], two);
    EXPECT_TRUE(service_.reports[1].empty());
    ASSERT_EQ(service_.reports[2].size(), 173U);
    EXPECT_EQ(service_.reports[2].back(), 1172U);
}

TEST_F(ClientCommands, AReportOfKeysThatIsNoFullPacketOrHasTooManyIsAnsweredWithStatus1)
{
    for (const std::uint32_t count : {174U, 0x10000U, 0xFFFFFFFFU})
        EXPECT_EQ(ask(53, keyPayload(count)), 1) << count;
    for (const std::size_t length : {0U, 3U, 4U, 12U, 1387U})
        EXPECT_EQ(ask(53, keyPayload(1).substr(0, length)), 1) << length;
    const std::string payload = keyPayload(1);
    const Packet flagged = makeRequest(magicLogClient, 53, payload.data(), payload.size(), 2);
    EXPECT_EQ(answer(flagged, 1400).status, 9);
    const Packet shorter = makeRequest(magicLogClient, 53, payload.data(), payload.size());
    EXPECT_EQ(answer(shorter, 1399).status, 1);
    EXPECT_TRUE(service_.reports.empty());
}

TEST_F(ClientCommands, WhatTheServiceCannotGiveIsAnsweredWithStatus3)
{
    service_.hasNoModules = true;
    EXPECT_EQ(ask(35), 3);
    EXPECT_NE(traced_.find("no modules"), std::string::npos);
}

TEST_F(ClientCommands, AnUploadIsHandedOverAndAnsweredLater)
{
    const std::uint64_t handle = create(3);
    ASSERT_EQ(ask(18, piece(handle, 0, 3) + "new"), 0);
    EXPECT_TRUE(isAnswered_);
    ask(34, bytesOfNumber(handle, 8));
    EXPECT_FALSE(isAnswered_);
    EXPECT_EQ(service_.replacement, "new");
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
    EXPECT_EQ(answer(makeRequest(magicLogClient, 33, nullptr, 0, 1), 12).status, 0);
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
    EXPECT_EQ(answer(request, maximumPacket).status, 0);
    EXPECT_THROW(answer(request, maximumPacket + 1), LogSvcError);
    EXPECT_THROW(answer(request, packetHeaderSize - 1), LogSvcError);
}

} // namespace
} // namespace zuLogging
