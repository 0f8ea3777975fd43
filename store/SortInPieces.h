#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace zuLogging {

/// What std::sort does, in pieces that take some ten milliseconds each. Between two of them
/// `watch(sorted)` is told how many entries are where they belong; it may throw, the entries are
/// all there then, in no order.
template <class Iterator, class Before, class Watch>
void sortInPieces(Iterator begin, Iterator end, Before before, Watch watch)
{
    constexpr std::ptrdiff_t piece = std::ptrdiff_t{1} << 17;
    const auto total = static_cast<std::uint64_t>(end - begin);
    std::uint64_t sorted = 0;
    std::uint64_t left = 64 * total; // looks, before the pivots are taken for made against this
    std::vector<std::pair<Iterator, Iterator>> open{{begin, end}};
    while (!open.empty()) {
        const auto [first, last] = open.back();
        open.pop_back();
        watch(sorted);
        const auto count = static_cast<std::uint64_t>(last - first);
        if (last - first <= piece || left < count) {
            std::sort(first, last, before);
            sorted += count;
            continue;
        }
        left -= count;
        auto low = *first;
        auto pivot = *(first + (last - first) / 2);
        auto high = *(last - 1);
        if (before(high, low))
            std::swap(high, low);
        if (before(pivot, low))
            pivot = low;
        else if (before(high, pivot))
            pivot = high;
        const auto equal =
            std::partition(first, last, [&](const auto& item) { return before(item, pivot); });
        const auto above =
            std::partition(equal, last, [&](const auto& item) { return !before(pivot, item); });
        sorted += static_cast<std::uint64_t>(above - equal);
        if (above != last)
            open.emplace_back(above, last);
        if (equal != first)
            open.emplace_back(first, equal);
    }
}

} // namespace zuLogging
