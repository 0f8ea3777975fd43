#include "store/SortedList.h"
#include "store/MedianQuickSort.h"
#include "store/TextOrder.h"
#include "tests/store/SortAdversary.h"
#include "tests/support/TestEnvironment.h"

#include <QVariant>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <vector>

using zuLogging::medianQuickSort;
using zuLogging::orderTexts;
using zuLogging::SortedList;
using zuLogging::TextOrder;
using zuLogging::test::hostileSortKeys;
using zuLogging::test::SortAdversary;

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
template <class Item, class Before>
void plainSort(std::vector<Item>& items, int first, int last, Before before)
{
    using std::swap;
    const auto at = [&items](int position) -> Item& {
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

constexpr std::size_t anyWork = std::numeric_limits<std::size_t>::max();

template <class Before>
void comparePlainWithReal(Before before)
{
    for (const std::vector<int>& keys : inputs()) {
        std::size_t work = anyWork;
        Trace plainTrace;
        Trace realTrace;
        std::vector<TracedItem> plain;
        std::vector<TracedItem> real;
        for (std::size_t i = 0; i < keys.size(); ++i) {
            plain.push_back({keys[i], static_cast<int>(i), &plainTrace});
            real.push_back({keys[i], static_cast<int>(i), &realTrace});
        }
        plainSort(plain, 0, static_cast<int>(plain.size()), before);
        EXPECT_TRUE(medianQuickSort(real.data(), real.data() + real.size(), before, work));
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
        std::size_t work = anyWork;
        std::vector<TracedItem> items{{a, 0, &trace}, {b, 1, &trace}};
        EXPECT_TRUE(medianQuickSort(items.data(), items.data() + 2, isBelow, work));
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
        std::size_t work = 0; // none is needed
        EXPECT_TRUE(medianQuickSort(items.data(), items.data() + 3, isBelow, work));
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

namespace {

/// Texts in which everything repeats itself, with units at the ends of their range and in the
/// middle of surrogate pairs.
std::vector<QString> awkwardTexts(std::mt19937& random, int count, unsigned maximumLength)
{
    const ushort units[] = {0, 1, 'A', 'a', 'b', 0xD83D, 0xDE00, 0xFFFF};
    std::vector<QString> texts;
    for (int i = 0; i < count; ++i) {
        QString text;
        if (random() % 3 == 0)
            text = QStringLiteral("a common beginning ");
        for (auto n = random() % maximumLength; n > 0; --n)
            text += QChar(units[random() % 8]);
        texts.push_back(text);
    }
    return texts;
}

std::vector<std::u16string_view> viewsOf(const std::vector<QString>& texts)
{
    std::vector<std::u16string_view> views;
    for (const QString& text : texts)
        views.emplace_back(reinterpret_cast<const char16_t*>(text.constData()),
                           static_cast<std::size_t>(text.size()));
    return views;
}

void expectRanksAreThoseOfTheTexts(const std::vector<QString>& texts)
{
    std::vector<QString> sorted = texts;
    std::sort(sorted.begin(), sorted.end());
    sorted.erase(std::unique(sorted.begin(), sorted.end()), sorted.end());
    const TextOrder order = orderTexts(viewsOf(texts));
    ASSERT_EQ(order.distinct, sorted.size());
    ASSERT_EQ(order.ranks.size(), texts.size());
    for (std::size_t i = 0; i < texts.size(); ++i)
        ASSERT_EQ(sorted[order.ranks[i]], texts[i]);
}

} // namespace

TEST(TextOrder, RanksAreThoseOfTheTextsWhateverTheyHold)
{
    std::mt19937 random(11);
    for (const int count : {0, 1, 2, 3, 15, 16, 17, 200, 5000})
        for (const unsigned length : {1U, 2U, 4U, 7U, 9U, 40U})
            expectRanksAreThoseOfTheTexts(awkwardTexts(random, count, length));
}

TEST(TextOrder, AFewTextsOverAndOverAreRankedAsManyAre)
{
    std::mt19937 random(3);
    for (const int different : {1, 2, 255, 256, 257, 300}) {
        std::vector<QString> texts;
        for (int i = 0; i < 2000; ++i)
            texts.push_back(QStringLiteral("Module %1").arg(random() % unsigned(different)));
        expectRanksAreThoseOfTheTexts(texts);
    }
}

TEST(TextOrder, AFewTextsAreRankedWhateverTheirNumber)
{
    std::mt19937 random(5);
    for (const int count : {1, 63, 64, 65, 127, 128, 129, 192, 1000}) {
        std::vector<QString> texts;
        for (int i = 0; i < count; ++i)
            texts.push_back(QString::number(random() % 9));
        expectRanksAreThoseOfTheTexts(texts);
    }
}

TEST(TextOrder, AFewTextsThatDifferInTheirMiddleOnlyAreToldApart)
{
    std::vector<QString> texts;
    for (int i = 0; i < 500; ++i)
        texts.push_back(
            QStringLiteral("same%1same").arg(QChar(static_cast<ushort>(i % 50 * 1311))));
    texts.push_back(QString());
    texts.push_back(QString(QChar(0)));
    expectRanksAreThoseOfTheTexts(texts);
}

TEST(TextOrder, LongTextsThatDifferAtTheirEndsAreToldApart)
{
    std::vector<QString> texts;
    for (int i = 0; i < 600; ++i)
        texts.push_back(QString(20000, QLatin1Char('x')) + QString::number(i % 400));
    texts.push_back(QString(20000, QLatin1Char('x')));
    texts.push_back(QString(20000, QLatin1Char('x')) + QChar(0));
    texts.push_back(QString(19999, QLatin1Char('x')));
    expectRanksAreThoseOfTheTexts(texts);
}

TEST(SortedList, TextsThatRepeatComeOutAsTheSortWrittenOutStepByStepLeavesThem)
{
    std::mt19937 random(5);
    for (const int count : {2, 3, 4, 7, 50, 1000, 3000}) {
        for (const bool ascending : {true, false}) {
            const std::vector<QString> texts = awkwardTexts(random, count, 4);
            struct Item
            {
                QString key;
                int row;
            };
            std::vector<Item> plain;
            for (int row = 0; row < count; ++row)
                plain.push_back({texts[static_cast<std::size_t>(row)], row});
            plainSort(plain, 0, count, [ascending](const Item& a, const Item& b) {
                return ascending ? a.key < b.key : b.key < a.key;
            });
            SortedList list = textList(texts);
            list.sort(ascending ? Qt::AscendingOrder : Qt::DescendingOrder);
            for (int i = 0; i < count; ++i)
                ASSERT_EQ(list.indexAt(i), plain[static_cast<std::size_t>(i)].row);
        }
    }
}

TEST(SortedList, ASecondSortOfTextsGoesOnFromTheOrderOfTheFirst)
{
    std::mt19937 random(6);
    const std::vector<QString> texts = awkwardTexts(random, 700, 3);
    struct Item
    {
        QString key;
        int row;
    };
    std::vector<Item> plain;
    for (int row = 0; row < 700; ++row)
        plain.push_back({texts[static_cast<std::size_t>(row)], row});
    const auto below = [](const Item& a, const Item& b) { return a.key < b.key; };
    const auto above = [](const Item& a, const Item& b) { return b.key < a.key; };
    SortedList list = textList(texts);
    plainSort(plain, 0, 700, below);
    list.sort(Qt::AscendingOrder);
    plain.erase(plain.begin() + 3);
    list.remove(3);
    plain.push_back({QStringLiteral("b"), 700});
    list.insertText(QStringLiteral("b"), 700);
    plainSort(plain, 0, 700, above);
    list.sort(Qt::DescendingOrder);
    for (int i = 0; i < 700; ++i)
        ASSERT_EQ(list.indexAt(i), plain[static_cast<std::size_t>(i)].row);
}

TEST(SortedList, ATextIsKeptWhenTheMessageThatHeldItIsForgotten)
{
    SortedList list;
    std::vector<std::weak_ptr<const std::u16string>> owners;
    constexpr int count = 100;
    for (int row = 0; row < count; ++row) {
        const auto owner = std::make_shared<const std::u16string>(
            u"text " + QString::number(row % 10).toStdU16String() + u" of a message long gone");
        owners.push_back(owner);
        list.insertSharedText(*owner, owner, row);
    }
    // Each that comes looks at two others.
    static constexpr std::u16string_view forEver = u"text 0";
    for (int row = count; row < 2 * count; ++row) {
        list.copyForgottenTexts();
        list.insertSharedText(forEver, nullptr, row);
    }
    for (const auto& owner : owners)
        EXPECT_TRUE(owner.expired());
    list.sort(Qt::AscendingOrder);
    EXPECT_GE(list.indexAt(0), count); // the shortest
    for (int i = 0; i < count; ++i)
        EXPECT_EQ(list.indexAt(count + i) % 10, i / 10);
}

TEST(SortedList, ATextWhoseMessageIsStillThereIsNotCopied)
{
    SortedList list;
    const auto owner = std::make_shared<const std::u16string>(u"text");
    for (int row = 0; row < 50; ++row) {
        list.copyForgottenTexts();
        list.insertSharedText(*owner, owner, row);
    }
    EXPECT_EQ(owner.use_count(), 51);
    list.remove(7);
    EXPECT_EQ(owner.use_count(), 50);
    list.clear();
    EXPECT_EQ(owner.use_count(), 1);
}

TEST(SortedList, PlacesOfRemovedTextsAreUsedAgain)
{
    SortedList list;
    for (int row = 0; row < 1000; ++row) {
        list.insertText(QString::number(row), row);
        if (row >= 10)
            list.remove(0);
    }
    EXPECT_EQ(list.size(), 10);
    list.sort(Qt::AscendingOrder);
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(list.indexAt(i), 990 + i);
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

TEST(SortedList, TheStackStaysLogarithmicOnTheInputMadeAgainstThisSort)
{
    constexpr int count = 6000;
    SortAdversary adversary(count);
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
    std::size_t work = anyWork;
    ASSERT_TRUE(medianQuickSort(items.data(), items.data() + count, before, work));
    // 13 levels at most; one level for each two entries would be hundreds of kilobytes.
    EXPECT_LT(reinterpret_cast<std::uintptr_t>(&here) - reinterpret_cast<std::uintptr_t>(lowest),
              32U * 1024U);
    std::vector<int> sorted;
    for (const int item : items)
        sorted.push_back(adversary.values[static_cast<std::size_t>(item)]);
    EXPECT_TRUE(std::is_sorted(sorted.begin(), sorted.end()));
}

namespace {

/// The worst at every step.
std::vector<int> hostileKeys(int count)
{
    return hostileSortKeys(count, std::numeric_limits<std::size_t>::max());
}

std::size_t workFor(std::vector<int> keys)
{
    const std::size_t allowed = std::numeric_limits<std::size_t>::max();
    std::size_t work = allowed;
    EXPECT_TRUE(medianQuickSort(
        keys.data(), keys.data() + keys.size(), [](int a, int b) { return a < b; }, work));
    return allowed - work;
}

} // namespace

TEST(SortedList, TheSortGivesUpWhenItsWorkIsUsedUpAndLosesNothing)
{
    constexpr int count = 4000;
    std::vector<int> keys = hostileKeys(count);
    std::vector<int> sorted = keys;
    std::sort(sorted.begin(), sorted.end());
    std::size_t work = 200U * count;
    EXPECT_FALSE(medianQuickSort(
        keys.data(), keys.data() + count, [](int a, int b) { return a < b; }, work));
    EXPECT_LE(work, 200U * count);
    std::sort(keys.begin(), keys.end());
    EXPECT_EQ(keys, sorted);
}

TEST(SortedList, HostileNumbersRealsAndTextsAreSortedAllTheSame)
{
    constexpr int count = 20000; // enough for the sort to give up
    const std::vector<int> keys = hostileKeys(count);
    for (const bool ascending : {true, false}) {
        SortedList numbers;
        SortedList reals;
        SortedList texts;
        for (int row = 0; row < count; ++row) {
            const int key = keys[static_cast<std::size_t>(row)];
            numbers.insertNumber(static_cast<quint64>(key), row);
            reals.insertReal(
                row == 17 ? std::numeric_limits<float>::quiet_NaN() : static_cast<float>(key), row);
            // Every text twice, so that the order of equal ones is asked for.
            texts.insertText(QString(QChar(static_cast<ushort>(key / 2))), row);
        }
        const Qt::SortOrder order = ascending ? Qt::AscendingOrder : Qt::DescendingOrder;
        for (SortedList* list : {&numbers, &reals, &texts}) {
            list->sort(order);
            ASSERT_EQ(list->size(), count);
            std::vector<bool> seen(count, false);
            int before = -1;
            for (int i = 0; i < count; ++i) {
                const int row = list->indexAt(i);
                ASSERT_FALSE(seen[static_cast<std::size_t>(row)]);
                seen[static_cast<std::size_t>(row)] = true;
                if (list == &reals && row == 17)
                    continue;
                int key = keys[static_cast<std::size_t>(row)];
                key = list == &texts ? key / 2 : key;
                if (before >= 0 && list != &reals) {
                    ASSERT_TRUE(ascending ? before <= key : before >= key);
                }
                before = key;
            }
        }
    }
}

TEST(SortedList, KeysAsLogsHaveThemNeedAQuarterOfTheAllowedWorkAtMost)
{
    std::mt19937 random(9);
    constexpr int count = 200000;
    constexpr std::size_t quarter = 16U * 18U * count;
    std::vector<int> random1;
    std::vector<int> few;
    std::vector<int> ascending;
    std::vector<int> equal(count, 1);
    std::vector<int> appended;
    std::vector<int> sawTooth;
    std::vector<int> organPipe;
    std::vector<int> shuffledRuns;
    for (int i = 0; i < count; ++i) {
        random1.push_back(static_cast<int>(random()));
        few.push_back(static_cast<int>(random() % 10));
        ascending.push_back(i);
        appended.push_back(i < count / 100 * 99 ? i : static_cast<int>(random() % count));
        sawTooth.push_back(i % 1000);
        organPipe.push_back(std::min(i, count - i));
        shuffledRuns.push_back(i / 100 * 7919 % count + i % 100);
    }
    std::vector<int> descending(ascending.rbegin(), ascending.rend());
    for (const auto& keys :
         {random1, few, ascending, descending, equal, appended, sawTooth, organPipe, shuffledRuns})
        EXPECT_LT(workFor(keys), quarter);
}
