#pragma once

namespace zuLogging {

/// Characters that are not to reach a terminal, or a reader of lines, as they are: the control
/// characters of the second set, which a terminal obeys as it does those of the first; the line
/// ends of Unicode; what turns the direction of writing. Those of the first set (below 0x20) are
/// the caller's business.
constexpr bool isTerminalCommand(char16_t unit)
{
    return (unit >= 0x7F && unit <= 0x9F) || (unit >= 0x2028 && unit <= 0x202E) ||
           (unit >= 0x2066 && unit <= 0x2069);
}

/// Writes a code point from 0x80 on in UTF-8 and returns the place behind it.
inline char* writeUtf8(char* out, char32_t point)
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

} // namespace zuLogging
