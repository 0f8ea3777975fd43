#include "logging/LogMessageContainer.h"

#include "logging/LogSvcError.h"
#include "platform/CodePage.h"

#include <algorithm>
#include <string_view>

namespace zuLogging {

namespace {

std::uint16_t load16(const std::uint8_t* bytes) noexcept
{
    return static_cast<std::uint16_t>(bytes[0] | (bytes[1] << 8));
}

std::uint32_t load32(const std::uint8_t* bytes) noexcept
{
    return static_cast<std::uint32_t>(bytes[0]) | (static_cast<std::uint32_t>(bytes[1]) << 8) |
           (static_cast<std::uint32_t>(bytes[2]) << 16) |
           (static_cast<std::uint32_t>(bytes[3]) << 24);
}

std::uint64_t load64(const std::uint8_t* bytes) noexcept
{
    return load32(bytes) | (static_cast<std::uint64_t>(load32(bytes + 4)) << 32);
}

void appendUtf16(const std::uint8_t* data, std::size_t units, std::u16string& text)
{
    text.resize(units);
    for (std::size_t i = 0; i < units; ++i)
        text[i] = static_cast<char16_t>(load16(data + 2 * i));
}

void appendUtf32(const std::uint8_t* data, std::size_t codePoints, std::u16string& text)
{
    text.reserve(codePoints);
    for (std::size_t i = 0; i < codePoints; ++i) {
        const std::uint32_t value = load32(data + 4 * i);
        if ((value >= 0xD800 && value <= 0xDFFF) || value > 0x10FFFF)
            continue;
        if (value < 0x10000) {
            text.push_back(static_cast<char16_t>(value));
        } else {
            text.push_back(static_cast<char16_t>(0xD800 | ((value - 0x10000) >> 10)));
            text.push_back(static_cast<char16_t>(0xDC00 | ((value - 0x10000) & 0x3FF)));
        }
    }
}

} // namespace

LogMessageContainer::LogMessageContainer(const std::uint8_t* data, std::size_t available)
    : data_(data)
    , size_(available < containerHeaderSize ? 0 : load16(data + containerSizeOffset))
{
    if (size_ < containerHeaderSize || size_ > available)
        throw LogSvcError("Constructing an output log message container from inconsistent data");
}

std::uint8_t LogMessageContainer::flags() const noexcept
{
    return data_[containerFlagsOffset];
}

std::uint64_t LogMessageContainer::sourceMsgId() const noexcept
{
    return load64(data_ + containerSourceMsgIdOffset);
}

std::uint64_t LogMessageContainer::senderMsgId() const noexcept
{
    return load64(data_ + containerSenderMsgIdOffset);
}

std::uint64_t LogMessageContainer::serviceMsgId() const noexcept
{
    return load64(data_ + containerServiceMsgIdOffset);
}

std::optional<std::uint64_t> LogMessageContainer::number(ItemType type) const
{
    const std::optional<Item> item = find(type);
    return item ? numberOf(*item) : std::nullopt;
}

std::optional<std::u16string> LogMessageContainer::text(ItemType type, TextMode mode) const
{
    const std::optional<Item> item = find(type);
    if (!item)
        return std::nullopt;
    std::uint64_t codePage = platform::codePageUtf8;
    if (needsCodePage(*item, mode))
        codePage = number(ItemType::CodePage).value_or(codePage);
    std::u16string text;
    if (!textOf(*item, mode, codePage, text))
        return std::nullopt;
    return text;
}

std::optional<std::vector<CounterSet>> LogMessageContainer::counterSets() const
{
    const std::optional<Item> item = find(ItemType::CounterSets);
    if (!item || item->flags != 0)
        return std::nullopt;
    if (item->length % counterSetSize != 0)
        throw LogSvcError("The buffer with counter sets present in the log message container has "
                          "unexpected size");
    std::vector<CounterSet> sets(item->length / counterSetSize);
    const std::uint8_t* data = item->data;
    for (CounterSet& set : sets) {
        std::copy_n(data, counterSetSize, set.begin());
        data += counterSetSize;
    }
    return sets;
}

void LogMessageContainer::throwInconsistent()
{
    throw LogSvcError("Inconsistent log message container structure detected while parsing it");
}

bool LogMessageContainer::hasItems() const
{
    if (size_ >= containerHeaderSize + containerItemHeaderSize)
        return true;
    if (size_ != containerHeaderSize)
        throwInconsistent();
    return false;
}

LogMessageContainer::Item LogMessageContainer::itemAt(std::size_t position) const noexcept
{
    const std::uint8_t* header = data_ + position;
    return {header + containerItemHeaderSize, load16(header), header[2], header[3]};
}

bool LogMessageContainer::fits(const Item& item) const noexcept
{
    return item.length <= size_ - static_cast<std::size_t>(item.data - data_);
}

std::optional<LogMessageContainer::Item> LogMessageContainer::find(ItemType type) const
{
    if (!hasItems())
        return std::nullopt;
    std::size_t position = containerHeaderSize;
    do {
        const Item item = itemAt(position);
        position += containerItemHeaderSize + item.length;
        if (item.type == static_cast<std::uint8_t>(type)) {
            if (!fits(item))
                throwInconsistent();
            return item;
        }
    } while (position + containerItemHeaderSize <= size_);
    if (position != size_)
        throwInconsistent();
    return std::nullopt;
}

std::optional<std::uint64_t> LogMessageContainer::numberOf(const Item& item)
{
    if (item.flags != 0)
        return std::nullopt;
    if (item.length != sizeof(std::uint64_t))
        throw LogSvcError(
            "The data value present in the log message container has unexpected size");
    return load64(item.data);
}

bool LogMessageContainer::needsCodePage(const Item& item, TextMode mode) noexcept
{
    return mode == TextMode::Text && item.flags == 0 && item.length != 0;
}

bool LogMessageContainer::textOf(const Item& item, TextMode mode, std::uint64_t codePage,
                                 std::u16string& text)
{
    text.clear();
    const unsigned allowed = mode == TextMode::Text ? textFlagUtf16 | textFlagUtf32 : 0U;
    if ((item.flags & ~allowed) != 0)
        return false;
    if (item.length == 0)
        return true;
    if ((item.flags & textFlagUtf16) != 0) {
        appendUtf16(item.data, item.length / 2, text);
        return true;
    }
    if ((item.flags & textFlagUtf32) != 0) {
        appendUtf32(item.data, item.length / 4, text);
        return true;
    }
    const std::string_view bytes(reinterpret_cast<const char*>(item.data), item.length);
    return platform::multiByteToUtf16(bytes, codePage, text);
}

} // namespace zuLogging
