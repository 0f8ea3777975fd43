#include "service/ReplayGuard.h"

#include <gtest/gtest.h>

namespace zuLogging {
namespace {

using namespace std::chrono_literals;

class ReplayGuarding : public ::testing::Test
{
protected:
    std::shared_ptr<ReplayProgress> start(const SocketAddress& address)
    {
        const auto progress = std::make_shared<ReplayProgress>();
        guard_.note(address, progress);
        return progress;
    }
    static SocketAddress at(const char* text) { return parseSocketAddress(text); }

    ReplayGuard::TimePoint now_ = ReplayGuard::TimePoint() + 1h;
    ReplayGuard guard_{[this] { return now_; }};
    const SocketAddress viewer_ = at("127.0.0.1:5000");
};

TEST_F(ReplayGuarding, AnAddressIsCoveredWhileItsReplayIsUnderWayHoweverLong)
{
    EXPECT_FALSE(guard_.covers(viewer_));
    const auto replay = start(viewer_);
    EXPECT_TRUE(guard_.covers(viewer_));
    now_ += 24h;
    EXPECT_TRUE(guard_.covers(viewer_));
}

TEST_F(ReplayGuarding, AndForTwoSecondsAfterIt)
{
    const auto replay = start(viewer_);
    now_ += 10s;
    replay->end(now_);
    EXPECT_TRUE(guard_.covers(viewer_));
    now_ += 2s - 1ns;
    EXPECT_TRUE(guard_.covers(viewer_));
    now_ += 1ns;
    EXPECT_FALSE(guard_.covers(viewer_));
}

TEST_F(ReplayGuarding, OfTwoReplaysTheLaterCounts)
{
    const auto first = start(viewer_);
    const auto second = start(viewer_);
    first->end(now_);
    now_ += 5s;
    EXPECT_TRUE(guard_.covers(viewer_));
    second->end(now_);
    now_ += 2s;
    EXPECT_FALSE(guard_.covers(viewer_));
}

TEST_F(ReplayGuarding, OtherAddressesAreNotCovered)
{
    const auto replay = start(viewer_);
    EXPECT_FALSE(guard_.covers(at("127.0.0.1:5001")));
    EXPECT_FALSE(guard_.covers(at("127.0.0.2:5000")));
}

TEST_F(ReplayGuarding, RemembersABoundedNumberTheNewestOnes)
{
    for (std::uint16_t port = 1; port <= 300; ++port)
        start({platform::loopbackAddress, port});
    EXPECT_EQ(guard_.count(), ReplayGuard::maximumCount);
    EXPECT_FALSE(guard_.covers({platform::loopbackAddress, 44}));
    EXPECT_TRUE(guard_.covers({platform::loopbackAddress, 45}));
    EXPECT_TRUE(guard_.covers({platform::loopbackAddress, 300}));
}

TEST_F(ReplayGuarding, ForgetsWhatIsOver)
{
    for (std::uint16_t port = 1; port <= 100; ++port)
        start({platform::loopbackAddress, port})->end(now_);
    now_ += 2s;
    const auto replay = start(viewer_);
    EXPECT_EQ(guard_.count(), 1U);
    EXPECT_TRUE(guard_.covers(viewer_));
}

TEST(ReplayProgress, HasNoEndBeforeItsEnd)
{
    ReplayProgress progress;
    EXPECT_EQ(progress.endTime(), std::nullopt);
    const auto before = std::chrono::steady_clock::now();
    progress.end();
    ASSERT_TRUE(progress.endTime().has_value());
    EXPECT_GE(*progress.endTime(), before);
    EXPECT_LE(*progress.endTime(), std::chrono::steady_clock::now());
}

} // namespace
} // namespace zuLogging
