#include "logging/LogMessageSecondaryListener.h"

#include "logging/ConnectionInfo.h"
#include "logging/LogClient.h"
#include "logging/LogSvcError.h"
#include "logging/SocketAddressText.h"
#include "platform/SharedMemory.h"
#include "tests/support/ListenerUnderTest.h"
#include "tests/support/RecordingSink.h"
#include "tests/support/TestContainer.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/TraceCapture.h"
#include "tests/support/UdpPeer.h"

#include <QDir>
#include <QElapsedTimer>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <mutex>
#include <string>

namespace zuLogging::test {
namespace {

/// Stands where the log service stands: keeps the requests, and answers as told.
class FakeService final : public LogProtoServer<LogMsgProtocol>
{
public:
    explicit FakeService(bool refuses = false)
        : refuses_(refuses)
    {
        start();
    }
    ~FakeService() override { stop(); }

    void refuse() { refuses_.store(true); }

    std::vector<Bytes> requests() const
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        return requests_;
    }

protected:
    void process(const Packet& request, std::size_t length, Packet& acknowledge) override
    {
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            requests_.emplace_back(request.bytes(), request.bytes() + length);
        }
        if (refuses_.load())
            throw LogSvcError("no");
        acknowledge.setHeader(acknowledgeOf(request.header(), PacketStatus::Success));
    }
    void idle() override {}

private:
    std::atomic<bool> refuses_;
    mutable std::mutex mutex_;
    std::vector<Bytes> requests_;
};

class LogMessageSecondaryListenerTest : public ::testing::Test
{
protected:
    void publish(const SocketAddress& address)
    {
        ASSERT_EQ(publisher.publish(connectionInfoName(), encodeConnectionInfo(address)),
                  platform::SharedMemoryPublisher::Result::Published);
    }
    static std::string errorOf(const SinkList& sinks, bool replay = false)
    {
        try {
            const LogMessageSecondaryListener listener(sinks, replay);
        } catch (const LogSvcError& error) {
            return error.what();
        }
        return "no error";
    }
    static Bytes forwardingPayload(const SocketAddress& address)
    {
        const std::string text = socketAddressText(address);
        Bytes payload(4 + text.size());
        storeU32(payload.data(), 4);
        std::copy(text.begin(), text.end(), payload.begin() + 4);
        return payload;
    }
    static void expectRequest(const Bytes& bytes, std::uint16_t command, const Bytes& payload)
    {
        EXPECT_EQ(bytes, datagram({magicLogMessage, 0, command, 0, loadU16(bytes.data() + 8), 0},
                                  payload));
    }
    static int threads()
    {
        return static_cast<int>(QDir(QStringLiteral("/proc/self/task"))
                                    .entryList(QDir::Dirs | QDir::NoDotAndDotDot)
                                    .size());
    }

    TraceCapture trace;
    platform::SharedMemoryPublisher publisher;
    std::shared_ptr<RecordingSink> sink = std::make_shared<RecordingSink>();
};

TEST_F(LogMessageSecondaryListenerTest, Subscribes289AndUnsubscribes290WithItsOwnAddressText)
{
    const FakeService service;
    publish(service.boundAddress());
    SocketAddress own;
    {
        const LogMessageSecondaryListener listener({sink}, false);
        own = listener.boundAddress();
        ASSERT_EQ(service.requests().size(), 1U);
        expectRequest(service.requests()[0], 289, forwardingPayload(own));
    }
    ASSERT_EQ(service.requests().size(), 2U);
    expectRequest(service.requests()[1], 290, forwardingPayload(own));
}

TEST_F(LogMessageSecondaryListenerTest, WithTheReplayFlagItSubscribes292WithTheTextAlone)
{
    const FakeService service;
    publish(service.boundAddress());
    SocketAddress own;
    {
        const LogMessageSecondaryListener listener({sink}, true);
        own = listener.boundAddress();
        ASSERT_EQ(service.requests().size(), 1U);
        const std::string text = socketAddressText(own);
        expectRequest(service.requests()[0], 292, Bytes(text.begin(), text.end()));
    }
    ASSERT_EQ(service.requests().size(), 2U);
    expectRequest(service.requests()[1], 290, forwardingPayload(own));
}

TEST_F(LogMessageSecondaryListenerTest,
       AReplayRequestIs32BytesOfWhich256IsTheFirstWordAndTheAddress)
{
    FakeService service;
    publish(service.boundAddress());
    LogMessageSecondaryListener listener({}, false);
    listener.requestReplay();
    ASSERT_EQ(service.requests().size(), 2U);
    const Bytes request = service.requests()[1];
    ASSERT_GT(request.size(), packetHeaderSize + 32);
    EXPECT_EQ(readPacketHeader(request.data()).command, 291);
    Bytes expected(32, 0);
    expected[1] = 1; // 256, little-endian
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), request.begin() + packetHeaderSize));
    EXPECT_EQ(std::string(request.begin() + packetHeaderSize + 32, request.end()),
              socketAddressText(listener.boundAddress()));
}

