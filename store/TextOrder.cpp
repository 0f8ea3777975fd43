#include "store/TextOrder.h"

#include "logging/WorkControl.h"
#include "platform/Prefetch.h"
#include "store/SortInPieces.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <numeric>
#include <utility>

namespace zuLogging {

namespace {

using Texts = std::vector<std::u16string_view>;

/// Units that are compared as one number.
constexpr std::size_t unitsInCache = 4;
/// Texts between two reports of how far the work is.
constexpr std::size_t reportedTexts = 1 << 16;

/// The four units from `depth` on, most significant first; those behind the end count as 0.
std::uint64_t cacheOf(std::u16string_view text, std::size_t depth)
{
    if (depth >= text.size())
        return 0;
    const std::size_t count = std::min(text.size() - depth, unitsInCache);
    std::uint64_t cache = 0;
    for (std::size_t i = 0; i < count; ++i)
        cache = cache << 16U | text[depth + i];
    return cache << 16U * (unitsInCache - count);
}

std::size_t commonLength(std::u16string_view a, std::u16string_view b, std::size_t from,
                         std::size_t limit)
{
    limit = std::min({limit, a.size(), b.size()});
    std::size_t i = from;
    while (i < limit && a[i] == b[i])
        ++i;
    return i;
}

/// One block at a time: a list that is made at its full size is gone through twice.
Texts allTexts(std::size_t count, const TextSource& source)
{
    Texts texts;
    texts.reserve(count);
    std::array<std::u16string_view, 256> block;
    while (texts.size() < count) {
        const std::size_t first = texts.size();
        const std::size_t size = std::min(block.size(), count - first);
        source(first, first + size, block.data());
        texts.insert(texts.end(), block.begin(), block.begin() + size);
    }
    return texts;
}

/// What `a == b` says, which compares unit by unit.
bool isSame(std::u16string_view a, std::u16string_view b)
{
    return a.size() == b.size() &&
           (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(char16_t)) == 0);
}

/// Logs repeat themselves: modules, groups and levels are a handful of texts. Finds each in a small
/// table and orders only those.
class FewTexts
{
public:
    /// False, early, when there are too many different ones.
    bool collect(std::size_t count, const TextSource& source, std::vector<std::uint32_t>& numbers,
                 WorkControl* control)
    {
        numbers.resize(count);
        // The texts lie scattered in memory: first only read, many at a time, since the processor
        // can wait for many of them at once as long as nothing depends on what they hold.
        constexpr std::size_t block = 64;
        std::array<std::u16string_view, block> texts;
        std::array<std::u16string_view, block> nextTexts;
        std::array<std::uint32_t, block> slotsOfBlock;
        std::size_t end = std::min(block, count);
        source(0, end, nextTexts.data());
        for (std::size_t first = 0; first < count; first += block) {
            if (first % reportedTexts == 0)
                report(control, first, count);
            texts = nextTexts;
            const std::size_t size = end - first;
            const std::size_t nextSize = std::min(block, count - end);
            source(end, end + nextSize, nextTexts.data());
            end += nextSize;
            for (std::size_t i = 0; i < nextSize; ++i)
                platform::prefetch(nextTexts[i].data());
            for (std::size_t i = 0; i < size; ++i)
                slotsOfBlock[i] = slotOf(texts[i]);
            for (std::size_t i = 0; i < size; ++i)
                if (!numberOf(texts[i], slotsOfBlock[i], numbers[first + i]))
                    return false;
        }
        return true;
    }
    const Texts& found() const { return found_; }

private:
    static constexpr std::uint32_t slots = 1024;
    static constexpr std::size_t maximumFound = slots / 4;

    static std::uint32_t slotOf(std::u16string_view text)
    {
        // Ends differ more often than beginnings; the table is small and checks the rest.
        std::uint64_t begin = 0;
        std::uint64_t end = 0;
        if (text.size() >= unitsInCache) {
            std::memcpy(&begin, text.data(), sizeof begin);
            std::memcpy(&end, text.data() + text.size() - unitsInCache, sizeof end);
        } else {
            begin = cacheOf(text, 0);
        }
        const std::uint64_t mixed =
            (begin * 31 + end + text.size()) * std::uint64_t{0x9E3779B97F4A7C15};
        return static_cast<std::uint32_t>(mixed >> 54U);
    }

    bool numberOf(std::u16string_view text, std::uint32_t slot, std::uint32_t& number)
    {
        for (;; slot = (slot + 1) % slots) {
            std::uint32_t& taken = table_[slot];
            if (taken == 0) {
                if (found_.size() == maximumFound)
                    return false;
                found_.push_back(text);
                taken = static_cast<std::uint32_t>(found_.size());
            } else if (!isSame(found_[taken - 1], text)) {
                continue;
            }
            number = taken - 1;
            return true;
        }
    }

    std::array<std::uint32_t, slots> table_{}; ///< number + 1; 0: free
    Texts found_;
};

/// Sorts by four units at a time: those that are equal in them are sorted by the next four.
class Sorter
{
public:
    Sorter(Texts texts, WorkControl* control)
        : texts_(std::move(texts))
        , control_(control)
        , items_(texts_.size())
        , startsGroup_(texts_.size(), 1)
    {
        for (std::size_t i = 0; i < items_.size(); ++i)
            items_[i].index = static_cast<std::uint32_t>(i);
    }

