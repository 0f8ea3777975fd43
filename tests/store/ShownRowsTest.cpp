#include "store/LogTableModel.h"
#include "tests/store/TableModelTest.h"
#include "tests/support/TestEnvironment.h"

#include <QAbstractItemModelTester>
#include <QItemSelectionModel>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <random>

using namespace zuLogging;
using namespace zuLogging::test;

namespace {

constexpr int cap = 100;

/// A model that shows 100 rows at most.
class ShownRows : public TableModelTest
{
protected:
    ShownRows() { model.setMaximumShownRows(cap); }

    std::uint64_t shownId(int row) const
    {
        return model.data(model.index(row, idColumn)).toULongLong();
    }
    /// The rows shown are these, and nothing tells of others.
    void expectShown(std::uint64_t first, std::uint64_t last) const
    {
        const int rows = static_cast<int>(last - first) + 1;
        ASSERT_EQ(model.rowCount(), rows);
        for (int row = 0; row < rows; ++row)
            ASSERT_EQ(shownId(row), first + static_cast<std::uint64_t>(row)) << row;
        EXPECT_FALSE(model.index(rows, 0).isValid());
        EXPECT_EQ(model.headerData(rows - 1, Qt::Vertical), QVariant(rows));
        EXPECT_FALSE(model.headerData(rows, Qt::Vertical).isValid());
        EXPECT_EQ(model.hiddenRows() + rows, model.messageCount());
    }
};

} // namespace

TEST_F(ShownRows, AreAllUntilThereAreMoreThanCanBeShown)
{
    addMany(cap);
    expectShown(1, 100);
    EXPECT_EQ(model.hiddenRows(), 0);
    addMany(1);
    expectShown(2, 101);
    EXPECT_EQ(model.hiddenRows(), 1);
    EXPECT_EQ(model.messageCount(), 101);
    model.setMaximumShownRows(0); // one at least
    expectShown(101, 101);
    model.setMaximumShownRows(1000);
    expectShown(1, 101);
}

TEST_F(ShownRows, AreTheNewestAndTheOldestWhenSortedTheOtherWayRound)
{
    addMany(250);
    expectShown(151, 250);
    model.sort(idColumn, Qt::DescendingOrder);
    EXPECT_EQ(shownId(0), 100U);
    EXPECT_EQ(shownId(99), 1U);
    EXPECT_EQ(model.storedRow(99), 0);
    addMany(10); // to the end, as in any sorted table
    EXPECT_EQ(shownId(99), 260U);
    EXPECT_EQ(shownId(89), 1U);
    model.sort(idColumn, Qt::AscendingOrder);
    expectShown(161, 260);
}

TEST_F(ShownRows, RowsInFrontOfThemHaveNegativeNumbers)
{
    addMany(250);
    EXPECT_EQ(model.cellText(-150, idColumn), QStringLiteral("1"));
    EXPECT_EQ(model.cellText(-1, idColumn), QStringLiteral("150"));
    EXPECT_EQ(model.cellText(-151, idColumn), QString());
    EXPECT_EQ(model.storedRow(-150), 0);
    EXPECT_EQ(model.storedRow(-151), -1);
    EXPECT_FALSE(model.index(-1, 0).isValid());
    model.sort(idColumn, Qt::DescendingOrder);
    EXPECT_EQ(model.cellText(-150, idColumn), QStringLiteral("250"));
    EXPECT_EQ(model.cellText(-151, idColumn), QString());
}

TEST_F(ShownRows, TheStoreCountsFiltersTruncatesAndSavesAllMessages)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("log.json"));
    addMany(250);
    ASSERT_TRUE(model.saveToJson(path));
    LogTableModel again(nullptr);
    ASSERT_TRUE(again.loadFromJson(path));
    EXPECT_EQ(again.messageCount(), 250);
    store->setFilter({QStringLiteral("text")}, {}, {}, false, false);
    EXPECT_EQ(filtered.messageCount(), 250);
    EXPECT_EQ(filtered.rowCount(), 250); // its own cap
    EXPECT_EQ(storedIds(filtered).front(), 1U);
    store->truncateTo(200);
    EXPECT_EQ(model.messageCount(), 200);
    EXPECT_EQ(model.messageAt(0)->serviceMsgId(), 51U);
    expectShown(151, 250);
    store->truncateTo(30);
    expectShown(221, 250);

    store->setMaximumMessages(120);
    LogContainerAccess::setActive(*store, true);
    for (std::uint64_t id = 251; id <= 400; ++id)
        store->addMessage(decoded(id));
    while (store->queueSize() > 0)
        LogContainerAccess::moveMessages(*store);
    EXPECT_EQ(model.messageCount(), 120);
    expectShown(301, 400);
    store->clearModels();
    EXPECT_EQ(model.messageCount(), 0);
    EXPECT_EQ(model.rowCount(), 0);
}

