#pragma once

#include <optional>
#include <string>

namespace zuLogging::platform {

/// The directory that the environment variable ARZDATA names; nothing when it is unset or empty.
std::optional<std::string> dataDirectory();

/// `relative` (written with / or \ between its parts) under the data directory, with the system's
/// separators; empty when there is no data directory.
std::string dataFilePath(const std::string& relative);

} // namespace zuLogging::platform
