#include "store/LogContainer.h"
#include "logging/LogSvcError.h"
#include "store/LogTableModel.h"
#include "store/SortedList.h"
#include "store/ViewSettings.h"
#include "tests/store/ServiceStandIn.h"
#include "tests/store/StoreDesk.h"
#include "tests/store/StoreTestSupport.h"
#include "tests/support/ListenerUnderTest.h"
#include "tests/support/TestEnvironment.h"

#include <QAbstractItemModelTester>
#include <QElapsedTimer>
#include <QSignalSpy>

#include <gtest/gtest.h>

#include <boost/thread/thread.hpp>

#include <algorithm>
#include <atomic>
#include <deque>
#include <random>
#include <stdexcept>

using namespace zuLogging;
using namespace zuLogging::test;
using Access = LogContainerAccess;

namespace {

template <class Store>
struct Desk : StoreDesk<Store>
{
    using StoreDesk<Store>::full;
    using StoreDesk<Store>::store;

    void filterBy(const QString& include) { store->setFilter({include}, {}, {}, false, false); }
    bool waitForRows(int count)
    {
        return waitFor([this, count] { return full.rowCount() >= count; }, 30000);
    }
};

using QuietDesk = Desk<QuietStore>;
using RealDesk = Desk<LogContainer>;

std::vector<std::uint64_t> range(std::uint64_t first, std::uint64_t last)
{
    std::vector<std::uint64_t> ids;
    for (std::uint64_t id = first; id <= last; ++id)
        ids.push_back(id);
    return ids;
}

} // namespace

// --- The queue

TEST(LogContainer, TheRecordAfter100010QueuedOnesPushesOutTheOldest)
{
    QuietDesk desk;
    desk.store->setMaximumMessages(100000);
    ASSERT_TRUE(desk.store->startLogging(false));
    const auto stall = Access::stallWorkers(*desk.store);
    for (std::uint64_t id = 1; id <= 100010; ++id)
        desk.store->addMessage(decoded(id));
    EXPECT_EQ(desk.store->queueSize(), 100010U);
    desk.store->addMessage(decoded(100011));
    EXPECT_EQ(desk.store->queueSize(), 100010U);
    EXPECT_EQ(desk.store->takeMessage()->serviceMsgId(), 2U);
    desk.store->addMessage(decoded(100012));
    EXPECT_EQ(desk.store->queueSize(), 100010U);
    // Lowering the limit does not empty the queue: one leaves for each that arrives.
    desk.store->setMaximumMessages(10);
    desk.store->addMessage(decoded(100013));
    EXPECT_EQ(desk.store->queueSize(), 100010U);
    EXPECT_EQ(desk.store->takeMessage()->serviceMsgId(), 4U);
}

TEST(LogContainer, AMessageIsDroppedWhileNotActive)
{
    QuietDesk desk;
    desk.store->addMessage(decoded(1));
    EXPECT_EQ(desk.store->queueSize(), 0U);
    EXPECT_EQ(desk.store->takeMessage(), nullptr);
    Access::setActive(*desk.store, true);
    desk.store->addMessage(decoded(2));
    EXPECT_EQ(desk.store->queueSize(), 1U);
}

TEST(LogContainer, AQueuedRecordIsCompleteWithItsTimeStampText)
{
    QuietDesk desk;
    Access::setActive(*desk.store, true);
    DecodedMessage fields = decoded(7, u"hello", 4);
    fields.timestamp = MessageFields::unixTimestamp + 500000;
    fields.sourceMsgId = 8;
    fields.senderMsgId = 9;
    fields.logPos = u"pos";
    fields.module = u"mod";
    fields.groupName = u"grp";
    fields.processId = 10;
    fields.threadId = 11;
    desk.store->addMessage(fields);
    const auto message = desk.store->takeMessage();
    EXPECT_EQ(message->timestampText(), QStringLiteral("1970-Jan-01 00:00:00.500000"));
    EXPECT_EQ(message->serviceMsgId(), 7U);
    EXPECT_EQ(message->sourceMsgId(), 8U);
    EXPECT_EQ(message->senderMsgId(), 9U);
    EXPECT_EQ(message->processId(), 10U);
    EXPECT_EQ(message->threadId(), 11U);
    EXPECT_TRUE(message->logMessage() == u"hello" && message->logPos() == u"pos" &&
                message->module() == u"mod" && message->groupName() == u"grp");
}

TEST(LogContainer, ARealWorkerIsWokenEarlyWhenManyRecordsAreQueued)
{
    QuietDesk desk;
    ASSERT_TRUE(desk.store->startLogging(false));
    constexpr int rounds = 30;
    constexpr std::uint64_t many = 1024; // as many wake it
    qint64 waited = 0;
    for (std::uint64_t round = 0; round < rounds; ++round) {
        ASSERT_TRUE(waitFor([&] { return Access::isWorkerWaiting(*desk.store); }));
        for (std::uint64_t id = 1; id <= many; ++id)
            desk.store->addMessage(decoded(round * many + id));
        QElapsedTimer clock;
        clock.start();
        ASSERT_TRUE(desk.waitForRows(static_cast<int>((round + 1) * many)));
        waited += clock.elapsed();
    }
    // For a worker that only looks every 100 ms that is nearly as long each time.
    EXPECT_LT(waited, rounds * 100 / 2);
    EXPECT_EQ(storedIds(desk.full), range(1, rounds * many));
    EXPECT_TRUE(desk.stop());
}

