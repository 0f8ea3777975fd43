#include "store/LogTableModel.h"
#include "store/SortedList.h"
#include "tests/store/TableModelTest.h"
#include "tests/support/TestEnvironment.h"

#include <QAbstractItemModelTester>
#include <QColor>
#include <QItemSelectionModel>
#include <QSignalSpy>

#include <gtest/gtest.h>

#include <boost/thread/thread.hpp>

#include <algorithm>
#include <array>
#include <atomic>
#include <random>

using namespace zuLogging;
using namespace zuLogging::test;

namespace {

class LogTableModelTest : public TableModelTest
{
protected:
    void addTexts(const std::vector<std::u16string>& texts)
    {
        for (const auto& text : texts)
            model.addMessage(makeMessage(nextId++, text));
    }
    void addTimes(LogTableModel& to, const std::vector<std::int64_t>& offsets)
    {
        for (const std::int64_t offset : offsets) {
            MessageFields fields;
            fields.id = nextId++;
            fields.timestamp += static_cast<std::uint64_t>(offset);
            to.addMessage(makeMessage(fields));
        }
    }
};

} // namespace

TEST_F(LogTableModelTest, AMessageWithLevelFourRendersInOrangeAndLevel64InAnInvalidColour)
{
    const std::vector<std::pair<std::uint64_t, QColor>> expected{{0, QColor(0, 0, 0, 255)},
                                                                 {8, QColor(0, 0, 0, 255)},
                                                                 {16, QColor(0, 0, 0, 255)},
                                                                 {32, QColor(0, 0, 0, 255)},
                                                                 {1, QColor(153, 0, 0, 255)},
                                                                 {2, QColor(255, 0, 0, 255)},
                                                                 {4, QColor(255, 128, 0, 255)},
                                                                 {64, QColor()},
                                                                 {3, QColor()}};
    for (const auto& [level, colour] : expected) {
        MessageFields fields;
        fields.level = level;
        model.addMessage(makeMessage(fields));
        const QVariant value = model.data(model.index(model.rowCount() - 1, 0), Qt::ForegroundRole);
        ASSERT_EQ(value.userType(), static_cast<int>(QMetaType::QColor)) << level;
        EXPECT_EQ(value.value<QColor>(), colour) << level;
        EXPECT_EQ(value.value<QColor>().isValid(), colour.isValid()) << level;
    }
}

TEST_F(LogTableModelTest, InSecondsModeTheFirstRowShowsRefAndLaterRowsSecondsWithSixDecimals)
{
    addTimes(model, {0, 250000, 3000001});
    store->setTimeDisplayMode(1);
    EXPECT_EQ(shownColumn(model, timeColumn),
              (QStringList{QStringLiteral("*REF*"), QStringLiteral("0.250000"),
                           QStringLiteral("3.000001")}));
    store->setTimeDisplayMode(0);
    EXPECT_EQ(model.cellText(0, timeColumn), QStringLiteral("1970-Jan-01 00:00:00"));
}

TEST_F(LogTableModelTest, SecondsGoThroughSinglePrecision)
{
    addTimes(model, {0, 123456789123LL});
    store->setTimeDisplayMode(1);
    const float expected = static_cast<float>(123456789123LL) / 1e6F;
    EXPECT_EQ(model.cellText(1, timeColumn),
              QString::number(static_cast<double>(expected), 'f', 6));
    EXPECT_NE(model.cellText(1, timeColumn), QStringLiteral("123456.789123"));
}

TEST_F(LogTableModelTest,
       AfterTheUserMarksRowFiveFirstTheListHoldsOnlyFiveAndEarlierRowsAreNegative)
{
    addTimes(model, {0, 1000000, 2000000, 3000000, 4000000, 5000000, 5500000});
    model.addReference(5);
    EXPECT_EQ(model.references(), QList<int>{5});
    store->setTimeDisplayMode(1);
    EXPECT_EQ(shownColumn(model, timeColumn),
              (QStringList{QStringLiteral("-5.000000"), QStringLiteral("-4.000000"),
                           QStringLiteral("-3.000000"), QStringLiteral("-2.000000"),
                           QStringLiteral("-1.000000"), QStringLiteral("*REF*"),
                           QStringLiteral("0.500000")}));
}

TEST_F(LogTableModelTest, EachRowCountsFromTheLastReferenceNotAfterIt)
{
    addTimes(model, {0, 1000000, 2000000, 3000000});
    model.addReference(3);
    model.addReference(1);
    model.addReference(1); // marked already
    EXPECT_EQ(model.references(), (QList<int>{1, 3}));
    store->setTimeDisplayMode(1);
    EXPECT_EQ(shownColumn(model, timeColumn),
              (QStringList{QStringLiteral("-1.000000"), QStringLiteral("*REF*"),
                           QStringLiteral("1.000000"), QStringLiteral("*REF*")}));
    model.removeReference(3);
    model.removeReference(2); // was none
    EXPECT_EQ(model.references(), QList<int>{1});
    EXPECT_EQ(model.cellText(3, timeColumn), QStringLiteral("2.000000"));
}

