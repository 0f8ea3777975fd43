#include "logging/LogClient.h"
#include "logging/LogMessageContainerBuilder.h"
#include "logging/LogMessageSinkFile.h"
#include "logging/LogMessageSinkForwarder.h"
#include "logging/LogMessageSinkRecorder.h"
#include "logging/LogMessageSinkTrace.h"
#include "logging/ServiceStatus.h"
#include "logging/SocketAddressText.h"
#include "platform/Desktop.h"
#include "platform/Process.h"
#include "platform/Trace.h"
#include "tests/service/RawPeer.h"
#include "tests/service/RunningService.h"
#include "tests/service/Subscriber.h"
#include "tests/support/RecordingSink.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/UdpPeer.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <memory>
#include <mutex>

namespace zuLogging {
namespace {

using namespace std::chrono_literals;
using test::RawPeer;
using test::UdpPeer;

class LogServiceStatus : public ::testing::Test
{
protected:
    LogServiceStatus()
    {
        previous_ = platform::setTraceHandler([](std::string_view) {});
    }
    ~LogServiceStatus() override
    {
        service_.reset();
        platform::setTraceHandler(previous_);
    }

    void start(SinkList sinks = {})
    {
        service_ = std::make_unique<test::RunningService>(std::move(sinks), std::string(), [this] {
            const std::lock_guard<std::mutex> lock(clockMutex_);
            return now_;
        });
    }
    ServiceStatus status() const
    {
        return ServiceStatus::fromJson(
            LogClient(service_->address()).download(LogClientCommand::GetServiceStatus));
    }
    std::uint16_t ask(std::uint16_t command, std::string_view payload)
    {
        const auto header = peer_.ask(service_->address(), magicLogMessage, command, payload);
        return header ? header->status : 0xFFFF;
    }
    std::uint16_t deliver(const std::string& module = "M", bool secondary = false)
    {
        LogMessageContainerBuilder builder;
        builder.module = module;
        builder.logMessage = "x";
        builder.logLevel = 8;
        builder.secondary = secondary;
        const auto bytes = builder.build();
        return ask(secondary ? 258 : 257,
                   {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    }
    /// Reports keys as a recorder does.
    void report(const std::vector<std::uint64_t>& keys)
    {
        std::vector<std::uint8_t> payload(maximumPayload);
        storeU32(payload.data(), static_cast<std::uint32_t>(keys.size()));
        for (std::size_t i = 0; i < keys.size(); ++i)
            storeU64(payload.data() + 4 + 8 * i, keys[i]);
        peer_.send(
            makeRequest(magicLogClient, 53, payload.data(), payload.size(), flagNoAcknowledge),
            service_->address());
    }

    std::mutex clockMutex_;
    std::chrono::steady_clock::time_point now_{100h};
    platform::TraceHandler previous_;
    std::unique_ptr<test::RunningService> service_;
    RawPeer peer_;
};

TEST_F(LogServiceStatus, OfAServiceThatHasJustStarted)
{
    start();
    const ServiceStatus status = this->status();
    EXPECT_EQ(status.version, platform::productVersion());
    EXPECT_EQ(status.processId, static_cast<std::uint64_t>(QCoreApplication::applicationPid()));
    EXPECT_EQ(status.uptime, 0U);
    EXPECT_EQ(status.taken, 0U);
    EXPECT_EQ(status.dropped, 0U);
    EXPECT_EQ(status.forwarded, 0U);
    EXPECT_TRUE(status.sinks.empty());
    EXPECT_TRUE(status.recorders.empty());
    EXPECT_TRUE(status.counterSetKeys.empty());
}

TEST_F(LogServiceStatus, TheUptimeIsThatOfTheServicesClockInMilliseconds)
{
    start();
    {
        const std::lock_guard<std::mutex> lock(clockMutex_);
        now_ += 49h + 123456us;
    }
    EXPECT_EQ(status().uptime, 49U * 3600000 + 123);
}

TEST_F(LogServiceStatus, CountsWhatWasTakenAndWhatTheConfigurationDropped)
{
    const auto sink = std::make_shared<test::CollectingSink>();
    start({sink});
    const std::string errForX = R"({"parameters":{"level":"debug"},"specializations":[
        {"attributes":[{"id":"module","value":"X"}],"parameters":{"level":"err"}}]})";
    LogClient(service_->address()).upload(errForX.data(), errForX.size());
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(deliver("Y"), 0);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(deliver("X"), 0);
    EXPECT_EQ(ask(257, "no container"), 3);
    const ServiceStatus status = this->status();
    EXPECT_EQ(status.taken, 8U);
    EXPECT_EQ(status.dropped, 3U);
    EXPECT_EQ(sink->count(), 5U);
    EXPECT_TRUE(status.sinks.empty()) << "a sink of no known kind is not listed";
}

TEST_F(LogServiceStatus, CountsWhatForwardersSentAlsoOnceTheyAreGone)
{
    // Nothing can be sent to the broadcast address.
    start({std::make_shared<LogMessageSinkForwarder>("255.255.255.255:9")});
    RawPeer first;
    RawPeer second;
    EXPECT_EQ(ask(289, test::sinkPayload(4, first.addressText())), 0);
    for (int i = 0; i < 3; ++i)
        deliver();
    EXPECT_EQ(ask(289, test::sinkPayload(4, second.addressText())), 0);
    for (int i = 0; i < 4; ++i)
        deliver("M", true);
    ServiceStatus status = this->status();
    ASSERT_EQ(status.sinks.size(), 3U);
    EXPECT_EQ(status.sinks[0].type, "forward");
    EXPECT_EQ(status.sinks[0].argument, "255.255.255.255:9");
    EXPECT_EQ(status.sinks[0].sent, 0U);
    EXPECT_EQ(status.sinks[0].failed, 7U);
    EXPECT_EQ(status.sinks[1].argument, first.addressText());
    EXPECT_EQ(status.sinks[1].sent, 7U);
    EXPECT_EQ(status.sinks[1].failed, 0U);
    EXPECT_EQ(status.sinks[2].sent, 4U);
    EXPECT_EQ(status.forwarded, 11U);

    EXPECT_EQ(ask(290, test::sinkPayload(4, first.addressText())), 0);
    deliver();
    status = this->status();
    EXPECT_EQ(status.sinks.size(), 2U);
    EXPECT_EQ(status.forwarded, 12U);
    // One that comes again begins anew; the whole does not.
    EXPECT_EQ(ask(289, test::sinkPayload(4, first.addressText())), 0);
    deliver();
    status = this->status();
    EXPECT_EQ(status.sinks.at(2).sent, 1U);
    EXPECT_EQ(status.forwarded, 14U);
}

TEST_F(LogServiceStatus, CountsWhatForwardersToNobodySentWhenTheirPlacesWereNeeded)
{
    start();
    std::vector<std::unique_ptr<UdpPeer>> viewers;
    for (int i = 0; i < 64; ++i) {
        viewers.push_back(std::make_unique<UdpPeer>(test::ownLoopbackAddress()));
        const std::string text = socketAddressText(viewers.back()->address());
        ASSERT_EQ(ask(289, test::sinkPayload(4, text)), 0);
    }
    deliver();
    viewers.resize(1);
    const RawPeer another;
    ASSERT_EQ(ask(289, test::sinkPayload(4, another.addressText())), 0);
    const ServiceStatus status = this->status();
    EXPECT_EQ(status.sinks.size(), 2U);
    EXPECT_EQ(status.forwarded, 64U);
}

TEST_F(LogServiceStatus, ListsSinksAndRecordersInTheirOrder)
{
    start({std::make_shared<LogMessageSinkRecorder>(10, 5), std::make_shared<LogMessageSinkTrace>(),
           std::make_shared<LogMessageSinkFile>("status-test.log")});
    for (int i = 0; i < 12; ++i)
        deliver();
    deliver("M", true);
    EXPECT_EQ(ask(289, test::sinkPayload(4, peer_.addressText())), 0);
    const ServiceStatus status = this->status();
    ASSERT_EQ(status.sinks.size(), 3U);
    EXPECT_EQ(status.sinks[0].type, "trace");
    EXPECT_EQ(status.sinks[0].argument, "");
    EXPECT_EQ(status.sinks[1].type, "file");
    EXPECT_EQ(status.sinks[1].argument,
              test::TestEnvironment::instance().dataDirectory().toStdString() +
                  "/log/status-test.log");
    EXPECT_EQ(status.sinks[2].type, "forward");
    ASSERT_EQ(status.recorders.size(), 1U);
    EXPECT_EQ(status.recorders[0].used, 10U);
    EXPECT_EQ(status.recorders[0].capacity, 10U);
    EXPECT_EQ(status.recorders[0].secondaryUsed, 1U);
    EXPECT_EQ(status.recorders[0].secondaryCapacity, 5U);
    EXPECT_EQ(status.recorders[0].replays, 0U);
}

TEST_F(LogServiceStatus, ShowsTheKeysThatWereReported)
{
    start();
    report({9, 3});
    report({});
    report({0xFFFFFFFFFFFFFFFF, 3, 0});
    EXPECT_EQ(status().counterSetKeys, (std::vector<std::uint64_t>{0, 3, 9, 0xFFFFFFFFFFFFFFFF}));
    EXPECT_FALSE(peer_.receive(0ms)) << "no answer was wanted";
}

TEST_F(LogServiceStatus, KeepsNoMoreKeysThanItHasRoomForAndShowsThemAll)
{
    start();
    std::uint64_t next = 0;
    while (next < 66000) {
        std::vector<std::uint64_t> keys;
        for (int i = 0; i < 173; ++i)
            keys.push_back(next++);
        report(keys);
        // So that none of it is lost in the socket's buffer.
        ASSERT_EQ(ask(273, {}), 0);
    }
    const ServiceStatus status = this->status();
    EXPECT_EQ(status.counterSetKeys.size(), 65536U);
    EXPECT_EQ(status.counterSetKeys.back(), 65535U);
}

TEST_F(LogServiceStatus, AnArgumentThatIsNoTextDoesNotSpoilIt)
{
    start();
    EXPECT_EQ(ask(289, test::sinkPayload(3, "caf\xE9.log")), 0);
    EXPECT_EQ(ask(289, test::sinkPayload(3, "caf\xC3\xA9 \"x\".log")), 0);
    const ServiceStatus status = this->status();
    ASSERT_EQ(status.sinks.size(), 2U);
    EXPECT_NE(status.sinks[0].argument.find("caf\xEF\xBF\xBD.log"), std::string::npos);
    EXPECT_NE(status.sinks[1].argument.find("caf\xC3\xA9 \"x\".log"), std::string::npos);
    // Nobody else would find a file of that name.
    service_.reset();
    EXPECT_EQ(std::remove((test::TestEnvironment::instance().dataDirectory().toStdString() +
                           "/log/caf\xE9.log")
                              .c_str()),
              0);
}

/// A recorder reports the keys it holds to the service that it is in.
TEST_F(LogServiceStatus, ShowsTheKeysOfItsOwnRecorder)
{
    std::atomic<int> minutes{0};
    const auto behind = std::make_shared<test::RecordingSink>();
    start(
        {std::make_shared<LogMessageSinkRecorder>(10, 10, 0,
                                                  [&minutes] {
                                                      return std::chrono::system_clock::time_point(
                                                          std::chrono::minutes(minutes.load()));
                                                  }),
         behind});
    std::vector<std::uint8_t> bytes(containerHeaderSize + containerItemHeaderSize + counterSetSize);
    storeU16(bytes.data() + containerSizeOffset, static_cast<std::uint16_t>(bytes.size()));
    bytes[containerFlagsOffset] = containerFlagSecondary;
    storeU16(bytes.data() + containerHeaderSize, static_cast<std::uint16_t>(counterSetSize));
    bytes[containerHeaderSize + 2] = 7;
    storeU64(bytes.data() + containerHeaderSize + containerItemHeaderSize, 4711);
    ASSERT_EQ(ask(258, {reinterpret_cast<const char*>(bytes.data()), bytes.size()}), 0);
    EXPECT_TRUE(status().counterSetKeys.empty());
    minutes.store(9);
    const int idles = behind->idles();
    ASSERT_TRUE(test::waitFor([&] { return behind->idles() > idles; }, 20000));
    EXPECT_EQ(status().counterSetKeys, std::vector<std::uint64_t>{4711});
}

} // namespace
} // namespace zuLogging
