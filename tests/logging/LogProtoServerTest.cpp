#include "logging/LogProtoServer.h"

#include "logging/LogSvcError.h"
#include "logging/ScopeCleaner.h"
#include "platform/Process.h"
#include "platform/ThreadPriority.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/TraceCapture.h"
#include "tests/support/UdpPeer.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>

#include <gtest/gtest.h>

#include <sys/resource.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <mutex>
#include <new>
#include <random>
#include <stdexcept>
#include <thread>

namespace zuLogging::test {
namespace {

constexpr char malformed[] = "Error while processing log protocol requests (process_client_cmd): "
                             "Received malformed input packet";

/// Keeps the requests, answers each with success unless told otherwise.
class Server final : public LogProtoServer<LogMsgProtocol>
{
public:
    Server() { start(); }
    ~Server() override { stop(); }

    using LogProtoServer<LogMsgProtocol>::start;

    // To be set before the first request.
    std::function<void(const Packet&, Packet&)> onProcess;
    std::function<bool(const Packet&, std::size_t, Packet&)> onForeign;
    std::function<void()> onIdle;

    std::vector<Bytes> requests() const
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        return requests_;
    }
    /// Moments of the idle calls, in milliseconds since the server was made.
    std::vector<qint64> idles() const
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        return idles_;
    }

    std::mutex& mutex() const { return mutex_; }

protected:
    void process(const Packet& request, std::size_t length, Packet& acknowledge) override
    {
        std::function<void(const Packet&, Packet&)> action;
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            if (request.header().command != 273)
                requests_.emplace_back(request.bytes(), request.bytes() + length);
            action = onProcess;
        }
        acknowledge.setHeader(acknowledgeOf(request.header(), PacketStatus::Success));
        if (action && request.header().command != 273)
            action(request, acknowledge);
    }
    void idle() override
    {
        std::function<void()> action;
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            idles_.push_back(clock_.elapsed());
            action = onIdle;
        }
        if (action)
            action();
    }
    bool processForeign(const Packet& request, std::size_t length, Packet& acknowledge) override
    {
        std::function<bool(const Packet&, std::size_t, Packet&)> action;
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            action = onForeign;
        }
        if (!action)
            return LogProtoServer<LogMsgProtocol>::processForeign(request, length, acknowledge);
        return action(request, length, acknowledge);
    }

private:
    struct Clock : QElapsedTimer
    {
        Clock() { start(); }
    };
    mutable std::mutex mutex_;
    std::vector<Bytes> requests_;
    std::vector<qint64> idles_;
    const Clock clock_;
};

class LogProtoServerTest : public ::testing::Test
{
protected:
    template <class Action>
    void set(Action Server::*member, const Action& action)
    {
        const std::lock_guard<std::mutex> lock(server.mutex());
        server.*member = action;
    }
    void expectRefusedAsMalformed(const Bytes& bytes)
    {
        const std::size_t before = trace.count(malformed);
        peer.send(bytes, to);
        EXPECT_TRUE(peer.nextAnswerIsToPing(to)) << bytes.size() << " bytes";
        EXPECT_EQ(trace.count(malformed), before + 1) << bytes.size() << " bytes";
        EXPECT_TRUE(server.requests().empty());
    }
    static PacketHeader request(std::uint16_t command = 257, std::uint16_t flags = 0)
    {
        return {magicLogMessage, flags, command, 0, 4711, 0};
    }
    static void expectAcknowledge(const std::optional<PacketHeader>& reply, std::uint16_t status,
                                  std::uint16_t command = 257)
    {
        ASSERT_TRUE(reply.has_value());
        EXPECT_EQ(reply->magic, 0xADDA);
        EXPECT_EQ(reply->flags, 0);
        EXPECT_EQ(reply->command, command | 0x8000);
        EXPECT_EQ(reply->status, status);
        EXPECT_EQ(reply->sequence, 4711);
        EXPECT_EQ(reply->payloadLength, 0);
    }

    TraceCapture trace;
    Server server;
    UdpPeer peer;
    const SocketAddress to = server.boundAddress();
};

