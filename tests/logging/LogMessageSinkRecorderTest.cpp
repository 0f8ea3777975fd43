#include "logging/LogMessageSinkRecorder.h"

#include "logging/ConnectionInfo.h"
#include "logging/LogReplay.h"
#include "logging/LogSvcError.h"
#include "logging/SocketAddressText.h"
#include "tests/support/FakeLogServer.h"
#include "tests/support/ListenerUnderTest.h"
#include "tests/support/RecordingSink.h"
#include "tests/support/SharedObject.h"
#include "tests/support/TestContainer.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/TraceCapture.h"
#include "tests/support/UdpPeer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <limits>
#include <memory>
#include <numeric>
#include <set>
#include <string>
#include <thread>

namespace zuLogging::test {
namespace {

using namespace std::chrono_literals;

constexpr char refusal[] = "Refusing to replay recorded logs: too many replays are under way";

// No ordinary program may send to the broadcast address: the system refuses every attempt.
constexpr char unreachable[] = "255.255.255.255:9";

TestContainer numbered(std::uint64_t number, std::uint8_t flags = 0)
{
    return TestContainer(flags).ids(number, 1000 + number, 77);
}

TestContainer large(std::uint64_t number, std::uint8_t flags = 0)
{
    const std::string text(maximumContainer - containerHeaderSize - containerItemHeaderSize, 'x');
    return numbered(number, flags).text(1, text);
}

std::uint64_t sourceId(const std::uint8_t* container)
{
    return loadU64(container + containerSourceMsgIdOffset);
}

std::vector<std::uint64_t> oneTo(std::uint64_t last, std::uint64_t first = 1)
{
    std::vector<std::uint64_t> numbers(static_cast<std::size_t>(last - first + 1));
    std::iota(numbers.begin(), numbers.end(), first);
    return numbers;
}

std::vector<std::uint64_t> sourceIds(const RecordRing& ring)
{
    std::vector<std::uint64_t> ids;
    const RecordRing::Snapshot snapshot = ring.snapshot();
    for (const RecordedLog& record : *snapshot)
        ids.push_back(sourceId(record.bytes.data()));
    return ids;
}

std::vector<std::uint64_t> sourceIds(const std::vector<RecordingSink::Received>& received,
                                     bool secondary)
{
    std::vector<std::uint64_t> ids;
    for (const RecordingSink::Received& one : received) {
        if (one.secondary == secondary)
            ids.push_back(sourceId(one.bytes.data()));
    }
    return ids;
}

std::string errorOf(const std::function<void()>& operation)
{
    try {
        operation();
    } catch (const LogSvcError& error) {
        return error.what();
    }
    return "no error";
}

ReplayRequest requestWith(std::uint32_t firstWord)
{
    ReplayRequest request;
    storeU32(request.bytes.data(), firstWord);
    return request;
}

class LogMessageSinkRecorderTest : public ::testing::Test
{
protected:
    void make(std::uint64_t primary, std::uint64_t secondary = 0)
    {
        recorder = std::make_unique<LogMessageSinkRecorder>(primary, secondary);
    }

    void replay() { recorder->replay(ReplayRequest::everything(), text(destination.address())); }

    static std::string text(const SocketAddress& address) { return socketAddressText(address); }

    bool allReplaysAreReaped()
    {
        return waitFor([&] {
            recorder->idle();
            return recorder->replayCount() == 0;
        });
    }

    /// What the recorder has sent to `destination` once its replays have ended.
    std::vector<Bytes> everythingReplayed()
    {
        recorder.reset();
        const Bytes last{1, 2, 3};
        UdpPeer().send(last, destination.address());
        std::vector<Bytes> packets;
        for (;;) {
            const std::optional<Bytes> packet = destination.receive();
            if (!packet) {
                ADD_FAILURE() << "the last datagram did not come";
                return packets;
            }
            if (*packet == last)
                return packets;
            packets.push_back(*packet);
        }
    }

    static std::vector<std::uint64_t> sourceIdsOf(const std::vector<Bytes>& packets)
    {
        std::vector<std::uint64_t> ids;
        for (const Bytes& packet : packets)
            ids.push_back(sourceId(packet.data() + packetHeaderSize));
        return ids;
    }

