#include "tools/SendCommand.h"

#include "logging/ConnectionInfo.h"
#include "logging/JsonLogWriter.h"
#include "logging/TimestampText.h"
#include "platform/Process.h"
#include "tests/service/RawPeer.h"
#include "tests/service/RunningService.h"
#include "tests/service/Subscriber.h"
#include "tests/tools/StandInService.h"
#include "tests/tools/ToolRun.h"
#include "tools/MessageSender.h"

#include <QBuffer>

#include <boost/thread/thread.hpp>
#include <gtest/gtest.h>

namespace zuLogging {
namespace {

using test::isOneLine;
using test::runTool;
using test::StandInService;
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
            const PacketHeader header = readPacketHeader(request->data());
            if (!status || (header.flags & flagNoAcknowledge) != 0)
                continue;
            writePacketHeader(answer.data(), acknowledgeOf(header, *status));
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

// --- Numbers and time

TEST_F(SendCommand, ProcessThreadAndTimeAreThoseOfTheOptions)
{
    EXPECT_EQ(runTool({"send", "--pid", "18446744073709551615", "--tid", "0", "--time",
                       "2026-11-21T08:52:11.123456Z"},
                      "one\ntwo\n")
                  .status,
              0);
    EXPECT_EQ(runTool({"send", "--time", "0", "x"}).status, 0);
    const std::vector<DecodedMessage> messages = subscriber_.waitForMessages(3);
    ASSERT_EQ(messages.size(), 3U);
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(messages[i].processId, ~std::uint64_t{0});
        EXPECT_EQ(messages[i].threadId, 0U);
        EXPECT_EQ(timestampText(messages[i].timestamp), QString("2026-Nov-21 08:52:11.123456"));
    }
    EXPECT_EQ(messages[2].timestamp, unixEpochTimestamp);
    EXPECT_EQ(messages[2].processId, platform::currentProcessId());
}

TEST(SendCommandLine, WrongNumbersAndTimesAreWrongUsage)
{
    for (const std::vector<std::string>& words : {std::vector<std::string>{"--pid", "-1"},
                                                  {"--pid", "18446744073709551616"},
                                                  {"--pid", ""},
                                                  {"--tid", "0x10"},
                                                  {"--tid", "1 "},
                                                  {"--time", "yesterday"},
                                                  {"--time", ""},
                                                  {"--time", "2026-02-29 00:00:00"}}) {
        std::vector<std::string> all{"send"};
        all.insert(all.end(), words.begin(), words.end());
        all.push_back("text");
        const ToolRun run = runTool(all);
        EXPECT_EQ(run.status, 2) << words[1];
        EXPECT_TRUE(isOneLine(run.err)) << run.err;
        EXPECT_NE(run.err.find(words[0]), std::string::npos) << run.err;
        EXPECT_NE(run.err.find("; try 'zulog send --help'\n"), std::string::npos) << run.err;
    }
}

// --- Acknowledges

/// Which of the messages that arrived ask for an acknowledge, by their places from 1.
std::vector<std::size_t> askingMessages(StandInService& service, std::size_t count)
{
    EXPECT_TRUE(service.server().waitForRequests(count));
    const auto requests = service.server().requests();
    EXPECT_EQ(requests.size(), count);
    std::vector<std::size_t> places;
    for (std::size_t i = 0; i < requests.size(); ++i) {
        EXPECT_EQ(loadU64(requests[i].payload() + containerSourceMsgIdOffset), i + 1);
        if ((requests[i].header().flags & flagNoAcknowledge) == 0)
            places.push_back(i + 1);
    }
    return places;
}

std::string linesOf(std::size_t count)
{
    std::string lines;
    for (std::size_t i = 1; i <= count; ++i)
        lines += "line " + std::to_string(i) + '\n';
    return lines;
}

TEST(SendCommandAcknowledges, EveryThirtySecondMessageAndTheLastOneAskForOne)
{
    ASSERT_EQ(MessageSender::acknowledgeInterval, 32U);
    const std::vector<std::pair<std::size_t, std::vector<std::size_t>>> cases{
        {1, {1}},       {2, {2}},       {31, {31}},         {32, {32}},
        {33, {32, 33}}, {64, {32, 64}}, {65, {32, 64, 65}}, {96, {32, 64, 96}}};
    for (const auto& one : cases) {
        StandInService service;
        EXPECT_EQ(runTool({"send"}, linesOf(one.first)).status, 0);
        EXPECT_EQ(askingMessages(service, one.first), one.second) << one.first;
    }
}

TEST(SendCommandAcknowledges, AReliableRunAsksForEach)
{
    StandInService service;
    EXPECT_EQ(runTool({"send", "--reliable"}, linesOf(5)).status, 0);
    EXPECT_EQ(askingMessages(service, 5), (std::vector<std::size_t>{1, 2, 3, 4, 5}));
}

TEST(SendCommandAcknowledges, ASingleTextAsksForOne)
{
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{"send", "x"}, {"send", "--json", "{\"SourceMsgID\":1}"}}) {
        StandInService service;
        EXPECT_EQ(runTool(words).status, 0);
        EXPECT_EQ(askingMessages(service, 1), std::vector<std::size_t>{1});
    }
}

