#include "service/ServiceConfiguration.h"

#include "logging/LogSvcError.h"
#include "platform/StoredFile.h"
#include "platform/Trace.h"
#include "service/LogFiles.h"

#include <algorithm>
#include <exception>
#include <utility>

namespace zuLogging {

const char* ServiceConfiguration::defaultText()
{
    return R"({"parameters":{"level":"debug","destination":"logsvc"}})";
}

ServiceConfiguration::ServiceConfiguration(std::string path)
    : path_(std::move(path))
    , current_(read(defaultText()))
{
    if (path_.empty())
        return;
    const platform::StoredFile file =
        platform::readStoredFile(path_, maximumSize, platform::LinkInPlace::Refuse);
    if (file.status == platform::StoredFile::Status::Missing)
        return;
    try {
        if (file.status == platform::StoredFile::Status::Failed)
            throw LogSvcError(file.error);
        current_ = read(file.bytes);
    } catch (const std::exception& error) {
        platform::trace("Failed to read the logging configuration '" + path_ +
                        "', using the default: " + error.what() + "\n");
    }
}

ServiceConfiguration::Version ServiceConfiguration::read(std::string_view text)
{
    if (text.size() > maximumSize)
        throw LogSvcError("The logging configuration is too large");
    Version version;
    version.rules = std::make_shared<const LoggingRules>(readPropertyTreeObject(text));
    version.text = std::make_shared<const std::string>(text);
    return version;
}

void ServiceConfiguration::replace(std::string_view text)
{
    Version version = read(text);
    const std::vector<std::string>& known = current_.rules->files();
    for (const std::string& file : version.rules->files()) {
        const LogFiles::Place place = LogFiles::placeOf(file);
        if (place == LogFiles::Place::Nowhere ||
            (place == LogFiles::Place::Outside &&
             std::find(known.begin(), known.end(), file) == known.end()))
            throw LogSvcError("The logging configuration names a file outside the log folder");
    }
    std::string error;
    if (!path_.empty() && !platform::replaceStoredFile(path_, text, error))
        throw LogSvcError("Failed to write the logging configuration '" + path_ + "': " + error);
    current_ = std::move(version);
}

} // namespace zuLogging
