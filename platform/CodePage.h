#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace zuLogging::platform {

/// Code page number of UTF-8.
inline constexpr std::uint64_t codePageUtf8 = 65001;

/// Converts multi-byte text to UTF-16. An invalid byte sequence becomes U+FFFD; an unknown code
/// page, or a conversion that yields no characters, gives nothing. Any thread.
std::optional<std::u16string> multiByteToUtf16(std::string_view bytes, std::uint64_t codePage);

/// The same into `text`, whose memory is used again. False, and `text` empty, where the other gives
/// nothing.
bool multiByteToUtf16(std::string_view bytes, std::uint64_t codePage, std::u16string& text);

} // namespace zuLogging::platform
