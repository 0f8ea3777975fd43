#include "logging/LogLedger.h"
#include "logging/LogMessageSecondaryListener.h"
#include "store/GUISink.h"
#include "store/LogContainer.h"
#include "store/LogTableModel.h"
#include "tests/store/ServiceStandIn.h"
#include "tests/store/StoreDesk.h"
#include "tests/store/StoreTestSupport.h"
#include "tests/support/TestContainer.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/UdpPeer.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <atomic>

using namespace zuLogging;
using namespace zuLogging::test;
using Access = LogContainerAccess;

namespace {

template <class Store>
struct Desk : StoreDesk<Store>
{
    using StoreDesk<Store>::full;
    using StoreDesk<Store>::store;

    std::uint64_t count(LogCount which) const { return store->ledger()->count(which); }
    /// `ids` from 1 on.
    void add(std::uint64_t first, std::uint64_t last)
    {
        for (std::uint64_t id = first; id <= last; ++id)
            store->addMessage(decoded(id, id % 2 == 0 ? u"even" : u"odd"));
    }
    /// What the ledger says of the way from the queue to the rows, at rest.
    void expectStoreBalances() const
    {
        const LogCounts counts = store->ledger()->counts();
        EXPECT_EQ(counts[LogCount::Queued], counts[LogCount::DroppedFromQueue] +
                                                counts[LogCount::Moved] + store->queueSize());
        EXPECT_EQ(counts[LogCount::Moved] + counts[LogCount::Loaded],
                  static_cast<std::uint64_t>(full.messageCount()) +
                      counts[LogCount::RemovedAtLimit] + counts[LogCount::Cleared]);
        EXPECT_EQ(store->movedMessages(), counts[LogCount::Moved]);
    }
};

using QuietDesk = Desk<QuietStore>;

/// Subscribes at the service, and tells where it listens.
class WatchedStore final : public LogContainer
{
public:
    SocketAddress address() const { return address_; }

protected:
    std::shared_ptr<LogMessageListener> makeListener(bool replay) override
    {
        std::shared_ptr<LogMessageListener> listener = LogContainer::makeListener(replay);
        address_ = listener->boundAddress();
        return listener;
    }

private:
    SocketAddress address_;
};

} // namespace

TEST(MessageLedger, OneLedgerForTheWholeLifeOfAStore)
{
    QuietDesk desk;
    const LogLedger* const ledger = desk.store->ledger().get();
    ASSERT_NE(ledger, nullptr);
    ASSERT_TRUE(desk.store->startLogging(false));
    EXPECT_TRUE(desk.stop());
    ASSERT_TRUE(desk.store->startLogging(false));
    EXPECT_EQ(desk.store->ledger().get(), ledger);
    EXPECT_TRUE(desk.stop());
}

TEST(MessageLedger, AMessageOutsideOfARunIsNotActiveAndNotQueued)
{
    QuietDesk desk;
    desk.add(1, 3);
    EXPECT_EQ(desk.count(LogCount::NotActive), 3U);
    EXPECT_EQ(desk.count(LogCount::Queued), 0U);
    Access::setActive(*desk.store, true);
    desk.add(4, 5);
    EXPECT_EQ(desk.count(LogCount::NotActive), 3U);
    EXPECT_EQ(desk.count(LogCount::Queued), 2U);
    desk.expectStoreBalances();
}

TEST(MessageLedger, EveryContainerThatTheSinkCannotReadIsCountedOnce)
{
    QuietDesk desk;
    Access::setActive(*desk.store, true);
    GUISink sink(desk.store.get());
    LogMessageContainerBuilder builder;
    builder.logMessage = "text";
    const std::vector<std::uint8_t> good = builder.build();
    LogMessageContainerView view;
    view.data = good.data();
    for (view.length = 0; view.length < good.size(); ++view.length)
        sink.consume(view);
    EXPECT_EQ(desk.count(LogCount::Unreadable), good.size());
    EXPECT_EQ(desk.count(LogCount::Queued), 0U);
    view.length = good.size();
    sink.consume(view);
    EXPECT_EQ(desk.count(LogCount::Unreadable), good.size());
    EXPECT_EQ(desk.count(LogCount::Queued), 1U);
}

