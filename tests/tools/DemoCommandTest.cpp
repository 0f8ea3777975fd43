#include "tests/service/RunningService.h"
#include "tests/service/Subscriber.h"
#include "tests/tools/ToolRun.h"

#include <QRegularExpression>

#include <gtest/gtest.h>

namespace zuLogging {
namespace {

using test::runTool;
using test::ToolRun;

class DemoCommand : public ::testing::Test
{
protected:
    test::RunningService service_;
    test::Subscriber subscriber_;
};

TEST_F(DemoCommand, SendsTheCountInOrderAndSaysSo)
{
    const ToolRun run = runTool({"demo", "--rate", "5000", "--count", "1000"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "");
    EXPECT_TRUE(QRegularExpression(QStringLiteral("^1000 messages in [0-9]+\\.[0-9]{3} s\n$"))
                    .match(QString::fromStdString(run.err))
                    .hasMatch())
        << run.err;
    const std::vector<DecodedMessage> messages = subscriber_.waitForMessages(1000);
    ASSERT_EQ(messages.size(), 1000U);
    for (std::size_t i = 0; i < messages.size(); ++i)
        ASSERT_EQ(messages[i].sourceMsgId, i + 1);
}

TEST(ReliableDemoCommand, LosesNothingAtTheHighestRate)
{
    const auto sink = std::make_shared<test::CollectingSink>();
    const test::RunningService service({sink});
    const ToolRun run = runTool({"demo", "--rate", "200000", "--count", "5000", "--reliable"});
    EXPECT_EQ(run.status, 0) << run.err;
    const std::vector<DecodedMessage> messages = sink->messages();
    ASSERT_EQ(messages.size(), 5000U);
    for (std::size_t i = 0; i < messages.size(); ++i)
        ASSERT_EQ(messages[i].sourceMsgId, i + 1);
}

TEST_F(DemoCommand, SendsEvenly)
{
    constexpr std::size_t count = 2000;
    ASSERT_EQ(runTool({"demo", "--rate", "1000", "--count", "2000"}).status, 0);
    const std::vector<DecodedMessage> messages = subscriber_.waitForMessages(count);
    ASSERT_EQ(messages.size(), count);
    const std::uint64_t first = messages.front().timestamp;
    const std::uint64_t span = messages.back().timestamp - first;
    EXPECT_GE(span, 1900000U);
    std::vector<std::size_t> inTenth(10);
    for (const DecodedMessage& message : messages)
        ++inTenth[std::min<std::size_t>((message.timestamp - first) * 10 / span, 9)];
    for (const std::size_t tenth : inTenth)
        EXPECT_LE(tenth, count / 5);
}

} // namespace
} // namespace zuLogging
