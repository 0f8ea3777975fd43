// A log as JSON, up to a zero byte or the end: against Qt's reader where both take it, in pieces of
// all sizes against as a whole, and written in both forms and read again. What is behind the zero
// byte is read line by line.

#include "fuzz/FuzzCheck.h"
#include "logging/JsonLogReader.h"
#include "logging/JsonLogWriter.h"
#include "logging/TextOutput.h"

#include <QBuffer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>

#include <algorithm>
#include <cmath>
#include <memory>
#include <random>
#include <string_view>
#include <vector>

using namespace zuLogging;
using fuzz::check;

namespace {

using Messages = std::vector<std::shared_ptr<LogMessage>>;

/// Gives no more at a time than it likes to.
class Pieces final : public QIODevice
{
public:
    explicit Pieces(std::string_view text)
        : text_(text)
        , random_(static_cast<std::uint32_t>(text.size()))
    {
        open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    }

protected:
    qint64 readData(char* data, qint64 limit) override
    {
        const std::size_t most = random_() % 4 == 0 ? 1 + random_() % 300 : 1 + random_() % 3;
        const std::size_t count =
            std::min({text_.size(), most, static_cast<std::size_t>(std::max<qint64>(limit, 0))});
        text_.copy(data, count);
        text_.remove_prefix(count);
        return static_cast<qint64>(count);
    }
    qint64 writeData(const char*, qint64) override { return -1; }

private:
    std::string_view text_;
    std::minstd_rand random_;
};

Messages readWhole(const QByteArray& text)
{
    QBuffer buffer;
    buffer.setData(text);
    buffer.open(QIODevice::ReadOnly);
    Messages messages;
    check(readJsonLog(buffer, messages), "a buffer fails");
    return messages;
}

bool sameNumbers(const LogMessage& a, const LogMessage& b)
{
    return a.serviceMsgId() == b.serviceMsgId() && a.sourceMsgId() == b.sourceMsgId() &&
           a.senderMsgId() == b.senderMsgId() && a.timestamp() == b.timestamp() &&
           a.processId() == b.processId() && a.threadId() == b.threadId();
}

bool sameRest(const LogMessage& a, const LogMessage& b)
{
    return a.logLevel() == b.logLevel() && a.logPos() == b.logPos() && a.module() == b.module() &&
           a.groupName() == b.groupName() && a.logMessage() == b.logMessage();
}

bool same(const Messages& a, const Messages& b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const auto& x, const auto& y) {
        return sameNumbers(*x, *y) && sameRest(*x, *y) && x->timestampText() == y->timestampText();
    });
}

/// A JSON number that Qt's reader gives back as it is written.
bool isComparable(const QJsonValue& value)
{
    const double number = value.toDouble();
    return !value.isDouble() || (number >= 0 && number < 9e15);
}

std::uint64_t numberOf(const QJsonValue& value)
{
    if (value.isString())
        return value.toString().toULongLong();
    const bool isNumber = value.isDouble() && isComparable(value);
    return isNumber ? static_cast<std::uint64_t>(std::round(value.toDouble())) : 0;
}

LogMessage messageOf(const QJsonObject& object)
{
    const auto number = [&](const char* name) {
        return numberOf(object.value(QLatin1String(name)));
    };
    const auto text = [&](const char* name) {
        return object.value(QLatin1String(name)).toString();
    };
    return {number("ServiceMsgID"),
            number("SourceMsgID"),
            number("SenderMsgID"),
            number("Timestamp"),
            text("LogLevel [Hex]").toULongLong(nullptr, 16),
            text("LogPos"),
            text("Module"),
            text("GroupName"),
            text("LogMessage"),
            number("ProcessID"),
            number("ThreadID")};
}

/// True if the text has a number longer than the reader keeps.
bool hasLongNumber(std::string_view text)
{
    std::size_t length = 0;
    for (const char c : text) {
        length =
            std::string_view("0123456789+-.eE").find(c) != std::string_view::npos ? length + 1 : 0;
        if (length > 64)
            return true;
    }
    return false;
}

