#include "logging/TextMatcher.h"

#include <QString>
#include <QStringList>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <map>
#include <random>
#include <string>
#include <vector>

using namespace zuLogging;

namespace {

constexpr Qt::CaseSensitivity caseRules[] = {Qt::CaseSensitive, Qt::CaseInsensitive};

std::u16string_view viewOf(const QString& text)
{
    return {reinterpret_cast<const char16_t*>(text.constData()),
            static_cast<std::size_t>(text.size())};
}

QString qtText(std::u16string_view text)
{
    return QString(reinterpret_cast<const QChar*>(text.data()), static_cast<int>(text.size()));
}

bool found(const QString& text, const QString& wanted, Qt::CaseSensitivity rule)
{
    return TextMatcher(wanted, rule).foundIn(viewOf(text));
}

std::string unitsOf(const QString& text)
{
    std::string result;
    for (const QChar unit : text)
        result += QString::number(unit.unicode(), 16).toStdString() + ' ';
    return result;
}

/// Few characters each, so that what is looked for is often there, and often nearly there.
const std::vector<std::u16string> alphabets{
    u"ab", u"aAbB", u"kK\u212AsS\u017F", u"iI\u0130\u0131", u"\u00DF\u1E9EsS",
    u"\u03A3\u03C3\u03C2\u03B8\u0398\u03D1\u03F4", u"\u01C4\u01C5\u01C6\u0345\u03B9\u0399\u1FBE",
    u"\u0422\u0442\u1C84\u1C85\u00B5\u03BC\u039C", u"0123456789", u"09\uFF10\u0660xX",
    // pairs of Deseret letters, whole and in halves, and halves that belong to nothing
    std::u16string{u'a', 0xD801, 0xDC00, 0xDC28}, std::u16string{u'A', u'a', 0xD801, 0xDC00},
    std::u16string{0xD800, 0xD801, 0xDBFF, 0xDC00, 0xDC28, 0xDFFF},
    std::u16string{u'e', u'E', 0x0301, 0x00E9, 0x00C9, 0xD83D, 0xDE00}, std::u16string(u"\0a", 2)};

class Texts
{
public:
    explicit Texts(unsigned seed)
        : random_(seed)
    {
    }

    std::size_t below(std::size_t bound) { return random_() % bound; }
    std::u16string of(const std::u16string& alphabet, std::size_t length)
    {
        std::u16string text;
        while (text.size() < length)
            text += alphabet[below(alphabet.size())];
        return text;
    }
    /// The same in another case here and there.
    QString recased(std::u16string_view text)
    {
        QString result;
        for (const char16_t unit : text) {
            const QChar given(unit);
            const QChar forms[] = {given, given.toUpper(), given.toLower(), given.toCaseFolded()};
            result += forms[below(4)];
        }
        return result;
    }

private:
    std::mt19937 random_;
};

} // namespace

