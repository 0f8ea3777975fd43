// Time stamps as text against the date library's, and texts made harmless for a terminal.

#include "fuzz/FuzzCheck.h"
#include "fuzz/FuzzInput.h"
#include "logging/TimestampText.h"
#include "tools/EscapedText.h"

#include <QString>

#include <boost/date_time/posix_time/posix_time.hpp>

#include <limits>
#include <string>
#include <string_view>

using namespace zuLogging;
using fuzz::check;

namespace {

constexpr std::int64_t largest = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t smallest = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t microsecondsPerDay = 86'400'000'000;
constexpr std::int64_t daysIn400Years = 146'097;
constexpr std::int64_t julianDayOf1400 = 2'232'400;
constexpr std::int64_t julianDayOf2000 = 2'451'545;

/// The calendar repeats every 400 years: the date library names the day of the year that the day
/// has in the years 2000 to 2399.
std::string plainText(std::int64_t microseconds)
{
    if (microseconds == smallest)
        return "-infinity";
    if (microseconds == largest)
        return "+infinity";
    if (microseconds == largest - 1)
        return "not-a-date-time";
    std::int64_t day = microseconds / microsecondsPerDay;
    std::int64_t timeOfDay = microseconds % microsecondsPerDay;
    if (timeOfDay < 0) {
        timeOfDay += microsecondsPerDay;
        --day;
    }
    std::int64_t cycle = (day - julianDayOf2000) / daysIn400Years;
    if ((day - julianDayOf2000) % daysIn400Years < 0)
        --cycle;
    using namespace boost;
    const gregorian::date date =
        gregorian::date(2000, 1, 1) +
        gregorian::days(static_cast<long>(day - julianDayOf2000 - cycle * daysIn400Years));
    const std::string text =
        posix_time::to_simple_string(posix_time::ptime(date, posix_time::microseconds(timeOfDay)));
    const std::int64_t year = date.year() + 400 * cycle;
    std::string digits = std::to_string(year < 0 ? -year : year);
    digits.insert(0, digits.size() < 4 ? 4 - digits.size() : 0, '0');
    return (year < 0 ? "-" : "") + digits + text.substr(text.find('-'));
}

void checkTimestamp(std::uint64_t timestamp)
{
    constexpr std::int64_t start = julianDayOf1400 * microsecondsPerDay;
    const bool fits = timestamp < static_cast<std::uint64_t>(largest - start);
    const std::string expected =
        plainText(fits ? start + static_cast<std::int64_t>(timestamp) : largest);
    check(timestampText(timestamp).toStdString() == expected, "a time stamp has another text");
    TimestampBuffer buffer;
    const std::u16string_view view = writeTimestampText(timestamp, buffer);
    check(std::string(view.begin(), view.end()) == expected,
          "a time stamp has another text without an allocation");
    check(timePointText(static_cast<std::int64_t>(timestamp)).toStdString() ==
              plainText(static_cast<std::int64_t>(timestamp)),
          "a time point has another text");
}

int digitOf(char c)
{
    return c >= '0' && c <= '9' ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

void checkEscaped(const std::string& text)
{
    const std::string escaped = escapedText(text);
    std::string back;
    for (std::size_t i = 0; i < escaped.size(); ++i) {
        const char c = escaped[i];
        check(static_cast<unsigned char>(c) >= 0x20 && c != 0x7F, "a control character is left");
        if (c != '\\') {
            back += c;
        } else if (i + 1 < escaped.size() && escaped[i + 1] == '\\') {
            back += c;
            ++i;
        } else {
            check(i + 3 < escaped.size() && escaped[i + 1] == 'x' && digitOf(escaped[i + 2]) >= 0 &&
                      digitOf(escaped[i + 3]) >= 0,
                  "a backslash that begins nothing");
            back += static_cast<char>(digitOf(escaped[i + 2]) * 16 + digitOf(escaped[i + 3]));
            i += 3;
        }
    }
    check(back == text, "the bytes cannot be had back");
    const QString shown = QString::fromStdString(escaped);
    for (const QChar unit : shown) {
        const ushort code = unit.unicode();
        check(!(code >= 0x80 && code <= 0x9F) && !(code >= 0x2028 && code <= 0x202E) &&
                  !(code >= 0x2066 && code <= 0x2069),
              "a character that does something to a terminal is left");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::FuzzInput input(data, size);
    const std::uint64_t timestamp = input.number(8);
    checkTimestamp(timestamp);
    checkTimestamp(timestamp / 1'000'000 * 1'000'000);
    checkTimestamp(~timestamp);
    checkEscaped(std::string(input.rest()));
    return 0;
}
