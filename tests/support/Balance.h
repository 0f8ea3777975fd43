#pragma once

#include "logging/LogLedger.h"

#include <gtest/gtest.h>

namespace zuLogging::test {

/// Every datagram that was received is one thing and no other.
inline ::testing::AssertionResult balances(const LogCounts& counts)
{
    const std::uint64_t sum =
        counts.refused() + counts[LogCount::Requests] + counts[LogCount::Messages];
    if (counts[LogCount::Received] == sum)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure()
           << counts[LogCount::Received] << " received, but " << counts.refused() << " refused + "
           << counts[LogCount::Requests] << " requests + " << counts[LogCount::Messages]
           << " messages = " << sum;
}

} // namespace zuLogging::test
