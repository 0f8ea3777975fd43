#pragma once

#include <string>

namespace zuLogging::platform {

/// The system's text for `code`, a value of errno; "Unknown error" for 0. Any thread.
std::string errorText(int code);

} // namespace zuLogging::platform
