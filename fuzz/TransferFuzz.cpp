// The service's upload and download path: a sequence of command packets, right and wrong, against a
// plain account of the buffers.

#include "fuzz/FuzzCheck.h"
#include "fuzz/FuzzInput.h"
#include "logging/LogSvcError.h"
#include "service/ClientCommandServer.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <optional>
#include <string>
#include <vector>

using namespace zuLogging;
using fuzz::check;

namespace {

constexpr char served[] = R"({"parameters":{"level":"debug","destination":"logsvc"}})";

/// What the account knows of one buffer. Bytes that nobody has written are 0.
struct Buffer
{
    std::size_t size = 0;
    bool isWritable = true;
    std::map<std::size_t, std::uint8_t> written;
    std::int64_t used = 0; ///< seconds
};

class Service final : public ClientCommandServer::Service
{
public:
    TransferBuffers::Contents configuration() override { return {nullptr, {served}}; }
    TransferBuffers::Contents modules() override { return {nullptr, {}}; }
    TransferBuffers::Contents status() override { return {nullptr, {served}}; }
    void replaceConfiguration(TransferBuffers::Contents contents, const PacketHeader& /*request*/,
                              std::uint64_t handle) override
    {
        uploaded = std::move(contents);
        uploadedHandle = handle;
        if (refuses)
            throw LogSvcError("refused");
    }
    void counterSetKeysReported(const std::vector<std::uint64_t>& keys) override
    {
        check(keys.size() <= 173, "there are more keys than a packet can hold");
    }

    bool refuses = false;
    TransferBuffers::Contents uploaded;
    std::uint64_t uploadedHandle = 0;
};

class Session
{
public:
    Session()
        : server_(service_,
                  [this] { return TransferBuffers::TimePoint() + std::chrono::seconds(now_); })
    {
    }

    void step(fuzz::FuzzInput& input)
    {
        switch (input.byte() % 4) {
        case 0:
            sendRaw(input);
            break;
        case 1:
            now_ += input.byte();
            server_.idle();
            break;
        case 2:
            service_.refuses = (input.byte() & 1) != 0;
            break;
        default:
            sendCommand(input);
            break;
        }
    }

private:
    struct Answer
    {
        bool isMalformed = false;
        bool isLater = false;
        Packet packet;

        bool succeeded() const { return !isMalformed && !isLater && packet.header().status == 0; }
    };

    Answer ask(const Packet& request, std::size_t length)
    {
        Answer answer;
        try {
            answer.isLater = !server_.answer(request, length, answer.packet);
        } catch (const LogSvcError&) {
            answer.isMalformed = true;
        }
        if (!answer.isMalformed && !answer.isLater)
            checkHeader(request.header(), answer.packet.header());
        return answer;
    }

    static void checkHeader(const PacketHeader& asked, const PacketHeader& answer)
    {
        check(answer.magic == magicLogClient && answer.flags == 0 &&
                  answer.command == (asked.command | commandAcknowledgeBit) &&
                  answer.sequence == asked.sequence && answer.payloadLength <= maximumPayload,
              "an answer does not belong to its request");
        check(answer.status == 0 || answer.payloadLength == 0, "a refusal has a payload");
    }

    /// Any bytes. What they may have done to the buffers is not known, so the account starts anew.
    void sendRaw(fuzz::FuzzInput& input)
    {
        Packet request;
        const std::size_t length = input.number(2) % (maximumPacket + 3);
        const std::string_view bytes = input.bytes(std::min(length, maximumPacket));
        std::memcpy(request.bytes(), bytes.data(), bytes.size());
        const PacketHeader header = request.header();
        const Answer answer = ask(request, length);

        const bool isMalformed = length < packetHeaderSize || length > maximumPacket ||
                                 header.magic != magicLogClient ||
                                 header.payloadLength > maximumPayload;
        check(answer.isMalformed == isMalformed,
              "a malformed packet is answered, or a good one not");
        if (isMalformed)
            return;
        const unsigned status = answer.packet.header().status;
        const bool isAcknowledge = (header.command & commandAcknowledgeBit) != 0;
        if (length != packetHeaderSize + header.payloadLength)
            check(status == 1, "a packet of another size than it says is taken");
        else if ((header.flags & ~(isAcknowledge ? 0U : 1U)) != 0)
            check(status == 9, "unknown flags are taken");
        else if (isAcknowledge)
            check(status == 1, "an acknowledge is taken for a command");
        else if (answer.isLater || status == 0)
            forget(header, answer.packet);
    }

