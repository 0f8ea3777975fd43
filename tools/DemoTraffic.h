#pragma once

#include "logging/LogMessageContainerBuilder.h"

#include <cstdint>
#include <random>

namespace zuLogging {

/// Messages as a machine full of applications would send them: several modules with groups,
/// positions, process and thread numbers of their own, mostly harmless levels, texts of several
/// scripts and lengths. The containers are about 200 bytes long on the average, 120 to 500 each.
///
/// One seed always gives the same messages, but for their time stamps.
class DemoTraffic
{
public:
    explicit DemoTraffic(std::uint64_t seed);

    /// The next message, stamped with the present moment; its SourceMsgID is its running number,
    /// from 1. Valid until the next call.
    const LogMessageContainerBuilder& next();

private:
    std::uint64_t below(std::uint64_t bound) { return random_() % bound; }

    std::mt19937_64 random_;
    std::uint64_t processBase_;
    LogMessageContainerBuilder message_;
};

} // namespace zuLogging
