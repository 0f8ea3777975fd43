#include "logging/TextMatcher.h"

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

namespace zuLogging {

namespace {

constexpr std::size_t notFound = std::u16string_view::npos;

/// Places that one step looks at: a loop of a fixed length over 16-bit units, for the compiler to
/// turn into a few instructions on whole registers.
constexpr std::size_t stepLength = 32;

constexpr std::u16string_view decimalDigits = u"0123456789";

char16_t folded(char16_t unit)
{
    if (unit < 0x80)
        return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit | 0x20) : unit;
    return static_cast<char16_t>(QChar::toCaseFolded(static_cast<uint>(unit)));
}

/// Pairs of a folded character and one that folds to it without being it, in that order.
const std::vector<std::pair<char16_t, char16_t>>& otherForms()
{
    static const std::vector<std::pair<char16_t, char16_t>> pairs = [] {
        std::vector<std::pair<char16_t, char16_t>> made;
        for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
            const auto form = static_cast<char16_t>(unit);
            if (folded(form) != form)
                made.emplace_back(folded(form), form);
        }
        std::sort(made.begin(), made.end());
        return made;
    }();
    return pairs;
}

bool isSurrogate(char16_t unit)
{
    return unit >= 0xD800 && unit <= 0xDFFF;
}

} // namespace

TextMatcher::TextMatcher(const QString& text, Qt::CaseSensitivity caseRule)
    : text_(text)
    , needle_(reinterpret_cast<const char16_t*>(text.constData()),
              static_cast<std::size_t>(text.size()))
    , caseCounts_(caseRule == Qt::CaseSensitive)
{
    // How an unpaired half of a surrogate pair is folded depends, in QString, on the lengths of the
    // texts and on what stands before it. A text without any is folded unit by unit, and no
    // character outside the basic plane folds to one inside.
    asksQt_ = !caseCounts_ && std::any_of(needle_.begin(), needle_.end(), isSurrogate);
    if (!caseCounts_)
        std::transform(needle_.begin(), needle_.end(), needle_.begin(), folded);
    isDecimal_ = canConsistOf(decimalDigits);
    if (needle_.empty())
        return;

    const auto formsOf = [this](char16_t unit) {
        Forms forms;
        forms.fill(unit);
        if (caseCounts_)
            return forms;
        const auto& pairs = otherForms();
        auto pair = std::lower_bound(pairs.begin(), pairs.end(), std::make_pair(unit, u'\0'));
        std::size_t count = 1;
        for (; pair != pairs.end() && pair->first == unit; ++pair, ++count) {
            if (count == maximumForms) { // more than any character has today
                asksQt_ = true;
                break;
            }
            std::fill(forms.begin() + static_cast<std::ptrdiff_t>(count), forms.end(),
                      pair->second);
        }
        formCount_ = std::max(formCount_, count);
        return forms;
    };
    first_ = formsOf(needle_.front());
    last_ = formsOf(needle_.back());
}

char16_t TextMatcher::formOf(char16_t unit) const
{
    return caseCounts_ ? unit : folded(unit);
}

bool TextMatcher::isAt(const char16_t* place) const
{
    if (caseCounts_)
        return std::memcmp(place, needle_.data(), needle_.size() * sizeof(char16_t)) == 0;
    return std::equal(needle_.begin(), needle_.end(), place,
                      [](char16_t wanted, char16_t unit) { return wanted == folded(unit); });
}

template <std::size_t count>
std::size_t TextMatcher::findAmong(std::u16string_view text, std::size_t from) const
{
    const std::size_t distance = needle_.size() - 1;
    if (text.size() <= distance)
        return notFound;
    const std::size_t places = text.size() - distance;
    // Each form written out, and no branch: so the loops below are turned into whole registers at
    // every level of optimisation.
    const auto fits = [distance, f = first_, l = last_](const char16_t* place) {
        const char16_t first = place[0];
        const char16_t last = place[distance];
        bool atFirst = (first == f[0]) | (first == f[1]);
        bool atLast = (last == l[0]) | (last == l[1]);
        if constexpr (count > 2) {
            atFirst |= (first == f[2]) | (first == f[3]);
            atLast |= (last == l[2]) | (last == l[3]);
        }
        return static_cast<char16_t>(atFirst & atLast);
    };
    const auto findOneByOne = [&](std::size_t begin, std::size_t end) {
        for (std::size_t place = begin; place < end; ++place) {
            if (fits(text.data() + place) && isAt(text.data() + place))
                return place;
        }
        return notFound;
    };
    while (from + stepLength <= places) {
        const char16_t* const begin = text.data() + from;
        char16_t any = 0;
        for (std::size_t i = 0; i < stepLength; ++i)
            any = static_cast<char16_t>(any | fits(begin + i));
        if (any) {
            const std::size_t place = findOneByOne(from, from + stepLength);
            if (place != notFound)
                return place;
        }
        from += stepLength;
    }
    return findOneByOne(from, places);
}

std::size_t TextMatcher::find(std::u16string_view text, std::size_t from) const
{
    return formCount_ <= 2 ? findAmong<2>(text, from) : findAmong<maximumForms>(text, from);
}

bool TextMatcher::foundIn(std::u16string_view text) const
{
    if (isEmpty())
        return true;
    if (text.size() < needle_.size())
        return false;
    if (asksQt_)
        return QString::fromRawData(reinterpret_cast<const QChar*>(text.data()),
                                    static_cast<int>(text.size()))
            .contains(text_, Qt::CaseInsensitive);
    return find(text, 0) != notFound;
}

bool TextMatcher::foundInParts(std::u16string_view joined,
                               const std::array<std::uint32_t, 3>& ends) const
{
    if (asksQt_) {
        std::size_t begin = 0;
        for (const std::size_t end : ends) {
            if (foundIn(joined.substr(begin, end - begin)))
                return true;
            begin = end;
        }
        return foundIn(joined.substr(begin));
    }
    if (isEmpty())
        return true;
    for (std::size_t place = find(joined, 0); place != notFound; place = find(joined, place + 1)) {
        const std::size_t behind = place + needle_.size();
        if (std::none_of(ends.begin(), ends.end(),
                         [place, behind](std::size_t end) { return place < end && end < behind; }))
            return true;
    }
    return false;
}

bool TextMatcher::foundInDecimal(std::uint64_t number) const
{
    if (!isDecimal_)
        return false;
    std::array<char16_t, 20> digits;
    std::size_t begin = digits.size();
    do {
        digits[--begin] = static_cast<char16_t>(u'0' + number % 10);
        number /= 10;
    } while (number != 0);
    return foundIn({digits.data() + begin, digits.size() - begin});
}

bool TextMatcher::canConsistOf(std::u16string_view alphabet) const
{
    return std::all_of(needle_.begin(), needle_.end(), [&](char16_t wanted) {
        return std::any_of(alphabet.begin(), alphabet.end(),
                           [&](char16_t unit) { return formOf(unit) == wanted; });
    });
}

bool TextMatcher::foundInPattern(std::u16string_view pattern) const
{
    return std::search(pattern.begin(), pattern.end(), needle_.begin(), needle_.end(),
                       [this](char16_t unit, char16_t wanted) {
                           return unit == u'd' ? wanted >= u'0' && wanted <= u'9'
                                               : formOf(unit) == wanted;
                       }) != pattern.end() ||
           isEmpty();
}

} // namespace zuLogging
