// The built program zulog, as a shell sees it.

#include "tests/service/ProgramRun.h"
#include "tests/service/RunningService.h"
#include "tests/service/Subscriber.h"
#include "tests/support/TestEnvironment.h"

#include <QProcess>

#include <gtest/gtest.h>

namespace zuLogging {
namespace {

using test::ProgramRun;
using test::runProgram;

ProgramRun zulog(const QStringList& arguments, const QByteArray& input = {})
{
    return runProgram(QStringLiteral("zulog"), arguments, input);
}

TEST(Zulog, ExitStatusesAreThoseOfTheCommands)
{
    EXPECT_EQ(zulog({QStringLiteral("--help")}).status, 0);
    EXPECT_EQ(zulog({QStringLiteral("--version")}).out, QStringLiteral("zulog 3.1.26\n"));
    EXPECT_EQ(zulog({QStringLiteral("send"), QStringLiteral("x")}).status, 1);
    EXPECT_EQ(
        zulog({QStringLiteral("demo"), QStringLiteral("--count"), QStringLiteral("1")}).status, 1);
    EXPECT_EQ(zulog({}).status, 2);
    EXPECT_EQ(zulog({QStringLiteral("send"), QStringLiteral("--what")}).status, 2);
}

TEST(Zulog, SendsArgumentsAndStandardInput)
{
    const test::RunningService service;
    const test::Subscriber subscriber;
    EXPECT_EQ(zulog({QStringLiteral("send"), QStringLiteral("Größe Ω 測定 🚀")}).status, 0);
    EXPECT_EQ(zulog({QStringLiteral("send")}, "one\ntwo\n").status, 0);
    const std::vector<DecodedMessage> messages = subscriber.waitForMessages(3);
    ASSERT_EQ(messages.size(), 3U);
    EXPECT_EQ(messages[0].logMessage, u"Größe Ω 測定 🚀");
    EXPECT_EQ(messages[2].logMessage, u"two");
    EXPECT_EQ(messages[2].sourceMsgId, 2U);
}

class EndlessDemo : public ::testing::TestWithParam<const char*>
{
};

TEST_P(EndlessDemo, EndsWithASummaryWhenAskedTo)
{
    const test::RunningService service;
    const test::Subscriber subscriber;
    QProcess demo;
    demo.start(test::programPath(QStringLiteral("zulog")),
               {QStringLiteral("demo"), QStringLiteral("--rate"), QStringLiteral("500")});
    ASSERT_TRUE(demo.waitForStarted());
    ASSERT_GE(subscriber.waitForMessages(50).size(), 50U);
    QProcess::execute(QStringLiteral("kill"),
                      {QString::fromLatin1(GetParam()), QString::number(demo.processId())});
    ASSERT_TRUE(test::waitFor([&] { return demo.state() == QProcess::NotRunning; }));
    EXPECT_EQ(demo.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(demo.exitCode(), 0);
    const QByteArray summary = demo.readAllStandardError();
    const std::size_t sent = summary.left(summary.indexOf(' ')).toUInt();
    EXPECT_GE(sent, 50U);
    EXPECT_EQ(summary.count('\n'), 1);
    EXPECT_EQ(subscriber.waitForMessages(sent).size(), sent);
}

INSTANTIATE_TEST_SUITE_P(Signals, EndlessDemo, ::testing::Values("-INT", "-TERM"),
                         [](const auto& test) { return std::string(test.param + 1); });

} // namespace
} // namespace zuLogging
