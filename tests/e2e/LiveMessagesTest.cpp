// From another process, through the real service, into the real window.

#include "tests/app/MessageBoxWaiter.h"
#include "tests/e2e/WindowTest.h"
#include "tests/service/ServiceProcess.h"
#include "tests/support/TestEnvironment.h"

#include <QElapsedTimer>

#include <gtest/gtest.h>

namespace zuLogging {
namespace {

using test::MessageBoxWaiter;
using test::ProgramRun;
using test::runProgram;
using test::ServiceProcess;
using test::waitFor;

class LiveMessages : public test::WindowTest
{
protected:
    /// How many of the model's rows, from `first` on, are not what comes next in the order in which
    /// they were sent: numbers of source and service both one above those of the row before.
    int rowsOutOfOrder(int first, std::uint64_t firstServiceNumber)
    {
        int wrong = 0;
        for (int row = first; row < model().rowCount(); ++row) {
            const auto offset = static_cast<std::uint64_t>(row - first);
            const std::shared_ptr<LogMessage> message = model().messageAt(row);
            if (!message || message->sourceMsgId() != offset + 1 ||
                message->serviceMsgId() != firstServiceNumber + offset)
                ++wrong;
        }
        return wrong;
    }
};

TEST_F(LiveMessages, TwentyThousandFromAnotherProcessAreAllInTheWindowInOrderNoneTwice)
{
    constexpr int count = 20000;
    ServiceProcess service;
    ASSERT_TRUE(service.start());
    ASSERT_TRUE(openWindow());
    EXPECT_TRUE(isStopped());
    startButton()->click();
    ASSERT_TRUE(isLogging());

    const ProgramRun run = demo(2000, count);
    ASSERT_TRUE(run.ended);
    ASSERT_EQ(run.status, 0) << run.err.toStdString();
    EXPECT_TRUE(run.err.startsWith(QStringLiteral("20000 messages in ")));

    EXPECT_TRUE(waitFor([this] { return model().rowCount() >= count; }, 15000));
    ASSERT_EQ(model().rowCount(), count) << lastRow();
    EXPECT_EQ(rowsOutOfOrder(0, 1), 0) << lastRow();

    stopButton()->click();
    EXPECT_TRUE(isStopping());
    EXPECT_TRUE(waitFor([this] { return isStopped(); }));
    EXPECT_EQ(window_->messageStore()->queueSize(), 0U);

    // Nothing comes any more: the service takes it, and the window is not subscribed.
    ASSERT_EQ(runProgram(QStringLiteral("zulog"), {QStringLiteral("send"), QStringLiteral("late")})
                  .status,
              0);
    EXPECT_EQ(model().rowCount(), count);
    EXPECT_EQ(service.terminate(), 0);
}

TEST_F(LiveMessages, StopDrainsWhatWasReceivedAndAStartGoesOn)
{
    ServiceProcess service;
    ASSERT_TRUE(service.start());
    ASSERT_TRUE(openWindow());
    for (int round = 0; round < 3; ++round) {
        startButton()->click();
        ASSERT_TRUE(isLogging());
        ASSERT_EQ(demo(2000, 1000).status, 0);
        // As soon as all have been received: what is still queued is to be in the model when the
        // stop is done.
        ASSERT_TRUE(waitFor([&] {
            return model().rowCount() + static_cast<int>(window_->messageStore()->queueSize()) >=
                   (round + 1) * 1000;
        }));
        stopButton()->click();
        EXPECT_TRUE(isStopping());
        ASSERT_TRUE(waitFor([this] { return isStopped(); }));
        EXPECT_EQ(window_->messageStore()->queueSize(), 0U);
        ASSERT_EQ(model().rowCount(), (round + 1) * 1000);
        EXPECT_EQ(rowsOutOfOrder(round * 1000, static_cast<std::uint64_t>(round) * 1000 + 1), 0);
    }
}

TEST_F(LiveMessages, TheWindowClosesWithinThreeSecondsAfterTheServiceWasKilled)
{
    ServiceProcess service;
    ASSERT_TRUE(service.start());
    ASSERT_TRUE(openWindow());
    startButton()->click();
    ASSERT_TRUE(isLogging());
    ASSERT_EQ(demo(1000, 100).status, 0);
    ASSERT_TRUE(waitFor([this] { return model().rowCount() == 100; }));
    service.kill();

    QElapsedTimer timer;
    timer.start();
    EXPECT_TRUE(window_->close());
    window_.reset();
    EXPECT_LT(timer.elapsed(), 3000);
}

TEST_F(LiveMessages, AServiceThatCameBackOnAnotherPortIsFoundByALaterStart)
{
    ServiceProcess killed;
    ASSERT_TRUE(killed.start());
    ASSERT_TRUE(openWindow());
    startButton()->click();
    ASSERT_TRUE(isLogging());
    ASSERT_EQ(demo(1000, 50).status, 0);
    ASSERT_TRUE(waitFor([this] { return model().rowCount() == 50; }));
    const platform::SocketAddress before = killed.address();
    killed.kill();

    ServiceProcess service;
    ASSERT_TRUE(service.start());
    ASSERT_NE(service.address(), before);
    stopButton()->click();
    ASSERT_TRUE(waitFor([this] { return isStopped(); }));
    startButton()->click();
    ASSERT_TRUE(isLogging());
    ASSERT_EQ(demo(1000, 50).status, 0);
    EXPECT_TRUE(waitFor([this] { return model().rowCount() == 100; }));
    EXPECT_EQ(rowsOutOfOrder(50, 1), 0);
}

TEST_F(LiveMessages, AStartWithoutAServiceCostsOneWarningAndALaterOneWorks)
{
    auto service = std::make_unique<ServiceProcess>();
    ASSERT_TRUE(service->start());
    ASSERT_TRUE(openWindow());
    ASSERT_EQ(service->terminate(), 0);
    {
        const MessageBoxWaiter waiter(QMessageBox::Ok);
        startButton()->click();
        ASSERT_TRUE(waitFor([this] { return isStopped(); }));
        ASSERT_EQ(waiter.boxes().size(), 1);
        EXPECT_EQ(waiter.boxes()[0].text,
                  QStringLiteral("Failed to start the logging (Failed to connect to the shared "
                                 "memory with connection info: Shared memory error)"));
    }
    service = std::make_unique<ServiceProcess>();
    ASSERT_TRUE(service->start());
    startButton()->click();
    ASSERT_TRUE(isLogging());
    ASSERT_EQ(demo(1000, 50).status, 0);
    EXPECT_TRUE(waitFor([this] { return model().rowCount() == 50; }));
}

} // namespace
} // namespace zuLogging
