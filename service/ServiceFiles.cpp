#include "service/ServiceFiles.h"

#include "platform/DataDirectory.h"

#include <QString>

namespace zuLogging {

bool isServiceFileName(std::string_view name)
{
    const QString text = QString::fromUtf8(name.data(), static_cast<int>(name.size()));
    for (const char* own : {rulesFileName, startupFileName, modulesFileName})
        if (text.startsWith(QLatin1String(own), Qt::CaseInsensitive))
            return true;
    return false;
}

std::string logFolder()
{
    return platform::dataFilePath("log");
}

std::string fileIn(const std::string& folder, const char* name)
{
    return folder.empty() ? std::string() : folder + '/' + name;
}

} // namespace zuLogging
