#include "logging/LogMessage.h"

#include "logging/LogMessageMatcher.h"
#include "platform/CodePage.h"

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

QString LogMessage::timestampText() const
{
    return hasTimestampText_ ? zuLogging::timestampText(timestamp_) : QString();
}

std::u16string_view LogMessage::timestampText(TimestampBuffer& buffer) const noexcept
{
    return hasTimestampText_ ? writeTimestampText(timestamp_, buffer) : std::u16string_view();
}

bool LogMessage::contains(const QString& text, Qt::CaseSensitivity caseRule) const
{
    return LogMessageMatcher(text, caseRule).foundIn(*this);
}

} // namespace zuLogging
