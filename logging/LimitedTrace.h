#pragma once

#include "logging/TraceLimiter.h"
#include "platform/Trace.h"

#include <ostream>
#include <string>

namespace zuLogging {

/// While it lives, what the program traces goes to a stream: the messages of trace sinks (see
/// UnlimitedTrace) as they are, complaints in lines that begin with the program's name, if one is
/// given, each kind at most once a second. The destructor tells what was held back.
///
/// Any thread may trace; nobody else may write to the stream meanwhile.
class LimitedTrace
{
public:
    explicit LimitedTrace(std::ostream& err, const std::string& programName = {});
    ~LimitedTrace();
    LimitedTrace(const LimitedTrace&) = delete;
    LimitedTrace& operator=(const LimitedTrace&) = delete;

private:
    std::ostream& err_;
    std::string prefix_;
    TraceLimiter limiter_;
    platform::TraceHandler previous_;
};

} // namespace zuLogging
