// What a listener's owner allows those who send requests, and what happens where he allows all.

#include "logging/LogMessageListener.h"
#include "logging/LogMessageSinkForwarder.h"
#include "logging/LogMessageSinkRecorder.h"
#include "logging/LogSvcError.h"
#include "tests/support/FakeLogServer.h"
#include "tests/support/ListenerUnderTest.h"
#include "tests/support/RecordingSink.h"
#include "tests/support/TestContainer.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/TraceCapture.h"
#include "tests/support/UdpPeer.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace zuLogging::test {
namespace {

constexpr char outOfRange[] = "Error while processing log protocol requests (negative ack "
                              "generated): The command packet data are out of range";

Bytes forwarderTo(const std::string& text)
{
    Bytes payload(4);
    storeU32(payload.data(), 4);
    payload.insert(payload.end(), text.begin(), text.end());
    return payload;
}

class LogMessageListenerLimits : public ::testing::Test
{
protected:
    std::uint16_t ask(const LogMessageListener& listener, std::uint16_t code, const Bytes& payload)
    {
        const auto reply = peer.exchange(datagram({magicLogMessage, 0, code, 0, 1, 0}, payload),
                                         listener.boundAddress());
        return reply ? reply->status : 0xFFFF;
    }
    std::uint16_t forward(const LogMessageListener& listener, const std::string& text)
    {
        return ask(listener, 289, forwarderTo(text));
    }
    std::uint16_t stopForwarding(const LogMessageListener& listener, const std::string& text)
    {
        return ask(listener, 290, forwarderTo(text));
    }
    std::uint16_t replay(const LogMessageListener& listener, const std::string& text)
    {
        const ReplayRequest request = ReplayRequest::everything();
        Bytes payload(request.bytes.begin(), request.bytes.end());
        payload.insert(payload.end(), text.begin(), text.end());
        return ask(listener, 291, payload);
    }
    std::uint16_t replayAndForward(const LogMessageListener& listener, const std::string& text)
    {
        return ask(listener, 292, {text.begin(), text.end()});
    }
    /// One that is busy for a while with each replay, of messages of either kind.
    static std::shared_ptr<LogMessageSinkRecorder> fullRecorder()
    {
        auto recorder = std::make_shared<LogMessageSinkRecorder>(4000, 4000);
        for (std::uint64_t i = 1; i <= 4000; ++i) {
            recorder->consume(TestContainer().view());
            recorder->consumeSecondary(TestContainer(containerFlagSecondary).view());
        }
        return recorder;
    }