TEST(MessageLedger, AFullQueueDropsTheOldestAndSaysSo)
{
    QuietDesk desk;
    desk.store->setMaximumMessages(5);
    Access::setActive(*desk.store, true);
    desk.add(1, 20); // the queue holds 15
    EXPECT_EQ(desk.count(LogCount::Queued), 20U);
    EXPECT_EQ(desk.count(LogCount::DroppedFromQueue), 5U);
    EXPECT_EQ(desk.count(LogCount::Moved), 0U);
    desk.expectStoreBalances();
    desk.drain();
    EXPECT_EQ(desk.count(LogCount::Moved), 15U);
    EXPECT_EQ(desk.count(LogCount::RemovedAtLimit), 10U);
    desk.expectStoreBalances();
}

TEST(MessageLedger, AtALimitOf0EachRowMakesRoomForTheNextOne)
{
    for (const int limit : {0, -1, 1}) {
        QuietDesk desk;
        desk.store->setMaximumMessages(limit);
        Access::setActive(*desk.store, true);
        desk.add(1, 7);
        desk.drain();
        EXPECT_EQ(desk.count(LogCount::RemovedAtLimit), 6U) << limit;
        EXPECT_EQ(desk.full.messageCount(), 1);
        desk.expectStoreBalances();
        desk.store->clearModels();
        EXPECT_EQ(desk.count(LogCount::Cleared), 1U);
        desk.add(8, 9);
        desk.drain();
        EXPECT_EQ(desk.count(LogCount::RemovedAtLimit), 7U) << limit;
        desk.expectStoreBalances();
    }
}

TEST(MessageLedger, TheFilterIsCountedForMovedMessagesOnlyWhileItIsSet)
{
    QuietDesk desk;
    Access::setActive(*desk.store, true);
    desk.add(1, 10);
    desk.drain();
    EXPECT_EQ(desk.count(LogCount::PassedFilter) + desk.count(LogCount::FailedFilter), 0U);
    desk.store->setFilter({QStringLiteral("even")}, {}, {}, false, false);
    EXPECT_EQ(desk.filtered.messageCount(), 5);
    EXPECT_EQ(desk.count(LogCount::PassedFilter) + desk.count(LogCount::FailedFilter), 0U);
    desk.add(11, 23);
    desk.drain();
    EXPECT_EQ(desk.count(LogCount::PassedFilter), 6U);
    EXPECT_EQ(desk.count(LogCount::FailedFilter), 7U);
    desk.store->setMaximumMessages(5); // from now on at the limit
    desk.add(24, 30);
    desk.drain();
    EXPECT_EQ(desk.count(LogCount::PassedFilter), 10U);
    EXPECT_EQ(desk.count(LogCount::FailedFilter), 10U);
    desk.store->setFilter({}, {}, {}, false, false);
    desk.add(31, 35);
    desk.drain();
    EXPECT_EQ(desk.count(LogCount::PassedFilter) + desk.count(LogCount::FailedFilter), 20U);
    desk.expectStoreBalances();
}

TEST(MessageLedger, ClearedRowsAreThoseOfAClearAndOfALowerLimit)
{
    QuietDesk desk;
    Access::setActive(*desk.store, true);
    desk.store->setFilter({QStringLiteral("even")}, {}, {}, false, false);
    desk.add(1, 10);
    desk.drain();
    desk.store->truncateTo(20);
    EXPECT_EQ(desk.count(LogCount::Cleared), 0U);
    desk.store->truncateTo(7);
    EXPECT_EQ(desk.count(LogCount::Cleared), 3U);
    desk.expectStoreBalances();
    desk.store->clearModels();
    EXPECT_EQ(desk.count(LogCount::Cleared), 10U); // the filtered model's rows are the same ones
    desk.store->truncateTo(-5);
    EXPECT_EQ(desk.count(LogCount::Cleared), 10U);
    desk.expectStoreBalances();
}