/// A published peer with a script of its own.
class ScriptedService
{
public:
    explicit ScriptedService(test::FakeLogServer::Script script)
        : server_(std::move(script))
    {
        publisher_.publish(connectionInfoName(), encodeConnectionInfo(server_.address()));
    }
    test::FakeLogServer& server() { return server_; }

private:
    platform::SharedMemoryPublisher publisher_;
    test::FakeLogServer server_;
};

std::uint64_t sourceMsgIdOf(const test::FakeLogServer::Request& request)
{
    return loadU64(request.payload() + containerSourceMsgIdOffset);
}

TEST(SendCommandAcknowledges, AMessageWithoutAnAnswerIsRepeated)
{
    bool isFirst = true;
    ScriptedService service(
        [&isFirst](test::FakeLogServer& server, const test::FakeLogServer::Request& request) {
            if (sourceMsgIdOf(request) == 2 && std::exchange(isFirst, false))
                return;
            server.acknowledge(request);
        });
    const ToolRun run = runTool({"send", "--reliable"}, linesOf(3));
    EXPECT_EQ(run.status, 0) << run.err;
    std::vector<std::uint64_t> numbers;
    for (const auto& request : service.server().requests())
        numbers.push_back(sourceMsgIdOf(request));
    EXPECT_EQ(numbers, (std::vector<std::uint64_t>{1, 2, 2, 3}));
}

TEST(SendCommandAcknowledges, AReliableRunEndsAtTheFirstRefusalAndTellsHowManyWereTaken)
{
    for (const std::uint64_t refused : {1U, 2U, 4U}) {
        ScriptedService service(
            [refused](test::FakeLogServer& server, const test::FakeLogServer::Request& request) {
                server.acknowledge(request, {},
                                   sourceMsgIdOf(request) == refused ? PacketStatus::Failed
                                                                     : PacketStatus::Success);
            });
        const ToolRun run = runTool({"send", "--reliable"}, linesOf(6));
        EXPECT_EQ(run.status, 1);
        const std::string count = refused == 1   ? "0 messages were"
                                  : refused == 2 ? "1 message was"
                                                 : "3 messages were";
        EXPECT_EQ(run.err,
                  "zulog: The command was not successful (negative acknowledge received) (" +
                      count + " taken before)\n");
        EXPECT_EQ(service.server().requests().size(), refused);
    }
}

