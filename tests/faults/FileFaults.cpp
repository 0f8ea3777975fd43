// Preloaded into a program under test: counts its calls that make, change or name files below given
// folders, and at one of them fails or ends the process. Everything else goes on as it would.
//
//   FILE_FAULTS_BELOW    paths, separated by ':'; what begins with one of them counts
//   FILE_FAULTS_CALL     the number of the call, from 1 on; 0 or missing: none
//   FILE_FAULTS_MODE     fail: it fails, and so does every later one that does not take a file away
//                        once: it alone fails
//                        short: a write there takes half of what it was given, once
//                        kill-before, kill-after: the process is killed
//   FILE_FAULTS_ERRNO    what a failing call says
//   FILE_FAULTS_REPORT   a file to which the name of the call is written at which this happened; in
//                        a run without FILE_FAULTS_CALL, the names of all calls

#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <sys/uio.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

enum class Mode
{
    Fail,
    Once,
    Short,
    KillBefore,
    KillAfter
};

constexpr int descriptorLimit = 65536;

struct Plan
{
    const char* below;
    const char* report;
    long call;
    Mode mode;
    int code;

    Plan()
        : below(std::getenv("FILE_FAULTS_BELOW"))
        , report(std::getenv("FILE_FAULTS_REPORT"))
        , call(number("FILE_FAULTS_CALL"))
        , mode(modeNamed(std::getenv("FILE_FAULTS_MODE")))
        , code(static_cast<int>(number("FILE_FAULTS_ERRNO")))
    {
    }

    static long number(const char* name)
    {
        const char* text = std::getenv(name);
        return text == nullptr ? 0 : std::strtol(text, nullptr, 10);
    }
    static Mode modeNamed(const char* name)
    {
        const auto is = [name](const char* other) {
            return name != nullptr && std::strcmp(name, other) == 0;
        };
        return is("once")          ? Mode::Once
               : is("short")       ? Mode::Short
               : is("kill-before") ? Mode::KillBefore
               : is("kill-after")  ? Mode::KillAfter
                                   : Mode::Fail;
    }
};

const Plan& plan()
{
    static const Plan instance;
    return instance;
}

std::atomic<long> calls{0};
std::atomic<bool> isWatched[descriptorLimit];

