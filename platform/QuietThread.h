#pragma once

#include <chrono>
#include <cstdint>

namespace zuLogging::platform {

/// A thread inside somebody else's program: no signal of that program is handled on it, and its end
/// can be waited for with a limit. Nothing here throws.
class QuietThread
{
public:
    QuietThread() = default;
    /// Waits for the thread's end, if it was started and neither joined nor left.
    ~QuietThread();
    QuietThread(const QuietThread&) = delete;
    QuietThread& operator=(const QuietThread&) = delete;

    /// Runs `work(argument)` on the new thread. False: the system had no thread to give.
    bool start(void (*work)(void*), void* argument) noexcept;
    bool isStarted() const noexcept { return isStarted_; }

    /// True once the thread has ended, within the limit; false leaves it as it was.
    bool joinFor(std::chrono::milliseconds limit) noexcept;

    /// Lets the thread run on by itself. What it uses must last as long as the process.
    void leave() noexcept;

    /// For the child process that a fork made, in which the thread is not there.
    void forget() noexcept { isStarted_ = false; }

private:
    std::uintptr_t handle_ = 0;
    bool isStarted_ = false;
};

} // namespace zuLogging::platform
