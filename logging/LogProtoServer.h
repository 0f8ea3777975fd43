#pragma once

#include "logging/Packet.h"
#include "logging/SocketAddressText.h"
#include "logging/SocketLibraryGuard.h"
#include "platform/Udp.h"

#include <boost/thread/thread.hpp>

#include <atomic>
#include <chrono>

namespace zuLogging {

/// Names the log message protocol.
struct LogMsgProtocol
{
    static constexpr std::uint16_t magic = magicLogMessage;
};

/// A UDP server on 127.0.0.1, on a port that the system picks, with one receiving thread of high
/// priority. It checks packets, hands valid requests to `process` and sends the acknowledges.
///
/// Threads: `process`, `processForeign` and `idle` run on the receiving thread, which is the only
/// one to touch the socket after `start`; the keep-running flag (atomic) and the wake signal are
/// all that it shares with the thread that calls `stop`.
///
/// A class derived from this one calls `start` in the constructor, and `stop` in the destructor, of
/// the most derived class: the thread must not call into an object that is half made or half gone.
template <class Protocol>
class LogProtoServer
{
public:
    /// Opens and binds the socket. Throws LogSvcError "Failed to create a log server socket" or
    /// "Failed to bind the log server socket".
    LogProtoServer();
    virtual ~LogProtoServer();
    LogProtoServer(const LogProtoServer&) = delete;
    LogProtoServer& operator=(const LogProtoServer&) = delete;

    /// Where the socket is bound. Throws LogSvcError "Failed to query the port number bound to the
    /// log server socket".
    SocketAddress boundAddress() const;

    /// Ends the receiving thread and closes the socket; harmless when called again. A packet that
    /// is being processed is finished first.
    void stop();

protected:
    /// Starts the receiving thread. Throws boost::thread_resource_error.
    void start();

    /// Handles one valid request of `length` bytes. Returns with `acknowledge` filled, or throws
    /// LogSvcError, which is answered with status 3.
    virtual void process(const Packet& request, std::size_t length, Packet& acknowledge) = 0;

    /// Called when nothing arrived for 2 seconds.
    virtual void idle() = 0;

    /// A datagram of another protocol (a header at least, and no longer than a packet may be).
    /// True: `acknowledge` is filled and is sent. The default refuses it as malformed.
    virtual bool processForeign(const Packet& request, std::size_t length, Packet& acknowledge);

private:
    void run();
    void handle(const Packet& request, std::size_t length, const SocketAddress& sender);
    bool dispatch(const Packet& request, std::size_t length, Packet& acknowledge);

    SocketLibraryGuard guard_;
    boost::thread thread_;
    platform::UdpSocket socket_;
    std::atomic<bool> running_{false};
    platform::WakeSignal wake_;
};

extern template class LogProtoServer<LogMsgProtocol>;

} // namespace zuLogging
