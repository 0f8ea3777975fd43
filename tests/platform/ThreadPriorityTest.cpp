#include "platform/ThreadPriority.h"

#include "platform/Process.h"

#include <gtest/gtest.h>

#include <sched.h>
#include <sys/resource.h>

#include <thread>
#include <utility>

namespace {

using namespace zuLogging::platform;

// Of the calling thread; larger is better.
std::pair<bool, int> priority()
{
    const int policy = ::sched_getscheduler(0) & ~SCHED_RESET_ON_FORK;
    return {policy == SCHED_RR || policy == SCHED_FIFO,
            -::getpriority(PRIO_PROCESS, static_cast<id_t>(currentThreadId()))};
}

constexpr std::pair<bool, int> ordinary{false, 0};

TEST(ThreadPriority, TrueMeansBeforeOtherProgramsAndItIsNeverWorseThanBefore)
{
    std::thread([] {
        const auto before = priority();
        const bool goesFirst = raiseCurrentThreadPriority();
        EXPECT_EQ(goesFirst, priority() > ordinary);
        EXPECT_GE(priority(), before);
    }).join();
}

TEST(ThreadPriority, ASecondRaiseSaysTheSameAndHasNothingBetterToGive)
{
    std::thread([] {
        const bool goesFirst = raiseCurrentThreadPriority();
        const auto after = priority();
        EXPECT_EQ(raiseCurrentThreadPriority(), goesFirst);
        EXPECT_EQ(priority(), after);
    }).join();
}

TEST(ThreadPriority, AThreadThatWasStartedWithARealTimePriorityGoesFirst)
{
    std::thread([] {
        sched_param realTime{};
        realTime.sched_priority = ::sched_get_priority_min(SCHED_FIFO) + 1;
        const bool isAllowed = ::sched_setscheduler(0, SCHED_FIFO, &realTime) == 0;
        const auto before = priority();
        EXPECT_EQ(raiseCurrentThreadPriority(), isAllowed || priority() > ordinary);
        EXPECT_GE(priority(), before);
        if (isAllowed) {
            EXPECT_EQ(::sched_getscheduler(0), SCHED_FIFO);
        }
    }).join();
}

TEST(ThreadPriority, OtherThreadsKeepTheirs)
{
    const auto before = priority();
    std::thread([before] {
        raiseCurrentThreadPriority();
        if (priority().first)
            std::thread([before] {
                EXPECT_EQ(priority(), before.first ? before : ordinary);
            }).join();
    }).join();
    EXPECT_EQ(priority(), before);
}

} // namespace
