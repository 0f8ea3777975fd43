#include "logging/LogLedger.h"

#include <initializer_list>

namespace zuLogging {

std::uint64_t LogCounts::refused() const noexcept
{
    std::uint64_t sum = 0;
    for (const LogCount which :
         {LogCount::RefusedSize, LogCount::RefusedMagic, LogCount::RefusedLength,
          LogCount::RefusedFlags, LogCount::RefusedCommand, LogCount::RefusedRequest,
          LogCount::RefusedContainer})
        sum += (*this)[which];
    return sum;
}

LogCounts LogCounts::since(const LogCounts& before) const noexcept
{
    LogCounts difference;
    for (std::size_t i = 0; i < counts_.size(); ++i)
        difference.counts_[i] = counts_[i] - before.counts_[i];
    return difference;
}

LogCounts LogLedger::counts() const noexcept
{
    LogCounts copy;
    for (std::size_t i = 0; i < counts_.size(); ++i)
        copy[static_cast<LogCount>(i)] = counts_[i].load(std::memory_order_relaxed);
    return copy;
}

} // namespace zuLogging
