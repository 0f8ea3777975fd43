#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace zuLogging {

/// The service's start-up file, read once when the service starts. Its "startup_sinks" say which
/// sinks the service makes then; only "record" with its "media_size" is known so far, and anything
/// else in the file is somebody else's and stays as it is: a file that is there is never written.
class StartupFile
{
public:
    static constexpr std::uint64_t defaultRecordLines = 10000;

    /// Reads `path`; makes the file, with the defaults, when it is missing. What is wrong with it
    /// is said on the debugger trace, and the defaults are used. An empty `path`: the defaults.
    explicit StartupFile(const std::string& path);

    /// How many lines the replay memory shall hold; nothing when the file wants none ("record" is
    /// not among its sinks).
    std::optional<std::uint64_t> recordLines() const { return recordLines_; }

private:
    std::optional<std::uint64_t> recordLines_ = defaultRecordLines;
};

} // namespace zuLogging
