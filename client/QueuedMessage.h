#pragma once

#include <zulog/zulog.h>

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace zuLogging::client {

/// A message on its way through the queue. Owns nothing.
struct QueuedMessage
{
    std::uint64_t time = 0; ///< microseconds since 1970-01-01 00:00 UTC
    std::uint64_t thread = 0;
    zulog_level level = ZULOG_LEVEL_NONE;
    int line = 0;
    std::string_view module;
    std::string_view group;
    std::string_view file; ///< empty: there is no position
    std::string_view text; ///< more than a packet can hold where the message had more

    /// Cuts the texts to what makes sense in one packet.
    void cut() noexcept;

    /// Bytes in the queue.
    std::size_t size() const noexcept;
    /// Writes them to `place`, aligned to 8.
    void write(std::uint8_t* place) const noexcept;
    /// What `write` wrote; the texts are those in the queue.
    static QueuedMessage read(const std::uint8_t* place) noexcept;
};

} // namespace zuLogging::client