    TraceCapture trace;
    UdpPeer peer;
    std::shared_ptr<RecordingSink> sink = std::make_shared<RecordingSink>();
    std::shared_ptr<RecordingSink> second = std::make_shared<RecordingSink>();
};

TEST_F(LogMessageListenerLimits, TheProgramsAllow64Sinks8ReplaysAndNothingToThemselves)
{
    constexpr ListenerLimits limits = ListenerLimits::careful();
    EXPECT_EQ(limits.sinks, 64U);
    EXPECT_EQ(limits.replays, 8U);
    EXPECT_FALSE(limits.allowsOwnAddress);
}

TEST_F(LogMessageListenerLimits, AllSinksOfTheListCountAndAFreedPlaceIsUsedAgain)
{
    const ListenerUnderTest listener({sink, second}, false, 0, ListenerLimits::careful());
    std::vector<std::unique_ptr<UdpPeer>> viewers;
    std::vector<std::string> texts;
    for (int i = 0; i < 63; ++i) {
        viewers.push_back(std::make_unique<UdpPeer>());
        texts.push_back(socketAddressText(viewers.back()->address()));
    }
    for (std::size_t i = 0; i < 62; ++i)
        ASSERT_EQ(forward(listener, texts[i]), 0);
    EXPECT_EQ(listener.sinkCount(), 64U);
    EXPECT_EQ(forward(listener, texts[62]), 3);
    EXPECT_EQ(replayAndForward(listener, texts[62]), 3);
    Bytes traceSink(4);
    EXPECT_EQ(ask(listener, 289, traceSink), 3) << "of another class";
    EXPECT_EQ(trace.count(outOfRange), 3U);
    EXPECT_EQ(listener.sinkCount(), 64U);
    // One that is there already is no further one.
    EXPECT_EQ(forward(listener, texts[61]), 0);
    EXPECT_EQ(stopForwarding(listener, texts[0]), 0);
    EXPECT_EQ(forward(listener, texts[62]), 0);
    EXPECT_EQ(listener.sinkCount(), 64U);
}

TEST_F(LogMessageListenerLimits, ThePlacesOfKilledViewersAreUsedAgainWhenTheyAreNeeded)
{
    const ListenerUnderTest listener({sink}, false, 0, ListenerLimits::careful());
    std::vector<std::unique_ptr<UdpPeer>> viewers;
    for (int i = 0; i < 63; ++i) {
        viewers.push_back(std::make_unique<UdpPeer>(ownLoopbackAddress()));
        ASSERT_EQ(forward(listener, socketAddressText(viewers.back()->address())), 0);
    }
    viewers.resize(2); // the other 61 are gone without a word
    const UdpPeer another;
    EXPECT_EQ(forward(listener, socketAddressText(another.address())), 0);
    EXPECT_EQ(listener.sinkCount(), 4U);
}

TEST_F(LogMessageListenerLimits, WithoutLimitsMoreThan64SinksAreTaken)
{
    const ListenerUnderTest listener({sink});
    for (int port = 1; port <= 200; ++port)
        ASSERT_EQ(forward(listener, "127.0.0.1:" + std::to_string(port)), 0);
    EXPECT_EQ(listener.sinkCount(), 201U);
}

TEST_F(LogMessageListenerLimits, AnOwnerMayAllowNoFurtherSinkAtAll)
{
    const ListenerUnderTest listener({}, false, 0, {0, ListenerLimits::unlimited, true});
    EXPECT_EQ(forward(listener, "127.0.0.1:9"), 3);
    EXPECT_EQ(listener.sinkCount(), 0U);
}

TEST_F(LogMessageListenerLimits, AListenerDoesNotForwardToItselfUnlessThatIsAllowed)
{
    {
        const ListenerUnderTest listener({sink}, false, 0, ListenerLimits::careful());
        const std::string port = std::to_string(listener.boundAddress().port);
        for (const char* host : {"127.0.0.1:", "0.0.0.0:"}) {
            EXPECT_EQ(forward(listener, host + port), 3);
            EXPECT_EQ(replayAndForward(listener, host + port), 3);
        }
        EXPECT_EQ(listener.sinkCount(), 1U);
        EXPECT_TRUE(sink->replayed().empty());
    }
    const ListenerUnderTest listener({sink});
    const std::string text = socketAddressText(listener.boundAddress());
    EXPECT_EQ(forward(listener, text), 0);
    EXPECT_EQ(listener.sinkCount(), 2U);
    EXPECT_EQ(stopForwarding(listener, text), 0);
    EXPECT_EQ(replayAndForward(listener, text), 0);
    EXPECT_EQ(listener.sinkCount(), 2U);
    EXPECT_EQ(stopForwarding(listener, text), 0);
}

TEST_F(LogMessageListenerLimits, AListenerDoesNotReplayToItselfUnlessThatIsAllowed)
{
    {
        const ListenerUnderTest listener({sink}, false, 0, ListenerLimits::careful());
        EXPECT_EQ(replay(listener, socketAddressText(listener.boundAddress())), 3);
        EXPECT_TRUE(sink->replayed().empty());
    }
    const ListenerUnderTest listener({sink});
    EXPECT_EQ(replay(listener, socketAddressText(listener.boundAddress())), 0);
    EXPECT_EQ(sink->replayed().size(), 1U);
}

/// Is given its sinks ready made, before it starts.
class AppendingListener final : public LogMessageListener
{
public:
    explicit AppendingListener(ListenerLimits limits)
        : LogMessageListener({}, 0, limits)
    {
    }
    ~AppendingListener() override { stop(); }

