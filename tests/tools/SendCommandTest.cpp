#include "logging/ConnectionInfo.h"
#include "logging/TimestampText.h"
#include "platform/Process.h"
#include "tests/service/RawPeer.h"
#include "tests/service/RunningService.h"
#include "tests/service/Subscriber.h"
#include "tests/tools/ToolRun.h"

#include <boost/thread/thread.hpp>
#include <gtest/gtest.h>

namespace zuLogging {
namespace {

using test::isOneLine;
using test::runTool;
using test::ToolRun;

class SendCommand : public ::testing::Test
{
protected:
    test::RunningService service_;
    test::Subscriber subscriber_;
};

TEST_F(SendCommand, OneTextIsOneMessageWithAllItsFields)
{
    const std::uint64_t before = currentTimestamp();
    const ToolRun run = runTool({"send", "--module",
                                 "M\xC3\xBC"
                                 "ller",
                                 "--level", "warn", "--group", "G", "--pos", "main.cpp:12",
                                 "Gr\xC3\xB6\xC3\x9F"
                                 "e"});
    const std::uint64_t after = currentTimestamp();
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out + run.err, "");
    const std::vector<DecodedMessage> messages = subscriber_.waitForMessages(1);
    ASSERT_EQ(messages.size(), 1U);
    const DecodedMessage& message = messages[0];
    EXPECT_EQ(message.serviceMsgId, 1U);
    EXPECT_EQ(message.sourceMsgId, 1U);
    EXPECT_GE(message.timestamp, before);
    EXPECT_LE(message.timestamp, after);
    EXPECT_EQ(message.logLevel, 4U);
    EXPECT_EQ(message.processId, platform::currentProcessId());
    EXPECT_EQ(message.threadId, platform::currentThreadId());
    EXPECT_EQ(message.module, u"Müller");
    EXPECT_EQ(message.groupName, u"G");
    EXPECT_EQ(message.logPos, u"main.cpp:12");
    EXPECT_EQ(message.logMessage, u"Größe");
}

TEST_F(SendCommand, ModuleAndLevelHaveDefaults)
{
    EXPECT_EQ(runTool({"send", "x"}).status, 0);
    const std::vector<DecodedMessage> messages = subscriber_.waitForMessages(1);
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_EQ(messages[0].module, u"zulog");
    EXPECT_EQ(messages[0].logLevel, 8U);
    EXPECT_EQ(messages[0].groupName, u"");
    EXPECT_EQ(messages[0].logPos, u"");
}

TEST_F(SendCommand, EveryLevelNameGivesItsCode)
{
    const std::vector<std::pair<std::string, std::uint64_t>> levels{
        {"none", 0}, {"fatal", 1},  {"err", 2},   {"warn", 4},
        {"info", 8}, {"trace", 16}, {"debug", 32}};
    for (const auto& level : levels)
        EXPECT_EQ(runTool({"send", "--level", level.first, "x"}).status, 0);
    const std::vector<DecodedMessage> messages = subscriber_.waitForMessages(levels.size());
    ASSERT_EQ(messages.size(), levels.size());
    for (std::size_t i = 0; i < levels.size(); ++i)
        EXPECT_EQ(messages[i].logLevel, levels[i].second);
}

TEST_F(SendCommand, EachLineOfStandardInputIsAMessage)
{
    EXPECT_EQ(runTool({"send"}, "one\n\nthree\nlast").status, 0);
    const std::vector<DecodedMessage> messages = subscriber_.waitForMessages(4);
    ASSERT_EQ(messages.size(), 4U);
    const std::vector<std::u16string> texts{u"one", u"", u"three", u"last"};
    for (std::size_t i = 0; i < texts.size(); ++i) {
        EXPECT_EQ(messages[i].logMessage, texts[i]);
        EXPECT_EQ(messages[i].sourceMsgId, i + 1);
    }
}

TEST_F(SendCommand, EmptyInputIsNoMessageAndNoError)
{
    const ToolRun run = runTool({"send"}, "");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(runTool({"send", ""}).status, 0); // an empty text is one
    EXPECT_EQ(subscriber_.waitForMessages(1).size(), 1U);
}

TEST_F(SendCommand, ATextBehindTwoDashesMayBeginWithOne)
{
    EXPECT_EQ(runTool({"send", "--", "--help"}).status, 0);
    const std::vector<DecodedMessage> messages = subscriber_.waitForMessages(1);
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_EQ(messages[0].logMessage, u"--help");
}

TEST_F(SendCommand, TooLongTextsAreCutBetweenCharactersAndCounted)
{
    std::string three;
    for (int i = 0; i < 1000; ++i)
        three += "\xE6\xB8\xAC";
    const std::string huge(5000000, 'x');
    const ToolRun run = runTool({"send"}, three + "\nshort\n" + huge + "\n");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "zulog: warning: 2 messages were too long for one packet and cut\n");
    const std::vector<DecodedMessage> messages = subscriber_.waitForMessages(3);
    ASSERT_EQ(messages.size(), 3U);
    EXPECT_GT(messages[0].logMessage.size(), 400U);
    EXPECT_EQ(messages[0].logMessage.find_first_not_of(u'測'), std::u16string::npos);
    EXPECT_EQ(messages[1].logMessage, u"short");
    EXPECT_GT(messages[2].logMessage.size(), 1200U);
    EXPECT_EQ(messages[2].logMessage.find_first_not_of(u'x'), std::u16string::npos);

