#pragma once

#include "logging/SocketAddressText.h"

#include <cstddef>
#include <cstdint>
#include <sys/types.h>

namespace zuLogging::benchmarks {

/// A process of its own that sends log message packets to one address, evenly paced and without
/// acknowledge, or as fast as they are acknowledged: traffic that does not share the measured
/// program's processor time.
class TrafficProcess
{
public:
    struct Load
    {
        SocketAddress destination;
        std::uint64_t ratePerSecond = 0; ///< 0: 64 at a time, each to be acknowledged
        std::uint64_t count = 0;
        std::size_t containerSize = 200;
    };

    explicit TrafficProcess(const Load& load);
    /// Waits for its end.
    ~TrafficProcess();
    TrafficProcess(const TrafficProcess&) = delete;
    TrafficProcess& operator=(const TrafficProcess&) = delete;

    /// True when it has sent everything and ended.
    bool hasEnded();

    /// To be called first in main: the process runs this very program with arguments of its own
    /// and ends in here.
    static void runIfAsked(int argc, char** argv);

private:
    pid_t child_;
    bool ended_ = false;
};

} // namespace zuLogging::benchmarks