    UdpPeer destination;
    std::unique_ptr<LogMessageSinkRecorder> recorder;
};

TEST_F(LogMessageSinkRecorderTest,
       ARecorderBuiltWithCapacities0And0Holds1000PrimaryAnd100SecondaryRecords)
{
    make(0, 0);
    EXPECT_EQ(recorder->primaryRing().capacity(), 1000U);
    EXPECT_EQ(recorder->secondaryRing().capacity(), 100U);
    for (std::uint64_t i = 1; i <= 1001; ++i)
        recorder->consume(numbered(i).view());
    for (std::uint64_t i = 1; i <= 101; ++i)
        recorder->consumeSecondary(numbered(i, containerFlagSecondary).view());
    EXPECT_EQ(sourceIds(recorder->primaryRing()), oneTo(1001, 2));
    EXPECT_EQ(sourceIds(recorder->secondaryRing()), oneTo(101, 2));
}

TEST_F(LogMessageSinkRecorderTest, ARingHoldsItsNewestRecordsAtEveryNumberOfStores)
{
    for (const std::uint64_t capacity : {1U, 2U, 5U}) {
        make(capacity);
        EXPECT_EQ(recorder->primaryRing().size(), 0U);
        EXPECT_TRUE(recorder->primaryRing().snapshot()->empty());
        for (std::uint64_t stores = 1; stores <= 3 * capacity + 1; ++stores) {
            recorder->consume(numbered(stores).view());
            const std::uint64_t held = std::min(stores, capacity);
            EXPECT_EQ(recorder->primaryRing().size(), held);
            EXPECT_EQ(sourceIds(recorder->primaryRing()), oneTo(stores, stores - held + 1));
        }
    }
}

TEST_F(LogMessageSinkRecorderTest,
       AfterN1StoresIntoARingOfNSlotsAReplaySendsRecords2ToN1InThatOrder)
{
    for (const std::uint64_t capacity : {1U, 2U, 20U}) {
        make(capacity);
        for (std::uint64_t i = 1; i <= capacity + 1; ++i)
            recorder->consume(numbered(i).view());
        replay();
        EXPECT_EQ(sourceIdsOf(everythingReplayed()), oneTo(capacity + 1, 2));
    }
}

TEST_F(LogMessageSinkRecorderTest, AtNStoresAReplaySendsAllOfThem)
{
    for (const std::uint64_t capacity : {1U, 2U, 20U}) {
        make(capacity);
        for (std::uint64_t i = 1; i <= capacity; ++i)
            recorder->consume(numbered(i).view());
        replay();
        EXPECT_EQ(sourceIdsOf(everythingReplayed()), oneTo(capacity));
    }
}

TEST_F(LogMessageSinkRecorderTest, AReplayRequestWhoseFirstWordIs255DoesNothing)
{
    make(2);
    recorder->consume(numbered(1).view());
    for (const std::uint32_t word : {255U, 0U, 257U, 0x10000U, 256U << 16}) {
        recorder->replay(requestWith(word), text(destination.address()));
        recorder->replay(requestWith(word), "no address");
        EXPECT_EQ(recorder->replayCount(), 0U) << word;
    }
    EXPECT_TRUE(everythingReplayed().empty());
}

TEST_F(LogMessageSinkRecorderTest, AReplayRequestWith256StartsTwoReplaysEvenWhenARingIsEmpty)
{
    make(2);
    replay();
    EXPECT_EQ(recorder->replayCount(), 2U);
    EXPECT_TRUE(allReplaysAreReaped());
    recorder->consumeSecondary(numbered(9, containerFlagSecondary).view());
    replay();
    EXPECT_EQ(recorder->replayCount(), 2U);
    EXPECT_EQ(sourceIdsOf(everythingReplayed()), std::vector<std::uint64_t>{9});
}

TEST_F(LogMessageSinkRecorderTest, AReplaySaysItselfWhenItHasSentItsLastRecord)
{
    make(1000);
    EXPECT_TRUE(recorder->lastReplays().empty());
    for (std::uint64_t i = 1; i <= 1000; ++i)
        recorder->consume(numbered(i).view());
    const auto before = std::chrono::steady_clock::now();
    replay();
    const auto replays = recorder->lastReplays();
    ASSERT_EQ(replays.size(), 2U);
    // The pauses between its bursts alone take longer than this.
    EXPECT_EQ(replays[0]->endTime(), std::nullopt);
    EXPECT_GE(recorder->replaysUnderWay(), 1U);
    // Without a call of the recorder meanwhile, which forgets ended replays.
    EXPECT_TRUE(waitFor([&] { return replays[0]->endTime() && replays[1]->endTime(); }));
    EXPECT_EQ(recorder->replayCount(), 2U);
    EXPECT_EQ(recorder->replaysUnderWay(), 0U);
    const auto pauses = (1000 / LogReplay::burst - 1) * LogReplay::pause;
    EXPECT_GE(*replays[0]->endTime() - before, pauses);
    EXPECT_LE(*replays[0]->endTime(), std::chrono::steady_clock::now());
    EXPECT_LT(*replays[1]->endTime(), *replays[0]->endTime()) << "the empty ring's";
}

TEST_F(LogMessageSinkRecorderTest, AReplayThatFailsHasAnEndAsWell)
{
    make(3, 3);
    recorder->consume(numbered(1).setSizeField(27).view());
    recorder->consumeSecondary(numbered(1).view());
    recorder->replay(ReplayRequest::everything(), unreachable);
    const auto replays = recorder->lastReplays();
    ASSERT_EQ(replays.size(), 2U);
    EXPECT_TRUE(waitFor([&] { return replays[0]->endTime() && replays[1]->endTime(); }));
}

TEST_F(LogMessageSinkRecorderTest, TheLastReplaysAreThoseOfTheLastRequestThatWereReallyStarted)
{
    const TraceCapture trace;
    recorder = std::make_unique<LogMessageSinkRecorder>(1000, 1000, 0,
                                                        LogMessageSinkRecorder::Clock(), 2000);
    for (std::uint64_t i = 1; i <= 1000; ++i) {
        recorder->consume(numbered(i).view());
        recorder->consumeSecondary(numbered(i, containerFlagSecondary).view());
    }
    replay(); // as many records as copies may hold
    EXPECT_EQ(recorder->lastReplays().size(), 2U);
    replay();
    EXPECT_EQ(trace.count(refusal), 2U);
    EXPECT_TRUE(recorder->lastReplays().empty());

    replay(); // and one that comes to nothing in another way
    recorder->replay(requestWith(255), text(destination.address()));
    EXPECT_TRUE(recorder->lastReplays().empty());
    EXPECT_THROW(recorder->replay(ReplayRequest::everything(), "no address"), LogSvcError);
    EXPECT_TRUE(recorder->lastReplays().empty());
}

TEST_F(LogMessageSinkRecorderTest, OnlyTheFirstWordOfTheRequestIsRead)
{
    make(2);
    ReplayRequest request;
    request.bytes.fill(0xFF);
    storeU32(request.bytes.data(), 256);
    recorder->replay(request, text(destination.address()));
    EXPECT_EQ(recorder->replayCount(), 2U);
}

TEST_F(LogMessageSinkRecorderTest, AReplayToATextThatIsNoAddressFails)
{
    make(2);
    for (const char* address : {"", "localhost:80", "127.0.0.1:0", "127.0.0.1:80x"}) {
        EXPECT_EQ(errorOf([&] { recorder->replay(ReplayRequest::everything(), address); }),
                  "Failed to parse socket address string");
    }
    EXPECT_EQ(recorder->replayCount(), 0U);
}

TEST_F(LogMessageSinkRecorderTest,
       ReplayedContainersCarrySenderNumbers123PerCommandKindWhateverTheyHadWhenReceived)
{
    make(10);
    // The container's own flags say which kind it is, whichever ring it is in.
    const std::uint8_t kinds[] = {0x00, 0x04, 0xFB, 0x00, 0xFF};
    for (const std::uint8_t flags : kinds)
        recorder->consume(numbered(5, flags).view());
    for (int round = 0; round < 2; ++round) {
        replay();
        const std::vector<std::pair<int, std::uint64_t>> expected = {
            {257, 1}, {258, 1}, {257, 2}, {257, 3}, {258, 2}};
        for (const auto& [command, sender] : expected) {
            const Bytes packet = destination.receive().value();
            EXPECT_EQ(readPacketHeader(packet.data()).command, command);
            EXPECT_EQ(loadU64(packet.data() + packetHeaderSize + containerSenderMsgIdOffset),
                      sender);
        }
    }
    EXPECT_TRUE(everythingReplayed().empty());
}

TEST_F(LogMessageSinkRecorderTest, TheTwoRingsAreReplayedWithNumbersOfTheirOwn)
{
    make(3, 3);
    for (std::uint64_t i = 1; i <= 3; ++i) {
        recorder->consume(numbered(i).view());
        recorder->consumeSecondary(numbered(10 + i, containerFlagSecondary).view());
    }
    replay();
    std::uint64_t primary = 0;
    std::uint64_t secondary = 0;
    for (const Bytes& packet : everythingReplayed()) {
        const bool second = readPacketHeader(packet.data()).command == 258;
        const std::uint64_t number = second ? ++secondary : ++primary;
        const std::uint8_t* container = packet.data() + packetHeaderSize;
        EXPECT_EQ(loadU64(container + containerSenderMsgIdOffset), number);
        EXPECT_EQ(sourceId(container), second ? 10 + number : number);
    }
    EXPECT_EQ(primary, 3U);
    EXPECT_EQ(secondary, 3U);
}

TEST_F(LogMessageSinkRecorderTest, APacketIsTheContainerWithItsNumbersAndWantsNoAcknowledge)
{
    make(4);
    const TestContainer short1 = TestContainer().ids(1, 2, 3).text(1, "one");
    const TestContainer longer = large(2);
    recorder->consume(longer.view());
    LogMessageContainerView view = short1.view();
    view.serviceNumber = 0x1122334455667788;
    recorder->consume(view);
    recorder->consume(short1.view());
    replay();
    const std::vector<Bytes> packets = everythingReplayed();
    ASSERT_EQ(packets.size(), 3U);
    const std::vector<Bytes> expected = {
        large(2).ids(2, 1, 77).bytes(),
        TestContainer().ids(1, 2, 0x1122334455667788).text(1, "one").bytes(),
        TestContainer().ids(1, 3, 3).text(1, "one").bytes()};
    for (std::size_t i = 0; i < 3; ++i) {
        const PacketHeader header = readPacketHeader(packets[i].data());
        EXPECT_EQ(header.magic, 0xADDA);
        EXPECT_EQ(header.flags, 1);
        EXPECT_EQ(header.command, 257);
        EXPECT_EQ(header.status, 0);
        EXPECT_EQ(header.payloadLength, expected[i].size());
        EXPECT_EQ(Bytes(packets[i].begin() + packetHeaderSize, packets[i].end()), expected[i]);
    }
}

TEST_F(LogMessageSinkRecorderTest, AShortRecordOverALongOneIsSentWithItsOwnLength)
{
    make(1);
    recorder->consume(large(1).view());
    const TestContainer second = numbered(2);
    LogMessageContainerView withNumber = second.view();
    withNumber.serviceNumber = 5;
    recorder->consume(withNumber);
    const TestContainer third = numbered(3);
    recorder->consume(third.view());
    replay();
    const std::vector<Bytes> packets = everythingReplayed();
    ASSERT_EQ(packets.size(), 1U);
    // Neither bytes nor number of the records before.
    EXPECT_EQ(Bytes(packets[0].begin() + packetHeaderSize, packets[0].end()),
              numbered(3).ids(3, 1, 77).bytes());
}

TEST_F(LogMessageSinkRecorderTest, ServiceNumbersAreKeptAsTheyAreWhereTheCounterWraps)
{
    make(3);
    const TestContainer container = numbered(1);
    LogMessageContainerView view = container.view();
    const std::vector<std::uint64_t> numbers = {std::numeric_limits<std::uint64_t>::max(), 1, 0};
    for (const std::uint64_t number : numbers) {
        view.serviceNumber = number;
        recorder->consume(view);
    }
    replay();
    std::vector<std::uint64_t> sent;
    for (const Bytes& packet : everythingReplayed())
        sent.push_back(loadU64(packet.data() + packetHeaderSize + containerServiceMsgIdOffset));
    EXPECT_EQ(sent, numbers);
}

TEST_F(LogMessageSinkRecorderTest, ARecordThatIsNoContainerEndsItsReplayQuietly)
{
    const TraceCapture trace;
    for (const std::size_t size : {0U, 27U, 1389U, 65535U}) {
        make(5, 5);
        recorder->consume(numbered(1).view());
        recorder->consume(numbered(2).setSizeField(size).view());
        recorder->consume(numbered(3).view());
        recorder->consumeSecondary(numbered(4).view());
        replay();
        EXPECT_TRUE(allReplaysAreReaped());
        std::vector<std::uint64_t> ids = sourceIdsOf(everythingReplayed());
        std::sort(ids.begin(), ids.end());
        EXPECT_EQ(ids, (std::vector<std::uint64_t>{1, 4})) << size;
    }
    EXPECT_TRUE(trace.calls().empty());
}

TEST_F(LogMessageSinkRecorderTest, AReplayThatCannotBeSentEndsQuietlyAndIsReaped)
{
    const TraceCapture trace;
    make(3);
    recorder->consume(numbered(1).view());
    EXPECT_NO_THROW(recorder->replay(ReplayRequest::everything(), unreachable));
    EXPECT_TRUE(allReplaysAreReaped());
    EXPECT_TRUE(trace.calls().empty());
}

TEST_F(LogMessageSinkRecorderTest, AReplaySendsWhatWasThereWhenItWasAskedForWhileStoringGoesOn)
{
    const auto sink = std::make_shared<RecordingSink>();
    const ListenerUnderTest viewer({sink});
    make(200);
    for (std::uint64_t i = 1; i <= 200; ++i)
        recorder->consume(numbered(i).view());
    recorder->replay(ReplayRequest::everything(), text(viewer.boundAddress()));
    std::uint64_t stored = 200;
    EXPECT_TRUE(waitFor([&] {
        for (int i = 0; i < 150; ++i)
            recorder->consume(numbered(++stored).view());
        recorder->idle();
        return recorder->replayCount() == 0 && sink->received().size() >= 200;
    }));
    EXPECT_EQ(sourceIds(sink->received(), false), oneTo(200));
    EXPECT_EQ(sourceIds(recorder->primaryRing()), oneTo(stored, stored - 199));
}

/// A viewer's own server, with its buffer, takes everything that two full rings hold.
TEST_F(LogMessageSinkRecorderTest, AViewerReceives1000RecordsOfAnySizeWithoutALoss)
{
    for (const bool isLarge : {true, false}) {
        const auto sink = std::make_shared<RecordingSink>();
        const ListenerUnderTest viewer({sink});
        make(1000, 100);
        for (std::uint64_t i = 1; i <= 1000; ++i)
            recorder->consume(isLarge ? large(i).view() : numbered(i).view());
        for (std::uint64_t i = 1; i <= 100; ++i) {
            recorder->consumeSecondary(isLarge ? large(i, containerFlagSecondary).view()
                                               : numbered(i, containerFlagSecondary).view());
        }
        recorder->replay(ReplayRequest::everything(), text(viewer.boundAddress()));
        EXPECT_TRUE(waitFor([&] { return sink->received().size() >= 1100; }, 30000))
            << sink->received().size() << " of 1100 came";
        EXPECT_EQ(sourceIds(sink->received(), false), oneTo(1000));
        EXPECT_EQ(sourceIds(sink->received(), true), oneTo(100));
    }
}

/// The bound of what copies may hold is made small for it: 4 full rings.
TEST_F(LogMessageSinkRecorderTest, CopiesBeyondTheirBoundAreNotMadeAndThatIsTraced)
{
    const TraceCapture trace;
    const FakeLogServer receiver;
    recorder = std::make_unique<LogMessageSinkRecorder>(3000, 3000, 0,
                                                        LogMessageSinkRecorder::Clock(), 12000);
    for (std::uint64_t i = 1; i <= 3000; ++i) {
        recorder->consume(numbered(i).view());
        recorder->consumeSecondary(numbered(i, containerFlagSecondary).view());
    }
    for (int i = 0; i < 4; ++i)
        recorder->replay(ReplayRequest::everything(), text(receiver.address()));
    EXPECT_EQ(recorder->replayCount(), 4U);
    EXPECT_EQ(recorder->requestsUnderWay(), 2U);
    EXPECT_EQ(trace.count(refusal), 4U);
    EXPECT_EQ(trace.count("\n"), 4U);
    recorder.reset();
    std::set<std::uint16_t> senders;
    for (const FakeLogServer::Request& request : receiver.requests())
        senders.insert(request.sender.port);
    EXPECT_LE(senders.size(), 4U);
}

TEST_F(LogMessageSinkRecorderTest, EndedReplaysAreForgottenEvenIfTheLineIsNeverQuiet)
{
    make(1, 1);
    for (int i = 0; i < 100; ++i) {
        replay();
        for (const auto& one : recorder->lastReplays())
            EXPECT_TRUE(waitFor([&] { return one->endTime().has_value(); }));
        EXPECT_EQ(recorder->requestsUnderWay(), 0U);
    }
    // What has said its end may still have to leave its thread.
    EXPECT_LE(recorder->replayCount(), 20U);
}

TEST_F(LogMessageSinkRecorderTest, ARequestIsUnderWayAsLongAsOneOfItsReplaysIs)
{
    make(1000, 1);
    for (std::uint64_t i = 1; i <= 1000; ++i)
        recorder->consume(numbered(i).view());
    EXPECT_EQ(recorder->requestsUnderWay(), 0U);
    replay();
    const auto replays = recorder->lastReplays();
    ASSERT_EQ(replays.size(), 2U);
    ASSERT_TRUE(waitFor([&] { return replays[1]->endTime().has_value(); }));
    EXPECT_EQ(recorder->requestsUnderWay(), 1U);
    replay();
    EXPECT_EQ(recorder->requestsUnderWay(), 2U);
    EXPECT_TRUE(waitFor([&] { return recorder->requestsUnderWay() == 0; }));
}

TEST_F(LogMessageSinkRecorderTest, TheDestructorWaitsForTheReplaysToSendAllTheyHave)
{
    const FakeLogServer receiver;
    make(1000, 100);
    for (std::uint64_t i = 1; i <= 1000; ++i)
        recorder->consume(numbered(i).view());
    recorder->replay(ReplayRequest::everything(), text(receiver.address()));
    recorder.reset();
    // Nothing is sent any more, so what is missing now would not come.
    EXPECT_TRUE(receiver.waitForRequests(1000));
}

TEST_F(LogMessageSinkRecorderTest, TheDestructorWaitsForTheSendsToADeadAddressAndForNoPauses)
{
    std::string dead;
    {
        const UdpPeer gone;
        dead = text(gone.address());
    }
    // With their pauses these replays would take 20 seconds.
    make(40000, 1);
    for (std::uint64_t i = 1; i <= 40000; ++i)
        recorder->consume(numbered(i).view());
    recorder->replay(ReplayRequest::everything(), dead);
    const auto before = std::chrono::steady_clock::now();
    recorder.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - before, 8s);
}

TEST_F(LogMessageSinkRecorderTest, CapacitiesBeyondTheLimitAreRefusedBeforeAnyMemoryIsTaken)
{
    constexpr char noMemory[] = "Failed to instantiate log recording queue, not enough memory ";
    const std::uint64_t limit = LogMessageSinkRecorder::maximumCapacity;
    for (const std::uint64_t tooMany :
         {limit + 1, std::uint64_t{1} << 53, std::numeric_limits<std::uint64_t>::max()}) {
        EXPECT_EQ(errorOf([&] { make(tooMany, 1); }), noMemory);
        EXPECT_EQ(errorOf([&] { make(1, tooMany); }), noMemory);
    }
}

TEST_F(LogMessageSinkRecorderTest, AListenerReplaysAndForwardsWhatItsRecorderHolds)
{
    const auto sink = std::make_shared<LogMessageSinkRecorder>(10, 10);
    const ListenerUnderTest service({sink}, true);
    UdpPeer application;
    const auto status = [&](std::uint16_t command, const Bytes& payload) {
        const std::optional<PacketHeader> reply = application.exchange(
            datagram({magicLogMessage, 0, command, 0, 1, 0}, payload), service.boundAddress());
        return reply ? reply->status : 99;
    };
    const auto bytesOf = [](const std::string& text) { return Bytes(text.begin(), text.end()); };
    const auto expectContainer = [&](std::uint64_t id, std::uint64_t serviceId) {
        const std::optional<Bytes> packet = destination.receive();
        ASSERT_TRUE(packet.has_value());
        EXPECT_EQ(sourceId(packet->data() + packetHeaderSize), id);
        EXPECT_EQ(loadU64(packet->data() + packetHeaderSize + containerServiceMsgIdOffset),
                  serviceId);
    };
    EXPECT_EQ(status(257, numbered(11).bytes()), 0);
    EXPECT_EQ(status(257, numbered(12).bytes()), 0);

    const std::string address = text(destination.address());
    const ReplayRequest everything = ReplayRequest::everything();
    Bytes request(everything.bytes.begin(), everything.bytes.end());
    EXPECT_EQ(status(291, request), 3);
    request.insert(request.end(), address.begin(), address.end());
    EXPECT_EQ(status(291, request), 0);
    expectContainer(11, 1);
    expectContainer(12, 2);

    EXPECT_EQ(status(292, bytesOf("localhost:80")), 3);
    EXPECT_EQ(service.sinkCount(), 1U);
    EXPECT_EQ(status(292, bytesOf(address)), 0);
    EXPECT_EQ(service.sinkCount(), 2U);
    expectContainer(11, 1);
    expectContainer(12, 2);
    EXPECT_EQ(status(257, numbered(13).bytes()), 0);
    expectContainer(13, 3);
}

/// A recorder whose clock stands still until it is moved, and a service that takes its reports.
class LogMessageSinkRecorderReportTest : public ::testing::Test
{
protected:
    using Keys = std::vector<std::uint64_t>;

