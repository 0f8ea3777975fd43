#include "tools/CommandOptions.h"

#include "logging/LogLevel.h"
#include "logging/TimestampText.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <optional>
#include <system_error>

namespace zuLogging {

namespace po = boost::program_options;

namespace {

constexpr int firstYear = 1400; ///< of the time stamps
constexpr std::uint64_t microsecondsPerSecond = 1'000'000;

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool isLeapYear(std::uint64_t year)
{
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

std::uint64_t daysInMonth(std::uint64_t year, std::uint64_t month)
{
    constexpr std::uint64_t days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return days[month - 1] + (month == 2 && isLeapYear(year) ? 1 : 0);
}

/// Leap years before `year`.
std::uint64_t leapYearsBefore(std::uint64_t year)
{
    const std::uint64_t last = year - 1;
    return last / 4 - last / 100 + last / 400;
}

/// Reads a date and time from its first character to its last.
class TimeReader
{
public:
    explicit TimeReader(std::string_view text)
        : rest_(text)
    {
    }

    std::optional<std::uint64_t> timestamp()
    {
        constexpr std::size_t longestYear = 6;
        std::size_t yearDigits = 0;
        while (yearDigits < rest_.size() && isDigit(rest_[yearDigits]))
            ++yearDigits;
        const std::uint64_t year = number(std::clamp<std::size_t>(yearDigits, 4, longestYear));
        accept('-');
        const bool hasMonthName = !rest_.empty() && !isDigit(rest_.front());
        const std::uint64_t month = hasMonthName ? monthByName() : number(2);
        accept('-');
        const std::uint64_t day = number(2);
        // Our own form has neither the letters nor a short fraction; the other one no longer year.
        if (hasMonthName || rest_.substr(0, 1) != "T")
            accept(' ');
        else
            accept('T');
        const std::uint64_t hour = number(2);
        accept(':');
        const std::uint64_t minute = number(2);
        accept(':');
        const std::uint64_t second = number(2);
        std::uint64_t fraction = 0;
        if (rest_.substr(0, 1) == ".") {
            accept('.');
            fraction = fractionOf(hasMonthName);
        }
        if (!hasMonthName && rest_ == "Z")
            accept('Z');
        if (isWrong_ || !rest_.empty() || (!hasMonthName && yearDigits != 4) || year < firstYear ||
            month < 1 || month > 12 || day < 1 || day > daysInMonth(year, month) || hour > 23 ||
            minute > 59 || second > 59)
            return std::nullopt;

        std::uint64_t days =
            (year - firstYear) * 365 + leapYearsBefore(year) - leapYearsBefore(firstYear) + day - 1;
        for (std::uint64_t m = 1; m < month; ++m)
            days += daysInMonth(year, m);
        return ((days * 24 + hour) * 60 + minute) * 60 * microsecondsPerSecond +
               second * microsecondsPerSecond + fraction;
    }

private:
    void accept(char expected)
    {
        if (rest_.substr(0, 1) != std::string_view(&expected, 1))
            isWrong_ = true;
        else
            rest_.remove_prefix(1);
    }

    std::uint64_t number(std::size_t digits)
    {
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < digits; ++i) {
            if (rest_.empty() || !isDigit(rest_.front())) {
                isWrong_ = true;
                return 0;
            }
            value = value * 10 + static_cast<std::uint64_t>(rest_.front() - '0');
            rest_.remove_prefix(1);
        }
        return value;
    }

    std::uint64_t monthByName()
    {
        constexpr std::string_view names = "JanFebMarAprMayJunJulAugSepOctNovDec";
        for (std::size_t month = 0; month < 12; ++month) {
            if (rest_.substr(0, 3) == names.substr(3 * month, 3)) {
                rest_.remove_prefix(3);
                return month + 1;
            }
        }
        isWrong_ = true;
        return 0;
    }

    /// In microseconds.
    std::uint64_t fractionOf(bool isWhole)
    {
        constexpr std::size_t allDigits = 6;
        std::size_t digits = 0;
        while (digits < rest_.size() && isDigit(rest_[digits]))
            ++digits;
        isWrong_ = isWrong_ || digits < 1 || digits > allDigits || (isWhole && digits != allDigits);
        std::uint64_t value = number(std::min(digits, allDigits));
        for (; digits < allDigits; ++digits)
            value *= 10;
        return value;
    }

    std::string_view rest_;
    bool isWrong_ = false;
};

std::optional<std::uint64_t> timestampSince1970(std::string_view text)
{
    std::uint64_t number = 0;
    const char* end = text.data() + text.size();
    const auto [stop, failure] = std::from_chars(text.data(), end, number);
    constexpr std::uint64_t most = std::numeric_limits<std::uint64_t>::max() - unixEpochTimestamp;
    if (failure != std::errc() || stop != end || number > most)
        return std::nullopt;
    return unixEpochTimestamp + number;
}

} // namespace

po::variables_map parseCommandLine(const std::vector<std::string>& words,
                                   const po::options_description& options,
                                   const po::positional_options_description& positional)
{
    po::variables_map values;
    try {
        const int style = po::command_line_style::unix_style &
                          ~static_cast<int>(po::command_line_style::allow_guessing);
        po::store(po::command_line_parser(words)
                      .options(options)
                      .positional(positional)
                      .style(style)
                      .run(),
                  values);
        po::notify(values);
    } catch (const po::error& error) {
        throw UsageError(error.what());
    }
    return values;
}

std::uint64_t parseNumber(std::string_view option, std::string_view text, std::uint64_t lowest,
                          std::uint64_t highest)
{
    std::uint64_t number = 0;
    const char* end = text.data() + text.size();
    const auto [stop, failure] = std::from_chars(text.data(), end, number);
    if (failure != std::errc() || stop != end || number < lowest || number > highest)
        throw UsageError("the argument '" + std::string(text) + "' of option '" +
                         std::string(option) + "' is not a number from " + std::to_string(lowest) +
                         " to " + std::to_string(highest));
    return number;
}

std::uint64_t parseTime(std::string_view option, std::string_view text)
{
    std::optional<std::uint64_t> timestamp = timestampSince1970(text);
    if (!timestamp)
        timestamp = TimeReader(text).timestamp();
    // Far away there are time stamps that have no date.
    if (!timestamp || !timestampText(*timestamp).at(0).isDigit())
        throw UsageError("the argument '" + std::string(text) + "' of option '" +
                         std::string(option) +
                         "' is not a time (UTC): microseconds since 1970, or as "
                         "2026-11-21T08:52:11.123456Z or 2026-Nov-21 08:52:11.123456");
    return *timestamp;
}

std::uint64_t parseLogLevel(std::string_view name)
{
    std::string known;
    for (const LogLevel level : allLogLevels) {
        const auto code = static_cast<std::uint64_t>(level);
        const std::u16string_view levelName = logLevelName(code);
        if (std::equal(levelName.begin(), levelName.end(), name.begin(), name.end(),
                       [](char16_t a, char b) {
                           return a == static_cast<char16_t>(static_cast<unsigned char>(b));
                       }))
            return code;
        known += known.empty() ? "" : ", ";
        known.append(levelName.begin(), levelName.end());
    }
    throw UsageError("there is no level '" + std::string(name) + "' (there are " + known + ")");
}

} // namespace zuLogging
