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

TEST(ThreadPriority, TrueMeansABetterPriorityAndFalseTheSameOne)
{
    std::thread([] {
        const auto before = priority();
        const bool raised = raiseCurrentThreadPriority();
        if (raised)
            EXPECT_GT(priority(), before);
        else
            EXPECT_EQ(priority(), before);
    }).join();
}

TEST(ThreadPriority, ASecondRaiseHasNothingBetterToGive)
{
    std::thread([] {
        raiseCurrentThreadPriority();
        const auto after = priority();
        EXPECT_FALSE(raiseCurrentThreadPriority());
        EXPECT_EQ(priority(), after);
    }).join();
}

TEST(ThreadPriority, OtherThreadsKeepTheirs)
{
    const auto before = priority();
    std::thread([before] {
        raiseCurrentThreadPriority();
        if (priority().first)
            std::thread([before] { EXPECT_EQ(priority(), before); }).join();
    }).join();
    EXPECT_EQ(priority(), before);
}

} // namespace
