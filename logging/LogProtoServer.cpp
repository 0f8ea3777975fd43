#include "logging/LogProtoServer.h"

#include "logging/LogSvcError.h"
#include "platform/ThreadPriority.h"
#include "platform/Trace.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <exception>
#include <string>
#include <thread>
#include <utility>

namespace zuLogging {

namespace {

constexpr int socketBufferSize = 0x20000;
constexpr std::chrono::milliseconds idlePeriod(2000);
/// Between two batches of a stream.
constexpr std::chrono::microseconds streamPause(200);
/// Arrivals that are no further apart make a stream.
constexpr std::chrono::microseconds streamGap(500);
/// A thread that goes before all others and always finds more keeps whoever shares its processor
/// standing, up to a quarter of a second was measured: it rests after a while.
constexpr std::chrono::milliseconds longestRun(10);
constexpr std::chrono::milliseconds rest(1);
/// An answer waits for others to leave with it, but not for requests that take long: its receiver
/// asks again after half a second.
constexpr std::chrono::milliseconds answerPatience(20);
/// More than the socket's receive buffer holds.
constexpr int maximumLastBatches = 64;

/// Between two questions to the system, each of which costs as much as some messages.
constexpr std::chrono::milliseconds lossPeriod(50);

constexpr char malformedPacket[] = "Received malformed input packet";

/// Never throws: a lack of memory for the text must not end the thread that reports it.
void traceLine(const char* text, const char* cause = "") noexcept
{
    try {
        platform::trace(std::string(text) + cause);
        platform::trace(std::string_view("\n"));
    } catch (const std::exception&) {
    }
}

void traceFailure(const char* step, const char* cause) noexcept
{
    try {
        const std::string prefix =
            std::string("Error while processing log protocol requests (") + step + "): ";
        traceLine(prefix.c_str(), cause);
    } catch (const std::exception&) {
    }
}

/// Of the exception being handled, which may be no std::exception.
std::string currentFailure() noexcept
{
    try {
        throw;
    } catch (const std::exception& error) {
        try {
            return error.what();
        } catch (const std::exception&) {
            return {};
        }
    } catch (...) {
        return "Unknown error";
    }
}

} // namespace

template <class Protocol>
LogProtoServer<Protocol>::LogProtoServer(std::shared_ptr<LogLedger> ledger)
    : ledger_(ledger ? std::move(ledger) : std::make_shared<LogLedger>())
{
    if (!socket_.open())
        throw LogSvcError("Failed to create a log server socket");
    if (!socket_.setReceiveBufferSize(socketBufferSize))
        traceLine("Warning: failed to configure server socket's receive buffer size");
    if (!socket_.setSendBufferSize(socketBufferSize))
        traceLine("Warning: failed to configure server socket's send buffer size");
    if (!socket_.setNonBlocking())
        traceLine("Warning: failed to switch log server's socket to non-blocking mode");
    if (!socket_.bind({platform::loopbackAddress, 0}))
        throw LogSvcError("Failed to bind the log server socket");
}

template <class Protocol>
LogProtoServer<Protocol>::~LogProtoServer()
{
    stop();
}

template <class Protocol>
SocketAddress LogProtoServer<Protocol>::boundAddress() const
{
    const std::optional<SocketAddress> address = socket_.boundAddress();
    if (!address)
        throw LogSvcError("Failed to query the port number bound to the log server socket");
    return *address;
}

template <class Protocol>
void LogProtoServer<Protocol>::start()
{
    if (thread_.joinable() || !socket_.isOpen())
        return;
    // Here and not on the thread, where a lack of memory would have nobody to be reported to.
    buffers_ = std::make_unique<Buffers>();
    running_.store(true);
    try {
        thread_ = boost::thread([this] { run(); });
    } catch (...) {
        running_.store(false);
        throw;
    }
}

template <class Protocol>
void LogProtoServer<Protocol>::stop()
{
    running_.store(false);
    wake_.raise();
    if (thread_.joinable()) {
        // A join that the caller's own interruption ends early would leave the thread running.
        const boost::this_thread::disable_interruption uninterrupted;
        thread_.join();
    }
    socket_.close();
}

template <class Protocol>
void LogProtoServer<Protocol>::run()
{
    goesFirst_ = platform::raiseCurrentThreadPriority();
    int failuresInARow = 0;
    while (running_.load()) {
        bool failed = false;
        switch (socket_.waitReadable(idlePeriod, &wake_)) {
        case platform::WaitResult::Readable:
            failed = !receiveArrived();
            letMoreArrive();
            break;
        case platform::WaitResult::TimedOut:
            countLosses();
            try {
                idle();
            } catch (...) {
                traceFailure("idle", currentFailure().c_str());
            }
            sendAnswers();
            break;
        case platform::WaitResult::Woken:
            wake_.lower();
            callWoken();
            break;
        case platform::WaitResult::Failed:
            traceFailure("select", platform::lastSocketErrorText().c_str());
            failed = true;
            break;
        }
        failuresInARow = failed ? failuresInARow + 1 : 0;
        // One error may belong to one datagram; a socket that only fails must not spin the thread.
        if (failuresInARow > 3)
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    // What had arrived before the stop is not thrown away; a sender that never rests ends here.
    for (int batches = 0; batches < maximumLastBatches; ++batches)
        if (socket_.receive(buffers_->arrived) != platform::ReceiveResult::Datagram ||
            handleBatch() < batchCapacity)
            break;
    countLosses();
    callWoken();
}

/// Between two batches of a stream. Whoever waits for an answer is not kept waiting.
template <class Protocol>
void LogProtoServer<Protocol>::letMoreArrive()
{
    if (!letsStreamsGather_)
        return;
    const auto now = std::chrono::steady_clock::now();
    const bool isStream = now - lastArrival_ < streamGap;
    lastArrival_ = now;
    if (isStream && !isAnswerWanted_ && running_.load())
        std::this_thread::sleep_for(streamPause);
    isAnswerWanted_ = false;
}

template <class Protocol>
void LogProtoServer<Protocol>::callWoken()
{
    try {
        woken();
    } catch (...) {
        traceFailure("woken", currentFailure().c_str());
    }
    sendAnswers();
}

/// Handles what the last receive brought; returns how many datagrams that were.
template <class Protocol>
std::size_t LogProtoServer<Protocol>::handleBatch()
{
    // First, so that whoever asks for the counts by a datagram is told of those lost before it.
    const auto now = std::chrono::steady_clock::now();
    if (now >= nextLookForLosses_) {
        nextLookForLosses_ = now + lossPeriod;
        countLosses();
    }
    const platform::DatagramBatch& batch = buffers_->arrived;
    const std::size_t count = batch.size();
    for (std::size_t i = 0; i < count; ++i) {
        handle(batch.data(i), batch.length(i), batch.sender(i));
        if (buffers_->answers.size() > 0 &&
            std::chrono::steady_clock::now() - oldestAnswer_ > answerPatience)
            sendAnswers();
    }
    sendAnswers();
    return count;
}

template <class Protocol>
void LogProtoServer<Protocol>::sendAnswers()
{
    if (buffers_->answers.size() == 0)
        return;
    for (std::size_t failed = socket_.send(buffers_->answers); failed > 0; --failed)
        traceFailure("send", platform::lastSocketErrorText().c_str());
}

/// Handles everything that has arrived. False when the socket failed.
template <class Protocol>
bool LogProtoServer<Protocol>::receiveArrived()
{
    auto begin = std::chrono::steady_clock::now();
    while (running_.load()) {
        switch (socket_.receive(buffers_->arrived)) {
        case platform::ReceiveResult::Datagram:
            break;
        case platform::ReceiveResult::WouldBlock:
            return true;
        case platform::ReceiveResult::Failed:
            traceFailure("recv", platform::lastSocketErrorText().c_str());
            return false;
        }
        // The wait tells sooner than another empty receive that nothing more is there.
        if (handleBatch() < batchCapacity)
            return true;
        if (goesFirst_ && std::chrono::steady_clock::now() - begin > longestRun) {
            std::this_thread::sleep_for(rest);
            begin = std::chrono::steady_clock::now();
        }
    }
    return true;
}

template <class Protocol>
void LogProtoServer<Protocol>::handle(const std::uint8_t* datagram, std::size_t length,
                                      const std::optional<SocketAddress>& sender)
{
    Packet& request = buffers_->request;
    Packet& acknowledge = buffers_->acknowledge;
    std::memcpy(request.bytes(), datagram, std::min(length, maximumPacket));
    sender_ = sender;
    isAnsweredLater_ = false;
    outcome_.reset();
    bool isAnswerable = false;
    try {
        dispatch(request, length, acknowledge);
        isAnswerable = true;
    } catch (...) {
        traceFailure("process_client_cmd", currentFailure().c_str());
    }
    // Afterwards, both: what a request is told of the counts balances without itself.
    ledger_->add(LogCount::Received);
    ledger_->add(outcome_ ? *outcome_
                          : (isAnswerable ? outcomeOf(acknowledge) : LogCount::RefusedRequest));
    if (!isAnswerable || (request.header().flags & flagNoAcknowledge) != 0 || !sender)
        return;
    isAnswerWanted_ = true;
    if (isAnsweredLater_)
        return;
    try {
        sendAnswer(acknowledge, *sender);
    } catch (...) {
        traceFailure("process_client_cmd", currentFailure().c_str());
    }
}

/// What the answer says of a request, for which nothing else was said.
template <class Protocol>
LogCount LogProtoServer<Protocol>::outcomeOf(const Packet& acknowledge) const
{
    if (isAnsweredLater_)
        return LogCount::Requests;
    switch (static_cast<PacketStatus>(acknowledge.header().status)) {
    case PacketStatus::Success:
        return LogCount::Requests;
    case PacketStatus::BadPacket:
        return LogCount::RefusedCommand;
    case PacketStatus::UnsupportedFlags:
        return LogCount::RefusedFlags;
    default:
        return LogCount::RefusedRequest;
    }
}

template <class Protocol>
void LogProtoServer<Protocol>::countLosses()
{
    if (const std::optional<std::uint32_t> dropped = socket_.droppedCount())
        if (const std::uint64_t lost = losses_.lostSince(*dropped); lost > 0)
            ledger_->add(LogCount::LostInSocket, lost);
}

template <class Protocol>
void LogProtoServer<Protocol>::sendAnswer(const Packet& acknowledge, const SocketAddress& to)
{
    if (acknowledge.size() > maximumPacket)
        throw LogSvcError("The command packet data are out of range");
    if (buffers_->answers.isFull())
        sendAnswers();
    if (buffers_->answers.size() == 0)
        oldestAnswer_ = std::chrono::steady_clock::now();
    buffers_->answers.add(acknowledge.bytes(), acknowledge.size(), to);
}

template <class Protocol>
void LogProtoServer<Protocol>::dispatch(const Packet& request, std::size_t length,
                                        Packet& acknowledge)
{
    if (length < packetHeaderSize || length > maximumPacket) {
        countAs(LogCount::RefusedSize);
        throw LogSvcError(malformedPacket);
    }
    const PacketHeader header = request.header();
    if (header.magic != Protocol::magic) {
        if (!processForeign(request, length, acknowledge)) {
            countAs(LogCount::RefusedMagic);
            throw LogSvcError(malformedPacket);
        }
        return;
    }
    if (length != packetHeaderSize + header.payloadLength)
        countAs(LogCount::RefusedLength);
    if (header.payloadLength > maximumPayload)
        throw LogSvcError(malformedPacket);

    if (length != packetHeaderSize + header.payloadLength) {
        traceLine("Refusing command packet with unexpected size");
        acknowledge.setHeader(acknowledgeOf(header, PacketStatus::BadPacket));
        return;
    }
    const bool isAcknowledge = (header.command & commandAcknowledgeBit) != 0;
    const unsigned allowedFlags = isAcknowledge ? 0U : flagNoAcknowledge;
    if ((header.flags & ~allowedFlags) != 0) {
        countAs(LogCount::RefusedFlags);
        traceLine("Refusing command packet containing unsupported flags");
        acknowledge.setHeader(acknowledgeOf(header, PacketStatus::UnsupportedFlags));
        return;
    }
    try {
        process(request, length, acknowledge);
    } catch (...) {
        traceFailure("negative ack generated", currentFailure().c_str());
        isAnsweredLater_ = false;
        acknowledge.setHeader(acknowledgeOf(header, PacketStatus::Failed));
    }
}

template <class Protocol>
bool LogProtoServer<Protocol>::processForeign(const Packet&, std::size_t, Packet&)
{
    return false;
}

template class LogProtoServer<LogMsgProtocol>;

} // namespace zuLogging
