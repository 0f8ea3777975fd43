#include "store/IdentifierList.h"

#include <algorithm>
#include <utility>

namespace zuLogging {

std::size_t IdentifierList::descentAt(std::size_t row) const
{
    return row > 0 && row < identifiers_.size() && identifiers_[row] < identifiers_[row - 1] ? 1
                                                                                             : 0;
}

void IdentifierList::append(std::uint64_t identifier)
{
    insert(identifiers_.size(), identifier);
}

void IdentifierList::insert(std::size_t row, std::uint64_t identifier)
{
    descents_ -= descentAt(row);
    identifiers_.insert(identifiers_.begin() + static_cast<std::ptrdiff_t>(row), identifier);
    descents_ += descentAt(row) + descentAt(row + 1);
    if (counted_)
        ++counts_[identifier];
}

void IdentifierList::removeAt(std::size_t row)
{
    const std::uint64_t identifier = identifiers_[row];
    descents_ -= descentAt(row) + descentAt(row + 1);
    identifiers_.erase(identifiers_.begin() + static_cast<std::ptrdiff_t>(row));
    descents_ += descentAt(row);
    if (descents_ == 0) {
        dropCounts();
    } else if (counted_) {
        const auto count = counts_.find(identifier);
        if (--count->second == 0)
            counts_.erase(count);
    }
}

void IdentifierList::removeFirst(std::size_t count)
{
    if (count <= identifiers_.size() / 2) {
        for (std::size_t i = 0; i < count; ++i)
            removeFirst();
        return;
    }
    IdentifierList kept; // fewer
    for (std::size_t row = count; row < identifiers_.size(); ++row)
        kept.append(identifiers_[row]);
    *this = std::move(kept);
}

void IdentifierList::clear()
{
    identifiers_.clear();
    descents_ = 0;
    dropCounts();
}

int IdentifierList::indexOf(std::uint64_t identifier)
{
    if (descents_ == 0) {
        const auto found = std::lower_bound(identifiers_.begin(), identifiers_.end(), identifier);
        return found != identifiers_.end() && *found == identifier
                   ? static_cast<int>(found - identifiers_.begin())
                   : -1;
    }
    if (!counted_) {
        counts_.reserve(identifiers_.size());
        for (const std::uint64_t present : identifiers_)
            ++counts_[present];
        counted_ = true;
    }
    if (counts_.find(identifier) == counts_.end())
        return -1;
    const auto found = std::find(identifiers_.begin(), identifiers_.end(), identifier);
    return static_cast<int>(found - identifiers_.begin());
}

void IdentifierList::dropCounts()
{
    if (counted_) {
        counts_ = {};
        counted_ = false;
    }
}

} // namespace zuLogging