// --- At the limit

TEST(LogContainer, AtTheLimitEachNewRecordRemovesTheOldestFromBothModels)
{
    QuietDesk desk;
    desk.store->setMaximumMessages(5);
    desk.filterBy(QStringLiteral("keep"));
    Access::setActive(*desk.store, true);
    for (std::uint64_t id = 1; id <= 12; ++id) {
        desk.store->addMessage(decoded(id, id % 2 == 0 ? u"keep" : u"other"));
        desk.drain();
        EXPECT_EQ(desk.full.rowCount(), static_cast<int>(std::min<std::uint64_t>(id, 5)));
    }
    EXPECT_EQ(storedIds(desk.full), range(8, 12));
    EXPECT_EQ(storedIds(desk.filtered), (std::vector<std::uint64_t>{8, 10, 12}));
}

TEST(LogContainer, AtTheLimitManyRecordsLeaveAndEnterInOneStepAsTheyWouldOneByOne)
{
    QuietDesk desk;
    desk.store->setMaximumMessages(300);
    desk.filterBy(QStringLiteral("keep"));
    Access::setActive(*desk.store, true);
    for (std::uint64_t id = 1; id <= 300; ++id)
        desk.store->addMessage(decoded(id, id % 3 == 0 ? u"keep" : u"other"));
    desk.drain();
    for (std::uint64_t id = 301; id <= 500; ++id)
        desk.store->addMessage(decoded(id, id % 3 == 0 ? u"keep" : u"other"));
    Access::moveMessages(*desk.store);
    EXPECT_EQ(desk.store->queueSize(), 0U);
    EXPECT_EQ(storedIds(desk.full), range(201, 500));
    std::vector<std::uint64_t> kept;
    for (std::uint64_t id = 201; id <= 500; ++id) {
        if (id % 3 == 0)
            kept.push_back(id);
    }
    EXPECT_EQ(storedIds(desk.filtered), kept);
}