    EXPECT_EQ(runTool({"send", three}).err,
              "zulog: warning: 1 message was too long for one packet and cut\n");
}

TEST_F(SendCommand, BytesThatAreNoTextAreSentAsTheyAreAndReadAsReplacements)
{
    EXPECT_EQ(runTool({"send", "a\xFF"
                               "b"})
                  .status,
              0);
    const std::vector<DecodedMessage> messages = subscriber_.waitForMessages(1);
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_EQ(messages[0].logMessage, u"a\uFFFDb");
    EXPECT_EQ(subscriber_.received().unreadable(), 0U);
}

TEST(SendCommandAtFullSpeed, TenThousandLinesArriveInOrder)
{
    const auto sink = std::make_shared<test::CollectingSink>();
    const test::RunningService service({sink});
    std::string input;
    for (int i = 1; i <= 10000; ++i)
        input += "line " + std::to_string(i) + '\n';
    EXPECT_EQ(runTool({"send"}, input).status, 0);
    // Acknowledged, so handed to the service's sinks.
    const std::vector<DecodedMessage> messages = sink->messages();
    ASSERT_EQ(messages.size(), 10000U);
    for (std::size_t i = 0; i < messages.size(); ++i)
        ASSERT_EQ(messages[i].sourceMsgId, i + 1);
}

/// A service that answers each request with a given status, or not at all.
class OddService
{
public:
    explicit OddService(std::optional<PacketStatus> status)
        : thread_([this, status] { serve(status); })
    {
        publisher_.publish(connectionInfoName(), encodeConnectionInfo(peer_.address()));
    }
    ~OddService()
    {
        test::RawPeer().send(std::vector<std::uint8_t>(1), peer_.address());
        thread_.join();
    }

private:
    void serve(std::optional<PacketStatus> status)
    {
        platform::SocketAddress sender;
        for (;;) {
            const auto request = peer_.receive(sender);
            if (!request || request->size() < packetHeaderSize)
                return;
            std::vector<std::uint8_t> answer(packetHeaderSize);
            if (!status)
                continue;
            writePacketHeader(answer.data(),
                              acknowledgeOf(readPacketHeader(request->data()), *status));
            peer_.send(answer, sender);
        }
    }

    test::RawPeer peer_;
    platform::SharedMemoryPublisher publisher_;
    boost::thread thread_;
};

TEST(SendCommandToAnOddService, ARefusalIsStatus1)
{
    const OddService service(PacketStatus::Failed);
    const ToolRun run = runTool({"send"}, "one\ntwo\n");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "zulog: The command was not successful (negative acknowledge received)\n");
}

TEST(SendCommandToAnOddService, NoAcknowledgeIsStatus1)
{
    const OddService service(std::nullopt);
    const ToolRun run = runTool({"send", std::string(3000, 'x')});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "zulog: Log client command execution failure when communicating with the "
                       "server.\n");
}

} // namespace
} // namespace zuLogging
