#pragma once

#include "store/MedianQuickSort.h"

#include <cstddef>
#include <numeric>
#include <vector>

namespace zuLogging::test {

/// Gives out key values only when they are compared, so that the pivot is always the second lowest
/// of its range: the input that splits worst.
struct SortAdversary
{
    std::vector<int> values; ///< of the items 0, 1, ...
    int solid = 0;
    int candidate = 0;
    const int gas;
    explicit SortAdversary(int count)
        : values(static_cast<std::size_t>(count), count)
        , gas(count)
    {
    }
    bool before(int a, int b)
    {
        int& first = values[static_cast<std::size_t>(a)];
        int& second = values[static_cast<std::size_t>(b)];
        if (first == gas && second == gas)
            (a == candidate ? first : second) = solid++;
        if (first == gas)
            candidate = a;
        else if (second == gas)
            candidate = b;
        return first < second;
    }
};

/// Keys from 0 on, all different, on which the sort's own choice of pivots is the worst at each
/// step, as far as it gets with so much work.
inline std::vector<int> hostileSortKeys(int count, std::size_t work)
{
    SortAdversary adversary(count);
    std::vector<int> items(static_cast<std::size_t>(count));
    std::iota(items.begin(), items.end(), 0);
    medianQuickSort(
        items.data(), items.data() + items.size(),
        [&](int a, int b) { return adversary.before(a, b); }, work);
    for (int& value : adversary.values)
        if (value == adversary.gas)
            value = adversary.solid++;
    return adversary.values;
}

} // namespace zuLogging::test
