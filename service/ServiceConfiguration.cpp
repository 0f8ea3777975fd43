#include "service/ServiceConfiguration.h"

#include "logging/LogSvcError.h"
#include "platform/StoredFile.h"
#include "platform/Trace.h"
#include "service/LogFiles.h"

#include <algorithm>
#include <exception>
#include <utility>

namespace zuLogging {

namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

bool isObject(std::string_view text)
{
    if (text.substr(0, byteOrderMark.size()) == byteOrderMark)
        text.remove_prefix(byteOrderMark.size());
    const std::size_t first = text.find_first_not_of(" \t\r\n");
    return first != std::string_view::npos && text[first] == '{';
}

/// At least as many values and members as the text has: they begin behind a bracket or a comma.
std::size_t valuesOf(std::string_view text)
{
    std::size_t count = 0;
    bool inText = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (inText) {
            if (c == '\\')
                ++i;
            else if (c == '"')
                inText = false;
        } else if (c == '"') {
            inText = true;
        } else if (c == '{' || c == '[' || c == ',') {
            ++count;
        }
    }
    return count;
}

} // namespace

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
    const platform::StoredFile file = platform::readStoredFile(path_, maximumSize);
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
    if (text.size() > maximumSize || valuesOf(text) > maximumValues)
        throw LogSvcError("The logging configuration is too large");
    if (!isObject(text))
        throw LogSvcError("The logging configuration is not a JSON object");
    Version version;
    version.rules = std::make_shared<const LoggingRules>(readPropertyTree(text));
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
