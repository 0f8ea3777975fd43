#include "logging/ServiceFileNames.h"

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

} // namespace zuLogging
