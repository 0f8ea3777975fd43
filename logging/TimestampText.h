#pragma once

#include <QString>

#include <array>
#include <cstdint>
#include <string_view>

namespace zuLogging {

/// Microseconds from 1400-01-01 00:00:00 to 1970-01-01 00:00:00.
inline constexpr std::uint64_t unixEpochTimestamp = 208188ULL * 86400ULL * 1000000ULL;

/// The time stamp of this moment: microseconds since 1400-01-01 00:00:00 UTC.
std::uint64_t currentTimestamp();

/// YYYY-Mon-DD HH:MM:SS, with .uuuuuu behind it when the microseconds are not 0. A time stamp too
/// large for a 64-bit time point gives "not-a-date-time" or "+infinity".
QString timestampText(std::uint64_t timestamp);

/// Room for the longest of these texts.
using TimestampBuffer = std::array<char16_t, 32>;

/// The same text without an allocation: written to `buffer`, of which it is a part.
std::u16string_view writeTimestampText(std::uint64_t timestamp, TimestampBuffer& buffer) noexcept;

/// The same for a count of microseconds on the Julian day scale, as date libraries hold it:
/// the three values at the ends of the range are "-infinity", "not-a-date-time" and "+infinity".
QString timePointText(std::int64_t microseconds);

} // namespace zuLogging
