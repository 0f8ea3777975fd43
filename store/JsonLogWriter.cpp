#include "store/JsonLogWriter.h"

#include <QIODevice>

#include <cstring>

namespace zuLogging {

namespace {

constexpr int bufferSize = 1 << 16;

QStringView viewOf(std::u16string_view text)
{
    return QStringView(text.data(), static_cast<qsizetype>(text.size()));
}

void appendUnit(QByteArray& out, ushort unit)
{
    constexpr char hexadecimal[] = "0123456789abcdef";
    out += "\\u";
    for (int shift = 12; shift >= 0; shift -= 4)
        out += hexadecimal[unit >> shift & 0xF];
}

void appendEscaped(QByteArray& out, char character)
{
    if (character == 0 || (character < 0x20 && !std::strchr("\b\f\n\r\t", character))) {
        appendUnit(out, static_cast<ushort>(character));
        return;
    }
    out += '\\';
    switch (character) {
    case '"':
    case '\\':
        out += character;
        break;
    case '\b':
        out += 'b';
        break;
    case '\f':
        out += 'f';
        break;
    case '\n':
        out += 'n';
        break;
    case '\r':
        out += 'r';
        break;
    case '\t':
        out += 't';
        break;
    }
}

void appendCodePoint(QByteArray& out, char32_t point)
{
    const auto byte = [&out](char32_t value) { out += static_cast<char>(value); };
    if (point < 0x800) {
        byte(0xC0 | point >> 6);
    } else {
        if (point < 0x10000) {
            byte(0xE0 | point >> 12);
        } else {
            byte(0xF0 | point >> 18);
            byte(0x80 | (point >> 12 & 0x3F));
        }
        byte(0x80 | (point >> 6 & 0x3F));
    }
    byte(0x80 | (point & 0x3F));
}

void appendString(QByteArray& out, QStringView text)
{
    out += '"';
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar unit = text[i];
        if (unit.unicode() < 0x80) {
            const char character = static_cast<char>(unit.unicode());
            if (character < 0x20 || character == '"' || character == '\\')
                appendEscaped(out, character);
            else
                out += character;
        } else if (!unit.isSurrogate()) {
            appendCodePoint(out, unit.unicode());
        } else if (unit.isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate()) {
            appendCodePoint(out, QChar::surrogateToUcs4(unit, text[++i]));
        } else {
            appendUnit(out, unit.unicode()); // half a pair has no form in UTF-8
        }
    }
    out += '"';
}

} // namespace

JsonLogWriter::JsonLogWriter(QIODevice& device)
    : device_(device)
{
    buffer_.reserve(2 * bufferSize);
    buffer_ += "[\n";
}

void JsonLogWriter::add(const LogMessage& message)
{
    if (!first_)
        buffer_ += ",\n";
    first_ = false;
    buffer_ += "    {\n";
    member("GroupName", viewOf(message.groupName()));
    member("LogLevel", message.levelName());
    member("LogLevel [Hex]", message.levelCodeText());
    member("LogMessage", viewOf(message.logMessage()));
    member("LogPos", viewOf(message.logPos()));
    member("Module", viewOf(message.module()));
    member("ProcessID", message.processId());
    member("SenderMsgID", message.senderMsgId());
    member("ServiceMsgID", message.serviceMsgId());
    member("SourceMsgID", message.sourceMsgId());
    member("ThreadID", message.threadId());
    member("Timestamp", QString::number(message.timestamp()), true);
    buffer_ += "    }";
    flushWhenLarge();
}

bool JsonLogWriter::finish()
{
    if (!first_)
        buffer_ += '\n';
    buffer_ += "]\n";
    failed_ = device_.write(buffer_) != buffer_.size() || failed_;
    buffer_.clear();
    return !failed_;
}

void JsonLogWriter::member(const char* key, QStringView value, bool last)
{
    buffer_ += "        \"";
    buffer_ += key;
    buffer_ += "\": ";
    appendString(buffer_, value);
    buffer_ += last ? "\n" : ",\n";
}

void JsonLogWriter::member(const char* key, std::uint64_t value)
{
    member(key, QString::number(value));
}

void JsonLogWriter::flushWhenLarge()
{
    if (buffer_.size() < bufferSize)
        return;
    failed_ = device_.write(buffer_) != buffer_.size() || failed_;
    buffer_.resize(0); // keeps its memory
}

} // namespace zuLogging
