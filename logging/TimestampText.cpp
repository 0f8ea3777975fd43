#include "logging/TimestampText.h"

#include <chrono>
#include <limits>

namespace zuLogging {

namespace {

constexpr std::int64_t microsecondsPerSecond = 1'000'000;
constexpr std::int64_t microsecondsPerDay = 86'400 * microsecondsPerSecond;

// Days on the Julian day scale.
constexpr std::int64_t firstDay = 2'232'400;    ///< 1400-01-01
constexpr std::int64_t yearZeroDay = 1'721'120; ///< 0000-03-01; years begin in March below

constexpr std::int64_t negativeInfinity = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t positiveInfinity = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t notADateTime = positiveInfinity - 1;

struct CivilDate
{
    std::int64_t year;
    int month; ///< 0 = January
    int day;
};

/// The Gregorian date of a day, by taking off whole 400, 100, 4 and 1 years. Years begin in March
/// here, so that the leap day is the last one and the lengths of the months before it repeat.
CivilDate civilDate(std::int64_t julianDay)
{
    constexpr std::int64_t daysIn400Years = 146'097;
    constexpr int daysInCentury = 36'524;
    constexpr int daysIn4Years = 1'461;
    constexpr int daysInYear = 365;

    const std::int64_t day = julianDay - yearZeroDay;
    std::int64_t cycle = day / daysIn400Years;
    if (day % daysIn400Years < 0)
        --cycle;
    int rest = static_cast<int>(day - cycle * daysIn400Years);

    // The last day of the last century and of the last year is a leap day of its own.
    const int century = rest / daysInCentury > 3 ? 3 : rest / daysInCentury;
    rest -= century * daysInCentury;
    const int fourYears = rest / daysIn4Years;
    rest -= fourYears * daysIn4Years;
    const int year = rest / daysInYear > 3 ? 3 : rest / daysInYear;
    rest -= year * daysInYear;

    // Five months from March, and from August, have 153 days.
    const int marchMonth = (5 * rest + 2) / 153;
    const int dayOfMonth = rest - (153 * marchMonth + 2) / 5 + 1;
    const bool nextYear = marchMonth >= 10;
    return {cycle * 400 + century * 100 + fourYears * 4 + year + (nextYear ? 1 : 0),
            nextYear ? marchMonth - 10 : marchMonth + 2, dayOfMonth};
}

/// Writes `value` with `digits` digits and returns the place behind them.
char16_t* writeNumber(char16_t* out, std::uint32_t value, int digits)
{
    for (int i = digits - 1; i >= 0; --i) {
        out[i] = static_cast<char16_t>(u'0' + value % 10);
        value /= 10;
    }
    return out + digits;
}

/// What two digits cost, without a loop.
char16_t* writeTwo(char16_t* out, std::uint32_t value)
{
    out[0] = static_cast<char16_t>(u'0' + value / 10);
    out[1] = static_cast<char16_t>(u'0' + value % 10);
    return out + 2;
}

constexpr char16_t monthNames[] = u"JanFebMarAprMayJunJulAugSepOctNovDec";

std::u16string_view copyText(std::u16string_view text, TimestampBuffer& buffer)
{
    text.copy(buffer.data(), text.size());
    return {buffer.data(), text.size()};
}

std::u16string_view writeTimePoint(std::int64_t microseconds, TimestampBuffer& buffer)
{
    if (microseconds == negativeInfinity)
        return copyText(u"-infinity", buffer);
    if (microseconds == positiveInfinity)
        return copyText(u"+infinity", buffer);
    if (microseconds == notADateTime)
        return copyText(u"not-a-date-time", buffer);

    std::int64_t day = microseconds / microsecondsPerDay;
    std::int64_t timeOfDay = microseconds % microsecondsPerDay;
    if (timeOfDay < 0) {
        timeOfDay += microsecondsPerDay;
        --day;
    }
    const CivilDate date = civilDate(day);
    const auto fraction = static_cast<std::uint32_t>(timeOfDay % microsecondsPerSecond);
    const auto seconds = static_cast<std::uint32_t>(timeOfDay / microsecondsPerSecond);

    const bool negative = date.year < 0;
    const auto year = static_cast<std::uint32_t>(negative ? -date.year : date.year);
    int yearDigits = 4;
    for (std::uint32_t rest = year / 10'000; rest != 0; rest /= 10)
        ++yearDigits;

    char16_t* out = buffer.data();
    if (negative)
        *out++ = u'-';
    out = writeNumber(out, year, yearDigits);
    *out++ = u'-';
    const char16_t* month = monthNames + 3 * date.month;
    for (int i = 0; i < 3; ++i)
        *out++ = month[i];
    *out++ = u'-';
    out = writeTwo(out, static_cast<std::uint32_t>(date.day));
    *out++ = u' ';
    out = writeTwo(out, seconds / 3600);
    *out++ = u':';
    out = writeTwo(out, seconds / 60 % 60);
    *out++ = u':';
    out = writeTwo(out, seconds % 60);
    if (fraction != 0) {
        *out++ = u'.';
        out = writeNumber(out, fraction, 6);
    }
    return {buffer.data(), static_cast<std::size_t>(out - buffer.data())};
}

QString toText(std::u16string_view text)
{
    return QString(reinterpret_cast<const QChar*>(text.data()), static_cast<int>(text.size()));
}

} // namespace

std::uint64_t currentTimestamp()
{
    const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    const auto microseconds = std::chrono::duration_cast<std::chrono::microseconds>(sinceEpoch);
    return unixEpochTimestamp + static_cast<std::uint64_t>(microseconds.count());
}

std::u16string_view writeTimestampText(std::uint64_t timestamp, TimestampBuffer& buffer) noexcept
{
    constexpr std::int64_t start = firstDay * microsecondsPerDay;
    constexpr auto room = static_cast<std::uint64_t>(positiveInfinity - start);
    return writeTimePoint(timestamp >= room ? positiveInfinity
                                            : start + static_cast<std::int64_t>(timestamp),
                          buffer);
}

QString timestampText(std::uint64_t timestamp)
{
    TimestampBuffer buffer;
    return toText(writeTimestampText(timestamp, buffer));
}

QString timePointText(std::int64_t microseconds)
{
    TimestampBuffer buffer;
    return toText(writeTimePoint(microseconds, buffer));
}

} // namespace zuLogging
