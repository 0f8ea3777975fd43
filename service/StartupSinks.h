#pragma once

#include "logging/LogMessageSink.h"
#include "service/StartupFile.h"

#include <vector>

namespace zuLogging {

/// Makes the sinks, in their order. One that cannot be made costs only itself, which is said on the
/// debugger trace: one line with its number, its type and the reason. Nor is one made that is there
/// already (a second replay memory would replay each message twice), or that would be one more of
/// its kind than requests can add.
SinkList makeStartupSinks(const std::vector<StartupSink>& wanted);

} // namespace zuLogging