    using LogMessageListener::appendSink;
    using LogMessageListener::sinks;

protected:
    bool assignsServiceIds() const override { return false; }
};

TEST_F(LogMessageListenerLimits,
       ASinkThatIsMadeAlreadyIsAppendedUnlessItForwardsToTheListenerItself)
{
    AppendingListener listener(ListenerLimits::careful());
    listener.appendSink(sink);
    listener.appendSink(std::make_shared<LogMessageSinkForwarder>("127.0.0.1:5000"));
    const std::string port = std::to_string(listener.boundAddress().port);
    for (const char* host : {"127.0.0.1:", "0.0.0.0:"})
        EXPECT_THROW(listener.appendSink(std::make_shared<LogMessageSinkForwarder>(host + port)),
                     LogSvcError);
    ASSERT_EQ(listener.sinks().size(), 2U);
    EXPECT_EQ(listener.sinks()[0], sink);
    EXPECT_EQ(listener.sinks()[1]->argumentText(), "127.0.0.1:5000");

    AppendingListener free({});
    free.appendSink(std::make_shared<LogMessageSinkForwarder>(
        "127.0.0.1:" + std::to_string(free.boundAddress().port)));
    EXPECT_EQ(free.sinks().size(), 1U);
}

TEST_F(LogMessageListenerLimits, EightReplaysRunAtOnceAndTheNinthIsRefused)
{
    const FakeLogServer receiver;
    const std::string text = socketAddressText(receiver.address());
    ListenerUnderTest listener({fullRecorder()}, false, 0, ListenerLimits::careful());
    // Each takes two seconds for its pauses alone.
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(replay(listener, text), 0);
        EXPECT_EQ(replayAndForward(listener, text), 0);
    }
    EXPECT_EQ(replay(listener, text), 3);
    EXPECT_EQ(replayAndForward(listener, socketAddressText(peer.address())), 3);
    EXPECT_EQ(trace.count(outOfRange), 2U);
    EXPECT_EQ(listener.sinkCount(), 2U) << "what is refused adds no forwarder";
    listener.stop();
    const auto& recorder =
        dynamic_cast<const LogMessageSinkRecorder&>(*listener.sinksOnceStopped().front());
    EXPECT_EQ(recorder.replayCount(), 16U) << "a thread for either kind of each";
    EXPECT_EQ(recorder.requestsUnderWay(), 8U);
}

TEST_F(LogMessageListenerLimits, ReplaysOfAllRecordersCountTogether)
{
    const FakeLogServer receiver;
    const std::string text = socketAddressText(receiver.address());
    const ListenerUnderTest listener({fullRecorder(), sink, fullRecorder()}, false, 0,
                                     ListenerLimits::careful());
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(replay(listener, text), 0);
    EXPECT_EQ(replay(listener, text), 3);
    EXPECT_EQ(sink->replayed().size(), 4U);
}

TEST_F(LogMessageListenerLimits, AReplayThatHasEndedMakesRoomEvenIfTheLineIsNeverQuiet)
{
    auto recorder = std::make_shared<LogMessageSinkRecorder>(10, 10);
    recorder->consume(TestContainer().view());
    const ListenerUnderTest listener({recorder}, false, 0, {64, 1, false});
    const FakeLogServer receiver;
    for (int i = 0; i < 30; ++i)
        EXPECT_TRUE(
            waitFor([&] { return replay(listener, socketAddressText(receiver.address())) == 0; }));
    EXPECT_TRUE(receiver.waitForRequests(30));
}

TEST_F(LogMessageListenerLimits, WithoutLimitsMoreThan8ReplaysRunAtOnce)
{
    const FakeLogServer receiver;
    ListenerUnderTest listener({fullRecorder()});
    for (int i = 0; i < 12; ++i)
        EXPECT_EQ(replay(listener, socketAddressText(receiver.address())), 0);
    listener.stop();
    const auto& recorder =
        dynamic_cast<const LogMessageSinkRecorder&>(*listener.sinksOnceStopped().front());
    EXPECT_EQ(recorder.requestsUnderWay(), 12U);
}

} // namespace
} // namespace zuLogging::test
