#pragma once

// IPv4 datagram sockets of the operating system: the only door of the program to the network.
// Nothing in this header throws; the protocol layers above turn failures into their own errors.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace zuLogging::platform {

/// One IPv4 socket address. Both fields are in host byte order.
struct SocketAddress
{
    std::uint32_t address = 0;
    std::uint16_t port = 0;

    friend bool operator==(const SocketAddress& a, const SocketAddress& b)
    {
        return a.address == b.address && a.port == b.port;
    }
    friend bool operator!=(const SocketAddress& a, const SocketAddress& b) { return !(a == b); }
};

/// 127.0.0.1
inline constexpr std::uint32_t loopbackAddress = 0x7F000001U;

enum class SocketLibraryState
{
    Ready,
    StartupFailed,
    VersionNotSupported
};

/// One start-up and one clean-up of the system's socket library. On systems that need neither
/// (Linux) `acquire` answers Ready and `release` does nothing.
SocketLibraryState acquireSocketLibrary();
void releaseSocketLibrary();

/// The system's text for the calling thread's last socket error; "Unknown error" when it has none.
std::string lastSocketErrorText();

/// The dotted form of `address` (host order); nothing when the system cannot print it.
std::optional<std::string> ipv4Text(std::uint32_t address);

/// The address (host order) that the dotted text names; nothing unless the whole text is one.
std::optional<std::uint32_t> parseIpv4(std::string_view text);

/// Ends a wait of another thread at once. `raise` may be called from any thread and from a signal
/// handler; a raised signal stays raised until it is lowered.
class WakeSignal
{
public:
    WakeSignal();
    ~WakeSignal();
    WakeSignal(const WakeSignal&) = delete;
    WakeSignal& operator=(const WakeSignal&) = delete;

    void raise() noexcept;
    /// The waits after this last until the next `raise`.
    void lower() noexcept;
    int handle() const noexcept { return handle_; }

private:
    int handle_ = -1; ///< -1: the system had none to give; waits then last their full time
};

enum class WaitResult
{
    Readable,
    TimedOut,
    Woken,
    Failed
};

enum class ReceiveResult
{
    Datagram,
    WouldBlock, ///< nothing has arrived
    Failed
};

struct ReceivedDatagram
{
    ReceiveResult result = ReceiveResult::Failed;
    /// Length on the wire; larger than the buffer's capacity when the datagram was cut to it.
    std::size_t length = 0;
    /// The sender; empty when it was not an IPv4 peer.
    std::optional<SocketAddress> sender;
};

class DatagramBatch;
class OutgoingBatch;

/// Owns one UDP descriptor. Movable, not copyable. Interrupted calls are gone on with.
/// One thread at a time, except that WakeSignal::raise may come from any.
class UdpSocket
{
public:
    UdpSocket() = default;
    ~UdpSocket();
    UdpSocket(UdpSocket&& other) noexcept;
    UdpSocket& operator=(UdpSocket&& other) noexcept;
    UdpSocket(const UdpSocket&) = delete;
    UdpSocket& operator=(const UdpSocket&) = delete;

    /// True when the socket is there afterwards. An open socket is closed first.
    bool open();
    void close() noexcept;
    bool isOpen() const noexcept { return handle_ >= 0; }
    int handle() const noexcept { return handle_; }

    bool setReceiveBufferSize(int bytes);
    bool setSendBufferSize(int bytes);
    bool setNonBlocking();
    bool bind(const SocketAddress& address);
    /// The address that the system bound the socket to.
    std::optional<SocketAddress> boundAddress() const;

    /// Waits until a datagram can be received, the time is over, or `wake` is raised (which counts
    /// first).
    WaitResult waitReadable(std::chrono::milliseconds timeout, const WakeSignal* wake = nullptr);

    /// Receives one datagram into `buffer`.
    ReceivedDatagram receive(void* buffer, std::size_t capacity);

    /// Receives, without waiting, as many datagrams as have arrived and fit into `batch`, in their
    /// order of arrival: one system call instead of one each. WouldBlock: none had arrived.
    ReceiveResult receive(DatagramBatch& batch);

    /// How many datagrams the system has thrown away because this socket's buffer was full, since
    /// it was opened; goes on at 0 behind 2^32 - 1. Nothing where the system does not tell. A
    /// system call of its own.
    std::optional<std::uint32_t> droppedCount() const;

    /// True when the system took the whole datagram.
    bool send(const void* data, std::size_t length, const SocketAddress& destination);

    /// Sends every datagram of `batch`, in its order, in one system call where that can be, and
    /// empties it. Returns how many the system did not take; those behind them are sent all the
    /// same. The last error is that of the last one not taken.
    std::size_t send(OutgoingBatch& batch);

private:
    int handle_ = -1;
};

/// Fixed buffers for UdpSocket::receive of many datagrams, made once and used again and again.
class DatagramBatch
{
public:
    /// `capacity` datagrams of at most `datagramCapacity` bytes each.
    DatagramBatch(std::size_t capacity, std::size_t datagramCapacity);
    ~DatagramBatch();
    DatagramBatch(const DatagramBatch&) = delete;
    DatagramBatch& operator=(const DatagramBatch&) = delete;

    /// Datagrams that the last receive brought.
    std::size_t size() const noexcept;
    const std::uint8_t* data(std::size_t index) const noexcept;
    /// Length on the wire; larger than `datagramCapacity` when the datagram was cut to it.
    std::size_t length(std::size_t index) const noexcept;
    std::optional<SocketAddress> sender(std::size_t index) const noexcept;

private:
    friend class UdpSocket;
    struct Buffers;
    std::unique_ptr<Buffers> buffers_;
};

/// Datagrams that wait to be sent together; its memory is made once.
class OutgoingBatch
{
public:
    /// `capacity` datagrams of at most `datagramCapacity` bytes each.
    OutgoingBatch(std::size_t capacity, std::size_t datagramCapacity);
    ~OutgoingBatch();
    OutgoingBatch(const OutgoingBatch&) = delete;
    OutgoingBatch& operator=(const OutgoingBatch&) = delete;

    std::size_t size() const noexcept;
    bool isFull() const noexcept;
    /// Copies a datagram behind the others. False when there is no room for it.
    bool add(const void* data, std::size_t length, const SocketAddress& destination) noexcept;

private:
    friend class UdpSocket;
    struct Buffers;
    std::unique_ptr<Buffers> buffers_;
};

/// True if the system says at once that nobody has a socket at `destination`, as it does for the
/// ports of this machine. Sends the datagram there to find out. False where it does not tell.
bool isNobodyThere(const SocketAddress& destination, const void* data, std::size_t length);

} // namespace zuLogging::platform
