// The listener's packet check and its commands, over a real socket on the loopback: what it answers
// to a sequence of datagrams against what the bytes say it must. Sinks that write (standard output,
// standard error, files) and datagrams to anybody else's address are refused here.

#include "fuzz/FuzzCheck.h"
#include "fuzz/FuzzInput.h"
#include "logging/LogMessageListener.h"
#include "logging/LogMessageSinkFormatter.h"
#include "logging/LogSvcError.h"
#include "logging/SinkFactory.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

using namespace zuLogging;
using fuzz::check;

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t maximumDatagrams = 24;
constexpr std::size_t addressOfReplay = 32;

constexpr std::uint32_t codeOf(SinkType type)
{
    return static_cast<std::uint32_t>(type);
}

std::optional<SocketAddress> addressOf(std::string_view text)
{
    try {
        return parseSocketAddress(text);
    } catch (const LogSvcError&) {
        return std::nullopt;
    }
}

/// Where this program lets messages go to.
struct Places
{
    SocketAddress peer; ///< a socket of its own, that nobody reads
    SocketAddress own;  ///< the listener's

    bool allow(std::string_view text) const
    {
        const std::optional<SocketAddress> address = addressOf(text);
        return !address || *address == peer || *address == own;
    }
};

/// A request of the right size that would leave this program.
bool isForbidden(const Places& places, const PacketHeader& header, const std::uint8_t* payload)
{
    const std::string_view text(reinterpret_cast<const char*>(payload), header.payloadLength);
    switch (static_cast<LogMessageCommand>(header.command)) {
    case LogMessageCommand::StartForwarding: {
        if (text.size() < 4)
            return false;
        const std::uint32_t type = loadU32(payload);
        return type == codeOf(SinkType::Cout) || type == codeOf(SinkType::Cerr) ||
               type == codeOf(SinkType::File) ||
               (type == codeOf(SinkType::Forwarder) && !places.allow(text.substr(4)));
    }
    case LogMessageCommand::Replay:
        return text.size() >= addressOfReplay && !places.allow(text.substr(addressOfReplay));
    case LogMessageCommand::ReplayAndForward:
        return !places.allow(text);
    default:
        return false;
    }
}

class Listener final : public LogMessageListener
{
public:
    explicit Listener(const SocketAddress& peer)
        : LogMessageListener({}, 0, ListenerLimits::careful())
        , places_{peer, boundAddress()}
    {
        start();
    }
    ~Listener() override { stop(); }

    const Places& places() const { return places_; }
    std::size_t sinkCount() const { return sinkCount_.load(); }

protected:
    bool assignsServiceIds() const override { return true; }
    void process(const Packet& request, std::size_t length, Packet& acknowledge) override
    {
        if (isForbidden(places_, request.header(), request.payload()))
            throw LogSvcError("not from here");
        LogMessageListener::process(request, length, acknowledge);
        sinkCount_.store(sinks().size());
    }

private:
    const Places places_;
    std::atomic<std::size_t> sinkCount_{0};
};

/// Whether the trace sink can write the message.
bool isWritable(const std::uint8_t* data, std::size_t length)
{
    class Lines final : public LogMessageSinkFormatter
    {
    protected:
        void write(std::u16string_view) override {}
    };
    LogMessageContainerView view;
    view.data = data;
    view.length = length;
    try {
        Lines().consume(view);
        return true;
    } catch (const LogSvcError&) {
        return false;
    }
}

/// The status that each datagram is to be answered with, and the sinks that there must be then.
class Account
{
public:
    explicit Account(const Places& places)
        : places_(places)
    {
    }

    struct Expected
    {
        bool isAnswered = false;
        unsigned status = 0;
        bool mayFail = false; ///< how many replays are under way is not known
    };

    Expected take(const Bytes& datagram)
    {
        if (datagram.size() < 12 || datagram.size() > 1400)
            return {};
        const PacketHeader header = readPacketHeader(datagram.data());
        if (header.magic != 0xADDA || header.payloadLength > 1388)
            return {};
        Expected expected;
        expected.isAnswered = (header.flags & 1) == 0;
        const bool isAcknowledge = (header.command & 0x8000) != 0;
        if (datagram.size() != 12U + header.payloadLength) {
            expected.status = 1;
        } else if ((header.flags & ~(isAcknowledge ? 0U : 1U)) != 0) {
            expected.status = 9;
        } else {
            Packet packet;
            std::memcpy(packet.bytes(), datagram.data(), datagram.size());
            carryOut(packet, expected);
        }
        return expected;
    }

