#pragma once

#include <QString>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace zuLogging {

/// A text to look for in many others, prepared once. Every answer is that of
/// `QString::contains(text, caseRule)`, for texts that are not well-formed UTF-16 as well. A plain
/// value; may be asked from any number of threads.
class TextMatcher
{
public:
    TextMatcher(const QString& text, Qt::CaseSensitivity caseRule);

    bool isEmpty() const noexcept { return needle_.empty(); }
    bool foundIn(std::u16string_view text) const;
    /// In at least one of the parts of `joined`: they end at `ends`, ascending, and at the end.
    bool foundInParts(std::u16string_view joined, const std::array<std::uint32_t, 3>& ends) const;
    /// In the number's decimal digits.
    bool foundInDecimal(std::uint64_t number) const;

    /// False if the text cannot be found in any text that consists of `alphabet` only.
    bool canConsistOf(std::u16string_view alphabet) const;
    /// True if the text is found in a text like `pattern`, in which each 'd' is any decimal digit
    /// and every other character itself.
    bool foundInPattern(std::u16string_view pattern) const;

private:
    static constexpr std::size_t maximumForms = 4;
    /// The characters that count as one of the needle's; filled up by repeating the last one.
    using Forms = std::array<char16_t, maximumForms>;

    std::size_t find(std::u16string_view text, std::size_t from) const;
    template <std::size_t count>
    std::size_t findAmong(std::u16string_view text, std::size_t from) const;
    bool isAt(const char16_t* place) const;
    char16_t formOf(char16_t unit) const;

    QString text_;          ///< as given
    std::u16string needle_; ///< folded, unless the case counts
    bool caseCounts_;
    bool asksQt_ = false; ///< the search is left to QString
    bool isDecimal_ = false;
    std::size_t formCount_ = 1; ///< of the first and last character, the larger one
    Forms first_{};
    Forms last_{};
};

} // namespace zuLogging
