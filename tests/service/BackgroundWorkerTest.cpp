#include "service/BackgroundWorker.h"

#include "tests/support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <vector>

namespace zuLogging {
namespace {

TEST(WorkerInTheBackground, DoesItsJobsInOrderAndAllOfThemBeforeItEnds)
{
    std::vector<int> done;
    BackgroundWorker worker;
    for (int i = 0; i < 100; ++i)
        EXPECT_TRUE(worker.post([&done, i] { done.push_back(i); }));
    worker.stop();
    ASSERT_EQ(done.size(), 100U);
    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(done[static_cast<std::size_t>(i)], i);
    EXPECT_FALSE(worker.post([] {}));
}

TEST(WorkerInTheBackground, GoesOnBehindAJobThatThrows)
{
    std::atomic<bool> isDone{false};
    BackgroundWorker worker;
    worker.post([] { throw std::runtime_error("a job"); });
    worker.post([&isDone] { isDone = true; });
    EXPECT_TRUE(test::waitFor([&] { return isDone.load(); }));
}

TEST(WorkerInTheBackground, DoesTheDelayedJobOnceForManyRequests)
{
    std::atomic<int> count{0};
    BackgroundWorker worker;
    worker.setDelayedJob([&count] { ++count; }, std::chrono::milliseconds(20));
    for (int i = 0; i < 5; ++i)
        worker.requestDelayedJob();
    EXPECT_TRUE(test::waitFor([&] { return count.load() == 1; }));
    worker.requestDelayedJob();
    EXPECT_TRUE(test::waitFor([&] { return count.load() == 2; }));
}

TEST(WorkerInTheBackground, DoesARequestedJobAtTheEndWithoutTheDelay)
{
    int count = 0;
    BackgroundWorker worker;
    worker.setDelayedJob([&count] { ++count; }, std::chrono::hours(1));
    worker.requestDelayedJob();
    worker.stop();
    EXPECT_EQ(count, 1);
}

} // namespace
} // namespace zuLogging