TEST_F(LogTableModelTest, WithoutAReferenceOrItsMessageSecondsAreInvalid)
{
    addTimes(model, {0, 1});
    store->setTimeDisplayMode(1);
    model.removeReference(0);
    EXPECT_TRUE(model.references().isEmpty());
    EXPECT_EQ(model.cellText(0, timeColumn), QStringLiteral("-Invalid-"));
    model.addReference(1);
    EXPECT_EQ(model.references(), QList<int>{1});
    model.removeOldest();
    EXPECT_EQ(model.references(), QList<int>{1}); // stored row numbers stay as they are
    EXPECT_EQ(model.cellText(0, timeColumn), QStringLiteral("-Invalid-"));
}

TEST_F(LogTableModelTest, AReferenceAtRowZeroCountsFromTheFullModelsFirstMessage)
{
    addTimes(model, {0, 1000000, 4000000});
    addTimes(filtered, {1000000, 4000000});
    store->setTimeDisplayMode(1);
    EXPECT_EQ(shownColumn(filtered, timeColumn),
              (QStringList{QStringLiteral("*REF*"), QStringLiteral("4.000000")}));
    model.removeOldest(); // seconds now count from the oldest message that is left
    EXPECT_EQ(filtered.cellText(1, timeColumn), QStringLiteral("3.000000"));
    model.clear();
    EXPECT_EQ(filtered.cellText(1, timeColumn), QStringLiteral("3.000000"));
}

TEST_F(LogTableModelTest, MarkingTheTopRowOfASortedTableFirstUnmarksItAgain)
{
    addTexts({u"c", u"b", u"a"});
    model.sort(messageColumn);
    model.addReference(0); // stored row 2, and row 0 as displayed is what goes with the first mark
    EXPECT_EQ(model.references(), QList<int>{0});
    model.addReference(0);
    EXPECT_EQ(model.references(), (QList<int>{0, 2}));
    model.addReference(77);
    model.addReference(-1);
    EXPECT_EQ(model.references(), (QList<int>{0, 2}));
}

TEST_F(LogTableModelTest,
       MessagesAppendedWhileSortedComeAfterTheSortedOnesUntilASortByAnotherColumn)
{
    addTexts({u"c", u"a", u"b"});
    model.sort(messageColumn, Qt::AscendingOrder);
    addTexts({u"0", u"B"});
    const auto texts = [this] { return shownColumn(model, messageColumn).join(QString()); };
    EXPECT_EQ(texts(), QStringLiteral("abc0B"));
    model.sort(messageColumn, Qt::AscendingOrder); // the same again: nothing
    EXPECT_EQ(texts(), QStringLiteral("abc0B"));
    model.sort(idColumn, Qt::AscendingOrder);
    EXPECT_EQ(texts(), QStringLiteral("cab0B"));
    model.sort(messageColumn, Qt::AscendingOrder);
    EXPECT_EQ(texts(), QStringLiteral("0Babc"));
}

TEST_F(LogTableModelTest, AChangeOfOrderAloneSortsTheEntriesThatAreThere)
{
    addTexts({u"b", u"a", u"c"});
    model.sort(messageColumn);
    model.removeOldest(); // entry of row 0 goes, the numbers of the others stay: 1 and 2
    EXPECT_EQ(model.storedRow(0), 1);
    EXPECT_EQ(model.storedRow(1), -1); // entry 2, but only two rows are left
    model.sort(messageColumn, Qt::DescendingOrder);
    EXPECT_EQ(model.storedRow(0), -1);
    EXPECT_EQ(model.storedRow(1), 1);
    EXPECT_EQ(model.cellText(0, messageColumn), QString());
    EXPECT_EQ(model.cellText(1, messageColumn), QStringLiteral("c"));
}

TEST_F(LogTableModelTest, CallingSortTwiceChangesNothingAndEmitsNothing)
{
    addTexts({u"b", u"a"});
    QSignalSpy about(&model, &QAbstractItemModel::layoutAboutToBeChanged);
    QSignalSpy changed(&model, &QAbstractItemModel::layoutChanged);
    model.sort(0, Qt::AscendingOrder); // what a new model starts with
    EXPECT_EQ(about.count() + changed.count(), 0);
    EXPECT_EQ(model.sortColumn(), 0);
    model.sort(messageColumn, Qt::AscendingOrder);
    EXPECT_EQ(about.count(), 1);
    EXPECT_EQ(changed.count(), 1);
    model.sort(messageColumn, Qt::AscendingOrder);
    EXPECT_EQ(about.count(), 1);
    EXPECT_EQ(changed.count(), 1);
    model.clear();
    EXPECT_EQ(model.sortColumn(), -1);
    addTexts({u"y", u"x"});
    model.sort(0, Qt::AscendingOrder);
    EXPECT_EQ(changed.count(), 2);
    EXPECT_EQ(model.sortColumn(), 0);
    EXPECT_EQ(shownColumn(model, messageColumn).join(QString()), QStringLiteral("yx"));
}

TEST_F(LogTableModelTest, SortingByAColumnWithoutKeysLeavesTheTableUnsortedAndStillAnnouncesIt)
{
    addTexts({u"b", u"a"});
    model.sort(messageColumn);
    QSignalSpy changed(&model, &QAbstractItemModel::layoutChanged);
    model.sort(99, Qt::DescendingOrder);
    EXPECT_EQ(changed.count(), 1);
    EXPECT_EQ(model.sortColumn(), 99);
    EXPECT_EQ(model.sortOrder(), Qt::DescendingOrder);
    EXPECT_EQ(shownColumn(model, messageColumn).join(QString()), QStringLiteral("ba"));
    addTexts({u"c"});
    EXPECT_EQ(model.storedRow(2), 2);
}

