// The library as a C++ program sees it, inside the test's process.

#include "logging/TimestampText.h"
#include "platform/Process.h"
#include "tests/client/ClientFixture.h"
#include "tests/service/ServiceProcess.h"

#include <QString>

#include <atomic>
#include <set>
#include <thread>

namespace zuLogging {
namespace {

using namespace std::chrono_literals;
using test::waitFor;
using zulog::Level;
using zulog::Logger;

class LoggerTest : public test::ClientFixture
{
};

TEST_F(LoggerTest, SaysWhoWhereAndWhen)
{
    const Logger log("SaysWho", "group");
    const std::uint64_t before = currentTimestamp();
    log.warn("text");
    const int line = __LINE__ - 1;
    const std::uint64_t after = currentTimestamp();
    const auto messages = messagesOf(u"SaysWho", 1);
    ASSERT_EQ(messages.size(), 1U);
    const DecodedMessage& message = messages[0];
    EXPECT_EQ(message.logMessage, u"text");
    EXPECT_EQ(message.groupName, u"group");
    EXPECT_EQ(message.logLevel, 4U);
    EXPECT_EQ(message.logPos, QStringLiteral("LoggerTest.cpp:%1").arg(line).toStdU16String());
    EXPECT_EQ(message.processId, platform::currentProcessId());
    EXPECT_EQ(message.threadId, platform::currentThreadId());
    EXPECT_GE(message.timestamp, before);
    EXPECT_LE(message.timestamp, after);
}

TEST_F(LoggerTest, EveryLevelHasItsCode)
{
    Logger log("EveryLevel");
    log.setLevel(Level::Debug);
    log.fatal("1");
    log.err("2");
    log.warn("4");
    log.info("8");
    log.trace("16");
    log.debug("32");
    log.log(Level::Info, "8");
    const auto messages = messagesOf(u"EveryLevel", 7);
    ASSERT_EQ(messages.size(), 7U);
    for (const DecodedMessage& message : messages)
        EXPECT_EQ(QString::fromStdU16String(message.logMessage), QString::number(message.logLevel));
}

TEST_F(LoggerTest, MessagesAreNumberedByTheProcessAndByTheSender)
{
    const Logger first("Numbers");
    const Logger second("Numbers");
    for (int i = 0; i < 50; ++i) {
        first.info("a");
        second.info("b");
    }
    const auto messages = messagesOf(u"Numbers", 100);
    ASSERT_EQ(messages.size(), 100U);
    for (std::size_t i = 1; i < messages.size(); ++i) {
        EXPECT_EQ(messages[i].sourceMsgId, messages[i - 1].sourceMsgId + 1);
        EXPECT_EQ(messages[i].senderMsgId, messages[i - 1].senderMsgId + 1);
    }
}

TEST_F(LoggerTest, EmptyTextsAndNamesAreValid)
{
    const Logger log("", "");
    log.info("");
    const auto messages = messagesOf(u"", 1);
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_EQ(messages[0].logMessage, u"");
    EXPECT_EQ(messages[0].groupName, u"");
}

TEST_F(LoggerTest, AHugeTextIsCutAtACharacterAndEndsInDots)
{
    const Logger log("Huge");
    std::string text;
    while (text.size() < 5000000)
        text += "Größe ";
    log.info(text);
    const auto messages = messagesOf(u"Huge", 1);
    ASSERT_EQ(messages.size(), 1U);
    const std::u16string& got = messages[0].logMessage;
    EXPECT_GT(got.size(), 900U);
    EXPECT_EQ(got.substr(got.size() - 3), u"...");
    EXPECT_EQ(got.find(u'\uFFFD'), std::u16string::npos);
    EXPECT_EQ(got.substr(0, 12), u"Größe Größe ");
}

TEST_F(LoggerTest, InvalidUtf8AndNulBytesReachTheReader)
{
    const Logger log("Invalid\xFF");
    log.info("a\xFF"
             "b\xC3");
    log.info(std::string_view("x\0y", 3));
    const auto messages = messagesOf(u"Invalid\uFFFD", 2);
    ASSERT_EQ(messages.size(), 2U);
    EXPECT_EQ(messages[0].logMessage, u"a\uFFFDb\uFFFD");
    EXPECT_EQ(messages[1].logMessage, std::u16string(u"x\0y", 3));
}

TEST_F(LoggerTest, ManyThreadsLogAtTheSameTimeAndEachOnesMessagesStayInOrder)
{
    constexpr int threads = 8;
    constexpr int each = 500;
    const Logger log("Threads");
    std::vector<std::thread> running;
    for (int thread = 0; thread < threads; ++thread)
        running.emplace_back([&] {
            const Logger own("Threads", "own");
            for (int i = 0; i < each; ++i)
                (i % 2 == 0 ? log : own).info(std::to_string(i));
        });
    for (std::thread& thread : running)
        thread.join();
    const auto messages = messagesOf(u"Threads", threads * each);
    ASSERT_EQ(messages.size(), static_cast<std::size_t>(threads * each));
    std::map<std::uint64_t, int> next;
    for (const DecodedMessage& message : messages) {
        const int expected = next[message.threadId]++;
        EXPECT_EQ(QString::fromStdU16String(message.logMessage).toInt(), expected);
    }
    EXPECT_EQ(next.size(), static_cast<std::size_t>(threads));
}

TEST_F(LoggerTest, TheServicesConfigurationGivesTheLevelAndAChangeIsFollowed)
{
    const Logger log("Followed");
    const Logger other("Other");
    log.info("the library looks for the service");
    ASSERT_TRUE(waitFor([&] { return log.level() == Level::Debug; }));
    setConfiguration(R"({"parameters":{"level":"info"},"specializations":[
        {"attributes":[{"id":"module","value":"followed"}],"parameters":{"level":"err"}}]})");
    EXPECT_TRUE(waitFor([&] { return log.level() == Level::Err; }));
    EXPECT_TRUE(waitFor([&] { return other.level() == Level::Info; }));
    EXPECT_FALSE(log.isEnabled(Level::Warn));
    EXPECT_TRUE(log.isEnabled(Level::Err));
    EXPECT_TRUE(log.isEnabled(Level::Fatal));
    const Logger later("Followed");
    EXPECT_TRUE(waitFor([&] { return later.level() == Level::Err; }));

