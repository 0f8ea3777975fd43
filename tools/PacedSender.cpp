#include "tools/PacedSender.h"

#include <algorithm>
#include <limits>

namespace zuLogging {

namespace {

using std::chrono::nanoseconds;

constexpr std::uint64_t nanosecondsPerSecond = 1000000000;
constexpr nanoseconds sleepAtLeast = std::chrono::microseconds(100);
/// Time without a batch that counts for the size of the next one; more would be a burst.
constexpr nanoseconds longestCredit = std::chrono::milliseconds(1);
/// A fraction of what the buffer of a receiving socket holds.
constexpr std::uint64_t largestBurst = 64;
constexpr nanoseconds longestDelay = std::chrono::seconds(1);

} // namespace

PacedSender::PacedSender(std::uint64_t rate, PaceClock& clock)
    : rate_(std::clamp(rate, lowestRate, highestRate))
    , clock_(clock)
    , shortestGap_(std::max(sleepAtLeast, nanoseconds(nanosecondsPerSecond / rate_) / 2))
    , largestBatch_(allowance(longestCredit))
{
}

/// How many may be sent when `elapsed` has passed since the last batch: twice the rate's share.
std::uint64_t PacedSender::allowance(nanoseconds elapsed) const
{
    const auto time = static_cast<std::uint64_t>(std::min(elapsed, longestCredit).count());
    return std::clamp<std::uint64_t>(2 * rate_ * time / nanosecondsPerSecond, 1, largestBurst);
}

/// When number `index` (from 0) is due, after the start. Seconds and their parts apart, so that
/// nothing overflows however long the run.
nanoseconds PacedSender::dueTime(std::uint64_t index) const
{
    return std::chrono::seconds(index / rate_) +
           nanoseconds(index % rate_ * nanosecondsPerSecond / rate_);
}

/// How many are due when `elapsed` has passed since the start.
std::uint64_t PacedSender::dueBy(nanoseconds elapsed) const
{
    const auto time = static_cast<std::uint64_t>(elapsed.count());
    return time / nanosecondsPerSecond * rate_ +
           time % nanosecondsPerSecond * rate_ / nanosecondsPerSecond + 1;
}

PacedSender::Result PacedSender::run(std::uint64_t count,
                                     const std::function<void(std::uint64_t)>& send)
{
    const std::uint64_t end = count == 0 ? std::numeric_limits<std::uint64_t>::max() : count;
    const PaceClock::TimePoint start = clock_.now();
    PaceClock::TimePoint origin = start;
    PaceClock::TimePoint lastBatch = start;
    Result result;
    bool goesOn = clock_.waitUntil(start);
    while (goesOn && result.sent < end) {
        const PaceClock::TimePoint now = clock_.now();
        const nanoseconds delay = now - (origin + dueTime(result.sent));
        if (delay > longestDelay)
            origin += delay;

        const std::uint64_t due = std::min(dueBy(now - origin), end);
        const std::uint64_t behind = due > result.sent ? due - result.sent : 0;
        for (std::uint64_t left = std::min(behind, allowance(now - lastBatch)); left > 0; --left) {
            send(result.sent + 1);
            ++result.sent;
        }
        lastBatch = now;
        if (result.sent < end)
            goesOn = clock_.waitUntil(std::max(origin + dueTime(result.sent), now + shortestGap_));
    }
    result.duration = clock_.now() - start;
    return result;
}

} // namespace zuLogging
