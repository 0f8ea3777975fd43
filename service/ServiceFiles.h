#pragma once

#include <string>
#include <string_view>

namespace zuLogging {

/// Names of the service's own files in its log folder.
inline constexpr const char* rulesFileName = "LogSvcRules.json";
inline constexpr const char* startupFileName = "LogSvcConf.json";
inline constexpr const char* modulesFileName = "LogSvcModules.txt";

/// True for these, and for what stands beside them while they are written, in any case of letters.
bool isServiceFileName(std::string_view name);

/// `log` in the data directory, without a separator at its end; empty when there is none.
std::string logFolder();

/// `name` in `folder`; empty when there is no folder.
std::string fileIn(const std::string& folder, const char* name);

} // namespace zuLogging
