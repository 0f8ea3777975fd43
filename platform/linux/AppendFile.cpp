#include "platform/AppendFile.h"

#include "platform/linux/ErrorText.h"
#include "platform/linux/FileDescriptor.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace zuLogging::platform {

namespace {

// Non-blocking: a pipe that nobody reads must not hold the program.
constexpr int commonFlags = O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
constexpr mode_t fileMode = 0640;

int flagsFor(AppendFile::Mode mode)
{
    return mode == AppendFile::Mode::Append ? commonFlags | O_APPEND : commonFlags;
}

} // namespace

AppendFile::~AppendFile()
{
    close();
}

AppendFile::AppendFile(AppendFile&& other) noexcept
    : handle_(std::exchange(other.handle_, -1))
{
}

AppendFile& AppendFile::operator=(AppendFile&& other) noexcept
{
    if (this != &other) {
        close();
        handle_ = std::exchange(other.handle_, -1);
    }
    return *this;
}

void AppendFile::close() noexcept
{
    FileDescriptor(std::exchange(handle_, -1)).reset();
}

bool AppendFile::take(int handle, Mode mode, std::string& error)
{
    FileDescriptor file(handle);
    if (!file) {
        error = errorText(errno);
        return false;
    }
    struct stat status = {};
    if (::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        error = "not a regular file";
        return false;
    }
    // A second name may have been given to a file that is not meant to be written to.
    if (status.st_nlink > 1) {
        error = "the file has more than one name";
        return false;
    }
    if (mode == Mode::Rewrite && ::ftruncate(file.get(), 0) != 0) {
        error = errorText(errno);
        return false;
    }
    close();
    handle_ = file.release();
    return true;
}

bool AppendFile::openInside(const std::string& folder, const std::string& relative,
                            std::string& error, Mode mode)
{
    FileDescriptor at(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!at) {
        error = errorText(errno);
        return false;
    }
    std::size_t start = 0;
    for (std::size_t slash = relative.find('/'); slash != std::string::npos;
         start = slash + 1, slash = relative.find('/', start)) {
        const std::string part = relative.substr(start, slash - start);
        if (part.empty() || part == ".")
            continue;
        if (part == "..") {
            error = "the file lies outside the folder";
            return false;
        }
        FileDescriptor next(
            ::openat(at.get(), part.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOFOLLOW));
        if (!next) {
            error = errorText(errno);
            return false;
        }
        at.reset(next.release());
    }
    return take(::openat(at.get(), relative.c_str() + start, flagsFor(mode), fileMode), mode,
                error);
}

bool AppendFile::open(const std::string& path, std::string& error, Mode mode)
{
    return take(::open(path.c_str(), flagsFor(mode), fileMode), mode, error);
}

bool AppendFile::append(std::string_view text, std::size_t& written, std::string& error)
{
    written = 0;
    while (written < text.size()) {
        const ssize_t put = ::write(handle_, text.data() + written, text.size() - written);
        if (put < 0) {
            if (errno == EINTR)
                continue;
            error = errorText(errno);
            return false;
        }
        written += static_cast<std::size_t>(put);
    }
    return true;
}

bool AppendFile::writeAt(std::uint64_t position, std::string_view text, std::string& error)
{
    std::size_t written = 0;
    while (written < text.size()) {
        const ssize_t put = ::pwrite(handle_, text.data() + written, text.size() - written,
                                     static_cast<off_t>(position + written));
        if (put < 0) {
            if (errno == EINTR)
                continue;
            error = errorText(errno);
            return false;
        }
        written += static_cast<std::size_t>(put);
    }
    return true;
}

} // namespace zuLogging::platform