    struct Sink
    {
        std::uint32_t type;
        std::string text;
    };
    const std::vector<Sink>& sinks() const { return sinks_; }

private:
    void carryOut(const Packet& packet, Expected& expected)
    {
        const std::uint8_t* payload = packet.payload();
        const std::size_t length = packet.header().payloadLength;
        const std::string_view text(reinterpret_cast<const char*>(payload), length);
        const bool isForbiddenHere = isForbidden(places_, packet.header(), payload);
        bool isGood = !isForbiddenHere;
        switch (packet.header().command) {
        case 257:
        case 258:
            isGood = length >= 28 && loadU16(payload) == length;
            // The trace sink writes messages of the first kind only.
            if (isGood && packet.header().command == 257 && has(SinkType::Trace))
                isGood = isWritable(payload, length);
            break;
        case 273:
            break;
        case 289:
            isGood = isGood && length >= 4 && add(loadU32(payload), text.substr(4));
            break;
        case 290:
            isGood = length >= 4 && remove(loadU32(payload), text.substr(4));
            break;
        case 291:
            isGood = isGood && length >= addressOfReplay &&
                     replay(loadU32(payload) == 256, text.substr(addressOfReplay), expected);
            break;
        case 292:
            isGood = isGood && replay(true, text, expected);
            if (isGood)
                isGood = add(codeOf(SinkType::Forwarder), text);
            break;
        default:
            expected.status = 1;
            return;
        }
        expected.status = isGood ? 0 : 3;
    }

    bool has(SinkType type) const
    {
        return std::any_of(sinks_.begin(), sinks_.end(),
                           [type](const Sink& sink) { return sink.type == codeOf(type); });
    }

    std::vector<Sink>::iterator find(std::uint32_t type, std::string_view text)
    {
        return std::find_if(sinks_.begin(), sinks_.end(), [&](const Sink& sink) {
            return sink.type == type && (type != codeOf(SinkType::Forwarder) || sink.text == text);
        });
    }

    bool add(std::uint32_t type, std::string_view text)
    {
        if (type > codeOf(SinkType::Recorder))
            return false;
        if (find(type, text) != sinks_.end())
            return true;
        if (type == codeOf(SinkType::Forwarder)) {
            const std::optional<SocketAddress> address = addressOf(text);
            if (!address || *address == places_.own)
                return false;
        }
        sinks_.push_back({type, std::string(text)});
        return true;
    }

    bool remove(std::uint32_t type, std::string_view text)
    {
        if (sinks_.empty())
            return true;
        if (type > codeOf(SinkType::Recorder))
            return false;
        const auto found = find(type, text);
        if (found != sinks_.end())
            sinks_.erase(found);
        return true;
    }

    bool replay(bool isEverything, std::string_view text, Expected& expected) const
    {
        const std::optional<SocketAddress> address = addressOf(text);
        if (address && *address == places_.own)
            return false;
        if (!has(SinkType::Recorder))
            return true;
        if (isEverything && !address)
            return false;
        // Whatever is asked for is refused while there are as many as there may be.
        expected.mayFail = true;
        return true;
    }

    const Places places_;
    std::vector<Sink> sinks_;
};

class Conversation
{
public:
    Conversation()
        : peer_(opened())
        , client_(opened())
        , listener_(peer_.boundAddress().value())
        , server_(listener_.boundAddress())
    {
    }

    void run(fuzz::FuzzInput& input)
    {
        Account account(listener_.places());
        std::vector<Bytes> datagrams;
        while (!input.isEmpty() && datagrams.size() < maximumDatagrams)
            datagrams.push_back(datagramFrom(input));
        bool isSure = true;
        exchange(datagrams, account, isSure);
        check(!isSure || listener_.sinkCount() == account.sinks().size(),
              "there are more or fewer sinks than were asked for");
        clear();
    }

private:
    static platform::UdpSocket opened()
    {
        platform::UdpSocket socket;
        check(socket.open() && socket.setNonBlocking() && socket.setReceiveBufferSize(0x40000) &&
                  socket.bind({platform::loopbackAddress, 0}),
              "there is no socket");
        return socket;
    }