    setConfiguration(R"({"parameters":{"destination":"none"}})");
    EXPECT_TRUE(waitFor([&] { return log.level() == Level::None; }));
    EXPECT_FALSE(log.isEnabled(Level::Fatal));
    setConfiguration("{}");
    EXPECT_TRUE(waitFor([&] { return log.level() == Level::Debug; }));
}

TEST_F(LoggerTest, ARuleForThisProgramCounts)
{
    const Logger log("Program");
    log.info("the library looks for the service");
    const std::string program =
        platform::programName(platform::currentProcessId()).value_or(std::string());
    ASSERT_FALSE(program.empty());
    setConfiguration(R"({"specializations":[{"attributes":[{"id":"process","value":")" + program +
                     R"("}],"parameters":{"level":"warn"}},
                     {"attributes":[{"id":"process","value":"another"}],
                      "parameters":{"level":"none"}}]})");
    EXPECT_TRUE(waitFor([&] { return log.level() == Level::Warn; }));
}

TEST_F(LoggerTest, ALevelThatTheProgramSetsWinsUntilItFollowsTheServiceAgain)
{
    Logger log("Explicit");
    const Logger guide("Explicit");
    log.setLevel(Level::Trace);
    log.info("the library looks for the service");
    setConfiguration(R"({"parameters":{"level":"fatal"}})");
    ASSERT_TRUE(waitFor([&] { return guide.level() == Level::Fatal; }));
    EXPECT_EQ(log.level(), Level::Trace);
    EXPECT_TRUE(log.isEnabled(Level::Trace));
    EXPECT_FALSE(log.isEnabled(Level::Debug));
    log.setLevel(Level::None);
    EXPECT_FALSE(log.isEnabled(Level::Fatal));
    log.followService();
    EXPECT_TRUE(waitFor([&] { return log.level() == Level::Fatal; }));
}

TEST_F(LoggerTest, TheLevelNoneIsNoMessagesLevel)
{
    const Logger log("NoneLevel");
    EXPECT_FALSE(log.isEnabled(Level::None));
    EXPECT_FALSE(log.isEnabled(static_cast<Level>(64)));
}

TEST_F(LoggerTest, MessagesWaitForAServiceThatIsAwayAndFollowItToAnotherPort)
{
    const Logger log("Restart");
    log.info("before");
    ASSERT_TRUE(zulog::flush(20s));
    const SocketAddress first = service();
    stopService();
    for (int i = 0; i < 200; ++i)
        log.err(std::to_string(i));
    EXPECT_FALSE(zulog::flush(0ms));
    restartService();
    EXPECT_NE(service(), first);
    ASSERT_TRUE(zulog::flush(20s));
    const auto messages = messagesOf(u"Restart", 201);
    ASSERT_EQ(messages.size(), 201U);
    for (int i = 0; i < 200; ++i)
        EXPECT_EQ(QString::fromStdU16String(messages[static_cast<std::size_t>(i) + 1].logMessage),
                  QString::number(i));
    EXPECT_EQ(zulog::droppedMessages(), 0U);
}

TEST_F(LoggerTest, WhenTheServiceIsKilledAndAnotherComesNothingIsMissing)
{
    const Logger log("Killed");
    stopService();
    {
        test::ServiceProcess killed;
        ASSERT_TRUE(killed.start());
        log.err("to the one that will be killed");
        ASSERT_TRUE(zulog::flush(20s));
        killed.kill();
        for (int i = 0; i < 100; ++i)
            log.err(std::to_string(i));
        EXPECT_FALSE(zulog::flush(0ms)) << "nobody can have taken them";
    }
    restartService();
    ASSERT_TRUE(zulog::flush(20s));
    std::set<std::u16string> texts;
    for (const DecodedMessage& message : messagesOf(u"Killed", 100))
        texts.insert(message.logMessage);
    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(texts.count(QString::number(i).toStdU16String()), 1U) << i;
}

TEST_F(LoggerTest, LoggersComeAndGoWhileOthersAreLookedAfter)
{
    std::atomic<bool> isOver{false};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 3; ++thread)
        threads.emplace_back([&] {
            while (!isOver) {
                Logger log("Short", "life");
                log.setLevel(Level::Info);
                log.followService();
                log.debug("x");
            }
        });
    const Logger log("Witness");
    for (const char* level : {"err", "warn", "info", "err"}) {
        setConfiguration(std::string(R"({"parameters":{"level":")") + level + R"("}})");
        const auto wanted = std::string(level) == "err"    ? Level::Err
                            : std::string(level) == "warn" ? Level::Warn
                                                           : Level::Info;
        EXPECT_TRUE(waitFor([&] { return log.level() == wanted; }));
    }
    isOver = true;
    for (std::thread& thread : threads)
        thread.join();
}

} // namespace
} // namespace zuLogging
