#include "logging/SocketLibraryGuard.h"

#include "logging/LogSvcError.h"
#include "platform/Udp.h"

namespace zuLogging {

SocketLibraryGuard::SocketLibraryGuard()
{
    switch (platform::acquireSocketLibrary()) {
    case platform::SocketLibraryState::Ready:
        return;
    case platform::SocketLibraryState::StartupFailed:
        throw LogSvcError("Winsock startup failed");
    case platform::SocketLibraryState::VersionNotSupported:
        // It was started, only too old: it is given back before anybody hears of it.
        platform::releaseSocketLibrary();
        throw LogSvcError("Requested Winsock version not supported by this system");
    }
}

SocketLibraryGuard::~SocketLibraryGuard()
{
    platform::releaseSocketLibrary();
}

} // namespace zuLogging
