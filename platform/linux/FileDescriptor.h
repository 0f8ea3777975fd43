#pragma once

#include <unistd.h>

#include <cerrno>

namespace zuLogging::platform {

/// Closes a descriptor at the end of a scope, leaving errno as it was.
class FileDescriptor
{
public:
    explicit FileDescriptor(int handle = -1) noexcept
        : handle_(handle)
    {
    }
    ~FileDescriptor() { reset(); }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    explicit operator bool() const noexcept { return handle_ >= 0; }
    int get() const noexcept { return handle_; }
    int release() noexcept
    {
        const int handle = handle_;
        handle_ = -1;
        return handle;
    }
    void reset(int handle = -1) noexcept
    {
        if (handle_ >= 0) {
            const int kept = errno;
            ::close(handle_);
            errno = kept;
        }
        handle_ = handle;
    }

private:
    int handle_;
};

} // namespace zuLogging::platform
