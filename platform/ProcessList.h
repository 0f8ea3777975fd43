#pragma once

#include <string>
#include <vector>

namespace zuLogging::platform {

/// The base names of the programs that run on this machine, one for each process in the order of
/// their numbers, at most 1024 processes. A process whose program cannot be read (another user's)
/// is left out.
std::vector<std::string> runningProgramNames();

} // namespace zuLogging::platform
