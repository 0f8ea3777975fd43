#include "platform/StandardStreams.h"

#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace zuLogging::platform {

bool isTerminal(StandardStream stream)
{
    return ::isatty(static_cast<int>(stream)) == 1;
}

bool isClosedPipe(StandardStream stream)
{
    pollfd polled{static_cast<int>(stream), 0, 0};
    return ::poll(&polled, 1, 0) > 0 && (polled.revents & (POLLERR | POLLHUP)) != 0;
}

bool waitForStandardInput(const WakeSignal& wake)
{
    std::array<pollfd, 2> polled{};
    polled[0] = {static_cast<int>(StandardStream::Input), POLLIN, 0};
    polled[1] = {wake.handle(), POLLIN, 0};
    while (::poll(polled.data(), polled.size(), -1) < 0) {
        if (errno != EINTR)
            return true; // the read will tell
    }
    return polled[1].revents == 0;
}

} // namespace zuLogging::platform
