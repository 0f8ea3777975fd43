#include "platform/Udp.h"

#include "platform/linux/ErrorText.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <linux/sock_diag.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstring>
#include <utility>
#include <vector>

namespace zuLogging::platform {

namespace {

using Clock = std::chrono::steady_clock;

// How many errors left by earlier datagrams one call passes over before it gives up for now.
constexpr int staleErrorLimit = 16;

sockaddr_in toSystem(const SocketAddress& address) noexcept
{
    sockaddr_in system{};
    system.sin_family = AF_INET;
    system.sin_port = htons(address.port);
    system.sin_addr.s_addr = htonl(address.address);
    return system;
}

std::optional<SocketAddress> fromSystem(const sockaddr_in& system, socklen_t length) noexcept
{
    if (length < sizeof(sockaddr_in) || system.sin_family != AF_INET)
        return std::nullopt;
    return SocketAddress{ntohl(system.sin_addr.s_addr), ntohs(system.sin_port)};
}

// What the network reported about a datagram sent earlier. It says nothing about what has arrived,
// and the system forgets it once it is told.
bool isStaleError(int code) noexcept
{
    switch (code) {
    case ECONNREFUSED:
    case ECONNRESET:
    case EHOSTUNREACH:
    case EHOSTDOWN:
    case ENETUNREACH:
    case ENETDOWN:
    case EPROTO:
    case ENOPROTOOPT:
        return true;
    default:
        return false;
    }
}

bool isWouldBlock(int code) noexcept
{
    return code == EAGAIN || code == EWOULDBLOCK;
}

// Rounded up, so that a wait never ends early by a part of a millisecond and then spins.
int pollTimeout(Clock::time_point deadline) noexcept
{
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    return static_cast<int>(std::clamp<long long>(left, 0, INT_MAX));
}

} // namespace

SocketLibraryState acquireSocketLibrary()
{
    return SocketLibraryState::Ready;
}

void releaseSocketLibrary() {}

std::string lastSocketErrorText()
{
    return errorText(errno);
}

std::optional<std::string> ipv4Text(std::uint32_t address)
{
    const in_addr system{htonl(address)};
    std::array<char, INET_ADDRSTRLEN> text{};
    if (::inet_ntop(AF_INET, &system, text.data(), static_cast<socklen_t>(text.size())) == nullptr)
        return std::nullopt;
    return std::string(text.data());
}

std::optional<std::uint32_t> parseIpv4(std::string_view text)
{
    // A zero byte inside would end the text early and hide what stands behind it.
    if (text.size() >= INET_ADDRSTRLEN || text.find('\0') != std::string_view::npos)
        return std::nullopt;
    in_addr system{};
    if (::inet_pton(AF_INET, std::string(text).c_str(), &system) != 1)
        return std::nullopt;
    return ntohl(system.s_addr);
}

WakeSignal::WakeSignal()
    : handle_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
}

WakeSignal::~WakeSignal()
{
    if (handle_ >= 0)
        ::close(handle_);
}

void WakeSignal::raise() noexcept
{
    if (handle_ < 0)
        return;
    const int kept = errno;
    const std::uint64_t one = 1;
    // A counter that is full is raised already; only an interruption is worth another try.
    while (::write(handle_, &one, sizeof one) < 0 && errno == EINTR) {
    }
    errno = kept;
}

void WakeSignal::lower() noexcept
{
    if (handle_ < 0)
        return;
    const int kept = errno;
    std::uint64_t count = 0;
    while (::read(handle_, &count, sizeof count) < 0 && errno == EINTR) {
    }
    errno = kept;
}

namespace {

/// What one system call for many datagrams wants, pointed at each other once and for all.
struct SystemBatch
{
    SystemBatch(std::size_t count, std::size_t datagramCapacity)
        : capacityEach(datagramCapacity)
        , bytes(count * datagramCapacity)
        , addresses(count)
        , vectors(count)
        , messages(count)
    {
        for (std::size_t i = 0; i < count; ++i) {
            vectors[i].iov_base = bytes.data() + i * datagramCapacity;
            vectors[i].iov_len = datagramCapacity;
            messages[i].msg_hdr.msg_iov = &vectors[i];
            messages[i].msg_hdr.msg_iovlen = 1;
            messages[i].msg_hdr.msg_name = &addresses[i];
            messages[i].msg_hdr.msg_namelen = sizeof(sockaddr_in);
        }
    }