std::size_t entriesOf(const char* directory)
{
    return static_cast<std::size_t>(QDir(QString::fromLatin1(directory))
                                        .entryList(QDir::AllEntries | QDir::NoDotAndDotDot)
                                        .size());
}

TEST_F(LogProtoServerTest, IsBoundToTheLoopbackOnAPortOfTheSystemsChoice)
{
    EXPECT_EQ(to.address, platform::loopbackAddress);
    EXPECT_NE(to.port, 0);
    const Server other;
    EXPECT_NE(other.boundAddress().port, to.port);
}

TEST_F(LogProtoServerTest, ADatagramOf11BytesIsDroppedWithoutAcknowledgeAndTraced)
{
    expectRefusedAsMalformed(datagram(request(), 11));
}

TEST_F(LogProtoServerTest, ADatagramWithMagic0xACCAIsDroppedWithoutAcknowledgeAndTraced)
{
    PacketHeader header = request();
    header.magic = 0xACCA;
    expectRefusedAsMalformed(datagram(header, 12));
}

TEST_F(LogProtoServerTest, ATraceLineIsTheTextFollowedByASeparateLineEnd)
{
    expectRefusedAsMalformed(datagram(request(), 11));
    EXPECT_EQ(trace.calls(), (std::vector<std::string>{malformed, "\n"}));
}

TEST_F(LogProtoServerTest, AnEmptyDatagramIsMalformed)
{
    expectRefusedAsMalformed(Bytes());
}

TEST_F(LogProtoServerTest, ADatagramOf1401BytesIsMalformedAlsoWhereACutOneWouldBeValid)
{
    PacketHeader header = request();
    header.payloadLength = 1388;
    expectRefusedAsMalformed(datagram(header, 1401));
}

TEST_F(LogProtoServerTest, DatagramsOf9000And65000BytesAreMalformed)
{
    PacketHeader header = request();
    header.payloadLength = 1388;
    expectRefusedAsMalformed(datagram(header, 9000));
    expectRefusedAsMalformed(datagram(header, 65000));
}

TEST_F(LogProtoServerTest, APayloadLengthOf1389IsMalformed)
{
    PacketHeader header = request();
    header.payloadLength = 1389;
    expectRefusedAsMalformed(datagram(header, 1400));
}

TEST_F(LogProtoServerTest, AMalformedDatagramIsNotAnsweredWhateverItsFlagsAre)
{
    PacketHeader header = request(257, 2);
    header.magic = 0x1234;
    expectRefusedAsMalformed(datagram(header, 12));
}

TEST_F(LogProtoServerTest, TheLargestPacketIsProcessed)
{
    Bytes payload(1388);
    for (std::size_t i = 0; i < payload.size(); ++i)
        payload[i] = static_cast<std::uint8_t>(i);
    const Bytes bytes = datagram(request(), payload);
    ASSERT_EQ(bytes.size(), 1400U);
    expectAcknowledge(peer.exchange(bytes, to), 0);
    ASSERT_EQ(server.requests().size(), 1U);
    EXPECT_EQ(server.requests()[0], bytes);
}

TEST_F(LogProtoServerTest, ARequestWithPayloadLength10And24BytesOnTheWireGetsStatus1)
{
    PacketHeader header = request();
    header.payloadLength = 10;
    expectAcknowledge(peer.exchange(datagram(header, 24), to), 1);
    EXPECT_TRUE(trace.contains("Refusing command packet with unexpected size"));
    EXPECT_TRUE(server.requests().empty());
}

TEST_F(LogProtoServerTest, ARequestThatIsShorterThanItsPayloadLengthGetsStatus1)
{
    PacketHeader header = request();
    header.payloadLength = 1388;
    expectAcknowledge(peer.exchange(datagram(header, 12), to), 1);
    EXPECT_TRUE(server.requests().empty());
}

TEST_F(LogProtoServerTest, AWrongSizeIsNotAnsweredWhenNoAcknowledgeIsWanted)
{
    PacketHeader header = request(257, 1);
    header.payloadLength = 10;
    peer.send(datagram(header, 24), to);
    EXPECT_TRUE(peer.nextAnswerIsToPing(to));
    EXPECT_TRUE(trace.contains("Refusing command packet with unexpected size"));
}