TEST_F(ShownRows, OnAnAnnouncementTheSelectionStaysOnItsMessagesWhileTheyAreShown)
{
    addMany(95);
    model.announceChanges();
    QItemSelectionModel selection(&model);
    selection.select(model.index(6, 0), QItemSelectionModel::Select | QItemSelectionModel::Rows);
    selection.setCurrentIndex(model.index(50, 2), QItemSelectionModel::NoUpdate);
    const QPersistentModelIndex early = model.index(3, 1);
    QSignalSpy gone(&model, &LogTableModel::firstRowsGone);
    addMany(10); // rows 0 to 4 are not shown any more
    model.announceChanges();
    ASSERT_EQ(gone.count(), 1);
    EXPECT_EQ(gone.first().first().toInt(), 5);
    EXPECT_FALSE(early.isValid());
    ASSERT_EQ(selection.selectedRows().size(), 1);
    EXPECT_EQ(selection.selectedRows().first().row(), 1);
    EXPECT_EQ(selection.selectedRows().first().data().toString(), QStringLiteral("7"));
    EXPECT_EQ(selection.currentIndex().row(), 45);
    model.replaceOldest({makeMessage(nextId++)}); // one goes in front of those shown
    model.announceChanges();
    EXPECT_EQ(selection.currentIndex().row(), 44);
    EXPECT_EQ(model.cellText(44, idColumn), QStringLiteral("51"));
    model.removeOldest(10); // as many rows come into view again
    model.announceChanges();
    expectShown(12, 106);
    EXPECT_EQ(selection.currentIndex().row(), 39);
    model.announceChanges(); // nothing more happened
    EXPECT_EQ(selection.currentIndex().row(), 39);
}

TEST_F(ShownRows, AfterAResetTheNextAnnouncementMovesNothing)
{
    addMany(250);
    store->setFilter({QStringLiteral("text")}, {}, {}, false, false);
    filtered.setMaximumShownRows(cap);
    store->refilter();
    const QPersistentModelIndex held = filtered.index(60, 0);
    EXPECT_EQ(held.data().toString(), QStringLiteral("211"));
    filtered.announceChanges();
    EXPECT_EQ(held.row(), 60);
    EXPECT_EQ(held.data().toString(), QStringLiteral("211"));
}

TEST_F(ShownRows, ASortTakesTheSelectionAlongAndLetsGoOfRowsThatItHides)
{
    addMany(95);
    model.announceChanges();
    const QPersistentModelIndex oldest = model.index(0, 0);
    const QPersistentModelIndex kept = model.index(60, 0);
    addMany(55); // not announced yet
    model.sort(idColumn, Qt::DescendingOrder);
    EXPECT_EQ(oldest.row(), 99);
    EXPECT_EQ(oldest.data().toString(), QStringLiteral("1"));
    EXPECT_EQ(kept.data().toString(), QStringLiteral("61"));
    model.sort(idColumn, Qt::AscendingOrder);
    EXPECT_FALSE(oldest.isValid());
    EXPECT_EQ(kept.row(), 10);
    EXPECT_EQ(kept.data().toString(), QStringLiteral("61"));
}

TEST_F(ShownRows, ASearchGoesThroughThemOnly)
{
    for (int i = 0; i < 250; ++i)
        model.addMessage(makeMessage(nextId++, i == 10 || i == 200 ? u"wanted" : u"other"));
    const QString wanted = QStringLiteral("wanted");
    const QModelIndex found = model.findNext(model.index(0, 0), wanted, true, Qt::CaseInsensitive);
    EXPECT_EQ(found.row(), 50);
    EXPECT_EQ(model.messageAt(model.storedRow(found.row()))->serviceMsgId(), 201U);
    EXPECT_FALSE(model.findNext(found, wanted, true, Qt::CaseInsensitive).isValid());
    EXPECT_FALSE(model.findNext(found, wanted, false, Qt::CaseInsensitive).isValid());
    EXPECT_EQ(model.nextIndex(model.index(99, 11)), model.index(0, 0));
    EXPECT_EQ(model.previousIndex(model.index(0, 0)), model.index(99, 11));
}