    std::size_t capacityEach;
    std::vector<std::uint8_t> bytes;
    std::vector<sockaddr_in> addresses;
    std::vector<iovec> vectors;
    std::vector<mmsghdr> messages;
};

} // namespace

struct DatagramBatch::Buffers : SystemBatch
{
    using SystemBatch::SystemBatch;

    std::size_t received = 0;
};

DatagramBatch::DatagramBatch(std::size_t capacity, std::size_t datagramCapacity)
    : buffers_(std::make_unique<Buffers>(std::max<std::size_t>(capacity, 1), datagramCapacity))
{
}

DatagramBatch::~DatagramBatch() = default;

std::size_t DatagramBatch::size() const noexcept
{
    return buffers_->received;
}

const std::uint8_t* DatagramBatch::data(std::size_t index) const noexcept
{
    return buffers_->bytes.data() + index * buffers_->capacityEach;
}

std::size_t DatagramBatch::length(std::size_t index) const noexcept
{
    const mmsghdr& message = buffers_->messages[index];
    const std::size_t length = message.msg_len;
    // With MSG_TRUNC asked for, the system reports the length on the wire. Should one not, a cut
    // datagram still must not pass for a whole one.
    if ((message.msg_hdr.msg_flags & MSG_TRUNC) != 0)
        return std::max(length, buffers_->capacityEach + 1);
    return length;
}

std::optional<SocketAddress> DatagramBatch::sender(std::size_t index) const noexcept
{
    return fromSystem(buffers_->addresses[index], buffers_->messages[index].msg_hdr.msg_namelen);
}

struct OutgoingBatch::Buffers : SystemBatch
{
    using SystemBatch::SystemBatch;

    std::size_t waiting = 0;
};

OutgoingBatch::OutgoingBatch(std::size_t capacity, std::size_t datagramCapacity)
    : buffers_(std::make_unique<Buffers>(std::max<std::size_t>(capacity, 1), datagramCapacity))
{
}

OutgoingBatch::~OutgoingBatch() = default;

std::size_t OutgoingBatch::size() const noexcept
{
    return buffers_->waiting;
}

bool OutgoingBatch::isFull() const noexcept
{
    return buffers_->waiting == buffers_->messages.size();
}

bool OutgoingBatch::add(const void* data, std::size_t length,
                        const SocketAddress& destination) noexcept
{
    Buffers& buffers = *buffers_;
    if (isFull() || length > buffers.capacityEach)
        return false;
    iovec& vector = buffers.vectors[buffers.waiting];
    if (length > 0) // of an empty datagram there may be no address
        std::memcpy(vector.iov_base, data, length);
    vector.iov_len = length;
    buffers.addresses[buffers.waiting] = toSystem(destination);
    ++buffers.waiting;
    return true;
}

UdpSocket::~UdpSocket()
{
    close();
}

UdpSocket::UdpSocket(UdpSocket&& other) noexcept
    : handle_(std::exchange(other.handle_, -1))
{
}

UdpSocket& UdpSocket::operator=(UdpSocket&& other) noexcept
{
    if (this != &other) {
        close();
        handle_ = std::exchange(other.handle_, -1);
    }
    return *this;
}

bool UdpSocket::open()
{
    close();
    handle_ = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP);
    return isOpen();
}

void UdpSocket::close() noexcept
{
    if (handle_ < 0)
        return;
    const int kept = errno;
    ::close(handle_);
    errno = kept;
    handle_ = -1;
}

bool UdpSocket::setReceiveBufferSize(int bytes)
{
    return ::setsockopt(handle_, SOL_SOCKET, SO_RCVBUF, &bytes, sizeof bytes) == 0;
}

