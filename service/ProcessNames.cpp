#include "service/ProcessNames.h"

#include "platform/Process.h"

#include <utility>

namespace zuLogging {

ProcessNames::ProcessNames()
    : ProcessNames(&platform::programName, &std::chrono::steady_clock::now)
{
}

ProcessNames::ProcessNames(LookUp lookUp, Clock clock)
    : lookUp_(std::move(lookUp))
    , clock_(std::move(clock))
{
}

const QString& ProcessNames::nameOf(std::uint64_t processId)
{
    const TimePoint now = clock_();
    const auto found = entries_.find(processId);
    if (found != entries_.end() && now - found->second.asked < lifetime)
        return found->second.name;

    const std::optional<std::string> name = lookUp_(processId);
    if (found == entries_.end() && entries_.size() >= maximumCount)
        entries_.clear();
    Entry& entry = entries_[processId];
    if (name)
        entry.name = QString::fromStdString(*name);
    entry.asked = now;
    return entry.name;
}

} // namespace zuLogging
