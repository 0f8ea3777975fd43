#pragma once

#include "tools/Console.h"

namespace zuLogging {

/// `zulog tail`.
ToolExit runTailCommand(const std::vector<std::string>& words, Console& console);

} // namespace zuLogging
