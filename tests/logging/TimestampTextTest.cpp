#include "logging/TimestampText.h"
#include "tests/support/TestEnvironment.h"

#include <QLocale>
#include <QRegularExpression>

#include <boost/date_time/posix_time/posix_time.hpp>

#include <gtest/gtest.h>

#include <chrono>
#include <clocale>
#include <limits>
#include <random>
#include <string>

using namespace zuLogging;

namespace {

constexpr std::uint64_t second = 1'000'000;
constexpr std::uint64_t day = 86'400 * second;
constexpr std::int64_t julianDayOf1400 = 2'232'400;
constexpr std::int64_t start = julianDayOf1400 * static_cast<std::int64_t>(day);
constexpr std::int64_t largest = std::numeric_limits<std::int64_t>::max();

std::string textByBoost(std::uint64_t timestamp)
{
    using namespace boost;
    const posix_time::ptime time(gregorian::date(1400, 1, 1),
                                 posix_time::microseconds(static_cast<std::int64_t>(timestamp)));
    return posix_time::to_simple_string(time);
}

std::uint64_t timestampOf(int year, int month, int dayOfMonth)
{
    using boost::gregorian::date;
    const auto length = date(static_cast<unsigned short>(year), static_cast<unsigned short>(month),
                             static_cast<unsigned short>(dayOfMonth)) -
                        date(1400, 1, 1);
    return static_cast<std::uint64_t>(length.days()) * day;
}

} // namespace

TEST(TimestampText, ATimeStampWithMicrosecondsHasSixDigitsOfThem)
{
    const std::uint64_t timestamp =
        timestampOf(2020, 3, 4) + ((17 * 60 + 5) * 60 + 9) * second + 120'034;
    EXPECT_EQ(timestampText(timestamp), QStringLiteral("2020-Mar-04 17:05:09.120034"));
    EXPECT_EQ(timestampText(timestampOf(2020, 3, 4) + 1),
              QStringLiteral("2020-Mar-04 00:00:00.000001"));
}

TEST(TimestampText, ATimeStampWhoseMicrosecondPartIsZeroRendersWithoutTheFractionalPart)
{
    const std::uint64_t timestamp = timestampOf(2020, 3, 4) + ((17 * 60 + 5) * 60 + 9) * second;
    EXPECT_EQ(timestampText(timestamp), QStringLiteral("2020-Mar-04 17:05:09"));
}

TEST(TimestampText, ZeroIsTheFirstMomentOf1400)
{
    EXPECT_EQ(timestampText(0), QStringLiteral("1400-Jan-01 00:00:00"));
}

TEST(TimestampText, TheUnixEpochIsWhereTheHeaderSaysIt)
{
    EXPECT_EQ(timestampText(unixEpochTimestamp), QStringLiteral("1970-Jan-01 00:00:00"));
}

TEST(TimestampText, TheCurrentTimeStampIsThisMoment)
{
    using namespace std::chrono;
    const auto now = [] {
        return unixEpochTimestamp +
               static_cast<std::uint64_t>(
                   duration_cast<microseconds>(system_clock::now().time_since_epoch()).count());
    };
    const std::uint64_t before = now();
    const std::uint64_t timestamp = currentTimestamp();
    EXPECT_GE(timestamp, before);
    EXPECT_LE(timestamp, now());
}

