#pragma once

#include "tools/Console.h"

namespace zuLogging {

/// `zulog config`.
ToolExit runConfigCommand(const std::vector<std::string>& words, Console& console);

} // namespace zuLogging