TEST(MessageLedger, RowsFromAFileAreLoadedOnlyInTheModelOfAllMessages)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("log.json"));
    QuietDesk desk;
    Access::setActive(*desk.store, true);
    desk.add(1, 4);
    desk.drain();
    ASSERT_TRUE(desk.full.saveToJson(path));
    EXPECT_TRUE(desk.full.loadFromJson(path));
    EXPECT_EQ(desk.count(LogCount::Loaded), 4U);
    EXPECT_TRUE(desk.filtered.loadFromJson(path));
    EXPECT_EQ(desk.count(LogCount::Loaded), 4U);
    EXPECT_FALSE(desk.full.loadFromJson(folder.filePath(QStringLiteral("none"))));
    EXPECT_EQ(desk.count(LogCount::Loaded), 4U);
    EXPECT_EQ(desk.full.messageCount(), 8);
    desk.expectStoreBalances();
}

TEST(MessageLedger, WhatIsMovedWhenTheWindowIsGoneIsCleared)
{
    QuietDesk desk;
    Access::setActive(*desk.store, true);
    desk.store->setModels(nullptr, nullptr);
    desk.add(1, 4);
    desk.drain();
    desk.store->setMaximumMessages(0);
    desk.add(5, 6);
    desk.drain();
    EXPECT_EQ(desk.count(LogCount::Moved), 6U);
    EXPECT_EQ(desk.count(LogCount::Cleared), 6U);
    desk.expectStoreBalances();
}