    TextOrder run()
    {
        if (items_.size() > 1)
            open(0, items_.size(), 0);
        while (!ranges_.empty()) {
            const Range range = ranges_.back();
            ranges_.pop_back();
            // What lies behind the ranges that are left is in order.
            const std::size_t ordered = items_.size() - range.last;
            if (control_ && ordered - told_ >= reportedTexts) {
                told_ = ordered;
                control_->report(ordered, items_.size());
            }
            sortRange(range);
        }
        TextOrder order;
        order.ranks.resize(items_.size());
        for (std::size_t i = 0; i < items_.size(); ++i) {
            order.distinct += startsGroup_[i];
            order.ranks[items_[i].index] = order.distinct - 1;
        }
        return order;
    }

private:
    struct Item
    {
        std::uint64_t cache;
        std::uint32_t index;
    };
    struct Range
    {
        std::size_t first;
        std::size_t last;
        std::size_t depth; ///< the texts in it are equal up to here, and longer or as long
    };
    static constexpr std::size_t fewItems = 16;

    std::u16string_view textOf(const Item& item) const { return texts_[item.index]; }

    /// Takes up a range of texts that are equal up to `depth`.
    void open(std::size_t first, std::size_t last, std::size_t depth)
    {
        if (last - first <= fewItems) {
            sortFew(first, last, depth);
            return;
        }
        // What all have in common is skipped at once: long equal texts would be gone through again
        // and again.
        const std::u16string_view sample = textOf(items_[first]);
        std::size_t common = sample.size();
        for (std::size_t i = first + 1; i < last && common > depth; ++i)
            common = commonLength(sample, textOf(items_[i]), depth, common);
        for (std::size_t i = first; i < last; ++i)
            items_[i].cache = cacheOf(textOf(items_[i]), common);
        ranges_.push_back({first, last, common});
    }

    void sortRange(const Range& range)
    {
        const auto begin = items_.begin() + static_cast<std::ptrdiff_t>(range.first);
        const auto end = items_.begin() + static_cast<std::ptrdiff_t>(range.last);
        const auto byCache = [](const Item& a, const Item& b) { return a.cache < b.cache; };
        if (!std::is_sorted(begin, end, byCache)) {
            if (control_ && range.last - range.first >= reportedTexts)
                sortInPieces(begin, end, byCache, [this, &range](std::uint64_t sorted) {
                    control_->report(items_.size() - range.last + sorted, items_.size());
                });
            else
                std::sort(begin, end, byCache);
        }

        std::size_t first = range.first;
        while (first < range.last) {
            std::size_t last = first + 1;
            while (last < range.last && items_[last].cache == items_[first].cache)
                ++last;
            if (last - first > 1)
                sortEqualCaches(first, last, range.depth + unitsInCache);
            first = last;
        }
    }

    /// Texts that are equal up to `depth`, as far as they go: those that end before it come first,
    /// by their length, for what the others have there are units of value 0.
    void sortEqualCaches(std::size_t first, std::size_t last, std::size_t depth)
    {
        const auto begin = items_.begin() + static_cast<std::ptrdiff_t>(first);
        const auto end = items_.begin() + static_cast<std::ptrdiff_t>(last);
        const auto ended = std::partition(
            begin, end, [&](const Item& item) { return textOf(item).size() <= depth; });
        std::sort(begin, ended, [this](const Item& a, const Item& b) {
            return textOf(a).size() < textOf(b).size();
        });
        const auto middle = static_cast<std::size_t>(ended - items_.begin());
        for (std::size_t i = first + 1; i < middle; ++i)
            startsGroup_[i] = textOf(items_[i]).size() != textOf(items_[i - 1]).size();
        if (last - middle > 1)
            open(middle, last, depth);
    }

    void sortFew(std::size_t first, std::size_t last, std::size_t depth)
    {
        const auto begin = items_.begin() + static_cast<std::ptrdiff_t>(first);
        const auto end = items_.begin() + static_cast<std::ptrdiff_t>(last);
        const auto rest = [this, depth](const Item& item) { return textOf(item).substr(depth); };
        std::sort(begin, end, [&rest](const Item& a, const Item& b) { return rest(a) < rest(b); });
        for (std::size_t i = first + 1; i < last; ++i)
            startsGroup_[i] = rest(items_[i]) != rest(items_[i - 1]);
    }

    const Texts texts_;
    WorkControl* const control_;
    std::size_t told_ = 0; ///< texts in order at the last report
    std::vector<Item> items_;
    std::vector<std::uint8_t> startsGroup_; ///< in sorted order: differs from the one before
    std::vector<Range> ranges_;
};

} // namespace

TextOrder orderTexts(std::size_t count, const TextSource& source, WorkControl* control)
{
    FewTexts few;
    std::vector<std::uint32_t> numbers;
    if (!few.collect(count, source, numbers, control)) {
        return Sorter(allTexts(count, source), control).run();
    }

    const Texts& found = few.found();
    std::vector<std::uint32_t> byText(found.size());
    std::iota(byText.begin(), byText.end(), 0U);
    std::sort(byText.begin(), byText.end(),
              [&found](std::uint32_t a, std::uint32_t b) { return found[a] < found[b]; });
    std::vector<std::uint32_t> rankOf(found.size());
    for (std::uint32_t rank = 0; rank < byText.size(); ++rank)
        rankOf[byText[rank]] = rank;

    TextOrder order;
    order.distinct = static_cast<std::uint32_t>(found.size());
    for (std::uint32_t& number : numbers)
        number = rankOf[number];
    order.ranks = std::move(numbers);
    return order;
}

TextOrder orderTexts(const std::vector<std::u16string_view>& texts)
{
    return orderTexts(texts.size(),
                      [&texts](std::size_t first, std::size_t last, std::u16string_view* to) {
                          std::copy(texts.data() + first, texts.data() + last, to);
                      });
}

} // namespace zuLogging
