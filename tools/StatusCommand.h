#pragma once

#include "tools/Console.h"

namespace zuLogging {

/// `zulog status`.
ToolExit runStatusCommand(const std::vector<std::string>& words, Console& console);

} // namespace zuLogging
