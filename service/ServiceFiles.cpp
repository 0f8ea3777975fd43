#include "service/ServiceFiles.h"

#include "platform/DataDirectory.h"

namespace zuLogging {

std::string logFolder()
{
    return platform::dataFilePath("log");
}

std::string fileIn(const std::string& folder, const char* name)
{
    return folder.empty() ? std::string() : folder + '/' + name;
}

} // namespace zuLogging
