// The edges of every number and text, through real sockets into a real window.

#include "logging/LogClient.h"
#include "tests/endurance/EnduranceTest.h"
#include "tests/support/TestContainer.h"

#include <limits>

namespace zuLogging {
namespace {

using test::TestContainer;
using test::waitFor;

class Limits : public test::EnduranceTest
{
protected:
    bool startAll()
    {
        if (!service_.start() || !openWindow())
            return false;
        startButton()->click();
        return isLogging();
    }

    /// To the service, acknowledged.
    void send(const TestContainer& container)
    {
        LogClient client(service_.address());
        client.command(makeRequest(magicLogMessage,
                                   static_cast<std::uint16_t>(LogMessageCommand::Message),
                                   container.bytes().data(), container.bytes().size()));
    }

    /// Every cell of the last row, in every way that it can be shown: nothing may go wrong.
    void readLastRow()
    {
        const int row = model().rowCount() - 1;
        for (int mode = 0; mode < 2; ++mode) {
            store().setTimeDisplayMode(mode);
            for (int column = 0; column < model().columnCount(); ++column)
                for (const int role : {int(Qt::DisplayRole), int(Qt::ToolTipRole),
                                       int(Qt::BackgroundRole), int(Qt::ForegroundRole)})
                    model().data(model().index(row, column), role);
        }
        store().setTimeDisplayMode(0);
    }
};

TEST_F(Limits, WithRowLimitsOfNothingOneAndTwoNoMessageIsUnaccounted)
{
    ASSERT_TRUE(startAll());
    std::uint64_t sent = 0;
    for (const int limit : {0, 1, 2}) {
        store().setMaximumMessages(limit);
        store().truncateTo(limit);
        ASSERT_EQ(demo(2000, 200).status, 0);
        sent += 200;
        ASSERT_TRUE(waitFor([&] { return counted(LogCount::Queued) == sent; }));
        ASSERT_TRUE(waitFor([&] { return store().queueSize() == 0; }));
        EXPECT_LE(model().messageCount(), std::max(limit, 1));
    }
    stop();
    expectBalance();
}

TEST_F(Limits, TheLargestRowLimitIsOneMoreNumber)
{
    ASSERT_TRUE(startAll());
    store().setMaximumMessages(100000000);
    ASSERT_EQ(demo(2000, 500).status, 0);
    EXPECT_TRUE(waitFor([&] { return model().messageCount() == 500; }));
    stop();
    expectBalance();
}

TEST_F(Limits, TextsOfNothingAndOfAWholePacketAreShown)
{
    ASSERT_TRUE(startAll());
    send(TestContainer().text(1, ""));
    ASSERT_TRUE(waitFor([&] { return model().rowCount() == 1; }));
    EXPECT_EQ(model().messageAt(0)->logMessage(), std::u16string_view());
    readLastRow();

    const std::size_t room = maximumContainer - containerHeaderSize - containerItemHeaderSize;
    send(TestContainer().text(1, std::string(room, 'x')));
    ASSERT_TRUE(waitFor([&] { return model().rowCount() == 2; }));
    EXPECT_EQ(model().messageAt(1)->logMessage(), std::u16string(room, u'x'));
    readLastRow();
    stop();
    expectBalance();
}

TEST_F(Limits, NumbersAtTheEdgesOf32And64BitsAreShownAsTheyAre)
{
    ASSERT_TRUE(startAll());
    int rows = 0;
    for (const std::uint64_t number :
         {std::uint64_t{0}, std::uint64_t{1}, std::uint64_t{0x7FFFFFFF}, std::uint64_t{0x80000000},
          std::uint64_t{0xFFFFFFFF}, std::uint64_t{0x100000000}, std::uint64_t{0x7FFFFFFFFFFFFFFF},
          std::uint64_t{0x8000000000000000}, std::numeric_limits<std::uint64_t>::max()}) {
        send(TestContainer().ids(number, number, number).text(1, "numbers"));
        ++rows;
        ASSERT_TRUE(waitFor([&] { return model().rowCount() == rows; })) << number;
        EXPECT_EQ(model().messageAt(rows - 1)->sourceMsgId(), number);
        readLastRow();
    }
    stop();
    expectBalance();
}

} // namespace
} // namespace zuLogging
