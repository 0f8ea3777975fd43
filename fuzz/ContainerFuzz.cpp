// The bytes of one log message container: the pass that decodes it whole, against one look-up a
// field, against a scan of its own that is as plain as can be.

#include "fuzz/FuzzCheck.h"
#include "logging/DecodedMessage.h"
#include "logging/LogMessageSinkFormatter.h"
#include "logging/LogSvcError.h"
#include "logging/Packet.h"

#include <optional>
#include <string_view>
#include <vector>

using namespace zuLogging;
using fuzz::check;

namespace {

using Bytes = std::vector<std::uint8_t>;

struct Found
{
    enum class Outcome
    {
        Nothing,
        Item,
        Broken
    };
    Outcome outcome = Outcome::Nothing;
    std::size_t begin = 0;
    std::size_t length = 0;
    std::uint8_t flags = 0;
};

/// `container` is the whole of it, with a size field that is right.
Found scan(const Bytes& container, ItemType type)
{
    if (container.size() == containerHeaderSize)
        return {};
    if (container.size() < containerHeaderSize + containerItemHeaderSize)
        return {Found::Outcome::Broken};
    for (std::size_t at = containerHeaderSize;;) {
        const std::size_t length = container.at(at) + 256U * container.at(at + 1);
        const std::size_t begin = at + containerItemHeaderSize;
        if (container.at(at + 2) == static_cast<std::uint8_t>(type)) {
            if (begin + length > container.size())
                return {Found::Outcome::Broken};
            return {Found::Outcome::Item, begin, length, container.at(at + 3)};
        }
        at = begin + length;
        if (at + containerItemHeaderSize > container.size())
            return {at == container.size() ? Found::Outcome::Nothing : Found::Outcome::Broken};
    }
}

/// False when the look-up fails.
bool plainNumber(const Bytes& container, ItemType type, std::optional<std::uint64_t>& number)
{
    number.reset();
    const Found found = scan(container, type);
    if (found.outcome == Found::Outcome::Broken)
        return false;
    if (found.outcome == Found::Outcome::Nothing || found.flags != 0)
        return true;
    if (found.length != 8)
        return false;
    std::uint64_t value = 0;
    for (std::size_t i = 8; i-- > 0;)
        value = value << 8 | container.at(found.begin + i);
    number = value;
    return true;
}

template <class Look>
bool succeeds(const Look& look)
{
    try {
        look();
        return true;
    } catch (const LogSvcError&) {
        return false;
    }
}

/// One look-up a field, in the order in which the one pass reads them.
bool decodeByFields(const Bytes& bytes, DecodedMessage& message)
{
    return succeeds([&] {
        const LogMessageContainer container(bytes.data(), bytes.size());
        message.serviceMsgId = container.serviceMsgId();
        message.sourceMsgId = container.sourceMsgId();
        message.senderMsgId = container.senderMsgId();
        const auto number = [&](ItemType type) { return container.number(type).value_or(0); };
        const auto text = [&](ItemType type, TextMode mode) {
            return container.text(type, mode).value_or(std::u16string());
        };
        message.timestamp = number(ItemType::Timestamp);
        message.logLevel = number(ItemType::LogLevel);
        message.processId = number(ItemType::ProcessID);
        message.threadId = number(ItemType::ThreadID);
        message.logPos = text(ItemType::LogPos, TextMode::Plain);
        message.module = text(ItemType::Module, TextMode::Plain);
        message.groupName = text(ItemType::GroupName, TextMode::Plain);
        message.logMessage = text(ItemType::LogMessage, TextMode::Text);
    });
}

void compare(const DecodedMessage& a, const DecodedMessage& b)
{
    check(a.serviceMsgId == b.serviceMsgId && a.sourceMsgId == b.sourceMsgId &&
              a.senderMsgId == b.senderMsgId,
          "the header's numbers differ");
    check(a.timestamp == b.timestamp && a.logLevel == b.logLevel && a.processId == b.processId &&
              a.threadId == b.threadId,
          "a number differs");
    check(a.logPos == b.logPos && a.module == b.module && a.groupName == b.groupName &&
              a.logMessage == b.logMessage,
          "a text differs");
}

void checkLookUps(const Bytes& bytes)
{
    const LogMessageContainer container(bytes.data(), bytes.size());
    const Bytes whole(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(container.size()));
    // Those that there are, and some that there are not.
    for (const int code : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 255}) {
        const auto type = static_cast<ItemType>(code);
        std::optional<std::uint64_t> expected;
        std::optional<std::uint64_t> number;
        const bool isReadable = plainNumber(whole, type, expected);
        check(succeeds([&] { number = container.number(type); }) == isReadable,
              "a number is read by one way only");
        check(!isReadable || number == expected, "a number is another one");

        const Found found = scan(whole, type);
        std::optional<std::u16string> text;
        const bool isRead = succeeds([&] { text = container.text(type, TextMode::Plain); });
        check(isRead == (found.outcome != Found::Outcome::Broken),
              "a text is read by one way only");
        check(!isRead || found.outcome == Found::Outcome::Item || !text, "a text out of nothing");
        check(!text || text->size() <= found.length, "a text longer than its bytes");
    }
    const Found found = scan(whole, ItemType::CounterSets);
    std::optional<std::vector<CounterSet>> sets;
    const bool areRead = succeeds([&] { sets = container.counterSets(); });
    const bool isItem = found.outcome == Found::Outcome::Item && found.flags == 0;
    check(areRead == (found.outcome != Found::Outcome::Broken &&
                      !(isItem && found.length % counterSetSize != 0)),
          "counter sets are read by one way only");
    check(!areRead || sets.has_value() == isItem, "counter sets are there for one way only");
    for (std::size_t i = 0; sets && i < sets->size(); ++i)
        for (std::size_t k = 0; k < counterSetSize; ++k)
            check(sets->at(i)[k] == whole.at(found.begin + i * counterSetSize + k),
                  "a counter set has another byte");
}

class Lines final : public LogMessageSinkFormatter
{
public:
    std::size_t count = 0;

protected:
    void write(std::u16string_view line) override
    {
        check(line.size() >= 70 && line.back() == u'\n', "a line lacks a column or its end");
        ++count;
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const Bytes bytes(data, data + size);
    LogMessageContainerView view;
    view.data = bytes.data();
    view.length = bytes.size();

    // Used again for every input: nothing of the one before may be left.
    static DecodedMessage message;
    DecodedMessage expected;
    const bool isDecoded = succeeds([&] { message.assign(view); });
    check(isDecoded == decodeByFields(bytes, expected), "one way decodes what the other refuses");
    if (isDecoded)
        compare(message, expected);
    if (succeeds([&] { LogMessageContainer(bytes.data(), bytes.size()); }))
        checkLookUps(bytes);

    Lines lines;
    const bool isFormatted = succeeds([&] { lines.consume(view); });
    check(lines.count == (isFormatted ? 1 : 0), "a refused message has a line, or a good one none");
    check(!isDecoded || isFormatted, "a message that can be decoded has no line");
    return 0;
}
