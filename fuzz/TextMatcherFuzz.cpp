// A prepared text search against Qt's own, for any UTF-16 units.

#include "fuzz/FuzzCheck.h"
#include "fuzz/FuzzInput.h"
#include "logging/LogMessage.h"
#include "logging/TextMatcher.h"

#include <QString>

#include <algorithm>
#include <array>
#include <string>

using namespace zuLogging;
using fuzz::check;

namespace {

/// A part of `text`, perhaps in other case forms: something that may well be found.
QString partOf(const QString& text, fuzz::FuzzInput& input)
{
    const int begin = input.byte();
    QString part = text.mid(begin, input.byte());
    for (QChar& unit : part) {
        switch (input.byte() % 4) {
        case 1:
            unit = unit.toUpper();
            break;
        case 2:
            unit = unit.toLower();
            break;
        case 3:
            unit = unit.toCaseFolded();
            break;
        default:
            break;
        }
    }
    return part;
}

/// All texts like `pattern` hold `needle` somewhere: some text like it does. Tried out.
bool isInPattern(const QString& needle, const QString& pattern, Qt::CaseSensitivity rule)
{
    for (int begin = 0; begin + needle.size() <= pattern.size(); ++begin) {
        QString text = pattern;
        for (int i = 0; i < needle.size(); ++i)
            if (pattern.at(begin + i) == QLatin1Char('d') && needle.at(i) >= QLatin1Char('0') &&
                needle.at(i) <= QLatin1Char('9'))
                text[begin + i] = needle.at(i);
        // Places of the pattern that were left as they are must not pass for the letter.
        bool allDigits = true;
        for (int i = 0; i < needle.size(); ++i)
            if (pattern.at(begin + i) == QLatin1Char('d'))
                allDigits = allDigits && text.at(begin + i) != QLatin1Char('d');
        if (allDigits && text.mid(begin, needle.size()).contains(needle, rule))
            return true;
    }
    return needle.isEmpty();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::FuzzInput input(data, size);
    const std::uint8_t mode = input.byte();
    const std::u16string units = input.text();
    const QString text = toQString(units);
    const QString needle = (mode & 1) != 0 ? partOf(text, input) : toQString(input.text());
    const std::uint64_t number = input.number(8) >> (mode >> 2);

    std::array<std::uint32_t, 3> ends{};
    for (std::uint32_t& end : ends)
        end = static_cast<std::uint32_t>(input.byte() % (units.size() + 1));
    std::sort(ends.begin(), ends.end());

    for (const auto rule : {Qt::CaseSensitive, Qt::CaseInsensitive}) {
        const TextMatcher matcher(needle, rule);
        const bool isFound = text.contains(needle, rule);
        check(matcher.isEmpty() == needle.isEmpty(), "a text is empty for one way only");
        check(matcher.foundIn(units) == isFound, "a text is found by one way only");

        const auto part = [&](std::uint32_t begin, std::uint32_t end) {
            return text.mid(static_cast<int>(begin), static_cast<int>(end - begin))
                .contains(needle, rule);
        };
        const auto whole = static_cast<std::uint32_t>(units.size());
        const bool inParts = part(0, ends[0]) || part(ends[0], ends[1]) || part(ends[1], ends[2]) ||
                             part(ends[2], whole);
        check(matcher.foundInParts(units, ends) == inParts, "parts hold a text for one way only");
        check(matcher.foundInDecimal(number) == QString::number(number).contains(needle, rule),
              "a number holds a text for one way only");

        check(!isFound || matcher.canConsistOf(units), "what is found could not be found");
        const QString pattern = QStringLiteral("dd-Jan-dd: d.d");
        check(matcher.foundInPattern(u"dd-Jan-dd: d.d") == isInPattern(needle, pattern, rule),
              "a pattern holds a text for one way only");
    }
    return 0;
}
