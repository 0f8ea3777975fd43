#include "logging/LogMessageMatcher.h"

#include "logging/TimestampText.h"

#include <QString>

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <random>
#include <string_view>

using namespace zuLogging;

namespace {

constexpr Qt::CaseSensitivity caseRules[] = {Qt::CaseSensitive, Qt::CaseInsensitive};

LogMessage messageAt(std::uint64_t timestamp)
{
    const std::u16string_view none;
    return {1, 2, 3, timestamp, 8, none, none, none, none, 5, 6};
}

/// Lower and upper case here and there.
QString recased(QString text, std::mt19937_64& random)
{
    for (QChar& unit : text) {
        const auto choice = random() % 6;
        unit = choice == 0 ? unit.toUpper() : choice == 1 ? unit.toLower() : unit;
    }
    return text;
}

} // namespace

TEST(LogMessageMatcher, TimeStampsAreSearchedAsTheirTextIs)
{
    std::mt19937_64 random(1);
    const QString wholes[] = {QStringLiteral("not-a-date-time"), QStringLiteral("+infinity"),
                              QStringLiteral("01:02:03.000400"), QStringLiteral("nofJanFeb-Mar"),
                              QStringLiteral("1 1:2-3.4")};
    int yes = 0;
    for (int round = 0; round < 60'000; ++round) {
        // All magnitudes, the far end, where years have six digits, and whole seconds.
        std::uint64_t timestamp = random() >> random() % 64;
        if (round % 8 == 0)
            timestamp = timestamp / 1'000'000 * 1'000'000;
        if (round % 8 == 1)
            timestamp = 9'030'400'000'000'000'000ULL + random() % 90'000'000'000'000ULL;
        if (round % 64 == 2)
            timestamp = 9'030'492'676'854'775'804ULL + random() % 4; // up to the end and past it
        LogMessage message = messageAt(timestamp);
        message.renderTimestamp();
        const QString text = message.timestampText();
        const QString whole = round % 5 == 0 ? wholes[random() % 5] : text;
        const QString wanted =
            recased(whole.mid(static_cast<int>(random() % static_cast<unsigned>(whole.size())),
                              static_cast<int>(random() % 12)),
                    random);
        for (const auto rule : caseRules) {
            ASSERT_EQ(LogMessageMatcher(wanted, rule).foundInTimestampText(message),
                      text.contains(wanted, rule))
                << text.toStdString() << " / " << wanted.toStdString();
            yes += text.contains(wanted, rule) ? 1 : 0;
        }
    }
    EXPECT_GT(yes, 40'000);
}

TEST(LogMessageMatcher, EveryPartOfATimeStampIsFound)
{
    for (const std::uint64_t timestamp :
         {std::uint64_t{0}, unixEpochTimestamp + 123'456, std::uint64_t{9'000'000'000'000'000'000},
          std::numeric_limits<std::uint64_t>::max()}) {
        for (std::uint64_t month = 0; month < 12; ++month) {
            LogMessage message = messageAt(timestamp - month * 30 * 86'400 * 1'000'000);
            message.renderTimestamp();
            const QString text = message.timestampText();
            for (int begin = 0; begin < text.size(); ++begin) {
                for (int length = 0; begin + length <= text.size(); ++length)
                    ASSERT_TRUE(LogMessageMatcher(text.mid(begin, length), Qt::CaseSensitive)
                                    .foundInTimestampText(message))
                        << text.toStdString() << " " << begin << " " << length;
            }
        }
    }
}

TEST(LogMessageMatcher, ATimeStampThatIsNotRenderedHoldsTheEmptyTextOnly)
{
    const LogMessage message = messageAt(0);
    EXPECT_FALSE(
        LogMessageMatcher(QStringLiteral("1"), Qt::CaseInsensitive).foundInTimestampText(message));
    EXPECT_TRUE(LogMessageMatcher(QString(), Qt::CaseInsensitive).foundInTimestampText(message));
}

TEST(LogMessageMatcher, LevelsAreSearchedAsTheirNamesAndCodesAre)
{
    std::mt19937_64 random(2);
    const QString wholes[] = {QStringLiteral("none"),  QStringLiteral("fatal"),
                              QStringLiteral("err"),   QStringLiteral("warn"),
                              QStringLiteral("info"),  QStringLiteral("trace"),
                              QStringLiteral("debug"), QStringLiteral("0x08"),
                              QStringLiteral("0x123"), QStringLiteral("0xfedcba9876543210"),
                              QStringLiteral("x20 "),  QStringLiteral("g\u017F\u212A\uFF10")};
    int names = 0;
    int codes = 0;
    for (int round = 0; round < 100'000; ++round) {
        const std::uint64_t level =
            round % 4 == 0 ? random() >> random() % 64 : random() % (round % 4 == 1 ? 70 : 5000);
        const QString& whole = wholes[random() % 12];
        const QString wanted =
            recased(whole.mid(static_cast<int>(random() % static_cast<unsigned>(whole.size())),
                              static_cast<int>(random() % 6)),
                    random);
        for (const auto rule : caseRules) {
            const LogMessageMatcher matcher(wanted, rule);
            const bool inName = logLevelNameText(level).contains(wanted, rule);
            const bool inCode = logLevelCodeText(level).contains(wanted, rule);
            ASSERT_EQ(matcher.foundInLevelName(level), inName)
                << level << " " << wanted.toStdString();
            ASSERT_EQ(matcher.foundInLevelCode(level), inCode)
                << level << " " << wanted.toStdString();
            names += inName && !wanted.isEmpty() ? 1 : 0;
            codes += inCode && !wanted.isEmpty() ? 1 : 0;
        }
    }
    EXPECT_GT(names, 500);
    EXPECT_GT(codes, 5'000);
}

TEST(LogMessageMatcher, AWholeLevelCodeIsFoundWhateverItsLength)
{
    for (int bits = 0; bits < 64; ++bits) {
        const std::uint64_t level = (std::uint64_t{1} << bits) | 1U;
        const QString code = logLevelCodeText(level);
        EXPECT_TRUE(LogMessageMatcher(code, Qt::CaseSensitive).foundInLevelCode(level)) << level;
        EXPECT_TRUE(LogMessageMatcher(code.toUpper(), Qt::CaseInsensitive).foundInLevelCode(level));
        EXPECT_FALSE(
            LogMessageMatcher(code + QLatin1Char('0'), Qt::CaseSensitive).foundInLevelCode(level));
    }
}

TEST(LogMessageMatcher, SecondsHoldDigitsAPointAMinusAndTwoWords)
{
    const auto can = [](const char* text, Qt::CaseSensitivity rule) {
        return LogMessageMatcher(QString::fromUtf8(text), rule)
            .canBeInSeconds(u"*REF*", u"-Invalid-");
    };
    for (const char* text : {"", "1", "-0.25", "*REF*", "EF", "-Inv", "-"})
        EXPECT_TRUE(can(text, Qt::CaseSensitive)) << text;
    for (const char* text : {"e", "*ref", "-inv", "1e", "x", "REFI"})
        EXPECT_FALSE(can(text, Qt::CaseSensitive)) << text;
    EXPECT_TRUE(can("*ref", Qt::CaseInsensitive));
    EXPECT_TRUE(can("LID", Qt::CaseInsensitive));
}
