#include "logging/LogMessageListener.h"

#include "logging/LogMessageSinkForwarder.h"
#include "logging/LogMessageSinkTrace.h"
#include "logging/LogSvcError.h"
#include "logging/SocketAddressText.h"
#include "tests/support/ListenerUnderTest.h"
#include "tests/support/RecordingSink.h"
#include "tests/support/TestContainer.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/TraceCapture.h"
#include "tests/support/UdpPeer.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <random>
#include <string>

namespace zuLogging::test {
namespace {

constexpr std::uint16_t sequence = 815;
constexpr char negative[] =
    "Error while processing log protocol requests (negative ack generated): ";

Bytes command(std::uint16_t code, const Bytes& payload = {}, std::uint16_t flags = 0)
{
    return datagram({magicLogMessage, flags, code, 0, sequence, 0}, payload);
}

Bytes typeAndText(std::uint32_t type, const std::string& text)
{
    Bytes payload(4);
    storeU32(payload.data(), type);
    payload.insert(payload.end(), text.begin(), text.end());
    return payload;
}

Bytes textBytes(const std::string& text)
{
    return Bytes(text.begin(), text.end());
}

class LogMessageListenerTest : public ::testing::Test
{
protected:
    /// The status with which a request is answered; 0xFFFF when the answer is wrong otherwise.
    std::uint16_t statusOf(const ListenerUnderTest& listener, const Bytes& bytes)
    {
        const std::optional<PacketHeader> reply = peer.exchange(bytes, listener.boundAddress());
        const std::uint16_t code = loadU16(bytes.data() + 4);
        if (!reply || reply->magic != magicLogMessage || reply->flags != 0 ||
            reply->command != (code | commandAcknowledgeBit) || reply->sequence != sequence ||
            reply->payloadLength != 0)
            return 0xFFFF;
        return reply->status;
    }

