#include "service/StartupFile.h"

#include "logging/LogSvcError.h"
#include "logging/PropertyTreeJson.h"
#include "platform/StoredFile.h"
#include "platform/Trace.h"
#include "service/SinkNames.h"

#include <charconv>
#include <optional>
#include <system_error>
#include <utility>

namespace zuLogging {

namespace {

constexpr std::size_t maximumSize = std::size_t{1} << 20;

// Members of the document.
constexpr char sinksName[] = "startup_sinks";
constexpr char typeName[] = "type";
constexpr char pathName[] = "path";
constexpr char lineLimitName[] = "line_limit";
constexpr char addressName[] = "address";
constexpr char sizeName[] = "media_size";
constexpr char secondarySizeName[] = "secondary_media_size";

PropertyTree defaultRecorder()
{
    PropertyTree record;
    record.put(typeName, sinkName(SinkType::Recorder));
    record.put(sizeName, StartupFile::defaultRecordLines);
    return record;
}

std::string defaultText()
{
    PropertyTree sinks;
    sinks.push_back({"", defaultRecorder()});
    PropertyTree document;
    document.add_child(sinksName, sinks);
    return writePropertyTree(document, JsonForm::Indented);
}

std::string requiredText(const PropertyTree& element, const char* name)
{
    const auto text = element.get_optional<std::string>(name);
    if (!text)
        throw LogSvcError(std::string("it has no \"") + name + '"');
    return *text;
}

std::uint64_t numberOr(const PropertyTree& element, const char* name, std::uint64_t otherwise)
{
    const auto text = element.get_optional<std::string>(name);
    if (!text)
        return otherwise;
    std::uint64_t number = 0;
    const char* end = text->data() + text->size();
    const auto [stop, failure] = std::from_chars(text->data(), end, number);
    if (failure != std::errc() || stop != end)
        throw LogSvcError(std::string("its \"") + name + "\" is no whole number from 0 on");
    return number;
}

void readSink(const PropertyTree& element, StartupSink& sink)
{
    sink.typeName = requiredText(element, typeName);
    const std::optional<SinkType> type = sinkTypeNamed(sink.typeName);
    if (!type)
        throw LogSvcError("there is no sink of this type");
    sink.type = *type;
    sink.description.source = SinkSource::StartupFile;
    switch (sink.type) {
    case SinkType::Trace:
    case SinkType::Cout:
    case SinkType::Cerr:
        break;
    case SinkType::File:
        sink.description.argumentText = requiredText(element, pathName);
        sink.description.firstNumber = numberOr(element, lineLimitName, 0);
        break;
    case SinkType::Forwarder:
        sink.description.argumentText = requiredText(element, addressName);
        break;
    case SinkType::Recorder:
        sink.description.firstNumber = numberOr(element, sizeName, StartupFile::defaultRecordLines);
        sink.description.secondNumber = numberOr(element, secondarySizeName, 0);
        break;
    }
}

StartupSink sinkOf(const PropertyTree& element, std::size_t number)
{
    StartupSink sink;
    sink.number = number;
    try {
        readSink(element, sink);
    } catch (const LogSvcError& error) {
        sink.error = error.what();
    }
    return sink;
}

void say(const std::string& text)
{
    platform::trace(text + "\n");
}

std::vector<StartupSink> sinksOf(const PropertyTree& document)
{
    std::vector<StartupSink> sinks;
    const auto elements = document.get_child_optional(sinksName);
    if (!elements)
        return sinks;
    if (!elements->data().empty())
        throw LogSvcError(std::string("\"") + sinksName + "\" is no list");
    for (const auto& element : *elements) {
        if (sinks.size() == StartupFile::maximumSinks) {
            say("Failed to make all start-up sinks: there are more than " +
                std::to_string(StartupFile::maximumSinks));
            break;
        }
        sinks.push_back(sinkOf(element.second, sinks.size() + 1));
    }
    return sinks;
}

} // namespace

StartupFile::StartupFile(const std::string& path)
    : sinks_{sinkOf(defaultRecorder(), 1)}
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
        sinks_ = sinksOf(readPropertyTreeObject(file.bytes));
    } catch (const std::exception& error) {
        say("Failed to read the start-up file '" + path + "', using the defaults: " + error.what());
    }
}

} // namespace zuLogging