TEST(SendCommandAtFullSpeed, NothingIsLostWhetherReliableOrNot)
{
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{"send"}, {"send", "--reliable"}}) {
        const auto sink = std::make_shared<test::CollectingSink>();
        const test::RunningService service({sink});
        std::string input;
        for (int i = 0; i < 20000; ++i)
            input += std::string(1300, 'x') + '\n';
        EXPECT_EQ(runTool(words, input).status, 0);
        const std::vector<DecodedMessage> messages = sink->messages();
        ASSERT_EQ(messages.size(), 20000U);
        for (std::size_t i = 0; i < messages.size(); ++i)
            ASSERT_EQ(messages[i].sourceMsgId, i + 1);
    }
}

// --- JSON

TEST_F(SendCommand, AJsonObjectGivesEveryField)
{
    const ToolRun run = runTool(
        {"send", "--json"},
        "{\"SourceMsgID\":\"7\",\"SenderMsgID\":\"8\",\"ServiceMsgID\":\"9\",\"Timestamp\":\"123\","
        "\"LogLevel [Hex]\":\"0x04\",\"LogLevel\":\"fatal\",\"LogPos\":\"p\",\"Module\":\"M\","
        "\"GroupName\":\"G\",\"ProcessID\":11,\"ThreadID\":\"12\",\"LogMessage\":\"\\u00e4\\n\"}\n"
        "  \t\r\n\n"
        "{}\r\n"
        " { \"LogMessage\" : \"last\" , \"x\" : [ { } ] }");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out + run.err, "");
    const std::vector<DecodedMessage> messages = subscriber_.waitForMessages(3);
    ASSERT_EQ(messages.size(), 3U);
    const DecodedMessage& first = messages[0];
    EXPECT_EQ(first.sourceMsgId, 7U);
    EXPECT_EQ(first.senderMsgId, 1U);  // assigned by this sender
    EXPECT_EQ(first.serviceMsgId, 1U); // assigned by the service
    EXPECT_EQ(first.timestamp, 123U);
    EXPECT_EQ(first.logLevel, 4U);
    EXPECT_EQ(first.logPos, u"p");
    EXPECT_EQ(first.module, u"M");
    EXPECT_EQ(first.groupName, u"G");
    EXPECT_EQ(first.processId, 11U);
    EXPECT_EQ(first.threadId, 12U);
    EXPECT_EQ(first.logMessage, u"ä\n");
    const DecodedMessage& empty = messages[1];
    EXPECT_EQ(empty.sourceMsgId + empty.timestamp + empty.logLevel + empty.processId +
                  empty.threadId,
              0U);
    EXPECT_EQ(empty.logPos + empty.module + empty.groupName + empty.logMessage, u"");
    EXPECT_EQ(messages[2].logMessage, u"last");
}

TEST_F(SendCommand, AWrongJsonLineIsToldByItsNumberAndTheOthersAreSent)
{
    const std::string deep = "{\"a\":" + std::string(100000, '[') + std::string(100000, ']') + "}";
    const std::vector<std::string> wrong{"no JSON",
                                         "{",
                                         "{} {}",
                                         "{},",
                                         "\"text\"",
                                         "5",
                                         "null",
                                         "{\"LogMessage\":\"a\xFF\"}",
                                         "{\"LogMessage\":\"\xED\xA0\x80\"}",
                                         std::string("{\"LogMessage\":\"\0\"}", 18),
                                         std::string("{}\0", 3),
                                         deep,
                                         std::string(1000000, '{'),
                                         "{\"LogMessage\":\"" + std::string(1000000, 'x'),
                                         "{\"Module\":\"" + std::string(1500, 'm') + "\"}",
                                         "\xEF{}",
                                         "{\"LogMessage\":\"\\u12\"}"};
    std::string input = "\n{\"LogMessage\":\"first\"}\n";
    std::string expected;
    std::size_t line = 2;
    for (const std::string& text : wrong) {
        input += text + "\n\n";
        ++line;
        expected += "zulog: line " + std::to_string(line) +
                    (text.find("Module") == std::string::npos
                         ? " is no JSON object\n"
                         : ": module, group and position together do not fit into one packet\n");
        ++line;
    }
    const ToolRun run = runTool({"send", "--json"}, input + "{\"LogMessage\":\"last\"}");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, expected);
    const std::vector<DecodedMessage> messages = subscriber_.waitForMessages(2);
    ASSERT_EQ(messages.size(), 2U);
    EXPECT_EQ(messages[0].logMessage, u"first");
    EXPECT_EQ(messages[1].logMessage, u"last");
}

