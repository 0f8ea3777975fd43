// What the server counts: every datagram once, and those that the system threw away.

#include "logging/LogProtoServer.h"

#include "logging/LogSvcError.h"
#include "tests/support/Balance.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/TraceCapture.h"
#include "tests/support/UdpPeer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <future>
#include <memory>
#include <new>
#include <stdexcept>

namespace zuLogging::test {
namespace {

/// Does with each command what a test wants; 273 is answered with success.
class CountingServer final : public LogProtoServer<LogMsgProtocol>
{
public:
    using Action = std::function<void(CountingServer&, const Packet&, Packet&)>;

    explicit CountingServer(std::shared_ptr<LogLedger> ledger, Action action = {})
        : LogProtoServer<LogMsgProtocol>(std::move(ledger))
        , action_(std::move(action))
    {
        start();
    }
    ~CountingServer() override { stop(); }

    using LogProtoServer<LogMsgProtocol>::answerLater;
    using LogProtoServer<LogMsgProtocol>::countAs;

protected:
    void process(const Packet& request, std::size_t, Packet& acknowledge) override
    {
        acknowledge.setHeader(acknowledgeOf(request.header(), PacketStatus::Success));
        if (action_ && request.header().command != 273)
            action_(*this, request, acknowledge);
    }
    bool processForeign(const Packet& request, std::size_t length, Packet& acknowledge) override
    {
        if (request.header().magic != magicLogClient)
            return LogProtoServer<LogMsgProtocol>::processForeign(request, length, acknowledge);
        process(request, length, acknowledge);
        return true;
    }
    void idle() override {}

private:
    const Action action_;
};

class LogProtoServerLedger : public ::testing::Test
{
protected:
    void start(CountingServer::Action action = {})
    {
        server = std::make_unique<CountingServer>(ledger, std::move(action));
    }
    /// What has been counted for these bytes.
    LogCounts countsOf(const Bytes& bytes)
    {
        const LogCounts before = ledger->counts();
        peer.send(bytes, server->boundAddress());
        EXPECT_TRUE(peer.isAnswered(server->boundAddress()));
        // The answer to what followed may come before that is counted, not before the first.
        LogCounts counts = ledger->counts().since(before);
        EXPECT_TRUE(waitFor([&] {
            counts = ledger->counts().since(before);
            return counts[LogCount::Received] == 2;
        }));
        EXPECT_TRUE(waitFor([&] { return balances(counts = ledger->counts().since(before)); }));
        --counts[LogCount::Received];
        --counts[LogCount::Requests];
        return counts;
    }
    void expectOne(LogCount which, const Bytes& bytes)
    {
        const LogCounts counts = countsOf(bytes);
        EXPECT_EQ(counts[which], 1U);
        EXPECT_EQ(counts[LogCount::Received], 1U);
        EXPECT_TRUE(balances(counts));
    }
    static Bytes request(std::uint16_t command = 257, std::uint16_t flags = 0,
                         std::uint16_t magic = magicLogMessage)
    {
        return datagram({magic, flags, command, 0, 1, 0}, 12);
    }

