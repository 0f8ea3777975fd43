#pragma once

#include "tools/Console.h"

namespace zuLogging {

/// `zulog tail`: shows the messages of the log service until SIGINT or SIGTERM comes or the
/// terminal is closed, enough were shown, or nobody reads them any more. Messages go to the
/// process's standard output itself, not through the console's stream. To be called before any
/// other thread is started.
ToolExit runTailCommand(const std::vector<std::string>& words, Console& console);

} // namespace zuLogging