TEST_F(LogTableModelTest, SortingAnEmptyModelKeepsLaterRowsInOrderOfArrival)
{
    model.sort(messageColumn);
    addTexts({u"b", u"a"});
    EXPECT_EQ(shownColumn(model, messageColumn).join(QString()), QStringLiteral("ba"));
}

TEST_F(LogTableModelTest, TheVerticalHeaderNumbersRowsFromOne)
{
    EXPECT_FALSE(model.headerData(0, Qt::Vertical, Qt::DisplayRole).isValid());
    addMany(2);
    EXPECT_EQ(model.headerData(0, Qt::Vertical, Qt::DisplayRole), QVariant(1));
    EXPECT_EQ(model.headerData(1, Qt::Vertical), QVariant(2));
    EXPECT_FALSE(model.headerData(2, Qt::Vertical).isValid());
    EXPECT_FALSE(model.headerData(-1, Qt::Vertical).isValid());
    EXPECT_FALSE(model.headerData(0, Qt::Vertical, Qt::ToolTipRole).isValid());
}

TEST_F(LogTableModelTest, TheHorizontalHeaderNamesTheFields)
{
    const QStringList names{QStringLiteral("ServiceMsgID"),   QStringLiteral("SourceMsgID"),
                            QStringLiteral("SenderMsgID"),    QStringLiteral("Timestamp"),
                            QStringLiteral("LogLevel [Hex]"), QStringLiteral("LogLevel"),
                            QStringLiteral("LogPos"),         QStringLiteral("Module"),
                            QStringLiteral("GroupName"),      QStringLiteral("ProcessID"),
                            QStringLiteral("ThreadID"),       QStringLiteral("LogMessage")};
    for (int i = 0; i < names.size(); ++i)
        EXPECT_EQ(model.headerData(i, Qt::Horizontal).toString(), names.at(i));
    EXPECT_FALSE(model.headerData(12, Qt::Horizontal).isValid());
    EXPECT_FALSE(model.headerData(0, Qt::Horizontal, Qt::ForegroundRole).isValid());
}

TEST_F(LogTableModelTest, EveryColumnHasItsTextAndItsKeyType)
{
    MessageFields fields;
    fields.id = ~std::uint64_t(0) - 3000;
    fields.level = 2;
    fields.process = 0;
    model.addMessage(makeMessage(fields));
    const QStringList texts{QStringLiteral("18446744073709548615"),
                            QStringLiteral("18446744073709549615"),
                            QStringLiteral("18446744073709550615"),
                            QStringLiteral("1970-Jan-01 00:00:00"),
                            QStringLiteral("0x02"),
                            QStringLiteral("err"),
                            QStringLiteral("file.cpp:1"),
                            QStringLiteral("module"),
                            QStringLiteral("group"),
                            QStringLiteral("0"),
                            QStringLiteral("200"),
                            QStringLiteral("text")};
    for (int column = 0; column < 12; ++column) {
        EXPECT_EQ(model.cellText(0, column), texts.at(column));
        EXPECT_EQ(model.data(model.index(0, column)).toString(), texts.at(column));
        const bool number = column < 4 || column == 9 || column == 10;
        EXPECT_EQ(model.sortKey(0, column).userType(),
                  static_cast<int>(number ? QMetaType::ULongLong : QMetaType::QString));
    }
    store->setTimeDisplayMode(1);
    EXPECT_EQ(model.sortKey(0, timeColumn).userType(), static_cast<int>(QMetaType::Float));
    EXPECT_EQ(model.sortKey(0, timeColumn).toFloat(), 0.0F);
    EXPECT_FALSE(model.sortKey(0, 12).isValid());
    EXPECT_FALSE(model.sortKey(1, 0).isValid());
    EXPECT_TRUE(model.cellText(0, 12).isEmpty());
    EXPECT_TRUE(model.cellText(0, -1).isEmpty());
    EXPECT_TRUE(model.cellText(1, 0).isEmpty());
    EXPECT_TRUE(model.cellText(-1, 0).isEmpty());
    model.addColumn(77);
    EXPECT_TRUE(model.cellText(0, 12).isEmpty());
    EXPECT_FALSE(model.sortKey(0, 12).isValid());
    EXPECT_EQ(model.headerData(12, Qt::Horizontal), QVariant(QString()));
}

TEST_F(LogTableModelTest, OtherRolesAndInvalidIndexesGiveNothing)
{
    addMany(1);
    EXPECT_FALSE(model.data(QModelIndex(), Qt::DisplayRole).isValid());
    for (const int role : {Qt::EditRole, Qt::FontRole, Qt::TextAlignmentRole, Qt::ToolTipRole})
        EXPECT_FALSE(model.data(model.index(0, 0), role).isValid());
    const QModelIndex gone = model.index(0, 0);
    model.removeOldest();
    EXPECT_FALSE(model.data(gone, Qt::ForegroundRole).isValid());
    EXPECT_EQ(model.data(gone).toString(), QString());
}

