#pragma once

#include "tools/Console.h"

namespace zuLogging {

/// `zulog modules`: prints the names of the modules that the service knows, one a line.
ToolExit runModulesCommand(const std::vector<std::string>& words, Console& console);

} // namespace zuLogging