bool UdpSocket::setSendBufferSize(int bytes)
{
    return ::setsockopt(handle_, SOL_SOCKET, SO_SNDBUF, &bytes, sizeof bytes) == 0;
}

bool UdpSocket::setNonBlocking()
{
    const int flags = ::fcntl(handle_, F_GETFL);
    return flags >= 0 && ::fcntl(handle_, F_SETFL, flags | O_NONBLOCK) == 0;
}

bool UdpSocket::bind(const SocketAddress& address)
{
    const sockaddr_in system = toSystem(address);
    return ::bind(handle_, reinterpret_cast<const sockaddr*>(&system), sizeof system) == 0;
}

std::optional<SocketAddress> UdpSocket::boundAddress() const
{
    sockaddr_in system{};
    socklen_t length = sizeof system;
    if (::getsockname(handle_, reinterpret_cast<sockaddr*>(&system), &length) != 0)
        return std::nullopt;
    return fromSystem(system, length);
}

WaitResult UdpSocket::waitReadable(std::chrono::milliseconds timeout, const WakeSignal* wake)
{
    if (!isOpen()) {
        errno = EBADF;
        return WaitResult::Failed;
    }
    // A wait longer than an hour is cut to one, so that no deadline can overflow.
    const auto limit = std::clamp<std::chrono::milliseconds>(timeout, std::chrono::milliseconds(0),
                                                             std::chrono::hours(1));
    const Clock::time_point deadline = Clock::now() + limit;
    std::array<pollfd, 2> polled{};
    polled[0] = {handle_, POLLIN, 0};
    // poll passes over a negative descriptor, which is what a missing wake signal has.
    polled[1] = {wake != nullptr ? wake->handle() : -1, POLLIN, 0};

    int staleErrors = 0;
    for (;;) {
        const int ready = ::poll(polled.data(), polled.size(), pollTimeout(deadline));
        if (ready < 0) {
            if (errno == EINTR)
                continue;
            return WaitResult::Failed;
        }
        if (ready == 0)
            return WaitResult::TimedOut;
        if (polled[1].revents != 0)
            return WaitResult::Woken;
        if ((polled[0].revents & POLLIN) != 0)
            return WaitResult::Readable;
        if ((polled[0].revents & POLLNVAL) != 0) {
            errno = EBADF;
            return WaitResult::Failed;
        }
        // Only an error is pending: asking for it takes it away.
        int code = 0;
        socklen_t length = sizeof code;
        if (::getsockopt(handle_, SOL_SOCKET, SO_ERROR, &code, &length) != 0)
            return WaitResult::Failed;
        if ((code != 0 && !isStaleError(code)) || ++staleErrors > staleErrorLimit) {
            errno = code;
            return WaitResult::Failed;
        }
    }
}

ReceivedDatagram UdpSocket::receive(void* buffer, std::size_t capacity)
{
    ReceivedDatagram datagram;
    int staleErrors = 0;
    for (;;) {
        sockaddr_in sender{};
        socklen_t senderLength = sizeof sender;
        const ssize_t length = ::recvfrom(handle_, buffer, capacity, MSG_TRUNC,
                                          reinterpret_cast<sockaddr*>(&sender), &senderLength);
        if (length >= 0) {
            datagram.result = ReceiveResult::Datagram;
            datagram.length = static_cast<std::size_t>(length);
            datagram.sender = fromSystem(sender, senderLength);
            return datagram;
        }
        if (errno == EINTR)
            continue;
        if (isStaleError(errno)) {
            if (++staleErrors <= staleErrorLimit)
                continue;
            datagram.result = ReceiveResult::WouldBlock;
        } else {
            datagram.result =
                isWouldBlock(errno) ? ReceiveResult::WouldBlock : ReceiveResult::Failed;
        }
        return datagram;
    }
}

