#pragma once

#include <atomic>
#include <chrono>
#include <optional>

namespace zuLogging {

/// Tells whether one replay is still under way, and when it ended. Shared by the replay's own
/// thread, which says so as soon as its last message is sent, and by whoever wants to know.
///
/// Any thread.
class ReplayProgress
{
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    /// Called once, by the replay.
    void end(TimePoint now = std::chrono::steady_clock::now()) noexcept
    {
        ended_.store(now.time_since_epoch().count());
    }

    /// Nothing while it is under way.
    std::optional<TimePoint> endTime() const noexcept
    {
        const TimePoint::rep ended = ended_.load();
        if (ended == underWay)
            return std::nullopt;
        return TimePoint(TimePoint::duration(ended));
    }

private:
    static constexpr TimePoint::rep underWay = TimePoint::min().time_since_epoch().count();

    std::atomic<TimePoint::rep> ended_{underWay};
};

} // namespace zuLogging
