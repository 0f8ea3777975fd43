#pragma once

#include "store/SortKeys.h"
#include "store/SortedList.h"

#include <Qt>

#include <cstdint>
#include <vector>

namespace zuLogging {

/// A sort that was worked out beside the rows of a table model, to be taken over in a moment.
/// Afterwards it holds what it replaced. Freeing it may take long.
struct PreparedSort
{
    std::uint64_t version = 0; ///< of the rows that it was made of
    int column = 0;
    Qt::SortOrder order = Qt::AscendingOrder;
    bool isNew = false; ///< an index of its own, not another order of the one that is there
    SortKeys keys;      ///< of a new index
    SortedList index;
    SortedList::Order reordered;
    std::vector<int> displayed; ///< by stored row: its place in the new order; empty: unsorted
};

} // namespace zuLogging