TEST_F(SendCommand, HostileMembersBecomeWhatALogFileWouldGive)
{
    const std::string deep = std::string(1000, '[') + std::string(1000, ']');
    const ToolRun run = runTool(
        {"send", "--json"},
        "{\"LogMessage\":\"a\\ud800b\\udc00c\\ud83d\\ude00\",\"ThreadID\":18446744073709551616,"
        "\"ProcessID\":\"18446744073709551616\",\"SourceMsgID\":18446744073709551615,"
        "\"Timestamp\":-5,\"LogLevel [Hex]\":\"0x10000000000000000\"}\n"
        "{\"LogMessage\":\"n\\u0000l\",\"Module\":5,\"GroupName\":null,\"x\":" +
            deep + "}\n\xEF\xBB\xBF{\"LogMessage\":\"mark\"}\n");
    EXPECT_EQ(run.status, 0) << run.err;
    const std::vector<DecodedMessage> messages = subscriber_.waitForMessages(3);
    ASSERT_EQ(messages.size(), 3U);
    EXPECT_EQ(messages[0].logMessage, u"a?b?c\U0001F600");
    EXPECT_EQ(messages[0].threadId, 0U);
    EXPECT_EQ(messages[0].processId, 0U);
    EXPECT_EQ(messages[0].sourceMsgId, ~std::uint64_t{0});
    EXPECT_EQ(messages[0].timestamp, 0U);
    EXPECT_EQ(messages[0].logLevel, 0U);
    EXPECT_EQ(messages[1].logMessage, std::u16string(u"n\0l", 3));
    EXPECT_EQ(messages[1].module, u"");
    EXPECT_EQ(messages[2].logMessage, u"mark");
}

TEST_F(SendCommand, ATooLongTextOfAJsonObjectIsCutAndCounted)
{
    const ToolRun run =
        runTool({"send", "--json"}, "{\"LogMessage\":\"" + std::string(1000000, 'x') + "\"}\n");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "zulog: warning: 1 message was too long for one packet and cut\n");
    const std::vector<DecodedMessage> messages = subscriber_.waitForMessages(1);
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_EQ(
        messages[0].logMessage,
        std::u16string(maximumContainer - containerHeaderSize - containerItemHeaderSize, u'x'));
}

TEST_F(SendCommand, AJsonObjectLongerThanSixteenMebibytesIsRefused)
{
    constexpr std::size_t most = std::size_t{16} << 20;
    const auto object = [](std::size_t size) {
        return "{\"x\":\"" + std::string(size - 8, 'x') + "\"}";
    };
    const ToolRun run = runTool({"send", "--json"}, object(most) + '\n' + object(most + 1) +
                                                        "\n{\"LogMessage\":\"last\"}\n");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "zulog: line 2: the JSON object is longer than 16 MiB\n");
    EXPECT_EQ(subscriber_.waitForMessages(2).size(), 2U);
}

