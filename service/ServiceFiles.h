#pragma once

#include "logging/ServiceFileNames.h"

#include <string>

namespace zuLogging {

/// `log` in the data directory, without a separator at its end; empty when there is none.
std::string logFolder();

/// `name` in `folder`; empty when there is no folder.
std::string fileIn(const std::string& folder, const char* name);

} // namespace zuLogging