// Over sockets: everything that can become of a message, in two runs.
TEST(MessageLedger, AtRestEverySumBalances)
{
    constexpr int limit = 300;
    constexpr std::uint64_t ofEachKind = 5;
    constexpr std::uint64_t unreadable = 7;
    constexpr int tooMany = 50;
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("log.json"));
    ServiceStandIn service;
    Desk<WatchedStore> desk;
    WatchedStore& store = *desk.store;
    store.setMaximumMessages(limit);
    const auto settle = [&] { // nothing moves any more
        ASSERT_TRUE(waitFor([&] {
            return store.queueSize() == 0 &&
                   desk.count(LogCount::Moved) + desk.count(LogCount::DroppedFromQueue) ==
                       desk.count(LogCount::Queued);
        }));
        desk.expectStoreBalances();
    };
    Sender sender(service.boundAddress());
    std::uint64_t sent = 0;
    const auto send = [&](int count, LogCount until) {
        const std::uint64_t before = desk.count(until);
        for (int i = 1; i <= count; ++i) {
            sender.send(++sent);
            // In step, so that no socket's buffer overflows.
            if (i % 50 != 0 && i != count)
                continue;
            ASSERT_TRUE(waitFor(
                [&] { return desk.count(until) >= before + static_cast<std::uint64_t>(i); }));
        }
    };
    const auto sendBad = [&] {
        TestContainer good;
        good.number(static_cast<int>(ItemType::LogLevel), 8);
        Bytes broken = good.bytes();
        broken[containerHeaderSize] = 0xFF; // an item that is longer than all
        Bytes wrongSize = good.bytes();
        wrongSize.resize(wrongSize.size() + 1);
        const PacketHeader header{
            magicLogMessage, 0, static_cast<std::uint16_t>(LogMessageCommand::Message), 0, 1, 0};
        PacketHeader magic = header;
        magic.magic = 0x1234;
        PacketHeader flags = header;
        flags.flags = 0x0002;
        PacketHeader command = header;
        command.command = 999;
        PacketHeader request = header;
        request.command = static_cast<std::uint16_t>(LogMessageCommand::StartForwarding);
        PacketHeader secondKind = header;
        secondKind.command = static_cast<std::uint16_t>(LogMessageCommand::SecondaryMessage);
        UdpPeer peer;
        peer.send(datagram(secondKind, good.bytes()), store.address());
        for (std::uint64_t i = 0; i < unreadable; ++i)
            peer.send(datagram(header, broken), store.address());
        for (std::uint64_t i = 0; i < ofEachKind; ++i) {
            peer.send(datagram(header, wrongSize), store.address());
            peer.send(datagram(magic, good.bytes()), store.address());
            peer.send(datagram(flags, good.bytes()), store.address());
            peer.send(datagram(command, good.bytes()), store.address());
            peer.send(datagram(request, Bytes(3, 0xEE)), store.address());
            peer.send(datagram(header, packetHeaderSize + 9), store.address());
            peer.send(Bytes(5, 0), store.address());
        }
        ASSERT_TRUE(peer.isAnswered(store.address())); // all of it was handled
    };

    ASSERT_TRUE(store.startLogging(false));
    send(200, LogCount::Queued);
    settle();
    store.setFilter({QStringLiteral("message 2")}, {}, {}, false, false);
    send(200, LogCount::Queued);
    settle();
    EXPECT_EQ(desk.count(LogCount::RemovedAtLimit), 100U);
    sendBad();
    EXPECT_EQ(desk.count(LogCount::Unreadable), unreadable);
    {
        const auto stall = Access::stallWorkers(store);
        send(limit + 10 + tooMany, LogCount::Queued);
        EXPECT_EQ(desk.count(LogCount::DroppedFromQueue), std::uint64_t{tooMany});
        desk.expectStoreBalances();
    }
    settle();
    store.setMaximumMessages(limit / 2);
    store.truncateTo(limit / 2);
    settle();
    EXPECT_EQ(desk.count(LogCount::Cleared), std::uint64_t{limit / 2});
    send(20, LogCount::Queued);
    settle();
    ASSERT_TRUE(desk.full.saveToJson(path));
    store.clearModels();
    settle();
    EXPECT_EQ(desk.count(LogCount::Cleared), std::uint64_t{limit});
    send(30, LogCount::Queued);
    EXPECT_TRUE(desk.stop());
    settle();
    ASSERT_TRUE(desk.full.loadFromJson(path));
    EXPECT_EQ(desk.count(LogCount::Loaded), std::uint64_t{limit / 2});
    settle();

    ASSERT_TRUE(store.startLogging(true));
    sendBad();
    send(40, LogCount::Queued);
    settle();
    // A worker that ends with the listener still there: the state in which a start meets the end
    // of the run before.
    Access::setActive(store, false);
    ASSERT_TRUE(waitFor([&] { return Access::livingWorkers(store) == 0; }));
    send(9, LogCount::NotActive);
    store.stopLogging();
    settle();

    const LogCounts counts = store.ledger()->counts();
    EXPECT_EQ(counts[LogCount::Unreadable], 2 * unreadable);
    EXPECT_EQ(counts[LogCount::Ignored], 2U);
    EXPECT_EQ(counts[LogCount::NotActive], 9U);
    EXPECT_EQ(counts[LogCount::Queued] + counts[LogCount::NotActive], sent);
    EXPECT_GT(counts[LogCount::PassedFilter], 0U);
    EXPECT_EQ(counts[LogCount::PassedFilter] + counts[LogCount::FailedFilter] + 200,
              counts[LogCount::Moved]);
    EXPECT_EQ(counts[LogCount::Messages], counts[LogCount::Unwanted] + counts[LogCount::Ignored] +
                                              counts[LogCount::Unreadable] +
                                              counts[LogCount::NotActive] +
                                              counts[LogCount::Queued]);
    EXPECT_EQ(counts[LogCount::Received],
              counts.refused() + counts[LogCount::Requests] + counts[LogCount::Messages]);
    EXPECT_EQ(counts[LogCount::RefusedContainer], 2 * ofEachKind);
    EXPECT_EQ(counts.refused(), 2 * 7 * ofEachKind);
    EXPECT_EQ(counts[LogCount::SinkFailed], 0U);
    desk.expectStoreBalances();
}
