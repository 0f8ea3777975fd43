#pragma once

#include "logging/ReplayProgress.h"
#include "logging/SocketAddressText.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

namespace zuLogging {

/// Knows to whom recorded messages are being sent, or were just now, because he subscribed with the
/// wish for them. A viewer that subscribes so asks for the same messages once more right afterwards
/// and is to get them once.
///
/// No lock: the receiving thread's own.
class ReplayGuard
{
public:
    using TimePoint = ReplayProgress::TimePoint;
    using Clock = std::function<TimePoint()>;
    using Replay = std::shared_ptr<const ReplayProgress>;

    /// For so long an ended replay counts as one that need not be repeated.
    static constexpr std::chrono::seconds pause{2};
    /// So many replays are remembered; one more makes the oldest forgotten.
    static constexpr std::size_t maximumCount = 256;

    explicit ReplayGuard(Clock clock = &std::chrono::steady_clock::now);

    void note(const SocketAddress& address, Replay replay);

    /// True if a replay to that address is under way, or ended less than `pause` ago.
    bool covers(const SocketAddress& address) const;

    std::size_t count() const { return entries_.size(); }

private:
    struct Entry
    {
        SocketAddress address;
        Replay replay;
    };
    static bool isOver(const Entry& entry, TimePoint now);

    Clock clock_;
    std::vector<Entry> entries_; ///< the oldest first
};

} // namespace zuLogging
