#include "platform/SharedMemory.h"

#include "platform/linux/ErrorText.h"
#include "platform/linux/FileDescriptor.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace zuLogging::platform {

namespace {

// Read by everybody, written by the publisher alone.
constexpr mode_t publicMode = S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH;

// A record that is withdrawn and published anew while we take hold of it sends us back to the
// start; nobody does that many times in a row.
constexpr int publishAttempts = 32;

constexpr std::size_t magicLength = 4;

// Never follows a symbolic link and never waits for the other end of a pipe.
int openObject(const std::string& path, int flags)
{
    return ::shm_open(path.c_str(), flags | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC, publicMode);
}

SharedMemoryContents failed(int code)
{
    SharedMemoryContents contents;
    contents.status = SharedMemoryStatus::Failed;
    contents.error = errorText(code);
    return contents;
}

bool isSameObject(const struct stat& a, const struct stat& b)
{
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

// True while `path` still leads to the object that `handle` has open.
bool isNameOf(const std::string& path, int handle)
{
    const FileDescriptor named(openObject(path, O_RDONLY));
    struct stat here = {};
    struct stat there = {};
    return named && ::fstat(handle, &here) == 0 && ::fstat(named.get(), &there) == 0 &&
           isSameObject(here, there);
}

bool writeAt(int handle, const std::uint8_t* data, std::size_t length, std::size_t offset)
{
    while (length != 0) {
        const ssize_t written = ::pwrite(handle, data, length, static_cast<off_t>(offset));
        if (written < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        data += written;
        offset += static_cast<std::size_t>(written);
        length -= static_cast<std::size_t>(written);
    }
    return true;
}

bool writeRecord(int handle, const std::vector<std::uint8_t>& bytes)
{
    const std::size_t first = std::min(magicLength, bytes.size());
    // Emptied first: what a killed publisher left must not mix with the new record.
    return ::ftruncate(handle, 0) == 0 &&
           ::ftruncate(handle, static_cast<off_t>(bytes.size())) == 0 &&
           writeAt(handle, bytes.data() + first, bytes.size() - first, first) &&
           writeAt(handle, bytes.data(), first, 0);
}

enum class Claim
{
    Held,
    InUse,
    Again,
    Failed
};

// Opens or makes the object and takes its lock. On Failed, errno tells why.
Claim claim(const std::string& path, FileDescriptor& object)
{
    // First without making it: the system may refuse to "make" a file that is already there and
    // is another user's.
    object.reset(openObject(path, O_RDWR));
    if (!object && errno == ENOENT) {
        object.reset(openObject(path, O_RDWR | O_CREAT | O_EXCL));
        if (!object && errno == EEXIST)
            return Claim::Again;
    }
    struct stat status = {};
    if (!object || ::fstat(object.get(), &status) != 0)
        return Claim::Failed;
    if (!S_ISREG(status.st_mode)) {
        errno = EINVAL;
        return Claim::Failed;
    }
    // The lock goes with the publisher, however it ends; the record may stay.
    while (::flock(object.get(), LOCK_EX | LOCK_NB) != 0) {
        if (errno == EWOULDBLOCK)
            return Claim::InUse;
        if (errno != EINTR)
            return Claim::Failed;
    }
    // Somebody may have taken the name away between the opening and the lock.
    if (!isNameOf(path, object.get()))
        return Claim::Again;
    // A record that another user owns could be rewritten by its owner at any time.
    if (status.st_uid != ::geteuid())
        return ::shm_unlink(path.c_str()) == 0 ? Claim::Again : Claim::Failed;
    return Claim::Held;
}

} // namespace

SharedMemoryContents readSharedMemory(const std::string& name, std::size_t limit)
{
    FileDescriptor object(openObject("/Global\\" + name, O_RDONLY));
    if (!object)
        object.reset(openObject("/" + name, O_RDONLY));
    if (!object)
        return {};

    struct stat status = {};
    if (::fstat(object.get(), &status) != 0)
        return failed(errno);
    if (!S_ISREG(status.st_mode))
        return failed(ENODEV);
    // Nothing of an empty object could be mapped.
    if (status.st_size <= 0)
        return failed(EINVAL);

    SharedMemoryContents contents;
    contents.bytes.resize(limit);
    std::size_t filled = 0;
    // Read, not mapped: an object that shrinks under a mapping ends the program.
    while (filled < limit) {
        const ssize_t got = ::pread(object.get(), contents.bytes.data() + filled, limit - filled,
                                    static_cast<off_t>(filled));
        if (got < 0) {
            if (errno == EINTR)
                continue;
            return failed(errno);
        }
        if (got == 0)
            break;
        filled += static_cast<std::size_t>(got);
    }
    contents.bytes.resize(filled);
    contents.status = SharedMemoryStatus::Ok;
    return contents;
}

SharedMemoryPublisher::~SharedMemoryPublisher()
{
    withdraw();
}

SharedMemoryPublisher::Result SharedMemoryPublisher::publish(const std::string& name,
                                                             const std::vector<std::uint8_t>& bytes)
{
    withdraw();
    error_.clear();
    if (bytes.empty()) {
        error_ = errorText(EINVAL);
        return Result::Failed;
    }

    const std::string path = "/" + name;
    FileDescriptor object;
    Claim claimed = Claim::Again;
    for (int attempt = 0; attempt < publishAttempts && claimed == Claim::Again; ++attempt)
        claimed = claim(path, object);

    switch (claimed) {
    case Claim::Held:
        break;
    case Claim::InUse:
        error_ = errorText(EADDRINUSE);
        return Result::NameInUse;
    case Claim::Again:
        error_ = errorText(EBUSY);
        return Result::Failed;
    case Claim::Failed:
        error_ = errorText(errno);
        return Result::Failed;
    }

    // The mode that the object was made with depends on the program's mask.
    if (::fchmod(object.get(), publicMode) != 0 || !writeRecord(object.get(), bytes)) {
        error_ = errorText(errno);
        ::shm_unlink(path.c_str());
        return Result::Failed;
    }
    name_ = path;
    handle_ = object.release();
    return Result::Published;
}

void SharedMemoryPublisher::withdraw() noexcept
{
    if (handle_ < 0)
        return;
    // Unlinked while the lock is still held, so that it cannot be the next publisher's record.
    if (isNameOf(name_, handle_))
        ::shm_unlink(name_.c_str());
    ::close(handle_);
    handle_ = -1;
}

} // namespace zuLogging::platform
