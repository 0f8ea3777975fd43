#pragma once

// The byte string in which one log message travels: a 28-byte little-endian header and typed items
// back to back, so that producers can leave fields out and add new ones.
//
//   header   offset  0  u16  total size in bytes, header included
//            offset  2  u8   flags; bit 2: a message of the second kind
//            offset  3  u8   not read
//            offset  4  u64  SourceMsgID
//            offset 12  u64  SenderMsgID
//            offset 20  u64  ServiceMsgID
//   item     offset  0  u16  data length
//            offset  2  u8   type
//            offset  3  u8   flags
//            offset  4       data

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zuLogging {

inline constexpr std::size_t containerHeaderSize = 28;
inline constexpr std::size_t containerItemHeaderSize = 4;
inline constexpr std::size_t maximumContainer = 1388; ///< what fits into one packet
inline constexpr std::size_t counterSetSize = 264;

inline constexpr std::size_t containerSizeOffset = 0;
inline constexpr std::size_t containerFlagsOffset = 2;
inline constexpr std::size_t containerSourceMsgIdOffset = 4;
inline constexpr std::size_t containerSenderMsgIdOffset = 12;
inline constexpr std::size_t containerServiceMsgIdOffset = 20;

inline constexpr std::uint8_t containerFlagSecondary = 0x04;

enum class ItemType : std::uint8_t
{
    LogMessage = 1,
    Timestamp = 2,
    Module = 3,
    LogLevel = 4,
    GroupName = 5,
    LogPos = 6,
    CounterSets = 7,
    ProcessID = 8,
    ThreadID = 9,
    CodePage = 10
};

inline constexpr std::uint8_t textFlagUtf16 = 0x01;
inline constexpr std::uint8_t textFlagUtf32 = 0x02;

enum class TextMode
{
    Plain, ///< any flag makes the item unusable; always UTF-8
    Text   ///< flags select UTF-16, UTF-32 or the container's code page
};

/// A container as it is handed to sinks. Owns nothing: valid during the call only.
struct LogMessageContainerView
{
    const std::uint8_t* data = nullptr;
    std::size_t capacity = maximumContainer; ///< of the buffer behind `data`
    std::size_t length = 0;                  ///< bytes of the container
    /// The service's own number for the message, where the listener gives one.
    std::optional<std::uint64_t> serviceNumber;
};

using CounterSet = std::array<std::uint8_t, counterSetSize>;

/// Looks items up in a container. Every look-up scans from the first item and acts on the first
/// one of the type sought; what stands behind a match is not looked at. Owns nothing; the bytes
/// must outlive it. Structural errors are LogSvcError: "Inconsistent log message container
/// structure detected while parsing it", "The data value present in the log message container has
/// unexpected size", "The buffer with counter sets present in the log message container has
/// unexpected size".
class LogMessageContainer
{
public:
    /// Throws LogSvcError "Constructing an output log message container from inconsistent data"
    /// when the size field is below 28 or above `available`.
    LogMessageContainer(const std::uint8_t* data, std::size_t available);

    std::size_t size() const noexcept { return size_; }
    std::uint8_t flags() const noexcept;
    bool isSecondary() const noexcept { return (flags() & containerFlagSecondary) != 0; }
    std::uint64_t sourceMsgId() const noexcept;
    std::uint64_t senderMsgId() const noexcept;
    std::uint64_t serviceMsgId() const noexcept;

    std::optional<std::uint64_t> number(ItemType type) const;
    std::optional<std::u16string> text(ItemType type, TextMode mode) const;
    std::optional<std::vector<CounterSet>> counterSets() const;

private:
    friend struct DecodedMessage;

    struct Item
    {
        const std::uint8_t* data; ///< may lie behind the container until `fits` said otherwise
        std::size_t length;
        std::uint8_t type;
        std::uint8_t flags;
    };

    [[noreturn]] static void throwInconsistent();

    /// True if there are items to scan; throws for a size that holds neither none nor one.
    bool hasItems() const;
    /// The item whose header begins at `position`, at most `size() - containerItemHeaderSize`.
    Item itemAt(std::size_t position) const noexcept;
    bool fits(const Item& item) const noexcept;
    std::optional<Item> find(ItemType type) const;

    static std::optional<std::uint64_t> numberOf(const Item& item);
    /// True if the text's characters depend on the container's code page item.
    static bool needsCodePage(const Item& item, TextMode mode) noexcept;
    /// Replaces `text`; false, and `text` empty, when the item has no value.
    static bool textOf(const Item& item, TextMode mode, std::uint64_t codePage,
                       std::u16string& text);

    const std::uint8_t* data_;
    std::size_t size_;
};

} // namespace zuLogging
