#include "service/LogFiles.h"

#include "logging/LogMessage.h"
#include "logging/LogSvcError.h"
#include "platform/Trace.h"
#include "service/ServiceFiles.h"

#include <QString>

#include <algorithm>
#include <utility>

namespace zuLogging {

namespace {

constexpr std::size_t longestPath = 1024;
constexpr std::chrono::seconds sayingPause(1);

/// The path with the separators of this system.
std::string nativePath(std::string_view path)
{
    std::string native(path);
    std::replace(native.begin(), native.end(), '\\', '/');
    return native;
}

} // namespace

/// Keeps the line that the formatting makes.
class LogFiles::Formatter final : public LogMessageSinkFormatter
{
public:
    std::string line; ///< UTF-8

protected:
    void write(std::u16string_view text) override { line = toQString(text).toStdString(); }
};

LogFiles::Place LogFiles::placeOf(std::string_view path)
{
    if (path.size() > longestPath || path.find('\0') != std::string_view::npos)
        return Place::Nowhere;
    const std::string native = nativePath(path);
    const std::string name = native.substr(native.rfind('/') + 1);
    if (name.empty() || name == "." || name == ".." || isServiceFileName(name))
        return Place::Nowhere;
    // Also with the letter of a drive, which means something else here but nothing that is wanted.
    if (native.front() == '/' || (native.size() > 1 && native[1] == ':'))
        return Place::Outside;
    for (std::size_t start = 0; start < native.size();) {
        const std::size_t end = std::min(native.find('/', start), native.size());
        if (native.compare(start, end - start, "..") == 0)
            return Place::Outside;
        start = end + 1;
    }
    return Place::Inside;
}

LogFiles::LogFiles(std::string folder, Clock clock)
    : folder_(std::move(folder))
    , clock_(std::move(clock))
    , formatter_(std::make_unique<Formatter>())
{
}

LogFiles::~LogFiles() = default;

void LogFiles::write(const std::string& path, const LogMessageContainerView& container)
{
    try {
        formatter_->consume(container);
    } catch (const LogSvcError&) {
        return; // it has no line; its sender hears of it when a sink minds
    }
    const TimePoint now = clock_();
    File& file = fileOf(path);
    file.used = now;
    if ((file.file.isOpen() || file.hasFailed) && now - file.opened >= pause) {
        file.file.close();
        file.hasFailed = false;
    }
    if (file.hasFailed || (!file.file.isOpen() && !open(path, file, now)))
        return;

    std::string& line = formatter_->line;
    if (file.endsInsideALine)
        line.insert(line.begin(), '\n');
    std::size_t written = 0;
    std::string error;
    if (file.file.append(line, written, error)) {
        file.endsInsideALine = false;
        return;
    }
    if (written != 0)
        file.endsInsideALine = true;
    fail(path, file, now, error);
}

bool LogFiles::open(const std::string& path, File& file, TimePoint now)
{
    const std::string native = nativePath(path);
    std::string error;
    bool isOpen = false;
    switch (placeOf(path)) {
    case Place::Nowhere:
        error = "the service does not write to a file of this name";
        break;
    case Place::Inside:
        if (folder_.empty())
            error = "there is no log folder";
        else
            isOpen = file.file.openInside(folder_, native, error);
        break;
    case Place::Outside:
        if (native.front() != '/' && folder_.empty())
            error = "there is no log folder";
        else
            isOpen = file.file.open(native.front() == '/' ? native : folder_ + '/' + native, error);
        break;
    }
    file.opened = now;
    if (!isOpen)
        fail(path, file, now, error);
    return isOpen;
}

void LogFiles::fail(const std::string& path, File& file, TimePoint now, const std::string& error)
{
    file.file.close();
    file.hasFailed = true;
    file.opened = now;
    if (hasSaid_ && now - said_ < sayingPause)
        return;
    hasSaid_ = true;
    said_ = now;
    // The path is somebody else's text: it stays on one line, and short.
    std::string shown = path.substr(0, longestPath);
    std::replace_if(
        shown.begin(), shown.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20; },
        '?');
    platform::trace("Failed to write to the log file '" + shown + "': " + error + "\n");
}

LogFiles::File& LogFiles::fileOf(const std::string& path)
{
    const auto found = files_.find(path);
    if (found != files_.end())
        return found->second;
    if (files_.size() >= maximumCount)
        files_.erase(
            std::min_element(files_.begin(), files_.end(), [](const auto& a, const auto& b) {
                return a.second.used < b.second.used;
            }));
    return files_[path];
}

void LogFiles::closeAll()
{
    for (auto& entry : files_)
        entry.second.file.close();
}

} // namespace zuLogging
