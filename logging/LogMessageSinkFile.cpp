#include "logging/LogMessageSinkFile.h"

#include "logging/LogMessage.h"
#include "logging/LogSvcError.h"
#include "logging/ServiceFileNames.h"
#include "platform/DataDirectory.h"
#include "platform/Trace.h"

#include <QString>

#include <algorithm>
#include <filesystem>

namespace zuLogging {

namespace {

[[noreturn]] void fail(const std::string& cause)
{
    throw LogSvcError("Failed to instantiate a file sink " + cause);
}

bool isControlCharacter(char c)
{
    return static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
}

/// The argument with the separators of this system, without "." and a ".." that can be resolved.
std::string normalArgument(std::string_view argumentText)
{
    std::string native(argumentText);
    std::replace(native.begin(), native.end(), '\\', '/');
    return std::filesystem::path(native).lexically_normal().string();
}

bool isAbsolute(const std::string& argument)
{
    return !argument.empty() && argument[0] == '/';
}

/// Also with the letter of a drive, which means something else here but nothing that is wanted.
bool isOutside(const std::string& argument)
{
    return isAbsolute(argument) || argument.compare(0, 3, "../") == 0 ||
           (argument.size() > 1 && argument[1] == ':');
}

/// The path to which a normal argument leads; empty when there is none.
std::string pathOf(const std::string& folder, const std::string& argument)
{
    if (isAbsolute(argument))
        return argument;
    return folder.empty() ? std::string() : folder + '/' + argument;
}

std::string normalPath(const std::string& path)
{
    return std::filesystem::path(path).lexically_normal().string();
}

} // namespace

LogMessageSinkFile::LogMessageSinkFile(std::string_view argumentText, std::uint64_t lineLimit,
                                       SinkSource source, std::uint32_t containerOperatingMode)
    : LogMessageSinkFormatter(containerOperatingMode)
    , folder_(platform::dataFilePath("log"))
    , lineLimit_(lineLimit)
{
    if (argumentText.size() > longestArgument)
        fail("the path is too long");
    if (std::any_of(argumentText.begin(), argumentText.end(), isControlCharacter))
        fail("the path contains control characters");
    const std::string argument = normalArgument(argumentText);
    const std::string name = argument.substr(argument.rfind('/') + 1);
    if (name.empty() || name == "." || name == "..")
        fail("the path does not name a file");
    if (isServiceFileName(name))
        fail("the file is one of the service's own");
    if (source == SinkSource::Request && isOutside(argument))
        fail("the file lies outside the log folder");
    const std::string path = pathOf(folder_, argument);
    if (path.empty())
        fail("there is no log folder");

    std::string error;
    const bool isOpen =
        source == SinkSource::Request
            ? file_.openInside(folder_, argument, error, platform::AppendFile::Mode::Rewrite)
            : file_.open(path, error, platform::AppendFile::Mode::Rewrite);
    if (!isOpen)
        fail(error);
    path_ = normalPath(path);
}

bool LogMessageSinkFile::matches(std::string_view argumentText) const
{
    return argumentText.size() <= longestArgument &&
           normalPath(pathOf(folder_, normalArgument(argumentText))) == path_;
}

void LogMessageSinkFile::write(std::u16string_view line)
{
    const std::string text = toQString(line).toStdString();
    std::string error;
    // What a line that failed half way has left there is written over by the next one.
    const bool isWritten = file_.writeAt(position_, text, error);
    if (isWritten)
        position_ += text.size();
    else if (!hasFailed_)
        platform::trace("Failed to write to the log file '" + path_ + "': " + error + "\n");
    hasFailed_ = !isWritten;

    ++lineCount_;
    if (lineLimit_ != 0 && lineCount_ >= lineLimit_) {
        position_ = 0;
        lineCount_ = 0;
    }
}

} // namespace zuLogging
