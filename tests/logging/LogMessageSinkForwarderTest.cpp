#include "logging/LogMessageSinkForwarder.h"

#include "logging/LogSvcError.h"
#include "logging/SocketAddressText.h"
#include "tests/support/ListenerUnderTest.h"
#include "tests/support/RecordingSink.h"
#include "tests/support/TestContainer.h"
#include "tests/support/TraceCapture.h"
#include "tests/support/UdpPeer.h"

#include <gtest/gtest.h>

#include <memory>

namespace zuLogging::test {
namespace {

class LogMessageSinkForwarderTest : public ::testing::Test
{
protected:
    /// The container of the next forwarded packet, whose header must be right.
    Bytes nextContainer(std::uint16_t command)
    {
        const std::optional<Bytes> bytes = destination.receive();
        if (!bytes || bytes->size() < packetHeaderSize + containerHeaderSize) {
            ADD_FAILURE() << "no container came";
            return Bytes(containerHeaderSize);
        }
        const PacketHeader header = readPacketHeader(bytes->data());
        EXPECT_EQ(header.magic, 0xADDA);
        EXPECT_EQ(header.flags, 1);
        EXPECT_EQ(header.command, command);
        EXPECT_EQ(header.status, 0);
        EXPECT_EQ(header.payloadLength + packetHeaderSize, bytes->size());
        return Bytes(bytes->begin() + packetHeaderSize, bytes->end());
    }

