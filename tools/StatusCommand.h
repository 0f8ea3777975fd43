#pragma once

#include "tools/Console.h"

namespace zuLogging {

/// `zulog status`: prints what the service tells about itself; of a service that tells nothing,
/// where it listens and which process it is. Needs about a second when the service does not answer.
ToolExit runStatusCommand(const std::vector<std::string>& words, Console& console);

} // namespace zuLogging