TEST_F(ShownRows, ReferencesAreThoseOfTheMessagesAlsoWhenRowsAreHidden)
{
    addMany(250);
    store->setTimeDisplayMode(1);
    EXPECT_EQ(model.references(), QList<int>{0});
    model.addReference(5); // in place of the start entry
    EXPECT_EQ(model.references(), QList<int>{155});
    EXPECT_EQ(model.cellText(5, timeColumn), QStringLiteral("*REF*"));
    model.addReference(-150);
    EXPECT_EQ(model.references(), (QList<int>{0, 155}));
    model.removeReference(5);
    EXPECT_EQ(model.references(), QList<int>{0});
}

TEST_F(ShownRows, ATesterFindsNothingWrongAtTheEdge)
{
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    QSignalSpy changed(&model, &QAbstractItemModel::layoutChanged);
    for (const int count : {99, 1, 1, 50, 200}) {
        addMany(count);
        model.announceChanges();
    }
    model.removeOldest(30);
    model.announceChanges();
    model.sort(messageColumn, Qt::DescendingOrder);
    addMany(20);
    model.announceChanges();
    model.removeOldest(200);
    model.announceChanges();
    model.sort(timeColumn, Qt::AscendingOrder);
    store->truncateTo(101);
    model.announceChanges();
    store->truncateTo(50);
    model.announceChanges();
    store->clearModels();
    addMany(150);
    model.announceChanges();
    model.setMaximumShownRows(20);
    EXPECT_EQ(changed.count(), 13);
    EXPECT_EQ(model.rowCount(), 20);
}

// The same changes to a model that shows everything: the rows shown are the last of its rows, and
// what a view holds on to is on the same message as long as that is shown.
TEST_F(ShownRows, AreAlwaysTheLastOfAllRows)
{
    std::mt19937 random(7);
    LogTableModel all(store);
    all.setColumns(defaultColumnOrder());
    const auto both = [&](const std::function<void(LogTableModel&)>& change) {
        change(model);
        change(all);
    };
    QPersistentModelIndex held;
    std::uint64_t heldId = 0;
    int heldChecks = 0;
    for (int round = 0; round < 3000; ++round) {
        switch (random() % 8) {
        case 0:
        case 1:
        case 2: {
            std::vector<std::shared_ptr<LogMessage>> messages;
            for (auto i = random() % 40; i > 0; --i)
                messages.push_back(makeMessage(nextId++));
            both([&](LogTableModel& to) { to.addMessages(messages); });
            break;
        }
        case 3: {
            const auto message = makeMessage(nextId++);
            both([&](LogTableModel& to) { to.replaceOldest({message, message}); });
            break;
        }
        case 4: {
            const int count = static_cast<int>(random() % 60);
            both([&](LogTableModel& to) { to.removeOldest(count); });
            break;
        }
        case 5: {
            const auto message = makeMessage(nextId++);
            const int row = static_cast<int>(random() % 200);
            both([&](LogTableModel& to) { to.insertMessage(row, message); });
            break;
        }
        case 6:
            if (random() % 20 == 0) {
                held = QPersistentModelIndex();
                both([&](LogTableModel& to) { to.clear(); });
            }
            break;
        default:
            if (random() % 100 == 0) { // sorted from here on, until it is cleared
                held = QPersistentModelIndex();
                const auto order = random() % 2 == 0 ? Qt::AscendingOrder : Qt::DescendingOrder;
                both([&](LogTableModel& to) { to.sort(idColumn, order); });
            }
            break;
        }
        const int hidden = std::max(all.rowCount() - cap, 0);
        ASSERT_EQ(model.hiddenRows(), hidden);
        ASSERT_EQ(model.rowCount(), all.rowCount() - hidden);
        for (int row = 0; row < model.rowCount(); row += 7)
            ASSERT_EQ(model.cellText(row, idColumn), all.cellText(row + hidden, idColumn)) << round;
        if (random() % 3 != 0)
            continue;
        both([](LogTableModel& to) { to.announceChanges(); });
        if (held.isValid() && model.storedRow(0) == hidden) { // unsorted: it went with its message
            ASSERT_EQ(shownId(held.row()), heldId) << round;
            ++heldChecks;
        }
        if (model.rowCount() > 0 && (!held.isValid() || random() % 5 == 0)) {
            held = model.index(
                static_cast<int>(random() % static_cast<std::uint32_t>(model.rowCount())), 0);
            heldId = shownId(held.row());
        }
    }
    EXPECT_GT(heldChecks, 100);
}
