#include "logging/JsonLogWriter.h"

#include "logging/TextOutput.h"

#include <QChar>
#include <QIODevice>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>

namespace zuLogging {

namespace {

/// What is kept before it goes to the device.
constexpr std::size_t writeAtOnce = 1 << 16;
/// What one append may add to that.
constexpr std::size_t spareSize = 2048;
/// Units of a text that are written at a time: each takes at most six bytes.
constexpr std::size_t sliceLength = spareSize / 6 - 1;

/// What stands around the values of an object.
struct Layout
{
    std::string_view first;                   ///< before the first value of the first object
    std::string_view next;                    ///< of every other object
    std::array<std::string_view, 11> between; ///< before each of the other values
    std::string_view last;
};

constexpr Layout arrayLayout{
    "    {\n        \"GroupName\": \"",
    ",\n    {\n        \"GroupName\": \"",
    {"\",\n        \"LogLevel\": \"", "\",\n        \"LogLevel [Hex]\": \"",
     "\",\n        \"LogMessage\": \"", "\",\n        \"LogPos\": \"",
     "\",\n        \"Module\": \"", "\",\n        \"ProcessID\": \"",
     "\",\n        \"SenderMsgID\": \"", "\",\n        \"ServiceMsgID\": \"",
     "\",\n        \"SourceMsgID\": \"", "\",\n        \"ThreadID\": \"",
     "\",\n        \"Timestamp\": \""},
    "\"\n    }"};

constexpr Layout lineLayout{
    "{\"GroupName\":\"",
    "{\"GroupName\":\"",
    {"\",\"LogLevel\":\"", "\",\"LogLevel [Hex]\":\"", "\",\"LogMessage\":\"", "\",\"LogPos\":\"",
     "\",\"Module\":\"", "\",\"ProcessID\":\"", "\",\"SenderMsgID\":\"", "\",\"ServiceMsgID\":\"",
     "\",\"SourceMsgID\":\"", "\",\"ThreadID\":\"", "\",\"Timestamp\":\""},
    "\"}\n"};

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

bool isPlain(char16_t unit)
{
    return unit >= 0x20 && unit < 0x80 && unit != u'"' && unit != u'\\';
}

} // namespace

JsonLogWriter::JsonLogWriter(QIODevice& device, Form form)
    : device_(device)
    , form_(form)
    , buffer_(writeAtOnce + spareSize)
{
    if (form_ == Form::Array)
        append("[\n");
}

void JsonLogWriter::add(const LogMessage& message)
{
    const Layout& layout = form_ == Form::Lines ? lineLayout : arrayLayout;
    append(first_ ? layout.first : layout.next);
    first_ = false;
    appendText(message.groupName());
    append(layout.between[0]);
    appendText(logLevelName(message.logLevel()));
    append(layout.between[1]);
    appendLevelCode(message.logLevel());
    append(layout.between[2]);
    appendText(message.logMessage());
    append(layout.between[3]);
    appendText(message.logPos());
    append(layout.between[4]);
    appendText(message.module());
    append(layout.between[5]);
    appendNumber(message.processId());
    append(layout.between[6]);
    appendNumber(message.senderMsgId());
    append(layout.between[7]);
    appendNumber(message.serviceMsgId());
    append(layout.between[8]);
    appendNumber(message.sourceMsgId());
    append(layout.between[9]);
    appendNumber(message.threadId());
    append(layout.between[10]);
    appendNumber(message.timestamp());
    append(layout.last);
}

bool JsonLogWriter::flush()
{
    empty();
    return !failed_;
}

bool JsonLogWriter::finish()
{
    if (form_ == Form::Array)
        append(first_ ? std::string_view("]\n") : std::string_view("\n]\n"));
    return flush();
}

char* JsonLogWriter::room()
{
    if (used_ >= writeAtOnce)
        empty();
    return buffer_.data() + used_;
}

void JsonLogWriter::append(std::string_view bytes)
{
    std::memcpy(room(), bytes.data(), bytes.size());
    used_ += bytes.size();
}

void JsonLogWriter::appendText(std::u16string_view text)
{
    const bool isLine = form_ == Form::Lines;
    for (std::size_t i = 0; i < text.size();) {
        char* out = room();
        const std::size_t end = i + std::min(text.size() - i, sliceLength);
        while (i < end) {
            const char16_t unit = text[i++];
            if (isLine && isTerminalCommand(unit)) {
                out = writeUnit(out, unit);
            } else if (isPlain(unit)) {
                *out++ = static_cast<char>(unit);
            } else if (unit < 0x80) {
                out = writeEscaped(out, unit);
            } else if (!QChar::isSurrogate(unit)) {
                out = writeUtf8(out, unit);
            } else if (QChar::isHighSurrogate(unit) && i < text.size() &&
                       QChar::isLowSurrogate(text[i])) {
                out = writeUtf8(out, QChar::surrogateToUcs4(unit, text[i++]));
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

void JsonLogWriter::empty()
{
    const auto size = static_cast<qint64>(used_);
    failed_ = failed_ || device_.write(buffer_.data(), size) != size;
    used_ = 0;
}

} // namespace zuLogging
