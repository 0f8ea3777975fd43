#include "platform/DataDirectory.h"

#include <QByteArray>

#include <algorithm>

namespace zuLogging::platform {

std::optional<std::string> dataDirectory()
{
    const QByteArray directory = qgetenv("ARZDATA");
    if (directory.isEmpty())
        return std::nullopt;
    return directory.toStdString();
}

std::string dataFilePath(const std::string& relative)
{
    std::optional<std::string> path = dataDirectory();
    if (!path)
        return {};
    if (path->back() != '/')
        path->push_back('/');
    // The directory is the user's own text and may hold a backslash that means itself.
    const auto start = static_cast<std::ptrdiff_t>(path->size());
    path->append(relative);
    std::replace(path->begin() + start, path->end(), '\\', '/');
    return *path;
}

} // namespace zuLogging::platform
