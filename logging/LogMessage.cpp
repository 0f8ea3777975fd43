#include "logging/LogMessage.h"

#include "logging/TimestampText.h"
#include "platform/CodePage.h"

#include <array>

namespace zuLogging {

namespace {

std::u16string throughUtf8(const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    std::u16string result;
    platform::multiByteToUtf16({bytes.constData(), static_cast<std::size_t>(bytes.size())},
                               platform::codePageUtf8, result);
    return result;
}

bool textContains(std::u16string_view field, const QString& text, Qt::CaseSensitivity caseRule)
{
    // The views have no terminator and are not copied: Qt looks at the record's own characters.
    const auto* characters = reinterpret_cast<const QChar*>(field.data());
    const auto length = static_cast<int>(field.size());
    return length >= text.size() &&
           QString::fromRawData(characters, length).contains(text, caseRule);
}

bool numberContains(std::uint64_t number, const QString& text, Qt::CaseSensitivity caseRule)
{
    std::array<char16_t, 20> digits{};
    std::size_t begin = digits.size();
    do {
        digits[--begin] = static_cast<char16_t>(u'0' + number % 10);
        number /= 10;
    } while (number != 0);
    return textContains({digits.data() + begin, digits.size() - begin}, text, caseRule);
}

} // namespace

LogMessage::LogMessage(std::uint64_t serviceMsgId, std::uint64_t sourceMsgId,
                       std::uint64_t senderMsgId, std::uint64_t timestamp, std::uint64_t logLevel,
                       std::u16string_view logPos, std::u16string_view module,
                       std::u16string_view groupName, std::u16string_view logMessage,
                       std::uint64_t processId, std::uint64_t threadId)
    : serviceMsgId_(serviceMsgId)
    , sourceMsgId_(sourceMsgId)
    , senderMsgId_(senderMsgId)
    , timestamp_(timestamp)
    , logLevel_(logLevel)
    , processId_(processId)
    , threadId_(threadId)
    , moduleBegin_(static_cast<std::uint32_t>(logPos.size()))
    , groupBegin_(static_cast<std::uint32_t>(moduleBegin_ + module.size()))
    , messageBegin_(static_cast<std::uint32_t>(groupBegin_ + groupName.size()))
{
    texts_.reserve(messageBegin_ + logMessage.size());
    texts_.append(logPos).append(module).append(groupName).append(logMessage);
}

LogMessage::LogMessage(std::uint64_t serviceMsgId, std::uint64_t sourceMsgId,
                       std::uint64_t senderMsgId, std::uint64_t timestamp, std::uint64_t logLevel,
                       const QString& logPos, const QString& module, const QString& groupName,
                       const QString& logMessage, std::uint64_t processId, std::uint64_t threadId)
    : LogMessage(serviceMsgId, sourceMsgId, senderMsgId, timestamp, logLevel, throughUtf8(logPos),
                 throughUtf8(module), throughUtf8(groupName), throughUtf8(logMessage), processId,
                 threadId)
{
}

LogMessage::~LogMessage() = default;

std::u16string_view LogMessage::logPos() const noexcept
{
    return {texts_.data(), moduleBegin_};
}

std::u16string_view LogMessage::module() const noexcept
{
    return {texts_.data() + moduleBegin_, groupBegin_ - moduleBegin_};
}

std::u16string_view LogMessage::groupName() const noexcept
{
    return {texts_.data() + groupBegin_, messageBegin_ - groupBegin_};
}

std::u16string_view LogMessage::logMessage() const noexcept
{
    return {texts_.data() + messageBegin_, texts_.size() - messageBegin_};
}

void LogMessage::renderTimestamp()
{
    timestampText_ = zuLogging::timestampText(timestamp_);
}

bool LogMessage::contains(const QString& text, Qt::CaseSensitivity caseRule) const
{
    if (text.isEmpty())
        return true;
    return textContains(logMessage(), text, caseRule) || textContains(module(), text, caseRule) ||
           textContains(groupName(), text, caseRule) ||
           textContains(logLevelName(logLevel_), text, caseRule) ||
           numberContains(serviceMsgId_, text, caseRule) ||
           numberContains(sourceMsgId_, text, caseRule) ||
           numberContains(senderMsgId_, text, caseRule) ||
           timestampText_.contains(text, caseRule) || numberContains(processId_, text, caseRule) ||
           numberContains(threadId_, text, caseRule) || textContains(logPos(), text, caseRule);
}

} // namespace zuLogging
