#pragma once

#include <string>

namespace zuLogging::platform {

/// True if the system's service manager says that the service `name` runs. Where no service
/// manager answers, or it does not know the service: true if the file `name`.pid in the runtime
/// directory names a living process. Never waits longer than about half a second.
bool isServiceRunning(const std::string& name);

} // namespace zuLogging::platform
