#include "platform/Process.h"

#include "platform/linux/ErrorText.h"
#include "platform/linux/FileDescriptor.h"

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <climits>
#include <cstdio>
#include <memory>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

namespace zuLogging::platform {

namespace {

// Reads the start of a regular file, up to the buffer's size; -1 when there is none to read.
ssize_t readStart(const char* path, char* buffer, std::size_t capacity)
{
    // Non-blocking: a pipe in the file's place must not hold the program.
    const FileDescriptor file(::open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status = {};
    if (!file || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode))
        return -1;
    std::size_t filled = 0;
    while (filled < capacity) {
        const ssize_t got = ::read(file.get(), buffer + filled, capacity - filled);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return -1;
        if (got == 0)
            break;
        filled += static_cast<std::size_t>(got);
    }
    return static_cast<ssize_t>(filled);
}

// A process that has ended but that its parent has not yet asked about keeps its number.
bool hasEnded(std::uint64_t processId)
{
    std::array<char, 512> text{};
    const std::string path = "/proc/" + std::to_string(processId) + "/stat";
    const ssize_t length = readStart(path.c_str(), text.data(), text.size());
    if (length <= 0)
        return false;
    // The state stands behind the program's name, which is in brackets and may hold any byte.
    const std::string_view line(text.data(), static_cast<std::size_t>(length));
    const std::size_t bracket = line.rfind(") ");
    if (bracket == std::string_view::npos || bracket + 2 >= line.size())
        return false;
    const char state = line[bracket + 2];
    return state == 'Z' || state == 'X';
}

bool writeAll(int handle, std::string_view text)
{
    while (!text.empty()) {
        const ssize_t written = ::write(handle, text.data(), text.size());
        if (written < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        text.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

} // namespace

std::uint64_t currentProcessId()
{
    return static_cast<std::uint64_t>(::getpid());
}

std::uint64_t currentThreadId()
{
    return static_cast<std::uint64_t>(::syscall(SYS_gettid));
}

bool isProcessAlive(std::uint64_t processId)
{
    if (processId == 0 || processId > static_cast<std::uint64_t>(INT_MAX))
        return false;
    if (::kill(static_cast<pid_t>(processId), 0) != 0 && errno != EPERM)
        return false;
    return !hasEnded(processId);
}

std::optional<std::string> programName(std::uint64_t processId)
{
    if (processId == 0 || processId > static_cast<std::uint64_t>(INT_MAX))
        return std::nullopt;
    const std::string link = "/proc/" + std::to_string(processId) + "/exe";
    std::array<char, PATH_MAX> target{};
    const ssize_t length = ::readlink(link.c_str(), target.data(), target.size());
    if (length <= 0)
        return std::nullopt;
    std::string_view path(target.data(), static_cast<std::size_t>(length));
    // What the system appends when the file was replaced under the running program.
    constexpr std::string_view deleted = " (deleted)";
    if (path.size() > deleted.size() && path.substr(path.size() - deleted.size()) == deleted)
        path.remove_suffix(deleted.size());
    return std::string(path.substr(path.rfind('/') + 1));
}

std::string runtimeDirectory()
{
    const char* directory = ::getenv("XDG_RUNTIME_DIR");
    return directory == nullptr || *directory == '\0' ? "/run" : directory;
}

std::optional<std::uint64_t> readPidFile(const std::string& path)
{
    std::array<char, 32> text{};
    const ssize_t length = readStart(path.c_str(), text.data(), text.size());
    // A file that fills the buffer holds more than a number.
    if (length <= 0 || static_cast<std::size_t>(length) == text.size())
        return std::nullopt;
    const char* end = text.data() + length;
    if (end[-1] == '\n')
        --end;
    std::uint64_t number = 0;
    const auto [stop, failure] = std::from_chars(text.data(), end, number);
    if (failure != std::errc() || stop != end)
        return std::nullopt;
    return number;
}

bool writePidFile(const std::string& path, std::string& error)
{
    std::string temporary = path + ".XXXXXX";
    FileDescriptor file(::mkostemp(temporary.data(), O_CLOEXEC));
    if (!file) {
        error = errorText(errno);
        return false;
    }
    const bool written = writeAll(file.get(), std::to_string(currentProcessId()) + "\n") &&
                         ::fchmod(file.get(), 0644) == 0 &&
                         ::rename(temporary.c_str(), path.c_str()) == 0;
    if (!written) {
        error = errorText(errno);
        ::unlink(temporary.c_str());
    }
    return written;
}

struct TerminationWatcher::State
{
    FileDescriptor signals;
    FileDescriptor end;
    std::function<void()> onRequest;
    std::thread thread;

    void run() const
    {
        std::array<pollfd, 2> polled{};
        polled[0] = {signals.get(), POLLIN, 0};
        polled[1] = {end.get(), POLLIN, 0};
        for (;;) {
            if (::poll(polled.data(), polled.size(), -1) < 0) {
                if (errno == EINTR)
                    continue;
                return;
            }
            if (polled[1].revents != 0)
                return;
            signalfd_siginfo request{};
            if (::read(signals.get(), &request, sizeof request) ==
                static_cast<ssize_t>(sizeof request)) {
                onRequest();
                return;
            }
        }
    }
};

TerminationWatcher::TerminationWatcher(std::function<void()> onRequest, bool alsoHangup)
{
    sigset_t requests;
    sigset_t before;
    ::sigemptyset(&requests);
    ::sigaddset(&requests, SIGTERM);
    ::sigaddset(&requests, SIGINT);
    struct sigaction hangup = {};
    // One that is ignored would still come through, once it is blocked.
    if (alsoHangup && ::sigaction(SIGHUP, nullptr, &hangup) == 0 && hangup.sa_handler != SIG_IGN)
        ::sigaddset(&requests, SIGHUP);
    const int blocked = ::pthread_sigmask(SIG_BLOCK, &requests, &before);
    if (blocked != 0)
        throw std::system_error(blocked, std::generic_category());

    try {
        auto state = std::make_unique<State>();
        state->onRequest = std::move(onRequest);
        state->signals.reset(::signalfd(-1, &requests, SFD_CLOEXEC | SFD_NONBLOCK));
        state->end.reset(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
        if (!state->signals || !state->end)
            throw std::system_error(errno, std::generic_category());
        state->thread = std::thread(&State::run, state.get());
        state_ = state.release();
    } catch (...) {
        // Without a watcher the signals must go on ending the process.
        ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
        throw;
    }
}

TerminationWatcher::~TerminationWatcher()
{
    const std::uint64_t one = 1;
    while (::write(state_->end.get(), &one, sizeof one) < 0 && errno == EINTR) {
    }
    state_->thread.join();
    delete state_;
    // The signals stay blocked: a second request must not cut the end of the process short.
}

void ignoreBrokenPipes()
{
    struct sigaction action = {};
    action.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &action, nullptr);
}

} // namespace zuLogging::platform