TEST_F(LogProtoServerTest, ARequestWithFlags2GetsStatus9)
{
    expectAcknowledge(peer.exchange(datagram(request(257, 2), 12), to), 9);
    EXPECT_TRUE(trace.contains("Refusing command packet containing unsupported flags"));
    EXPECT_TRUE(server.requests().empty());
}

TEST_F(LogProtoServerTest, AWrongSizeCountsBeforeWrongFlags)
{
    expectAcknowledge(peer.exchange(datagram(request(257, 2), 13), to), 1);
}

TEST_F(LogProtoServerTest, ARequestWithFlags1IsProcessedButNotAcknowledged)
{
    peer.send(datagram(request(257, 1), 12), to);
    EXPECT_TRUE(peer.nextAnswerIsToPing(to));
    EXPECT_EQ(server.requests().size(), 1U);
}

TEST_F(LogProtoServerTest, ARequestWithFlags3IsRefusedAndNotAnswered)
{
    peer.send(datagram(request(257, 3), 12), to);
    EXPECT_TRUE(peer.nextAnswerIsToPing(to));
    EXPECT_TRUE(server.requests().empty());
    EXPECT_TRUE(trace.contains("Refusing command packet containing unsupported flags"));
}

TEST_F(LogProtoServerTest, AnAcknowledgeMayCarryNoFlagAtAll)
{
    expectAcknowledge(peer.exchange(datagram(request(0x8101, 2), 12), to), 9);
    peer.send(datagram(request(0x8101, 1), 12), to);
    EXPECT_TRUE(peer.nextAnswerIsToPing(to));
    EXPECT_TRUE(server.requests().empty());
    EXPECT_EQ(trace.count("Refusing command packet containing unsupported flags"), 2U);

    expectAcknowledge(peer.exchange(datagram(request(0x8101, 0), 12), to), 0);
    EXPECT_EQ(server.requests().size(), 1U);
}

TEST_F(LogProtoServerTest, ALogSvcErrorOfProcessBecomesANegativeAcknowledge)
{
    set<std::function<void(const Packet&, Packet&)>>(
        &Server::onProcess, [](const Packet&, Packet&) { throw LogSvcError("no such thing"); });
    expectAcknowledge(peer.exchange(datagram(request(), 12), to), 3);
    EXPECT_TRUE(trace.contains("Error while processing log protocol requests (negative ack "
                               "generated): no such thing"));
    EXPECT_TRUE(peer.nextAnswerIsToPing(to));
}

TEST_F(LogProtoServerTest, AnyOtherExceptionOfProcessBecomesANegativeAcknowledgeToo)
{
    set<std::function<void(const Packet&, Packet&)>>(&Server::onProcess,
                                                     [](const Packet& bytes, Packet&) {
                                                         if (bytes.header().command == 257)
                                                             throw std::bad_alloc();
                                                         throw std::runtime_error("something else");
                                                     });
    expectAcknowledge(peer.exchange(datagram(request(257), 12), to), 3);
    expectAcknowledge(peer.exchange(datagram(request(258), 12), to), 3, 258);
    EXPECT_TRUE(trace.contains("Error while processing log protocol requests (negative ack "
                               "generated): something else"));
    EXPECT_TRUE(peer.nextAnswerIsToPing(to));
}

TEST_F(LogProtoServerTest, AnAcknowledgeWithPayloadIsSentWhole)
{
    set<std::function<void(const Packet&, Packet&)>>(
        &Server::onProcess, [](const Packet& bytes, Packet& acknowledge) {
            PacketHeader header = acknowledgeOf(bytes.header(), PacketStatus::Success);
            header.payloadLength = 1388;
            acknowledge.setHeader(header);
            acknowledge.payload()[1387] = 77;
        });
    peer.send(datagram(request(), 12), to);
    const std::optional<Bytes> reply = peer.receive();
    ASSERT_TRUE(reply.has_value());
    ASSERT_EQ(reply->size(), 1400U);
    EXPECT_EQ(reply->back(), 77);
}

