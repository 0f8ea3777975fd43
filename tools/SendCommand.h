#pragma once

#include "tools/Console.h"

namespace zuLogging {

/// `zulog send`: sends one message, or one for each line of standard input, and waits for the
/// service's acknowledge of each, so that the exit status tells the truth. Ends at the first one
/// that the service does not take.
ToolExit runSendCommand(const std::vector<std::string>& words, Console& console);

} // namespace zuLogging