TEST_F(LogTableModelTest, AFlagOfAnIndexThatIsNotThereIsDropEnabledAlone)
{
    addMany(1);
    const QModelIndex index = model.index(0, 0);
    EXPECT_EQ(model.flags(index),
              Qt::ItemFlags(Qt::ItemIsSelectable | Qt::ItemIsEnabled | Qt::ItemNeverHasChildren));
    EXPECT_EQ(model.flags(QModelIndex()), Qt::ItemFlags(Qt::ItemIsDropEnabled));
    model.removeOldest();
    EXPECT_EQ(model.flags(index), Qt::ItemFlags(Qt::ItemIsDropEnabled));
}

TEST_F(LogTableModelTest, AnIndexCarriesItsRowAndIsInvalidOutsideTheTable)
{
    addMany(3);
    EXPECT_EQ(model.index(2, 4).internalId(), 2U);
    EXPECT_FALSE(model.index(3, 0).isValid());
    EXPECT_FALSE(model.index(0, 12).isValid());
    EXPECT_FALSE(model.index(-1, 0).isValid());
    EXPECT_FALSE(model.index(0, 0, model.index(0, 0)).isValid());
    EXPECT_EQ(model.rowCount(model.index(0, 0)), 0);
    EXPECT_EQ(model.columnCount(model.index(0, 0)), 0);
}

TEST_F(LogTableModelTest, MatchingCellsArePaintedWhileTheHighlightIsOn)
{
    addTexts({u"An ERROR", u"fine"});
    const QColor plain(255, 255, 255, 255);
    const QColor match(153, 153, 255, 60);
    const auto colour = [this](int row) {
        return model.data(model.index(row, messageColumn), Qt::BackgroundRole).value<QColor>();
    };
    store->setHighlightText(QStringLiteral("error"));
    EXPECT_EQ(colour(0), plain);
    store->setHighlight(true);
    EXPECT_EQ(colour(0), match);
    EXPECT_EQ(colour(1), plain);
    store->setHighlightCase(Qt::CaseSensitive);
    EXPECT_EQ(colour(0), plain);
    EXPECT_TRUE(
        model.matches(model.index(0, messageColumn), QStringLiteral("ERR"), Qt::CaseSensitive));
    EXPECT_FALSE(model.matches(QModelIndex(), QString(), Qt::CaseSensitive));
}

TEST_F(LogTableModelTest, AnInsertAtANegativeRowDoesNothingAndOneBeyondTheEndAppends)
{
    addMany(2);
    model.insertMessage(-1, makeMessage(50));
    model.insertMessage(0, makeMessage(60));
    model.insertMessage(100, makeMessage(70));
    model.insertMessage(2, makeMessage(80));
    model.insertMessage(1, nullptr);
    EXPECT_EQ(storedIds(model), (std::vector<std::uint64_t>{60, 1, 80, 2, 70}));
}

TEST_F(LogTableModelTest, TheOldestRowsCanBeHadToBeFreedElsewhere)
{
    addMany(10);
    const std::vector<std::shared_ptr<LogMessage>> all = model.messagesFrom(0, 10);
    EXPECT_TRUE(model.takeOldest(0).empty());
    EXPECT_TRUE(model.takeOldest(-1).empty());
    for (const auto& [asked, first, count] :
         {std::array{2, 0, 2}, std::array{7, 2, 7}, std::array{5, 9, 1}, std::array{1, 10, 0}}) {
        const auto taken = model.takeOldest(asked);
        EXPECT_TRUE(std::equal(taken.begin(), taken.end(), all.begin() + first,
                               all.begin() + first + count));
        EXPECT_EQ(model.messageCount(), 10 - first - count);
    }
}

TEST_F(LogTableModelTest, ManyOldestRowsGoAtOnceAsTheyGoOneByOne)
{
    for (const int sortedBy : {-1, idColumn, messageColumn}) {
        for (const int count : {1, 3, 10, 11, 19, 20, 30}) {
            LogTableModel oneByOne(store);
            for (LogTableModel* const to : {&model, &oneByOne}) {
                to->setColumns(defaultColumnOrder());
                to->clear();
                for (const std::uint64_t id : {5U, 9U, 2U, 2U, 8U, 7U, 1U, 3U, 4U, 6U})
                    to->addMessage(makeMessage(id));
                to->sort(sortedBy, Qt::DescendingOrder);
                to->announceChanges();
                to->removeOldest();
                for (std::uint64_t id = 11; id <= 21; ++id) // behind the order
                    to->addMessage(makeMessage(id, u"more"));
            }
            QPersistentModelIndex held = model.index(4, 0);
            QPersistentModelIndex expected = oneByOne.index(4, 0);
            std::vector<int> identifiers;
            for (int i = 0; i < count; ++i)
                identifiers.push_back(oneByOne.removeOldest());
            EXPECT_EQ(model.removeOldest(count), identifiers);
            EXPECT_EQ(storedIds(model), storedIds(oneByOne));
            EXPECT_EQ(shownColumn(model, idColumn), shownColumn(oneByOne, idColumn));
            model.announceChanges();
            oneByOne.announceChanges();
            EXPECT_EQ(held.row(), expected.row());
            for (const int identifier : {2, 6, 14, 21, 99}) {
                EXPECT_EQ(model.removeByIdentifier(identifier),
                          oneByOne.removeByIdentifier(identifier));
                EXPECT_EQ(storedIds(model), storedIds(oneByOne));
            }
        }
    }
}