TEST_F(LogProtoServerTest, AnAcknowledgeLongerThanAPacketIsNotSent)
{
    set<std::function<void(const Packet&, Packet&)>>(
        &Server::onProcess, [](const Packet& bytes, Packet& acknowledge) {
            PacketHeader header = acknowledgeOf(bytes.header(), PacketStatus::Success);
            header.payloadLength = 1389;
            acknowledge.setHeader(header);
        });
    peer.send(datagram(request(), 12), to);
    EXPECT_TRUE(peer.nextAnswerIsToPing(to));
    EXPECT_TRUE(trace.contains("Error while processing log protocol requests (process_client_cmd): "
                               "The command packet data are out of range"));
}

TEST_F(LogProtoServerTest, AForeignDatagramIsHandedToItsHookAndAnswered)
{
    std::atomic<std::size_t> seen{0};
    set<std::function<bool(const Packet&, std::size_t, Packet&)>>(
        &Server::onForeign, [&](const Packet& bytes, std::size_t length, Packet& acknowledge) {
            seen.store(length);
            acknowledge.setHeader(acknowledgeOf(bytes.header(), PacketStatus::Success));
            return true;
        });
    PacketHeader header = request(33);
    header.magic = 0xACCA;
    const std::optional<PacketHeader> reply = peer.exchange(datagram(header, 20), to);
    ASSERT_TRUE(reply.has_value());
    EXPECT_EQ(reply->magic, 0xACCA);
    EXPECT_EQ(reply->command, 33 | 0x8000);
    EXPECT_EQ(seen.load(), 20U);

    header.flags = 1;
    peer.send(datagram(header, 1400), to);
    EXPECT_TRUE(peer.nextAnswerIsToPing(to));
    EXPECT_EQ(seen.load(), 1400U);

    // What no packet can be is not shown to the hook.
    seen.store(0);
    peer.send(datagram(header, 11), to);
    peer.send(datagram(header, 1401), to);
    EXPECT_TRUE(peer.nextAnswerIsToPing(to));
    EXPECT_EQ(seen.load(), 0U);
    EXPECT_EQ(trace.count(malformed), 2U);
}

TEST_F(LogProtoServerTest, AForeignDatagramThatItsHookRefusesOrFailsOnIsNotAnswered)
{
    set<std::function<bool(const Packet&, std::size_t, Packet&)>>(
        &Server::onForeign, [](const Packet& bytes, std::size_t, Packet&) -> bool {
            if (bytes.header().command == 1)
                throw LogSvcError("not today");
            if (bytes.header().command == 2)
                throw std::bad_alloc();
            return false;
        });
    for (std::uint16_t command = 1; command <= 3; ++command) {
        PacketHeader header = request(command);
        header.magic = 0xACCA;
        peer.send(datagram(header, 12), to);
    }
    EXPECT_TRUE(peer.nextAnswerIsToPing(to));
    EXPECT_EQ(trace.count(malformed), 1U);
    EXPECT_TRUE(trace.contains("Error while processing log protocol requests (process_client_cmd): "
                               "not today"));
}

TEST_F(LogProtoServerTest, ABurstIsHandledWholeAndInOrder)
{
    constexpr std::uint32_t bursts = 100;
    constexpr std::uint32_t burst = 100; // more than one batch, less than the socket holds
    std::uint32_t next = 0;
    for (std::uint32_t i = 0; i < bursts; ++i) {
        for (std::uint32_t j = 0; j < burst; ++j) {
            Bytes payload(4);
            storeU32(payload.data(), next++);
            peer.send(datagram(request(257, 1), payload), to);
        }
        ASSERT_TRUE(peer.nextAnswerIsToPing(to));
    }
    const std::vector<Bytes> requests = server.requests();
    ASSERT_EQ(requests.size(), bursts * burst);
    for (std::uint32_t i = 0; i < next; ++i)
        ASSERT_EQ(loadU32(requests[i].data() + packetHeaderSize), i);
}

