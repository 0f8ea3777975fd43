// What a viewer gets that subscribes with a replay and then asks for the same once more.

#include "logging/LogClient.h"
#include "logging/LogMessageSinkRecorder.h"
#include "logging/ServiceStatus.h"
#include "logging/SocketAddressText.h"
#include "platform/Trace.h"
#include "tests/service/RawPeer.h"
#include "tests/service/RunningService.h"
#include "tests/support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <memory>
#include <mutex>

namespace zuLogging {
namespace {

using namespace std::chrono_literals;
using test::RawPeer;

class LogServiceReplay : public ::testing::Test
{
protected:
    LogServiceReplay()
    {
        previous_ = platform::setTraceHandler([](std::string_view) {});
    }
    ~LogServiceReplay() override { platform::setTraceHandler(previous_); }

    /// A service that has recorded so many messages.
    void start(std::uint64_t records)
    {
        auto recorder = std::make_shared<LogMessageSinkRecorder>(records, 1);
        for (std::uint64_t i = 1; i <= records; ++i) {
            const auto bytes = test::sampleContainer(i);
            LogMessageContainerView container;
            container.data = bytes.data();
            container.length = bytes.size();
            recorder->consume(container);
        }
        service_ = std::make_unique<test::RunningService>(
            SinkList{std::move(recorder)}, std::string(), [this] {
                const std::lock_guard<std::mutex> lock(clockMutex_);
                return now_;
            });
    }
    /// The service's clock stands still until it is set.
    void setClock(std::chrono::steady_clock::time_point now)
    {
        const std::lock_guard<std::mutex> lock(clockMutex_);
        now_ = now;
    }

    std::uint16_t ask(std::uint16_t command, const std::string& payload)
    {
        const auto header = peer_.ask(service_->address(), magicLogMessage, command, payload);
        return header ? header->status : 0xFFFF;
    }
    std::uint16_t subscribeWithReplay(const std::string& address) { return ask(292, address); }
    std::uint16_t replay(const std::string& address)
    {
        const ReplayRequest request = ReplayRequest::everything();
        return ask(291, std::string(request.bytes.begin(), request.bytes.end()) + address);
    }
    std::uint64_t replaysUnderWay()
    {
        const ServiceStatus status = ServiceStatus::fromJson(
            LogClient(service_->address()).download(LogClientCommand::GetServiceStatus));
        return status.recorders.at(0).replays;
    }
    bool replaysEnd()
    {
        return test::waitFor([this] { return replaysUnderWay() == 0; }, 30000);
    }
    /// How many datagrams have come.
    static int received(RawPeer& viewer)
    {
        int count = 0;
        while (viewer.receive(0ms))
            ++count;
        return count;
    }

    std::mutex clockMutex_;
    std::chrono::steady_clock::time_point now_ = std::chrono::steady_clock::now();
    platform::TraceHandler previous_;
    std::unique_ptr<test::RunningService> service_;
    RawPeer peer_;
    RawPeer viewer_;
};

TEST_F(LogServiceReplay, WhatASubscriptionReplaysIsNotRepeatedOnRequestWithinTwoSeconds)
{
    start(50);
    ASSERT_EQ(subscribeWithReplay(viewer_.addressText()), 0);
    EXPECT_EQ(replay(viewer_.addressText()), 0);
    ASSERT_TRUE(replaysEnd());
    EXPECT_EQ(replay(viewer_.addressText()), 0);
    ASSERT_TRUE(replaysEnd());
    EXPECT_EQ(received(viewer_), 50);

    // The end lies before the present, so this is two seconds after it at least.
    setClock(std::chrono::steady_clock::now() + 2s);
    EXPECT_EQ(replay(viewer_.addressText()), 0);
    ASSERT_TRUE(replaysEnd());
    EXPECT_EQ(received(viewer_), 50);
}

TEST_F(LogServiceReplay, NorWhileThatReplayIsUnderWay)
{
    start(4000);
    // Later than two seconds after any end.
    setClock(std::chrono::steady_clock::now() + 1h);
    ASSERT_EQ(subscribeWithReplay(viewer_.addressText()), 0);
    EXPECT_EQ(replay(viewer_.addressText()), 0);
    EXPECT_GE(replaysUnderWay(), 1U) << "its pauses alone take two seconds";
    int count = 0;
    while (replaysUnderWay() != 0)
        count += viewer_.receive(1ms) ? 1 + received(viewer_) : 0;
    EXPECT_EQ(count + received(viewer_), 4000);
}

TEST_F(LogServiceReplay, OtherAddressesGetTheirs)
{
    start(50);
    RawPeer other;
    ASSERT_EQ(subscribeWithReplay(viewer_.addressText()), 0);
    EXPECT_EQ(replay(other.addressText()), 0);
    ASSERT_TRUE(replaysEnd());
    EXPECT_EQ(received(viewer_), 50);
    EXPECT_EQ(received(other), 50);
}

TEST_F(LogServiceReplay, RequestsAndSubscriptionsAreRepeatedAsOftenAsTheyCome)
{
    start(50);
    EXPECT_EQ(replay(viewer_.addressText()), 0);
    EXPECT_EQ(replay(viewer_.addressText()), 0);
    ASSERT_TRUE(replaysEnd());
    EXPECT_EQ(received(viewer_), 100);
    RawPeer other;
    EXPECT_EQ(subscribeWithReplay(other.addressText()), 0);
    EXPECT_EQ(subscribeWithReplay(other.addressText()), 0);
    ASSERT_TRUE(replaysEnd());
    EXPECT_EQ(received(other), 100);
}

TEST_F(LogServiceReplay, ASubscriptionWithoutReplayKeepsNothingBack)
{
    start(50);
    EXPECT_EQ(ask(289, test::sinkPayload(4, viewer_.addressText())), 0);
    EXPECT_EQ(replay(viewer_.addressText()), 0);
    ASSERT_TRUE(replaysEnd());
    EXPECT_EQ(received(viewer_), 50);
}

TEST_F(LogServiceReplay, RequestsThatAreWrongAreRefusedAsEver)
{
    start(5);
    ASSERT_EQ(subscribeWithReplay(viewer_.addressText()), 0);
    EXPECT_EQ(replay("no address"), 3);
    EXPECT_EQ(replay(""), 3);
    EXPECT_EQ(subscribeWithReplay("no address"), 3);
    EXPECT_EQ(replay(socketAddressText(service_->address())), 3);
    EXPECT_EQ(ask(291, "short"), 3);
}

TEST_F(LogServiceReplay, EightRunAtOnceAndOneThatWasRefusedKeepsNothingBack)
{
    start(3000);
    RawPeer crowd;
    for (int i = 0; i < 8; ++i)
        ASSERT_EQ(replay(crowd.addressText()), 0);
    EXPECT_EQ(replaysUnderWay(), 8U);
    EXPECT_EQ(replay(crowd.addressText()), 3);
    EXPECT_EQ(subscribeWithReplay(viewer_.addressText()), 3);
    while (replaysUnderWay() != 0)
        received(crowd);
    EXPECT_EQ(received(viewer_), 0);
    EXPECT_EQ(replay(viewer_.addressText()), 0);
    int count = 0;
    while (replaysUnderWay() != 0)
        count += viewer_.receive(1ms) ? 1 + received(viewer_) : 0;
    EXPECT_EQ(count + received(viewer_), 3000);
}

} // namespace
} // namespace zuLogging
