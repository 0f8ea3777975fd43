#include "tools/TailTextSink.h"

#include "logging/TextOutput.h"

#include <QChar>

namespace zuLogging {

namespace {

constexpr char32_t replacement = 0xFFFD;

bool isEscaped(char16_t unit)
{
    return (unit < 0x20 && unit != u'\t') || isTerminalCommand(unit);
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
            out = writeUtf8(out, unit);
        else if (QChar::isHighSurrogate(unit) && i + 1 < end && QChar::isLowSurrogate(line[i + 1]))
            out = writeUtf8(out, QChar::surrogateToUcs4(unit, line[++i]));
        else
            out = writeUtf8(out, replacement);
    }
    *out++ = '\n';
    out_.resize(static_cast<std::size_t>(out - out_.data()));
}

} // namespace zuLogging
