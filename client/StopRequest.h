#pragma once

#include <atomic>
#include <chrono>

namespace zuLogging::client {

/// Asks the sending thread to come to its end by a certain moment. Any thread.
class StopRequest
{
public:
    using Clock = std::chrono::steady_clock;

    void make(Clock::time_point deadline) noexcept
    {
        deadline_.store(deadline.time_since_epoch().count());
    }
    bool isMade() const noexcept { return deadline_.load() != never; }
    /// Far away as long as nobody has asked.
    Clock::time_point deadline() const noexcept
    {
        return Clock::time_point(Clock::duration(deadline_.load()));
    }
    bool isOverdue() const noexcept { return isMade() && Clock::now() >= deadline(); }

private:
    static constexpr Clock::rep never = Clock::time_point::max().time_since_epoch().count();
    std::atomic<Clock::rep> deadline_{never};
};

} // namespace zuLogging::client
