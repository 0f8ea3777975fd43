#pragma once

#include <string_view>

namespace zuLogging {

/// Names of the service's own files in its log folder.
inline constexpr const char* rulesFileName = "LogSvcRules.json";
inline constexpr const char* startupFileName = "LogSvcConf.json";
inline constexpr const char* modulesFileName = "LogSvcModules.txt";

/// True for these, and for what stands beside them while they are written, in any case of letters.
/// No message is ever written to such a file.
bool isServiceFileName(std::string_view name);

} // namespace zuLogging
