// What the client makes of answers: the check of one acknowledge against a plain one, and whole
// downloads and uploads from a peer on the loopback that answers with what the input says.

#include "fuzz/FuzzCheck.h"
#include "fuzz/FuzzInput.h"
#include "logging/LogClient.h"
#include "logging/LogSvcError.h"

#include <algorithm>
#include <cstring>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

using namespace zuLogging;
using fuzz::check;

namespace {

using Bytes = std::vector<std::uint8_t>;

/// Empty if the acknowledge is good.
std::string plainCheck(const PacketHeader& asked, const std::uint8_t* bytes, std::size_t length)
{
    constexpr char malformed[] = "Received malformed acknowledge packet";
    if (length < 12 || length > 1400)
        return malformed;
    const auto field = [bytes](std::size_t offset) {
        return static_cast<unsigned>(bytes[offset] | bytes[offset + 1] << 8);
    };
    if (field(0) != asked.magic || field(10) > 1388 || field(10) + 12 != length)
        return malformed;
    if (field(4) != (asked.command | 0x8000U) || field(8) != asked.sequence)
        return "The received acknowledge does not match the actual request";
    if (field(2) != 0)
        return "The received acknowledge contains unsupported flags";
    if (field(6) != 0)
        return "The command was not successful (negative acknowledge received)";
    return {};
}

void checkOne(fuzz::FuzzInput& input)
{
    Packet request;
    PacketHeader asked;
    asked.magic = static_cast<std::uint16_t>(input.number(2));
    asked.command = static_cast<std::uint16_t>(input.number(2));
    asked.sequence = static_cast<std::uint16_t>(input.number(2));
    request.setHeader(asked);

    const std::uint8_t form = input.byte();
    const std::size_t given = input.number(2);
    const std::string_view bytes = input.bytes(maximumPacket);
    Packet reply;
    std::copy(bytes.begin(), bytes.end(), reply.bytes());
    PacketHeader header = reply.header();
    if ((form & 1) != 0)
        header.magic = asked.magic;
    if ((form & 2) != 0) {
        header.command = asked.command | commandAcknowledgeBit;
        header.sequence = asked.sequence;
    }
    if ((form & 4) != 0)
        header.flags = 0;
    if ((form & 8) != 0)
        header.status = 0;
    if ((form & 16) != 0)
        header.payloadLength = static_cast<std::uint16_t>(
            bytes.size() < packetHeaderSize ? 0 : bytes.size() - packetHeaderSize);
    reply.setHeader(header);
    const std::size_t length = (form & 32) != 0 ? packetHeaderSize + header.payloadLength : given;

    std::string error;
    try {
        LogClient::checkAcknowledge(request, reply, length);
    } catch (const LogSvcError& failure) {
        error = failure.what();
    }
    check(error == plainCheck(asked, reply.bytes(), length),
          "an acknowledge is good for one way only, or wrong in another way");
}

/// Answers each datagram with the next of the given answers, and with a refusal when there are none
/// left: no command has to wait.
class Peer
{
public:
    struct Exchange
    {
        PacketHeader asked;
        Bytes asking;
        Bytes answer;
    };

    Peer()
    {
        check(socket_.open() && socket_.bind({platform::loopbackAddress, 0}), "there is no socket");
        address_ = socket_.boundAddress().value();
        thread_ = std::thread([this] { run(); });
    }
    ~Peer()
    {
        wake_.raise();
        thread_.join();
    }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    const SocketAddress& address() const { return address_; }

    void prepare(std::deque<Bytes> answers)
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        answers_ = std::move(answers);
        exchanges_.clear();
    }
    std::vector<Exchange> exchanges() const
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        return exchanges_;
    }

private:
    void run()
    {
        Bytes buffer(2000);
        while (socket_.waitReadable(std::chrono::minutes(10), &wake_) !=
               platform::WaitResult::Woken) {
            const auto datagram = socket_.receive(buffer.data(), buffer.size());
            if (datagram.result != platform::ReceiveResult::Datagram || !datagram.sender)
                continue;
            check(datagram.length >= packetHeaderSize && datagram.length <= maximumPacket,
                  "a request is no packet");
            Exchange exchange;
            exchange.asking.assign(buffer.begin(),
                                   buffer.begin() + static_cast<std::ptrdiff_t>(datagram.length));
            exchange.asked = readPacketHeader(buffer.data());
            {
                const std::lock_guard<std::mutex> lock(mutex_);
                exchange.answer = nextAnswer(exchange.asked);
                exchanges_.push_back(exchange);
            }
            socket_.send(exchange.answer.data(), exchange.answer.size(), *datagram.sender);
        }
    }

    /// The first byte says what is put right in the rest.
    Bytes nextAnswer(const PacketHeader& asked)
    {
        Bytes bytes(packetHeaderSize);
        writePacketHeader(bytes.data(), acknowledgeOf(asked, PacketStatus::Failed));
        if (answers_.empty())
            return bytes;
        const Bytes given = answers_.front();
        answers_.pop_front();
        const std::uint8_t form = given.front();
        if ((form & 1) != 0) {
            bytes.insert(bytes.end(), given.begin() + 1, given.end());
            PacketHeader header = acknowledgeOf(asked, (form & 2) != 0 ? PacketStatus::Failed
                                                                       : PacketStatus::Success);
            header.payloadLength = static_cast<std::uint16_t>(given.size() - 1);
            writePacketHeader(bytes.data(), header);
        } else {
            bytes.assign(given.begin() + 1, given.end());
        }
        return bytes;
    }

    platform::UdpSocket socket_;
    platform::WakeSignal wake_;
    SocketAddress address_;
    mutable std::mutex mutex_;
    std::deque<Bytes> answers_;
    std::vector<Exchange> exchanges_;
    std::thread thread_;
};

