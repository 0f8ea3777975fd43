#include "service/StartupFile.h"

#include "logging/LogSvcError.h"
#include "logging/PropertyTreeJson.h"
#include "platform/StoredFile.h"
#include "platform/Trace.h"

#include <charconv>
#include <system_error>

namespace zuLogging {

namespace {

constexpr std::size_t maximumSize = std::size_t{1} << 20;

std::string defaultText()
{
    PropertyTree record;
    record.put("type", "record");
    record.put("media_size", StartupFile::defaultRecordLines);
    PropertyTree sinks;
    sinks.push_back({"", record});
    PropertyTree document;
    document.add_child("startup_sinks", sinks);
    return writePropertyTree(document, JsonForm::Indented);
}

std::optional<std::uint64_t> recordLinesOf(const PropertyTree& document)
{
    const auto sinks = document.get_child_optional("startup_sinks");
    if (!sinks)
        return std::nullopt;
    for (const auto& sink : *sinks) {
        if (sink.second.get("type", std::string()) != "record")
            continue;
        const auto text = sink.second.get_optional<std::string>("media_size");
        if (!text)
            return StartupFile::defaultRecordLines;
        std::uint64_t lines = 0;
        const char* end = text->data() + text->size();
        const auto [stop, failure] = std::from_chars(text->data(), end, lines);
        if (failure != std::errc() || stop != end)
            throw LogSvcError("the record sink's media_size is no number of lines");
        return lines;
    }
    return std::nullopt;
}

void say(const std::string& text)
{
    platform::trace(text + "\n");
}

} // namespace

StartupFile::StartupFile(const std::string& path)
{
    if (path.empty())
        return;
    const platform::StoredFile file = platform::readStoredFile(path, maximumSize);
    switch (file.status) {
    case platform::StoredFile::Status::Missing: {
        std::string error;
        if (!platform::replaceStoredFile(path, defaultText(), error))
            say("Failed to make the start-up file '" + path + "': " + error);
        return;
    }
    case platform::StoredFile::Status::Failed:
        say("Failed to read the start-up file '" + path + "', using the defaults: " + file.error);
        return;
    case platform::StoredFile::Status::Read:
        break;
    }
    try {
        recordLines_ = recordLinesOf(readPropertyTree(file.bytes));
    } catch (const std::exception& error) {
        say("Failed to read the start-up file '" + path + "', using the defaults: " + error.what());
    }
}

} // namespace zuLogging
