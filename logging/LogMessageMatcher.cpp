#include "logging/LogMessageMatcher.h"

#include "logging/LogLevel.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace zuLogging {

namespace {

/// Time stamps have four to six digits of the year, and their fraction of a second may be missing:
/// all of them are parts of one of these.
constexpr std::u16string_view timestampPatterns[] = {
    u"dddddd-Jan-dd dd:dd:dd.dddddd", u"dddddd-Feb-dd dd:dd:dd.dddddd",
    u"dddddd-Mar-dd dd:dd:dd.dddddd", u"dddddd-Apr-dd dd:dd:dd.dddddd",
    u"dddddd-May-dd dd:dd:dd.dddddd", u"dddddd-Jun-dd dd:dd:dd.dddddd",
    u"dddddd-Jul-dd dd:dd:dd.dddddd", u"dddddd-Aug-dd dd:dd:dd.dddddd",
    u"dddddd-Sep-dd dd:dd:dd.dddddd", u"dddddd-Oct-dd dd:dd:dd.dddddd",
    u"dddddd-Nov-dd dd:dd:dd.dddddd", u"dddddd-Dec-dd dd:dd:dd.dddddd"};
constexpr std::u16string_view specialTimestamps[] = {u"-infinity", u"+infinity",
                                                     u"not-a-date-time"};
/// Every character of the above, for a first look that is cheap.
constexpr std::u16string_view timestampCharacters = u"0123456789 +-.:abcdefgilmnoprtuvyADFJMNOS";
constexpr std::u16string_view levelCodeCharacters = u"0123456789abcdefx";
constexpr std::u16string_view secondsCharacters = u"0123456789.-";

} // namespace

LogMessageMatcher::LogMessageMatcher(const QString& text, Qt::CaseSensitivity caseRule)
    : text_(text, caseRule)
{
    inTimestamps_ = text_.canConsistOf(timestampCharacters) &&
                    (std::any_of(std::begin(timestampPatterns), std::end(timestampPatterns),
                                 [this](auto pattern) { return text_.foundInPattern(pattern); }) ||
                     std::any_of(std::begin(specialTimestamps), std::end(specialTimestamps),
                                 [this](auto special) { return text_.foundIn(special); }));
    inLevelCodes_ = text_.canConsistOf(levelCodeCharacters);
    for (const LogLevel level : allLogLevels) {
        if (text_.foundIn(logLevelName(static_cast<std::uint64_t>(level)))) {
            levels_ |= static_cast<std::uint64_t>(level);
            inNone_ = inNone_ || level == LogLevel::None;
        }
    }
}

bool LogMessageMatcher::foundIn(const LogMessage& message) const
{
    return foundInTexts(message) || foundInLevelName(message.logLevel()) ||
           foundInNumber(message.serviceMsgId()) || foundInNumber(message.sourceMsgId()) ||
           foundInNumber(message.senderMsgId()) || foundInTimestampText(message) ||
           foundInNumber(message.processId()) || foundInNumber(message.threadId());
}

bool LogMessageMatcher::foundInTexts(const LogMessage& message) const
{
    return text_.foundInParts(message.texts(), message.textEnds());
}

bool LogMessageMatcher::foundInTimestampText(const LogMessage& message) const
{
    TimestampBuffer buffer;
    return inTimestamps_ && foundInText(message.timestampText(buffer));
}

bool LogMessageMatcher::foundInLevelName(std::uint64_t level) const
{
    if (isEmpty())
        return true;
    if (level == static_cast<std::uint64_t>(LogLevel::None))
        return inNone_;
    return (levels_ & level) != 0 && !logLevelName(level).empty(); // several bits have no name
}

bool LogMessageMatcher::foundInLevelCode(std::uint64_t level) const
{
    if (!inLevelCodes_)
        return false;
    // As logLevelCodeText has it, without a string for each message.
    std::array<char16_t, 18> code;
    std::size_t begin = code.size();
    do {
        code[--begin] = u"0123456789abcdef"[level % 16];
        level /= 16;
    } while (level != 0 || begin + 2 > code.size());
    code[--begin] = u'x';
    code[--begin] = u'0';
    return text_.foundIn({code.data() + begin, code.size() - begin});
}

bool LogMessageMatcher::canBeInSeconds(std::u16string_view oneWord,
                                       std::u16string_view otherWord) const
{
    return text_.canConsistOf(secondsCharacters) || text_.foundIn(oneWord) ||
           text_.foundIn(otherWord);
}

} // namespace zuLogging
