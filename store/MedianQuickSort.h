#pragma once

#include <cstddef>
#include <utility>

namespace zuLogging {

/// Sorts [first, last) with a median-of-three quicksort that is not stable. `before(a, b)` is the
/// strict order wanted. Comparisons, pivot and swaps are fixed, because the order in which entries
/// with equal keys come out is part of what users see; entries are exchanged with `swap`.
/// The stack is logarithmic on any input; the time is quadratic on inputs made for that.
template <class Item, class Before>
void medianQuickSort(Item* first, Item* last, Before before)
{
    using std::swap;
    for (;;) {
        const std::ptrdiff_t count = last - first;
        if (count < 2)
            return;
        Item* const pivot = last - 1;
        Item* const middle = first + count / 2;
        if (before(*pivot, *first))
            swap(*pivot, *first);
        if (count == 2)
            return;
        if (before(*middle, *first))
            swap(*middle, *first);
        if (before(*pivot, *middle))
            swap(*pivot, *middle);
        if (count == 3)
            return;
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
            medianQuickSort(first, left, before);
            first = left + 1;
        } else {
            medianQuickSort(left + 1, last, before);
            last = left;
        }
    }
}

} // namespace zuLogging
