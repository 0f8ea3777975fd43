#include "platform/PriorityMutex.h"
#include "platform/Process.h"
#include "platform/ThreadPriority.h"
#include "tests/support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <iterator>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace zuLogging::platform {
namespace {

using namespace std::chrono_literals;
using Lock = std::lock_guard<PriorityMutex>;

TEST(PriorityMutex, OneThreadHoldsItAtATime)
{
    PriorityMutex mutex;
    int count = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int j = 0; j < 20000; ++j) {
                const Lock lock(mutex);
                ++count;
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(count, 80000);
}

TEST(PriorityMutex, WhoOnlyTriesIsToldThatAnotherHoldsIt)
{
    PriorityMutex mutex;
    const Lock lock(mutex);
    bool got = true;
    std::thread([&] { got = mutex.try_lock(); }).join();
    EXPECT_FALSE(got);
}

/// The priority with which the system runs a thread of this process; real-time ones are negative.
int priorityOf(std::uint64_t thread)
{
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
    std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    std::istringstream fields(text.substr(std::min(text.size(), text.rfind(')') + 1)));
    std::string skipped;
    for (int field = 3; field < 18; ++field)
        fields >> skipped;
    int priority = 0;
    fields >> priority;
    return priority;
}

// Where this process may not have real-time threads, there is nothing to be inherited.
TEST(PriorityMutex, WhoHoldsItRunsWithThePriorityOfTheOneWhoWaits)
{
    PriorityMutex mutex;
    std::atomic<std::uint64_t> holder{0};
    std::atomic<bool> mayLeave{false};
    std::thread holding([&] {
        const Lock lock(mutex);
        holder = currentThreadId();
        test::waitFor([&] { return mayLeave.load(); });
    });
    EXPECT_TRUE(test::waitFor([&] { return holder.load() != 0; }));
    EXPECT_GE(priorityOf(holder), 0);
    std::atomic<int> isRealTime{-1};
    std::thread waiting([&] {
        raiseCurrentThreadPriority();
        isRealTime = priorityOf(currentThreadId()) < 0 ? 1 : 0;
        const Lock lock(mutex);
    });
    EXPECT_TRUE(test::waitFor([&] { return isRealTime.load() >= 0; }));
    if (isRealTime.load() == 1) {
        EXPECT_TRUE(test::waitFor([&] { return priorityOf(holder) < 0; }));
    }
    mayLeave = true;
    holding.join();
    waiting.join();
}

TEST(PriorityCondition, AWaitEndsWhenItsTimeIsOverAndHoldsTheMutexAgain)
{
    PriorityMutex mutex;
    PriorityCondition condition;
    const auto begin = std::chrono::steady_clock::now();
    {
        const Lock lock(mutex);
        // It may return early without cause, but not for ever.
        while (std::chrono::steady_clock::now() - begin < 20ms)
            condition.waitFor(mutex, 20ms);
        bool got = true;
        std::thread([&] { got = mutex.try_lock(); }).join();
        EXPECT_FALSE(got);
    }
    EXPECT_TRUE(mutex.try_lock());
    mutex.unlock();
}

TEST(PriorityCondition, ANoticeEndsTheWaitOfOneOrOfAll)
{
    PriorityMutex mutex;
    PriorityCondition condition;
    int waiting = 0;
    int permits = 0;
    int done = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i)
        threads.emplace_back([&] {
            const Lock lock(mutex);
            ++waiting;
            while (permits == 0)
                condition.waitFor(mutex, 1h);
            --permits;
            ++done;
        });
    const auto is = [&](const int& value, int expected) {
        return test::waitFor([&] {
            const Lock lock(mutex);
            return value == expected;
        });
    };
    ASSERT_TRUE(is(waiting, 3));
    {
        const Lock lock(mutex);
        permits = 1;
    }
    condition.notifyOne();
    EXPECT_TRUE(is(done, 1));
    {
        const Lock lock(mutex);
        permits = 2;
    }
    condition.notifyAll();
    EXPECT_TRUE(is(done, 3));
    for (std::thread& thread : threads)
        thread.join();
}

} // namespace
} // namespace zuLogging::platform
