// What the service counts, on the one socket that both protocols share.

#include "logging/LogClient.h"
#include "logging/LogMessageSinkForwarder.h"
#include "logging/LogSvcError.h"
#include "logging/ServiceStatus.h"
#include "platform/Trace.h"
#include "tests/service/RawPeer.h"
#include "tests/service/RunningService.h"
#include "tests/service/Subscriber.h"
#include "tests/support/Balance.h"
#include "tests/support/Flood.h"
#include "tests/support/TestEnvironment.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>

namespace zuLogging {
namespace {

using test::balances;
using test::RawPeer;

class LogServiceLedger : public ::testing::Test
{
protected:
    LogServiceLedger()
    {
        previous_ = platform::setTraceHandler([](std::string_view) {});
    }
    ~LogServiceLedger() override
    {
        service_.reset();
        platform::setTraceHandler(previous_);
    }

    void start(SinkList sinks = {}, const std::string& folder = {})
    {
        service_ = std::make_unique<test::RunningService>(
            std::move(sinks), folder,
            [this] { return std::chrono::steady_clock::now() + clockAhead_.load(); }, ledger_);
    }
    ServiceStatus status() const
    {
        return ServiceStatus::fromJson(
            LogClient(service_->address()).download(LogClientCommand::GetServiceStatus));
    }
    /// What has been counted once this has been answered.
    LogCounts countsOf(std::uint16_t magic, std::uint16_t command, std::string_view payload = {},
                       std::uint16_t flags = 0)
    {
        const Packet request = makeRequest(magic, command, payload.data(), payload.size(), flags);
        return countsOf(test::bytesOf(request));
    }
    LogCounts countsOf(const std::vector<std::uint8_t>& bytes, bool isAnswered = true)
    {
        const LogCounts before = ledger_->counts();
        if (isAnswered)
            EXPECT_TRUE(peer_.ask(service_->address(), bytes).has_value());
        else
            peer_.send(bytes, service_->address());
        LogCounts counts;
        EXPECT_TRUE(test::waitFor([&] {
            counts = ledger_->counts().since(before);
            return counts[LogCount::Received] == 1 && balances(counts);
        }));
        return counts;
    }
    void expectClientCommand(LogCount which, LogClientCommand command,
                             std::string_view payload = {})
    {
        EXPECT_EQ(countsOf(magicLogClient, static_cast<std::uint16_t>(command), payload)[which], 1U)
            << static_cast<int>(command);
    }