/// What the client did is not what the answers ask for, this time: see transfer().
struct Disagreement
{
    const char* what;
};

void expectThat(bool holds, const char* what)
{
    if (!holds)
        throw Disagreement{what};
}

/// Goes through what was asked and answered, as a download must have done it.
class Transcript
{
public:
    explicit Transcript(std::vector<Peer::Exchange> exchanges)
        : exchanges_(std::move(exchanges))
    {
    }

    /// The payload of the next answer; nothing if it is no good acknowledge, or too short.
    std::optional<Bytes> next(std::uint16_t command, std::size_t least)
    {
        expectThat(at_ < exchanges_.size(), "the client asks too little");
        const Peer::Exchange& exchange = exchanges_[at_++];
        expectThat(exchange.asked.command == command && exchange.asked.magic == magicLogClient &&
                       exchange.asked.flags == 0 &&
                       exchange.asking.size() == packetHeaderSize + exchange.asked.payloadLength,
                   "the client asks something else");
        if (!plainCheck(exchange.asked, exchange.answer.data(), exchange.answer.size()).empty())
            return std::nullopt;
        if (exchange.answer.size() < packetHeaderSize + least)
            return std::nullopt;
        return Bytes(exchange.answer.begin() + packetHeaderSize, exchange.answer.end());
    }
    const std::uint8_t* lastRequest() const
    {
        return exchanges_[at_ - 1].asking.data() + packetHeaderSize;
    }
    bool isAtEnd() const { return at_ == exchanges_.size(); }

private:
    std::vector<Peer::Exchange> exchanges_;
    std::size_t at_ = 0;
};

std::optional<std::string> plainDownload(Transcript& transcript)
{
    const auto handle = transcript.next(33, 8);
    if (!handle)
        return std::nullopt;
    const auto sizeBytes = transcript.next(21, 4);
    if (!sizeBytes)
        return std::nullopt;
    const std::size_t size = loadU32(sizeBytes->data());
    if (size > (std::size_t{256} << 20))
        return std::nullopt;
    std::string text;
    while (text.size() < size) {
        const auto piece = transcript.next(17, 0);
        const std::size_t wanted = std::min<std::size_t>(1388, size - text.size());
        expectThat(std::memcmp(transcript.lastRequest(), handle->data(), 8) == 0 &&
                       loadU32(transcript.lastRequest() + 8) == text.size() &&
                       loadU32(transcript.lastRequest() + 12) == wanted,
                   "the client asks for another piece");
        if (!piece || piece->size() != wanted)
            return std::nullopt;
        text.append(piece->begin(), piece->end());
    }
    transcript.next(20, 0);
    return text;
}

bool plainUpload(Transcript& transcript, const std::string& text)
{
    const auto handle = transcript.next(19, 8);
    if (!handle)
        return false;
    for (std::size_t offset = 0; offset < text.size();) {
        const bool isTaken = transcript.next(18, 0).has_value();
        const std::size_t length = std::min<std::size_t>(1372, text.size() - offset);
        expectThat(std::memcmp(transcript.lastRequest(), handle->data(), 8) == 0 &&
                       loadU32(transcript.lastRequest() + 8) == offset &&
                       loadU32(transcript.lastRequest() + 12) == length &&
                       std::memcmp(transcript.lastRequest() + 16, text.data() + offset, length) ==
                           0,
                   "the client brings another piece");
        if (!isTaken)
            return false;
        offset += length;
    }
    if (!transcript.next(34, 0))
        return false;
    transcript.next(20, 0);
    return true;
}

void play(const std::deque<Bytes>& answers, const std::string& text, bool isUpload)
{
    Peer peer;
    LogClient client(peer.address());
    peer.prepare(answers);

    std::optional<std::string> downloaded;
    bool isUploaded = false;
    try {
        if (isUpload)
            client.upload(text.data(), text.size());
        else
            downloaded = client.download(LogClientCommand::GetConfiguration);
        isUploaded = isUpload;
    } catch (const LogSvcError&) {
    }
    Transcript transcript(peer.exchanges());
    if (isUpload)
        expectThat(plainUpload(transcript, text) == isUploaded, "an upload ends otherwise");
    else
        expectThat(plainDownload(transcript) == downloaded, "a download gives something else");
    expectThat(transcript.isAtEnd(), "the client asks too much");
}

void transfer(fuzz::FuzzInput& input, bool isUpload)
{
    const std::string text(isUpload ? input.number(2) % 5000 : 0, 'x');
    std::deque<Bytes> answers;
    while (!input.isEmpty() && answers.size() < 20) {
        const std::uint8_t form = input.byte();
        const std::string_view bytes = input.bytes(input.number(2) % 1500);
        Bytes answer{form};
        answer.insert(answer.end(), bytes.begin(), bytes.end());
        answers.push_back(std::move(answer));
    }

    // The client gives up after two waits of half a second. Where the peer is not let run for so
    // long, what it saw says nothing; a defect shows each time.
    constexpr int tries = 5;
    for (int i = 1;; ++i) {
        try {
            return play(answers, text, isUpload);
        } catch (const Disagreement& disagreement) {
            check(i < tries, disagreement.what);
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::FuzzInput input(data, size);
    const std::uint8_t mode = input.byte();
    if (mode % 4 == 2)
        transfer(input, false);
    else if (mode % 4 == 3)
        transfer(input, true);
    else
        checkOne(input);
    return 0;
}