    TraceCapture trace;
    std::shared_ptr<LogLedger> ledger = std::make_shared<LogLedger>();
    UdpPeer peer;
    std::unique_ptr<CountingServer> server;
};

TEST_F(LogProtoServerLedger, EachRefusalIsCountedByItsReason)
{
    start();
    expectOne(LogCount::RefusedSize, Bytes());
    expectOne(LogCount::RefusedSize, datagram({magicLogMessage, 0, 257, 0, 1, 0}, 11));
    expectOne(LogCount::RefusedSize, datagram({magicLogMessage, 0, 257, 0, 1, 1388}, 1401));
    expectOne(LogCount::RefusedMagic, request(257, 0, 0x1234));
    expectOne(LogCount::RefusedLength, datagram({magicLogMessage, 0, 257, 0, 1, 10}, 24));
    expectOne(LogCount::RefusedLength, datagram({magicLogMessage, 0, 257, 0, 1, 1389}, 1400));
    expectOne(LogCount::RefusedLength, datagram({magicLogMessage, 2, 257, 0, 1, 10}, 12));
    expectOne(LogCount::RefusedFlags, request(257, 2));
    expectOne(LogCount::RefusedFlags, request(0x8101, 1));
    expectOne(LogCount::Requests, request(257));
    expectOne(LogCount::Requests, request(257, flagNoAcknowledge));
}

TEST_F(LogProtoServerLedger, WhatAHandlerDoesNotSayItsAnswerTells)
{
    start([](CountingServer& self, const Packet& request, Packet& acknowledge) {
        const PacketHeader header = request.header();
        switch (header.command) {
        case 1:
            acknowledge.setHeader(acknowledgeOf(header, PacketStatus::BadPacket));
            break;
        case 2:
            acknowledge.setHeader(acknowledgeOf(header, PacketStatus::Failed));
            break;
        case 3:
            acknowledge.setHeader(acknowledgeOf(header, PacketStatus::UnsupportedFlags));
            break;
        case 4:
            acknowledge.setHeader(acknowledgeOf(header, static_cast<PacketStatus>(77)));
            break;
        case 5:
            acknowledge.setHeader(acknowledgeOf(header, PacketStatus::BadPacket));
            self.answerLater();
            break;
        default:
            break;
        }
    });
    for (const std::uint16_t magic : {magicLogMessage, magicLogClient}) {
        expectOne(LogCount::Requests, request(0, 0, magic));
        expectOne(LogCount::RefusedCommand, request(1, 0, magic));
        expectOne(LogCount::RefusedRequest, request(2, 0, magic));
        expectOne(LogCount::RefusedFlags, request(3, 0, magic));
        expectOne(LogCount::RefusedRequest, request(4, 0, magic));
        expectOne(LogCount::Requests, request(5, 0, magic));
    }
}

TEST_F(LogProtoServerLedger, AnExceptionOfAnyKindIsARefusedRequestAndTheThreadGoesOn)
{
    start([](CountingServer&, const Packet& request, Packet&) {
        switch (request.header().command) {
        case 1:
            throw LogSvcError("no");
        case 2:
            throw std::bad_alloc();
        case 3:
            throw 42; // NOLINT: what is no exception class at all
        default:
            throw std::runtime_error("something");
        }
    });
    for (const std::uint16_t magic : {magicLogMessage, magicLogClient})
        for (std::uint16_t command = 1; command <= 4; ++command)
            expectOne(LogCount::RefusedRequest, request(command, 0, magic));
    EXPECT_TRUE(trace.contains("Error while processing log protocol requests (negative ack "
                               "generated): Unknown error"));
    EXPECT_TRUE(trace.contains(
        "Error while processing log protocol requests (process_client_cmd): Unknown error"));
}

TEST_F(LogProtoServerLedger, WhatIsNoExceptionClassIsAnsweredWithStatus3)
{
    start([](CountingServer& self, const Packet&, Packet&) {
        self.answerLater();
        throw 42; // NOLINT
    });
    const auto reply = peer.exchange(request(), server->boundAddress());
    ASSERT_TRUE(reply.has_value());
    EXPECT_EQ(reply->status, 3);
}

TEST_F(LogProtoServerLedger, WhatAHandlerSaysHoldsAlsoWhenAnExceptionFollows)
{
    start([](CountingServer& self, const Packet& request, Packet&) {
        self.countAs(LogCount::RefusedContainer);
        self.countAs(LogCount::Messages);
        if (request.header().command == 1)
            throw LogSvcError("late");
    });
    expectOne(LogCount::Messages, request(1));
    expectOne(LogCount::Messages, request(2));
    // And no longer than for its own datagram.
    expectOne(LogCount::Requests, request(273));
}

TEST_F(LogProtoServerLedger, AnAnswerThatCannotBeSentChangesNothing)
{
    start([](CountingServer&, const Packet& request, Packet& acknowledge) {
        PacketHeader header = acknowledgeOf(request.header(), PacketStatus::Success);
        header.payloadLength = 1389;
        acknowledge.setHeader(header);
    });
    expectOne(LogCount::Requests, request());
}

TEST_F(LogProtoServerLedger, ServersMayShareALedgerAndHaveOneOfTheirOwnOtherwise)
{
    start();
    const CountingServer other(ledger);
    const CountingServer apart(nullptr);
    for (const SocketAddress& to :
         {server->boundAddress(), other.boundAddress(), apart.boundAddress()})
        ASSERT_TRUE(peer.nextAnswerIsToPing(to));
    EXPECT_TRUE(waitFor([&] { return ledger->count(LogCount::Requests) == 2; }));
    EXPECT_EQ(ledger->count(LogCount::Received), 2U);
}

/// Holds the thread up in the handling of the first datagram.
class HeldUpServer : public LogProtoServerLedger
{
protected:
    void holdUp()
    {
        start([this](CountingServer&, const Packet&, Packet&) {
            if (!isFirst_.exchange(false))
                return;
            entered_.set_value();
            mayLeave_.get_future().wait_for(std::chrono::seconds(30));
        });
        peer.send(request(1, flagNoAcknowledge), server->boundAddress());
        ASSERT_EQ(entered_.get_future().wait_for(std::chrono::seconds(10)),
                  std::future_status::ready);
    }
    void letGo() { mayLeave_.set_value(); }

    std::atomic<bool> isFirst_{true};
    std::promise<void> entered_;
    std::promise<void> mayLeave_;
};

TEST_F(HeldUpServer, WhatIsSentIsReceivedOrLostInTheSocketToTheLastDatagram)
{
    holdUp();
    std::uint64_t sent = 1;
    for (std::size_t length = 12; length < 1400; ++length) {
        PacketHeader header{magicLogMessage, flagNoAcknowledge, 1, 0, 1, 0};
        header.payloadLength = static_cast<std::uint16_t>(length - 12);
        peer.send(datagram(header, length), server->boundAddress());
        ++sent;
    }
    EXPECT_EQ(ledger->count(LogCount::Received), 0U);
    letGo();
    server->stop();
    const LogCounts counts = ledger->counts();
    EXPECT_GT(counts[LogCount::LostInSocket], 500U);
    EXPECT_GT(counts[LogCount::Received], 50U);
    EXPECT_EQ(counts[LogCount::Received] + counts[LogCount::LostInSocket], sent);
    EXPECT_TRUE(balances(counts));
}

TEST_F(HeldUpServer, ALossIsKnownWithoutAStopOnceTheLineIsQuiet)
{
    holdUp();
    std::uint64_t sent = 1;
    for (; sent < 3000; ++sent)
        peer.send(request(1, flagNoAcknowledge), server->boundAddress());
    letGo();
    EXPECT_TRUE(waitFor([&] {
        return ledger->count(LogCount::Received) + ledger->count(LogCount::LostInSocket) == sent;
    }));
    EXPECT_GT(ledger->count(LogCount::LostInSocket), 1000U);
    // And only once.
    server->stop();
    EXPECT_EQ(ledger->count(LogCount::Received) + ledger->count(LogCount::LostInSocket), sent);
}

} // namespace
} // namespace zuLogging::test
