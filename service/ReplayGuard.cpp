#include "service/ReplayGuard.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace zuLogging {

ReplayGuard::ReplayGuard(Clock clock)
    : clock_(std::move(clock))
{
}

bool ReplayGuard::isOver(const Entry& entry, TimePoint now)
{
    const std::optional<TimePoint> ended = entry.replay->endTime();
    return ended && now - *ended >= pause;
}

void ReplayGuard::note(const SocketAddress& address, Replay replay)
{
    const TimePoint now = clock_();
    entries_.erase(std::remove_if(entries_.begin(), entries_.end(),
                                  [&](const Entry& entry) { return isOver(entry, now); }),
                   entries_.end());
    if (entries_.size() >= maximumCount)
        entries_.erase(entries_.begin());
    entries_.push_back({address, std::move(replay)});
}

bool ReplayGuard::covers(const SocketAddress& address) const
{
    const TimePoint now = clock_();
    return std::any_of(entries_.begin(), entries_.end(), [&](const Entry& entry) {
        return entry.address == address && !isOver(entry, now);
    });
}

} // namespace zuLogging
