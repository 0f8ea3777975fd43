#pragma once

#include <cstddef>
#include <string_view>

namespace zuLogging::client {

/// The longest start of `text` that has at most `limit` bytes and does not end inside a character.
/// Bytes that are no UTF-8 are cut anywhere.
inline std::string_view utf8Start(std::string_view text, std::size_t limit) noexcept
{
    if (text.size() <= limit)
        return text;
    constexpr std::size_t maximumFollowing = 3;
    for (std::size_t back = 0; back <= maximumFollowing && back <= limit; ++back)
        if ((static_cast<unsigned char>(text[limit - back]) & 0xC0) != 0x80)
            return text.substr(0, limit - back);
    return text.substr(0, limit);
}

/// The longest end of `text` of that kind.
inline std::string_view utf8End(std::string_view text, std::size_t limit) noexcept
{
    if (text.size() <= limit)
        return text;
    std::string_view end = text.substr(text.size() - limit);
    constexpr std::size_t maximumFollowing = 3;
    for (std::size_t skipped = 0; skipped <= maximumFollowing && skipped < end.size(); ++skipped)
        if ((static_cast<unsigned char>(end[skipped]) & 0xC0) != 0x80)
            return end.substr(skipped);
    return end;
}

} // namespace zuLogging::client
