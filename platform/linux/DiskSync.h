#pragma once

#include <cstdint>
#include <string>

namespace zuLogging::platform {

/// Has the system put what was written to `handle` on the disk. False, with errno set, when it
/// says that this failed; true on a file system that cannot be asked.
bool syncToDisk(int handle) noexcept;

/// Has the system begin with these bytes of the file, and does not wait. No answer: syncToDisk
/// gives it.
void beginSync(int handle, std::int64_t from, std::int64_t count) noexcept;

/// As syncToDisk, for the names in the folder of `path`, without an answer: whoever asks has
/// renamed the file already, and a system that cannot do this with folders is no reason to call it
/// a failure.
void syncFolderOf(const std::string& path);

} // namespace zuLogging::platform
