#include "logging/LimitedTrace.h"

#include "logging/UnlimitedTrace.h"

#include <chrono>

namespace zuLogging {

LimitedTrace::LimitedTrace(std::ostream& err, const std::string& programName)
    : err_(err)
    , prefix_(programName.empty() ? std::string() : programName + ": ")
    // In one piece, so that the lines of several programs do not run into one another.
    , limiter_([this](const std::string& line) { err_ << prefix_ + line << std::flush; })
    , previous_(platform::setTraceHandler([this](std::string_view text) {
        if (UnlimitedTrace::isActive())
            err_ << text << std::flush;
        else
            limiter_.add(text, std::chrono::steady_clock::now());
    }))
{
}

LimitedTrace::~LimitedTrace()
{
    platform::setTraceHandler(previous_);
    limiter_.finish();
}

} // namespace zuLogging