    /// A command with random bytes was carried out: what it has done is not accounted for.
    void forget(const PacketHeader& header, const Packet& answer)
    {
        if (answer.header().payloadLength == 8)
            handles_.push_back(loadU64(answer.payload()));
        if (header.command != static_cast<std::uint16_t>(LogClientCommand::ReportCounterSetKeys))
            isAccountGood_ = false;
    }

    std::uint64_t anyHandle(fuzz::FuzzInput& input)
    {
        const std::uint8_t choice = input.byte();
        if (handles_.empty() || choice == 255)
            return choice;
        return handles_[choice % handles_.size()];
    }

    Buffer* bufferOf(std::uint64_t handle)
    {
        const auto found = buffers_.find(handle);
        if (found == buffers_.end())
            return nullptr;
        if (now_ - found->second.used >= 60) {
            buffers_.erase(found);
            return nullptr;
        }
        found->second.used = now_;
        return &found->second;
    }

    /// Without counting as a use.
    const Buffer* lookAt(std::uint64_t handle) const
    {
        const auto found = buffers_.find(handle);
        return found == buffers_.end() ? nullptr : &found->second;
    }

    void created(const Answer& answer, Buffer buffer)
    {
        for (auto it = buffers_.begin(); it != buffers_.end();)
            it = now_ - it->second.used >= 60 ? buffers_.erase(it) : std::next(it);
        const bool hasRoom = buffers_.size() < 64 && buffer.size <= (std::size_t{16} << 20);
        // An account that lost count of buffers cannot tell that there is no room.
        check(answer.succeeded() ? hasRoom || !isAccountGood_ : !hasRoom || !isAccountGood_,
              "a buffer is made beyond the bounds, or refused within");
        if (!answer.succeeded())
            return;
        const std::uint64_t handle = loadU64(answer.packet.payload());
        check(handle != 0 && buffers_.count(handle) == 0, "a handle is given twice");
        buffer.used = now_;
        buffers_.emplace(handle, std::move(buffer));
        handles_.push_back(handle);
    }

    Answer command(LogClientCommand code, const void* payload, std::size_t length)
    {
        const Packet request =
            makeRequest(magicLogClient, static_cast<std::uint16_t>(code), payload, length);
        const Answer answer = ask(request, request.size());
        check(!answer.isMalformed, "a good packet has no answer");
        return answer;
    }

    void sendCommand(fuzz::FuzzInput& input)
    {
        std::array<std::uint8_t, maximumPayload> payload{};
        switch (input.byte() % 9) {
        case 0: {
            Buffer buffer;
            const std::uint8_t form = input.byte();
            buffer.size = form < 128 ? form * 20U : input.number(4);
            storeU32(payload.data(), static_cast<std::uint32_t>(buffer.size));
            created(command(LogClientCommand::CreateBuffer, payload.data(), 4), buffer);
            break;
        }
        case 1:
        case 2:
            write(input, payload);
            break;
        case 3:
        case 4:
            read(input, payload);
            break;
        case 5: {
            const std::uint64_t handle = anyHandle(input);
            storeU64(payload.data(), handle);
            const Buffer* buffer = bufferOf(handle);
            const Answer answer = command(LogClientCommand::QueryBufferSize, payload.data(), 8);
            expect(answer, buffer != nullptr);
            check(!answer.succeeded() || !isAccountGood_ ||
                      loadU32(answer.packet.payload()) == buffer->size,
                  "a buffer has another size");
            break;
        }
        case 6: {
            const std::uint64_t handle = anyHandle(input);
            storeU64(payload.data(), handle);
            const bool isThere = bufferOf(handle) != nullptr;
            expect(command(LogClientCommand::ReleaseBuffer, payload.data(), 8), isThere);
            buffers_.erase(handle);
            break;
        }
        case 7:
            upload(anyHandle(input), payload.data());
            break;
        default: {
            constexpr LogClientCommand downloads[] = {LogClientCommand::GetConfiguration,
                                                      LogClientCommand::GetModules,
                                                      LogClientCommand::GetServiceStatus};
            const std::size_t which = input.byte() % 3U;
            const std::string contents = which == 1 ? std::string() : std::string(served);
            Buffer buffer;
            buffer.size = contents.size();
            buffer.isWritable = false;
            for (std::size_t i = 0; i < contents.size(); ++i)
                buffer.written[i] = static_cast<std::uint8_t>(contents[i]);
            created(command(downloads[which], nullptr, 0), std::move(buffer));
            break;
        }
        }
    }

    static bool isInside(const Buffer& buffer, std::uint64_t offset, std::uint64_t length)
    {
        return offset + length <= buffer.size;
    }

