// A queue that stays at its bound: long work holds the rows while messages go on coming at full
// speed. Memory stays flat, the oldest go and no other, and every message can be accounted for.

#include "logging/LogLedger.h"
#include "store/LogContainer.h"
#include "store/LogTableModel.h"
#include "tests/endurance/ProcessUse.h"
#include "tests/support/TestEnvironment.h"

#include <QCoreApplication>
#include <QElapsedTimer>

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <iostream>
#include <thread>

namespace zuLogging {
namespace {

using test::waitFor;

/// 5 seconds, or as many as LOGDESK_QUEUE_SECONDS says.
int seconds()
{
    const char* const asked = std::getenv("LOGDESK_QUEUE_SECONDS");
    const int number = asked ? std::atoi(asked) : 0;
    return number > 0 ? number : 5;
}

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::int64_t toleratedKib = 768 * 1024; // what is freed is kept for a while
#else
constexpr std::int64_t toleratedKib = 8 * 1024; // of the memory manager's own
#endif

class ServicelessStore final : public LogContainer
{
protected:
    std::shared_ptr<LogMessageListener> makeListener(bool) override { return {}; }
};

TEST(QueueAtItsBound, DropsTheOldestWithFlatMemoryAndABalancedLedger)
{
    constexpr int limit = 100000;
    constexpr std::uint64_t bound = limit + 10;
    const auto store = std::make_shared<ServicelessStore>();
    LogTableModel full(store);
    LogTableModel filtered(store);
    store->setModels(&full, &filtered);
    store->setMaximumMessages(limit);
    ASSERT_TRUE(store->startLogging(false));

    std::uint64_t sent = 0;
    const auto send = [&] {
        DecodedMessage fields;
        fields.serviceMsgId = ++sent;
        fields.timestamp = sent;
        fields.logLevel = 8;
        fields.module = u"module";
        fields.logMessage = u"a message of the usual length, as applications send them all day";
        store->addMessage(fields);
    };
    // Some rows first, which are there all the time.
    for (int i = 0; i < 1000; ++i)
        send();
    ASSERT_TRUE(waitFor([&] { return store->queueSize() == 0 && full.messageCount() == 1000; }));

    const qint64 process = QCoreApplication::applicationPid();
    std::int64_t filledKib = 0;
    std::int64_t highestKib = 0;
    {
        const LogContainer::RowsHold held = store->holdRows();
        while (store->queueSize() < bound)
            send();
        // Once around, so that the memory is what it is going to be.
        for (std::uint64_t i = 0; i < bound; ++i)
            send();
        filledKib = test::useOf(process).residentKib;
        QElapsedTimer clock;
        clock.start();
        while (clock.elapsed() < seconds() * 1000) {
            for (int i = 0; i < 10000; ++i)
                send();
            ASSERT_EQ(store->queueSize(), bound);
            ASSERT_EQ(full.messageCount(), 1000);
            highestKib = std::max(highestKib, test::useOf(process).residentKib);
        }
    }
    EXPECT_LT(highestKib - filledKib, toleratedKib);

    ASSERT_TRUE(waitFor([&] { return store->queueSize() == 0; }, 60000));
    store->stopLogging();
    ASSERT_TRUE(waitFor([&] { return !store->isActive(); }));
    const LogCounts counts = store->ledger()->counts();
    EXPECT_EQ(counts[LogCount::Queued], sent);
    EXPECT_EQ(counts[LogCount::DroppedFromQueue], sent - 1000 - bound);
    EXPECT_EQ(counts[LogCount::Moved], 1000 + bound);
    EXPECT_EQ(counts[LogCount::Moved],
              static_cast<std::uint64_t>(full.messageCount()) + counts[LogCount::RemovedAtLimit]);
    // The newest are there without a gap: it was the oldest that went.
    ASSERT_EQ(full.messageCount(), limit);
    const auto messages = full.messagesFrom(0, limit);
    for (int row = 0; row < limit; ++row)
        ASSERT_EQ(messages[static_cast<std::size_t>(row)]->serviceMsgId(),
                  sent - limit + 1 + static_cast<std::uint64_t>(row));
    store->setModels(nullptr, nullptr);

    std::cout << "    seconds: " << seconds() << ", messages: " << sent
              << ", dropped: " << counts[LogCount::DroppedFromQueue]
              << ", memory when the queue was full: " << filledKib
              << " KiB, highest afterwards: " << highestKib << " KiB" << std::endl;
}

} // namespace
} // namespace zuLogging