TEST(TimestampText, DaysAllOverTheYears1400To9999AreThoseOfTheDateLibrary)
{
    const std::uint64_t end = timestampOf(9999, 12, 31);
    std::uint64_t checked = 0;
    // Every 31st day, which drifts through the months, and every single one of 30 years.
    const auto check = [&](std::uint64_t timestamp) {
        ASSERT_EQ(timestampText(timestamp).toStdString(), textByBoost(timestamp));
        ++checked;
    };
    for (std::uint64_t timestamp = 0; timestamp <= end; timestamp += 31 * day)
        check(timestamp);
    for (std::uint64_t timestamp = timestampOf(1995, 1, 1); timestamp < timestampOf(2025, 1, 1);
         timestamp += day)
        check(timestamp);
    EXPECT_GT(checked, 100'000U);
}

TEST(TimestampText, ManyRandomTimeStampsAreThoseOfTheDateLibrary)
{
    std::mt19937_64 random(20'200'304);
    std::uniform_int_distribution<std::uint64_t> any(0, timestampOf(9999, 12, 31) + day - 1);
    for (int i = 0; i < 50'000; ++i) {
        const std::uint64_t timestamp = any(random);
        ASSERT_EQ(timestampText(timestamp).toStdString(), textByBoost(timestamp)) << timestamp;
        const std::uint64_t wholeSecond = timestamp - timestamp % second;
        ASSERT_EQ(timestampText(wholeSecond).toStdString(), textByBoost(wholeSecond))
            << wholeSecond;
    }
}

TEST(TimestampText, TheEdgesOfMonthsYearsAndCenturiesAreThoseOfTheDateLibrary)
{
    for (const int year : {1400, 1401, 1403, 1404, 1499, 1500, 1501, 1599, 1600, 1601, 1700, 1899,
                           1900, 1970, 1999, 2000, 2001, 2004, 2038, 2100, 2400, 9996, 9999}) {
        for (int month = 1; month <= 12; ++month) {
            const std::uint64_t first = timestampOf(year, month, 1);
            for (const std::uint64_t timestamp : {first, first + 1, first + day - 1, first + day}) {
                EXPECT_EQ(timestampText(timestamp).toStdString(), textByBoost(timestamp));
            }
            if (first != 0) {
                EXPECT_EQ(timestampText(first - 1).toStdString(), textByBoost(first - 1));
            }
        }
    }
    const std::uint64_t last = timestampOf(9999, 12, 31) + day - 1;
    EXPECT_EQ(timestampText(last), QStringLiteral("9999-Dec-31 23:59:59.999999"));
}

TEST(TimestampText, YearsAbove9999AreWrittenInFull)
{
    const std::uint64_t end = timestampOf(9999, 12, 31) + day;
    EXPECT_EQ(timestampText(end), QStringLiteral("10000-Jan-01 00:00:00"));
    EXPECT_EQ(timestampText(end + 366 * day - 1), QStringLiteral("10000-Dec-31 23:59:59.999999"));
    // 400 years have 146,097 days: the same date 225 times 400 years later.
    EXPECT_EQ(timestampText(end + 225 * 146'097 * day), QStringLiteral("100000-Jan-01 00:00:00"));
}

TEST(TimestampText, ASumThatReachesTheLargestTimePointIsInfinity)
{
    const auto room = static_cast<std::uint64_t>(largest - start);
    EXPECT_EQ(timestampText(room), QStringLiteral("+infinity"));
    EXPECT_EQ(timestampText(room + 1), QStringLiteral("+infinity"));
    EXPECT_EQ(timestampText(std::uint64_t{1} << 63), QStringLiteral("+infinity"));
    EXPECT_EQ(timestampText(std::numeric_limits<std::uint64_t>::max()),
              QStringLiteral("+infinity"));
    EXPECT_EQ(textByBoost(room), "+infinity");
}

TEST(TimestampText, ASumOneBelowTheLargestTimePointIsNotADateTime)
{
    const auto room = static_cast<std::uint64_t>(largest - start);
    EXPECT_EQ(timestampText(room - 1), QStringLiteral("not-a-date-time"));
    EXPECT_TRUE(timestampText(room - 2).startsWith(QStringLiteral("28")))
        << timestampText(room - 2).toStdString();
}

TEST(TimestampText, TheEndsOfTheTimePointRangeAreTheSpecialValues)
{
    EXPECT_EQ(timePointText(std::numeric_limits<std::int64_t>::min()), QStringLiteral("-infinity"));
    EXPECT_EQ(timePointText(largest), QStringLiteral("+infinity"));
    EXPECT_EQ(timePointText(largest - 1), QStringLiteral("not-a-date-time"));
}

TEST(TimestampText, TimePointsBeforeTheYearZeroHaveANegativeYear)
{
    EXPECT_EQ(timePointText(0), QStringLiteral("-4713-Nov-24 00:00:00"));
    EXPECT_EQ(timePointText(-1), QStringLiteral("-4713-Nov-23 23:59:59.999999"));
    EXPECT_EQ(timePointText(1'721'120 * static_cast<std::int64_t>(day)),
              QStringLiteral("0000-Mar-01 00:00:00"));
    EXPECT_EQ(timePointText(1'721'120 * static_cast<std::int64_t>(day) - 1),
              QStringLiteral("0000-Feb-29 23:59:59.999999"));
}

TEST(TimestampText, EveryTimePointHasAWellFormedText)
{
    const QRegularExpression shape(
        QStringLiteral("\\A-?\\d{4,6}-(Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec)-\\d\\d "
                       "\\d\\d:\\d\\d:\\d\\d(\\.\\d{6})?\\z"));
    std::mt19937_64 random(7);
    for (int i = 0; i < 20'000; ++i) {
        const auto point = static_cast<std::int64_t>(random());
        const QString text = timePointText(point);
        ASSERT_TRUE(shape.match(text).hasMatch()) << point << ' ' << text.toStdString();
    }
    for (const std::int64_t point : {std::numeric_limits<std::int64_t>::min() + 1, largest - 2})
        EXPECT_TRUE(shape.match(timePointText(point)).hasMatch());
}

TEST(TimestampText, TheMonthsAreEnglishInEveryLocale)
{
    const std::string old = std::setlocale(LC_ALL, nullptr);
    const QLocale oldDefault;
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    for (const char* name : {"de_DE.UTF-8", "fr_FR.UTF-8", "C.UTF-8"})
        std::setlocale(LC_ALL, name);
    EXPECT_EQ(timestampText(timestampOf(2021, 5, 6)), QStringLiteral("2021-May-06 00:00:00"));
    EXPECT_EQ(timestampText(timestampOf(2021, 12, 6)), QStringLiteral("2021-Dec-06 00:00:00"));
    QLocale::setDefault(oldDefault);
    std::setlocale(LC_ALL, old.c_str());
}
