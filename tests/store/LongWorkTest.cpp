// Work on many rows that another thread does while the window's goes on reading: its results are
// those of the plain operations, and cancelled at any moment it has changed nothing.

#include "logging/JsonLogReader.h"
#include "logging/LogFileReader.h"
#include "logging/TextLogReader.h"
#include "logging/WorkControl.h"
#include "store/HandOverMutex.h"
#include "store/SortInPieces.h"
#include "tests/store/StoreTestSupport.h"
#include "tests/support/TestEnvironment.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <future>
#include <numeric>
#include <random>
#include <thread>

namespace zuLogging::test {
namespace {

using Messages = std::vector<std::shared_ptr<LogMessage>>;

class LongWork : public ::testing::Test
{
protected:
    LongWork()
    {
        store->setModels(&full, &filtered);
        full.setColumns(defaultColumnOrder());
        filtered.setColumns(defaultColumnOrder());
    }
    ~LongWork() override { store->setModels(nullptr, nullptr); }

    std::shared_ptr<LogMessage> randomMessage()
    {
        const std::uint64_t number = random() % 1000;
        const std::u16string text = u"text " + toText(random() % 500);
        auto message = std::make_shared<LogMessage>(
            number, random() % 7, random(), MessageFields::unixTimestamp + random() % 1000000,
            1U << random() % 6, std::u16string_view(u"main.cpp:1"),
            std::u16string_view(u"module " + toText(random() % 5)), std::u16string_view(u"group"),
            std::u16string_view(text), random() % 3, 8U);
        message->renderTimestamp();
        return message;
    }
    void fill(int count)
    {
        Messages messages;
        for (int i = 0; i < count; ++i)
            messages.push_back(randomMessage());
        full.addMessages(messages);
    }
    static std::u16string toText(std::uint64_t number)
    {
        return QString::number(number).toStdU16String();
    }
    static std::vector<int> order(const LogTableModel& model)
    {
        std::vector<int> rows;
        for (int row = 0; row < model.rowCount(); ++row)
            rows.push_back(model.storedRow(row));
        return rows;
    }
    static Messages rows(const LogTableModel& model)
    {
        return model.messagesFrom(0, model.messageCount());
    }
    /// What a sort does when nobody waits for it.
    void sortBeside(LogTableModel& model, int column, Qt::SortOrder order)
    {
        const LogContainer::RowsHold hold = store->holdRows();
        WorkControl control;
        const auto prepared = model.prepareSort(column, order, control);
        model.applySort(*prepared);
        EXPECT_EQ(control.percent(), 100);
    }
    /// Runs `work` cancelled at its first report, its second, ... later with random steps between,
    /// until it gets to its end, and looks each time whether all is `unchanged`. Returns how often
    /// it reports, less the last step.
    int cancelEverywhere(const std::function<void(WorkControl&)>& work,
                         const std::function<void()>& unchanged)
    {
        constexpr int all = 3;
        constexpr int longestStep = 10;
        for (int cancelled = 0;;) {
            int left = cancelled;
            WorkControl control([&](WorkControl& self) {
                if (left-- == 0)
                    self.cancel();
                full.messageCount(); // nobody holds the lock while it reports
            });
            try {
                work(control);
                return cancelled;
            } catch (const WorkCancelled&) {
                unchanged();
            }
            cancelled += cancelled < all ? 1 : 1 + static_cast<int>(random() % longestStep);
            if (::testing::Test::HasFailure())
                return -1;
        }
    }
    QString write(const char* name, const QByteArray& bytes) const
    {
        QFile file(directory.filePath(QLatin1String(name)));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        EXPECT_EQ(file.write(bytes), bytes.size());
        return file.fileName();
    }
    static QByteArray content(const QString& path)
    {
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    }

