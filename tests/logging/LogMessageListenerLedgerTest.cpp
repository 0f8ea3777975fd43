// What the listener counts of requests, messages and their numbers.

#include "logging/LogClient.h"
#include "logging/LogMessageListener.h"
#include "logging/LogMessageSinkRecorder.h"
#include "logging/LogSvcError.h"
#include "tests/support/Balance.h"
#include "tests/support/Flood.h"
#include "tests/support/ListenerUnderTest.h"
#include "tests/support/RecordingSink.h"
#include "tests/support/TestContainer.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/TraceCapture.h"
#include "tests/support/UdpPeer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <limits>
#include <memory>

namespace zuLogging::test {
namespace {

Bytes command(std::uint16_t code, const Bytes& payload = {}, std::uint16_t flags = 0)
{
    return datagram({magicLogMessage, flags, code, 0, 1, 0}, payload);
}

Bytes typeAndText(std::uint32_t type, const std::string& text)
{
    Bytes payload(4);
    storeU32(payload.data(), type);
    payload.insert(payload.end(), text.begin(), text.end());
    return payload;
}

class LogMessageListenerLedger : public ::testing::Test
{
protected:
    /// What has been counted once these bytes have been answered.
    LogCounts countsOf(const LogMessageListener& listener, const Bytes& bytes)
    {
        const LogCounts before = ledger->counts();
        EXPECT_TRUE(peer.exchange(bytes, listener.boundAddress()).has_value());
        EXPECT_TRUE(waitFor([&] {
            const LogCounts counts = ledger->counts().since(before);
            return counts[LogCount::Received] == 1 && balances(counts);
        }));
        return ledger->counts().since(before);
    }
    void expectOne(const LogMessageListener& listener, LogCount which, const Bytes& bytes)
    {
        EXPECT_EQ(countsOf(listener, bytes)[which], 1U) << "command " << loadU16(bytes.data() + 4);
    }
    std::uint64_t count(LogCount which) const { return ledger->count(which); }