TEST_F(LogTableModelTest, AnEntryOfRowZeroLeavesTheSortIndexWithEachOfManyRows)
{
    LogTableModel oneByOne(store);
    for (LogTableModel* const to : {&model, &oneByOne}) {
        to->setColumns(defaultColumnOrder());
        to->addMessage(makeMessage(1));
        to->sort(idColumn, Qt::DescendingOrder);
        for (std::uint64_t id = 1; id <= 4; ++id) { // the entry stays, and the next row is 0 again
            EXPECT_TRUE(to->removeByIdentifier(static_cast<int>(id)));
            to->addMessage(makeMessage(id + 1));
        }
        for (std::uint64_t id = 6; id <= 12; ++id)
            to->addMessage(makeMessage(id));
    }
    const auto order = [](const LogTableModel& of) {
        std::vector<int> rows;
        for (int row = 0; row < of.rowCount(); ++row)
            rows.push_back(of.storedRow(row));
        return rows;
    };
    ASSERT_EQ(order(model), (std::vector<int>{0, 0, 0, 0, 0, 1, 2, 3}));
    std::vector<int> identifiers;
    for (int i = 0; i < 3; ++i)
        identifiers.push_back(oneByOne.removeOldest());
    EXPECT_EQ(model.removeOldest(3), identifiers);
    EXPECT_EQ(order(model), order(oneByOne));
    EXPECT_EQ(model.takeOldest(2).size(), 2U);
    oneByOne.removeOldest();
    oneByOne.removeOldest();
    EXPECT_EQ(order(model), order(oneByOne));
}

