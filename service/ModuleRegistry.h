#pragma once

#include <cstddef>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace zuLogging {

/// The names of the modules whose messages the service has seen, kept in a file (one name a line,
/// UTF-8) across a restart.
///
/// Messages name modules as they like, so a flood of invented names must find an end: names that
/// are empty, longer than maximumLength bytes, or hold control characters are not remembered, nor
/// is one beyond maximumCount, which is said once. Names never leave by themselves; whoever wants
/// them gone removes the file while the service does not run.
///
/// Any thread.
class ModuleRegistry
{
public:
    static constexpr std::size_t maximumCount = 4096;
    static constexpr std::size_t maximumLength = 256;
    /// As many of the configuration's names as the list has room for beside those seen.
    static constexpr std::size_t maximumConfiguredCount = 32768;

    /// An empty `path`: nothing is kept. A file that cannot be read is reported to the debugger
    /// trace, and stays as it is until it can.
    explicit ModuleRegistry(std::string path = {});

    /// True if the name was not known and is remembered now.
    bool note(std::u16string_view name);

    /// The names seen and those of `configured` (sorted), sorted by their bytes, each once and
    /// followed by a NUL.
    std::string list(const std::vector<std::string>& configured) const;

    /// Writes the file if names have come since the last time. Failures go to the trace; the next
    /// call tries again.
    void save();

private:
    /// False, which is said, when the file is there and cannot be read.
    bool read();
    bool add(std::string name);

    const std::string path_;
    mutable std::mutex mutex_;
    std::set<std::string> names_;
    bool isChanged_ = false;
    bool isFullSaid_ = false;
    std::mutex fileMutex_; ///< one writer of the file at a time
    bool isRead_ = false;  ///< what the file held is among the names; guarded by fileMutex_
};

} // namespace zuLogging