void compareWithQt(const QByteArray& text, const Messages& messages)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(text, &error);
    if (error.error != QJsonParseError::NoError || !document.isArray() || messages.empty())
        return;
    // Qt reads such a string without its first character, we as it is.
    if (text.contains("\"\xEF\xBB\xBF"))
        return;
    const QJsonArray array = document.array();
    check(messages.size() == static_cast<std::size_t>(array.size()),
          "there are more or fewer messages than elements");
    const bool longNumber =
        hasLongNumber({text.constData(), static_cast<std::size_t>(text.size())});
    for (int i = 0; i < array.size(); ++i) {
        const QJsonObject object = array.at(i).toObject();
        const LogMessage expected = messageOf(object);
        const LogMessage& message = *messages[static_cast<std::size_t>(i)];
        check(sameRest(message, expected), "a text or level differs from what Qt reads");
        const bool comparable =
            !longNumber && std::all_of(object.begin(), object.end(),
                                       [](const QJsonValue& value) { return isComparable(value); });
        check(!comparable || sameNumbers(message, expected), "a number differs from what Qt reads");
    }
}

QByteArray written(const Messages& messages, JsonLogWriter::Form form)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    JsonLogWriter writer(buffer, form);
    for (const auto& message : messages)
        writer.add(*message);
    check(writer.finish() && !writer.failed(), "a buffer does not take the log");
    return buffer.data();
}

void checkLines(const Messages& messages)
{
    const QByteArray text = written(messages, JsonLogWriter::Form::Lines);
    std::string_view left(text.constData(), static_cast<std::size_t>(text.size()));
    Messages read;
    while (!left.empty()) {
        const std::size_t end = left.find('\n');
        check(end != std::string_view::npos, "the last line has no end");
        const std::string_view line = left.substr(0, end);
        for (const QChar unit : QString::fromUtf8(line.data(), static_cast<int>(line.size())))
            check(unit.unicode() >= 0x20 && !isTerminalCommand(unit.unicode()),
                  "a line does something to a terminal");
        read.push_back(readJsonMessage(line));
        check(read.back() != nullptr, "a written line is no message");
        left.remove_prefix(end + 1);
    }
    check(same(read, messages), "a message changes when it is written in a line and read");
}

/// A line is a message just when it is one as the only element of an array.
void checkAsLines(std::string_view text)
{
    for (int lines = 0; !text.empty() && lines < 50; ++lines) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(text.size(), end + 1));
        const std::shared_ptr<LogMessage> message = readJsonMessage(line);
        const std::size_t first = line.find_first_not_of(" \t\r");
        if (first == std::string_view::npos || line[first] != '{') {
            check(!message || line.substr(0, 3) == "\xEF\xBB\xBF", "a line without an object");
            continue;
        }
        const Messages expected =
            readWhole("[" + QByteArray(line.data(), static_cast<int>(line.size())) + "]");
        check((message != nullptr) == (expected.size() == 1) || expected.size() > 1,
              "a line is a message for one reader only");
        check(!message || same({message}, expected), "a line is two messages");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const std::size_t end = std::min(input.find('\0'), input.size());
    const std::string_view log = input.substr(0, end);
    checkAsLines(input.substr(std::min(end + 1, input.size())));

    const QByteArray text(log.data(), static_cast<int>(log.size()));
    const Messages messages = readWhole(text);
    Pieces device(log);
    Messages inPieces;
    check(readJsonLog(device, inPieces), "a device that does not fail fails");
    check(same(messages, inPieces), "the log is another one in pieces");
    compareWithQt(text, messages);
    if (messages.empty())
        return 0;

    check(same(readWhole(written(messages, JsonLogWriter::Form::Array)), messages),
          "a message changes when it is written and read");
    checkLines(messages);
    return 0;
}