    static TestContainer withKeys(const Keys& keys, std::uint8_t itemFlags = 0)
    {
        Bytes sets(keys.size() * counterSetSize, 0xEE);
        for (std::size_t i = 0; i < keys.size(); ++i)
            storeU64(sets.data() + i * counterSetSize, keys[i]);
        return TestContainer(containerFlagSecondary)
            .text(3, "module")
            .item(7, sets.data(), sets.size(), itemFlags);
    }

    void store(const TestContainer& container) { recorder.consumeSecondary(container.view()); }

    /// The keys of the reports so far; a datagram of ours behind them shows that no more are there.
    std::vector<Keys> reports()
    {
        const Bytes last{1};
        UdpPeer().send(last, service.address());
        std::vector<Keys> all;
        for (;;) {
            const std::optional<Bytes> packet = service.receive();
            if (!packet) {
                ADD_FAILURE() << "the last datagram did not come";
                return all;
            }
            if (*packet == last)
                return all;
            EXPECT_EQ(packet->size(), 1400U);
            const PacketHeader header = readPacketHeader(packet->data());
            EXPECT_EQ(header.magic, 0xACCA);
            EXPECT_EQ(header.flags, 1);
            EXPECT_EQ(header.command, 53);
            EXPECT_EQ(header.status, 0);
            EXPECT_EQ(header.payloadLength, 1388);
            const std::uint8_t* payload = packet->data() + packetHeaderSize;
            const std::uint32_t count = loadU32(payload);
            EXPECT_LE(count, 173U);
            Keys keys;
            for (std::uint32_t i = 0; i < std::min(count, 173U); ++i)
                keys.push_back(loadU64(payload + 4 + 8 * i));
            all.push_back(keys);
        }
    }

