#include "service/LogService.h"

#include "logging/LogClient.h"
#include "logging/LogSvcError.h"
#include "platform/Trace.h"
#include "tests/service/RawPeer.h"
#include "tests/service/RunningService.h"
#include "tests/service/Subscriber.h"
#include "tests/support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <random>

namespace zuLogging {
namespace {

using test::RawPeer;
using test::sampleContainer;
using test::sinkPayload;
using test::Subscriber;

constexpr std::uint16_t message = 257;
constexpr std::uint16_t secondaryMessage = 258;
constexpr std::uint16_t noOperation = 273;
constexpr std::uint16_t startForwarding = 289;
constexpr std::uint16_t stopForwarding = 290;
constexpr std::uint32_t forwarderType = 4;

std::string_view textOf(const std::vector<std::uint8_t>& bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

class LogServiceSocket : public ::testing::Test
{
protected:
    // What the service refuses it also traces: not into the test's output.
    LogServiceSocket()
    {
        previous_ = platform::setTraceHandler([](std::string_view) {});
    }
    ~LogServiceSocket() override { platform::setTraceHandler(previous_); }

    std::uint16_t ask(std::uint16_t command, std::string_view payload = {})
    {
        const auto header = peer_.ask(service_.address(), magicLogMessage, command, payload);
        return header ? header->status : 0xFFFF;
    }
    std::uint16_t sendMessage(std::uint64_t sourceMsgId)
    {
        return ask(message, textOf(sampleContainer(sourceMsgId)));
    }

    platform::TraceHandler previous_;
    test::RunningService service_;
    RawPeer peer_;
};

/// The container that a forwarder sent to `peer`.
struct Forwarded
{
    PacketHeader header;
    std::uint64_t sourceMsgId = 0;
    std::uint64_t senderMsgId = 0;
    std::uint64_t serviceMsgId = 0;
};

std::optional<Forwarded> forwardedTo(RawPeer& peer)
{
    const auto bytes = peer.receive();
    if (!bytes || bytes->size() < packetHeaderSize + containerHeaderSize)
        return std::nullopt;
    const LogMessageContainer container(bytes->data() + packetHeaderSize,
                                        bytes->size() - packetHeaderSize);
    return Forwarded{readPacketHeader(bytes->data()), container.sourceMsgId(),
                     container.senderMsgId(), container.serviceMsgId()};
}

TEST_F(LogServiceSocket, MessagesAreNumberedFromOneOnAndReachEverySubscriberInOrder)
{
    const Subscriber first;
    const Subscriber second;
    LogClient client(service_.address());
    constexpr std::uint64_t count = 200;
    for (std::uint64_t i = 1; i <= count; ++i) {
        const std::vector<std::uint8_t> bytes = sampleContainer(1000 + i);
        LogMessageContainerView container;
        container.data = bytes.data();
        container.length = bytes.size();
        client.deliver(container);
    }
    for (const Subscriber* subscriber : {&first, &second}) {
        const std::vector<DecodedMessage> messages = subscriber->waitForMessages(count);
        ASSERT_EQ(messages.size(), count);
        for (std::uint64_t i = 1; i <= count; ++i) {
            EXPECT_EQ(messages[i - 1].serviceMsgId, i);
            EXPECT_EQ(messages[i - 1].sourceMsgId, 1000 + i);
            EXPECT_EQ(messages[i - 1].senderMsgId, i);
        }
    }
}

TEST_F(LogServiceSocket, SecondKindIsForwardedAsSuchAndSharesTheNumbers)
{
    RawPeer viewer;
    ASSERT_EQ(ask(startForwarding, sinkPayload(forwarderType, viewer.addressText())), 0);
    ASSERT_EQ(sendMessage(1), 0);
    ASSERT_EQ(ask(secondaryMessage, textOf(sampleContainer(2, "x", true))), 0);

    const auto first = forwardedTo(viewer);
    const auto second = forwardedTo(viewer);
    ASSERT_TRUE(first && second);
    EXPECT_EQ(first->header.command, message);
    EXPECT_EQ(first->header.flags, flagNoAcknowledge);
    EXPECT_EQ(first->serviceMsgId, 1U);
    EXPECT_EQ(second->header.command, secondaryMessage);
    EXPECT_EQ(second->serviceMsgId, 2U);
    EXPECT_EQ(second->senderMsgId, 1U);
}

TEST_F(LogServiceSocket, TwoRequestsWithTheSameAddressAddOneForwarderOnly)
{
    RawPeer viewer;
    const std::string payload = sinkPayload(forwarderType, viewer.addressText());
    ASSERT_EQ(ask(startForwarding, payload), 0);
    ASSERT_EQ(ask(startForwarding, payload), 0);
    ASSERT_EQ(sendMessage(1), 0);
    ASSERT_EQ(sendMessage(2), 0);
    // One each: the second message comes directly behind the first.
    EXPECT_EQ(forwardedTo(viewer)->sourceMsgId, 1U);
    EXPECT_EQ(forwardedTo(viewer)->sourceMsgId, 2U);
    EXPECT_FALSE(viewer.receive(std::chrono::milliseconds(0)));
}

TEST_F(LogServiceSocket, StopForwardingEndsIt)
{
    RawPeer viewer;
    const std::string payload = sinkPayload(forwarderType, viewer.addressText());
    ASSERT_EQ(ask(startForwarding, payload), 0);
    ASSERT_EQ(ask(stopForwarding, payload), 0);
    ASSERT_EQ(sendMessage(1), 0); // acknowledged, so handed to whoever was to get it
    EXPECT_FALSE(viewer.receive(std::chrono::milliseconds(0)));
    ASSERT_EQ(ask(startForwarding, payload), 0);
    ASSERT_EQ(sendMessage(2), 0);
    EXPECT_EQ(forwardedTo(viewer)->sourceMsgId, 2U);
}

TEST_F(LogServiceSocket, RemovingAForwarderThatIsNotThereIsAcknowledged)
{
    EXPECT_EQ(ask(stopForwarding, sinkPayload(forwarderType, "127.0.0.1:4711")), 0);
    const Subscriber subscriber;
    EXPECT_EQ(ask(stopForwarding, sinkPayload(forwarderType, "127.0.0.1:4711")), 0);
}

TEST_F(LogServiceSocket, BadForwarderAddressesAreRefused)
{
    for (const char* text :
         {"", "127.0.0.1", "127.0.0.1:0", "127.0.0.1:80x", "localhost:80", "127.0.0.1:65536"})
        EXPECT_EQ(ask(startForwarding, sinkPayload(forwarderType, text)), 3) << text;
    EXPECT_EQ(ask(startForwarding, "ab"), 3);
}

TEST_F(LogServiceSocket, ForwardingToItselfIsRefused)
{
    const std::string port = std::to_string(service_.address().port);
    EXPECT_EQ(ask(startForwarding, sinkPayload(forwarderType, "127.0.0.1:" + port)), 3);
    EXPECT_EQ(ask(startForwarding, sinkPayload(forwarderType, "0.0.0.0:" + port)), 3);
    EXPECT_EQ(ask(292, "127.0.0.1:" + port), 3);
}

TEST_F(LogServiceSocket, ForwardersAreBounded)
{
    std::vector<std::unique_ptr<RawPeer>> peers;
    std::uint16_t status = 0;
    while (peers.size() < 200 && status == 0) {
        peers.push_back(std::make_unique<RawPeer>());
        status = ask(startForwarding, sinkPayload(forwarderType, peers.back()->addressText()));
    }
    EXPECT_EQ(status, 3);
    EXPECT_GE(peers.size(), 32U);
    // One that is there is no new one, and room made can be used.
    const std::string first = peers.front()->addressText();
    EXPECT_EQ(ask(startForwarding, sinkPayload(forwarderType, first)), 0);
    EXPECT_EQ(ask(stopForwarding, sinkPayload(forwarderType, first)), 0);
    EXPECT_EQ(ask(startForwarding, sinkPayload(forwarderType, peers.back()->addressText())), 0);
}

TEST_F(LogServiceSocket, AForwarderThatWentAwayDoesNotDisturbTheOthers)
{
    auto gone = std::make_unique<RawPeer>();
    const std::string goneText = gone->addressText();
    ASSERT_EQ(ask(startForwarding, sinkPayload(forwarderType, goneText)), 0);
    // Nothing can be sent there at all: not even an attempt succeeds.
    ASSERT_EQ(ask(startForwarding, sinkPayload(forwarderType, "255.255.255.255:9")), 0);
    const Subscriber subscriber;
    gone.reset();

    for (std::uint64_t i = 1; i <= 20; ++i)
        ASSERT_NE(sendMessage(i), 0xFFFF);
    const std::vector<DecodedMessage> messages = subscriber.waitForMessages(20);
    ASSERT_EQ(messages.size(), 20U);
    EXPECT_EQ(messages.back().serviceMsgId, 20U);

    // The sender is told for as long as one cannot be reached.
    EXPECT_EQ(sendMessage(21), 3);
    EXPECT_EQ(ask(stopForwarding, sinkPayload(forwarderType, "255.255.255.255:9")), 0);
    EXPECT_EQ(ask(stopForwarding, sinkPayload(forwarderType, goneText)), 0);
    EXPECT_EQ(sendMessage(22), 0);
}

TEST_F(LogServiceSocket, BothProtocolsAreAnsweredOnOneSocket)
{
    for (int round = 0; round < 3; ++round) {
        const auto foreign = peer_.ask(service_.address(), magicLogClient, 33);
        ASSERT_TRUE(foreign);
        EXPECT_EQ(foreign->magic, magicLogClient);
        EXPECT_EQ(foreign->command, 33 | commandAcknowledgeBit);
        EXPECT_EQ(foreign->status, 0);
        EXPECT_EQ(foreign->payloadLength, 8);

        const auto own = peer_.ask(service_.address(), magicLogMessage, noOperation);
        ASSERT_TRUE(own);
        EXPECT_EQ(own->magic, magicLogMessage);
        EXPECT_EQ(own->status, 0);
    }
}

TEST_F(LogServiceSocket, CommandsOfTheOtherProtocolAreUnknown)
{
    EXPECT_EQ(peer_.ask(service_.address(), magicLogClient, message)->status, 1);
    EXPECT_EQ(ask(33), 1);
}

TEST_F(LogServiceSocket, ClientCommandWithFlag1GetsNoAnswer)
{
    peer_.send(makeRequest(magicLogClient, 33, nullptr, 0, flagNoAcknowledge), service_.address());
    const auto next = peer_.ask(service_.address(), magicLogMessage, noOperation);
    ASSERT_TRUE(next);
    EXPECT_EQ(next->magic, magicLogMessage);
}

TEST_F(LogServiceSocket, ClientCommandsAreCheckedLikeMessages)
{
    std::vector<std::uint8_t> tooLong(24);
    writePacketHeader(tooLong.data(), {magicLogClient, 0, 33, 0, 7, 10});
    EXPECT_EQ(peer_.ask(service_.address(), tooLong)->status, 1);
    std::vector<std::uint8_t> flagged(12);
    writePacketHeader(flagged.data(), {magicLogClient, 2, 33, 0, 7, 0});
    EXPECT_EQ(peer_.ask(service_.address(), flagged)->status, 9);
    std::vector<std::uint8_t> malformed(12);
    writePacketHeader(malformed.data(), {magicLogClient, 0, 33, 0, 7, 1389});
    peer_.send(malformed, service_.address());
    EXPECT_EQ(peer_.ask(service_.address(), magicLogMessage, noOperation)->magic, magicLogMessage);
}

TEST_F(LogServiceSocket, AContainerOfTheWrongSizeIsRefusedAndNotNumbered)
{
    const Subscriber subscriber;
    std::vector<std::uint8_t> bytes(40);
    storeU16(bytes.data(), 36);
    EXPECT_EQ(ask(message, textOf(bytes)), 3);
    EXPECT_EQ(ask(message, "short"), 3);
    EXPECT_EQ(sendMessage(5), 0);
    const std::vector<DecodedMessage> messages = subscriber.waitForMessages(1);
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_EQ(messages[0].serviceMsgId, 1U);
    EXPECT_EQ(messages[0].sourceMsgId, 5U);
}

TEST_F(LogServiceSocket, GarbageOfEveryLengthChangesNothing)
{
    const Subscriber subscriber;
    ASSERT_EQ(sendMessage(1), 0);

    // Another peer: the answers to the garbage must not be taken for those to this test's requests.
    RawPeer stranger;
    std::mt19937 random(20240229);
    constexpr std::uint16_t commands[] = {0,   1,   17,  33,  53,  256, 257,
                                          258, 259, 288, 289, 290, 293, 0x8101};
    for (std::size_t length = 0; length <= 1500; ++length) {
        std::vector<std::uint8_t> bytes(length);
        for (std::uint8_t& byte : bytes)
            byte = static_cast<std::uint8_t>(random());
        stranger.send(bytes, service_.address());
        if (length >= packetHeaderSize) {
            for (const std::uint16_t magic : {magicLogMessage, magicLogClient}) {
                // A right magic before the garbage, then a header that is right but for its
                // payload.
                storeU16(bytes.data(), magic);
                stranger.send(bytes, service_.address());
                writePacketHeader(bytes.data(),
                                  {magic, 0, commands[length % std::size(commands)], 0, 1,
                                   static_cast<std::uint16_t>(length - packetHeaderSize)});
                stranger.send(bytes, service_.address());
            }
        }
        // So that none of it is lost in the socket's buffer.
        ASSERT_EQ(ask(noOperation), 0) << length;
        while (stranger.receive(std::chrono::milliseconds(0))) {
        }
    }

    ASSERT_EQ(sendMessage(2), 0);
    const std::vector<DecodedMessage> messages = subscriber.waitForMessages(2);
    ASSERT_EQ(messages.size(), 2U);
    EXPECT_EQ(messages[1].serviceMsgId, 2U);
    EXPECT_EQ(messages[1].sourceMsgId, 2U);
}

TEST_F(LogServiceSocket, AMessageWithoutAcknowledgeIsTakenAllTheSame)
{
    const Subscriber subscriber;
    const std::vector<std::uint8_t> container = sampleContainer(9);
    peer_.send(makeRequest(magicLogMessage, message, container.data(), container.size(),
                           flagNoAcknowledge),
               service_.address());
    EXPECT_EQ(subscriber.waitForMessages(1).size(), 1U);
    EXPECT_FALSE(peer_.receive(std::chrono::milliseconds(0)));
}

} // namespace
} // namespace zuLogging
