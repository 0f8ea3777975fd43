#include "logging/LogMessageContainerBuilder.h"

#include "logging/LogSvcError.h"

namespace zuLogging {

namespace {

std::size_t itemSize(const std::optional<std::uint64_t>& value)
{
    return value ? containerItemHeaderSize + sizeof(std::uint64_t) : 0;
}

std::size_t itemSize(const std::optional<std::string>& text)
{
    return text ? containerItemHeaderSize + text->size() : 0;
}

/// Writes little-endian numbers and bytes one behind the other.
class Writer
{
public:
    explicit Writer(std::size_t size) { bytes_.reserve(size); }

    void put8(std::uint8_t value) { bytes_.push_back(value); }

    void put16(std::size_t value)
    {
        put8(static_cast<std::uint8_t>(value & 0xFF));
        put8(static_cast<std::uint8_t>((value >> 8) & 0xFF));
    }

    void put64(std::uint64_t value)
    {
        for (int shift = 0; shift < 64; shift += 8)
            put8(static_cast<std::uint8_t>((value >> shift) & 0xFF));
    }

    template <typename Bytes>
    void put(const Bytes& bytes)
    {
        bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
    }

    void putItemHeader(ItemType type, std::size_t length)
    {
        put16(length);
        put8(static_cast<std::uint8_t>(type));
        put8(0);
    }

    void putItem(ItemType type, const std::optional<std::uint64_t>& value)
    {
        if (!value)
            return;
        putItemHeader(type, sizeof(std::uint64_t));
        put64(*value);
    }

    void putItem(ItemType type, const std::optional<std::string>& text)
    {
        if (!text)
            return;
        putItemHeader(type, text->size());
        put(*text);
    }

    std::vector<std::uint8_t> take() { return std::move(bytes_); }

private:
    std::vector<std::uint8_t> bytes_;
};

bool isContinuation(char byte)
{
    return (static_cast<std::uint8_t>(byte) & 0xC0) == 0x80;
}

/// The largest place at or before `limit` that does not lie inside a UTF-8 character.
std::size_t characterBoundary(const std::string& text, std::size_t limit)
{
    constexpr int maximumFollowing = 3;
    std::size_t place = limit;
    for (int i = 0; i <= maximumFollowing; ++i) {
        if (place == 0 || !isContinuation(text[place]))
            return place;
        --place;
    }
    return limit; // not UTF-8: there is no character to save
}

} // namespace

std::size_t LogMessageContainerBuilder::size() const
{
    std::size_t size = containerHeaderSize;
    if (!counterSets.empty())
        size += containerItemHeaderSize + counterSets.size() * counterSetSize;
    size += itemSize(timestamp) + itemSize(module) + itemSize(logLevel) + itemSize(threadId);
    size += itemSize(processId) + itemSize(groupName) + itemSize(codePage);
    size += itemSize(logMessage) + itemSize(logPos);
    return size;
}

std::vector<std::uint8_t> LogMessageContainerBuilder::build() const
{
    const std::size_t total = size();
    if (total > maximumContainer)
        throw LogSvcError("The command packet data are out of range");

    Writer writer(total);
    writer.put16(total);
    writer.put8(secondary ? containerFlagSecondary : 0);
    writer.put8(0);
    writer.put64(sourceMsgId);
    writer.put64(senderMsgId);
    writer.put64(serviceMsgId);

    if (!counterSets.empty()) {
        writer.putItemHeader(ItemType::CounterSets, counterSets.size() * counterSetSize);
        for (const CounterSet& set : counterSets)
            writer.put(set);
    }
    writer.putItem(ItemType::Timestamp, timestamp);
    writer.putItem(ItemType::Module, module);
    writer.putItem(ItemType::LogLevel, logLevel);
    writer.putItem(ItemType::ThreadID, threadId);
    writer.putItem(ItemType::ProcessID, processId);
    writer.putItem(ItemType::GroupName, groupName);
    writer.putItem(ItemType::CodePage, codePage);
    writer.putItem(ItemType::LogMessage, logMessage);
    writer.putItem(ItemType::LogPos, logPos);
    return writer.take();
}

std::size_t LogMessageContainerBuilder::cutMessageToFit()
{
    const std::size_t total = size();
    if (total <= maximumContainer || !logMessage)
        return 0;
    const std::size_t excess = total - maximumContainer;
    const std::size_t length = logMessage->size();
    if (excess > length)
        return 0;
    logMessage->resize(characterBoundary(*logMessage, length - excess));
    return length - logMessage->size();
}

} // namespace zuLogging
