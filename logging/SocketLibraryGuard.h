#pragma once

namespace zuLogging {

/// Keeps the system's socket library started. Every object that owns a socket holds one, declared
/// before the socket. Throws LogSvcError "Winsock startup failed" or "Requested Winsock version not
/// supported by this system".
class SocketLibraryGuard
{
public:
    SocketLibraryGuard();
    ~SocketLibraryGuard();
    SocketLibraryGuard(const SocketLibraryGuard&) = delete;
    SocketLibraryGuard& operator=(const SocketLibraryGuard&) = delete;
};

} // namespace zuLogging
