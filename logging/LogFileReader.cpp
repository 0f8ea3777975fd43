#include "logging/LogFileReader.h"

#include "logging/JsonLogReader.h"
#include "logging/TextLogReader.h"
#include "logging/WorkControl.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <limits>
#include <new>
#include <string_view>
#include <utility>

namespace zuLogging {

namespace {

using Messages = std::vector<std::shared_ptr<LogMessage>>;

constexpr int beginningSize = 1 << 16;
constexpr qint64 longestJsonLine = qint64{1} << 26;
/// Bytes between two reports of how far the reading is.
constexpr qint64 toldStep = 1 << 16;

std::string_view withoutBlanks(std::string_view text)
{
    constexpr std::string_view blanks = " \t\n\r";
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    if (text.substr(0, byteOrderMark.size()) == byteOrderMark)
        text.remove_prefix(byteOrderMark.size());
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    text.remove_suffix(text.size() - (text.find_last_not_of(blanks) + 1));
    return text;
}

bool hasContent(const std::shared_ptr<LogMessage>& message)
{
    return message->serviceMsgId() != 0 || message->sourceMsgId() != 0 ||
           message->senderMsgId() != 0 || message->timestamp() != 0 || message->logLevel() != 0 ||
           message->processId() != 0 || message->threadId() != 0 || !message->texts().empty();
}

bool isOurs(const Messages& messages)
{
    return std::any_of(messages.begin(), messages.end(), hasContent);
}

/// False when the file is anything else.
bool readJsonLines(QFile& file, Messages& messages, WorkControl* control)
{
    qint64 told = 0;
    Messages read;
    QByteArray line;
    for (;;) {
        // One byte more tells a line that is too long.
        line = file.readLine(longestJsonLine + 2);
        if (line.isEmpty())
            break;
        if (control && file.pos() - told >= toldStep) {
            told = file.pos();
            control->report(static_cast<std::uint64_t>(told),
                            static_cast<std::uint64_t>(file.size()));
        }
        const std::string_view text =
            withoutBlanks({line.constData(), static_cast<std::size_t>(line.size())});
        if (text.empty())
            continue;
        if (line.size() > longestJsonLine ||
            read.size() == std::size_t{std::numeric_limits<int>::max()})
            return false;
        std::shared_ptr<LogMessage> message = readJsonMessage(text);
        if (!message)
            return false;
        read.push_back(std::move(message));
    }
    if (file.error() != QFileDevice::NoError || !isOurs(read))
        return false;
    messages = std::move(read);
    return true;
}

bool readJson(QFile& file, std::string_view beginning, Messages& messages, WorkControl* control)
{
    if (beginning.empty())
        return false;
    if (beginning.front() == '[')
        return readJsonLog(file, messages, control) && isOurs(messages);
    return beginning.front() == '{' && readJsonLines(file, messages, control);
}

/// A log without messages, as the window saves it.
bool isEmptyArray(std::string_view text)
{
    return text.size() >= 2 && text.front() == '[' && text.back() == ']' &&
           withoutBlanks(text.substr(1, text.size() - 2)).empty();
}

QString readOpened(QFile& file, const QFileInfo& info, Messages& messages,
                   std::uint64_t firstNumber, WorkControl* control)
{
    const QByteArray first = file.peek(beginningSize);
    const std::string_view beginning(first.constData(), static_cast<std::size_t>(first.size()));
    const std::string_view content = withoutBlanks(beginning);
    if (first.size() < beginningSize && isEmptyArray(content))
        return {};
    if (readJson(file, content, messages, control))
        return {};
    messages.clear();
    if (!looksLikeText(beginning))
        return QCoreApplication::translate("zuLogging::LogFileReader", "It is not a text file.");
    if (!file.seek(0) ||
        !readTextLog(file, info.fileName().toStdU16String(), messages, firstNumber, {}, control))
        return file.errorString();
    return {};
}

} // namespace

QString readLogFile(const QString& path, std::vector<std::shared_ptr<LogMessage>>& messages,
                    std::uint64_t firstNumber, WorkControl* control)
{
    messages.clear();
    const QFileInfo info(path);
    if (info.isDir())
        return QCoreApplication::translate("zuLogging::LogFileReader", "It is a folder.");
    if (info.exists() && !info.isFile())
        return QCoreApplication::translate("zuLogging::LogFileReader", "It is not a regular file.");
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return file.errorString();
    try {
        return readOpened(file, info, messages, firstNumber, control);
    } catch (const std::bad_alloc&) {
        messages.clear();
        return QCoreApplication::translate("zuLogging::LogFileReader",
                                           "There is not enough memory for it.");
    }
}

} // namespace zuLogging
