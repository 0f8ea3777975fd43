#include "logging/JsonLogWriter.h"

#include <QChar>
#include <QIODevice>

#include <algorithm>
#include <charconv>
#include <cstring>

namespace zuLogging {

namespace {

/// What is kept before it goes to the device.
constexpr std::size_t bufferSize = 1 << 16;
/// What one append may add to that.
constexpr std::size_t spareSize = 2048;
/// Units of a text that are written at a time: each takes at most six bytes.
constexpr std::size_t sliceLength = spareSize / 6 - 1;

char* writeUnit(char* out, char16_t unit)
{
    constexpr char hexadecimal[] = "0123456789abcdef";
    *out++ = '\\';
    *out++ = 'u';
    for (int shift = 12; shift >= 0; shift -= 4)
        *out++ = hexadecimal[unit >> shift & 0xF];
    return out;
}

char* writeEscaped(char* out, char16_t character)
{
    char letter = 0;
    switch (character) {
    case u'"':
        letter = '"';
        break;
    case u'\\':
        letter = '\\';
        break;
    case u'\b':
        letter = 'b';
        break;
    case u'\f':
        letter = 'f';
        break;
    case u'\n':
        letter = 'n';
        break;
    case u'\r':
        letter = 'r';
        break;
    case u'\t':
        letter = 't';
        break;
    default:
        return writeUnit(out, character);
    }
    *out++ = '\\';
    *out++ = letter;
    return out;
}

char* writeCodePoint(char* out, char32_t point)
{
    const auto byte = [&out](char32_t value) { *out++ = static_cast<char>(value); };
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
    return out;
}

bool isPlain(char16_t unit)
{
    return unit >= 0x20 && unit < 0x80 && unit != u'"' && unit != u'\\';
}

} // namespace

JsonLogWriter::JsonLogWriter(QIODevice& device)
    : device_(device)
    , buffer_(bufferSize + spareSize)
{
    append("[\n");
}

void JsonLogWriter::add(const LogMessage& message)
{
    append(first_ ? std::string_view("    {\n        \"GroupName\": \"")
                  : std::string_view(",\n    {\n        \"GroupName\": \""));
    first_ = false;
    appendText(message.groupName());
    append("\",\n        \"LogLevel\": \"");
    appendText(logLevelName(message.logLevel()));
    append("\",\n        \"LogLevel [Hex]\": \"");
    appendLevelCode(message.logLevel());
    append("\",\n        \"LogMessage\": \"");
    appendText(message.logMessage());
    append("\",\n        \"LogPos\": \"");
    appendText(message.logPos());
    append("\",\n        \"Module\": \"");
    appendText(message.module());
    append("\",\n        \"ProcessID\": \"");
    appendNumber(message.processId());
    append("\",\n        \"SenderMsgID\": \"");
    appendNumber(message.senderMsgId());
    append("\",\n        \"ServiceMsgID\": \"");
    appendNumber(message.serviceMsgId());
    append("\",\n        \"SourceMsgID\": \"");
    appendNumber(message.sourceMsgId());
    append("\",\n        \"ThreadID\": \"");
    appendNumber(message.threadId());
    append("\",\n        \"Timestamp\": \"");
    appendNumber(message.timestamp());
    append("\"\n    }");
}

bool JsonLogWriter::finish()
{
    append(first_ ? std::string_view("]\n") : std::string_view("\n]\n"));
    flush();
    return !failed_;
}

char* JsonLogWriter::room()
{
    if (used_ >= bufferSize)
        flush();
    return buffer_.data() + used_;
}

void JsonLogWriter::append(std::string_view bytes)
{
    std::memcpy(room(), bytes.data(), bytes.size());
    used_ += bytes.size();
}

void JsonLogWriter::appendText(std::u16string_view text)
{
    for (std::size_t i = 0; i < text.size();) {
        char* out = room();
        const std::size_t end = i + std::min(text.size() - i, sliceLength);
        while (i < end) {
            const char16_t unit = text[i++];
            if (isPlain(unit)) {
                *out++ = static_cast<char>(unit);
            } else if (unit < 0x80) {
                out = writeEscaped(out, unit);
            } else if (!QChar::isSurrogate(unit)) {
                out = writeCodePoint(out, unit);
            } else if (QChar::isHighSurrogate(unit) && i < text.size() &&
                       QChar::isLowSurrogate(text[i])) {
                out = writeCodePoint(out, QChar::surrogateToUcs4(unit, text[i++]));
            } else {
                out = writeUnit(out, unit); // half a pair has no form in UTF-8
            }
        }
        used_ = static_cast<std::size_t>(out - buffer_.data());
    }
}

void JsonLogWriter::appendNumber(std::uint64_t number)
{
    char* const out = room();
    used_ =
        static_cast<std::size_t>(std::to_chars(out, out + spareSize, number).ptr - buffer_.data());
}

void JsonLogWriter::appendLevelCode(std::uint64_t level)
{
    append(level < 0x10 ? "0x0" : "0x");
    char* const out = room();
    used_ = static_cast<std::size_t>(std::to_chars(out, out + spareSize, level, 16).ptr -
                                     buffer_.data());
}

void JsonLogWriter::flush()
{
    const auto size = static_cast<qint64>(used_);
    failed_ = failed_ || device_.write(buffer_.data(), size) != size;
    used_ = 0;
}

} // namespace zuLogging
