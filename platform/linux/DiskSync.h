#pragma once

#include <string>

namespace zuLogging::platform {

/// Has the system put what was written to `handle` on the disk. False, with errno set, when it
/// says that this failed; true on a file system that cannot be asked.
bool syncToDisk(int handle) noexcept;

/// The same for the names in the folder of `path`, without an answer: whoever asks has renamed the
/// file already, and a system that cannot do this with folders is no reason to call it a failure.
void syncFolderOf(const std::string& path);

} // namespace zuLogging::platform