    void publish() { info.emplace(connectionInfoName(), encodeConnectionInfo(service.address())); }

    void idleAfter(std::chrono::microseconds time)
    {
        now += time;
        recorder.idle();
    }

    UdpPeer service;
    std::optional<SharedObject> info;
    // Late enough to wrap the microseconds' low words, as a real one is.
    std::chrono::system_clock::time_point now{std::chrono::hours(500000)};
    LogMessageSinkRecorder recorder{10, 50, 0, [this] { return now; }};
};

TEST_F(LogMessageSinkRecorderReportTest, IdleEightMinutesAfterConstructionSendsNothing)
{
    publish();
    store(withKeys({1}));
    recorder.idle();
    idleAfter(8min);
    idleAfter(1min - 1us);
    EXPECT_TRUE(reports().empty());
    idleAfter(1us);
    EXPECT_EQ(reports(), std::vector<Keys>{{1}});
}

TEST_F(LogMessageSinkRecorderReportTest,
       AfterNineMinutesWithAnEmptySecondaryRingItSendsAtTheNextIdleOnceAContainerIsStored)
{
    publish();
    recorder.consume(withKeys({7}).view());
    idleAfter(9min);
    EXPECT_TRUE(reports().empty());
    store(withKeys({8}));
    recorder.idle();
    EXPECT_EQ(reports(), std::vector<Keys>{{8}});
}

TEST_F(LogMessageSinkRecorderReportTest, TheNextReportComesNineMinutesAfterTheLast)
{
    publish();
    store(withKeys({1}));
    idleAfter(20min);
    recorder.idle();
    idleAfter(9min - 1us);
    EXPECT_EQ(reports(), std::vector<Keys>{{1}});
    store(withKeys({2}));
    idleAfter(1us);
    EXPECT_EQ(reports(), (std::vector<Keys>{{1, 2}}));
}

TEST_F(LogMessageSinkRecorderReportTest, AClockThatWasSetBackSendsNothing)
{
    publish();
    store(withKeys({1}));
    idleAfter(-60min);
    EXPECT_TRUE(reports().empty());
}

TEST_F(LogMessageSinkRecorderReportTest,
       TwoContainersCarryingTheSameCounterSetKeyProduceThatKeyOnceInTheReport)
{
    publish();
    store(withKeys({9, 3}));
    store(withKeys({3, std::numeric_limits<std::uint64_t>::max(), 0}));
    idleAfter(9min);
    EXPECT_EQ(reports(), (std::vector<Keys>{{0, 3, 9, std::numeric_limits<std::uint64_t>::max()}}));
}

TEST_F(LogMessageSinkRecorderReportTest, ManyKeysGoInAsManyPacketsAsNeeded)
{
    publish();
    Keys all;
    for (std::uint64_t i = 0; i < 173; ++i) {
        store(withKeys({i}));
        if (i >= 123)
            all.push_back(i);
    }
    idleAfter(9min);
    // All slots of the ring of 50, which has wrapped.
    EXPECT_EQ(reports(), std::vector<Keys>{all});

    all.clear();
    // 5 sets fill a container.
    for (std::uint64_t i = 0; i < 50; ++i) {
        const std::uint64_t base = 5 * i;
        const Keys five = {base, base + 1, base + 2, base + 3, base + 4};
        store(withKeys(five));
        all.insert(all.end(), five.begin(), five.end());
    }
    idleAfter(9min);
    EXPECT_EQ(reports(), (std::vector<Keys>{{all.begin(), all.begin() + 173},
                                            {all.begin() + 173, all.end()}}));
}

TEST_F(LogMessageSinkRecorderReportTest, AnExactlyFullPacketIsFollowedByNoOther)
{
    publish();
    Keys all;
    for (std::uint64_t i = 1; i <= 173; ++i)
        all.push_back(i);
    for (auto next = all.begin(); next != all.end();) {
        const auto end = next + std::min<std::ptrdiff_t>(5, all.end() - next);
        store(withKeys({next, end}));
        next = end;
    }
    idleAfter(9min);
    EXPECT_EQ(reports(), std::vector<Keys>{all});
}

TEST_F(LogMessageSinkRecorderReportTest, RecordsWithoutUsableCounterSetsAreSkipped)
{
    publish();
    store(TestContainer(containerFlagSecondary));
    store(withKeys({5}, 1));
    store(withKeys({}));
    idleAfter(9min);
    EXPECT_TRUE(reports().empty());
    store(withKeys({6}));
    idleAfter(9min);
    EXPECT_EQ(reports(), std::vector<Keys>{{6}});
}

TEST_F(LogMessageSinkRecorderReportTest, ABrokenRecordCostsTheReportAndNineMinutes)
{
    publish();
    const Bytes half(counterSetSize + 1, 0);
    const TestContainer broken[] = {
        withKeys({1}).setSizeField(27), withKeys({1}).setSizeField(1389),
        withKeys({1}).setSizeField(100), TestContainer().item(7, half.data(), half.size())};
    for (const TestContainer& container : broken) {
        store(withKeys({1}));
        store(container);
        EXPECT_NO_THROW(idleAfter(9min));
        for (int i = 0; i < 50; ++i)
            store(withKeys({2}));
        idleAfter(9min - 1us);
        EXPECT_TRUE(reports().empty());
        idleAfter(1us);
        EXPECT_EQ(reports(), std::vector<Keys>{{2}});
    }
}

TEST_F(LogMessageSinkRecorderReportTest, WithoutAServiceTheReportIsTriedAgainAfterNineMinutes)
{
    store(withKeys({1}));
    EXPECT_NO_THROW(idleAfter(9min));
    publish();
    idleAfter(9min - 1us);
    EXPECT_TRUE(reports().empty());
    idleAfter(1us);
    EXPECT_EQ(reports(), std::vector<Keys>{{1}});
}

} // namespace
} // namespace zuLogging::test
