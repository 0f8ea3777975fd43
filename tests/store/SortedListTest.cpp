#include "store/SortedList.h"
#include "store/MedianQuickSort.h"
#include "tests/support/TestEnvironment.h"

#include <QVariant>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

using zuLogging::ListItem;
using zuLogging::medianQuickSort;
using zuLogging::SortedList;

namespace {

SortedList numberList(const std::vector<quint64>& keys)
{
    SortedList list;
    for (std::size_t i = 0; i < keys.size(); ++i)
        list.insert(QVariant(static_cast<qulonglong>(keys[i])), static_cast<int>(i));
    return list;
}

SortedList textList(const std::vector<QString>& keys)
{
    SortedList list;
    for (std::size_t i = 0; i < keys.size(); ++i)
        list.insert(QVariant(keys[i]), static_cast<int>(i));
    return list;
}

std::vector<int> rowsOf(const SortedList& list)
{
    std::vector<int> rows;
    for (int i = 0; i < list.size(); ++i)
        rows.push_back(list.indexAt(i));
    return rows;
}

/// Counts every comparison and every swap, each with the rows that took part.
struct Trace
{
    std::vector<std::pair<int, int>> comparisons;
    std::vector<std::pair<int, int>> swaps;
};

struct TracedItem
{
    int key;
    int row;
    Trace* trace;
};

void swap(TracedItem& a, TracedItem& b)
{
    a.trace->swaps.emplace_back(a.row, b.row);
    std::swap(a.key, b.key);
    std::swap(a.row, b.row);
}

bool isBelow(const TracedItem& a, const TracedItem& b)
{
    a.trace->comparisons.emplace_back(a.row, b.row);
    return a.key < b.key;
}

bool isAbove(const TracedItem& a, const TracedItem& b)
{
    return isBelow(b, a);
}

/// The sort written out step by step on positions, left side first.
template <class Before>
void plainSort(std::vector<TracedItem>& items, int first, int last, Before before)
{
    const auto at = [&items](int position) -> TracedItem& {
        return items[static_cast<std::size_t>(position)];
    };
    while (last - first >= 2) {
        const int count = last - first;
        const int final = last - 1;
        const int middle = first + count / 2;
        if (before(at(final), at(first)))
            swap(at(final), at(first));
        if (count == 2)
            break;
        if (before(at(middle), at(first)))
            swap(at(middle), at(first));
        if (before(at(final), at(middle)))
            swap(at(final), at(middle));
        if (count == 3)
            break;
        swap(at(middle), at(final));
        int i = first;
        int j = final - 1;
        bool stopped = false;
        while (i < j && !stopped) {
            if (before(at(i), at(final))) {
                i += 1;
            } else {
                while (!stopped && before(at(final), at(j))) {
                    j -= 1;
                    stopped = j <= i;
                }
                if (!stopped) {
                    swap(at(i), at(j));
                    i += 1;
                    j -= 1;
                }
            }
        }
        if (before(at(i), at(final)))
            i += 1;
        swap(at(i), at(final));
        plainSort(items, first, i, before);
        first = i + 1;
    }
}

std::vector<std::vector<int>> inputs()
{
    std::mt19937 random(7);
    std::vector<std::vector<int>> all;
    for (int size : {0, 1, 2, 3, 4, 5, 6, 7, 8, 13, 64, 257, 1500}) {
        for (int kind = 0; kind < 6; ++kind) {
            for (int round = 0; round < (size < 10 ? 40 : 2); ++round) {
                std::vector<int> keys;
                for (int i = 0; i < size; ++i) {
                    const int value = static_cast<int>(random() % 100000);
                    const int byKind[] = {value, value % 4, 1, i, size - i, value};
                    keys.push_back(byKind[kind]);
                }
                if (kind == 5)
                    std::sort(keys.begin(), keys.end() - size / 100);
                all.push_back(keys);
            }
        }
    }
    return all;
}

template <class Before>
void comparePlainWithReal(Before before)
{
    for (const std::vector<int>& keys : inputs()) {
        Trace plainTrace;
        Trace realTrace;
        std::vector<TracedItem> plain;
        std::vector<TracedItem> real;
        for (std::size_t i = 0; i < keys.size(); ++i) {
            plain.push_back({keys[i], static_cast<int>(i), &plainTrace});
            real.push_back({keys[i], static_cast<int>(i), &realTrace});
        }
        plainSort(plain, 0, static_cast<int>(plain.size()), before);
        medianQuickSort(real.data(), real.data() + real.size(), before);
        for (std::size_t i = 0; i < keys.size(); ++i) {
            ASSERT_EQ(plain[i].row, real[i].row);
            ASSERT_EQ(plain[i].key, real[i].key);
        }
        // The sides may be sorted in another order, so the same events may come in another one.
        for (Trace* trace : {&plainTrace, &realTrace}) {
            std::sort(trace->comparisons.begin(), trace->comparisons.end());
            std::sort(trace->swaps.begin(), trace->swaps.end());
        }
        ASSERT_EQ(plainTrace.comparisons, realTrace.comparisons);
        ASSERT_EQ(plainTrace.swaps, realTrace.swaps);
    }
}

} // namespace