TEST_F(LogMessageSecondaryListenerTest, ARefusedReplayThrowsAndTheListenerStays)
{
    FakeService service;
    publish(service.boundAddress());
    LogMessageSecondaryListener listener({}, false);
    service.refuse();
    EXPECT_THROW(listener.requestReplay(), LogSvcError);
    EXPECT_NO_THROW(listener.boundAddress());
}

TEST_F(LogMessageSecondaryListenerTest, ReceivesWhatTheServiceForwardsWithoutNumberingItAgain)
{
    ListenerUnderTest service({}, true);
    publish(service.boundAddress());
    {
        const LogMessageSecondaryListener listener({sink}, false);
        EXPECT_EQ(service.sinkCount(), 1U);
        LogClient application(service.boundAddress());
        application.deliver(TestContainer().ids(7, 0, 0).text(1, "first").view());
        application.deliver(TestContainer(containerFlagSecondary).ids(8, 0, 0).view());
        ASSERT_TRUE(waitFor([&] { return sink->received().size() == 2; }));
    }
    const std::vector<RecordingSink::Received> received = sink->received();
    EXPECT_EQ(received[0].bytes, TestContainer().ids(7, 1, 1).text(1, "first").bytes());
    EXPECT_FALSE(received[0].secondary);
    EXPECT_FALSE(received[0].serviceNumber.has_value());
    EXPECT_EQ(received[1].bytes, TestContainer(containerFlagSecondary).ids(8, 1, 2).bytes());
    EXPECT_TRUE(received[1].secondary);
    EXPECT_EQ(service.sinkCount(), 0U);
}

TEST_F(LogMessageSecondaryListenerTest, WithoutAServiceItSaysSoAndNothingStaysRunning)
{
    EXPECT_EQ(errorOf({sink}), "Failed to connect to the shared memory with connection info: "
                               "Shared memory error");
    // Counted from the second time on: with the first thread a sanitizer may start one of its own.
    const int before = threads();
    EXPECT_NE(errorOf({sink}), "");
    EXPECT_TRUE(test::waitFor([&] { return threads() <= before; }));
    EXPECT_EQ(sink.use_count(), 1);
}

TEST_F(LogMessageSecondaryListenerTest, ARefusedSubscriptionThrowsAndNothingStaysRunning)
{
    const FakeService service(true);
    publish(service.boundAddress());
    EXPECT_EQ(errorOf({sink}), "The command was not successful (negative acknowledge received)");
    const int before = threads();
    EXPECT_EQ(errorOf({sink}, true),
              "The command was not successful (negative acknowledge received)");
    // Nothing more is tried after the refusal.
    EXPECT_EQ(service.requests().size(), 2U);
    EXPECT_TRUE(test::waitFor([&] { return threads() <= before; }));
    EXPECT_EQ(sink.use_count(), 1);
}

TEST_F(LogMessageSecondaryListenerTest, AServiceThatDoesNotAnswerCostsAboutASecond)
{
    UdpPeer silent;
    publish(silent.address());
    QElapsedTimer clock;
    clock.start();
    EXPECT_EQ(errorOf({sink}),
              "Log client command execution failure when communicating with the server.");
    EXPECT_GE(clock.elapsed(), 950);
    EXPECT_LT(clock.elapsed(), 5000);
    EXPECT_EQ(sink.use_count(), 1);
}

TEST_F(LogMessageSecondaryListenerTest, AServiceThatIsGoneDoesNotPreventTheEnd)
{
    auto service = std::make_unique<FakeService>();
    publish(service->boundAddress());
    auto listener = std::make_unique<LogMessageSecondaryListener>(SinkList{sink}, false);
    service.reset();
    publisher.withdraw();
    QElapsedTimer clock;
    clock.start();
    listener.reset();
    EXPECT_LT(clock.elapsed(), 5000);
    EXPECT_EQ(sink.use_count(), 1);
}

TEST_F(LogMessageSecondaryListenerTest, AServiceThatRefusesTheEndDoesNotPreventIt)
{
    FakeService service;
    publish(service.boundAddress());
    auto listener = std::make_unique<LogMessageSecondaryListener>(SinkList{sink}, false);
    service.refuse();
    listener.reset();
    EXPECT_EQ(service.requests().size(), 2U);
    EXPECT_EQ(sink.use_count(), 1);
}

TEST_F(LogMessageSecondaryListenerTest, ComesAndGoes50TimesWhileMessagesFlow)
{
    ListenerUnderTest service({}, true);
    publish(service.boundAddress());
    LogClient application(service.boundAddress());
    for (int i = 0; i < 50; ++i) {
        const std::size_t before = sink->received().size();
        const LogMessageSecondaryListener listener({sink}, i % 2 == 0);
        for (int j = 0; j < 20; ++j)
            application.forward(TestContainer().text(1, "flowing").view());
        application.deliver(TestContainer().view());
        ASSERT_TRUE(waitFor([&] { return sink->received().size() > before; }));
    }
    EXPECT_EQ(service.sinkCount(), 0U);
    EXPECT_EQ(sink.use_count(), 1);
}

} // namespace
} // namespace zuLogging::test