TEST_F(LogTableModelTest, RemovingTheOldestReturnsTheLow32BitsOfItsIdentifier)
{
    EXPECT_EQ(model.removeOldest(), 0);
    for (const std::uint64_t id : {0x1'0000'0007ULL, 0xFFFF'FFFFULL, 0ULL, 9ULL})
        model.addMessage(makeMessage(id));
    EXPECT_EQ(model.removeOldest(), 7);
    EXPECT_EQ(model.removeOldest(), -1);
    EXPECT_EQ(model.removeOldest(4), (std::vector<int>{0, 9, 0, 0}));
    EXPECT_EQ(model.removeOldest(-3), std::vector<int>());
    EXPECT_EQ(model.rowCount(), 0);
}

TEST_F(LogTableModelTest, RemovingByIdentifierTakesTheFirstRowAndLeavesTheSortIndexAlone)
{
    for (const std::uint64_t id : {5ULL, 3ULL, 5ULL, 0ULL, 0xFFFF'FFFFULL, 0x1'0000'0003ULL})
        filtered.addMessage(makeMessage(id));
    filtered.sort(idColumn, Qt::AscendingOrder);
    filtered.sort(idColumn, Qt::DescendingOrder);
    EXPECT_FALSE(filtered.removeByIdentifier(0));
    EXPECT_FALSE(filtered.removeByIdentifier(-1));
    EXPECT_FALSE(filtered.removeByIdentifier(4));
    EXPECT_TRUE(filtered.removeByIdentifier(3));
    EXPECT_FALSE(filtered.removeByIdentifier(3));
    EXPECT_TRUE(filtered.removeByIdentifier(5));
    EXPECT_TRUE(filtered.removeByIdentifier(5));
    EXPECT_FALSE(filtered.removeByIdentifier(5));
    EXPECT_EQ(storedIds(filtered),
              (std::vector<std::uint64_t>{0, 0xFFFF'FFFFULL, 0x1'0000'0003ULL}));
    // Descending by identifier the entries were rows 5, 4, (0 and 2), 1, 3: as they still are.
    EXPECT_EQ(filtered.storedRow(0), -1);
    EXPECT_EQ(filtered.storedRow(1), -1);
}

TEST_F(LogTableModelTest, ReplacingIsRemovingAndAddingInTurn)
{
    LogTableModel inTurn(store);
    addAllColumns(inTurn);
    for (LogTableModel* each : {&model, &inTurn}) {
        for (std::uint64_t id = 1; id <= 6; ++id)
            each->addMessage(makeMessage(id, std::u16string(1, static_cast<char16_t>(u'z' - id))));
        each->sort(messageColumn);
    }
    std::vector<std::shared_ptr<LogMessage>> added;
    std::vector<int> expected;
    for (std::uint64_t id = 10; id < 14; ++id) {
        added.push_back(makeMessage(id));
        expected.push_back(inTurn.removeOldest());
        inTurn.addMessage(added.back());
    }
    EXPECT_EQ(model.replaceOldest(added), expected);
    for (int row = 0; row < 7; ++row)
        EXPECT_EQ(model.storedRow(row), inTurn.storedRow(row));
    added[1] = nullptr; // does not pass a filter
    model.replaceByIdentifiers({10, 77, 5, 0}, added);
    EXPECT_EQ(storedIds(model), (std::vector<std::uint64_t>{6, 11, 12, 13, 10, 12, 13}));
}

TEST_F(LogTableModelTest, ClearEmptiesTheModelKeepsReferencesAndResets)
{
    addMany(4);
    model.addReference(2);
    model.sort(messageColumn, Qt::DescendingOrder);
    QSignalSpy reset(&model, &QAbstractItemModel::modelReset);
    model.clear();
    EXPECT_EQ(reset.count(), 1);
    EXPECT_EQ(model.rowCount(), 0);
    EXPECT_EQ(model.sortColumn(), -1);
    EXPECT_EQ(model.sortOrder(), Qt::DescendingOrder);
    EXPECT_EQ(model.references(), QList<int>{2});
    EXPECT_EQ(model.storedRow(0), -1);
    EXPECT_EQ(model.messageAt(0), nullptr);
}

TEST_F(LogTableModelTest, NextAndPreviousWrapAroundRowsAndTheTable)
{
    addMany(2);
    EXPECT_EQ(model.nextIndex(model.index(0, 3)), model.index(0, 4));
    EXPECT_EQ(model.nextIndex(model.index(0, 11)), model.index(1, 0));
    EXPECT_EQ(model.nextIndex(model.index(1, 11)), model.index(0, 0));
    EXPECT_EQ(model.previousIndex(model.index(0, 3)), model.index(0, 2));
    EXPECT_EQ(model.previousIndex(model.index(1, 0)), model.index(0, 11));
    EXPECT_EQ(model.previousIndex(model.index(0, 0)), model.index(1, 11));
    EXPECT_FALSE(model.nextIndex(QModelIndex()).isValid());
    EXPECT_FALSE(model.previousIndex(QModelIndex()).isValid());
}

TEST_F(LogTableModelTest, ASearchFromTheLastCellDownwardContinuesAtTheTop)
{
    addTexts({u"first", u"second"});
    EXPECT_EQ(model.findNext(model.index(1, 11), QStringLiteral("1"), true, Qt::CaseInsensitive),
              model.index(0, 0));
}

TEST_F(LogTableModelTest, ASearchUpwardFromTheTopContinuesAtTheLastCell)
{
    addTexts({u"first", u"second"});
    EXPECT_EQ(
        model.findNext(model.index(0, 0), QStringLiteral("second"), false, Qt::CaseInsensitive),
        model.index(1, 11));
}

TEST_F(LogTableModelTest, ATextThatOccursOnlyInTheStartCellIsNotFound)
{
    addTexts({u"first", u"second"});
    const QModelIndex start = model.index(0, messageColumn);
    EXPECT_FALSE(
        model.findNext(start, QStringLiteral("first"), true, Qt::CaseInsensitive).isValid());
    EXPECT_FALSE(
        model.findNext(start, QStringLiteral("first"), false, Qt::CaseInsensitive).isValid());
    EXPECT_FALSE(model.findNext(QModelIndex(), QStringLiteral("first"), true, Qt::CaseInsensitive)
                     .isValid());
}

TEST_F(LogTableModelTest, WithMatchCaseOffErrorFindsErrorInCapitals)
{
    addTexts({u"a", u"An ERROR"});
    EXPECT_EQ(model.findNext(model.index(0, 0), QStringLiteral("error"), true, Qt::CaseInsensitive),
              model.index(1, messageColumn));
    EXPECT_FALSE(model.findNext(model.index(0, 0), QStringLiteral("error"), true, Qt::CaseSensitive)
                     .isValid());
}

TEST_F(LogTableModelTest, ASearchGivesWhatSteppingFromCellToCellGives)
{
    std::mt19937 random(3);
    const char16_t units[] = {u'a', u'A', u'1', 0xE4, 0xC4, 0xD83D, 0xDE00, 0xD801, 0xDC00, 0xDC28};
    const auto text = [&](std::size_t longest) {
        std::u16string result;
        for (auto n = random() % (longest + 1); n > 0; --n)
            result += units[random() % 10];
        return result;
    };
    for (int i = 0; i < 40; ++i)
        addTexts({text(6)});
    store->setTimeDisplayMode(1);
    for (int round = 0; round < 400; ++round) {
        if (round == 200)
            model.sort(messageColumn);
        const QString wanted =
            round % 5 == 0 ? QString::number(random() % 120) : toQString(text(3));
        const auto rule = random() % 2 == 0 ? Qt::CaseSensitive : Qt::CaseInsensitive;
        const bool down = random() % 2 == 0;
        const QModelIndex start =
            model.index(static_cast<int>(random() % 40), static_cast<int>(random() % 12));
        QModelIndex expected = down ? model.nextIndex(start) : model.previousIndex(start);
        while (expected != start && !model.matches(expected, wanted, rule))
            expected = down ? model.nextIndex(expected) : model.previousIndex(expected);
        if (expected == start)
            expected = QModelIndex();
        ASSERT_EQ(model.findNext(start, wanted, down, rule), expected)
            << round << " " << wanted.toStdString();
    }
}

TEST_F(LogTableModelTest, ASearchFromACellThatIsGoneEnds)
{
    addMany(600);
    const QModelIndex gone = model.index(599, 5);
    model.removeOldest(590);
    EXPECT_FALSE(
        model.findNext(gone, QStringLiteral("nowhere"), true, Qt::CaseInsensitive).isValid());
    EXPECT_FALSE(
        model.findNext(gone, QStringLiteral("nowhere"), false, Qt::CaseInsensitive).isValid());
    EXPECT_EQ(model.findNext(gone, QStringLiteral("591"), true, Qt::CaseInsensitive),
              model.index(0, 0));
    model.removeOldest(590);
    EXPECT_FALSE(model.findNext(gone, QString(), true, Qt::CaseInsensitive).isValid());
}

TEST_F(LogTableModelTest, OnAnAnnouncementTheSelectionStaysOnItsMessages)
{
    addMany(10);
    QItemSelectionModel selection(&model);
    selection.select(model.index(1, 0), QItemSelectionModel::Select | QItemSelectionModel::Rows);
    selection.select(model.index(6, 0), QItemSelectionModel::Select | QItemSelectionModel::Rows);
    selection.setCurrentIndex(model.index(6, 2), QItemSelectionModel::NoUpdate);
    const QPersistentModelIndex gone = model.index(2, 3);
    model.removeOldest(2);
    model.replaceOldest({makeMessage(20)});
    model.announceChanges();
    EXPECT_EQ(selection.currentIndex(), model.index(3, 2));
    ASSERT_EQ(selection.selectedRows().size(), 1);
    EXPECT_EQ(selection.selectedRows().first().row(), 3);
    EXPECT_FALSE(gone.isValid());
    model.announceChanges(); // nothing more happened
    EXPECT_EQ(selection.currentIndex(), model.index(3, 2));
    model.insertMessage(1, makeMessage(30));
    filtered.addMessage(makeMessage(7));
    model.announceChanges();
    EXPECT_EQ(selection.currentIndex(), model.index(4, 2));
}

TEST_F(LogTableModelTest, WhenSortedTheSelectionStaysWhereItIs)
{
    addMany(10);
    model.sort(idColumn, Qt::DescendingOrder);
    QItemSelectionModel selection(&model);
    selection.setCurrentIndex(model.index(3, 2), QItemSelectionModel::ClearAndSelect);
    const QPersistentModelIndex last = model.index(9, 0);
    model.removeOldest(2);
    model.announceChanges();
    EXPECT_EQ(selection.currentIndex(), model.index(3, 2));
    EXPECT_FALSE(last.isValid()); // there is no such row any more
}

TEST_F(LogTableModelTest, ASortTakesTheSelectionAlong)
{
    addTexts({u"d", u"c", u"b", u"a"});
    const QPersistentModelIndex first = model.index(0, messageColumn);
    const QPersistentModelIndex second = model.index(1, messageColumn);
    model.removeOldest(); // not announced yet
    model.sort(messageColumn, Qt::AscendingOrder);
    EXPECT_FALSE(first.isValid());
    EXPECT_EQ(second.row(), 2);
    EXPECT_EQ(second.data().toString(), QStringLiteral("c"));
    model.sort(messageColumn, Qt::DescendingOrder);
    EXPECT_EQ(second.row(), 0);
}

TEST_F(LogTableModelTest, SettingColumnsKeepsRowsSortAndSelection)
{
    // Rows are announced before the tester sees the model and none come while it looks, so every
    // signal of this test is one that the model makes itself.
    addTexts({u"c", u"a", u"b"});
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    model.sort(messageColumn, Qt::AscendingOrder);
    const QPersistentModelIndex held = model.index(1, messageColumn);
    const QPersistentModelIndex lost = model.index(1, timeColumn);
    QSignalSpy reset(&model, &QAbstractItemModel::modelReset);
    model.setColumns({FieldLogMessage, FieldModule, FieldServiceMsgID, FieldModule});
    EXPECT_EQ(model.columns(), (QList<int>{FieldLogMessage, FieldModule, FieldServiceMsgID}));
    EXPECT_EQ(reset.count(), 0);
    EXPECT_EQ(held, QPersistentModelIndex(model.index(1, 0)));
    EXPECT_FALSE(lost.isValid());
    EXPECT_EQ(model.sortColumn(), 0);
    EXPECT_EQ(shownColumn(model, 0).join(QString()), QStringLiteral("abc"));
    model.setColumns({FieldServiceMsgID, FieldTimestamp});
    EXPECT_EQ(model.sortColumn(), -1);
    EXPECT_EQ(shownColumn(model, 0).join(QString()), QStringLiteral("231"));
    addTexts({u"0"}); // rows that come go to the end, as in any sorted table
    EXPECT_EQ(shownColumn(model, 0).join(QString()), QStringLiteral("2314"));
    model.announceChanges();
    model.sort(0, Qt::AscendingOrder);
    EXPECT_EQ(shownColumn(model, 0).join(QString()), QStringLiteral("1234"));
    model.setColumns({});
    EXPECT_EQ(model.columnCount(), 0);
    EXPECT_EQ(model.rowCount(), 4);
}

TEST_F(LogTableModelTest, ATesterFindsNothingWrongWhenRowsAreAnnouncedAndSortedAndCleared)
{
    // Rows come and go without row signals, so the tester may look only after an announcement: the
    // test changes the model and announces before anything else emits. Its check of inserted rows
    // never runs, because the model never claims to insert one.
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    QSignalSpy changed(&model, &QAbstractItemModel::layoutChanged);
    addMany(150);
    model.announceChanges();
    model.removeOldest(30);
    model.announceChanges();
    model.sort(messageColumn, Qt::DescendingOrder);
    addMany(20);
    model.announceChanges();
    model.removeOldest(10);
    model.announceChanges();
    model.sort(timeColumn, Qt::AscendingOrder);
    model.clear();
    addMany(5);
    model.announceChanges();
    store->truncateTo(2);
    model.announceChanges();
    EXPECT_EQ(changed.count(), 8);
    EXPECT_EQ(model.rowCount(), 2);
}

TEST_F(LogTableModelTest, KeysMadeWhileTheDisplayChangesStayOfOneKind)
{
    addTimes(model, {3000000, 1000000, 2000000});
    model.sort(timeColumn, Qt::AscendingOrder);
    store->setTimeDisplayMode(1);
    addTimes(model, {0});
    EXPECT_EQ(shownColumn(model, idColumn).join(QString()), QStringLiteral("2314"));
    model.sort(timeColumn, Qt::DescendingOrder);
    EXPECT_EQ(shownColumn(model, idColumn).join(QString()), QStringLiteral("1324"));
    model.sort(idColumn, Qt::AscendingOrder);
    model.sort(timeColumn, Qt::AscendingOrder); // made anew: seconds
    EXPECT_EQ(shownColumn(model, idColumn).join(QString()), QStringLiteral("4231"));
}

TEST_F(LogTableModelTest, EverySortGivesTheOrderOfTheKeysInsertedOneByOne)
{
    std::mt19937_64 random(5);
    for (int i = 0; i < 300; ++i) {
        MessageFields fields;
        fields.id = random() % 50;
        fields.level = random() % 70;
        fields.timestamp += random() % 100000000;
        fields.text = std::u16string(random() % 3, static_cast<char16_t>('a' + random() % 4));
        fields.module = std::u16string(1, static_cast<char16_t>('A' + random() % 40));
        fields.process = random();
        model.addMessage(makeMessage(fields));
    }
    for (const int mode : {0, 1}) {
        store->setTimeDisplayMode(mode);
        for (int column = 0; column < 12; ++column) {
            for (const auto order : {Qt::DescendingOrder, Qt::AscendingOrder}) {
                SortedList expected;
                if (order == Qt::DescendingOrder) {
                    model.sort(-1, Qt::AscendingOrder);
                    model.sort(column, order);
                    for (int row = 0; row < 300; ++row)
                        expected.insert(model.sortKey(row, column), row);
                    expected.sort(order);
                } else {
                    for (int row = 0; row < 300; ++row)
                        expected.insert(model.sortKey(row, column), row);
                    expected.sort(Qt::DescendingOrder);
                    model.sort(column, order);
                    expected.sort(order);
                }
                for (int row = 0; row < 300; ++row)
                    ASSERT_EQ(model.storedRow(row), expected.indexAt(row)) << column;
            }
        }
    }
}

TEST_F(LogTableModelTest, TheMessagesThatAreWantedComeInTheirOrderHoweverManyThereAre)
{
    addMany(10000);
    const auto keep = [](const LogMessage& message) { return message.serviceMsgId() % 7 < 3; };
    for (const auto& [first, count] : std::initializer_list<std::pair<int, int>>{{0, 10000},
                                                                                 {0, 10001},
                                                                                 {-5, 4096},
                                                                                 {1, 4095},
                                                                                 {17, 9000},
                                                                                 {9999, 1},
                                                                                 {0, 0},
                                                                                 {10000, 5}}) {
        std::vector<std::shared_ptr<LogMessage>> expected;
        for (const auto& message : model.messagesFrom(first, count)) {
            if (keep(*message))
                expected.push_back(message);
        }
        EXPECT_EQ(model.messagesFrom(first, count, keep), expected) << first << ' ' << count;
    }
}

TEST_F(LogTableModelTest, ReadersOnTheWindowsThreadAndAWorkerDoNotDisturbEachOther)
{
    store->setTimeDisplayMode(1);
    addMany(500);
    filtered.addMessages(model.messagesFrom(0, 500));
    std::atomic<bool> end{false};
    boost::thread worker([&] {
        std::uint64_t id = 1000;
        while (!end) {
            const std::vector<std::shared_ptr<LogMessage>> added{makeMessage(id),
                                                                 makeMessage(id + 1)};
            filtered.replaceByIdentifiers(model.replaceOldest(added), added);
            id += 2;
        }
    });
    for (int round = 0; round < 60; ++round) {
        model.sort(round % 12, round % 2 == 0 ? Qt::AscendingOrder : Qt::DescendingOrder);
        filtered.sort(timeColumn, round % 2 == 0 ? Qt::AscendingOrder : Qt::DescendingOrder);
        model.announceChanges();
        filtered.announceChanges();
        EXPECT_EQ(model.rowCount(), 500);
        for (int row = 0; row < 20; ++row) {
            for (LogTableModel* each : {&model, &filtered}) {
                each->data(each->index(row, timeColumn), Qt::DisplayRole);
                each->data(each->index(row, 0), Qt::ForegroundRole);
                each->headerData(row, Qt::Vertical);
            }
        }
        model.addReference(round);
        model.removeReference(round);
        model.findNext(model.index(0, 0), QStringLiteral("nowhere"), true, Qt::CaseInsensitive);
    }
    end = true;
    worker.join();
}
