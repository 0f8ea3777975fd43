#include "tools/EscapedText.h"

#include <cstddef>

namespace zuLogging {

namespace {

unsigned byteAt(std::string_view text, std::size_t index)
{
    return index < text.size() ? static_cast<unsigned char>(text[index]) : 0U;
}

/// Bytes of the character at the front of `text` if it must not be written as it is; else 0.
std::size_t dangerousLength(std::string_view text)
{
    const unsigned first = byteAt(text, 0);
    const unsigned second = byteAt(text, 1);
    const unsigned third = byteAt(text, 2);
    if (first < 0x20 || first == 0x7F)
        return 1;
    if (first == 0xC2 && second >= 0x80 && second <= 0x9F)
        return 2; // U+0080 to U+009F
    if (first != 0xE2)
        return 0;
    const bool isLineEndOrTurn = second == 0x80 && third >= 0xA8 && third <= 0xAE; // U+2028 ...
    const bool isIsolate = second == 0x81 && third >= 0xA6 && third <= 0xA9;       // U+2066 ...
    return isLineEndOrTurn || isIsolate ? 3 : 0;
}

} // namespace

std::string escapedText(std::string_view text)
{
    constexpr char hexadecimal[] = "0123456789abcdef";
    std::string escaped;
    escaped.reserve(text.size());
    while (!text.empty()) {
        const std::size_t length = dangerousLength(text);
        for (std::size_t i = 0; i < length; ++i) {
            const unsigned byte = byteAt(text, i);
            escaped += "\\x";
            escaped += hexadecimal[byte >> 4];
            escaped += hexadecimal[byte & 0xF];
        }
        if (length == 0) {
            escaped += text.front();
            if (text.front() == '\\')
                escaped += '\\';
        }
        text.remove_prefix(length == 0 ? 1 : length);
    }
    return escaped;
}

} // namespace zuLogging
