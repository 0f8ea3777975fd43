#include "store/SortedList.h"

#include "logging/WorkControl.h"
#include "store/MedianQuickSort.h"
#include "store/TextOrder.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace zuLogging {

namespace {

/// Entries that the quicksort may look at: random keys take 1.1 times the number of entries for
/// each level, a sorted million with unsorted rows behind them ten times. Input that needs more
/// than this is made for it; a look at an entry of such input takes less than a nanosecond.
std::size_t allowedWork(std::size_t count)
{
    std::size_t levels = 1;
    for (std::size_t rest = count; rest > 1; rest /= 2)
        ++levels;
    return 64 * levels * count;
}

template <class Key>
bool isBefore(Key a, Key b)
{
    return a < b;
}

/// Where the quicksort cannot be used: what is no number counts as the largest, so that there is an
/// order at all.
bool isBeforeInAll(float a, float b)
{
    return std::isnan(b) ? !std::isnan(a) : a < b;
}
template <class Key>
bool isBeforeInAll(Key a, Key b)
{
    return a < b;
}

// How much of a sort is behind it, in per cent, when its stages begin. Before the first of them
// come the keys.
constexpr int ranksBegin = 40;
constexpr int quickSortBegins = 75;
constexpr int quickSortEnds = 95;

struct NoWatch
{
    void operator()(std::size_t) const {}
};

/// Tells how far a quicksort is by the entries that it has looked at.
class QuickSortWatch
{
public:
    QuickSortWatch(WorkControl& control, std::size_t count)
        : control_(control)
        , usual_(allowedWork(count) / 64)
    {
    }
    void operator()(std::size_t count)
    {
        constexpr std::size_t worthTelling = 1 << 16;
        looked_ += count;
        if (looked_ - told_ < worthTelling)
            return;
        told_ = looked_;
        control_.report(looked_, usual_);
    }

private:
    WorkControl& control_;
    const std::size_t usual_;
    std::size_t looked_ = 0;
    std::size_t told_ = 0;
};

template <class Item, class Watch>
void sortItems(std::vector<Item>& items, Qt::SortOrder order, Watch watch)
{
    Item* const first = items.data();
    Item* const last = first + items.size();
    std::size_t work = allowedWork(items.size());
    if (order == Qt::AscendingOrder) {
        if (!medianQuickSort(
                first, last, [](const Item& a, const Item& b) { return isBefore(a.key, b.key); },
                work, watch))
            std::sort(first, last,
                      [](const Item& a, const Item& b) { return isBeforeInAll(a.key, b.key); });
    } else {
        if (!medianQuickSort(
                first, last, [](const Item& a, const Item& b) { return isBefore(b.key, a.key); },
                work, watch))
            std::sort(first, last,
                      [](const Item& a, const Item& b) { return isBeforeInAll(b.key, a.key); });
    }
}

template <class Item>
void sortItems(std::vector<Item>& items, Qt::SortOrder order, WorkControl* control)
{
    if (control) {
        control->beginPart(quickSortBegins, quickSortEnds);
        sortItems(items, order, QuickSortWatch(*control, items.size()));
    } else {
        sortItems(items, order, NoWatch());
    }
}

std::u16string_view viewOf(const QString& text)
{
    return {reinterpret_cast<const char16_t*>(text.constData()),
            static_cast<std::size_t>(text.size())};
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
    const auto copy = std::make_shared<const QString>(key);
    const std::u16string_view text = viewOf(*copy);
    addText({text.data(), static_cast<std::uint32_t>(text.size()), true, copy}, row);
}

void SortedList::insertSharedText(std::u16string_view key, std::shared_ptr<const void> owner,
                                  int row)
{
    addText(
        {key.data(), static_cast<std::uint32_t>(key.size()), owner == nullptr, std::move(owner)},
        row);
}

void SortedList::addText(TextItem item, int row)
{
    TextPosition position{static_cast<std::uint32_t>(texts_.size()), row};
    if (freeTexts_.empty()) {
        texts_.push_back(std::move(item));
    } else {
        position.item = freeTexts_.back();
        freeTexts_.pop_back();
        texts_[position.item] = std::move(item);
    }
    textOrder_.push_back(position);
    rowZeroEntries_ += row == 0 ? 1 : 0;
}

void SortedList::copyForgottenTexts()
{
    constexpr int looks = 2;
    for (int i = 0; i < looks && !texts_.empty(); ++i) {
        if (nextForgotten_ >= texts_.size())
            nextForgotten_ = 0;
        TextItem& item = texts_[nextForgotten_++];
        if (item.isCopy || item.owner.use_count() != 1)
            continue;
        const auto copy = std::make_shared<const std::u16string>(item.text());
        item = {copy->data(), item.length, true, copy};
    }
}

void SortedList::reserveTexts(int count)
{
    texts_.reserve(static_cast<std::size_t>(count));
    textOrder_.reserve(static_cast<std::size_t>(count));
}

void SortedList::reserveNumbers(int count)
{
    numbers_.reserve(static_cast<std::size_t>(count));
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

int SortedList::indexAt(int position) const
{
    if (position < 0 || position >= size())
        return -1;
    return rowOf(textOrder_, numbers_, reals_, position);
}

bool SortedList::isEmpty() const
{
    return textOrder_.empty() && numbers_.empty() && reals_.empty();
}

int SortedList::sizeOf(const std::vector<TextPosition>& texts,
                       const std::vector<ListItem<quint64>>& numbers,
                       const std::vector<ListItem<float>>& reals)
{
    if (!texts.empty())
        return static_cast<int>(texts.size());
    return static_cast<int>(numbers.empty() ? reals.size() : numbers.size());
}

int SortedList::size() const
{
    return sizeOf(textOrder_, numbers_, reals_);
}

int SortedList::Order::size() const
{
    return sizeOf(texts_, numbers_, reals_);
}

void SortedList::clear()
{
    // Gives the memory back: an index over a million texts is not kept for a table that is empty.
    texts_ = {};
    textOrder_ = {};
    freeTexts_ = {};
    nextForgotten_ = 0;
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
    if (!textOrder_.empty()) {
        const std::uint32_t item = textOrder_[static_cast<std::size_t>(position)].item;
        texts_[item] = {nullptr, 0, true, nullptr};
        freeTexts_.push_back(item);
        textOrder_.erase(textOrder_.begin() + position);
    } else if (!numbers_.empty()) {
        numbers_.erase(numbers_.begin() + position);
    } else {
        reals_.erase(reals_.begin() + position);
    }
}

void SortedList::sort(Qt::SortOrder order, WorkControl* control)
{
    if (!textOrder_.empty())
        textOrder_ = sortedTexts(order, control);
    else if (!numbers_.empty())
        sortItems(numbers_, order, control);
    else
        sortItems(reals_, order, control);
}

SortedList::Order SortedList::sorted(Qt::SortOrder order, WorkControl* control) const
{
    Order sorted;
    if (!textOrder_.empty()) {
        sorted.texts_ = sortedTexts(order, control);
    } else if (!numbers_.empty()) {
        sorted.numbers_ = numbers_;
        sortItems(sorted.numbers_, order, control);
    } else {
        sorted.reals_ = reals_;
        sortItems(sorted.reals_, order, control);
    }
    return sorted;
}

void SortedList::setOrder(Order& order)
{
    textOrder_.swap(order.texts_);
    numbers_.swap(order.numbers_);
    reals_.swap(order.reals_);
}

/// Texts are sorted by their ranks: that gives the order that the texts themselves would, with
/// numbers to be compared and small entries to be swapped.
std::vector<SortedList::TextPosition> SortedList::sortedTexts(Qt::SortOrder order,
                                                              WorkControl* control) const
{
    const std::size_t count = textOrder_.size();
    TextOrder texts;
    if (control)
        control->beginPart(ranksBegin, quickSortBegins);
    texts = orderTexts(
        count,
        [this](std::size_t first, std::size_t last, std::u16string_view* to) {
            for (std::size_t i = first; i < last; ++i)
                *to++ = texts_[textOrder_[i].item].text();
        },
        control);
    const bool ascending = order == Qt::AscendingOrder;
    if (texts.distinct == count) {
        // All different: there is one order only, and the ranks are it.
        std::vector<TextPosition> sorted(count);
        for (std::size_t i = 0; i < count; ++i)
            sorted[ascending ? texts.ranks[i] : count - 1 - texts.ranks[i]] = textOrder_[i];
        return sorted;
    }

    std::vector<ListItem<std::uint32_t>> items(count); // rows are places in textOrder_ here
    for (std::size_t i = 0; i < count; ++i)
        items[i] = {texts.ranks[i], static_cast<int>(i)};
    texts = {};
    sortItems(items, order, control);
    std::vector<TextPosition> sorted(count);
    for (std::size_t i = 0; i < count; ++i)
        sorted[i] = textOrder_[static_cast<std::size_t>(items[i].row)];
    return sorted;
}

int SortedList::firstPositionOfRowZero() const
{
    if (rowZeroEntries_ == 0)
        return -1;
    const int count = size();
    for (int position = 0; position < count; ++position)
        if (rowOf(textOrder_, numbers_, reals_, position) == 0)
            return position;
    return -1;
}

} // namespace zuLogging
