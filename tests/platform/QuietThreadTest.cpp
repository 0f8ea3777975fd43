#include "platform/QuietThread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>

#include <pthread.h>
#include <signal.h>

namespace zuLogging::platform {
namespace {

using namespace std::chrono_literals;

TEST(QuietThread, RunsItsWorkAndIsJoinedWithinALimit)
{
    std::promise<void> mayEnd;
    QuietThread thread;
    EXPECT_FALSE(thread.isStarted());
    EXPECT_TRUE(thread.joinFor(0ms)) << "there is nothing to wait for";
    ASSERT_TRUE(thread.start(
        [](void* promise) { static_cast<std::promise<void>*>(promise)->get_future().wait(); },
        &mayEnd));
    EXPECT_TRUE(thread.isStarted());
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_FALSE(thread.joinFor(30ms));
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 29ms);
    mayEnd.set_value();
    EXPECT_TRUE(thread.joinFor(20s));
    EXPECT_FALSE(thread.isStarted());
}

TEST(QuietThread, HasEverySignalBlockedAndItsStarterNone)
{
    sigset_t before;
    sigset_t inside;
    sigset_t after;
    ::pthread_sigmask(SIG_SETMASK, nullptr, &before);
    {
        QuietThread thread;
        ASSERT_TRUE(thread.start(
            [](void* set) { ::pthread_sigmask(SIG_SETMASK, nullptr, static_cast<sigset_t*>(set)); },
            &inside));
    }
    ::pthread_sigmask(SIG_SETMASK, nullptr, &after);
    for (const int signal : {SIGTERM, SIGINT, SIGUSR1, SIGALRM, SIGCHLD, SIGPROF}) {
        EXPECT_EQ(sigismember(&inside, signal), 1) << signal;
        EXPECT_EQ(sigismember(&after, signal), sigismember(&before, signal)) << signal;
    }
}

} // namespace
} // namespace zuLogging::platform
