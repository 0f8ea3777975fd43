#include "config/LogConfigData.h"

#include "logging/ConnectionInfo.h"

namespace zuLogging {

LogConfigData* LogConfigData::instance()
{
    static LogConfigData theInstance;
    return &theInstance;
}

QString LogConfigData::loadConfiguration(const QString& path)
{
    if (!path.isEmpty())
        return QStringLiteral("Failed to load the configuration from file '%1'").arg(path);
    // Nothing is asked of the service yet, but one that cannot be found must be noticed at
    // start-up.
    readConnectionInfo();
    return QString();
}

} // namespace zuLogging
