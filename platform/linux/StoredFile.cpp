#include "platform/StoredFile.h"

#include "platform/linux/DiskSync.h"
#include "platform/linux/ErrorText.h"
#include "platform/linux/FileDescriptor.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace zuLogging::platform {

namespace {

constexpr std::size_t readStep = std::size_t{1} << 16;

// Nobody else needs to look at what a program keeps for itself.
constexpr mode_t newFileMode = S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP;
constexpr mode_t newFolderMode = S_IRWXU | S_IRWXG;

StoredFile failed(std::string error)
{
    StoredFile file;
    file.error = std::move(error);
    return file;
}

bool writeAll(int handle, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t written = ::write(handle, bytes.data(), bytes.size());
        if (written < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

bool isSameFile(int handle, const std::string& path)
{
    struct stat open = {};
    struct stat named = {};
    return ::fstat(handle, &open) == 0 && ::lstat(path.c_str(), &named) == 0 &&
           open.st_dev == named.st_dev && open.st_ino == named.st_ino;
}

bool isRegular(int handle)
{
    struct stat status = {};
    return ::fstat(handle, &status) == 0 && S_ISREG(status.st_mode);
}

// Whether the file is this process's alone: not one that its owner could go on writing to, and not
// another file of ours that somebody has given this name as well.
bool isOursAlone(int handle)
{
    struct stat status = {};
    return ::fstat(handle, &status) == 0 && status.st_uid == ::geteuid() && status.st_nlink == 1;
}

int openTemporary(const std::string& path)
{
    return ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK,
                  newFileMode);
}

// Opens the file that is to be renamed, empty, and locks it.
bool takeTemporary(const std::string& path, FileDescriptor& file, std::string& error)
{
    file.reset(openTemporary(path));
    if (file && isRegular(file.get()) && !isOursAlone(file.get())) {
        // Without this name it stays what it is to the others.
        ::unlink(path.c_str());
        file.reset(openTemporary(path));
    }
    if (!file) {
        error = errorText(errno);
        return false;
    }
    // One fixed name, so that killed programs leave one file at most; hence the lock, and a second
    // look whether the name is not already the other one's finished file.
    if (!isRegular(file.get()) || !isOursAlone(file.get()) ||
        ::flock(file.get(), LOCK_EX | LOCK_NB) != 0 || !isSameFile(file.get(), path)) {
        error = "'" + path + "' is in use";
        return false;
    }
    return true;
}

} // namespace

StoredFile readStoredFile(const std::string& path, std::size_t maximumSize, LinkInPlace links)
{
    const int noFollow = links == LinkInPlace::Refuse ? O_NOFOLLOW : 0;
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | noFollow));
    if (!file) {
        StoredFile none = failed(errorText(errno));
        if (errno == ENOENT)
            none.status = StoredFile::Status::Missing;
        return none;
    }
    if (!isRegular(file.get()))
        return failed("not a regular file");

    StoredFile result;
    std::string& bytes = result.bytes;
    for (;;) {
        const std::size_t filled = bytes.size();
        bytes.resize(filled + readStep);
        const ssize_t got = ::read(file.get(), bytes.data() + filled, readStep);
        bytes.resize(filled + (got > 0 ? static_cast<std::size_t>(got) : 0));
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return failed(errorText(errno));
        if (bytes.size() > maximumSize)
            return failed("the file is too large");
        if (got == 0)
            break;
    }
    result.status = StoredFile::Status::Read;
    return result;
}

bool replaceStoredFile(const std::string& path, std::string_view bytes, std::string& error)
{
    struct stat old = {};
    const bool isThere = ::lstat(path.c_str(), &old) == 0;
    if (isThere && !S_ISREG(old.st_mode)) {
        error = "not a regular file";
        return false;
    }
    const std::string temporary = path + ".new";
    FileDescriptor file;
    if (!takeTemporary(temporary, file, error))
        return false;
    if ((isThere && ::fchmod(file.get(), old.st_mode & 0777) != 0) ||
        ::ftruncate(file.get(), 0) != 0 || !writeAll(file.get(), bytes) ||
        !syncToDisk(file.get()) || ::rename(temporary.c_str(), path.c_str()) != 0) {
        error = errorText(errno);
        ::unlink(temporary.c_str());
        return false;
    }
    // The new name is on the disk only when its folder is.
    syncFolderOf(path);
    return true;
}

bool makeFolder(const std::string& path, std::string& error)
{
    for (std::size_t slash = path.find('/', 1);; slash = path.find('/', slash + 1)) {
        const std::string folder = path.substr(0, slash);
        if (::mkdir(folder.c_str(), newFolderMode) != 0 && errno != EEXIST) {
            const int code = errno;
            // A folder of a read-only file system may be there all the same.
            struct stat status = {};
            if (::stat(folder.c_str(), &status) != 0) {
                error = errorText(code);
                return false;
            }
        }
        if (slash == std::string::npos)
            break;
    }
    struct stat status = {};
    if (::stat(path.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) {
        error = errorText(ENOTDIR);
        return false;
    }
    return true;
}

} // namespace zuLogging::platform
