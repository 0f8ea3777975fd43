#pragma once

#include <cstddef>
#include <utility>

namespace zuLogging {

/// Sorts [first, last) with a median-of-three quicksort that is not stable. `before(a, b)` is the
/// strict order wanted. Comparisons, pivot and swaps are fixed, because the order in which entries
/// with equal keys come out is part of what users see; entries are exchanged with `swap`.
///
/// The stack is logarithmic on any input. The time is quadratic on inputs made for that: `work` is
/// how many entries may be looked at, all partitions together, and is counted down. False when that
/// was not enough; the entries are all there then, in no order.
///
/// `watch(count)` is called before each partition of so many entries; it may throw, then too the
/// entries are all there in no order.
template <class Item, class Before, class Watch>
bool medianQuickSort(Item* first, Item* last, Before before, std::size_t& work, Watch& watch)
{
    using std::swap;
    for (;;) {
        const std::ptrdiff_t count = last - first;
        if (count < 2)
            return true;
        Item* const pivot = last - 1;
        Item* const middle = first + count / 2;
        if (before(*pivot, *first))
            swap(*pivot, *first);
        if (count == 2)
            return true;
        if (before(*middle, *first))
            swap(*middle, *first);
        if (before(*pivot, *middle))
            swap(*pivot, *middle);
        if (count == 3)
            return true;
        if (static_cast<std::size_t>(count) > work)
            return false;
        work -= static_cast<std::size_t>(count);
        watch(static_cast<std::size_t>(count));
        swap(*middle, *pivot);

        Item* left = first;
        Item* right = pivot - 1;
        while (left < right) {
            if (before(*left, *pivot)) {
                ++left;
                continue;
            }
            while (right > left && before(*pivot, *right))
                --right;
            if (right <= left)
                break;
            swap(*left, *right);
            ++left;
            --right;
        }
        if (before(*left, *pivot))
            ++left;
        swap(*left, *pivot);

        // The sides do not influence each other: taking the smaller one first keeps the stack
        // small.
        if (left - first < last - (left + 1)) {
            if (!medianQuickSort(first, left, before, work, watch))
                return false;
            first = left + 1;
        } else {
            if (!medianQuickSort(left + 1, last, before, work, watch))
                return false;
            last = left;
        }
    }
}

template <class Item, class Before>
bool medianQuickSort(Item* first, Item* last, Before before, std::size_t& work)
{
    const auto nobody = [](std::size_t) {};
    return medianQuickSort(first, last, before, work, nobody);
}

} // namespace zuLogging