TEST_F(LogProtoServerTest, EachRequestOfABurstIsAnsweredOnceAndInOrder)
{
    std::promise<void> entered;
    std::promise<void> mayLeave;
    std::atomic<bool> first{true};
    set<std::function<void(const Packet&, Packet&)>>(
        &Server::onProcess, [&](const Packet& packet, Packet&) {
            if (first.exchange(false)) {
                entered.set_value();
                mayLeave.get_future().wait_for(std::chrono::seconds(10));
            } else if (packet.header().sequence % 10 == 3) {
                throw LogSvcError("not this one");
            }
        });
    // While the first one is being handled the others gather: more than one batch of them.
    constexpr std::uint16_t count = 150;
    for (std::uint16_t i = 0; i < count; ++i) {
        const std::uint16_t flags = i % 10 == 5 ? flagNoAcknowledge : 0;
        peer.send(datagram({magicLogMessage, flags, 257, 0, i, 0}, Bytes()), to);
        if (i == 0) {
            ASSERT_EQ(entered.get_future().wait_for(std::chrono::seconds(10)),
                      std::future_status::ready);
        }
    }
    mayLeave.set_value();
    for (std::uint16_t i = 0; i < count; ++i) {
        if (i % 10 == 5)
            continue;
        const std::optional<Bytes> reply = peer.receive();
        ASSERT_TRUE(reply && reply->size() == packetHeaderSize);
        EXPECT_EQ(readPacketHeader(reply->data()).sequence, i);
        EXPECT_EQ(readPacketHeader(reply->data()).status, i % 10 == 3 ? 3 : 0);
    }
    EXPECT_TRUE(peer.nextAnswerIsToPing(to));
    server.stop(); // before what its action uses is gone
}

TEST_F(LogProtoServerTest, AnAnswerDoesNotWaitForSlowRequestsThatArrivedWithIt)
{
    std::promise<void> entered;
    std::promise<void> mayLeave;
    std::promise<void> answered;
    std::atomic<bool> wasAnswered{false};
    set<std::function<void(const Packet&, Packet&)>>(
        &Server::onProcess, [&](const Packet& packet, Packet&) {
            const auto limit = std::chrono::seconds(10);
            switch (packet.header().sequence) {
            case 0: // while it is being handled the others gather
                entered.set_value();
                mayLeave.get_future().wait_for(limit);
                break;
            case 2: { // takes longer than anybody should wait for the answer before
                const auto begin = std::chrono::steady_clock::now();
                while (std::chrono::steady_clock::now() - begin < std::chrono::milliseconds(40)) {
                }
                break;
            }
            case 3:
                wasAnswered = answered.get_future().wait_for(limit) == std::future_status::ready;
                break;
            default:
                break;
            }
        });
    for (std::uint16_t i = 0; i < 5; ++i) {
        peer.send(datagram({magicLogMessage, 0, 257, 0, i, 0}, Bytes()), to);
        if (i == 0) {
            ASSERT_EQ(entered.get_future().wait_for(std::chrono::seconds(10)),
                      std::future_status::ready);
        }
    }
    mayLeave.set_value();
    for (std::uint16_t i = 0; i < 5; ++i) {
        const std::optional<Bytes> reply = peer.receive();
        ASSERT_TRUE(reply) << i;
        EXPECT_EQ(readPacketHeader(reply->data()).sequence, i);
        if (i == 1)
            answered.set_value();
    }
    EXPECT_TRUE(wasAnswered);
    server.stop(); // before what its action uses is gone
}

TEST_F(LogProtoServerTest, AThreadThatGoesFirstRestsNowAndThenWhileItFindsMore)
{
    bool goesFirst = false;
    std::thread([&] { goesFirst = platform::raiseCurrentThreadPriority(); }).join();

    constexpr int count = 250; // the socket holds as many
    std::promise<void> go;
    std::atomic<int> handled{0};
    std::atomic<long> firstRests{0};
    std::atomic<long> lastRests{0};
    const std::shared_future<void> gate = go.get_future();
    const std::function<void(const Packet&, Packet&)> work = [&](const Packet&, Packet&) {
        if (handled == 0)
            gate.wait();
        // Works, and never waits.
        const auto begin = std::chrono::steady_clock::now();
        while (std::chrono::steady_clock::now() - begin < std::chrono::microseconds(250)) {
        }
        rusage use{};
        ::getrusage(RUSAGE_THREAD, &use);
        (handled < 2 ? firstRests : lastRests) = use.ru_nvcsw;
        ++handled;
    };
    set(&Server::onProcess, work);
    for (int i = 0; i < count; ++i)
        peer.send(datagram(request(257, 1), packetHeaderSize), to);
    go.set_value();
    ASSERT_TRUE(waitFor([&] { return handled == count; }));
    server.stop();
    const long rests = lastRests - firstRests;
    EXPECT_EQ(rests >= 3, goesFirst) << rests << " in 62 milliseconds";
}