TEST(SortedList, IndexAtZeroOnAnEmptyListIsMinusOne)
{
    const SortedList list;
    EXPECT_EQ(list.indexAt(0), -1);
    EXPECT_TRUE(list.isEmpty());
}

TEST(SortedList, IndexAtMinusOneOrBeyondTheEndIsMinusOneOnAnyList)
{
    const SortedList list = numberList({4, 5});
    EXPECT_EQ(list.indexAt(-1), -1);
    EXPECT_EQ(list.indexAt(2), -1);
    EXPECT_EQ(list.indexAt(1), 1);
    EXPECT_EQ(SortedList().indexAt(-1), -1);
}

TEST(SortedList, InsertingAnIntOrAnInvalidVariantChangesNothing)
{
    SortedList list = numberList({9});
    list.insert(QVariant(7), 1);
    list.insert(QVariant(), 2);
    list.insert(QVariant(1.5), 3); // a double is no float
    EXPECT_EQ(list.size(), 1);
    EXPECT_EQ(rowsOf(list), std::vector<int>{0});
    SortedList empty;
    empty.insert(QVariant(7), 0);
    empty.insert(QVariant(), 0);
    EXPECT_TRUE(empty.isEmpty());
    EXPECT_EQ(empty.firstPositionOfRowZero(), -1);
}

TEST(SortedList, SortingTwoEntriesSwapsThemOnlyIfTheyAreOutOfOrder)
{
    for (const auto& [a, b, swaps] :
         {std::tuple{1, 2, 0}, std::tuple{2, 2, 0}, std::tuple{2, 1, 1}}) {
        Trace trace;
        std::vector<TracedItem> items{{a, 0, &trace}, {b, 1, &trace}};
        medianQuickSort(items.data(), items.data() + 2, isBelow);
        EXPECT_EQ(trace.swaps.size(), static_cast<std::size_t>(swaps));
        EXPECT_EQ(trace.comparisons.size(), 1U);
        EXPECT_LE(items[0].key, items[1].key);
    }
}

TEST(SortedList, SortingThreeEntriesNeedsNoPartitionStep)
{
    std::vector<int> keys{1, 2, 3};
    do {
        Trace trace;
        std::vector<TracedItem> items;
        for (int i = 0; i < 3; ++i)
            items.push_back({keys[static_cast<std::size_t>(i)], i, &trace});
        medianQuickSort(items.data(), items.data() + 3, isBelow);
        EXPECT_EQ(trace.comparisons.size(), 3U); // a partition would compare with the pivot as well
        EXPECT_TRUE(items[0].key == 1 && items[1].key == 2 && items[2].key == 3);
    } while (std::next_permutation(keys.begin(), keys.end()));
}

TEST(SortedList, TextKeysSortByCodeUnitsSoThatCapitalsComeFirst)
{
    SortedList list = textList({QStringLiteral("b"), QStringLiteral("B"), QStringLiteral("a")});
    list.sort(Qt::AscendingOrder);
    EXPECT_EQ(rowsOf(list), (std::vector<int>{1, 2, 0}));
}

TEST(SortedList, ADescendingSortOfNumbersCarriesTheRowNumbersAlong)
{
    SortedList list = numberList({3, 1, 2});
    list.sort(Qt::DescendingOrder);
    EXPECT_EQ(rowsOf(list), (std::vector<int>{0, 2, 1}));
}

TEST(SortedList, NumbersAreComparedUnsignedAndRealsByValue)
{
    SortedList numbers = numberList({~quint64(0), 1, quint64(1) << 63});
    numbers.sort(Qt::AscendingOrder);
    EXPECT_EQ(rowsOf(numbers), (std::vector<int>{1, 2, 0}));
    SortedList reals;
    int row = 0;
    for (const float key : {0.5F, -1.25F, 0.25F})
        reals.insert(QVariant(key), row++);
    reals.sort(Qt::AscendingOrder);
    EXPECT_EQ(rowsOf(reals), (std::vector<int>{1, 2, 0}));
}

TEST(SortedList, SortingAnEmptyListLeavesItEmpty)
{
    SortedList list;
    list.sort(Qt::AscendingOrder);
    list.sort(Qt::DescendingOrder);
    EXPECT_TRUE(list.isEmpty());
}

TEST(SortedList, AnInsertAfterASortIsAppended)
{
    SortedList list = numberList({5, 4});
    list.sort(Qt::AscendingOrder);
    list.insert(QVariant(static_cast<qulonglong>(1)), 2);
    EXPECT_EQ(rowsOf(list), (std::vector<int>{1, 0, 2}));
}

