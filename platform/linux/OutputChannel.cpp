#include "platform/OutputChannel.h"

#include "platform/linux/ErrorText.h"

#include <fcntl.h>
#include <limits.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <limits>

namespace zuLogging::platform {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int firstOwnHandle = 3;
constexpr short closedEvents = POLLERR | POLLHUP;

/// A second way to the same pipe or terminal. That it does not wait is a property of this way
/// alone; setting it for the one that we were given would set it for every program that has it.
int openNonBlocking(int handle)
{
    const std::string path = "/proc/self/fd/" + std::to_string(handle);
    const int opened = ::open(path.c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (opened < 0 || opened >= firstOwnHandle)
        return opened;
    // A closed standard stream's number; what is written there must not come here.
    const int moved = ::fcntl(opened, F_DUPFD_CLOEXEC, firstOwnHandle);
    ::close(opened);
    return moved;
}

} // namespace

OutputChannel::OutputChannel(int handle)
    : handle_(handle)
{
    struct stat status = {};
    if (::fstat(handle, &status) != 0) {
        error_ = errorText(errno);
        return;
    }
    isTerminal_ = ::isatty(handle) == 1;
    if (S_ISREG(status.st_mode)) {
        kind_ = Kind::File;
    } else if (S_ISSOCK(status.st_mode)) {
        kind_ = Kind::Socket;
    } else {
        kind_ = Kind::Other;
        const int own =
            S_ISFIFO(status.st_mode) || S_ISCHR(status.st_mode) ? openNonBlocking(handle) : -1;
        if (own >= 0) {
            kind_ = Kind::NonBlocking;
            handle_ = own;
            isOwned_ = true;
        }
    }
}

OutputChannel::~OutputChannel()
{
    if (isOwned_)
        ::close(handle_);
}

OutputChannel::Event OutputChannel::wait(std::chrono::milliseconds timeout, const WakeSignal& wake,
                                         bool forRoom)
{
    if (kind_ == Kind::Unusable && forRoom)
        return Event::Room;
    const auto end = Clock::now() + timeout;
    std::array<pollfd, 2> polled{};
    polled[0] = {kind_ == Kind::Unusable ? -1 : handle_, static_cast<short>(forRoom ? POLLOUT : 0),
                 0};
    polled[1] = {wake.handle(), POLLIN, 0};
    for (;;) {
        // Rounded up: a wait that ends a little early would be repeated in a circle.
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
        const int count = ::poll(
            polled.data(), polled.size(),
            static_cast<int>(std::clamp<long long>(left, 0, std::numeric_limits<int>::max())));
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return Event::TimedOut;
        if ((polled[0].revents & closedEvents) != 0)
            return Event::Closed;
        if (polled[1].revents != 0)
            return Event::Woken;
        return Event::Room;
    }
}

OutputChannel::Result OutputChannel::write(std::string_view& text)
{
    if (kind_ == Kind::Unusable)
        return Result::Failed;
    while (!text.empty()) {
        const long put = writeSome(text);
        if (put >= 0) {
            text.remove_prefix(static_cast<std::size_t>(put));
            continue;
        }
        if (errno == EINTR)
            continue;
        if (errno == EAGAIN || errno == EWOULDBLOCK)
            return Result::Full;
        const int code = errno;
        if (code == EPIPE || code == ECONNRESET || isClosed())
            return Result::Closed;
        error_ = errorText(code);
        return Result::Failed;
    }
    return Result::Done;
}

/// As `::write`; errno EAGAIN when there is no room.
long OutputChannel::writeSome(std::string_view text)
{
    switch (kind_) {
    case Kind::Socket:
        return ::send(handle_, text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    case Kind::Other: {
        pollfd polled{handle_, POLLOUT, 0};
        if (::poll(&polled, 1, 0) == 0) {
            errno = EAGAIN;
            return -1;
        }
        // A pipe with room has room for so much at least.
        return ::write(handle_, text.data(), std::min<std::size_t>(text.size(), PIPE_BUF));
    }
    default:
        return ::write(handle_, text.data(), text.size());
    }
}

bool OutputChannel::isClosed() const
{
    pollfd polled{handle_, 0, 0};
    return ::poll(&polled, 1, 0) > 0 && (polled.revents & closedEvents) != 0;
}

} // namespace zuLogging::platform
