#pragma once

#include "logging/LogLevel.h"
#include "logging/TimestampText.h"

#include <QString>
#include <QStringView>

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace zuLogging {

/// One log record as the viewer holds it: immutable once published, shared by reference counting
/// between the store, the models and the sort index. Owns copies of all its texts. Reading it from
/// any number of threads is safe once `renderTimestamp` has been called.
class LogMessage
{
public:
    LogMessage(std::uint64_t serviceMsgId, std::uint64_t sourceMsgId, std::uint64_t senderMsgId,
               std::uint64_t timestamp, std::uint64_t logLevel, std::u16string_view logPos,
               std::u16string_view module, std::u16string_view groupName,
               std::u16string_view logMessage, std::uint64_t processId, std::uint64_t threadId);

    /// For records loaded from a file: each text goes through UTF-8, so that what UTF-8 cannot
    /// carry (a lone surrogate) is replaced as it would be in any other program.
    LogMessage(std::uint64_t serviceMsgId, std::uint64_t sourceMsgId, std::uint64_t senderMsgId,
               std::uint64_t timestamp, std::uint64_t logLevel, const QString& logPos,
               const QString& module, const QString& groupName, const QString& logMessage,
               std::uint64_t processId, std::uint64_t threadId);

    virtual ~LogMessage();
    LogMessage(const LogMessage&) = delete;
    LogMessage& operator=(const LogMessage&) = delete;

    std::uint64_t serviceMsgId() const noexcept { return serviceMsgId_; }
    std::uint64_t sourceMsgId() const noexcept { return sourceMsgId_; }
    std::uint64_t senderMsgId() const noexcept { return senderMsgId_; }
    /// Microseconds since 1400-01-01 00:00:00.
    std::uint64_t timestamp() const noexcept { return timestamp_; }
    std::uint64_t logLevel() const noexcept { return logLevel_; }
    std::u16string_view logPos() const noexcept;
    std::u16string_view module() const noexcept;
    std::u16string_view groupName() const noexcept;
    std::u16string_view logMessage() const noexcept;
    /// Position, module, group and message, back to back.
    std::u16string_view texts() const noexcept { return texts_; }
    /// Where the first three of them end in `texts`.
    std::array<std::uint32_t, 3> textEnds() const noexcept
    {
        return {moduleBegin_, groupBegin_, messageBegin_};
    }
    /// 0 when the message carried none.
    std::uint64_t processId() const noexcept { return processId_; }
    std::uint64_t threadId() const noexcept { return threadId_; }

    QString levelName() const { return logLevelNameText(logLevel_); }
    QString levelCodeText() const { return logLevelCodeText(logLevel_); }

    /// Empty until `renderTimestamp` was called. Written at each call: few of the records that
    /// are held are ever shown, and keeping the text would take a fifth of a record's memory.
    QString timestampText() const;
    /// The same text in `buffer`.
    std::u16string_view timestampText(TimestampBuffer& buffer) const noexcept;
    /// Lets the record have its time stamp text. To be called once, before the record is shared.
    void renderTimestamp() noexcept { hasTimestampText_ = true; }

    /// True if `text` is contained in one of: the message text, module, group, level name, the
    /// service, source and sender numbers (decimal), the time stamp text, process and thread
    /// numbers (decimal), position. To ask many messages for one text, use LogMessageMatcher.
    bool contains(const QString& text, Qt::CaseSensitivity caseRule) const;

private:
    std::uint64_t serviceMsgId_;
    std::uint64_t sourceMsgId_;
    std::uint64_t senderMsgId_;
    std::uint64_t timestamp_;
    std::uint64_t logLevel_;
    std::uint64_t processId_;
    std::uint64_t threadId_;
    std::u16string texts_; ///< position, module, group and message, back to back
    std::uint32_t moduleBegin_ = 0;
    std::uint32_t groupBegin_ = 0;
    std::uint32_t messageBegin_ = 0;
    bool hasTimestampText_ = false;
};

/// A copy of `text` as Qt's string, unit for unit: QString::fromUtf16 would take a byte order mark
/// away, and turn every unit of a text round that begins with a swapped one.
inline QString toQString(std::u16string_view text)
{
    return QString(reinterpret_cast<const QChar*>(text.data()), static_cast<int>(text.size()));
}

} // namespace zuLogging