    /// A form, a length and so many bytes. The form says what is put right in them.
    Bytes datagramFrom(fuzz::FuzzInput& input) const
    {
        const std::uint8_t form = input.byte();
        const std::string_view taken = input.bytes(input.number(2) % 1500);
        Bytes bytes(taken.begin(), taken.end());
        const auto append = [&bytes](const SocketAddress& address) {
            const std::string text = socketAddressText(address);
            bytes.insert(bytes.end(), text.begin(), text.end());
        };
        if ((form & 4) != 0)
            append(listener_.places().peer);
        if ((form & 8) != 0)
            append(listener_.places().own);
        if (bytes.size() < packetHeaderSize)
            return bytes;
        if ((form & 1) != 0)
            storeU16(bytes.data(), magicLogMessage);
        if ((form & 2) != 0)
            storeU16(bytes.data() + 10,
                     static_cast<std::uint16_t>(bytes.size() - packetHeaderSize));
        if ((form & 16) != 0 && bytes.size() >= packetHeaderSize + 2)
            storeU16(bytes.data() + packetHeaderSize,
                     static_cast<std::uint16_t>(bytes.size() - packetHeaderSize));
        return bytes;
    }

    void send(const Bytes& bytes)
    {
        check(client_.send(bytes.data(), bytes.size(), server_), "a datagram cannot be sent");
    }

    Bytes receive()
    {
        check(client_.waitReadable(std::chrono::seconds(20)) == platform::WaitResult::Readable,
              "an answer does not come");
        Bytes bytes(2000);
        const platform::ReceivedDatagram datagram = client_.receive(bytes.data(), bytes.size());
        check(datagram.result == platform::ReceiveResult::Datagram, "an answer cannot be read");
        bytes.resize(std::min(datagram.length, bytes.size()));
        return bytes;
    }

    static Bytes bytesOf(const Packet& packet)
    {
        return {packet.bytes(), packet.bytes() + packet.size()};
    }

    /// Sends all of them, and a last one to know when they have been handled.
    void exchange(std::vector<Bytes> datagrams, Account& account, bool& isSure)
    {
        datagrams.push_back(bytesOf(makeRequest(magicLogMessage, 273, nullptr, 0)));
        for (const Bytes& datagram : datagrams)
            send(datagram);
        for (const Bytes& datagram : datagrams) {
            const Account::Expected expected = account.take(datagram);
            isSure = isSure && !expected.mayFail;
            if (!expected.isAnswered)
                continue;
            const Bytes bytes = receive();
            check(bytes.size() == packetHeaderSize, "an answer has a payload");
            const PacketHeader asked = readPacketHeader(datagram.data());
            const PacketHeader answer = readPacketHeader(bytes.data());
            check(answer.magic == 0xADDA && answer.flags == 0 &&
                      answer.command == (asked.command | 0x8000) &&
                      answer.sequence == asked.sequence && answer.payloadLength == 0,
                  "an answer does not belong to its request");
            check(answer.status == expected.status || (expected.mayFail && answer.status == 3),
                  "an answer has another status");
        }
    }

    /// Takes all sinks away: every input begins with none.
    void clear()
    {
        const std::string peerText = socketAddressText(listener_.places().peer);
        std::vector<Bytes> datagrams;
        for (const std::uint32_t type :
             {codeOf(SinkType::Trace), codeOf(SinkType::Recorder), codeOf(SinkType::Forwarder)}) {
            Bytes payload(4);
            storeU32(payload.data(), type);
            if (type == codeOf(SinkType::Forwarder))
                payload.insert(payload.end(), peerText.begin(), peerText.end());
            datagrams.push_back(
                bytesOf(makeRequest(magicLogMessage, 290, payload.data(), payload.size())));
        }
        Account account(listener_.places());
        bool isSure = true;
        exchange(datagrams, account, isSure);
        check(listener_.sinkCount() == 0, "a sink cannot be taken away");
    }

    platform::UdpSocket peer_;
    platform::UdpSocket client_;
    Listener listener_;
    SocketAddress server_;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::silenceTrace();
    static Conversation conversation;
    fuzz::FuzzInput input(data, size);
    conversation.run(input);
    return 0;
}
