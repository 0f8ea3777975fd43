#pragma once

#include <chrono>
#include <memory>

namespace zuLogging::platform {

class PriorityCondition;

/// A mutex for threads of different priorities: while one of high priority waits for it, the thread
/// that holds it runs with that priority, if the system can do so, so that a busy machine cannot
/// keep both from running. Not recursive.
class PriorityMutex
{
public:
    PriorityMutex();
    ~PriorityMutex();
    PriorityMutex(const PriorityMutex&) = delete;
    PriorityMutex& operator=(const PriorityMutex&) = delete;

    void lock() noexcept;
    bool try_lock() noexcept;
    void unlock() noexcept;

private:
    friend class PriorityCondition;
    struct State;
    std::unique_ptr<State> state_;
};

/// Waits for something that a PriorityMutex guards.
class PriorityCondition
{
public:
    PriorityCondition();
    ~PriorityCondition();
    PriorityCondition(const PriorityCondition&) = delete;
    PriorityCondition& operator=(const PriorityCondition&) = delete;

    /// The caller holds `mutex`, and holds it again afterwards. May return early, without cause.
    void waitFor(PriorityMutex& mutex, std::chrono::milliseconds time) noexcept;
    void notifyOne() noexcept;
    void notifyAll() noexcept;

private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace zuLogging::platform