ReceiveResult UdpSocket::receive(DatagramBatch& batch)
{
    DatagramBatch::Buffers& buffers = *batch.buffers_;
    // The system overwrote the lengths of the entries that the last call filled, and no others.
    for (mmsghdr& message : buffers.messages)
        message.msg_hdr.msg_namelen = sizeof(sockaddr_in);
    buffers.received = 0;

    int staleErrors = 0;
    for (;;) {
        const int count =
            ::recvmmsg(handle_, buffers.messages.data(),
                       static_cast<unsigned>(std::min<std::size_t>(buffers.messages.size(), 1024)),
                       MSG_DONTWAIT | MSG_TRUNC, nullptr);
        if (count > 0) {
            buffers.received = static_cast<std::size_t>(count);
            return ReceiveResult::Datagram;
        }
        if (count == 0 || isWouldBlock(errno))
            return ReceiveResult::WouldBlock;
        if (errno == EINTR)
            continue;
        if (!isStaleError(errno))
            return ReceiveResult::Failed;
        if (++staleErrors > staleErrorLimit)
            return ReceiveResult::WouldBlock;
    }
}

std::optional<std::uint32_t> UdpSocket::droppedCount() const
{
    const int kept = errno;
    std::array<std::uint32_t, SK_MEMINFO_VARS> counts{};
    socklen_t length = sizeof counts;
    const bool isTold =
        ::getsockopt(handle_, SOL_SOCKET, SO_MEMINFO, counts.data(), &length) == 0 &&
        length > SK_MEMINFO_DROPS * sizeof(std::uint32_t);
    errno = kept;
    if (!isTold)
        return std::nullopt;
    return counts[SK_MEMINFO_DROPS];
}

bool UdpSocket::send(const void* data, std::size_t length, const SocketAddress& destination)
{
    const sockaddr_in system = toSystem(destination);
    int staleErrors = 0;
    for (;;) {
        const ssize_t sent = ::sendto(handle_, data, length, MSG_NOSIGNAL,
                                      reinterpret_cast<const sockaddr*>(&system), sizeof system);
        if (sent >= 0)
            return static_cast<std::size_t>(sent) == length;
        if (errno == EINTR)
            continue;
        // The first answer may be about an earlier datagram; the second is about this one.
        if (isStaleError(errno) && ++staleErrors == 1)
            continue;
        return false;
    }
}

std::size_t UdpSocket::send(OutgoingBatch& batch)
{
    OutgoingBatch::Buffers& buffers = *batch.buffers_;
    const std::size_t count = std::exchange(buffers.waiting, 0);
    std::size_t failures = 0;
    std::size_t done = 0;
    int lastError = 0;
    int staleErrors = 0;
    while (done < count) {
        const int sent = ::sendmmsg(handle_, buffers.messages.data() + done,
                                    static_cast<unsigned>(count - done), MSG_NOSIGNAL);
        if (sent > 0) {
            done += static_cast<std::size_t>(sent);
            staleErrors = 0;
            continue;
        }
        if (sent < 0 && errno == EINTR)
            continue;
        // The first answer may be about an earlier datagram; the second is about this one.
        if (sent < 0 && isStaleError(errno) && ++staleErrors == 1)
            continue;
        lastError = errno;
        staleErrors = 0;
        ++failures;
        ++done;
    }
    if (failures > 0)
        errno = lastError;
    return failures;
}

bool isNobodyThere(const SocketAddress& destination, const void* data, std::size_t length)
{
    // A connected socket is told what became of its datagrams; on the loopback, before the send
    // returns.
    UdpSocket socket;
    const sockaddr_in system = toSystem(destination);
    if (!socket.open() ||
        ::connect(socket.handle(), reinterpret_cast<const sockaddr*>(&system), sizeof system) != 0)
        return false;
    if (::send(socket.handle(), data, length, MSG_NOSIGNAL | MSG_DONTWAIT) < 0)
        return errno == ECONNREFUSED;
    int code = 0;
    socklen_t codeLength = sizeof code;
    return ::getsockopt(socket.handle(), SOL_SOCKET, SO_ERROR, &code, &codeLength) == 0 &&
           code == ECONNREFUSED;
}

} // namespace zuLogging::platform
