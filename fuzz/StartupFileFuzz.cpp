// The service's start-up file, against a plain reading of the same document.

#include "fuzz/FuzzCheck.h"
#include "logging/PropertyTreeJson.h"
#include "service/SinkNames.h"
#include "service/StartupFile.h"

#include <QByteArray>
#include <QFile>
#include <QTemporaryDir>

#include <optional>
#include <string>
#include <vector>

using namespace zuLogging;
using fuzz::check;

namespace {

constexpr std::size_t maximumSize = std::size_t{1} << 20;

/// The text of the first member of that name.
std::optional<std::string> member(const PropertyTree& element, const std::string& name)
{
    for (const auto& [key, node] : element)
        if (key == name)
            return node.data();
    return std::nullopt;
}

/// False for what is no number.
bool plainNumber(const std::optional<std::string>& text, std::uint64_t otherwise,
                 std::uint64_t& number)
{
    number = otherwise;
    if (!text)
        return true;
    if (text->empty() || text->find_first_not_of("0123456789") != std::string::npos)
        return false;
    bool fits = false;
    number = QByteArray::fromStdString(*text).toULongLong(&fits);
    return fits;
}

bool describes(const StartupSink& sink, const PropertyTree& element)
{
    const std::optional<std::string> type = member(element, "type");
    if (!type || !sinkTypeNamed(*type))
        return !sink.error.empty();
    std::uint64_t first = 0;
    std::uint64_t second = 0;
    std::string argument;
    bool isGood = true;
    if (*type == "file") {
        isGood = member(element, "path").has_value() &&
                 plainNumber(member(element, "line_limit"), 0, first);
        argument = member(element, "path").value_or("");
    } else if (*type == "forward") {
        isGood = member(element, "address").has_value();
        argument = member(element, "address").value_or("");
    } else if (*type == "record") {
        isGood =
            plainNumber(member(element, "media_size"), StartupFile::defaultRecordLines, first) &&
            plainNumber(member(element, "secondary_media_size"), 0, second);
    }
    if (!isGood)
        return !sink.error.empty();
    return sink.error.empty() && sink.typeName == *type && sinkName(sink.type) == *type &&
           sink.description.argumentText == argument && sink.description.firstNumber == first &&
           sink.description.secondNumber == second &&
           sink.description.source == SinkSource::StartupFile;
}

/// What the document lists; nothing when the defaults are to be used.
std::optional<std::vector<PropertyTree>> plainRead(std::string_view text)
{
    if (text.size() > maximumSize)
        return std::nullopt;
    std::vector<PropertyTree> elements;
    try {
        const PropertyTree document = readPropertyTreeObject(text);
        for (const auto& [key, node] : document) {
            if (key != "startup_sinks")
                continue;
            if (!node.data().empty())
                return std::nullopt;
            for (const auto& element : node)
                elements.push_back(element.second);
            break;
        }
    } catch (const boost::property_tree::ptree_error&) {
        return std::nullopt;
    }
    return elements;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::silenceTrace();
    static const QTemporaryDir folder;
    check(folder.isValid(), "there is no temporary folder");
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<int>(size));
    QFile file(folder.filePath(QStringLiteral("LogSvcConf.json")));
    check(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size(),
          "the temporary folder cannot be written");
    file.close();

    const StartupFile startup(file.fileName().toStdString());
    const std::vector<StartupSink>& sinks = startup.sinks();
    const auto expected = plainRead({bytes.constData(), static_cast<std::size_t>(bytes.size())});
    if (expected) {
        check(sinks.size() == std::min(expected->size(), StartupFile::maximumSinks),
              "there are more or fewer sinks than elements");
        for (std::size_t i = 0; i < sinks.size(); ++i) {
            check(sinks[i].number == i + 1, "a sink has another one's number");
            check(describes(sinks[i], (*expected)[i]), "a sink is not what its element says");
        }
    } else {
        check(sinks.size() == 1 && sinks[0].error.empty() && sinks[0].type == SinkType::Recorder &&
                  sinks[0].description.firstNumber == StartupFile::defaultRecordLines,
              "a file of no use does not lead to the defaults");
    }
    check(file.open(QIODevice::ReadOnly) && file.readAll() == bytes, "the file was written");
    return 0;
}
