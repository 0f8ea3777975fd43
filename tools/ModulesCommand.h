#pragma once

#include "tools/Console.h"

namespace zuLogging {

/// `zulog modules`.
ToolExit runModulesCommand(const std::vector<std::string>& words, Console& console);

} // namespace zuLogging
