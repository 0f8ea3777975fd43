#include "logging/LogMessageSinkCout.h"

#include <iostream>
#include <string>

namespace zuLogging {

namespace {

constexpr bool isHighSurrogate(char16_t unit)
{
    return unit >= 0xD800 && unit <= 0xDBFF;
}
constexpr bool isLowSurrogate(char16_t unit)
{
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

/// Wide text as the system's wide streams want it: UTF-16 where their characters have 16 bits, else
/// one character a code point (half a pair becomes U+FFFD).
std::wstring wideText(std::u16string_view text)
{
    if constexpr (sizeof(wchar_t) == sizeof(char16_t))
        return std::wstring(text.begin(), text.end());

    std::wstring wide;
    wide.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char16_t unit = text[i];
        if (isHighSurrogate(unit) && i + 1 < text.size() && isLowSurrogate(text[i + 1])) {
            const char32_t high = static_cast<char32_t>(unit) - 0xD800U;
            const char32_t low = static_cast<char32_t>(text[++i]) - 0xDC00U;
            wide += static_cast<wchar_t>(0x10000U + (high << 10U) + low);
        } else if (isHighSurrogate(unit) || isLowSurrogate(unit)) {
            wide += static_cast<wchar_t>(0xFFFD);
        } else {
            wide += static_cast<wchar_t>(unit);
        }
    }
    return wide;
}

} // namespace

void LogMessageSinkCout::write(std::u16string_view line)
{
    const std::wstring text = wideText(line);
    // A character that could not be written once must not silence the stream for ever.
    std::wcout.clear();
    const std::wostream::sentry ready(std::wcout);
    if (!ready)
        return;
    std::wstreambuf& buffer = *std::wcout.rdbuf();
    std::size_t written = 0;
    while (written < text.size()) {
        const std::streamsize rest = static_cast<std::streamsize>(text.size() - written);
        written += static_cast<std::size_t>(buffer.sputn(text.data() + written, rest));
        if (written == text.size())
            break;
        if (std::wostream::traits_type::eq_int_type(buffer.sputc(L'?'),
                                                    std::wostream::traits_type::eof()))
            break;
        ++written;
    }
    buffer.pubsync();
}

} // namespace zuLogging