TEST_F(SendCommand, ATextCanBeAJsonObject)
{
    EXPECT_EQ(runTool({"send", "--json", "{\"LogMessage\":\"one\"}"}).status, 0);
    const ToolRun run = runTool({"send", "--json", "one"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "zulog: the text is no JSON object\n");
    EXPECT_EQ(subscriber_.waitForMessages(1).size(), 1U);
}

TEST(SendCommandLine, OptionsThatJsonContradictsAreWrongUsage)
{
    const std::vector<std::pair<std::string, std::string>> options{
        {"module", "zulog"}, {"level", "info"}, {"group", "G"}, {"pos", "P"},
        {"pid", "1"},        {"tid", "1"},      {"time", "1"}};
    for (const auto& option : options) {
        const ToolRun run = runTool({"send", "--json", "--" + option.first, option.second}, "{}");
        EXPECT_EQ(run.status, 2) << option.first;
        EXPECT_EQ(run.err, "zulog: --json and --" + option.first +
                               " do not go together; try 'zulog send --help'\n");
    }
}

std::vector<std::uint8_t> containerOf(std::uint64_t number, const std::string& text)
{
    LogMessageContainerBuilder builder;
    builder.sourceMsgId = number;
    builder.timestamp = 1000 + number;
    builder.logLevel = std::uint64_t{1} << (number % 64);
    builder.processId = number * 3;
    builder.threadId = ~number;
    builder.module = "M" + text.substr(0, text.size() / 8);
    builder.groupName = text.substr(0, 10);
    builder.logPos = "x.cpp:" + std::to_string(number);
    builder.logMessage = text;
    builder.cutMessageToFit();
    return builder.build();
}

DecodedMessage decoded(const std::vector<std::uint8_t>& bytes)
{
    LogMessageContainerView view;
    view.data = bytes.data();
    view.length = bytes.size();
    DecodedMessage message;
    message.assign(view);
    return message;
}

std::vector<DecodedMessage> sampleMessages()
{
    std::string controls;
    for (char c = 0; c < 0x20; ++c)
        controls += c;
    std::vector<DecodedMessage> messages;
    for (const std::string& text :
         {std::string(), std::string("plain"), std::string("\"quoted\" \\ \n\r\t"), controls,
          std::string("\xEF\xBB\xBFmark"), std::string("\xC2\x85\xE2\x80\xA8\xE2\x80\xAE"),
          std::string("\xF0\x9F\x9A\x80 \xE6\xB8\xAC\xC3\xA4"), std::string(1388, 'x'),
          std::string(1388, '\1'), std::string("bro\xFFken")})
        messages.push_back(decoded(containerOf(messages.size() + 5, text)));
    // Nothing but a text that fills the packet.
    LogMessageContainerBuilder full;
    full.logMessage =
        std::string(maximumContainer - containerHeaderSize - containerItemHeaderSize, 'f');
    messages.push_back(decoded(full.build()));
    return messages;
}

QByteArray jsonOf(const std::vector<DecodedMessage>& messages, JsonLogWriter::Form form)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    JsonLogWriter writer(buffer, form);
    for (const DecodedMessage& m : messages)
        writer.add(LogMessage(m.serviceMsgId, m.sourceMsgId, m.senderMsgId, m.timestamp, m.logLevel,
                              m.logPos, m.module, m.groupName, m.logMessage, m.processId,
                              m.threadId));
    writer.finish();
    return buffer.data();
}

class SendCommandRoundTrip : public SendCommand,
                             public ::testing::WithParamInterface<JsonLogWriter::Form>
{
};

TEST_P(SendCommandRoundTrip, WhatAJsonLogHoldsComesOutTheSame)
{
    const std::vector<DecodedMessage> sent = sampleMessages();
    const ToolRun run = runTool({"send", "--json"}, jsonOf(sent, GetParam()).toStdString());
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    const std::vector<DecodedMessage> messages = subscriber_.waitForMessages(sent.size());
    ASSERT_EQ(messages.size(), sent.size());
    for (std::size_t i = 0; i < sent.size(); ++i) {
        EXPECT_EQ(messages[i].sourceMsgId, sent[i].sourceMsgId);
        EXPECT_EQ(messages[i].timestamp, sent[i].timestamp);
        EXPECT_EQ(messages[i].logLevel, sent[i].logLevel);
        EXPECT_EQ(messages[i].processId, sent[i].processId);
        EXPECT_EQ(messages[i].threadId, sent[i].threadId);
        EXPECT_EQ(messages[i].logPos, sent[i].logPos);
        EXPECT_EQ(messages[i].module, sent[i].module) << i;
        EXPECT_EQ(messages[i].groupName, sent[i].groupName) << i;
        EXPECT_EQ(messages[i].logMessage, sent[i].logMessage) << i;
    }
}

