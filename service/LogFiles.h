#pragma once

#include "logging/LogMessageSinkFormatter.h"
#include "platform/AppendFile.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace zuLogging {

/// The files to which messages are written whose destination is one: a line a message, the default
/// columns, UTF-8, appended. A relative path lies below the log folder; folders below that must be
/// there already.
///
/// A file that cannot be written (a full disk, a folder that went away) costs its own lines only;
/// that is said on the debugger trace, at most once a second, and tried again after a while. Open
/// files are closed and opened anew every few seconds, so that one that was moved or removed is
/// made again.
///
/// No lock: the receiving thread's own, which waits for the system to take each line. Files on a
/// disk that hangs would hold it.
class LogFiles
{
public:
    using TimePoint = std::chrono::steady_clock::time_point;
    using Clock = std::function<TimePoint()>;

    static constexpr std::size_t maximumCount = 32; ///< remembered, and at most so many are open
    static constexpr std::chrono::seconds pause{5}; ///< before a file is opened again

    enum class Place
    {
        Inside,  ///< below the log folder
        Outside, ///< absolute, or leaves the log folder
        Nowhere  ///< no name of a file, or one of the service's own files
    };
    /// What the path itself says; symbolic links inside the log folder are refused when it is
    /// opened.
    static Place placeOf(std::string_view path);

    /// An empty `folder`: there is no log folder, and no file inside it can be written.
    explicit LogFiles(std::string folder, Clock clock = &std::chrono::steady_clock::now);
    ~LogFiles();

    /// Adds the message's line to the file. Never throws for what is wrong with file or message.
    void write(const std::string& path, const LogMessageContainerView& container);

    /// Called now and then: closes the files.
    void closeAll();

private:
    struct File
    {
        platform::AppendFile file;
        TimePoint opened;
        TimePoint used;
        bool hasFailed = false;
        bool endsInsideALine = false;
    };
    class Formatter;

    bool open(const std::string& path, File& file, TimePoint now);
    File& fileOf(const std::string& path);
    void fail(const std::string& path, File& file, TimePoint now, const std::string& error);

    std::string folder_;
    Clock clock_;
    std::map<std::string, File> files_;
    std::unique_ptr<Formatter> formatter_;
    TimePoint said_;
    bool hasSaid_ = false;
};

} // namespace zuLogging
