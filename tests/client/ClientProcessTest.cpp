// Whole processes that use the library: how they begin, fork and end.

#include "logging/ConnectionInfo.h"
#include "logging/ServiceStatus.h"
#include "platform/SharedMemory.h"
#include "tests/client/ClientFixture.h"
#include "tests/service/ProgramRun.h"
#include "tests/service/ServiceProcess.h"
#include "tests/support/FakeLogServer.h"

#include <QElapsedTimer>
#include <QProcess>

#include <map>
#include <set>

namespace zuLogging {
namespace {

using test::ProgramRun;
using test::runProgram;
using test::waitFor;

const QString program = QStringLiteral("client_program");

class ClientProcessTest : public test::ClientFixture
{
protected:
    static ProgramRun run(const QStringList& arguments, const QStringList& environment = {})
    {
        return runProgram(program, arguments, {}, environment, 90000);
    }
    std::vector<std::u16string> textsOf(const std::u16string& module, std::size_t count) const
    {
        std::vector<std::u16string> texts;
        for (const DecodedMessage& message : messagesOf(module, count))
            texts.push_back(message.logMessage);
        return texts;
    }
};

std::u16string textOf(int number)
{
    return QString::number(number).toStdU16String();
}

/// The program, running.
class RunningProgram
{
public:
    explicit RunningProgram(const QStringList& arguments)
    {
        process_.start(test::programPath(program), arguments);
    }
    ~RunningProgram()
    {
        process_.kill();
        process_.waitForFinished();
    }
    /// The next word that it says; empty if it ends or says nothing.
    QString word()
    {
        waitFor([&] { return process_.canReadLine() || process_.state() == QProcess::NotRunning; },
                60000);
        return QString::fromUtf8(process_.readLine()).trimmed();
    }
    void goOn() { process_.write("\n"); }
    int waitForEnd()
    {
        const bool ended = waitFor([&] { return process_.state() == QProcess::NotRunning; }, 60000);
        return ended && process_.exitStatus() == QProcess::NormalExit ? process_.exitCode() : -1;
    }

private:
    QProcess process_;
};

TEST_F(ClientProcessTest, WhatIsQueuedAtTheEndIsStillSent)
{
    const ProgramRun ran = run({QStringLiteral("several"), QStringLiteral("5000")});
    ASSERT_TRUE(ran.ended);
    EXPECT_EQ(ran.status, 0);
    // All of it is there: nobody sends any more.
    const auto texts = textsOf(u"Several", 5000);
    ASSERT_EQ(texts.size(), 5000U);
    for (int i = 0; i < 5000; ++i)
        ASSERT_EQ(texts[static_cast<std::size_t>(i)], textOf(i));
}

TEST_F(ClientProcessTest, ABurstOfHundredThousandMessagesFromFourThreadsArrivesWhole)
{
    const ProgramRun ran =
        run({QStringLiteral("burst"), QStringLiteral("4"), QStringLiteral("25000")});
    ASSERT_TRUE(ran.ended);
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(ran.out, QStringLiteral("0\n"));
    const auto messages = messagesOf(u"Burst", 100000);
    ASSERT_EQ(messages.size(), 100000U);
    std::map<QString, int> next;
    for (std::size_t i = 0; i < messages.size(); ++i) {
        ASSERT_EQ(messages[i].sourceMsgId, i + 1);
        ASSERT_EQ(messages[i].senderMsgId, i + 1);
        const QString text = QString::fromStdU16String(messages[i].logMessage);
        ASSERT_EQ(text.section(QLatin1Char(' '), 1).toInt(),
                  next[text.section(QLatin1Char(' '), 0, 0)]++);
    }
    EXPECT_EQ(next.size(), 4U);
}

TEST_F(ClientProcessTest, ABurstArrivesWholeAtTheRealService)
{
    stopService();
    test::ServiceProcess service;
    ASSERT_TRUE(service.start());
    const ProgramRun ran =
        run({QStringLiteral("burst"), QStringLiteral("4"), QStringLiteral("25000")});
    ASSERT_TRUE(ran.ended);
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(ran.out, QStringLiteral("0\n"));
    const auto status = ServiceStatus::fromJson(
        LogClient(service.address()).download(LogClientCommand::GetServiceStatus));
    EXPECT_EQ(status.taken, 100000U);
}

TEST_F(ClientProcessTest, WhatDoesNotFitIsCountedAndANoteSaysHowManyAreMissing)
{
    stopService();
    RunningProgram drops({QStringLiteral("drops"), QStringLiteral("3000")});
    const int dropped = drops.word().toInt();
    ASSERT_GT(dropped, 1000);
    ASSERT_LT(dropped, 3000);
    restartService();
    drops.goOn();
    EXPECT_EQ(drops.waitForEnd(), 0);

    const auto messages = messagesOf(u"Drops", static_cast<std::size_t>(3000 - dropped) + 2);
    ASSERT_EQ(messages.size(), static_cast<std::size_t>(3000 - dropped) + 2);
    // The oldest are kept, then comes the note, then what was logged when there was room again.
    const auto kept = static_cast<std::size_t>(3000 - dropped);
    for (std::size_t i = 0; i < kept; ++i)
        ASSERT_EQ(messages[i].logMessage, textOf(static_cast<int>(i)));
    EXPECT_EQ(messages[kept].logMessage,
              QStringLiteral("%1 messages were dropped: the queue was full")
                  .arg(dropped)
                  .toStdU16String());
    EXPECT_EQ(messages[kept].logLevel, 2U);
    EXPECT_EQ(messages[kept].groupName, u"group");
    EXPECT_EQ(messages[kept].sourceMsgId, 3001U);
    EXPECT_EQ(messages[kept].senderMsgId, kept + 1);
    EXPECT_EQ(messages[kept + 1].logMessage, u"room again");
    EXPECT_EQ(messages[kept + 1].sourceMsgId, 3002U);
}

TEST_F(ClientProcessTest, WithoutAServiceTheEndIsNotHeldUp)
{
    stopService();
    QElapsedTimer timer;
    timer.start();
    const ProgramRun ran = run({QStringLiteral("alone")});
    ASSERT_TRUE(ran.ended);
    EXPECT_EQ(ran.status, 0);
    EXPECT_EQ(ran.out, QStringLiteral("not taken\n"));
    EXPECT_LT(timer.elapsed(), 20000);
}

TEST_F(ClientProcessTest, AServiceThatDoesNotAnswerHoldsUpTheEndForItsLimitOnly)
{
    stopService();
    test::FakeLogServer silent;
    platform::SharedMemoryPublisher publisher;
    ASSERT_EQ(publisher.publish(connectionInfoName(), encodeConnectionInfo(silent.address())),
              platform::SharedMemoryPublisher::Result::Published);
    QElapsedTimer timer;
    timer.start();
    const ProgramRun ran = run({QStringLiteral("alone")});
    ASSERT_TRUE(ran.ended);
    EXPECT_EQ(ran.status, 0);
    EXPECT_GE(timer.elapsed(), 1000) << "the default limit";
    EXPECT_LT(timer.elapsed(), 20000);
}

TEST_F(ClientProcessTest, StaticObjectsMayLogBeforeMainAndAfterIt)
{
    const ProgramRun ran =
        run({QStringLiteral("statics")}, {QStringLiteral("CLIENT_PROGRAM_STATICS=before")});
    ASSERT_TRUE(ran.ended);
    EXPECT_EQ(ran.status, 0);
    const std::vector<std::u16string> expected{u"before main begins", u"main", u"before main ends"};
    EXPECT_EQ(textsOf(u"Statics", 3), expected);
}

TEST_F(ClientProcessTest, AChildSendsItsOwnMessagesUnderItsOwnNumberAndNothingTwice)
{
    RunningProgram forks({QStringLiteral("forks")});
    const qulonglong parent = forks.word().toULongLong();
    const qulonglong child = forks.word().toULongLong();
    EXPECT_EQ(forks.waitForEnd(), 0);
    const auto messages = messagesOf(u"Forks", 4);
    ASSERT_EQ(messages.size(), 4U);
    std::map<std::u16string, DecodedMessage> byText;
    for (const DecodedMessage& message : messages)
        byText[message.logMessage] = message;
    ASSERT_EQ(byText.size(), 4U);
    EXPECT_EQ(byText[u"parent before"].processId, parent);
    EXPECT_EQ(byText[u"parent after"].processId, parent);
    EXPECT_EQ(byText[u"parent after"].sourceMsgId, 2U);
    EXPECT_EQ(byText[u"child"].processId, child);
    EXPECT_EQ(byText[u"child"].threadId, child) << "its only thread has the process's number";
    EXPECT_EQ(byText[u"child"].sourceMsgId, 1U);
    EXPECT_NE(byText[u"grandchild"].processId, child);
    EXPECT_NE(byText[u"grandchild"].processId, parent);
    EXPECT_EQ(byText[u"grandchild"].sourceMsgId, 1U);
}

TEST_F(ClientProcessTest, WhatWaitsAtAForkIsSentOnceByTheParent)
{
    stopService();
    RunningProgram forks({QStringLiteral("forks-under-load"), QStringLiteral("200")});
    ASSERT_EQ(forks.word(), QStringLiteral("forked"));
    restartService();
    forks.goOn();
    EXPECT_EQ(forks.waitForEnd(), 0);
    const auto texts = textsOf(u"Parent", 200);
    ASSERT_EQ(texts.size(), 200U);
    for (int i = 0; i < 200; ++i)
        EXPECT_EQ(texts[static_cast<std::size_t>(i)], textOf(i));
}

TEST_F(ClientProcessTest, ItsThreadTakesNoSignals)
{
    const ProgramRun ran = run({QStringLiteral("signals")});
    EXPECT_TRUE(ran.ended);
    EXPECT_EQ(ran.status, 0);
}

#ifndef ZULOG_SANITIZED // a sanitizer needs descriptors of its own
TEST_F(ClientProcessTest, AProcessThatMayOpenNothingGoesOn)
{
    const ProgramRun ran = run({QStringLiteral("poor")});
    EXPECT_TRUE(ran.ended);
    EXPECT_EQ(ran.status, 0);
}

#endif

TEST_F(ClientProcessTest, BeforeAConfigurationIsKnownEverythingPassesAndWithoutAServiceInfo)
{
    stopService();
    RunningProgram levels({QStringLiteral("levels")});
    bool isInfo = false;
    for (int i = 0; i < 1000 && !isInfo; ++i) {
        levels.goOn();
        const QString level = levels.word();
        ASSERT_TRUE(level == QStringLiteral("32") || level == QStringLiteral("8"))
            << level.toStdString();
        isInfo = level == QStringLiteral("8");
    }
    EXPECT_TRUE(isInfo);
    // A message from when nobody knew is kept for a service that comes.
    restartService();
    EXPECT_EQ(messagesOf(u"Levels", 1).size(), 1U);
}

} // namespace
} // namespace zuLogging
