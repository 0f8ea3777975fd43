// The sort of the table's index and the order of texts, against the same sort written out step by
// step and against the standard library's.

#include "fuzz/FuzzCheck.h"
#include "fuzz/FuzzInput.h"
#include "logging/LogMessage.h"
#include "store/MedianQuickSort.h"
#include "store/SortedList.h"
#include "store/TextOrder.h"

#include <algorithm>
#include <limits>
#include <string>
#include <utility>
#include <vector>

using namespace zuLogging;
using fuzz::check;

namespace {

struct Trace
{
    std::vector<std::pair<int, int>> steps;
    std::size_t swaps = 0;
};

struct Item
{
    int key;
    int row;
    Trace* trace;
};

void swap(Item& a, Item& b)
{
    a.trace->steps.emplace_back(a.row, b.row);
    ++a.trace->swaps;
    std::swap(a.key, b.key);
    std::swap(a.row, b.row);
}

bool isBelow(const Item& a, const Item& b)
{
    a.trace->steps.emplace_back(a.row, b.row);
    return a.key < b.key;
}

/// The sort on positions, left side first. `before` and `exchange` take positions.
template <class Before, class Exchange>
void plainSort(int first, int last, const Before& before, const Exchange& exchange)
{
    while (last - first >= 2) {
        const int count = last - first;
        const int pivot = last - 1;
        const int middle = first + count / 2;
        if (before(pivot, first))
            exchange(pivot, first);
        if (count == 2)
            break;
        if (before(middle, first))
            exchange(middle, first);
        if (before(pivot, middle))
            exchange(pivot, middle);
        if (count == 3)
            break;
        exchange(middle, pivot);
        int i = first;
        int j = pivot - 1;
        bool stopped = false;
        while (i < j && !stopped) {
            if (before(i, pivot)) {
                i += 1;
                continue;
            }
            while (!stopped && before(pivot, j)) {
                j -= 1;
                stopped = j <= i;
            }
            if (!stopped) {
                exchange(i, j);
                i += 1;
                j -= 1;
            }
        }
        if (before(i, pivot))
            i += 1;
        exchange(i, pivot);
        plainSort(first, i, before, exchange);
        first = i + 1;
    }
}

/// The rows of `keys` in the order in which the plain sort puts them.
template <class Key>
std::vector<int> plainRows(const std::vector<Key>& keys, Qt::SortOrder order)
{
    std::vector<int> rows(keys.size());
    for (std::size_t i = 0; i < rows.size(); ++i)
        rows[i] = static_cast<int>(i);
    const auto row = [&](int position) -> int& { return rows[static_cast<std::size_t>(position)]; };
    const auto key = [&](int position) -> const Key& {
        return keys[static_cast<std::size_t>(row(position))];
    };
    plainSort(
        0, static_cast<int>(keys.size()),
        [&](int a, int b) {
            return order == Qt::AscendingOrder ? key(a) < key(b) : key(b) < key(a);
        },
        [&](int a, int b) { std::swap(row(a), row(b)); });
    return rows;
}

std::vector<int> rowsOf(const SortedList& list)
{
    std::vector<int> rows;
    for (int i = 0; i < list.size(); ++i)
        rows.push_back(list.indexAt(i));
    return rows;
}

void checkQuickSort(const std::vector<int>& keys)
{
    Trace plainTrace;
    Trace realTrace;
    std::vector<Item> plain;
    std::vector<Item> real;
    for (std::size_t i = 0; i < keys.size(); ++i) {
        plain.push_back({keys[i], static_cast<int>(i), &plainTrace});
        real.push_back({keys[i], static_cast<int>(i), &realTrace});
    }
    const auto at = [&](int i) -> Item& { return plain[static_cast<std::size_t>(i)]; };
    plainSort(
        0, static_cast<int>(plain.size()), [&](int a, int b) { return isBelow(at(a), at(b)); },
        [&](int a, int b) { swap(at(a), at(b)); });
    std::size_t work = std::numeric_limits<std::size_t>::max();
    check(medianQuickSort(real.data(), real.data() + real.size(), isBelow, work),
          "the sort gives up without a limit");
    for (std::size_t i = 0; i < keys.size(); ++i) {
        check(plain[i].row == real[i].row, "the rows come out in another order");
        check(i == 0 || real[i - 1].key <= real[i].key, "the keys do not ascend");
    }
    // The sides may be taken in another order.
    std::sort(plainTrace.steps.begin(), plainTrace.steps.end());
    std::sort(realTrace.steps.begin(), realTrace.steps.end());
    check(plainTrace.steps == realTrace.steps && plainTrace.swaps == realTrace.swaps,
          "something else was compared or swapped");
}

void checkWithoutEnoughWork(std::vector<int> keys, std::size_t work)
{
    std::vector<int> expected = keys;
    const bool isDone = medianQuickSort(
        keys.data(), keys.data() + keys.size(), [](int a, int b) { return a < b; }, work);
    check(!isDone || std::is_sorted(keys.begin(), keys.end()), "a sort that is done sorts nothing");
    std::sort(keys.begin(), keys.end());
    std::sort(expected.begin(), expected.end());
    check(keys == expected, "a sort that gives up loses entries");
}

void checkLists(const std::vector<std::u16string>& texts, const std::vector<quint64>& numbers)
{
    for (const auto order : {Qt::AscendingOrder, Qt::DescendingOrder}) {
        SortedList list;
        for (std::size_t i = 0; i < texts.size(); ++i)
            list.insertText(toQString(texts[i]), static_cast<int>(i));
        list.sort(order);
        check(rowsOf(list) == plainRows(texts, order), "texts come in another order");

        SortedList numberList;
        for (std::size_t i = 0; i < numbers.size(); ++i)
            numberList.insertNumber(numbers[i], static_cast<int>(i));
        numberList.sort(order);
        check(rowsOf(numberList) == plainRows(numbers, order), "numbers come in another order");
        const std::vector<int> rows = rowsOf(numberList);
        const auto zero = std::find(rows.begin(), rows.end(), 0);
        check(numberList.firstPositionOfRowZero() ==
                  (zero == rows.end() ? -1 : static_cast<int>(zero - rows.begin())),
              "row 0 is somewhere else");
    }
}

void checkTextOrder(const std::vector<std::u16string>& texts)
{
    const std::vector<std::u16string_view> views(texts.begin(), texts.end());
    const TextOrder order = orderTexts(views);
    std::vector<std::u16string_view> sorted = views;
    std::sort(sorted.begin(), sorted.end());
    sorted.erase(std::unique(sorted.begin(), sorted.end()), sorted.end());
    check(order.distinct == sorted.size(), "there are more or fewer different texts");
    check(order.ranks.size() == views.size(), "a text has no rank");
    for (std::size_t i = 0; i < views.size(); ++i)
        check(sorted[order.ranks[i]] == views[i], "a text has another one's rank");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::FuzzInput input(data, size);
    const std::uint8_t mode = input.byte();
    const std::size_t work = input.number(2);
    std::vector<int> keys;
    std::vector<quint64> numbers;
    std::vector<std::u16string> texts;
    const std::u16string common(mode % 32, u'a');
    fuzz::FuzzInput textInput = input;
    while (!input.isEmpty() && keys.size() < 300) {
        keys.push_back(input.byte() % (mode < 128 ? 256 : 4));
        numbers.push_back(static_cast<quint64>(keys.back()) << mode % 57);
    }
    while (!textInput.isEmpty() && texts.size() < 300)
        texts.push_back((mode & 32) != 0 ? common + textInput.text(20) : textInput.text(20));

    checkQuickSort(keys);
    checkWithoutEnoughWork(keys, work);
    checkLists(texts, numbers);
    checkTextOrder(texts);
    return 0;
}
