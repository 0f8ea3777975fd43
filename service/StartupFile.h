#pragma once

#include "logging/SinkFactory.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace zuLogging {

/// One element of the start-up file's list of sinks.
struct StartupSink
{
    std::size_t number = 0; ///< in the list, from 1
    std::string typeName;   ///< as it stands there
    SinkType type = SinkType::Trace;
    SinkDescription description;
    std::string error; ///< not empty: why it describes no sink; `type` has no meaning then
};

/// The service's start-up file, read once when the service starts. Its "startup_sinks" is a list of
/// the sinks that the service makes then, in that order. Each has a "type":
///
///   "trace", "cout", "cerr"   to the debugger trace, to standard output (both)
///   "file"      "path", and optionally "line_limit": after so many lines it begins again
///   "forward"   "address", a.b.c.d:port
///   "record"    optionally "media_size" and "secondary_media_size": how many messages of either
///               kind the replay memory holds
///
/// Numbers may be written as numbers or as texts. Anything else in the file is somebody else's and
/// stays as it is: a file that is there is never written.
class StartupFile
{
public:
    /// "media_size" when it is missing.
    static constexpr std::uint64_t defaultRecordLines = 10000;
    /// Elements behind these are not looked at.
    static constexpr std::size_t maximumSinks = 1000;

    /// Reads `path`; makes the file, with the defaults, when it is missing. What is wrong with the
    /// file as a whole is said on the debugger trace, and the defaults are used: a replay memory.
    /// An empty `path`: the defaults.
    explicit StartupFile(const std::string& path);

    const std::vector<StartupSink>& sinks() const { return sinks_; }

private:
    std::vector<StartupSink> sinks_;
};

} // namespace zuLogging