    platform::TraceHandler previous_;
    std::atomic<std::chrono::minutes> clockAhead_{std::chrono::minutes(0)};
    std::shared_ptr<LogLedger> ledger_ = std::make_shared<LogLedger>();
    std::unique_ptr<test::RunningService> service_;
    RawPeer peer_;
};

TEST_F(LogServiceLedger, CommandsOfTheOtherProtocolAreCountedAsThoseOfItsOwn)
{
    start();
    expectClientCommand(LogCount::Requests, LogClientCommand::GetConfiguration);
    expectClientCommand(LogCount::Requests, LogClientCommand::GetModules);
    expectClientCommand(LogCount::Requests, LogClientCommand::GetServiceStatus);
    expectClientCommand(LogCount::Requests, LogClientCommand::CreateBuffer,
                        std::string_view("\x10\0\0\0", 4));
    expectClientCommand(LogCount::Requests, LogClientCommand::ReportCounterSetKeys,
                        std::string(maximumPayload, '\0'));
    // Known, and not to be carried out, with either status.
    expectClientCommand(LogCount::RefusedRequest, LogClientCommand::ReleaseBuffer, "12345678");
    expectClientCommand(LogCount::RefusedRequest, LogClientCommand::ReleaseBuffer, "1234567");
    expectClientCommand(LogCount::RefusedRequest, LogClientCommand::SetConfiguration, "12345678");
    expectClientCommand(LogCount::RefusedRequest, LogClientCommand::ReportCounterSetKeys);
    expectClientCommand(LogCount::RefusedCommand, static_cast<LogClientCommand>(16));
    expectClientCommand(LogCount::RefusedCommand, static_cast<LogClientCommand>(0x8011));
    EXPECT_EQ(countsOf(magicLogClient, 33, {}, 2)[LogCount::RefusedFlags], 1U);

    std::vector<std::uint8_t> bytes = test::bytesOf(makeRequest(magicLogClient, 33, nullptr, 0));
    bytes.resize(20);
    EXPECT_EQ(countsOf(bytes)[LogCount::RefusedLength], 1U);
    storeU16(bytes.data() + 10, 1389);
    EXPECT_EQ(countsOf(bytes, false)[LogCount::RefusedLength], 1U);
    storeU16(bytes.data(), 0x1234);
    EXPECT_EQ(countsOf(bytes, false)[LogCount::RefusedMagic], 1U);
    bytes.resize(5);
    EXPECT_EQ(countsOf(bytes, false)[LogCount::RefusedSize], 1U);
}

TEST_F(LogServiceLedger, ANewConfigurationIsARequestAlsoWhenItIsRefusedInTheEnd)
{
    start();
    LogClient client(service_->address());
    const std::string broken = "no JSON";
    EXPECT_THROW(client.upload(broken.data(), broken.size()), LogSvcError);
    const std::string good = "{}";
    client.upload(good.data(), good.size());
    // Each: create, write, take; the good one is released as well.
    EXPECT_TRUE(test::waitFor([&] { return ledger_->count(LogCount::Requests) == 7; }));
    EXPECT_EQ(ledger_->counts().refused(), 0U);
    EXPECT_TRUE(balances(ledger_->counts()));
}

TEST_F(LogServiceLedger, TheStatusTellsTheLedgerAndItsSumsBalanceWithoutTheRequestThatAsks)
{
    // Nothing can be sent to the broadcast address.
    start({std::make_shared<LogMessageSinkForwarder>("255.255.255.255:9")});
    const auto send = [&](std::uint64_t number) {
        auto bytes = test::sampleContainer(1);
        storeU64(bytes.data() + containerSenderMsgIdOffset, number);
        return countsOf(magicLogMessage, 257,
                        {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    };
    send(1);
    send(4);
    send(4);
    countsOf(magicLogMessage, 257, "no container");
    countsOf(magicLogMessage, 99);
    const ServiceStatus status = this->status();
    ASSERT_TRUE(status.ledger.has_value());
    const LogCounts& counts = *status.ledger;
    EXPECT_TRUE(balances(counts));
    EXPECT_EQ(counts[LogCount::Received], 5U);
    EXPECT_EQ(counts[LogCount::Messages], 3U);
    EXPECT_EQ(counts[LogCount::RefusedContainer], 1U);
    EXPECT_EQ(counts[LogCount::RefusedCommand], 1U);
    EXPECT_EQ(counts[LogCount::MissingNumbers], 2U);
    EXPECT_EQ(counts[LogCount::RepeatedNumbers], 1U);
    EXPECT_EQ(counts[LogCount::SinkFailed], 3U);
    EXPECT_EQ(counts[LogCount::LostInSocket], 0U);
    EXPECT_EQ(status.taken, 3U);
    EXPECT_EQ(status.limits.sinks, 64U);
    EXPECT_EQ(status.limits.replays, 8U);
    EXPECT_EQ(status.limits.transfers, 64U);
    EXPECT_EQ(status.transfers, 0U);
    EXPECT_EQ(this->status().transfers, 0U) << "the first one's was released";
}

TEST_F(LogServiceLedger, MessagesThatTheConfigurationDropsAreUnwanted)
{
    start();
    const std::string nothing = R"({"parameters":{"level":"none"}})";
    LogClient(service_->address()).upload(nothing.data(), nothing.size());
    const auto bytes = test::sampleContainer(1);
    const LogCounts counts =
        countsOf(magicLogMessage, 257, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    EXPECT_EQ(counts[LogCount::Messages], 1U);
    EXPECT_EQ(counts[LogCount::Unwanted], 1U);
}

TEST_F(LogServiceLedger, AForwarderToTheServiceItselfIsRefused)
{
    start();
    const std::string own = socketAddressText(service_->address());
    EXPECT_EQ(countsOf(magicLogMessage, 289, test::sinkPayload(4, own))[LogCount::RefusedRequest],
              1U);
    EXPECT_EQ(countsOf(magicLogMessage, 292, own)[LogCount::RefusedRequest], 1U);
    EXPECT_TRUE(status().sinks.empty());
}

TEST_F(LogServiceLedger, AfterAFloodOfMixedDatagramsTheSumsBalance)
{
    const QTemporaryDir folder;
    const auto keeper = std::make_shared<test::CountingSink>();
    start({keeper}, folder.path().toStdString());
    const std::size_t memoryBefore = test::residentBytes();
    const test::FloodSent sent = test::flood(service_->address(), 200000, 11);
    // The flood has made transfer buffers, as many as there may be, which are let go in time.
    clockAhead_.store(std::chrono::minutes(2));
    const ServiceStatus after = status();
    EXPECT_TRUE(balances(*after.ledger));
    EXPECT_TRUE(after.sinks.empty());
    EXPECT_LE(after.transfers, after.limits.transfers);
    EXPECT_LT(test::residentBytes(), memoryBefore + test::floodMemoryLimit);
    service_.reset();

    const LogCounts counts = ledger_->counts();
    EXPECT_TRUE(balances(counts));
    // Behind the flood came the status: asked for, read in some pieces and released.
    const std::uint64_t all = counts[LogCount::Received] + counts[LogCount::LostInSocket];
    EXPECT_GE(all, sent.all + 3);
    EXPECT_LE(all, sent.all + 20);
    EXPECT_EQ(counts[LogCount::Messages] - counts[LogCount::Unwanted], keeper->count());
    EXPECT_EQ(counts[LogCount::Messages], counts[LogCount::Unwanted] + keeper->count());
    EXPECT_GT(keeper->count(), 0U);
    EXPECT_LE(counts[LogCount::Messages], sent.mayBeMessages);
}

} // namespace
} // namespace zuLogging