TEST_F(LogProtoServerTest, NoTrafficForTwoSecondsCausesExactlyOneIdleCallPerPeriod)
{
    ASSERT_TRUE(waitFor([&] { return server.idles().size() >= 3; }, 30000));
    const std::vector<qint64> idles = server.idles();
    qint64 previous = 0;
    for (const qint64 moment : idles) {
        EXPECT_GE(moment - previous, 1950);
        EXPECT_LT(moment - previous, 3950);
        previous = moment;
    }
}

TEST_F(LogProtoServerTest, TrafficKeepsIdleAway)
{
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < 2500)
        ASSERT_TRUE(peer.nextAnswerIsToPing(to));
    EXPECT_TRUE(server.idles().empty());
}

TEST_F(LogProtoServerTest, AnExceptionOfIdleDoesNotEndTheThread)
{
    set<std::function<void()>>(&Server::onIdle, [] { throw std::runtime_error("idle hands"); });
    ASSERT_TRUE(waitFor(
        [&] {
            return trace.contains(
                "Error while processing log protocol requests (idle): idle hands");
        },
        20000));
    EXPECT_TRUE(peer.nextAnswerIsToPing(to));
}

TEST_F(LogProtoServerTest, AHundredThousandRandomDatagramsAreRefusedAndTheServerStillAnswers)
{
    std::mt19937 random(20200304);
    std::size_t expectedMalformed = 0;
    constexpr int rounds = 4000;
    constexpr int datagrams = 25; // as many as the socket surely holds
    Bytes bytes;
    for (int round = 0; round < rounds; ++round) {
        for (int i = 0; i < datagrams; ++i) {
            // Mostly short ones, and the lengths around a header's and a packet's.
            const std::size_t lengths[] = {random() % 13, 12 + random() % 40, random() % 1500,
                                           1399 + random() % 3};
            bytes.resize(lengths[random() % 4]);
            for (std::uint8_t& byte : bytes)
                byte = static_cast<std::uint8_t>(random());
            if (bytes.size() >= 12 && random() % 2 == 0)
                storeU16(bytes.data(), magicLogMessage);
            if (bytes.size() >= 12 && random() % 2 == 0)
                storeU16(bytes.data() + 10, static_cast<std::uint16_t>(random() % 2000));
            if (bytes.size() < 12 || bytes.size() > 1400 ||
                loadU16(bytes.data()) != magicLogMessage || loadU16(bytes.data() + 10) > 1388)
                ++expectedMalformed;
            peer.send(bytes, to);
        }
        ASSERT_TRUE(peer.isAnswered(to)) << "round " << round;
    }
    EXPECT_EQ(trace.count(malformed), expectedMalformed);
    EXPECT_GT(expectedMalformed, 50000U);
    EXPECT_GT(trace.count("Refusing command packet with unexpected size"), 1000U);
}

TEST(LogProtoServer, StartsAndStops200TimesAndLeavesNothingOpen)
{
    { // what the first one leaves behind for good
        const Server first;
    }
    const std::size_t descriptors = entriesOf("/proc/self/fd");
    for (int i = 0; i < 200; ++i) {
        Server server;
        if (i % 2 == 0) {
            UdpPeer peer;
            ASSERT_TRUE(peer.nextAnswerIsToPing(server.boundAddress()));
        }
    }
    EXPECT_EQ(entriesOf("/proc/self/fd"), descriptors);
}

TEST(LogProtoServer, StopReturnsWithinAFractionOfASecond)
{
    Server server;
    UdpPeer peer;
    ASSERT_TRUE(peer.nextAnswerIsToPing(server.boundAddress()));
    QElapsedTimer clock;
    clock.start();
    server.stop();
    EXPECT_LT(clock.elapsed(), 900);
}

