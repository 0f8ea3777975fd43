#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace zuLogging {

/// The time by which a PacedSender goes.
class PaceClock
{
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    virtual ~PaceClock() = default;
    virtual TimePoint now() = 0;
    /// Sleeps until `moment`. False, at once, when there is nothing to wait for any more.
    virtual bool waitUntil(TimePoint moment) = 0;
};

/// The system's steady clock, with waits that `stop` ends.
class StoppableClock final : public PaceClock
{
public:
    TimePoint now() override { return std::chrono::steady_clock::now(); }

    bool waitUntil(TimePoint moment) override
    {
        std::unique_lock<std::mutex> lock(mutex_);
        return !changed_.wait_until(lock, moment, [this] { return stopped_; });
    }

    /// Any thread. Stays in force.
    void stop()
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        stopped_ = true;
        changed_.notify_all();
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool stopped_ = false;
};

} // namespace zuLogging
