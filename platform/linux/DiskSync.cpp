#include "platform/linux/DiskSync.h"

#include "platform/linux/FileDescriptor.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace zuLogging::platform {

bool syncToDisk(int handle) noexcept
{
    while (::fsync(handle) != 0) {
        if (errno == EINTR)
            continue;
        return errno == EINVAL || errno == ENOSYS;
    }
    return true;
}

void beginSync(int handle, std::int64_t from, std::int64_t count) noexcept
{
    ::sync_file_range(handle, from, count, SYNC_FILE_RANGE_WRITE);
}

void syncFolderOf(const std::string& path)
{
    const std::size_t slash = path.rfind('/');
    const std::string folder =
        slash == std::string::npos ? "." : path.substr(0, std::max<std::size_t>(slash, 1));
    const FileDescriptor handle(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (handle)
        syncToDisk(handle.get());
}

} // namespace zuLogging::platform
