#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace zuLogging::platform {

/// What platform/ProcessList.h promises, for a folder that is laid out as /proc: of the first
/// `limit` processes by number, the base name of what "exe" links to.
std::vector<std::string> programNamesIn(const std::string& processFolder, std::size_t limit);

} // namespace zuLogging::platform