void note(const char* name)
{
    if (plan().report == nullptr)
        return;
    const long handle = ::syscall(SYS_openat, AT_FDCWD, plan().report,
                                  O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    if (handle < 0)
        return;
    ::syscall(SYS_write, handle, name, std::strlen(name));
    ::syscall(SYS_write, handle, "\n", 1);
    ::syscall(SYS_close, handle);
}

[[noreturn]] void die()
{
    ::syscall(SYS_kill, ::syscall(SYS_getpid), SIGKILL);
    for (;;)
        ::syscall(SYS_pause);
}

bool watches(const char* path)
{
    const char* prefix = plan().below;
    while (path != nullptr && prefix != nullptr && *prefix != '\0') {
        const char* end = std::strchr(prefix, ':');
        const std::size_t length =
            end == nullptr ? std::strlen(prefix) : static_cast<std::size_t>(end - prefix);
        if (std::strncmp(path, prefix, length) == 0)
            return true;
        prefix = end == nullptr ? nullptr : end + 1;
    }
    return false;
}

bool watches(int handle)
{
    return handle >= 0 && handle < descriptorLimit && isWatched[handle].load();
}

bool watches(int folder, const char* path)
{
    return path != nullptr && (path[0] == '/' ? watches(path) : watches(folder));
}

/// One call that counts.
class Call
{
public:
    Call(bool counts, const char* name, bool takesAway = false)
    {
        if (!counts)
            return;
        const long number = ++calls;
        const Plan& what = plan();
        if (what.call == 0) {
            note(name);
            return;
        }
        isIt_ = number == what.call;
        if (isIt_)
            note(name);
        if (isIt_ && what.mode == Mode::KillBefore)
            die();
        fails_ = (isIt_ && (what.mode == Mode::Fail || what.mode == Mode::Once)) ||
                 (number > what.call && what.mode == Mode::Fail && !takesAway);
    }
    bool fails() const { return fails_; }
    /// What the caller is told instead.
    int failure() const
    {
        errno = plan().code;
        return -1;
    }
    bool isShort() const { return isIt_ && plan().mode == Mode::Short; }
    template <typename T>
    T done(T result) const
    {
        if (isIt_ && plan().mode == Mode::KillAfter)
            die();
        return result;
    }

private:
    bool isIt_ = false;
    bool fails_ = false;
};

template <typename F>
F next(const char* name)
{
    return reinterpret_cast<F>(::dlsym(RTLD_NEXT, name));
}

int opened(int handle)
{
    if (handle >= 0 && handle < descriptorLimit)
        isWatched[handle].store(true);
    return handle;
}

mode_t modeOf(int flags, va_list arguments)
{
    const bool makes = (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
    return makes ? static_cast<mode_t>(va_arg(arguments, unsigned int)) : 0;
}

int openAt(const char* name, int folder, const char* path, int flags, mode_t mode)
{
    const bool counts = watches(folder, path);
    const Call call(counts, name);
    if (call.fails())
        return call.failure();
    // The system's own call: the library's forms all come down to this one.
    const int handle = static_cast<int>(::syscall(SYS_openat, folder, path, flags, mode));
    return call.done(counts ? opened(handle) : handle);
}

ssize_t half(size_t length)
{
    return static_cast<ssize_t>(length / 2);
}

} // namespace

#define OPENER(name, function)                                                                     \
    int name(const char* path, int flags, ...)                                                     \
    {                                                                                              \
        va_list arguments;                                                                         \
        va_start(arguments, flags);                                                                \
        const mode_t mode = modeOf(flags, arguments);                                              \
        va_end(arguments);                                                                         \
        return openAt(function, AT_FDCWD, path, flags, mode);                                      \
    }
#define OPENER_AT(name, function)                                                                  \
    int name(int folder, const char* path, int flags, ...)                                         \
    {                                                                                              \
        va_list arguments;                                                                         \
        va_start(arguments, flags);                                                                \
        const mode_t mode = modeOf(flags, arguments);                                              \
        va_end(arguments);                                                                         \
        return openAt(function, folder, path, flags, mode);                                        \
    }

extern "C" {

OPENER(open, "open")
OPENER(open64, "open")
OPENER_AT(openat, "openat")
OPENER_AT(openat64, "openat")

int __open_2(const char* path, int flags)
{
    return openAt("open", AT_FDCWD, path, flags, 0);
}
int __open64_2(const char* path, int flags)
{
    return openAt("open", AT_FDCWD, path, flags, 0);
}
int __openat_2(int folder, const char* path, int flags)
{
    return openAt("openat", folder, path, flags, 0);
}
int __openat64_2(int folder, const char* path, int flags)
{
    return openAt("openat", folder, path, flags, 0);
}
int creat(const char* path, mode_t mode)
{
    return openAt("creat", AT_FDCWD, path, O_CREAT | O_WRONLY | O_TRUNC, mode);
}
int creat64(const char* path, mode_t mode)
{
    return openAt("creat", AT_FDCWD, path, O_CREAT | O_WRONLY | O_TRUNC, mode);
}

#define TEMPORARY(name, parameters, ...)                                                           \
    int name parameters                                                                            \
    {                                                                                              \
        const bool counts = watches(path);                                                         \
        const Call call(counts, #name);                                                            \
        if (call.fails())                                                                          \
            return call.failure();                                                                 \
        const int handle = next<int(*) parameters>(#name)(__VA_ARGS__);                            \
        return call.done(counts ? opened(handle) : handle);                                        \
    }

TEMPORARY(mkstemp, (char* path), path)
TEMPORARY(mkstemp64, (char* path), path)
TEMPORARY(mkostemp, (char* path, int flags), path, flags)
TEMPORARY(mkostemp64, (char* path, int flags), path, flags)

int shm_open(const char* name, int flags, mode_t mode)
{
    char path[512];
    std::snprintf(path, sizeof path, "/dev/shm%s", name);
    const bool counts = watches(path);
    const Call call(counts, "shm_open");
    if (call.fails())
        return call.failure();
    const int handle = next<int (*)(const char*, int, mode_t)>("shm_open")(name, flags, mode);
    return call.done(counts ? opened(handle) : handle);
}

int shm_unlink(const char* name)
{
    char path[512];
    std::snprintf(path, sizeof path, "/dev/shm%s", name);
    const Call call(watches(path), "shm_unlink", true);
    return call.fails() ? call.failure()
                        : call.done(next<int (*)(const char*)>("shm_unlink")(name));
}

ssize_t write(int handle, const void* data, size_t length)
{
    const Call call(watches(handle), "write");
    if (call.fails())
        return call.failure();
    return call.done(static_cast<ssize_t>(
        ::syscall(SYS_write, handle, data, call.isShort() ? half(length) : length)));
}

static ssize_t writeAt(int handle, const void* data, size_t length, off_t offset)
{
    const Call call(watches(handle), "pwrite");
    if (call.fails())
        return call.failure();
    return call.done(static_cast<ssize_t>(
        ::syscall(SYS_pwrite64, handle, data, call.isShort() ? half(length) : length, offset)));
}
ssize_t pwrite(int handle, const void* data, size_t length, off_t offset)
{
    return writeAt(handle, data, length, offset);
}
ssize_t pwrite64(int handle, const void* data, size_t length, off64_t offset)
{
    return writeAt(handle, data, length, offset);
}
ssize_t writev(int handle, const struct iovec* pieces, int count)
{
    const Call call(watches(handle), "writev");
    if (call.fails())
        return call.failure();
    if (call.isShort() && count > 0)
        return call.done(static_cast<ssize_t>(
            ::syscall(SYS_write, handle, pieces[0].iov_base, half(pieces[0].iov_len))));
    return call.done(static_cast<ssize_t>(::syscall(SYS_writev, handle, pieces, count)));
}

#define ON_HANDLE(name, parameters, ...)                                                           \
    int name parameters                                                                            \
    {                                                                                              \
        const Call call(watches(handle), #name);                                                   \
        return call.fails() ? call.failure()                                                       \
                            : call.done(next<int(*) parameters>(#name)(__VA_ARGS__));              \
    }

ON_HANDLE(ftruncate, (int handle, off_t length), handle, length)
ON_HANDLE(ftruncate64, (int handle, off64_t length), handle, length)
ON_HANDLE(fsync, (int handle), handle)
ON_HANDLE(fdatasync, (int handle), handle)
ON_HANDLE(fchmod, (int handle, mode_t mode), handle, mode)

// As the system does it: the descriptor is gone also when the call says that it failed.
int close(int handle)
{
    const Call call(watches(handle), "close");
    if (handle >= 0 && handle < descriptorLimit)
        isWatched[handle].store(false);
    const int result = static_cast<int>(::syscall(SYS_close, handle));
    return call.fails() ? call.failure() : call.done(result);
}

#define ON_PATH(name, takesAway, counted, parameters, ...)                                         \
    int name parameters                                                                            \
    {                                                                                              \
        const Call call(counted, #name, takesAway);                                                \
        return call.fails() ? call.failure()                                                       \
                            : call.done(next<int(*) parameters>(#name)(__VA_ARGS__));              \
    }

ON_PATH(rename, false, watches(from) || watches(to), (const char* from, const char* to), from, to)
ON_PATH(renameat, false, watches(a, from) || watches(b, to),
        (int a, const char* from, int b, const char* to), a, from, b, to)
ON_PATH(renameat2, false, watches(a, from) || watches(b, to),
        (int a, const char* from, int b, const char* to, unsigned int flags), a, from, b, to, flags)
ON_PATH(link, false, watches(from) || watches(to), (const char* from, const char* to), from, to)
ON_PATH(linkat, false, watches(a, from) || watches(b, to),
        (int a, const char* from, int b, const char* to, int flags), a, from, b, to, flags)
ON_PATH(unlink, true, watches(path), (const char* path), path)
ON_PATH(unlinkat, true, watches(folder, path), (int folder, const char* path, int flags), folder,
        path, flags)
ON_PATH(remove, true, watches(path), (const char* path), path)
ON_PATH(mkdir, false, watches(path), (const char* path, mode_t mode), path, mode)
ON_PATH(mkdirat, false, watches(folder, path), (int folder, const char* path, mode_t mode), folder,
        path, mode)
ON_PATH(chmod, false, watches(path), (const char* path, mode_t mode), path, mode)
ON_PATH(truncate, false, watches(path), (const char* path, off_t length), path, length)

} // extern "C"