    TraceCapture trace;
    UdpPeer peer;
    std::shared_ptr<LogLedger> ledger = std::make_shared<LogLedger>();
    std::shared_ptr<RecordingSink> sink = std::make_shared<RecordingSink>();
    std::shared_ptr<RecordingSink> second = std::make_shared<RecordingSink>();
};

TEST_F(LogMessageListenerLedger, EachDatagramIsOneThing)
{
    const ListenerUnderTest listener({sink}, false, 0, {}, ledger);
    const std::string viewer = socketAddressText(UdpPeer().address());
    Bytes replay(32);
    replay.insert(replay.end(), viewer.begin(), viewer.end());

    expectOne(listener, LogCount::Messages, command(257, TestContainer().bytes()));
    expectOne(listener, LogCount::Messages, command(258, TestContainer().bytes()));
    expectOne(listener, LogCount::RefusedContainer,
              command(257, TestContainer().padTo(40).setSizeField(36).bytes()));
    expectOne(listener, LogCount::RefusedContainer, command(258));
    expectOne(listener, LogCount::Requests, command(273));
    expectOne(listener, LogCount::Requests, command(289, typeAndText(4, viewer)));
    expectOne(listener, LogCount::Requests, command(289, typeAndText(4, viewer)));
    expectOne(listener, LogCount::Requests, command(290, typeAndText(4, viewer)));
    expectOne(listener, LogCount::Requests, command(290, typeAndText(4, viewer)));
    expectOne(listener, LogCount::Requests, command(291, replay));
    expectOne(listener, LogCount::Requests, command(292, {viewer.begin(), viewer.end()}));
    expectOne(listener, LogCount::RefusedRequest, command(289));
    expectOne(listener, LogCount::RefusedRequest, command(289, typeAndText(4, "nowhere")));
    expectOne(listener, LogCount::RefusedRequest, command(290, typeAndText(6, viewer)));
    expectOne(listener, LogCount::RefusedRequest, command(291, Bytes(31)));
    expectOne(listener, LogCount::RefusedRequest, command(292));
    expectOne(listener, LogCount::RefusedCommand, command(256));
    expectOne(listener, LogCount::RefusedCommand, command(274));
    expectOne(listener, LogCount::RefusedCommand, command(0x8000 | 257));
    EXPECT_EQ(count(LogCount::SinkFailed), 0U);
}

TEST_F(LogMessageListenerLedger, AMessageThatASinkFailsWithIsAMessageAndCountedOnce)
{
    sink->failWith("the first");
    second->failWith("the second");
    const ListenerUnderTest listener({sink, second}, false, 0, {}, ledger);
    const LogCounts counts = countsOf(listener, command(257, TestContainer().bytes()));
    EXPECT_EQ(counts[LogCount::Messages], 1U);
    EXPECT_EQ(counts[LogCount::SinkFailed], 1U);
    EXPECT_EQ(second->received().size(), 1U);
    // A replay that fails is no message.
    EXPECT_EQ(countsOf(listener, command(291, Bytes(32)))[LogCount::RefusedRequest], 1U);
    EXPECT_EQ(count(LogCount::SinkFailed), 1U);
}

TEST_F(LogMessageListenerLedger, AnUnknownOperatingModeIsAFailureOfASinkToo)
{
    const ListenerUnderTest listener({std::make_shared<RecordingSink>(1)}, false, 0, {}, ledger);
    const LogCounts counts = countsOf(listener, command(257, TestContainer().bytes()));
    EXPECT_EQ(counts[LogCount::Messages], 1U);
    EXPECT_EQ(counts[LogCount::SinkFailed], 1U);
}

/// Throws what is no exception class.
class RudeSink final : public LogMessageSink
{
public:
    void consume(const LogMessageContainerView&) override { throw 42; }        // NOLINT
    void replay(const ReplayRequest&, std::string_view) override { throw 42; } // NOLINT
};

TEST_F(LogMessageListenerLedger, ASinkThatThrowsWhatIsNoExceptionClassCostsTheOthersNothing)
{
    const ListenerUnderTest listener({std::make_shared<RudeSink>(), sink}, false, 0, {}, ledger);
    const LogCounts counts = countsOf(listener, command(257, TestContainer().bytes()));
    EXPECT_EQ(counts[LogCount::Messages], 1U);
    EXPECT_EQ(counts[LogCount::SinkFailed], 1U);
    EXPECT_EQ(sink->received().size(), 1U);
    EXPECT_EQ(countsOf(listener, command(291, Bytes(32)))[LogCount::RefusedRequest], 1U);
    EXPECT_EQ(sink->replayed().size(), 1U);
}

/// Wants only what has a text, and fails over what is exactly 29 bytes long.
class ChoosyListener final : public LogMessageListener
{
public:
    ChoosyListener(SinkList sinks, std::shared_ptr<LogLedger> ledger)
        : LogMessageListener(std::move(sinks), 0, {}, std::move(ledger))
    {
        start();
    }
    ~ChoosyListener() override { stop(); }

protected:
    bool assignsServiceIds() const override { return false; }
    bool isWanted(const LogMessageContainerView& container) override
    {
        if (container.length == containerHeaderSize + 1)
            throw LogSvcError("cannot decide");
        return container.length > containerHeaderSize;
    }
};

TEST_F(LogMessageListenerLedger,
       MessagesThatAreNotWantedAreCountedAndSoAreThoseThatCouldNotBeJudged)
{
    const ChoosyListener listener({sink}, ledger);
    EXPECT_EQ(countsOf(listener, command(257, TestContainer().bytes()))[LogCount::Unwanted], 1U);
    countsOf(listener, command(257, TestContainer().text(1, "x").bytes()));
    EXPECT_EQ(count(LogCount::Unwanted), 1U);
    const LogCounts counts =
        countsOf(listener, command(257, TestContainer().padTo(29).setSizeField(29).bytes()));
    EXPECT_EQ(counts[LogCount::Messages], 1U);
    EXPECT_EQ(counts[LogCount::SinkFailed], 1U);
    EXPECT_EQ(sink->received().size(), 1U);
    EXPECT_EQ(count(LogCount::Messages), 3U);
}

TEST_F(LogMessageListenerLedger, NumbersThatAreMissingAndMessagesThatCameTwiceAreCounted)
{
    const ListenerUnderTest listener({sink}, false, 0, {}, ledger);
    const auto send = [&](std::uint64_t number, std::uint8_t flags = 0, std::uint16_t code = 257) {
        countsOf(listener, command(code, TestContainer(flags).ids(1, number, 3).bytes()));
    };
    send(1);
    send(2);
    send(5);
    EXPECT_EQ(count(LogCount::MissingNumbers), 2U);
    send(5);
    EXPECT_EQ(count(LogCount::RepeatedNumbers), 1U);
    // The kind is the container's, whatever the command.
    send(1, containerFlagSecondary, 258);
    send(2, containerFlagSecondary, 257);
    send(6, 0, 258);
    EXPECT_EQ(count(LogCount::MissingNumbers), 2U);
    // What has a wrong size has no number.
    countsOf(listener, command(257, TestContainer().ids(1, 100, 3).setSizeField(27).bytes()));
    send(7);
    EXPECT_EQ(count(LogCount::MissingNumbers), 2U);
    EXPECT_EQ(count(LogCount::RepeatedNumbers), 1U);
}

/// Counts the messages that have a text.
class TextCounter final : public LogMessageSink
{
public:
    void consume(const LogMessageContainerView& container) override
    {
        if (container.length > containerHeaderSize)
            ++count_;
    }
    void consumeSecondary(const LogMessageContainerView& container) override { consume(container); }
    std::uint64_t count() const { return count_.load(); }

private:
    std::atomic<std::uint64_t> count_{0};
};

TEST_F(LogMessageListenerLedger, AReplayDuringLiveTrafficMakesNoGap)
{
    const auto counter = std::make_shared<TextCounter>();
    ListenerUnderTest viewer({counter}, false, 0, {}, ledger);
    const auto recorder = std::make_shared<LogMessageSinkRecorder>(500, 50);
    ListenerUnderTest service({recorder}, true);
    LogClient application(service.boundAddress());
    for (std::uint64_t i = 0; i < 500; ++i)
        application.deliver(TestContainer().view());
    for (std::uint64_t i = 0; i < 50; ++i)
        application.deliver(TestContainer(containerFlagSecondary).view());

    const std::string text = socketAddressText(viewer.boundAddress());
    ASSERT_TRUE(peer.exchange(command(292, {text.begin(), text.end()}), service.boundAddress()));
    // Nobody waits for a viewer: on a machine that stands still its socket may run full, and what
    // that costs is counted, and is the only gap.
    const auto accountedFor = [&] {
        return count(LogCount::Messages) + count(LogCount::LostInSocket);
    };
    // The replay takes a quarter of a second; live messages come in between and behind.
    std::uint64_t live = 0;
    while (accountedFor() < 550 + live || live < 300) {
        const std::uint8_t flags = live % 3 == 0 ? containerFlagSecondary : 0;
        application.deliver(TestContainer(flags).text(1, "live").view());
        ++live;
        ASSERT_LT(live, 200000U);
        ASSERT_TRUE(
            waitFor([&] { return counter->count() + count(LogCount::LostInSocket) >= live; }));
    }
    EXPECT_TRUE(waitFor([&] { return accountedFor() == 550 + live; }));
    EXPECT_LE(count(LogCount::MissingNumbers), count(LogCount::LostInSocket));
    EXPECT_EQ(count(LogCount::RepeatedNumbers), 0U);
}

TEST_F(LogMessageListenerLedger, AfterAFloodOfMixedDatagramsTheSumsBalance)
{
    const auto keeper = std::make_shared<CountingSink>();
    ListenerUnderTest listener({keeper}, false, 0, ListenerLimits::careful(), ledger);
    const std::size_t memoryBefore = residentBytes();
    const FloodSent sent = flood(listener.boundAddress(), 200000, 7);
    listener.stop();
    const LogCounts counts = ledger->counts();
    EXPECT_TRUE(balances(counts));
    EXPECT_EQ(counts[LogCount::Received] + counts[LogCount::LostInSocket], sent.all);
    EXPECT_EQ(counts[LogCount::Messages], keeper->count());
    // Something of everything has come, and nothing of what nobody sent.
    for (const LogCount which :
         {LogCount::RefusedSize, LogCount::RefusedMagic, LogCount::RefusedLength,
          LogCount::RefusedFlags, LogCount::RefusedCommand, LogCount::RefusedRequest,
          LogCount::RefusedContainer, LogCount::Requests, LogCount::Messages})
        EXPECT_GT(counts[which], 0U) << static_cast<int>(which);
    EXPECT_LE(counts[LogCount::Messages], sent.mayBeMessages);
    EXPECT_EQ(listener.sinksOnceStopped().size(), 1U);
    EXPECT_LT(residentBytes(), memoryBefore + floodMemoryLimit);
}

} // namespace
} // namespace zuLogging::test
