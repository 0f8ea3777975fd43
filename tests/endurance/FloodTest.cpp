// Everything that a hostile program of the machine can send to the window, at full speed.

#include "logging/LimitedTrace.h"
#include "tests/endurance/EnduranceTest.h"
#include "tests/support/TestContainer.h"

#include <atomic>
#include <functional>
#include <random>
#include <thread>

namespace zuLogging {
namespace {

using test::Bytes;
using test::waitFor;

constexpr int floodSize = 1000000;
constexpr int rowLimit = 20000;

using Random = std::minstd_rand;

Bytes randomBytes(Random& random)
{
    Bytes bytes(random() % (maximumPacket + 40));
    for (std::uint8_t& byte : bytes)
        byte = static_cast<std::uint8_t>(random());
    return bytes;
}

PacketHeader messageHeader()
{
    PacketHeader header;
    header.magic = magicLogMessage;
    header.flags = flagNoAcknowledge;
    header.command = static_cast<std::uint16_t>(LogMessageCommand::Message);
    return header;
}

/// Any command but those that would have the window write files or send messages on: what they do
/// is wanted, and others test it.
Bytes validHeaderRandomPayload(Random& random)
{
    PacketHeader header = messageHeader();
    constexpr LogMessageCommand commands[] = {
        LogMessageCommand::Message, LogMessageCommand::SecondaryMessage,
        LogMessageCommand::NoOperation, LogMessageCommand::StopForwarding};
    header.command = static_cast<std::uint16_t>(commands[random() % 4]);
    Bytes payload(random() % 200);
    for (std::uint8_t& byte : payload)
        byte = static_cast<std::uint8_t>(random());
    return test::datagram(header, payload);
}

Bytes containerWithOneByteChanged(Random& random)
{
    static const std::vector<std::uint8_t> container = [] {
        test::TestContainer made;
        made.ids(1, 0, 3).text(1, "a text of a message that is changed").number(9, 8);
        return made.bytes();
    }();
    Bytes changed(container.begin(), container.end());
    changed[random() % changed.size()] ^= static_cast<std::uint8_t>(1 + random() % 255);
    return test::datagram(messageHeader(), changed);
}

class Flood : public test::EnduranceTest
{
protected:
    LimitedTrace trace_{std::cerr}; ///< as in the program: a flood must not fill a disk either

    void flood(const std::function<Bytes(Random&)>& make)
    {
        ASSERT_TRUE(service_.start());
        ASSERT_TRUE(openWindow());
        store().setMaximumMessages(rowLimit);
        startButton()->click();
        ASSERT_TRUE(isLogging());
        const std::optional<platform::SocketAddress> target = listenerAddress();
        ASSERT_TRUE(target);
        const std::uint64_t before = counted(LogCount::Received) + counted(LogCount::LostInSocket);

        test::AnswerWatch watch;
        std::atomic<int> sent{0};
        std::atomic<bool> over{false};
        std::thread sender([&] {
            // A thousand different ones: what costs time here is sending, not inventing.
            Random random(4711);
            std::vector<Bytes> datagrams;
            for (int i = 0; i < 1000; ++i)
                datagrams.push_back(make(random));
            platform::UdpSocket socket;
            if (socket.open())
                for (int i = 0; i < floodSize; ++i) {
                    const Bytes& bytes = datagrams[static_cast<std::size_t>(i) % datagrams.size()];
                    if (socket.send(bytes.data(), bytes.size(), *target))
                        ++sent;
                }
            over = true;
        });
        std::int64_t early = 0;
        EXPECT_TRUE(waitFor([&] { return over || sent > floodSize / 4; }, 120000));
        early = test::useOf(QCoreApplication::applicationPid()).residentKib;
        EXPECT_TRUE(waitFor([&] { return over.load(); }, 120000));
        sender.join();
        // The system's own count is read every two seconds when nothing comes any more.
        const auto arrived = [&] {
            return counted(LogCount::Received) + counted(LogCount::LostInSocket) - before;
        };
        EXPECT_TRUE(waitFor([&] { return arrived() == static_cast<std::uint64_t>(sent); }, 20000))
            << arrived() << " of " << sent;
        const std::int64_t late = test::useOf(QCoreApplication::applicationPid()).residentKib;
        const double longest = watch.longest().count();
        note("longest_answer_ms", longest);
        note("memory_growth_kib", static_cast<double>(late - early));
        note("received", static_cast<double>(counted(LogCount::Received)));
        note("lost_in_socket", static_cast<double>(counted(LogCount::LostInSocket)));
        EXPECT_LT(longest, 2000) << "the window stood still";
        EXPECT_LT(late - early, 64 * 1024);
        EXPECT_LE(model().messageCount(), rowLimit);

        // It still works.
        ASSERT_TRUE(waitFor([&] { return store().queueSize() == 0; }));
        ASSERT_TRUE(waitFor([&] {
            return counted(LogCount::Moved) + counted(LogCount::DroppedFromQueue) ==
                   counted(LogCount::Queued);
        }));
        const std::uint64_t moved = counted(LogCount::Moved);
        ASSERT_EQ(demo(1000, 100).status, 0);
        EXPECT_TRUE(waitFor([&] { return counted(LogCount::Moved) == moved + 100; }));
        stop();
        expectBalance();
    }
};

TEST_F(Flood, AMillionDatagramsOfRandomBytesAreRefused)
{
    flood(randomBytes);
    EXPECT_GT(store().ledger()->counts().refused(), 0U);
}

TEST_F(Flood, AMillionValidHeadersWithRandomPayloadsDoNoHarm)
{
    flood(validHeaderRandomPayload);
    EXPECT_GT(counted(LogCount::RefusedContainer), 0U);
}

TEST_F(Flood, AMillionContainersWithOneByteChangedDoNoHarm)
{
    flood(containerWithOneByteChanged);
    EXPECT_GT(counted(LogCount::Moved), 0U);
}

} // namespace
} // namespace zuLogging
