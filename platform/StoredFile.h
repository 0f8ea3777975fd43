#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace zuLogging::platform {

struct StoredFile
{
    enum class Status
    {
        Read,
        Missing,
        Failed ///< `error` tells why
    };
    Status status = Status::Failed;
    std::string bytes;
    std::string error;
};

/// What is done about a symbolic link in a file's place. Links among its folders are followed.
enum class LinkInPlace
{
    Follow, ///< people keep files elsewhere on purpose
    Refuse
};

/// Reads a regular file whole, if it has at most `maximumSize` bytes. Never waits for a pipe.
StoredFile readStoredFile(const std::string& path, std::size_t maximumSize,
                          LinkInPlace links = LinkInPlace::Follow);

/// Replaces `path`, a file of this program's own, by one with `bytes` so that a crash or a full
/// disk at any moment leaves either the old file or the new one, whole: writes "`path`.new", has
/// the system put it on the disk, and renames it. A new file is for its owner and group only, less
/// what the process's mask takes away; one that is replaced keeps its permissions. A symbolic link,
/// or anything else that is no regular file, is refused in either name. False, with `error` filled
/// and the old file in place, on failure; also when another process is doing the same at this
/// moment.
bool replaceStoredFile(const std::string& path, std::string_view bytes, std::string& error);

/// Makes the folder, and those above it, unless they are there; for their owner and group only,
/// less what the process's mask takes away. False, with `error` filled, on
/// failure.
bool makeFolder(const std::string& path, std::string& error);

} // namespace zuLogging::platform
