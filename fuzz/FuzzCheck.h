#pragma once

#include "platform/Trace.h"

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace zuLogging::fuzz {

/// Ends the program, which is a finding, unless `holds`.
inline void check(bool holds, const char* what)
{
    if (holds)
        return;
    std::fprintf(stderr, "FINDING: %s\n", what);
    std::abort();
}

/// What the program says about each refused input would be most of the time that a run takes.
inline void silenceTrace()
{
    static const bool once = [] {
        platform::setTraceHandler([](std::string_view) {});
        return true;
    }();
    static_cast<void>(once);
}

} // namespace zuLogging::fuzz