    UdpPeer destination;
    LogMessageSinkForwarder forwarder{socketAddressText(destination.address())};
};

TEST_F(LogMessageSinkForwarderTest, TheFirstContainersOfBothKindsCarrySenderMsgID1)
{
    const TestContainer first = TestContainer().ids(11, 12, 13).text(1, "one");
    const TestContainer other = TestContainer(containerFlagSecondary).ids(21, 22, 23);
    forwarder.consume(first.view());
    EXPECT_EQ(nextContainer(257), TestContainer().ids(11, 1, 13).text(1, "one").bytes());
    forwarder.consumeSecondary(other.view());
    EXPECT_EQ(nextContainer(258), TestContainer(containerFlagSecondary).ids(21, 1, 23).bytes());
    forwarder.consume(first.view());
    EXPECT_EQ(nextContainer(257), TestContainer().ids(11, 2, 13).text(1, "one").bytes());
    forwarder.consumeSecondary(other.view());
    EXPECT_EQ(nextContainer(258), TestContainer(containerFlagSecondary).ids(21, 2, 23).bytes());
}

TEST_F(LogMessageSinkForwarderTest, TheContainersOwnFlagsSayWhichKindItIsSentAs)
{
    forwarder.consume(TestContainer(containerFlagSecondary).view());
    nextContainer(258);
    forwarder.consumeSecondary(TestContainer(0xFB).view());
    nextContainer(257);
}

TEST_F(LogMessageSinkForwarderTest, WithoutAServiceNumberServiceMsgIDStaysAsReceived)
{
    const TestContainer container = TestContainer().ids(1, 2, 0x1122334455667788);
    forwarder.consume(container.view());
    EXPECT_EQ(loadU64(nextContainer(257).data() + containerServiceMsgIdOffset),
              0x1122334455667788U);

    LogMessageContainerView view = container.view();
    view.serviceNumber = 0x99;
    forwarder.consume(view);
    EXPECT_EQ(loadU64(nextContainer(257).data() + containerServiceMsgIdOffset), 0x99U);
}

TEST_F(LogMessageSinkForwarderTest, TheContainerHandedInIsNotChanged)
{
    const TestContainer container = TestContainer().ids(1, 2, 3);
    LogMessageContainerView view = container.view();
    view.serviceNumber = 9;
    forwarder.consume(view);
    EXPECT_EQ(container.bytes(), TestContainer().ids(1, 2, 3).bytes());
}

TEST_F(LogMessageSinkForwarderTest, TheLargestContainerIsForwardedAndALongerOneIsOutOfRange)
{
    forwarder.consume(TestContainer().padTo(1388).setSizeField(1388).view());
    EXPECT_EQ(nextContainer(257).size(), 1388U);
    try {
        forwarder.consume(TestContainer().padTo(1389).setSizeField(1389).view());
        FAIL();
    } catch (const LogSvcError& error) {
        EXPECT_STREQ(error.what(), "The command packet data are out of range");
    }
    forwarder.consume(TestContainer().view());
    EXPECT_EQ(nextContainer(257).size(), 28U);
}

TEST(LogMessageSinkForwarder, MatchesExactlyTheTextOfItsDestination)
{
    const LogMessageSinkForwarder forwarder("127.0.0.1:5000");
    EXPECT_TRUE(forwarder.matches("127.0.0.1:5000"));
    EXPECT_EQ(forwarder.argumentText(), "127.0.0.1:5000");
    for (const char* text : {"", "127.0.0.1:500", "127.0.0.1:50000", "127.0.0.1:5001",
                             " 127.0.0.1:5000", "127.0.0.1:5000 ", "127.0.0.2:5000", "5000"})
        EXPECT_FALSE(forwarder.matches(text)) << text;
    EXPECT_FALSE(forwarder.matches(std::string_view("127.0.0.1:5000\0", 15)));
}

TEST(LogMessageSinkForwarder, IsNotMadeFromATextThatIsNoAddress)
{
    for (const char* text : {"", ":", "localhost:80", "127.0.0.1", "127.0.0.1:0", "127.0.0.1:08",
                             "127.0.0.1:65536", "127.0.0.1:80x", "127.0.0:80", "127.0.0.1:80:80"}) {
        try {
            const LogMessageSinkForwarder forwarder(text);
            ADD_FAILURE() << text;
        } catch (const LogSvcError& error) {
            EXPECT_STREQ(error.what(), "Failed to parse socket address string") << text;
        }
    }
}

TEST_F(LogMessageSinkForwarderTest, CountsWhatItSentOnAndWhatItCouldNot)
{
    EXPECT_EQ(forwarder.sentCount(), 0U);
    forwarder.consume(TestContainer().view());
    forwarder.consumeSecondary(TestContainer(containerFlagSecondary).view());
    EXPECT_EQ(forwarder.sentCount(), 2U);
    EXPECT_EQ(forwarder.failedCount(), 0U);

    EXPECT_THROW(forwarder.consume(TestContainer().padTo(1389).setSizeField(1389).view()),
                 LogSvcError);
    LogMessageContainerView half = TestContainer().view();
    half.length = 27;
    EXPECT_THROW(forwarder.consume(half), LogSvcError);
    EXPECT_EQ(forwarder.sentCount(), 2U);
    EXPECT_EQ(forwarder.failedCount(), 2U);

    forwarder.consume(TestContainer().view());
    EXPECT_EQ(forwarder.sentCount(), 3U);
}

// No ordinary program may send to the broadcast address: the system refuses every attempt.
constexpr char unreachable[] = "255.255.255.255:9";

TEST(LogMessageSinkForwarder, ADestinationThatCannotBeReachedIsTriedAgainWithTheNextContainer)
{
    LogMessageSinkForwarder forwarder(unreachable);
    for (int i = 0; i < 3; ++i) {
        try {
            forwarder.consume(TestContainer().view());
            FAIL();
        } catch (const LogSvcError& error) {
            EXPECT_STREQ(error.what(), "Log client command execution failure when communicating "
                                       "with the server.");
        }
    }
    EXPECT_EQ(forwarder.sentCount(), 0U);
    EXPECT_EQ(forwarder.failedCount(), 3U);
}

TEST(LogMessageSinkForwarder, ADeadDestinationDoesNotKeepMessagesFromTheOthers)
{
    const TraceCapture trace;
    const auto sink = std::make_shared<RecordingSink>();
    const ListenerUnderTest listener(
        {std::make_shared<LogMessageSinkForwarder>(unreachable), sink});
    UdpPeer application;
    for (std::size_t i = 1; i <= 3; ++i) {
        const std::optional<PacketHeader> reply = application.exchange(
            datagram({magicLogMessage, 0, 257, 0, 1, 0}, TestContainer().bytes()),
            listener.boundAddress());
        ASSERT_TRUE(reply.has_value());
        EXPECT_EQ(reply->status, 3);
        EXPECT_EQ(sink->received().size(), i);
    }
    EXPECT_EQ(listener.sinkCount(), 2U);
    EXPECT_EQ(trace.count("Error while processing log protocol requests (negative ack generated): "
                          "Log client command execution failure when communicating with the "
                          "server."),
              3U);
}

TEST(LogMessageSinkForwarder, TheTraceNamesTheDestinationOnceWhenSendingBeginsToFail)
{
    const TraceCapture trace;
    LogMessageSinkForwarder forwarder(unreachable);
    for (int i = 0; i < 3; ++i)
        EXPECT_THROW(forwarder.consume(TestContainer().view()), LogSvcError);
    EXPECT_EQ(trace.calls(),
              std::vector<std::string>{"Messages cannot be forwarded to 255.255.255.255:9\n"});

    UdpPeer viewer;
    LogMessageSinkForwarder other(socketAddressText(viewer.address()));
    const auto tooLong = TestContainer().padTo(1389).setSizeField(1389);
    for (int i = 0; i < 2; ++i) {
        EXPECT_THROW(other.consume(tooLong.view()), LogSvcError);
        other.consume(TestContainer().view());
    }
    EXPECT_EQ(trace.count("Messages cannot be forwarded to " + socketAddressText(viewer.address()) +
                          "\n"),
              2U);
}

} // namespace
} // namespace zuLogging::test