TEST(TextMatcher, AnswersAreThoseOfQStringForRandomTexts)
{
    Texts texts(1);
    int yes = 0;
    int no = 0;
    for (int round = 0; round < 240'000; ++round) {
        const std::u16string& alphabet = alphabets[texts.below(alphabets.size())];
        const auto rule = caseRules[texts.below(2)];
        const std::u16string text = texts.of(alphabet, texts.below(round % 3 == 0 ? 150 : 12));
        QString wanted = qtText(texts.of(alphabet, texts.below(5)));
        if (round % 4 == 0 && !text.empty())
            wanted = texts.recased(
                std::u16string_view(text).substr(texts.below(text.size()), texts.below(40)));
        const bool expected = qtText(text).contains(wanted, rule);
        ASSERT_EQ(TextMatcher(wanted, rule).foundIn(text), expected)
            << unitsOf(qtText(text)) << " / " << unitsOf(wanted) << " / " << rule;
        ++(expected ? yes : no);
    }
    EXPECT_GT(yes, 50'000);
    EXPECT_GT(no, 50'000);
}

TEST(TextMatcher, AnswersAreThoseOfQStringForLongTextsAndLongNeedles)
{
    Texts texts(2);
    int yes = 0;
    for (int round = 0; round < 6'000; ++round) {
        const std::u16string& alphabet = alphabets[texts.below(alphabets.size())];
        const auto rule = caseRules[texts.below(2)];
        const std::u16string text = texts.of(alphabet, 400 + texts.below(400));
        QString wanted = texts.recased(
            std::u16string_view(text).substr(texts.below(text.size()), texts.below(350)));
        if (round % 3 == 0 && !wanted.isEmpty())
            wanted[static_cast<int>(texts.below(static_cast<std::size_t>(wanted.size())))] =
                QChar(alphabet[texts.below(alphabet.size())]);
        const bool expected = qtText(text).contains(wanted, rule);
        ASSERT_EQ(TextMatcher(wanted, rule).foundIn(text), expected)
            << unitsOf(qtText(text)) << " / " << unitsOf(wanted) << " / " << rule;
        yes += expected ? 1 : 0;
    }
    EXPECT_GT(yes, 500);
}

TEST(TextMatcher, EveryPlaceOfATextIsLookedAt)
{
    for (int length = 1; length <= 140; ++length) {
        for (int place = 0; place < length; ++place) {
            for (int size = 1; size <= 3 && place + size <= length; ++size) {
                QString text(length, QLatin1Char('.'));
                text.replace(place, size, QStringLiteral("xyz").left(size));
                ASSERT_TRUE(found(text, QStringLiteral("XYZ").left(size), Qt::CaseInsensitive))
                    << length << " " << place << " " << size;
                ASSERT_FALSE(found(text, QStringLiteral("xyzz").right(size + 1), Qt::CaseSensitive))
                    << length << " " << place << " " << size;
            }
        }
    }
}

TEST(TextMatcher, NothingBehindTheEndOfATextIsLookedAt)
{
    const std::u16string text = u"................................ready";
    for (std::size_t length = 0; length < text.size(); ++length)
        EXPECT_FALSE(TextMatcher(QStringLiteral("ready"), Qt::CaseSensitive)
                         .foundIn(std::u16string_view(text).substr(0, length)))
            << length;
}

TEST(TextMatcher, EveryCharacterIsFoundInItsOtherForms)
{
    std::map<uint, QString> groups;
    for (uint unit = 0; unit <= 0xFFFF; ++unit)
        groups[QChar::toCaseFolded(unit)] += QChar(static_cast<ushort>(unit));
    for (const auto& [folded, forms] : groups) {
        for (const QChar wanted : forms) {
            for (const QChar form : forms) {
                const QString text = QStringLiteral("a") + form;
                for (const auto rule : caseRules)
                    ASSERT_EQ(found(text, QString(wanted), rule), text.contains(wanted, rule))
                        << folded;
            }
        }
    }
}

TEST(TextMatcher, CharactersThatOnlyLookAlikeAreNotFound)
{
    Texts texts(3);
    for (int round = 0; round < 100'000; ++round) {
        const QString text(QChar(static_cast<ushort>(texts.below(0x10000))));
        const QString wanted(QChar(static_cast<ushort>(texts.below(0x600))));
        ASSERT_EQ(found(text, wanted, Qt::CaseInsensitive),
                  text.contains(wanted, Qt::CaseInsensitive))
            << unitsOf(text) << " / " << unitsOf(wanted);
    }
}

TEST(TextMatcher, AsciiLettersHaveFormsOutsideAscii)
{
    EXPECT_TRUE(found(QStringLiteral("0 \u212A"), QStringLiteral("k"), Qt::CaseInsensitive));
    EXPECT_TRUE(found(QStringLiteral("task"), QStringLiteral("\u017F\u212A"), Qt::CaseInsensitive));
    EXPECT_FALSE(found(QStringLiteral("task"), QStringLiteral("\u017F"), Qt::CaseSensitive));
    EXPECT_FALSE(found(QStringLiteral("\u0130"), QStringLiteral("i"), Qt::CaseInsensitive));
    EXPECT_FALSE(found(QStringLiteral("\u00DF"), QStringLiteral("ss"), Qt::CaseInsensitive));
}

TEST(TextMatcher, AnEmptyTextIsFoundInEveryTextAlsoInAnEmptyOne)
{
    for (const QString& wanted : {QString(), QStringLiteral("")}) {
        for (const auto rule : caseRules) {
            const TextMatcher matcher(wanted, rule);
            EXPECT_TRUE(matcher.isEmpty());
            EXPECT_TRUE(matcher.foundIn(std::u16string_view()));
            EXPECT_TRUE(matcher.foundIn(u"a"));
            EXPECT_TRUE(matcher.foundInParts(u"", {0, 0, 0}));
            EXPECT_TRUE(matcher.foundInDecimal(0));
            EXPECT_TRUE(matcher.canConsistOf(u""));
            EXPECT_TRUE(matcher.foundInPattern(u""));
        }
    }
}

TEST(TextMatcher, ATextLongerThanWhatIsLookedAtIsNotFound)
{
    const TextMatcher matcher(QStringLiteral("aaa"), Qt::CaseInsensitive);
    EXPECT_FALSE(matcher.foundIn(std::u16string_view()));
    EXPECT_FALSE(matcher.foundIn(u"aa"));
    EXPECT_TRUE(matcher.foundIn(u"aaa"));
}

TEST(TextMatcher, PartsAreLookedAtOneByOne)
{
    Texts texts(4);
    int yes = 0;
    int acrossOnly = 0;
    for (int round = 0; round < 120'000; ++round) {
        const std::u16string& alphabet = alphabets[texts.below(alphabets.size())];
        const auto rule = caseRules[texts.below(2)];
        std::u16string joined;
        std::array<std::uint32_t, 3> ends{};
        QStringList parts;
        for (std::size_t part = 0; part < 4; ++part) {
            const std::u16string text = texts.of(alphabet, texts.below(round % 8 == 0 ? 40 : 4));
            parts.append(qtText(text));
            joined += text;
            if (part < 3)
                ends[part] = static_cast<std::uint32_t>(joined.size());
        }
        const QString wanted = qtText(texts.of(alphabet, texts.below(4)));
        const bool expected = std::any_of(parts.begin(), parts.end(), [&](const QString& part) {
            return part.contains(wanted, rule);
        });
        ASSERT_EQ(TextMatcher(wanted, rule).foundInParts(joined, ends), expected)
            << unitsOf(parts.join(QLatin1Char('|'))) << " / " << unitsOf(wanted) << " / " << rule;
        yes += expected ? 1 : 0;
        acrossOnly += !expected && qtText(joined).contains(wanted, rule) ? 1 : 0;
    }
    EXPECT_GT(yes, 20'000);
    EXPECT_GT(acrossOnly, 5'000);
}

TEST(TextMatcher, NumbersAreLookedAtInDecimal)
{
    Texts texts(5);
    std::mt19937_64 random(6);
    int yes = 0;
    for (int round = 0; round < 100'000; ++round) {
        const std::uint64_t number = random() >> texts.below(64);
        const QString digits = QString::number(static_cast<qulonglong>(number));
        QString wanted = qtText(texts.of(u"0123456789", 1 + texts.below(3)));
        if (round % 4 == 0)
            wanted = digits.mid(static_cast<int>(texts.below(20)), 1 + round % 20);
        if (round % 16 == 1)
            wanted += QLatin1Char("ax+- ."[texts.below(6)]);
        const auto rule = caseRules[texts.below(2)];
        ASSERT_EQ(TextMatcher(wanted, rule).foundInDecimal(number), digits.contains(wanted, rule))
            << number << " " << wanted.toStdString();
        yes += digits.contains(wanted, rule) ? 1 : 0;
    }
    EXPECT_GT(yes, 10'000);
    const auto most = std::numeric_limits<std::uint64_t>::max();
    EXPECT_TRUE(TextMatcher(QStringLiteral("18446744073709551615"), Qt::CaseSensitive)
                    .foundInDecimal(most));
    EXPECT_FALSE(TextMatcher(QStringLiteral("184467440737095516150"), Qt::CaseSensitive)
                     .foundInDecimal(most));
    EXPECT_TRUE(TextMatcher(QStringLiteral("0"), Qt::CaseSensitive).foundInDecimal(0));
    EXPECT_FALSE(TextMatcher(QStringLiteral("00"), Qt::CaseSensitive).foundInDecimal(0));
    EXPECT_FALSE(TextMatcher(QStringLiteral("\uFF11"), Qt::CaseInsensitive).foundInDecimal(1));
}

TEST(TextMatcher, AnAlphabetTellsWhatCannotBeFoundInItsTexts)
{
    const auto can = [](const QString& text, Qt::CaseSensitivity rule, std::u16string_view of) {
        return TextMatcher(text, rule).canConsistOf(of);
    };
    EXPECT_TRUE(can(QStringLiteral("0X1F"), Qt::CaseInsensitive, u"0123456789abcdefx"));
    EXPECT_FALSE(can(QStringLiteral("0X1F"), Qt::CaseSensitive, u"0123456789abcdefx"));
    EXPECT_TRUE(can(QStringLiteral("\u212A"), Qt::CaseInsensitive, u"k"));
    EXPECT_TRUE(can(QStringLiteral("k"), Qt::CaseInsensitive, u"K"));
    EXPECT_FALSE(can(QStringLiteral("k"), Qt::CaseInsensitive, u"abc"));
}

TEST(TextMatcher, APatternHasDigitsInItsPlaces)
{
    const auto fits = [](const char* text, std::u16string_view pattern) {
        return TextMatcher(QString::fromUtf8(text), Qt::CaseInsensitive).foundInPattern(pattern);
    };
    EXPECT_TRUE(fits("12-jan", u"dd-Jan"));
    EXPECT_TRUE(fits("9-J", u"dd-Jan"));
    EXPECT_FALSE(fits("123-J", u"dd-Jan"));
    EXPECT_FALSE(fits("d-Jan", u"dd-Jan"));
    EXPECT_FALSE(TextMatcher(QStringLiteral("1-jan"), Qt::CaseSensitive).foundInPattern(u"dd-Jan"));
}
