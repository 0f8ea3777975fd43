#pragma once

#include "logging/LogLedger.h"
#include "logging/LossCounter.h"
#include "logging/Packet.h"
#include "logging/SocketAddressText.h"
#include "logging/SocketLibraryGuard.h"
#include "platform/Udp.h"

#include <boost/thread/thread.hpp>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

namespace zuLogging {

/// Names the log message protocol.
struct LogMsgProtocol
{
    static constexpr std::uint16_t magic = magicLogMessage;
};

/// A UDP server on 127.0.0.1, on a port that the system picks, with one receiving thread of high
/// priority. It checks packets, hands valid requests to `process` and sends the acknowledges.
///
/// Every datagram is counted in a ledger: as received, and as exactly one of what can become of it
/// (`countAs`). What the system threw away because the socket's buffer was full is looked up every
/// 50 milliseconds at most, when nothing arrives, and at the end.
///
/// Threads: `process`, `processForeign`, `idle` and `woken` run on the receiving thread, which is
/// the only one to touch the socket after `start`; the keep-running flag (atomic) and the wake
/// signal are all that it shares with the threads that call `stop` or `wake`.
///
/// A class derived from this one calls `start` in the constructor, and `stop` in the destructor, of
/// the most derived class: the thread must not call into an object that is half made or half gone.
template <class Protocol>
class LogProtoServer
{
public:
    /// Opens and binds the socket. Throws LogSvcError "Failed to create a log server socket" or
    /// "Failed to bind the log server socket". Counts in `ledger`; without one, in its own.
    explicit LogProtoServer(std::shared_ptr<LogLedger> ledger = nullptr);
    virtual ~LogProtoServer();
    LogProtoServer(const LogProtoServer&) = delete;
    LogProtoServer& operator=(const LogProtoServer&) = delete;

    /// Where the socket is bound. Throws LogSvcError "Failed to query the port number bound to the
    /// log server socket".
    SocketAddress boundAddress() const;

    /// Ends the receiving thread and closes the socket; harmless when called again. Packets that
    /// had arrived are processed first, as far as a full socket buffer holds them.
    void stop();

protected:
    /// Starts the receiving thread, once in the object's life. Throws boost::thread_resource_error
    /// or std::bad_alloc; nothing runs then.
    void start();

    /// To be called before `start`, by a server that gets streams of messages for which nobody
    /// waits: they are taken in at most every 200 microseconds, which costs far less than waking up
    /// for each. For one that is not sent more meanwhile than the socket's buffer holds.
    void letStreamsGather() noexcept { letsStreamsGather_ = true; }

    LogLedger& ledger() const { return *ledger_; }

    /// Handles one valid request of `length` bytes. Returns with `acknowledge` filled, or throws
    /// LogSvcError, which is answered with status 3, as every other exception is.
    virtual void process(const Packet& request, std::size_t length, Packet& acknowledge) = 0;

    /// Called when nothing arrived for 2 seconds.
    virtual void idle() = 0;

    /// A datagram of another protocol (a header at least, and no longer than a packet may be; its
    /// payload length is unchecked). True: `acknowledge` is filled and, unless flag bit 0 of the
    /// request says otherwise, sent. False, and every exception: dropped without an answer; false
    /// counts as malformed, which is what the default says.
    virtual bool processForeign(const Packet& request, std::size_t length, Packet& acknowledge);

    /// From within `process` or `processForeign`: what becomes of the datagram being handled; the
    /// last call holds, also when an exception follows. Without one the answer tells: success, or
    /// one that comes later, is a request; status 1 an unknown command, status 9 unknown flags, all
    /// else, an exception too, a request that could not be carried out.
    void countAs(LogCount outcome) noexcept { outcome_ = outcome; }

    /// Any thread: has the receiving thread call `woken` soon.
    void wake() noexcept { wake_.raise(); }
    /// Called after `wake`, once for several calls of it perhaps, and once more when the thread
    /// ends.
    virtual void woken() {}

    /// From within `process` or `processForeign`: who sent the request, and that nothing is sent
    /// when they return, because `sendAnswer` will send the acknowledge later.
    const std::optional<SocketAddress>& sender() const { return sender_; }
    void answerLater() { isAnsweredLater_ = true; }
    /// Receiving thread: sends an acknowledge that was put off, behind those that wait already.
    void sendAnswer(const Packet& acknowledge, const SocketAddress& to);

private:
    /// Datagrams taken from the system in one call.
    static constexpr std::size_t batchCapacity = 64;

    /// What the receiving thread works in, made once by `start`.
    struct Buffers
    {
        /// One byte more than a packet may have, so that a longer one is never cut to a valid one.
        platform::DatagramBatch arrived{batchCapacity, maximumPacket + 1};
        /// The answers to what arrived together leave together.
        platform::OutgoingBatch answers{batchCapacity, maximumPacket};
        Packet request;
        Packet acknowledge;
    };

    void run();
    void letMoreArrive();
    bool receiveArrived();
    void callWoken();
    std::size_t handleBatch();
    void sendAnswers();
    void handle(const std::uint8_t* datagram, std::size_t length,
                const std::optional<SocketAddress>& sender);
    void dispatch(const Packet& request, std::size_t length, Packet& acknowledge);
    LogCount outcomeOf(const Packet& acknowledge) const;
    void countLosses();

    SocketLibraryGuard guard_;
    boost::thread thread_;
    platform::UdpSocket socket_;
    std::unique_ptr<Buffers> buffers_;
    std::atomic<bool> running_{false};
    platform::WakeSignal wake_;
    std::optional<SocketAddress> sender_; ///< of the request being handled
    bool isAnsweredLater_ = false;        ///< that request
    bool letsStreamsGather_ = false;
    bool goesFirst_ = false;          ///< the receiving thread has a priority above the ordinary
    bool isAnswerWanted_ = false;     ///< by one of those handled since the last wait
    std::optional<LogCount> outcome_; ///< of the request being handled
    std::chrono::steady_clock::time_point oldestAnswer_; ///< when the first that waits was made
    std::chrono::steady_clock::time_point lastArrival_;  ///< when the last wait ended with some

    const std::shared_ptr<LogLedger> ledger_;
    LossCounter losses_;
    std::chrono::steady_clock::time_point nextLookForLosses_;
};

extern template class LogProtoServer<LogMsgProtocol>;

} // namespace zuLogging