TEST(SortedList, RemovingAnEntryLeavesTheOthersRowNumbersAlone)
{
    SortedList list = numberList({1, 2, 3});
    list.remove(-1);
    list.remove(3);
    EXPECT_EQ(list.size(), 3);
    list.remove(0);
    EXPECT_EQ(rowsOf(list), (std::vector<int>{1, 2}));
}

TEST(SortedList, TheFirstPositionOfRowZeroIsKnownAlsoWhenThereIsNone)
{
    SortedList list = numberList({3, 2, 1});
    list.sort(Qt::AscendingOrder);
    EXPECT_EQ(list.firstPositionOfRowZero(), 2);
    list.insertNumber(9, 0);
    list.remove(2);
    EXPECT_EQ(list.firstPositionOfRowZero(), 2);
    list.remove(2);
    EXPECT_EQ(list.firstPositionOfRowZero(), -1);
    list.insertNumber(9, 0);
    list.clear();
    EXPECT_EQ(list.firstPositionOfRowZero(), -1);
}

TEST(SortedList, TextsAreTheActiveListBeforeNumbersAndNumbersBeforeReals)
{
    SortedList list;
    list.insertReal(1.0F, 30);
    EXPECT_EQ(list.indexAt(0), 30);
    list.insertNumber(1, 20);
    EXPECT_EQ(list.indexAt(0), 20);
    list.insertText(QStringLiteral("x"), 10);
    EXPECT_EQ(list.indexAt(0), 10);
    EXPECT_EQ(list.size(), 1);
    list.remove(0);
    EXPECT_EQ(list.indexAt(0), 20);
}

TEST(SortedList, AscendingComparisonsAndSwapsAreThoseOfTheSortWrittenOutStepByStep)
{
    comparePlainWithReal(isBelow);
}

TEST(SortedList, DescendingComparisonsAndSwapsAreThoseOfTheSortWrittenOutStepByStep)
{
    comparePlainWithReal(isAbove);
}

TEST(SortedList, TextItemsOrderExactlyAsTheirTextsDo)
{
    std::mt19937 random(11);
    const ushort units[] = {0, 1, 'A', 'a', 'b', 0xD83D, 0xDE00, 0xFFFF};
    std::vector<QString> texts{QString(), QStringLiteral("")};
    for (int i = 0; i < 400; ++i) {
        QString text;
        for (auto n = random() % 7; n > 0; --n)
            text += QChar(units[random() % 8]);
        texts.push_back(text);
    }
    for (const QString& a : texts) {
        for (const QString& b : texts)
            ASSERT_EQ(ListItem<QString>(a, 0) < ListItem<QString>(b, 0), a < b);
    }
}

TEST(SortedList, SixteenThousandEntriesThatSplitBadlyDoNotFillTheStack)
{
    // Sorted halves laid so that the median of three is always near one end.
    std::vector<quint64> keys(16384);
    for (std::size_t i = 0; i < keys.size(); ++i)
        keys[i] = i % 2 == 0 ? i : keys.size() * 2 - i;
    SortedList list = numberList(keys);
    list.sort(Qt::AscendingOrder);
    for (int i = 1; i < list.size(); ++i)
        ASSERT_LT(keys[static_cast<std::size_t>(list.indexAt(i - 1))],
                  keys[static_cast<std::size_t>(list.indexAt(i))]);
}

namespace {

/// Gives out key values only when they are compared, so that the pivot is always the second lowest
/// of its range: the input that splits worst.
struct Adversary
{
    std::vector<int> values;
    int solid = 0;
    int candidate = 0;
    const int gas;
    explicit Adversary(int count)
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

} // namespace

TEST(SortedList, TheStackStaysLogarithmicOnTheInputMadeAgainstThisSort)
{
    constexpr int count = 6000;
    Adversary adversary(count);
    std::vector<int> items(count);
    for (int i = 0; i < count; ++i)
        items[static_cast<std::size_t>(i)] = i;
    const char* lowest = nullptr;
    char here = 0;
    const auto before = [&](int a, int b) {
        char top = 0;
        const char* const place = &top;
        if (!lowest || place < lowest)
            lowest = place;
        return adversary.before(a, b);
    };
    medianQuickSort(items.data(), items.data() + count, before);
    // 13 levels at most; one level for each two entries would be hundreds of kilobytes.
    EXPECT_LT(reinterpret_cast<std::uintptr_t>(&here) - reinterpret_cast<std::uintptr_t>(lowest),
              32U * 1024U);
    std::vector<int> sorted;
    for (const int item : items)
        sorted.push_back(adversary.values[static_cast<std::size_t>(item)]);
    EXPECT_TRUE(std::is_sorted(sorted.begin(), sorted.end()));
}