    std::mt19937 random{7};
    std::shared_ptr<QuietStore> store = std::make_shared<QuietStore>();
    LogTableModel full{store};
    LogTableModel filtered{store};
    QTemporaryDir directory;
};

// --- The control

TEST_F(LongWork, WhatWasCommittedIsNotCancelledAndWhatWasCancelledIsNotCommitted)
{
    WorkControl committed;
    committed.commit();
    EXPECT_FALSE(committed.canBeCancelled());
    EXPECT_FALSE(committed.cancel());
    committed.report(1, 2);
    EXPECT_EQ(committed.percent(), 50);

    WorkControl cancelled;
    EXPECT_TRUE(cancelled.cancel());
    EXPECT_TRUE(cancelled.cancel());
    EXPECT_FALSE(cancelled.canBeCancelled());
    EXPECT_THROW(cancelled.commit(), WorkCancelled);
    EXPECT_THROW(cancelled.report(0, 1), WorkCancelled);
}

TEST_F(LongWork, WhatIsToldNeverGoesBackAndStaysWithinItsPart)
{
    WorkControl control;
    control.report(30, 100);
    control.report(10, 100);
    EXPECT_EQ(control.percent(), 30);
    control.beginPart(40, 60);
    EXPECT_EQ(control.percent(), 40);
    control.report(1, 2);
    EXPECT_EQ(control.percent(), 50);
    control.report(99, 2); // a file that grows
    EXPECT_EQ(control.percent(), 60);
    control.report(1, 0);
    EXPECT_EQ(control.percent(), 60);
}

// --- The lock that is handed on

TEST_F(LongWork, TheRowsHoldIsHandedToAnotherThreadAndLetGoThere)
{
    LogContainer::RowsHold hold;
    std::thread([&] { hold = store->holdRows(); }).join();
    std::atomic<bool> got{false};
    std::thread waiting([&] {
        const LogContainer::RowsHold other = store->holdRows();
        got = true;
    });
    EXPECT_FALSE(got);
    hold.unlock();
    waiting.join();
    EXPECT_TRUE(got);
}

TEST_F(LongWork, WhoHoldsTheRowsAgainAndAgainLetsOthersInEachTime)
{
    HandOverMutex mutex;
    std::atomic<bool> over{false};
    std::atomic<int> others{0};
    mutex.lock();
    std::thread waiting([&] {
        while (!over) {
            mutex.lock();
            ++others;
            mutex.unlock();
        }
    });
    for (int seen = 0; others < 100; seen = others) {
        mutex.unlock();
        mutex.lock();
        EXPECT_GE(others.load(), seen);
    }
    over = true;
    mutex.unlock();
    waiting.join();
}

// --- Sorting

TEST_F(LongWork, ASortInPiecesGivesWhatTheStandardOneGives)
{
    constexpr std::size_t count = 300000; // several pieces
    std::vector<std::uint32_t> descending(count);
    std::iota(descending.rbegin(), descending.rend(), 0U);
    std::vector<std::uint32_t> few(count);
    std::vector<std::uint32_t> many(count);
    for (std::size_t i = 0; i < count; ++i) {
        few[i] = static_cast<std::uint32_t>(random() % 3);
        many[i] = static_cast<std::uint32_t>(random());
    }
    std::vector<std::uint32_t> pipes(count); // the largest in the middle
    for (std::size_t i = 0; i < count; ++i)
        pipes[i] = static_cast<std::uint32_t>(std::min(i, count - i));
    for (std::vector<std::uint32_t> items :
         {descending, few, many, pipes, std::vector<std::uint32_t>(count, 5),
          std::vector<std::uint32_t>(), std::vector<std::uint32_t>{3}}) {
        std::vector<std::uint32_t> expected = items;
        std::sort(expected.begin(), expected.end());
        std::uint64_t last = 0;
        sortInPieces(items.begin(), items.end(), std::less<>(), [&](std::uint64_t sorted) {
            EXPECT_LE(last, sorted);
            EXPECT_LE(sorted, items.size());
            last = sorted;
        });
        EXPECT_EQ(items, expected);
    }
}

TEST_F(LongWork, ASortInPiecesThatIsCancelledLosesNoEntry)
{
    std::vector<std::uint32_t> items(300000);
    for (auto& item : items)
        item = static_cast<std::uint32_t>(random());
    std::vector<std::uint32_t> expected = items;
    std::sort(expected.begin(), expected.end());
    for (int limit = 0; limit < 4; ++limit) {
        int left = limit;
        EXPECT_THROW(sortInPieces(items.begin(), items.end(), std::less<>(),
                                  [&](std::uint64_t) {
                                      if (left-- == 0)
                                          throw WorkCancelled();
                                  }),
                     WorkCancelled);
        std::vector<std::uint32_t> kept = items;
        std::sort(kept.begin(), kept.end());
        EXPECT_EQ(kept, expected);
    }
}

TEST_F(LongWork, ASortBesideTheRowsGivesTheOrderOfThePlainOne)
{
    LogTableModel plain{store};
    plain.setColumns(defaultColumnOrder());
    for (const int count : {0, 1, 2, 3, 50, 3000, 17000}) {
        const Messages messages = [&] {
            Messages made;
            for (int i = 0; i < count; ++i)
                made.push_back(randomMessage());
            return made;
        }();
        full.clear();
        plain.clear();
        full.addMessages(messages);
        plain.addMessages(messages);
        for (int i = 0; i < 16; ++i) {
            store->setTimeDisplayMode(static_cast<int>(random() % 2));
            const int column = static_cast<int>(random() % 14) - 1; // also none, and one too many
            const auto way = random() % 2 == 0 ? Qt::AscendingOrder : Qt::DescendingOrder;
            plain.sort(column, way);
            sortBeside(full, column, way);
            ASSERT_EQ(order(full), order(plain)) << count << " rows, column " << column;
            ASSERT_EQ(full.sortColumn(), plain.sortColumn());
            ASSERT_EQ(full.sortOrder(), plain.sortOrder());
            // Entries behind the sorted ones, and at the limit some whose rows have left.
            const Messages more{randomMessage(), randomMessage()};
            full.addMessages(more);
            plain.addMessages(more);
            ASSERT_EQ(full.removeOldest(), plain.removeOldest());
            ASSERT_EQ(order(full), order(plain));
        }
    }
}

TEST_F(LongWork, ASearchBesideTheRowsFindsWhatTheWindowWouldFind)
{
    fill(5000);
    const auto find = [&](const QModelIndex& start, const QString& text, bool down) {
        const LogContainer::RowsHold hold = store->holdRows();
        WorkControl control;
        return std::async(
                   std::launch::async,
                   [&] { return full.findNext(start, text, down, Qt::CaseInsensitive, &control); })
            .get();
    };
    for (const int column : {-1, 11}) {
        full.sort(column, Qt::DescendingOrder);
        for (int i = 0; i < 20; ++i) {
            const QModelIndex start = full.index(static_cast<int>(random() % 5000), 3);
            const QString text = i % 4 == 0 ? QStringLiteral("nowhere")
                                            : QStringLiteral("TEXT %1").arg(random() % 500);
            const bool down = i % 2 == 0;
            EXPECT_EQ(find(start, text, down),
                      full.findNext(start, text, down, Qt::CaseInsensitive));
        }
    }
}

TEST_F(LongWork, ASearchTellsHowFarItIsAndCanBeCancelledAnywhere)
{
    fill(20000);
    const auto search = [&](WorkControl& control) {
        full.findNext(full.index(0, 0), QStringLiteral("nowhere"), true, Qt::CaseSensitive,
                      &control);
    };
    int last = 0;
    WorkControl watched([&](WorkControl& self) {
        EXPECT_GE(self.percent(), last);
        EXPECT_LE(self.percent() - last, 6);
        last = self.percent();
    });
    search(watched);
    EXPECT_GE(last, 90);

    const Messages before = rows(full);
    const int times = cancelEverywhere(search, [&] { ASSERT_EQ(rows(full), before); });
    EXPECT_GE(times, 20000 / 1024);
}

TEST_F(LongWork, WhatViewsHoldOnToFollowsItsMessageThroughASortBesideTheRows)
{
    fill(5000);
    std::vector<std::pair<QPersistentModelIndex, std::shared_ptr<LogMessage>>> held;
    for (int i = 0; i < 20; ++i) {
        const int row = static_cast<int>(random() % 5000);
        held.emplace_back(full.index(row, 3), full.messageAt(row));
    }
    for (const auto way : {Qt::DescendingOrder, Qt::AscendingOrder}) {
        sortBeside(full, 11, way);
        for (const auto& [index, message] : held)
            EXPECT_EQ(full.messageAt(full.storedRow(index.row())), message);
    }
    sortBeside(full, -1, Qt::AscendingOrder);
    for (const auto& [index, message] : held)
        EXPECT_EQ(full.messageAt(index.row()), message);
}

TEST_F(LongWork, RowsThatCameOrWentSinceASortWasPreparedAreSortedAsWell)
{
    fill(3000);
    LogTableModel plain{store};
    plain.setColumns(defaultColumnOrder());
    plain.addMessages(rows(full));
    WorkControl control;
    const auto prepared = full.prepareSort(11, Qt::DescendingOrder, control);
    const Messages more{randomMessage()};
    for (LogTableModel* model : {&full, &plain}) {
        model->addMessages(more);
        model->removeOldest();
    }
    full.applySort(*prepared);
    plain.sort(11, Qt::DescendingOrder);
    EXPECT_EQ(order(full), order(plain));
}

TEST_F(LongWork, ASortThatIsCancelledAnywhereLeavesTheOldOrder)
{
    fill(40000);
    for (const auto& [from, to] :
         std::initializer_list<std::pair<int, int>>{{-1, 11}, {11, 11}, {11, 0}, {0, 0}, {7, 3}}) {
        full.sort(from, Qt::DescendingOrder);
        const std::vector<int> before = order(full);
        const int times = cancelEverywhere(
            [&, column = to](WorkControl& control) {
                const LogContainer::RowsHold hold = store->holdRows();
                full.prepareSort(column, Qt::AscendingOrder, control);
            },
            [&] {
                ASSERT_EQ(order(full), before);
                ASSERT_TRUE(store->holdRows().owns_lock());
            });
        // No more rows than that between two reports, and all stages of the sort have some.
        EXPECT_GT(times, 40000 / 16384 + 3) << "from " << from << " to " << to;
    }
}

TEST_F(LongWork, ALogOfManyDifferentTextsIsRankedInStepsToo)
{
    Messages messages;
    constexpr int count = 135000;
    for (int i = 0; i < count; ++i)
        messages.push_back(std::make_shared<LogMessage>(
            1U, 0U, 0U, 0U, 8U, std::u16string_view(), std::u16string_view(), std::u16string_view(),
            std::u16string_view(u"request " + toText(random()) + u" is done"), 0U, 0U));
    full.addMessages(messages);
    const std::vector<int> before = order(full);
    EXPECT_GT(cancelEverywhere(
                  [&](WorkControl& control) { full.prepareSort(11, Qt::AscendingOrder, control); },
                  [&] { ASSERT_EQ(full.messageCount(), count); }),
              count / 16384 + 3);
    EXPECT_EQ(order(full), before);
    LogTableModel plain{store};
    plain.setColumns(defaultColumnOrder());
    plain.addMessages(messages);
    plain.sort(11, Qt::AscendingOrder);
    sortBeside(full, 11, Qt::AscendingOrder);
    EXPECT_EQ(order(full), order(plain));
}

// --- Filtering

TEST_F(LongWork, AFilterWorkedOutBesideTheModelsKeepsTheRowsOfThePlainOne)
{
    fill(40000);
    for (int i = 0; i < 12; ++i) {
        MessageFilter filter;
        if (random() % 2 == 0)
            filter.include << QStringLiteral("text %1").arg(random() % 50);
        if (random() % 2 == 0)
            filter.exclude << QStringLiteral("module %1").arg(random() % 5);
        if (random() % 2 == 0)
            filter.levels << QStringLiteral("warn");
        Messages expected;
        if (!filter.isEmpty())
            for (const auto& message : rows(full))
                if (filter.passes(*message))
                    expected.push_back(message);
        WorkControl control;
        const auto change = store->prepareFilter(&filter, &control);
        store->apply(*change);
        ASSERT_EQ(rows(filtered), expected);
        ASSERT_TRUE(store->filter() == filter); // and the rows are let go
        ASSERT_EQ(store->isFiltering(), !filter.isEmpty());
        ASSERT_EQ(filtered.sortColumn(), -1);
    }
}

TEST_F(LongWork, ARefilterWithoutAnyFilterShowsEverything)
{
    fill(1000);
    store->apply(*store->prepareFilter(nullptr, nullptr));
    EXPECT_EQ(rows(filtered), rows(full));
    EXPECT_FALSE(store->isFiltering());
}

TEST_F(LongWork, AFilterThatIsCancelledAnywhereLeavesTheOneInForceWithItsRows)
{
    fill(100000);
    store->setFilter({QStringLiteral("text 1")}, {}, {}, false, false);
    filtered.sort(11, Qt::DescendingOrder);
    const MessageFilter before = store->filter();
    const Messages kept = rows(filtered);
    const std::vector<int> sorted = order(filtered);
    MessageFilter other;
    other.exclude << QStringLiteral("text 1");
    const int cancelled =
        cancelEverywhere([&](WorkControl& control) { store->prepareFilter(&other, &control); },
                         [&] {
                             ASSERT_TRUE(store->filter() == before);
                             ASSERT_EQ(rows(filtered), kept);
                             ASSERT_EQ(order(filtered), sorted);
                         });
    EXPECT_GE(cancelled, 100000 / 16384 - 2);
}

TEST_F(LongWork, RecordsThatArriveWhileAFilterIsWorkedOutAreNeitherLostNorDoubled)
{
    fill(30000);
    LogContainerAccess::setActive(*store, true);
    std::atomic<bool> over{false};
    std::thread worker([&] {
        for (std::uint64_t id = 1000000; !over; ++id) {
            store->addMessage(decoded(id, id % 2 == 0 ? u"even" : u"odd"));
            LogContainerAccess::moveMessages(*store);
        }
    });
    for (int i = 0; i < 40; ++i) {
        MessageFilter filter;
        filter.include << (i % 2 == 0 ? QStringLiteral("even") : QStringLiteral("odd"));
        WorkControl control;
        const auto change = store->prepareFilter(&filter, &control);
        store->apply(*change);
    }
    over = true;
    worker.join();
    Messages expected;
    for (const auto& message : rows(full))
        if (store->filter().passes(*message))
            expected.push_back(message);
    EXPECT_EQ(rows(filtered), expected);
}

// --- Files

TEST_F(LongWork, ASaveThatIsCancelledAnywhereLeavesTheOldFileAndNoOther)
{
    fill(20000);
    const QString path = write("log.json", "the old file");
    const int cancelled = cancelEverywhere(
        [&](WorkControl& control) { ASSERT_TRUE(full.saveToJson(path, &control)); },
        [&] {
            ASSERT_EQ(content(path), "the old file");
            ASSERT_EQ(QDir(directory.path()).entryList(QDir::Files | QDir::Hidden).size(), 1);
        });
    EXPECT_GE(cancelled, 20000 / 1000 - 8);
    const QString plain = directory.filePath(QStringLiteral("plain.json"));
    ASSERT_TRUE(full.saveToJson(plain));
    EXPECT_EQ(content(path), content(plain));
}

TEST_F(LongWork, ANewFileWhoseSaveIsCancelledIsNotThere)
{
    fill(5000);
    const QString path = directory.filePath(QStringLiteral("new.json"));
    WorkControl control;
    control.cancel();
    EXPECT_THROW(full.saveToJson(path, &control), WorkCancelled);
    EXPECT_TRUE(QDir(directory.path()).entryList(QDir::Files | QDir::Hidden).isEmpty());
}

class LongLoad : public LongWork, public testing::WithParamInterface<const char*>
{
protected:
    QString file()
    {
        const std::string form = GetParam();
        LogTableModel saved{store};
        Messages messages;
        for (int i = 0; i < (form == "array" ? 6000 : 1500); ++i)
            messages.push_back(randomMessage());
        saved.addMessages(messages);
        const QString path = directory.filePath(QStringLiteral("array.json"));
        EXPECT_TRUE(saved.saveToJson(path));
        if (form == "array")
            return path;
        QByteArray lines;
        for (const auto& message : messages) {
            // Long ones: few records in many pieces.
            const QByteArray text =
                toQString(message->logMessage()).toUtf8() + QByteArray(300, '.');
            if (form == "text")
                lines += text + '\n';
            else
                lines += "{\"LogMessage\": \"" + text +
                         "\", \"ServiceMsgID\": \"7\", \"Unknown\": [1, 2, 3]}\n";
        }
        // A text log is read in larger pieces.
        while (form == "text" && lines.size() < 4000000)
            lines += lines;
        return write("lines.log", lines);
    }
};

INSTANTIATE_TEST_SUITE_P(OfEachForm, LongLoad, testing::Values("array", "lines", "text"),
                         [](const auto& form) { return std::string(form.param); });

TEST_P(LongLoad, ThatIsCancelledAnywhereAddsNothingAndElseTheSameRows)
{
    const QString path = file();
    fill(100);
    full.sort(11, Qt::AscendingOrder);
    const Messages before = rows(full);
    const std::uint64_t loaded = store->ledger()->count(LogCount::Loaded);
    const int cancelled = cancelEverywhere(
        [&](WorkControl& control) { ASSERT_EQ(full.loadLog(path, &control), QString()); },
        [&] {
            ASSERT_EQ(rows(full), before);
            ASSERT_EQ(store->ledger()->count(LogCount::Loaded), loaded);
        });
    EXPECT_GT(cancelled, 4);
    LogTableModel plain{store};
    plain.setColumns(defaultColumnOrder());
    plain.addMessages(before);
    plain.sort(11, Qt::AscendingOrder);
    ASSERT_EQ(plain.loadLog(path), QString());
    ASSERT_EQ(full.messageCount(), plain.messageCount());
    for (int row = 0; row < full.messageCount(); ++row) {
        ASSERT_EQ(full.storedRow(row), plain.storedRow(row));
        ASSERT_EQ(full.messageAt(row)->texts(), plain.messageAt(row)->texts());
        ASSERT_EQ(full.messageAt(row)->serviceMsgId(), plain.messageAt(row)->serviceMsgId());
    }
    EXPECT_EQ(store->ledger()->count(LogCount::Loaded),
              loaded + static_cast<std::uint64_t>(full.messageCount()) - before.size());
}

TEST_F(LongWork, ALoadOfTheTablesOwnFormIsCancelledAnywhereToo)
{
    fill(12000);
    const QString path = directory.filePath(QStringLiteral("log.json"));
    ASSERT_TRUE(full.saveToJson(path));
    const Messages before = rows(full);
    EXPECT_GT(cancelEverywhere(
                  [&](WorkControl& control) { ASSERT_TRUE(full.loadFromJson(path, &control)); },
                  [&] { ASSERT_EQ(rows(full), before); }),
              10);
    EXPECT_EQ(full.messageCount(), 24000);
}

TEST_F(LongWork, OnceItsRowsAreBeingAddedALoadIsNotCancelledAnyMore)
{
    fill(40000);
    const QString path = directory.filePath(QStringLiteral("log.json"));
    ASSERT_TRUE(full.saveToJson(path));
    WorkControl control;
    ASSERT_TRUE(full.loadFromJson(path, &control));
    EXPECT_FALSE(control.canBeCancelled());
    EXPECT_FALSE(control.cancel());
    EXPECT_EQ(full.messageCount(), 80000);
}

} // namespace
} // namespace zuLogging::test