    TraceCapture trace;
    UdpPeer peer;
    std::shared_ptr<RecordingSink> sink = std::make_shared<RecordingSink>();
    std::shared_ptr<RecordingSink> second = std::make_shared<RecordingSink>();
};

TEST_F(LogMessageListenerTest, EveryCommandCodeIsAnsweredAsTheProtocolSays)
{
    const ListenerUnderTest listener({sink});
    const Bytes container = TestContainer().bytes();
    const Bytes stopText = typeAndText(4, "127.0.0.1:9");
    for (unsigned code = 0; code < 0x8000; code = code < 300 ? code + 1 : code + 997) {
        Bytes payload;
        std::uint16_t expected = 1;
        switch (code) {
        case 257:
        case 258:
            payload = container;
            expected = 0;
            break;
        case 273:
            expected = 0;
            break;
        case 289:
        case 290:
            payload = stopText;
            expected = 0;
            break;
        case 291:
            payload = Bytes(32);
            expected = 0;
            break;
        case 292:
            payload = textBytes("127.0.0.1:9");
            expected = 0;
            break;
        default:
            break;
        }
        EXPECT_EQ(statusOf(listener, command(static_cast<std::uint16_t>(code), payload)), expected)
            << "command " << code;
    }
}

TEST_F(LogMessageListenerTest, AnUnlistedCommandCodeGetsStatus1)
{
    const ListenerUnderTest listener({sink});
    for (const unsigned code : {0U, 1U, 17U, 256U, 293U, 0x7FFFU})
        EXPECT_EQ(statusOf(listener, command(static_cast<std::uint16_t>(code))), 1) << code;
    for (unsigned code = 259; code <= 272; ++code)
        EXPECT_EQ(statusOf(listener, command(static_cast<std::uint16_t>(code))), 1) << code;
    for (unsigned code = 274; code <= 288; ++code)
        EXPECT_EQ(statusOf(listener, command(static_cast<std::uint16_t>(code))), 1) << code;
    // An acknowledge that nobody asked for.
    EXPECT_EQ(statusOf(listener, command(0x8000 | 257)), 1);
    EXPECT_TRUE(sink->received().empty());
}

TEST_F(LogMessageListenerTest, AContainerReachesEverySinkInOrderWithItsCapacityAndKind)
{
    const ListenerUnderTest listener({sink, second});
    const Bytes container = TestContainer().ids(1, 2, 3).text(1, "hello").bytes();
    EXPECT_EQ(statusOf(listener, command(257, container)), 0);
    EXPECT_EQ(statusOf(listener, command(258, container)), 0);
    for (const auto& each : {sink, second}) {
        const std::vector<RecordingSink::Received> received = each->received();
        ASSERT_EQ(received.size(), 2U);
        EXPECT_EQ(received[0].bytes, container);
        EXPECT_EQ(received[0].capacity, 1388U);
        EXPECT_FALSE(received[0].secondary);
        EXPECT_FALSE(received[0].serviceNumber.has_value());
        EXPECT_EQ(received[1].bytes, container);
        EXPECT_TRUE(received[1].secondary);
    }
}

TEST_F(LogMessageListenerTest, ContainersOf28And1388BytesAreTaken)
{
    const ListenerUnderTest listener({sink});
    EXPECT_EQ(statusOf(listener, command(257, TestContainer().bytes())), 0);
    EXPECT_EQ(
        statusOf(listener, command(257, TestContainer().padTo(1388).setSizeField(1388).bytes())),
        0);
    ASSERT_EQ(sink->received().size(), 2U);
    EXPECT_EQ(sink->received()[0].bytes.size(), 28U);
    EXPECT_EQ(sink->received()[1].bytes.size(), 1388U);
}

TEST_F(LogMessageListenerTest, APayloadOf40BytesWhoseContainerSizeFieldSays36GetsStatus3)
{
    const ListenerUnderTest listener({sink});
    const Bytes container = TestContainer().padTo(40).setSizeField(36).bytes();
    EXPECT_EQ(statusOf(listener, command(257, container)), 3);
    EXPECT_EQ(statusOf(listener, command(258, container)), 3);
    EXPECT_TRUE(sink->received().empty());
    EXPECT_EQ(trace.count(std::string(negative) + "Constructing an output log message container "
                                                  "from inconsistent data"),
              2U);
}

TEST_F(LogMessageListenerTest, AContainerWhoseSizeFieldIsAboveThePayloadGetsStatus3)
{
    const ListenerUnderTest listener({sink});
    EXPECT_EQ(statusOf(listener, command(257, TestContainer().padTo(40).setSizeField(41).bytes())),
              3);
    EXPECT_EQ(
        statusOf(listener, command(257, TestContainer().padTo(40).setSizeField(0xFFFF).bytes())),
        3);
    EXPECT_TRUE(sink->received().empty());
}

TEST_F(LogMessageListenerTest, APayloadBelow28BytesIsNoContainer)
{
    const ListenerUnderTest listener({sink});
    EXPECT_EQ(statusOf(listener, command(257)), 3);
    EXPECT_EQ(statusOf(listener, command(257, Bytes(1))), 3);
    Bytes tooShort(27);
    storeU16(tooShort.data(), 27);
    EXPECT_EQ(statusOf(listener, command(257, tooShort)), 3);
    EXPECT_TRUE(sink->received().empty());
}

TEST_F(LogMessageListenerTest, AServiceNumbersItsContainersFrom1)
{
    const ListenerUnderTest listener({sink}, true);
    EXPECT_EQ(statusOf(listener, command(257, TestContainer().bytes())), 0);
    EXPECT_EQ(statusOf(listener, command(257, Bytes(5))), 3); // no container, no number
    EXPECT_EQ(statusOf(listener, command(258, TestContainer().bytes())), 0);
    const std::vector<RecordingSink::Received> received = sink->received();
    ASSERT_EQ(received.size(), 2U);
    EXPECT_EQ(received[0].serviceNumber, std::uint64_t{1});
    EXPECT_EQ(received[1].serviceNumber, std::uint64_t{2});
}

TEST_F(LogMessageListenerTest, AfterTheLastNumberTheCounterGoesTo1)
{
    const ListenerUnderTest listener({sink}, true, std::numeric_limits<std::uint64_t>::max() - 1);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(statusOf(listener, command(257, TestContainer().bytes())), 0);
    const std::vector<RecordingSink::Received> received = sink->received();
    ASSERT_EQ(received.size(), 3U);
    EXPECT_EQ(received[0].serviceNumber, std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(received[1].serviceNumber, std::uint64_t{1});
    EXPECT_EQ(received[2].serviceNumber, std::uint64_t{2});
}

TEST_F(LogMessageListenerTest, AnUnknownOperatingModeIsRefusedAfterEarlierSinksGotTheContainer)
{
    const auto wrong = std::make_shared<RecordingSink>(1);
    const ListenerUnderTest listener({sink, wrong, second});
    EXPECT_EQ(statusOf(listener, command(257, TestContainer().bytes())), 3);
    EXPECT_EQ(statusOf(listener, command(258, TestContainer().bytes())), 3);
    EXPECT_EQ(sink->received().size(), 2U);
    EXPECT_TRUE(wrong->received().empty());
    EXPECT_TRUE(second->received().empty());
    EXPECT_EQ(
        trace.count(std::string(negative) + "Unknown log sink container operating mode selected"),
        2U);
}

TEST_F(LogMessageListenerTest, ASinkThatFailsCostsTheSinksBehindItNothing)
{
    sink->failWith("the first is dead");
    second->failWith("the second too");
    const auto third = std::make_shared<RecordingSink>();
    const ListenerUnderTest listener({sink, second, third});
    EXPECT_EQ(statusOf(listener, command(257, TestContainer().bytes())), 3);
    EXPECT_EQ(statusOf(listener, command(291, Bytes(32))), 3);
    EXPECT_EQ(third->received().size(), 1U);
    EXPECT_EQ(third->replayed().size(), 1U);
    EXPECT_EQ(trace.count(std::string(negative) + "the first is dead"), 2U);
    EXPECT_EQ(trace.count(std::string(negative) + "the second too"), 0U);
}

TEST_F(LogMessageListenerTest, Command273DoesNothingWhateverItsPayload)
{
    const ListenerUnderTest listener({sink});
    EXPECT_EQ(statusOf(listener, command(273)), 0);
    EXPECT_EQ(statusOf(listener, command(273, Bytes(1388, 0xFF))), 0);
    EXPECT_TRUE(sink->received().empty());
    EXPECT_EQ(listener.sinkCount(), 1U);
}

TEST_F(LogMessageListenerTest, Two289RequestsWithTheSameAddressAddOneForwarderOnly)
{
    ListenerUnderTest listener;
    const Bytes request = command(289, typeAndText(4, "127.0.0.1:5000"));
    EXPECT_EQ(statusOf(listener, request), 0);
    EXPECT_EQ(listener.sinkCount(), 1U);
    EXPECT_EQ(statusOf(listener, request), 0);
    EXPECT_EQ(listener.sinkCount(), 1U);
    EXPECT_EQ(statusOf(listener, command(289, typeAndText(4, "127.0.0.1:5001"))), 0);
    EXPECT_EQ(listener.sinkCount(), 2U);
    listener.stop();
    EXPECT_EQ(listener.sinksOnceStopped()[0]->argumentText(), "127.0.0.1:5000");
    EXPECT_EQ(listener.sinksOnceStopped()[1]->argumentText(), "127.0.0.1:5001");
}

TEST_F(LogMessageListenerTest, ASinkOfAnotherClassThatMatchesDoesNotKeepAForwarderOut)
{
    const ListenerUnderTest listener({sink}); // matches every text
    EXPECT_EQ(statusOf(listener, command(289, typeAndText(4, "127.0.0.1:5000"))), 0);
    EXPECT_EQ(listener.sinkCount(), 2U);
    // Nor does a class derived from the one asked for: one of each.
    EXPECT_EQ(statusOf(listener, command(289, typeAndText(2, ""))), 0);
    EXPECT_EQ(statusOf(listener, command(289, typeAndText(1, ""))), 0);
    EXPECT_EQ(statusOf(listener, command(289, typeAndText(0, ""))), 0);
    EXPECT_EQ(listener.sinkCount(), 5U);
    for (std::uint32_t type = 0; type < 3; ++type)
        EXPECT_EQ(statusOf(listener, command(289, typeAndText(type, "again"))), 0);
    EXPECT_EQ(listener.sinkCount(), 5U);
    EXPECT_EQ(statusOf(listener, command(290, typeAndText(1, ""))), 0);
    EXPECT_EQ(listener.sinkCount(), 4U);
    EXPECT_EQ(statusOf(listener, command(290, typeAndText(1, ""))), 0);
    EXPECT_EQ(listener.sinkCount(), 4U);
}

TEST_F(LogMessageListenerTest, A290RequestForAnAddressThatHasNoForwarderIsAcknowledgedWithStatus0)
{
    const ListenerUnderTest listener({sink});
    EXPECT_EQ(statusOf(listener, command(289, typeAndText(4, "127.0.0.1:5000"))), 0);
    EXPECT_EQ(statusOf(listener, command(290, typeAndText(4, "127.0.0.1:5001"))), 0);
    EXPECT_EQ(statusOf(listener, command(290, typeAndText(4, "no address"))), 0);
    EXPECT_EQ(statusOf(listener, command(290, typeAndText(4, ""))), 0);
    EXPECT_EQ(listener.sinkCount(), 2U);
}

TEST_F(LogMessageListenerTest, RemovingASinkKeepsTheOrderOfTheOthers)
{
    ListenerUnderTest listener;
    for (const char* text : {"127.0.0.1:1", "127.0.0.1:2", "127.0.0.1:3", "127.0.0.1:4"})
        EXPECT_EQ(statusOf(listener, command(289, typeAndText(4, text))), 0);
    EXPECT_EQ(statusOf(listener, command(290, typeAndText(4, "127.0.0.1:2"))), 0);
    listener.stop();
    const SinkList& sinks = listener.sinksOnceStopped();
    ASSERT_EQ(sinks.size(), 3U);
    EXPECT_EQ(sinks[0]->argumentText(), "127.0.0.1:1");
    EXPECT_EQ(sinks[1]->argumentText(), "127.0.0.1:3");
    EXPECT_EQ(sinks[2]->argumentText(), "127.0.0.1:4");
}

TEST_F(LogMessageListenerTest, WithAnEmptyListTheFactoryRefusesAnUnknownType)
{
    const ListenerUnderTest listener;
    EXPECT_EQ(statusOf(listener, command(289, typeAndText(6, "127.0.0.1:5000"))), 3);
    EXPECT_TRUE(trace.contains(std::string(negative) +
                               "Attempt to create a message sink of an unsupported type"));
    // Nothing to remove, whatever the type.
    EXPECT_EQ(statusOf(listener, command(290, typeAndText(6, "127.0.0.1:5000"))), 0);
}

TEST_F(LogMessageListenerTest, WithSinksAnUnknownTypeHasNoTypeInfo)
{
    const ListenerUnderTest listener({sink});
    const std::string text =
        std::string(negative) + "Attempt to create a message sink type info of an unsupported type";
    EXPECT_EQ(statusOf(listener, command(289, typeAndText(6, ""))), 3);
    EXPECT_EQ(trace.count(text), 1U);
    EXPECT_EQ(statusOf(listener, command(290, typeAndText(6, ""))), 3);
    EXPECT_EQ(trace.count(text), 2U);
    EXPECT_EQ(statusOf(listener, command(289, typeAndText(0xFFFFFFFF, ""))), 3);
    EXPECT_EQ(trace.count(text), 3U);
    EXPECT_EQ(listener.sinkCount(), 1U);
}

TEST_F(LogMessageListenerTest, AForwarderToNoAddressIsRefused)
{
    const ListenerUnderTest listener;
    for (const char* text : {"", "localhost:80", "127.0.0.1", "127.0.0.1:0", "127.0.0.1:80x"}) {
        EXPECT_EQ(statusOf(listener, command(289, typeAndText(4, text))), 3) << text;
        EXPECT_EQ(statusOf(listener, command(292, textBytes(text))), 3) << text;
    }
    EXPECT_EQ(trace.count(std::string(negative) + "Failed to parse socket address string"), 10U);
    EXPECT_EQ(listener.sinkCount(), 0U);
}

TEST_F(LogMessageListenerTest, AForwardingRequestWithoutAWholeTypeIsOutOfRange)
{
    const ListenerUnderTest listener({sink});
    for (std::size_t length = 0; length < 4; ++length) {
        EXPECT_EQ(statusOf(listener, command(289, Bytes(length))), 3);
        EXPECT_EQ(statusOf(listener, command(290, Bytes(length))), 3);
    }
    EXPECT_EQ(trace.count(std::string(negative) + "The command packet data are out of range"), 8U);
    // Four bytes are a type and an empty text.
    EXPECT_EQ(statusOf(listener, command(289, typeAndText(0, ""))), 0);
    EXPECT_EQ(listener.sinkCount(), 2U);
}

TEST_F(LogMessageListenerTest, TheLongestArgumentTextIsTakenWhole)
{
    const ListenerUnderTest listener({sink});
    EXPECT_EQ(statusOf(listener, command(290, typeAndText(4, std::string(1384, 'x')))), 0);
    Bytes payload(32);
    const std::string text(1356, 'y');
    payload.insert(payload.end(), text.begin(), text.end());
    EXPECT_EQ(statusOf(listener, command(291, payload)), 0);
    ASSERT_EQ(sink->replayed().size(), 1U);
    EXPECT_EQ(sink->replayed()[0].addressText, text);
}

TEST_F(LogMessageListenerTest, AReplayRequestReachesEverySink)
{
    const ListenerUnderTest listener({sink, second});
    Bytes payload(32);
    for (std::size_t i = 0; i < payload.size(); ++i)
        payload[i] = static_cast<std::uint8_t>(i + 1);
    const Bytes requestBytes = payload;
    const std::string text = "127.0.0.1:5000";
    payload.insert(payload.end(), text.begin(), text.end());
    EXPECT_EQ(statusOf(listener, command(291, payload)), 0);
    for (const auto& each : {sink, second}) {
        ASSERT_EQ(each->replayed().size(), 1U);
        const ReplayRequest request = each->replayed()[0].request;
        EXPECT_EQ(Bytes(request.bytes.begin(), request.bytes.end()), requestBytes);
        EXPECT_EQ(each->replayed()[0].addressText, text);
    }
    EXPECT_EQ(listener.sinkCount(), 2U);
}

TEST_F(LogMessageListenerTest, AReplayRequestBelow32BytesIsOutOfRange)
{
    const ListenerUnderTest listener({sink});
    EXPECT_EQ(statusOf(listener, command(291)), 3);
    EXPECT_EQ(statusOf(listener, command(291, Bytes(31))), 3);
    EXPECT_EQ(trace.count(std::string(negative) + "The command packet data are out of range"), 2U);
    EXPECT_TRUE(sink->replayed().empty());
    EXPECT_EQ(statusOf(listener, command(291, Bytes(32))), 0);
    ASSERT_EQ(sink->replayed().size(), 1U);
    EXPECT_EQ(sink->replayed()[0].addressText, "");
}

TEST_F(LogMessageListenerTest, ReplayAndForwardReplaysEverythingAndAddsAForwarder)
{
    ListenerUnderTest listener({sink});
    EXPECT_EQ(statusOf(listener, command(292, textBytes("127.0.0.1:5000"))), 0);
    EXPECT_EQ(statusOf(listener, command(292, textBytes("127.0.0.1:5000"))), 0);
    ASSERT_EQ(sink->replayed().size(), 2U);
    const ReplayRequest request = sink->replayed()[0].request;
    EXPECT_EQ(loadU32(request.bytes.data()), 256U);
    for (std::size_t i = 4; i < request.bytes.size(); ++i)
        EXPECT_EQ(request.bytes[i], 0);
    EXPECT_EQ(sink->replayed()[0].addressText, "127.0.0.1:5000");
    listener.stop();
    ASSERT_EQ(listener.sinksOnceStopped().size(), 2U);
    EXPECT_EQ(listener.sinksOnceStopped()[1]->argumentText(), "127.0.0.1:5000");
}

TEST_F(LogMessageListenerTest, AForwarderThatARequestAddedGetsTheMessagesThatFollow)
{
    const ListenerUnderTest listener({sink}, true);
    UdpPeer viewer;
    EXPECT_EQ(statusOf(listener, command(257, TestContainer().bytes())), 0);
    EXPECT_EQ(statusOf(listener, command(289, typeAndText(4, socketAddressText(viewer.address())))),
              0);
    EXPECT_EQ(statusOf(listener, command(257, TestContainer().text(1, "x").bytes())), 0);
    const std::optional<Bytes> forwarded = viewer.receive();
    ASSERT_TRUE(forwarded.has_value());
    EXPECT_EQ(*forwarded, datagram({magicLogMessage, 1, 257, 0, loadU16(forwarded->data() + 8), 0},
                                   TestContainer().ids(0, 1, 2).text(1, "x").bytes()));
}

TEST_F(LogMessageListenerTest, IdleReachesEverySinkAlsoBehindOneThatFails)
{
    sink->failWith("no rest");
    const ListenerUnderTest listener({sink, second});
    ASSERT_TRUE(waitFor([&] { return second->idles() >= 1; }, 20000));
    EXPECT_GE(sink->idles(), 1);
    EXPECT_TRUE(waitFor([&] {
        return trace.contains("Error while processing log protocol requests (idle): no rest");
    }));
    EXPECT_TRUE(peer.nextAnswerIsToPing(listener.boundAddress()));
}

TEST_F(LogMessageListenerTest, SinksLiveAsLongAsTheListenerHoldsThem)
{
    std::weak_ptr<RecordingSink> watched = sink;
    {
        const ListenerUnderTest listener({sink});
        sink.reset();
        EXPECT_EQ(statusOf(listener, command(257, TestContainer().bytes())), 0);
        EXPECT_FALSE(watched.expired());
    }
    EXPECT_TRUE(watched.expired());
}

TEST_F(LogMessageListenerTest, RandomRequestsChangeNothing)
{
    const ListenerUnderTest listener({sink});
    const SocketAddress to = listener.boundAddress();
    std::mt19937 random(1889);
    constexpr std::uint16_t codes[] = {257, 258, 289, 290, 291, 292};
    for (int round = 0; round < 1000; ++round) {
        for (int i = 0; i < 25; ++i) {
            // Right in all but the payload, whose first word (size field, sink type) is never
            // right.
            Bytes payload(random() % 60);
            for (std::uint8_t& byte : payload)
                byte = static_cast<std::uint8_t>(128 + random() % 128);
            peer.send(command(codes[random() % 6], payload), to);
        }
        ASSERT_TRUE(peer.isAnswered(to)) << "round " << round;
    }
    EXPECT_TRUE(sink->received().empty());
    EXPECT_EQ(listener.sinkCount(), 1U);
}

/// Notes what its base class tells it, and passes on only the replays that come with a
/// subscription.
class NotingListener final : public LogMessageListener
{
public:
    explicit NotingListener(SinkList sinks)
        : LogMessageListener(std::move(sinks), 0, ListenerLimits::careful())
    {
        start();
    }
    ~NotingListener() override { stop(); }

    std::vector<std::string> calls; ///< to be read once it is stopped

    static std::shared_ptr<NotingListener> make(SinkList sinks)
    {
        return std::make_shared<NotingListener>(std::move(sinks));
    }

protected:
    bool assignsServiceIds() const override { return false; }
    void replay(LogMessageCommand command, const ReplayRequest& request,
                std::string_view addressText) override
    {
        calls.push_back(std::to_string(static_cast<int>(command)) + ' ' + std::string(addressText));
        if (command == LogMessageCommand::ReplayAndForward)
            LogMessageListener::replay(command, request, addressText);
    }
    void removing(const LogMessageSink& leaving) override
    {
        calls.push_back("removing " + leaving.argumentText());
    }
};

TEST_F(LogMessageListenerTest, ADerivedListenerSeesReplaysAndRemovals)
{
    const auto listener = NotingListener::make({sink});
    const auto ask = [&](std::uint16_t code, const Bytes& payload) {
        const auto reply = peer.exchange(command(code, payload), listener->boundAddress());
        return reply ? reply->status : 0xFFFF;
    };
    Bytes payload(32);
    const Bytes address = textBytes("127.0.0.1:5000");
    payload.insert(payload.end(), address.begin(), address.end());
    EXPECT_EQ(ask(291, payload), 0);
    EXPECT_TRUE(sink->replayed().empty()) << "what it keeps to itself no sink gets";
    EXPECT_EQ(ask(292, address), 0);
    EXPECT_EQ(sink->replayed().size(), 1U);
    EXPECT_EQ(ask(290, typeAndText(4, "127.0.0.1:5001")), 0);
    EXPECT_EQ(ask(290, typeAndText(4, "127.0.0.1:5000")), 0);
    listener->stop();
    EXPECT_EQ(listener->calls, (std::vector<std::string>{"291 127.0.0.1:5000", "292 127.0.0.1:5000",
                                                         "removing 127.0.0.1:5000"}));
}

TEST_F(LogMessageListenerTest, ForwardersToNobodyAreToldOfBeforeTheyGo)
{
    const auto listener = NotingListener::make({sink});
    std::vector<std::unique_ptr<UdpPeer>> viewers;
    std::vector<std::string> texts;
    for (int i = 0; i < 64; ++i) {
        viewers.push_back(std::make_unique<UdpPeer>(ownLoopbackAddress()));
        texts.push_back(socketAddressText(viewers.back()->address()));
    }
    for (std::size_t i = 0; i < 64; ++i) {
        if (i == 63) {
            viewers[7].reset();
            viewers[20].reset();
        }
        const auto reply =
            peer.exchange(command(289, typeAndText(4, texts[i])), listener->boundAddress());
        ASSERT_TRUE(reply && reply->status == 0);
    }
    listener->stop();
    EXPECT_EQ(listener->calls,
              (std::vector<std::string>{"removing " + texts[7], "removing " + texts[20]}));
}

} // namespace
} // namespace zuLogging::test