    std::uint32_t anyOffset(const Buffer* buffer, fuzz::FuzzInput& input)
    {
        const std::uint8_t form = input.byte();
        if (form < 128)
            return form * 8U;
        if (form < 192 && buffer != nullptr)
            return static_cast<std::uint32_t>(buffer->size - (form - 128U));
        return static_cast<std::uint32_t>(input.number(4));
    }

    void write(fuzz::FuzzInput& input, std::array<std::uint8_t, maximumPayload>& payload)
    {
        const std::uint64_t handle = anyHandle(input);
        const std::uint32_t offset = anyOffset(lookAt(handle), input);
        const std::uint32_t length = static_cast<std::uint32_t>(input.number(2));
        const std::uint8_t fill = input.byte();
        std::fill(payload.begin(), payload.end(), fill);
        storeU64(payload.data(), handle);
        storeU32(payload.data() + 8, offset);
        storeU32(payload.data() + 12, length);
        const Answer answer = command(LogClientCommand::WritePiece, payload.data(), payload.size());
        if (length > payload.size() - 16) {
            check(answer.packet.header().status == 1, "a piece longer than its packet is taken");
            return;
        }
        Buffer* buffer = bufferOf(handle);
        const bool isGood =
            buffer != nullptr && buffer->isWritable && isInside(*buffer, offset, length);
        expect(answer, isGood);
        for (std::uint32_t i = 0; isGood && i < length; ++i)
            buffer->written[offset + i] = fill;
    }

    void read(fuzz::FuzzInput& input, std::array<std::uint8_t, maximumPayload>& payload)
    {
        const std::uint64_t handle = anyHandle(input);
        const std::uint32_t offset = anyOffset(lookAt(handle), input);
        const std::uint32_t length = static_cast<std::uint32_t>(input.number(2));
        storeU64(payload.data(), handle);
        storeU32(payload.data() + 8, offset);
        storeU32(payload.data() + 12, length);
        const Answer answer = command(LogClientCommand::ReadPiece, payload.data(), 16);
        // A length that no packet can hold is refused before anybody looks for the buffer.
        const Buffer* buffer = length <= maximumPayload ? bufferOf(handle) : nullptr;
        expect(answer,
               length <= maximumPayload && buffer != nullptr && isInside(*buffer, offset, length));
        if (!answer.succeeded() || !isAccountGood_)
            return;
        check(answer.packet.header().payloadLength == length, "a piece has another length");
        for (std::uint32_t i = 0; i < length; ++i) {
            const auto found = buffer->written.find(offset + i);
            check(answer.packet.payload()[i] ==
                      (found == buffer->written.end() ? 0 : found->second),
                  "a byte of a buffer is another one");
        }
    }

    void upload(std::uint64_t handle, std::uint8_t* payload)
    {
        storeU64(payload, handle);
        Buffer* buffer = bufferOf(handle);
        service_.uploadedHandle = 0;
        const Answer answer = command(LogClientCommand::SetConfiguration, payload, 8);
        const bool wasTold = service_.uploadedHandle != 0;
        check(wasTold ? service_.uploadedHandle == handle : answer.packet.header().status == 3,
              "an upload goes nowhere, or is another one");
        check(!isAccountGood_ || wasTold == (buffer != nullptr), "a wrong handle is uploaded");
        check(answer.isLater == (wasTold && !service_.refuses),
              "an upload is answered twice or not");
        if (buffer == nullptr || !wasTold)
            return;
        buffer->isWritable = false;
        if (!isAccountGood_)
            return;
        check(service_.uploaded.bytes.size() == buffer->size, "an upload has another size");
        for (const auto& [offset, byte] : buffer->written)
            check(static_cast<std::uint8_t>(service_.uploaded.bytes[offset]) == byte,
                  "an upload has another byte");
    }

    void expect(const Answer& answer, bool isGood)
    {
        check(!isAccountGood_ || answer.succeeded() == isGood,
              "a request is carried out or refused wrongly");
        check(answer.succeeded() || answer.packet.header().status == 3,
              "a request fails with another status");
    }

    Service service_;
    std::int64_t now_ = 0;
    ClientCommandServer server_;
    std::map<std::uint64_t, Buffer> buffers_;
    std::vector<std::uint64_t> handles_; ///< all that were given
    bool isAccountGood_ = true;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::silenceTrace();
    fuzz::FuzzInput input(data, size);
    Session session;
    for (int steps = 0; steps < 200 && !input.isEmpty(); ++steps)
        session.step(input);
    return 0;
}
