#include "store/SortKeys.h"

#include "logging/LogLevel.h"
#include "platform/Prefetch.h"
#include "store/FieldAccess.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zuLogging {

namespace {

/// Of the levels that there are, and some more, as a text that stays; empty for others.
std::u16string_view keptLevelCode(std::uint64_t level)
{
    constexpr std::size_t count = 64;
    static const std::vector<std::u16string> codes = [] {
        std::vector<std::u16string> all;
        for (std::uint64_t code = 0; code < count; ++code)
            all.push_back(logLevelCodeText(code).toStdU16String());
        return all;
    }();
    return level < count ? std::u16string_view(codes[static_cast<std::size_t>(level)])
                         : std::u16string_view();
}

} // namespace

bool SortKeys::isField() const
{
    return field >= FieldServiceMsgID && field <= FieldLogMessage;
}

QVariant SortKeys::of(const LogMessage& message, int storedRow,
                      const TimeReferences& references) const
{
    if (!isField())
        return {};
    if (isNumberField(field))
        return static_cast<qulonglong>(numberOf(message, field));
    if (isTextField(field))
        return toQString(textOf(message, field));
    if (field == FieldLogLevel)
        return message.levelName();
    if (field == FieldLogLevelHex)
        return message.levelCodeText();
    if (inSeconds)
        return references.secondsOf(message, storedRow);
    return static_cast<qulonglong>(message.timestamp());
}

void SortKeys::reserve(SortedList& index, int count) const
{
    if (!isField())
        return;
    if (isTextField(field) || field == FieldLogLevel || field == FieldLogLevelHex)
        index.reserveTexts(count);
    else
        index.reserveNumbers(count);
}

void SortKeys::add(SortedList& index, const std::shared_ptr<LogMessage>& shared, int storedRow,
                   const TimeReferences& references) const
{
    const LogMessage& message = *shared;
    if (isNumberField(field)) {
        index.insertNumber(numberOf(message, field), storedRow);
    } else if (isTextField(field)) {
        index.insertSharedText(textOf(message, field), shared, storedRow);
    } else if (field == FieldLogLevel) {
        index.insertSharedText(logLevelName(message.logLevel()), nullptr, storedRow);
    } else if (field == FieldLogLevelHex && !keptLevelCode(message.logLevel()).empty()) {
        index.insertSharedText(keptLevelCode(message.logLevel()), nullptr, storedRow);
    } else if (field == FieldLogLevelHex) {
        index.insertText(message.levelCodeText(), storedRow);
    } else if (inSeconds) {
        index.insertReal(references.secondsOf(message, storedRow), storedRow);
    } else {
        index.insertNumber(message.timestamp(), storedRow);
    }
}

void SortKeys::add(SortedList& index, const TimeReferences::Messages& messages, int first, int last,
                   const TimeReferences& references) const
{
    if (!isField())
        return;
    if (isTextField(field)) {
        addTexts(index, messages, first, last);
        return;
    }
    auto message = messages.begin() + first;
    for (int row = first; row < last; ++row, ++message)
        add(index, *message, row, references);
}

/// Messages lie scattered in memory: a block of them is read before any of its counts of owners is
/// changed, for the processor waits for many reads at once, but for each such change alone.
void SortKeys::addTexts(SortedList& index, const TimeReferences::Messages& messages, int firstRow,
                        int lastRow) const
{
    constexpr std::size_t block = 64;
    std::array<std::u16string_view, block> texts;
    const auto last = static_cast<std::size_t>(std::max(lastRow, 0));
    for (auto first = static_cast<std::size_t>(firstRow); first < last; first += block) {
        const std::size_t count = std::min(block, last - first);
        const std::size_t ahead = std::min(first + 2 * block, messages.size());
        for (std::size_t i = first + count; i < ahead; ++i)
            platform::prefetch(messages[i].get());
        for (std::size_t i = 0; i < count; ++i)
            texts[i] = textOf(*messages[first + i], field);
        for (std::size_t i = 0; i < count; ++i)
            index.insertSharedText(texts[i], messages[first + i], static_cast<int>(first + i));
    }
}

} // namespace zuLogging