TEST(LogProtoServer, StopFinishesThePacketBeingProcessed)
{
    TraceCapture trace;
    Server server;
    UdpPeer peer;
    std::promise<void> entered;
    std::promise<void> mayLeave;
    std::atomic<bool> left{false};
    {
        const std::lock_guard<std::mutex> lock(server.mutex());
        server.onProcess = [&](const Packet&, Packet&) {
            entered.set_value();
            mayLeave.get_future().wait_for(std::chrono::seconds(10));
            left.store(true);
        };
    }
    peer.send(datagram({magicLogMessage, 0, 257, 0, 1, 0}, 12), server.boundAddress());
    ASSERT_EQ(entered.get_future().wait_for(std::chrono::seconds(10)), std::future_status::ready);
    std::atomic<bool> leftWhenStopped{false};
    std::thread stopper([&] {
        server.stop();
        leftWhenStopped.store(left.load());
    });
    mayLeave.set_value();
    stopper.join();
    EXPECT_TRUE(leftWhenStopped.load());
}

/// True if the system says that the thread of this process waits for something.
bool isSleeping(std::uint64_t thread)
{
    QFile file(QStringLiteral("/proc/self/task/%1/stat").arg(thread));
    if (thread == 0 || !file.open(QIODevice::ReadOnly))
        return false;
    const QByteArray text = file.readAll();
    return text.mid(text.lastIndexOf(')') + 2, 1) == "S";
}

TEST(LogProtoServer, WhatHasArrivedWhenItIsStoppedIsStillProcessed)
{
    TraceCapture trace;
    Server server;
    UdpPeer peer;
    const SocketAddress to = server.boundAddress();
    std::promise<void> entered;
    std::atomic<std::uint64_t> stopper{0};
    std::atomic<bool> first{true};
    {
        const std::lock_guard<std::mutex> lock(server.mutex());
        server.onProcess = [&](const Packet&, Packet&) {
            if (!first.exchange(false))
                return;
            entered.set_value();
            // Until the stop waits for this very thread.
            QDeadlineTimer limit(10000);
            while (!isSleeping(stopper.load()) && !limit.hasExpired())
                std::this_thread::yield();
        };
    }
    const Bytes bytes = datagram({magicLogMessage, flagNoAcknowledge, 257, 0, 1, 0}, 12);
    peer.send(bytes, to);
    ASSERT_EQ(entered.get_future().wait_for(std::chrono::seconds(10)), std::future_status::ready);
    for (int i = 0; i < 100; ++i)
        peer.send(bytes, to);
    std::thread stopping([&] {
        stopper.store(platform::currentThreadId());
        server.stop();
    });
    stopping.join();
    EXPECT_EQ(server.requests().size(), 101U);
}

TEST(LogProtoServer, CanBeStoppedAgainAndAgain)
{
    Server server;
    server.stop();
    server.stop();
    // The life of a server is one start and one stop.
    server.start();
    server.stop();
}

class UnstartedServer final : public LogProtoServer<LogMsgProtocol>
{
public:
    ~UnstartedServer() override { stop(); }

protected:
    void process(const Packet&, std::size_t, Packet&) override {}
    void idle() override {}
};

TEST(LogProtoServer, CanBeStoppedWithoutHavingBeenStarted)
{
    UnstartedServer server;
    EXPECT_NE(server.boundAddress().port, 0);
    server.stop();
}

TEST(LogProtoServer, TheAddressOfAStoppedServerCannotBeQueried)
{
    Server server;
    server.stop();
    try {
        server.boundAddress();
        FAIL();
    } catch (const LogSvcError& error) {
        EXPECT_STREQ(error.what(),
                     "Failed to query the port number bound to the log server socket");
    }
}

TEST(ScopeCleaner, StopsTheServerUnlessDismissed)
{
    Server server;
    {
        ScopeCleaner<LogProtoServer<LogMsgProtocol>> cleaner(server);
        cleaner.dismiss();
    }
    EXPECT_NO_THROW(server.boundAddress());
    {
        const ScopeCleaner<LogProtoServer<LogMsgProtocol>> cleaner(server);
    }
    EXPECT_THROW(server.boundAddress(), LogSvcError);
}

} // namespace
} // namespace zuLogging::test
