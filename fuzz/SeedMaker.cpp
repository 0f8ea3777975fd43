// Writes the seeds that are no texts into the folders of the corpus: fuzz_seeds FOLDER

#include "logging/ConnectionInfo.h"
#include "logging/LogMessageContainerBuilder.h"
#include "logging/Packet.h"
#include "logging/TimestampText.h"

#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

using namespace zuLogging;

namespace {

using Bytes = std::vector<std::uint8_t>;

class Seed
{
public:
    Seed& number(std::uint64_t value, int bytes)
    {
        for (int i = 0; i < bytes; ++i)
            bytes_.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
        return *this;
    }
    Seed& byte(unsigned value) { return number(value, 1); }
    Seed& raw(std::string_view text)
    {
        bytes_.insert(bytes_.end(), text.begin(), text.end());
        return *this;
    }
    Seed& raw(const Bytes& bytes)
    {
        bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
        return *this;
    }
    /// As FuzzInput::text reads it, of one byte a unit.
    Seed& text(std::string_view text) { return byte(static_cast<unsigned>(text.size())).raw(text); }
    /// A form, a length and so many bytes.
    Seed& record(unsigned form, const Bytes& bytes)
    {
        return byte(form).number(bytes.size(), 2).raw(bytes);
    }
    const Bytes& bytes() const { return bytes_; }

private:
    Bytes bytes_;
};

std::filesystem::path corpus;

void write(const char* target, const char* name, const Bytes& bytes)
{
    std::filesystem::create_directories(corpus / target);
    std::ofstream file(corpus / target / name, std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
    if (!file.flush())
        throw std::runtime_error(std::string("cannot write ") + name);
}

void write(const char* target, const char* name, const Seed& seed)
{
    write(target, name, seed.bytes());
}

LogMessageContainerBuilder fullMessage()
{
    LogMessageContainerBuilder builder;
    builder.sourceMsgId = 1;
    builder.senderMsgId = 2;
    builder.serviceMsgId = 3;
    builder.timestamp = unixEpochTimestamp + 123'456;
    builder.logLevel = 8;
    builder.processId = 4711;
    builder.threadId = 815;
    builder.codePage = 1252;
    builder.module = "Motion";
    builder.groupName = "Axis";
    builder.logPos = "main.cpp:42";
    builder.logMessage = "The drive is ready: \xC3\xA4";
    return builder;
}

Bytes withItem(unsigned type, unsigned flags, const Bytes& data)
{
    Bytes bytes(containerHeaderSize);
    bytes.push_back(static_cast<std::uint8_t>(data.size()));
    bytes.push_back(static_cast<std::uint8_t>(data.size() >> 8));
    bytes.push_back(static_cast<std::uint8_t>(type));
    bytes.push_back(static_cast<std::uint8_t>(flags));
    bytes.insert(bytes.end(), data.begin(), data.end());
    storeU16(bytes.data(), static_cast<std::uint16_t>(bytes.size()));
    return bytes;
}

void containers()
{
    const char* const target = "Container";
    write(target, "full", fullMessage().build());
    LogMessageContainerBuilder counters;
    counters.secondary = true;
    counters.counterSets.resize(2);
    write(target, "counter-sets", counters.build());
    write(target, "empty", LogMessageContainerBuilder().build());
    write(target, "utf16", withItem(1, textFlagUtf16, {'a', 0, 0x3D, 0xD8, 0, 0xDE}));
    write(target, "utf32", withItem(1, textFlagUtf32, {'a', 0, 0, 0, 0, 0xF6, 1, 0}));
    write(target, "number-of-4-bytes", withItem(4, 0, {8, 0, 0, 0}));
    Bytes cut = fullMessage().build();
    storeU16(cut.data(), static_cast<std::uint16_t>(cut.size() - 3));
    write(target, "cut", cut);
    Bytes trailing = withItem(4, 0, {8, 0, 0, 0, 0, 0, 0, 0});
    trailing.insert(trailing.end(), 2, 0);
    storeU16(trailing.data(), static_cast<std::uint16_t>(trailing.size()));
    write(target, "trailing-bytes", trailing);
    Bytes odd = withItem(4, 0, {1, 2, 3, 4, 5, 6, 7, 8});
    odd.resize(containerHeaderSize + 2);
    storeU16(odd.data(), static_cast<std::uint16_t>(odd.size()));
    write(target, "half-an-item", odd);
}

Bytes packet(LogMessageCommand command, const Bytes& payload, std::uint16_t flags = 0)
{
    const Packet request = makeRequest(magicLogMessage, static_cast<std::uint16_t>(command),
                                       payload.data(), payload.size(), flags);
    Bytes bytes(request.bytes(), request.bytes() + request.size());
    storeU16(bytes.data() + 8, 7); // the sequence number: the same seed each time
    return bytes;
}

void packets()
{
    const char* const target = "PacketServer";
    constexpr unsigned asItIs = 0;
    constexpr unsigned toPeer = 4 | 2;
    constexpr unsigned toItself = 8 | 2;
    const Bytes forwarder{4, 0, 0, 0};
    const Bytes recorder{5, 0, 0, 0};
    const Bytes trace{0, 0, 0, 0};
    Bytes everything(32);
    everything[1] = 1;
    const Bytes message = packet(LogMessageCommand::Message, fullMessage().build());
    const Bytes silent =
        packet(LogMessageCommand::SecondaryMessage, fullMessage().build(), flagNoAcknowledge);

    write(target, "message", Seed().record(asItIs, message).record(asItIs, silent));
    write(target, "nothing", Seed().record(asItIs, packet(LogMessageCommand::NoOperation, {})));
    write(target, "forward",
          Seed()
              .record(toPeer, packet(LogMessageCommand::StartForwarding, forwarder))
              .record(asItIs, message)
              .record(toPeer, packet(LogMessageCommand::StopForwarding, forwarder)));
    write(target, "trace",
          Seed()
              .record(asItIs, packet(LogMessageCommand::StartForwarding, trace))
              .record(asItIs, message)
              .record(asItIs, packet(LogMessageCommand::Message, withItem(1, 9, {1, 2, 3}))));
    write(target, "record-and-replay",
          Seed()
              .record(asItIs, packet(LogMessageCommand::StartForwarding, recorder))
              .record(asItIs, message)
              .record(toPeer, packet(LogMessageCommand::Replay, everything))
              .record(toPeer, packet(LogMessageCommand::ReplayAndForward, {})));
    write(target, "to-itself",
          Seed()
              .record(toItself, packet(LogMessageCommand::StartForwarding, forwarder))
              .record(toItself, packet(LogMessageCommand::Replay, everything))
              .record(toItself, packet(LogMessageCommand::ReplayAndForward, {})));
    Bytes wrongMagic = message;
    wrongMagic[0] = 0;
    Bytes wrongFlags = message;
    wrongFlags[2] = 2;
    Bytes tooShort = message;
    tooShort.pop_back();
    Bytes acknowledge = message;
    acknowledge[5] |= 0x80;
    write(target, "refused",
          Seed()
              .record(asItIs, wrongMagic)
              .record(asItIs, wrongFlags)
              .record(asItIs, tooShort)
              .record(asItIs, acknowledge)
              .record(asItIs, Bytes(5))
              .record(asItIs, Bytes(1401))
              .record(3, packet(static_cast<LogMessageCommand>(999), {1, 2, 3})));
}

void clientReplies()
{
    const char* const target = "ClientReply";
    Seed good;
    good.byte(0).number(magicLogClient, 2).number(33, 2).number(7, 2).byte(0);
    PacketHeader header;
    header.magic = magicLogClient;
    header.command = 33 | commandAcknowledgeBit;
    header.sequence = 7;
    header.payloadLength = 8;
    Bytes acknowledge(packetHeaderSize + 8);
    writePacketHeader(acknowledge.data(), header);
    good.number(acknowledge.size(), 2).raw(acknowledge);
    write(target, "good-acknowledge", good);
    write(target, "acknowledge-put-right",
          Seed()
              .byte(1)
              .number(magicLogMessage, 2)
              .number(257, 2)
              .number(9, 2)
              .byte(63)
              .number(12, 2));

    const Bytes handle{1, 2, 3, 4, 5, 6, 7, 8};
    const Bytes size{0x70, 5, 0, 0}; // one whole piece and 4 bytes
    const Bytes hugeSize{0, 0, 0, 0x10};
    const Bytes piece(1388, 'a');
    const Bytes rest(4, 'b');
    write(target, "download",
          Seed().byte(2).record(1, handle).record(1, size).record(1, piece).record(1, rest).record(
              1, {}));
    write(target, "download-short-piece",
          Seed().byte(2).record(1, handle).record(1, size).record(1, rest));
    write(target, "download-of-256-mib", Seed().byte(2).record(1, handle).record(1, hugeSize));
    write(target, "download-refused", Seed().byte(2).record(1, handle).record(3, {}));
    write(target, "download-rubbish", Seed().byte(2).record(1, handle).record(0, {1, 2, 3}));
    write(target, "upload",
          Seed()
              .byte(3)
              .number(1500, 2)
              .record(1, handle)
              .record(1, {})
              .record(1, {})
              .record(1, {})
              .record(1, {}));
    write(target, "upload-refused", Seed().byte(3).number(1500, 2).record(1, handle).record(3, {}));
}

void transfers()
{
    const char* const target = "Transfer";
    // Steps of the kind 3: a command. The first handle is number 0.
    const auto create = [](Seed& seed) { seed.byte(3).byte(0).byte(100); };
    const auto writePiece = [](Seed& seed, unsigned offset, unsigned length) {
        seed.byte(3).byte(1).byte(0).byte(offset).number(length, 2).byte('x');
    };
    const auto readPiece = [](Seed& seed, unsigned offset, unsigned length) {
        seed.byte(3).byte(3).byte(0).byte(offset).number(length, 2);
    };
    const auto withHandle = [](Seed& seed, unsigned command, unsigned handle) {
        seed.byte(3).byte(command).byte(handle);
    };
    Seed upload;
    create(upload);
    writePiece(upload, 0, 1372);
    writePiece(upload, 171, 600);
    withHandle(upload, 7, 0);
    readPiece(upload, 10, 1000);
    withHandle(upload, 6, 0);
    write(target, "upload", upload);
    Seed download;
    download.byte(3).byte(8).byte(0);
    withHandle(download, 5, 0);
    readPiece(download, 0, 20);
    writePiece(download, 0, 20);
    withHandle(download, 6, 0);
    withHandle(download, 6, 0);
    write(target, "download", download);
    Seed outside;
    create(outside);
    readPiece(outside, 127, 1388);
    writePiece(outside, 127, 1372);
    writePiece(outside, 0, 1373);
    withHandle(outside, 7, 255);
    outside.byte(3).byte(0).byte(200).number(std::uint64_t{17} << 20, 4);
    write(target, "outside", outside);
    Seed late;
    create(late);
    late.byte(1).byte(59);
    withHandle(late, 5, 0);
    late.byte(1).byte(60);
    withHandle(late, 5, 0);
    write(target, "late", late);
    Seed refusing;
    refusing.byte(2).byte(1);
    create(refusing);
    withHandle(refusing, 7, 0);
    writePiece(refusing, 0, 3);
    write(target, "refused-upload", refusing);
    Seed raw;
    const Packet request = makeRequest(
        magicLogClient, static_cast<std::uint16_t>(LogClientCommand::GetModules), nullptr, 0);
    Bytes bytes(request.bytes(), request.bytes() + request.size());
    storeU16(bytes.data() + 8, 7);
    raw.byte(0).number(bytes.size(), 2).raw(bytes);
    const Bytes keys(maximumPayload);
    const Packet report = makeRequest(
        magicLogClient, static_cast<std::uint16_t>(LogClientCommand::ReportCounterSetKeys),
        keys.data(), keys.size());
    bytes.assign(report.bytes(), report.bytes() + report.size());
    storeU16(bytes.data() + 8, 7);
    raw.byte(0).number(bytes.size(), 2).raw(bytes);
    write(target, "raw", raw);
}

void connectionInfos()
{
    const char* const target = "ConnectionInfo";
    const SocketAddress address{platform::loopbackAddress, 49152};
    Bytes record = encodeConnectionInfo(address);
    write(target, "good", record);
    record[8] = 23;
    write(target, "size-of-23", record);
    record = encodeConnectionInfo(address);
    record[4] = 0;
    write(target, "version-0", record);
    record = encodeConnectionInfo(address);
    record.resize(40, 0xFF);
    write(target, "longer", record);
    record.resize(23);
    write(target, "cut", record);
    write(target, "nothing", Bytes());
}

void texts()
{
    // A mode, a text, and where in it the needle lies.
    write(
        "TextMatcher", "part-in-upper-case",
        Seed().byte(1).text("the drive is ready").byte(4).byte(5).raw("\1\1\1\1\1").number(42, 8));
    write("TextMatcher", "other-needle",
          Seed().byte(0).text("2020-Jan-03: 4.5").text("Jan-0").number(12345, 8).raw("\1\2\3"));
    // A sharp s, a long s, a Kelvin sign, a capital I with a dot, and half a pair.
    write("TextMatcher", "special-case-forms",
          Seed()
              .byte(1)
              .byte(0x85)
              .raw({0xDF, 0, 0x7F, 1, 0x2A, 0x21, 0x30, 1, 0, 0xD8})
              .byte(1)
              .byte(3)
              .raw("\3\2\1"));
    write("TextMatcher", "across-two-parts",
          Seed().byte(0).text("xxabxx").text("ab").number(1, 8).raw("\3\3\3"));
    write("TextMatcher", "digits", Seed().byte(0).text("a 42").text("42").number(1429, 8));

    write("Sorting", "few-keys", Seed().byte(200).number(100, 2).raw("\1\2\3\1\2\3\1\1\1"));
    write("Sorting", "texts",
          Seed().byte(32 + 9).number(5, 2).text("b").text("a").text("ab").text("").text("a"));
    write("Sorting", "ascending",
          Seed().byte(8).number(60000, 2).raw("abcdefghijklmnopqrstuvwxyz"));

    write("Rendering", "now", Seed().number(unixEpochTimestamp + 1, 8).raw("plain"));
    constexpr std::uint64_t day = 86'400'000'000;
    // 2000-02-29 and 2020-02-29
    write("Rendering", "leap-day-of-400-years",
          Seed().number(unixEpochTimestamp + 11'016 * day, 8));
    write("Rendering", "leap-day", Seed().number(unixEpochTimestamp + 18'321 * day, 8));
    write("Rendering", "first", Seed().number(0, 8).raw("a\\b\x1B[31m\x7F"));
    write("Rendering", "last",
          Seed().number(9'030'492'676'854'775'805ULL, 8).raw("\xC2\x85\xE2\x80\xA8\xE2\x81\xA6"));
    write("Rendering", "largest", Seed().number(~std::uint64_t{0}, 8).raw("\xC2\xE2\x80"));

    Seed filter;
    filter.byte(1);
    for (const std::uint64_t number : {101ULL, 202ULL, 303ULL})
        filter.byte(8).number(number, 8);
    filter.byte(8).number(unixEpochTimestamp + 5, 8).byte(1).byte(8).byte(2).number(4711, 2);
    filter.byte(2).number(815, 2);
    filter.text("main.cpp:42").text("Motion").text("Axis").text("The drive is ready");
    filter.byte(1).byte(17).byte(0).byte(3); // a level: the beginning of its name
    filter.byte(2).byte(2).byte(4).byte(5).byte(0).text("nowhere");
    filter.byte(1).byte(21).byte(0).byte(4);
    write("Filter", "each-list", filter);
    Seed none = filter;
    none.raw({0, 0, 0});
    write("Filter", "longer", none);
}

} // namespace

int main(int count, char* arguments[])
{
    try {
        if (count != 2)
            throw std::runtime_error("usage: fuzz_seeds FOLDER");
        corpus = arguments[1];
        containers();
        packets();
        clientReplies();
        transfers();
        connectionInfos();
        texts();
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
