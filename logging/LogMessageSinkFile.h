#pragma once

#include "logging/LogMessageSinkFormatter.h"
#include "logging/SinkSource.h"
#include "platform/AppendFile.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace zuLogging {

/// Writes every message to a text file, in UTF-8. After `lineLimit` lines the next one is written
/// at the start of the file again: over the old ones, which stay there as far as no new one has
/// reached.
///
/// A line that cannot be written (a full disk, a disk that was taken away) is lost and counts
/// towards the limit; no error is raised. The first of several is told on the debugger trace. The
/// file stays the same one when it is moved or removed.
class LogMessageSinkFile final : public LogMessageSinkFormatter
{
public:
    /// In bytes; a longer argument is refused.
    static constexpr std::size_t longestArgument = 1024;

    /// Empties the file `argumentText`, or makes it; the folders on the way must be there. Slashes
    /// of both kinds separate its parts; "." and ".." are resolved by the text alone. A relative
    /// path lies below the folder `log` of the data directory. One that is absolute, leaves that
    /// folder or leads through a symbolic link in it is taken from the start-up file only. A name
    /// that is itself a symbolic link, no regular file, or one of the service's own files is never
    /// taken.
    ///
    /// `lineLimit` 0: no limit. Throws LogSvcError "Failed to instantiate a file sink " + cause.
    explicit LogMessageSinkFile(std::string_view argumentText, std::uint64_t lineLimit = 0,
                                SinkSource source = SinkSource::Request,
                                std::uint32_t containerOperatingMode = 0);

    /// True if the text, taken as above, leads to the same path.
    bool matches(std::string_view argumentText) const override;
    /// The whole path, without "." and "..".
    std::string argumentText() const override { return path_; }

protected:
    void write(std::u16string_view line) override;

private:
    std::string folder_; ///< empty: there is no data directory
    std::string path_;
    platform::AppendFile file_;
    std::uint64_t lineLimit_;
    std::uint64_t lineCount_ = 0; ///< since the last return to the start
    std::uint64_t position_ = 0;  ///< where the next line begins
    bool hasFailed_ = false;
};

} // namespace zuLogging
