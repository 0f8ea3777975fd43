#include "tools/PacedSender.h"

#include <gtest/gtest.h>

#include <boost/thread/thread.hpp>

#include <algorithm>
#include <vector>

namespace zuLogging {
namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using std::chrono::seconds;

/// Time that passes only in waits, and a bit longer than was asked for.
class FakeClock : public PaceClock
{
public:
    TimePoint now() override { return time; }
    bool waitUntil(TimePoint moment) override
    {
        if (stopAt && moment >= *stopAt)
            return false;
        if (moment > time) {
            ++sleeps;
            shortestSleep = std::min(shortestSleep, moment - time);
            time = moment + lateness;
        }
        if (sleeps == stallAtSleep) {
            time += stall;
            stallAtSleep = -1;
        }
        return true;
    }

    const TimePoint start = TimePoint(seconds(1000));
    TimePoint time = start;
    nanoseconds lateness{0};
    nanoseconds shortestSleep = std::chrono::hours(1);
    std::optional<TimePoint> stopAt;
    int sleeps = 0;
    int stallAtSleep = -1;
    nanoseconds stall{0};
};

/// When each was sent, after the start.
std::vector<nanoseconds> run(std::uint64_t rate, std::uint64_t count, FakeClock& clock)
{
    std::vector<nanoseconds> times;
    PacedSender sender(rate, clock);
    const PacedSender::Result result = sender.run(count, [&](std::uint64_t number) {
        EXPECT_EQ(number, times.size() + 1);
        times.push_back(clock.time - clock.start);
    });
    EXPECT_EQ(result.sent, times.size());
    EXPECT_EQ(result.duration, clock.time - clock.start);
    return times;
}

TEST(PacedSender, FollowsAnAbsoluteScheduleThoughEveryWakeUpIsLate)
{
    for (const std::uint64_t rate : {1U, 7U, 1000U, 3000U, 20000U, 50000U, 200000U}) {
        FakeClock clock;
        clock.lateness = microseconds(60);
        const std::uint64_t count = 3 * rate + 1;
        const std::vector<nanoseconds> times = run(rate, count, clock);
        ASSERT_EQ(times.size(), count);
        EXPECT_EQ(times.front(), nanoseconds(0));
        for (std::uint64_t i = 0; i < count; ++i) {
            const nanoseconds due(i * 1000000000 / rate);
            ASSERT_GE(times[i], due) << rate << ' ' << i;
            ASSERT_LE(times[i], due + microseconds(400)) << rate << ' ' << i;
        }
    }
}

TEST(PacedSender, SleepsBetweenAnyTwoBatches)
{
    for (const std::uint64_t rate : {1U, 1000U, 20000U, 200000U}) {
        FakeClock clock;
        clock.lateness = microseconds(60);
        run(rate, rate, clock);
        EXPECT_GE(clock.shortestSleep, microseconds(100)) << rate;
    }
}

TEST(PacedSender, BatchesAreSmallAlsoWhenItFellBehind)
{
    for (const std::uint64_t rate : {1U, 100U, 1000U, 20000U, 200000U}) {
        FakeClock clock;
        clock.stallAtSleep = 3;
        clock.stall = milliseconds(900);
        const std::uint64_t count = 4 * rate + 10;
        const std::vector<nanoseconds> times = run(rate, count, clock);
        ASSERT_EQ(times.size(), count);
        const PacedSender sender(rate, clock);
        std::size_t batch = 1;
        for (std::size_t i = 1; i < times.size(); ++i) {
            batch = times[i] == times[i - 1] ? batch + 1 : 1;
            ASSERT_LE(batch, sender.largestBatch());
        }
        // What was missed has been caught up with.
        EXPECT_LE(times.back(), nanoseconds((count - 1) * 1000000000 / rate) + seconds(1));
    }
    FakeClock clock;
    EXPECT_EQ(PacedSender(1000, clock).largestBatch(), 2U);
    EXPECT_EQ(PacedSender(100, clock).largestBatch(), 1U);
    EXPECT_EQ(PacedSender(200000, clock).largestBatch(), 64U);
}

TEST(PacedSender, CatchesUpAtNoMoreThanTwiceTheRate)
{
    for (const std::uint64_t rate : {1000U, 10000U, 200000U}) {
        FakeClock clock;
        clock.lateness = microseconds(70);
        clock.stallAtSleep = 100;
        clock.stall = milliseconds(800);
        const std::vector<nanoseconds> times = run(rate, 4 * rate, clock);
        const std::size_t tenth = rate / 10;
        for (std::size_t i = 0; i + tenth < times.size(); ++i)
            ASSERT_GE(times[i + tenth] - times[i], milliseconds(49)) << rate << ' ' << i;
        EXPECT_LE(times.back(), seconds(4) + milliseconds(1)) << rate;
    }
}

TEST(PacedSender, GivesUpADelayOfMoreThanOneSecond)
{
    FakeClock clock;
    clock.stallAtSleep = 100;
    clock.stall = seconds(3600);
    const std::vector<nanoseconds> times = run(1000, 3000, clock);
    ASSERT_EQ(times.size(), 3000U);
    EXPECT_GE(times.back(), seconds(3602));
    for (std::size_t i = 0; i + 100 < times.size(); ++i)
        ASSERT_GE(times[i + 100] - times[i], milliseconds(99)) << i;
}

TEST(PacedSender, EndsWhenTheClockSaysStop)
{
    FakeClock clock;
    clock.stopAt = clock.start + milliseconds(10);
    EXPECT_EQ(run(1000, 0, clock).size(), 10U);
    clock.stopAt = clock.time;
    FakeClock stopped;
    stopped.stopAt = stopped.start;
    EXPECT_TRUE(run(1000, 0, stopped).empty());
}

TEST(PacedSender, RatesOutsideItsRangeAreTakenAsTheNextInside)
{
    FakeClock clock;
    EXPECT_EQ(PacedSender(0, clock).shortestGap(), PacedSender(1, clock).shortestGap());
    EXPECT_EQ(PacedSender(1000000, clock).largestBatch(),
              PacedSender(200000, clock).largestBatch());
}

TEST(PacedSender, WhatIsThrownWhileSendingEndsTheRun)
{
    FakeClock clock;
    std::uint64_t last = 0;
    EXPECT_THROW(PacedSender(1000, clock)
                     .run(10,
                          [&](std::uint64_t number) {
                              last = number;
                              if (number == 3)
                                  throw std::runtime_error("no");
                          }),
                 std::runtime_error);
    EXPECT_EQ(last, 3U);
}

TEST(StoppableClock, StopEndsAWaitOfAnotherThread)
{
    StoppableClock clock;
    bool waited = true;
    boost::thread waiter([&] { waited = clock.waitUntil(clock.now() + std::chrono::hours(1)); });
    clock.stop();
    waiter.join();
    EXPECT_FALSE(waited);
    EXPECT_FALSE(clock.waitUntil(clock.now()));
}

} // namespace
} // namespace zuLogging
