#include "tools/TailTextSink.h"

#include <QChar>

namespace zuLogging {

namespace {

constexpr char32_t replacement = 0xFFFD;

/// Control characters, the line ends of Unicode, and what turns the direction of writing.
bool isEscaped(char16_t unit)
{
    return (unit < 0x20 && unit != u'\t') || (unit >= 0x7F && unit <= 0x9F) ||
           (unit >= 0x2028 && unit <= 0x202E) || (unit >= 0x2066 && unit <= 0x2069);
}

char* writeEscape(char* out, char16_t unit)
{
    constexpr char hexadecimal[] = "0123456789abcdef";
    *out++ = '\\';
    if (unit == u'\n') {
        *out++ = 'n';
        return out;
    }
    if (unit == u'\r') {
        *out++ = 'r';
        return out;
    }
    const bool isByte = unit < 0x100;
    *out++ = isByte ? 'x' : 'u';
    for (int shift = isByte ? 4 : 12; shift >= 0; shift -= 4)
        *out++ = hexadecimal[unit >> shift & 0xF];
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

} // namespace

void TailTextSink::write(std::u16string_view line)
{
    constexpr std::size_t longestForm = 6; // of one unit
    const std::size_t begin = out_.size();
    out_.resize(begin + line.size() * longestForm);
    char* out = out_.data() + begin;

    const std::size_t end = line.size() - 1; // the line's own end
    for (std::size_t i = 0; i < end; ++i) {
        const char16_t unit = line[i];
        if (unit >= 0x20 && unit < 0x7F)
            *out++ = static_cast<char>(unit);
        else if (isEscaped(unit))
            out = writeEscape(out, unit);
        else if (unit == u'\t')
            *out++ = '\t';
        else if (!QChar::isSurrogate(unit))
            out = writeCodePoint(out, unit);
        else if (QChar::isHighSurrogate(unit) && i + 1 < end && QChar::isLowSurrogate(line[i + 1]))
            out = writeCodePoint(out, QChar::surrogateToUcs4(unit, line[++i]));
        else
            out = writeCodePoint(out, replacement);
    }
    *out++ = '\n';
    out_.resize(static_cast<std::size_t>(out - out_.data()));
}

} // namespace zuLogging
