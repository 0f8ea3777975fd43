#pragma once

#include <cstdint>
#include <utility>

namespace zuLogging {

/// Turns the system's count of lost datagrams, which has 32 bits and begins again at 0, into steps
/// that can be added up. Right as long as fewer than 2^32 are lost between two calls.
class LossCounter
{
public:
    explicit LossCounter(std::uint32_t start = 0) noexcept
        : last_(start)
    {
    }

    /// How many have been lost since the last call; `count` is what the system says now.
    std::uint64_t lostSince(std::uint32_t count) noexcept
    {
        return static_cast<std::uint32_t>(count - std::exchange(last_, count));
    }

private:
    std::uint32_t last_;
};

} // namespace zuLogging
