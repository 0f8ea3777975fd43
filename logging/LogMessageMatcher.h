#pragma once

#include "logging/LogMessage.h"
#include "logging/TextMatcher.h"

#include <cstdint>

namespace zuLogging {

/// A text to look for in the fields of many messages, prepared once: what no field of a kind can
/// hold (a number, a time stamp, a level) is not looked at. Every answer is what
/// `QString::contains` says about the field's text. A plain value; may be asked from any number of
/// threads.
class LogMessageMatcher
{
public:
    LogMessageMatcher(const QString& text, Qt::CaseSensitivity caseRule);

    /// What LogMessage::contains says.
    bool foundIn(const LogMessage& message) const;

    /// In the message text, the module, the group or the position.
    bool foundInTexts(const LogMessage& message) const;
    bool foundInText(std::u16string_view text) const { return text_.foundIn(text); }
    bool foundInText(const QString& text) const
    {
        return text_.foundIn({reinterpret_cast<const char16_t*>(text.constData()),
                              static_cast<std::size_t>(text.size())});
    }
    bool foundInNumber(std::uint64_t number) const { return text_.foundInDecimal(number); }
    bool foundInTimestampText(const LogMessage& message) const;
    bool foundInLevelName(std::uint64_t level) const;
    bool foundInLevelCode(std::uint64_t level) const;

    /// False if no number written with decimals, and none of `words`, can hold the text.
    bool canBeInSeconds(std::u16string_view oneWord, std::u16string_view otherWord) const;
    /// True if the text is found in every text.
    bool isEmpty() const { return text_.isEmpty(); }

private:
    TextMatcher text_;
    bool inTimestamps_ = false; ///< some time stamp can hold the text
    bool inLevelCodes_ = false; ///< some level's code can
    std::uint64_t levels_ = 0;  ///< bit mask of the levels whose name holds the text
    bool inNone_ = false;       ///< the name of the level without a bit does
};

} // namespace zuLogging
