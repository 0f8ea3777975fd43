#include "store/SortedList.h"

#include "store/MedianQuickSort.h"

#include <algorithm>

namespace zuLogging {

namespace {

template <class Item>
void sortItems(std::vector<Item>& items, Qt::SortOrder order)
{
    Item* const first = items.data();
    Item* const last = first + items.size();
    if (order == Qt::AscendingOrder)
        medianQuickSort(first, last, [](const Item& a, const Item& b) { return a < b; });
    else
        medianQuickSort(first, last, [](const Item& a, const Item& b) { return b < a; });
}

} // namespace

SortedList::~SortedList() = default;

void SortedList::insert(const QVariant& key, int row)
{
    switch (key.userType()) {
    case QMetaType::QString:
        insertText(key.toString(), row);
        break;
    case QMetaType::ULongLong:
        insertNumber(key.toULongLong(), row);
        break;
    case QMetaType::Float:
        insertReal(key.toFloat(), row);
        break;
    default:
        break;
    }
}

void SortedList::insertText(const QString& key, int row)
{
    texts_.emplace_back(key, row);
    rowZeroEntries_ += row == 0 ? 1 : 0;
}

void SortedList::insertNumber(quint64 key, int row)
{
    numbers_.push_back({key, row});
    rowZeroEntries_ += row == 0 ? 1 : 0;
}

void SortedList::insertReal(float key, int row)
{
    reals_.push_back({key, row});
    rowZeroEntries_ += row == 0 ? 1 : 0;
}

namespace {

/// Calls `action` with the first list that is not empty, in the order texts, numbers, reals.
template <class Texts, class Numbers, class Reals, class Action>
auto withActive(Texts& texts, Numbers& numbers, Reals& reals, Action action)
{
    if (!texts.empty())
        return action(texts);
    if (!numbers.empty())
        return action(numbers);
    return action(reals);
}

} // namespace

int SortedList::indexAt(int position) const
{
    if (position < 0 || position >= size())
        return -1;
    return withActive(texts_, numbers_, reals_, [position](const auto& items) {
        return items[static_cast<std::size_t>(position)].row;
    });
}

bool SortedList::isEmpty() const
{
    return texts_.empty() && numbers_.empty() && reals_.empty();
}

int SortedList::size() const
{
    return withActive(texts_, numbers_, reals_,
                      [](const auto& items) { return static_cast<int>(items.size()); });
}

void SortedList::clear()
{
    // Gives the memory back: an index over a million texts is not kept for a table that is empty.
    texts_ = {};
    numbers_ = {};
    reals_ = {};
    rowZeroEntries_ = 0;
}

void SortedList::remove(int position)
{
    if (position < 0 || position >= size())
        return;
    if (indexAt(position) == 0)
        --rowZeroEntries_;
    withActive(texts_, numbers_, reals_,
               [position](auto& items) { items.erase(items.begin() + position); });
}

void SortedList::sort(Qt::SortOrder order)
{
    withActive(texts_, numbers_, reals_, [order](auto& items) { sortItems(items, order); });
}

int SortedList::firstPositionOfRowZero() const
{
    if (rowZeroEntries_ == 0)
        return -1;
    return withActive(texts_, numbers_, reals_, [](const auto& items) {
        const auto found = std::find_if(items.begin(), items.end(),
                                        [](const auto& item) { return item.row == 0; });
        return found == items.end() ? -1 : static_cast<int>(found - items.begin());
    });
}

} // namespace zuLogging
