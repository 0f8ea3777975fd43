#pragma once

#include "tools/Console.h"

namespace zuLogging {

/// `zulog config get` and `zulog config put`: hands out the service's configuration, byte for byte,
/// or replaces it by a text that is checked to be JSON first.
ToolExit runConfigCommand(const std::vector<std::string>& words, Console& console);

} // namespace zuLogging