TEST(LogContainer, RowsWithIdentifier0OrBit31OrAbove32BitsStayInTheFilteredModel)
{
    QuietDesk desk;
    desk.store->setMaximumMessages(5);
    desk.filterBy(QStringLiteral("text"));
    Access::setActive(*desk.store, true);
    for (const std::uint64_t id : {0ULL, 0x8000'0001ULL, 0x1'0000'0005ULL, 3ULL, 4ULL})
        desk.store->addMessage(decoded(id));
    desk.drain();
    for (std::uint64_t id = 10; id < 15; ++id)
        desk.store->addMessage(decoded(id));
    desk.drain();
    EXPECT_EQ(storedIds(desk.full), range(10, 14));
    EXPECT_EQ(storedIds(desk.filtered),
              (std::vector<std::uint64_t>{0, 0x8000'0001, 0x1'0000'0005, 10, 11, 12, 13, 14}));
}

TEST(LogContainer, AnIdentifierAbove32BitsRemovesTheRowThatItsLow32BitsName)
{
    QuietDesk desk;
    desk.store->setMaximumMessages(2);
    desk.filterBy(QStringLiteral("text"));
    Access::setActive(*desk.store, true);
    for (const std::uint64_t id : {0x1'0000'0005ULL, 5ULL, 6ULL})
        desk.store->addMessage(decoded(id));
    desk.drain();
    EXPECT_EQ(storedIds(desk.full), (std::vector<std::uint64_t>{5, 6}));
    EXPECT_EQ(storedIds(desk.filtered), (std::vector<std::uint64_t>{0x1'0000'0005, 6}));
}

TEST(LogContainer, ALimitOf0OrBelowStillLetsTheNewestRowIn)
{
    for (const int limit : {0, -20}) {
        QuietDesk desk;
        desk.store->setMaximumMessages(100);
        Access::setActive(*desk.store, true);
        for (std::uint64_t id = 1; id <= 5; ++id)
            desk.store->addMessage(decoded(id));
        desk.store->setMaximumMessages(limit);
        desk.drain();
        EXPECT_EQ(storedIds(desk.full), range(5, 5));
    }
}

TEST(LogContainer, ReadersNeverMeetMoreOrFewerRowsThanTheLimit)
{
    QuietDesk desk;
    desk.store->setMaximumMessages(500);
    desk.filterBy(QStringLiteral("1"));
    ASSERT_TRUE(desk.store->startLogging(false));
    std::uint64_t id = 0;
    const auto feed = [&](int count) {
        for (int i = 0; i < count; ++i) {
            ++id;
            desk.store->addMessage(decoded(id, id % 2 == 0 ? u"1" : u"x"));
        }
    };
    feed(500);
    ASSERT_TRUE(desk.waitForRows(500));
    for (int round = 0; round < 40; ++round) {
        feed(400);
        for (int look = 0; look < 50; ++look)
            ASSERT_EQ(desk.full.rowCount(), 500);
        desk.full.announceChanges();
        ASSERT_TRUE(waitFor([&] { return desk.store->queueSize() == 0; }));
    }
    EXPECT_TRUE(desk.stop());
    EXPECT_EQ(storedIds(desk.full), range(id - 499, id));
}

TEST(LogContainer, TruncatingKeepsTheNewestRowsOfTheFullModelOnly)
{
    QuietDesk desk;
    desk.filterBy(QStringLiteral("text"));
    Access::setActive(*desk.store, true);
    for (std::uint64_t id = 1; id <= 10; ++id)
        desk.store->addMessage(decoded(id));
    desk.drain();
    desk.store->truncateTo(20);
    EXPECT_EQ(desk.full.rowCount(), 10);
    desk.store->truncateTo(3);
    EXPECT_EQ(storedIds(desk.full), range(8, 10));
    EXPECT_EQ(storedIds(desk.filtered), range(1, 10));
    desk.store->truncateTo(-5);
    EXPECT_EQ(desk.full.rowCount(), 0);
}

TEST(LogContainer, WhatTruncatingRemovesLivesUntilItIsLetGoOf)
{
    QuietDesk desk;
    for (std::uint64_t id = 1; id <= 10; ++id)
        desk.full.addMessage(makeMessage(id));
    const std::weak_ptr<LogMessage> first = desk.full.messageAt(0);
    const std::weak_ptr<LogMessage> last = desk.full.messageAt(8);
    EXPECT_EQ(desk.store->truncateTo(10), nullptr);
    std::shared_ptr<void> removed = desk.store->truncateTo(1);
    EXPECT_EQ(storedIds(desk.full), range(10, 10));
    EXPECT_FALSE(first.expired());
    EXPECT_FALSE(last.expired());
    removed.reset();
    EXPECT_TRUE(first.expired());
    EXPECT_TRUE(last.expired());
}

// --- Filter

TEST(LogContainer, EmptyListsShowEveryMessageAndClearTheFilteredModel)
{
    QuietDesk desk;
    Access::setActive(*desk.store, true);
    desk.filterBy(QStringLiteral("yes"));
    for (std::uint64_t id = 1; id <= 4; ++id)
        desk.store->addMessage(decoded(id, id % 2 == 0 ? u"yes" : u"no"));
    desk.drain();
    EXPECT_TRUE(desk.store->isFiltering());
    EXPECT_EQ(desk.filtered.rowCount(), 2);
    desk.store->setFilter({}, {}, {}, true, true);
    EXPECT_FALSE(desk.store->isFiltering());
    EXPECT_EQ(desk.filtered.rowCount(), 0);
    EXPECT_EQ(storedIds(desk.full), range(1, 4));
    EXPECT_EQ(desk.store->filter().includeCase, Qt::CaseSensitive);
    desk.store->addMessage(decoded(5));
    desk.drain();
    EXPECT_EQ(desk.full.rowCount(), 5);
    EXPECT_EQ(desk.filtered.rowCount(), 0);
}

TEST(LogContainer, SettingTheSameFilterAgainDoesNothing)
{
    QuietDesk desk;
    desk.filterBy(QStringLiteral("a"));
    QSignalSpy reset(&desk.filtered, &QAbstractItemModel::modelReset);
    desk.filterBy(QStringLiteral("a"));
    EXPECT_EQ(reset.count(), 0);
    desk.store->setFilter({QStringLiteral("a")}, {}, {}, true, false);
    EXPECT_EQ(reset.count(), 1);
    desk.store->setFilter({QStringLiteral("a")}, {QStringLiteral("err")}, {}, true, false);
    EXPECT_EQ(reset.count(), 2);
    EXPECT_EQ(desk.store->filter().levels, QStringList{QStringLiteral("err")});
}

TEST(LogContainer, TheFirstFilterComesFromTheViewSettings)
{
    ViewSettings& settings = ViewSettings::instance();
    settings.filterInclude = QStringList{QStringLiteral("in")};
    settings.filterExclude = QStringList{QStringLiteral("ex")};
    settings.levelFilterInclude = QStringList{QStringLiteral("warn")};
    settings.filterExcludeCs = true;
    settings.maximumLogMessages = 1234;
    const QuietStore store;
    EXPECT_EQ(store.maximumMessages(), 1234);
    EXPECT_TRUE(store.isFiltering());
    const MessageFilter filter = store.filter();
    EXPECT_EQ(filter.include, settings.filterInclude);
    EXPECT_EQ(filter.exclude, settings.filterExclude);
    EXPECT_EQ(filter.levels, settings.levelFilterInclude);
    EXPECT_EQ(filter.includeCase, Qt::CaseInsensitive);
    EXPECT_EQ(filter.excludeCase, Qt::CaseSensitive);
    settings.reset();
    EXPECT_EQ(QuietStore().maximumMessages(), 100000);
    EXPECT_FALSE(QuietStore().isFiltering());
}

TEST(LogContainer, TheModelsAreLaidOutFromTheViewSettingsSkippingColumnsAlreadyThere)
{
    ViewSettings::instance().setColumnLayout({FieldLogMessage, FieldModule, FieldTimestamp});
    const QList<int> layout = ViewSettings::instance().columnLayout();
    const auto store = std::make_shared<QuietStore>();
    LogTableModel full(store);
    LogTableModel filtered(store);
    full.addColumn(FieldModule);
    store->setModels(&full, &filtered);
    EXPECT_EQ(filtered.columns(), layout);
    EXPECT_EQ(full.columns().first(), static_cast<int>(FieldModule));
    EXPECT_EQ(full.columns().size(), layout.size());
    store->setModels(nullptr, nullptr);
    ViewSettings::instance().reset();
}

TEST(LogContainer, ARefilterTakesTheFullModelsRowsInOrder)
{
    QuietDesk desk;
    Access::setActive(*desk.store, true);
    for (std::uint64_t id = 1; id <= 5000; ++id)
        desk.store->addMessage(decoded(id, id % 2 == 0 ? u"even" : u"odd"));
    desk.drain();
    QAbstractItemModelTester tester(&desk.filtered,
                                    QAbstractItemModelTester::FailureReportingMode::Fatal);
    desk.filterBy(QStringLiteral("EVEN"));
    EXPECT_EQ(desk.filtered.rowCount(), 2500);
    desk.store->refilter();
    EXPECT_EQ(desk.filtered.rowCount(), 2500);
    EXPECT_EQ(desk.filtered.messageAt(2499)->serviceMsgId(), 5000U);
    QuietStore alone;
    alone.refilter(); // no models: nothing
    alone.setShowFiltered(true);
    EXPECT_TRUE(alone.showFiltered());
    alone.clearModels();
    alone.truncateTo(0);
}

TEST(LogContainer, SwitchingTheModelsCarriesTheSortAcross)
{
    QuietDesk desk;
    Access::setActive(*desk.store, true);
    for (std::uint64_t id = 1; id <= 4; ++id)
        desk.store->addMessage(decoded(id, std::u16string(1, static_cast<char16_t>('d' - id))));
    desk.drain();
    const int column = FieldLogMessage - 1;
    desk.full.sort(column, Qt::AscendingOrder);
    EXPECT_EQ(desk.filtered.rowCount(), 0);
    desk.store->setShowFiltered(true); // no filter: everything passes
    EXPECT_EQ(desk.filtered.rowCount(), 4);
    EXPECT_EQ(desk.filtered.sortColumn(), column);
    EXPECT_EQ(shownColumn(desk.filtered, 0).join(QString()), QStringLiteral("4321"));
    desk.filtered.sort(0, Qt::DescendingOrder);
    desk.store->setShowFiltered(false);
    EXPECT_EQ(desk.full.sortColumn(), 0);
    EXPECT_EQ(desk.full.sortOrder(), Qt::DescendingOrder);
    desk.filtered.clear(); // sort column -1: nothing to carry
    desk.full.sort(column, Qt::AscendingOrder);
    desk.store->setShowFiltered(false);
    EXPECT_EQ(desk.full.sortColumn(), column);
}

TEST(LogContainer, ClearingTheModelsLeavesQueuedRecordsToCome)
{
    QuietDesk desk;
    Access::setActive(*desk.store, true);
    desk.filterBy(QStringLiteral("text"));
    desk.store->addMessage(decoded(1));
    desk.drain();
    desk.store->addMessage(decoded(2));
    desk.store->clearModels();
    EXPECT_EQ(desk.full.rowCount() + desk.filtered.rowCount(), 0);
    desk.drain();
    EXPECT_EQ(storedIds(desk.full), range(2, 2));
    EXPECT_EQ(storedIds(desk.filtered), range(2, 2));
}

TEST(LogContainer, ASlotOnAModelResetMayAskTheStore)
{
    QuietDesk desk;
    int asked = 0;
    QObject::connect(&desk.filtered, &QAbstractItemModel::modelReset, [&] {
        desk.store->filter();
        ++asked;
    });
    QObject::connect(&desk.filtered, &QAbstractItemModel::modelAboutToBeReset, [&] {
        desk.store->filter();
        ++asked;
    });
    desk.filterBy(QStringLiteral("x"));
    desk.store->refilter();
    desk.store->clearModels();
    desk.store->setFilter({}, {}, {}, false, false);
    EXPECT_EQ(asked, 8);
}

TEST(LogContainer, NoRecordIsLostFromNorDoubledInTheFilteredModelWhenTheFilterChanges)
{
    constexpr std::uint64_t total = 25000;
    QuietDesk desk;
    ASSERT_TRUE(desk.store->startLogging(false));
    boost::thread feeder([&] {
        for (std::uint64_t id = 1; id <= total; ++id)
            desk.store->addMessage(decoded(id, id % 3 == 0 ? u"three" : u"other"));
    });
    bool on = false;
    const auto toggle = [&] {
        on = !on;
        desk.filterBy(on ? QStringLiteral("three") : QStringLiteral("other"));
    };
    const bool arrived = waitFor(
        [&] {
            toggle();
            return desk.full.rowCount() == static_cast<int>(total);
        },
        60000);
    feeder.join();
    ASSERT_TRUE(arrived);
    EXPECT_EQ(storedIds(desk.full), range(1, total));
    for (int i = 0; i < 2; ++i) {
        std::vector<std::uint64_t> expected;
        for (std::uint64_t id = 1; id <= total; ++id) {
            if ((id % 3 == 0) == on)
                expected.push_back(id);
        }
        EXPECT_EQ(storedIds(desk.filtered), expected);
        toggle();
    }
    EXPECT_TRUE(desk.stop());
}

TEST(LogContainer, NorAtTheLimit)
{
    QuietDesk desk;
    desk.store->setMaximumMessages(2000);
    desk.filterBy(QStringLiteral("three"));
    ASSERT_TRUE(desk.store->startLogging(false));
    std::uint64_t id = 0;
    for (int round = 0; round < 25; ++round) {
        for (int i = 0; i < 1500; ++i) {
            ++id;
            desk.store->addMessage(decoded(id, id % 3 == 0 ? u"three" : u"other"));
        }
        for (int i = 0; i < 5; ++i) {
            desk.filterBy(QStringLiteral("other"));
            desk.filterBy(QStringLiteral("three"));
        }
        if (round % 5 == 0)
            desk.store->truncateTo(1000);
        ASSERT_TRUE(waitFor([&] { return desk.store->queueSize() == 0; }));
    }
    EXPECT_TRUE(desk.stop());
    std::vector<std::uint64_t> expected;
    const auto ids = storedIds(desk.full);
    std::copy_if(ids.begin(), ids.end(), std::back_inserter(expected),
                 [](std::uint64_t each) { return each % 3 == 0; });
    EXPECT_EQ(ids, range(id + 1 - ids.size(), id));
    EXPECT_EQ(desk.full.rowCount(), 2000);
    // A truncation does not touch the filtered model; the toggles after it made it new.
    EXPECT_EQ(storedIds(desk.filtered), expected);
}

// --- Differential

namespace {

/// The store's rules written out one record at a time, on one thread, with plain lists.
struct PlainModel
{
    std::deque<std::shared_ptr<LogMessage>> messages;
    SortedList index;
    int sortColumn = 0;
    Qt::SortOrder sortOrder = Qt::AscendingOrder;

    static QVariant key(const LogMessage& message, int column)
    {
        if (column == FieldServiceMsgID - 1)
            return QVariant(static_cast<qulonglong>(message.serviceMsgId()));
        return QVariant(toQString(message.logMessage()));
    }
    void add(const std::shared_ptr<LogMessage>& message)
    {
        const int row = static_cast<int>(messages.size());
        messages.push_back(message);
        if (!index.isEmpty())
            index.insert(key(*message, sortColumn), row);
    }
    int removeOldest()
    {
        if (messages.empty())
            return 0;
        for (int position = 0; position < index.size(); ++position) {
            if (index.indexAt(position) == 0) {
                index.remove(position);
                break;
            }
        }
        const auto id = static_cast<int>(static_cast<std::uint32_t>(messages[0]->serviceMsgId()));
        messages.pop_front();
        return id;
    }
    void removeIdentifier(int identifier)
    {
        if (identifier < 1)
            return;
        const auto wanted = static_cast<std::uint64_t>(static_cast<std::int64_t>(identifier));
        const auto found = std::find_if(messages.begin(), messages.end(), [&](const auto& each) {
            return each->serviceMsgId() == wanted;
        });
        if (found != messages.end())
            messages.erase(found);
    }
    void clear()
    {
        messages.clear();
        index.clear();
        sortColumn = -1;
    }
    void sort(int column, Qt::SortOrder order)
    {
        if (column == sortColumn && order == sortOrder)
            return;
        if (index.isEmpty() || column != sortColumn) {
            index.clear();
            int row = 0;
            for (const auto& message : messages)
                index.insert(key(*message, column), row++);
        }
        index.sort(order);
        sortColumn = column;
        sortOrder = order;
    }
    std::vector<std::uint64_t> shown() const
    {
        std::vector<std::uint64_t> ids;
        for (int row = 0; row < static_cast<int>(messages.size()); ++row) {
            const int stored = index.isEmpty() ? row : index.indexAt(row);
            const bool there = stored >= 0 && stored < static_cast<int>(messages.size());
            ids.push_back(there ? messages[static_cast<std::size_t>(stored)]->serviceMsgId()
                                : ~std::uint64_t(0));
        }
        return ids;
    }
};

struct PlainStore
{
    PlainModel full;
    PlainModel filtered;
    MessageFilter filter;
    int limit = 20;

    void arrive(const std::shared_ptr<LogMessage>& message)
    {
        if (static_cast<int>(full.messages.size()) >= limit) {
            const int identifier = full.removeOldest();
            if (!filter.isEmpty())
                filtered.removeIdentifier(identifier);
        }
        full.add(message);
        if (!filter.isEmpty() && filter.passes(*message))
            filtered.add(message);
    }
    void refilter()
    {
        filtered.clear();
        for (const auto& message : full.messages) {
            if (filter.passes(*message))
                filtered.add(message);
        }
    }
    void setFilter(const MessageFilter& wanted)
    {
        if (wanted.isEmpty()) {
            filtered.clear();
            filter = wanted;
        } else if (!(wanted == filter)) {
            filter = wanted;
            refilter();
        }
    }
    void show(bool filteredOnes)
    {
        if (filtered.messages.empty())
            refilter();
        PlainModel& from = filteredOnes ? full : filtered;
        PlainModel& to = filteredOnes ? filtered : full;
        if (from.sortColumn != -1)
            to.sort(from.sortColumn, from.sortOrder);
    }
};

std::vector<std::uint64_t> shownIds(const LogTableModel& model)
{
    std::vector<std::uint64_t> ids;
    for (int row = 0; row < model.rowCount(); ++row) {
        const auto message = model.messageAt(model.storedRow(row));
        ids.push_back(message ? message->serviceMsgId() : ~std::uint64_t(0));
    }
    return ids;
}

} // namespace

TEST(LogContainer, BehavesAsItsRulesWrittenOutOneRecordAtATime)
{
    for (unsigned seed = 0; seed < 12; ++seed) {
        std::mt19937_64 random(seed);
        QuietDesk desk;
        Access::setActive(*desk.store, true);
        PlainStore plain;
        desk.store->setMaximumMessages(plain.limit);
        std::uint64_t next = 1;
        const QStringList words{QStringLiteral("x"), QStringLiteral("y"), QStringLiteral("xy")};
        for (int step = 0; step < 120; ++step) {
            switch (random() % 10) {
            case 0: {
                plain.limit = 1 + static_cast<int>(random() % 250);
                desk.store->setMaximumMessages(plain.limit);
                break;
            }
            case 1: {
                MessageFilter filter;
                if (random() % 4 != 0)
                    filter.include = QStringList{words.at(static_cast<int>(random() % 3))};
                if (random() % 4 == 0)
                    filter.exclude = QStringList{words.at(static_cast<int>(random() % 3))};
                plain.setFilter(filter);
                desk.store->setFilter(filter.include, filter.levels, filter.exclude, false, false);
                break;
            }
            case 2: {
                const int column = random() % 2 == 0 ? 0 : FieldLogMessage - 1;
                const auto order = random() % 2 == 0 ? Qt::AscendingOrder : Qt::DescendingOrder;
                const bool which = random() % 2 == 0;
                (which ? plain.full : plain.filtered).sort(column, order);
                (which ? desk.full : desk.filtered).sort(column, order);
                break;
            }
            case 3: {
                const bool show = random() % 2 == 0;
                plain.show(show);
                desk.store->setShowFiltered(show);
                break;
            }
            case 4: {
                const int count = static_cast<int>(random() % 300);
                while (static_cast<int>(plain.full.messages.size()) > count)
                    plain.full.removeOldest();
                desk.store->truncateTo(count);
                break;
            }
            case 5:
                if (random() % 4 == 0) {
                    plain.full.clear();
                    plain.filtered.clear();
                    desk.store->clearModels();
                }
                break;
            default: {
                const int count = static_cast<int>(random() % 200);
                std::vector<DecodedMessage> burst;
                for (int i = 0; i < count; ++i) {
                    std::uint64_t id = next++;
                    if (random() % 20 == 0)
                        id = random() % 2 == 0 ? 0 : (random() % 3) << 31;
                    if (random() % 200 == 0)
                        next = 1 + random() % next;
                    std::u16string text;
                    for (auto n = random() % 3; n > 0; --n)
                        text += random() % 2 == 0 ? u'x' : u'y';
                    burst.push_back(decoded(id, text));
                }
                for (const DecodedMessage& fields : burst) {
                    // Never more than the queue holds, so that none is dropped.
                    if (static_cast<int>(desk.store->queueSize()) >= plain.limit)
                        desk.drain();
                    desk.store->addMessage(fields);
                    plain.arrive(std::make_shared<LogMessage>(
                        fields.serviceMsgId, fields.sourceMsgId, fields.senderMsgId,
                        fields.timestamp, fields.logLevel, fields.logPos, fields.module,
                        fields.groupName, fields.logMessage, fields.processId, fields.threadId));
                }
                desk.drain();
            }
            }
            ASSERT_EQ(shownIds(desk.full), plain.full.shown()) << seed << "/" << step;
            ASSERT_EQ(shownIds(desk.filtered), plain.filtered.shown()) << seed << "/" << step;
            ASSERT_EQ(desk.full.sortColumn(), plain.full.sortColumn);
            ASSERT_EQ(desk.filtered.sortColumn(), plain.filtered.sortColumn);
        }
    }
}

// --- Start, stop, end

TEST(LogContainer, StoppingWhileMessagesAreQueuedDrainsThemAndSaysSoOnce)
{
    QuietDesk desk;
    ASSERT_TRUE(desk.store->startLogging(false));
    {
        const auto stall = Access::stallWorkers(*desk.store);
        for (std::uint64_t id = 1; id <= 20000; ++id)
            desk.store->addMessage(decoded(id));
        desk.store->stopLogging();
        EXPECT_EQ(desk.done, 0);
        EXPECT_TRUE(desk.store->isActive());
    }
    ASSERT_TRUE(waitFor([&] { return desk.done > 0; }));
    EXPECT_EQ(desk.store->queueSize(), 0U);
    EXPECT_EQ(storedIds(desk.full), range(1, 20000));
    EXPECT_FALSE(desk.store->isActive());
    EXPECT_EQ(desk.done, 1);
    EXPECT_EQ(Access::livingWorkers(*desk.store), 0U);
}

TEST(LogContainer, AStartWhileThePreviousWorkerDrainsEndsWithIt)
{
    QuietDesk desk;
    ASSERT_TRUE(desk.store->startLogging(false));
    {
        const auto stall = Access::stallWorkers(*desk.store);
        for (std::uint64_t id = 1; id <= 100; ++id)
            desk.store->addMessage(decoded(id));
        desk.store->stopLogging();
        ASSERT_TRUE(desk.store->startLogging(false));
        EXPECT_TRUE(Access::isStopRequested(*desk.store)); // a start sets active and nothing else
        EXPECT_TRUE(desk.store->isActive());
        desk.store->addMessage(decoded(101));
    }
    ASSERT_TRUE(waitFor([&] { return desk.done == 2; }));
    EXPECT_EQ(storedIds(desk.full), range(1, 101));
    EXPECT_FALSE(desk.store->isActive());
    EXPECT_FALSE(Access::isStopRequested(*desk.store));
    desk.store->addMessage(decoded(102)); // dropped until the next start
    EXPECT_EQ(desk.store->queueSize(), 0U);
    ASSERT_TRUE(desk.store->startLogging(false));
    desk.store->addMessage(decoded(103));
    EXPECT_TRUE(desk.waitForRows(102));
    EXPECT_TRUE(desk.stop());
}

/// Is stopped while it subscribes, as by a window that closes.
class StoppedStore final : public LogContainer
{
protected:
    std::shared_ptr<LogMessageListener> makeListener(bool) override
    {
        stopLogging();
        return {};
    }
};

TEST(LogContainer, AStopDuringTheStartLeavesNoWorker)
{
    Desk<StoppedStore> desk;
    EXPECT_FALSE(desk.store->startLogging(false));
    EXPECT_FALSE(desk.store->isActive());
    EXPECT_EQ(desk.done, 1);
    EXPECT_EQ(Access::livingWorkers(*desk.store), 0U);
}

TEST(LogContainer, ShuttingDownEndsTheWorkerWithoutDraining)
{
    QuietDesk desk;
    ASSERT_TRUE(desk.store->startLogging(false));
    {
        const auto stall = Access::stallWorkers(*desk.store);
        for (std::uint64_t id = 1; id <= 50000; ++id)
            desk.store->addMessage(decoded(id));
        desk.store->stopLogging();
        desk.store->setShuttingDown();
        EXPECT_TRUE(Access::isShuttingDown(*desk.store));
    }
    ASSERT_TRUE(waitFor([&] { return desk.done == 1; }));
    EXPECT_GE(desk.store->queueSize(), 40000U);
    EXPECT_FALSE(Access::isShuttingDown(*desk.store));
    EXPECT_FALSE(Access::isStopRequested(*desk.store));
    desk.store->setShuttingDown(); // nobody is there to be ended
    EXPECT_FALSE(Access::isShuttingDown(*desk.store));
}

TEST(LogContainer, AWorkerThatStartsWhileNotActiveSaysSoAndEnds)
{
    QuietDesk desk;
    {
        const auto stall = Access::stallWorkers(*desk.store);
        ASSERT_TRUE(desk.store->startLogging(false));
        Access::setActive(*desk.store, false);
    }
    ASSERT_TRUE(waitFor([&] { return desk.done == 1; }));
    EXPECT_EQ(Access::livingWorkers(*desk.store), 0U);
}

TEST(LogContainer, StoppingWithoutAWorkerIsDoneAtOnce)
{
    QuietDesk desk;
    desk.store->stopLogging();
    EXPECT_EQ(desk.done, 1);
    EXPECT_FALSE(Access::isStopRequested(*desk.store));
}

namespace {

class BrokenStore : public LogContainer
{
protected:
    std::shared_ptr<LogMessageListener> makeListener(bool) override
    {
        throw std::runtime_error("no socket left");
    }
};

} // namespace

TEST(LogContainer, AnErrorOfAnotherKindAtTheStartIsPassedOnWithTheStoreStopped)
{
    Desk<BrokenStore> desk;
    EXPECT_THROW(desk.store->startLogging(false), std::runtime_error);
    EXPECT_FALSE(desk.store->isActive());
    EXPECT_EQ(Access::livingWorkers(*desk.store), 0U);
}

TEST(LogContainer, TheModelsMayGoWhileTheWorkerRuns)
{
    QuietStore store;
    store.startLogging(false);
    boost::thread feeder([&] {
        for (std::uint64_t id = 1; id <= 30000; ++id)
            store.addMessage(decoded(id));
    });
    for (int round = 0; round < 20; ++round) {
        // The models outlive their store here only because they share none.
        auto full = std::make_unique<LogTableModel>(nullptr);
        auto filtered = std::make_unique<LogTableModel>(nullptr);
        store.setModels(full.get(), filtered.get());
        full->announceChanges();
        store.setModels(nullptr, nullptr);
    }
    feeder.join();
    EXPECT_TRUE(waitFor([&] { return store.queueSize() == 0; }));
}

TEST(LogContainer, TheDestructorEndsARunningWorkerWithAFullQueue)
{
    for (int round = 0; round < 20; ++round) {
        QuietStore store;
        ASSERT_TRUE(store.startLogging(false));
        for (std::uint64_t id = 1; id <= 2000; ++id)
            store.addMessage(decoded(id));
    }
}

// --- With a service on real sockets

TEST(LogContainerWithService, AStartFailsWhenNobodyAnswersAndALaterOneWorks)
{
    RealDesk desk;
    EXPECT_FALSE(desk.store->startLogging(false));
    EXPECT_FALSE(desk.store->isActive());
    EXPECT_EQ(desk.store->takeErrorText(),
              QStringLiteral("Failed to connect to the shared memory with connection info: "
                             "Shared memory error"));
    EXPECT_TRUE(desk.store->takeErrorText().isEmpty());
    boost::thread stopper([&] { desk.store->stopLogging(); }); // as the view does after a failure
    ASSERT_TRUE(waitFor([&] { return desk.done == 1; }));
    stopper.join();
    EXPECT_FALSE(Access::isStopRequested(*desk.store));

    ServiceStandIn service;
    ASSERT_TRUE(desk.store->startLogging(false));
    Sender sender(service.boundAddress());
    sender.send(1);
    EXPECT_TRUE(desk.waitForRows(1));
    EXPECT_TRUE(desk.stop());
}

TEST(LogContainerWithService, TwentyThousandMessagesArriveAllAndInOrder)
{
    constexpr std::uint64_t total = 20000;
    constexpr std::uint64_t window = 100; // the sockets' buffers hold about 200 packets
    ServiceStandIn service;
    RealDesk desk;
    ASSERT_TRUE(desk.store->startLogging(false));
    Sender sender(service.boundAddress());
    for (std::uint64_t number = 1; number <= total; ++number) {
        sender.send(number);
        if (number % window == 0) {
            ASSERT_TRUE(waitFor([&] {
                return desk.store->queueSize() + static_cast<std::size_t>(desk.full.rowCount()) >=
                       number - window / 2;
            }));
        }
    }
    ASSERT_TRUE(desk.waitForRows(static_cast<int>(total)));
    EXPECT_EQ(storedIds(desk.full), range(1, total)); // the service's own numbers
    for (int row = 0; row < static_cast<int>(total); ++row) {
        const auto message = desk.full.messageAt(row);
        ASSERT_EQ(message->sourceMsgId(), static_cast<std::uint64_t>(row) + 1);
        ASSERT_EQ(toQString(message->logMessage()), QStringLiteral("message %1").arg(row + 1));
    }
    EXPECT_TRUE(desk.stop());
    EXPECT_EQ(desk.full.rowCount(), static_cast<int>(total));
}

// Until the service has acknowledged the end of the subscription it sends; what it has sent by then
// lies in the socket, or waits for the sink, when the run ends.
TEST(LogContainerWithService, WhatTheServiceSentBeforeTheStopWasAcknowledgedIsShown)
{
    ServiceStandIn service;
    constexpr int count = 100; // less than the socket's buffer holds
    for (int round = 0; round < 20; ++round) {
        RealDesk desk;
        ASSERT_TRUE(desk.store->startLogging(false));
        Sender sender(service.boundAddress());
        for (int i = 1; i <= count; ++i)
            sender.send(static_cast<std::uint64_t>(i));
        EXPECT_TRUE(desk.stop());
        ASSERT_EQ(desk.full.rowCount(), count) << "round " << round;
    }
}

/// Its listener hands over one more message while it is being released.
class LateStore : public LogContainer
{
protected:
    std::shared_ptr<LogMessageListener> makeListener(bool) override
    {
        return {new test::ListenerUnderTest, [this](LogMessageListener* listener) {
                    // Whoever does not wait for the listener has ended by then.
                    test::waitFor([this] { return !isActive(); }, 300);
                    addMessage(decoded(1));
                    delete listener;
                }};
    }
};

TEST(LogContainer, ARunIsNotOverBeforeItsListenerHasHandedOverTheLastMessage)
{
    Desk<LateStore> desk;
    ASSERT_TRUE(desk.store->startLogging(false));
    EXPECT_TRUE(desk.stop());
    EXPECT_FALSE(desk.store->isActive());
    EXPECT_EQ(desk.full.rowCount(), 1);
}

TEST(LogContainerWithService, AHundredStartsAndStopsLeaveEveryRunUsable)
{
    ServiceStandIn service;
    RealDesk desk;
    Sender sender(service.boundAddress());
    for (int round = 1; round <= 100; ++round) {
        ASSERT_TRUE(desk.store->startLogging(false)) << desk.store->takeErrorText().toStdString();
        sender.send(static_cast<std::uint64_t>(round));
        if (round % 10 == 0) {
            ASSERT_TRUE(desk.waitForRows(1));
        }
        ASSERT_TRUE(desk.stop());
        ASSERT_FALSE(desk.store->isActive());
        desk.store->clearModels();
    }
    EXPECT_EQ(desk.done, 100);
}

TEST(LogContainerWithService, AStartWhileRunningStopsFirst)
{
    ServiceStandIn service;
    RealDesk desk;
    ASSERT_TRUE(desk.store->startLogging(false));
    desk.store->startLogging(false);
    // The stop that came first ended the first worker, or, where that one was slow, ends both.
    ASSERT_TRUE(waitFor([&] { return desk.done >= 1; }));
    EXPECT_TRUE(desk.stop());
    ASSERT_TRUE(waitFor([&] { return Access::livingWorkers(*desk.store) == 0; }));
    EXPECT_FALSE(desk.store->isActive());
    EXPECT_TRUE(desk.store->startLogging(false) && desk.stop());
}

TEST(LogContainerWithService, TwoThreadsMayStopAtTheSameTime)
{
    ServiceStandIn service;
    RealDesk desk;
    for (int round = 0; round < 10; ++round) {
        ASSERT_TRUE(desk.store->startLogging(false));
        boost::thread other([&] { desk.store->stopLogging(); });
        desk.store->stopLogging();
        desk.store->setShuttingDown();
        other.join();
        ASSERT_TRUE(waitFor([&] { return Access::livingWorkers(*desk.store) == 0; }));
        ASSERT_FALSE(Access::isStopRequested(*desk.store));
    }
}

TEST(LogContainerWithService, TheStoreMayGoWhileMessagesArrive)
{
    ServiceStandIn service;
    std::atomic<bool> end{false};
    boost::thread traffic([&] {
        Sender sender(service.boundAddress());
        for (std::uint64_t number = 1; !end; ++number) {
            try {
                sender.send(number);
            } catch (const LogSvcError&) {
                // A viewer that has just gone cannot be forwarded to.
            }
        }
    });
    for (int round = 0; round < 10; ++round) {
        auto desk = std::make_unique<RealDesk>();
        ASSERT_TRUE(desk->store->startLogging(false));
        EXPECT_TRUE(desk->waitForRows(20));
        desk.reset();
    }
    end = true;
    traffic.join();
}