INSTANTIATE_TEST_SUITE_P(Forms, SendCommandRoundTrip,
                         ::testing::Values(JsonLogWriter::Form::Lines, JsonLogWriter::Form::Array),
                         [](const auto& test) {
                             return test.param == JsonLogWriter::Form::Lines ? "Lines" : "Array";
                         });

TEST_F(SendCommand, AnArrayMayBeLaidOutInAnyWay)
{
    for (const char* array :
         {"[{\"LogMessage\":\"a,]}[{\\\"\\\\\"},{\"LogMessage\":\"b\"}]",
          "\xEF\xBB\xBF \n\n[\n{\n\"LogMessage\"\n:\n\"a,]}[{\\\"\\\\\"\n}\n,\n{\"LogMessage\":"
          "\"b\"}\n]\n\n",
          "[\t{\"LogMessage\":\"a,]}[{\\\"\\\\\",\"x\":[[],{\"y\":[1,2]}]}\r\n,{\"LogMessage\":"
          "\"b\"}]   "}) {
        const std::size_t before = subscriber_.received().count();
        const ToolRun run = runTool({"send", "--json"}, array);
        EXPECT_EQ(run.status, 0) << array;
        EXPECT_EQ(run.err, "");
        const std::vector<DecodedMessage> messages = subscriber_.waitForMessages(before + 2);
        ASSERT_EQ(messages.size(), before + 2);
        EXPECT_EQ(messages[before].logMessage, u"a,]}[{\"\\");
        EXPECT_EQ(messages[before + 1].logMessage, u"b");
    }
    for (const char* array : {"[]", " [ \n ] \n", "", "\n\n", "\xEF\xBB\xBF"}) {
        const ToolRun run = runTool({"send", "--json"}, array);
        EXPECT_EQ(run.status, 0) << array;
        EXPECT_EQ(run.err, "");
    }
}

TEST_F(SendCommand, AWrongElementIsToldByItsLineAndTheOthersAreSent)
{
    const std::string one = "{\"LogMessage\":\"one\"}";
    const std::string two = "{\"LogMessage\":\"two\"}";
    const std::vector<std::pair<std::string, std::string>> cases{
        {"[" + one + ",\n5,\n" + two + "]", "zulog: line 2 is no JSON object\n"},
        {"[" + one + ",\n," + two + "]", "zulog: line 2 is no JSON object\n"},
        {"[" + one + "," + two + ",\n]", "zulog: line 2 is no JSON object\n"},
        {"[" + one + ",\n{\"LogMessage\":\"no end\n},\n" + two + "]",
         "zulog: line 2 is no JSON object\n"},
        {"[" + one + ",\n{\"x\":[}]},\n" + two + "]", "zulog: line 2 is no JSON object\n"},
        {"[" + one + "\n," + two + "}\n]", "zulog: line 2 is no JSON object\n"},
        {"[" + one + ",\n" + two + ",\n{\"LogMes", "zulog: line 3: the array does not end\n"},
        {"[" + one + ",\n" + two + ",", "zulog: line 2: the array does not end\n"},
        {"[" + one + ",\n" + two + "]\n\n]", "zulog: line 4: something follows the array\n"}};
    for (const auto& wrong : cases) {
        const std::size_t before = subscriber_.received().count();
        const ToolRun run = runTool({"send", "--json"}, wrong.first);
        EXPECT_EQ(run.status, 1) << wrong.first;
        EXPECT_EQ(run.err, wrong.second) << wrong.first;
        const bool secondIsWrong = wrong.first.find("}}") != std::string::npos;
        EXPECT_EQ(subscriber_.waitForMessages(before + (secondIsWrong ? 1 : 2)).size(),
                  before + (secondIsWrong ? 1 : 2))
            << wrong.first;
    }
}

} // namespace
} // namespace zuLogging
