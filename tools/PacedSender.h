#pragma once

#include "tools/PaceClock.h"

#include <chrono>
#include <cstdint>
#include <functional>

namespace zuLogging {

/// Does something again and again at an even rate, by an absolute schedule: number k is due
/// (k - 1) / rate seconds after the start, so that a late wake-up does not shift what follows.
///
/// Sleeps at least 100 microseconds between two batches, of at most 64, whatever the rate. Who
/// falls behind catches up at no more than twice the rate, and a delay of more than one second is
/// given up: the schedule starts anew from there.
class PacedSender
{
public:
    static constexpr std::uint64_t lowestRate = 1;
    static constexpr std::uint64_t highestRate = 200000;

    struct Result
    {
        std::uint64_t sent = 0;
        /// From the start to the end of the last one.
        std::chrono::nanoseconds duration{0};
    };

    /// `rate`: how many a second, within the two bounds. The clock must outlive the sender.
    PacedSender(std::uint64_t rate, PaceClock& clock);

    /// Calls `send` with 1, 2, 3 ... on the calling thread, until `count` were sent (0: no end) or
    /// the clock says stop. What `send` throws ends the run.
    Result run(std::uint64_t count, const std::function<void(std::uint64_t)>& send);

    /// The most that are sent without a sleep between them.
    std::uint64_t largestBatch() const { return largestBatch_; }
    /// The shortest sleep between two batches.
    std::chrono::nanoseconds shortestGap() const { return shortestGap_; }

private:
    std::chrono::nanoseconds dueTime(std::uint64_t index) const;
    std::uint64_t allowance(std::chrono::nanoseconds elapsed) const;
    std::uint64_t dueBy(std::chrono::nanoseconds elapsed) const;

    std::uint64_t rate_;
    PaceClock& clock_;
    std::chrono::nanoseconds shortestGap_;
    std::uint64_t largestBatch_;
};

} // namespace zuLogging
