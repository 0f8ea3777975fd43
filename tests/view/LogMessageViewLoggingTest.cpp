#include "logging/ConnectionInfo.h"
#include "logging/LogClient.h"
#include "logging/LogSvcError.h"
#include "platform/SharedMemory.h"
#include "tests/support/ListenerUnderTest.h"
#include "tests/support/TestContainer.h"
#include "tests/view/ViewTestSupport.h"

#include <QElapsedTimer>

#include <pthread.h>

#include <atomic>
#include <cstddef>

namespace zuLogging::test {
namespace {

/// A store whose subscription is up to the test.
class ScriptedStore final : public LogContainer
{
public:
    std::atomic<bool> fails{false};
    std::atomic<int> starts{0};
    std::atomic<bool> replayed{false};

protected:
    std::shared_ptr<LogMessageListener> makeListener(bool replay) override
    {
        ++starts;
        replayed = replay;
        if (fails)
            throw LogSvcError("no such service");
        return nullptr;
    }
};

class LoggingTest : public ViewFixture
{
protected:
    void TearDown() override
    {
        service.reset();
        ViewFixture::TearDown();
    }

    std::shared_ptr<ScriptedStore> openScripted()
    {
        auto scripted = std::make_shared<ScriptedStore>();
        open(scripted, true);
        return scripted;
    }
    void startService()
    {
        service = std::make_unique<ListenerUnderTest>(SinkList{}, true);
        ASSERT_EQ(
            publisher.publish(connectionInfoName(), encodeConnectionInfo(service->boundAddress())),
            platform::SharedMemoryPublisher::Result::Published);
    }
    /// Hands `count` messages to the service as an application does.
    void send(int count)
    {
        LogClient client(service->boundAddress());
        for (int i = 0; i < count; ++i) {
            TestContainer container;
            container.number(static_cast<int>(ItemType::LogLevel), 8)
                .text(static_cast<int>(ItemType::LogMessage), "sent " + std::to_string(sent++));
            client.deliver(container.view());
        }
    }
    static DecodedMessage decoded(int number)
    {
        DecodedMessage fields;
        fields.serviceMsgId = static_cast<std::uint64_t>(number + 1);
        fields.logMessage = QStringLiteral("queued %1").arg(number).toStdU16String();
        return fields;
    }

    QTimer* timer() const
    {
        return view->findChild<QTimer*>(QString(), Qt::FindDirectChildrenOnly);
    }
    void expectStopped()
    {
        EXPECT_TRUE(startEnabled());
        EXPECT_FALSE(stopEnabled());
        EXPECT_FALSE(timer()->isActive());
        EXPECT_TRUE(window->start.isEnabled());
        EXPECT_TRUE(window->replay.isEnabled());
        EXPECT_FALSE(window->stop.isEnabled());
        EXPECT_EQ(QApplication::overrideCursor(), nullptr);
    }
    void expectLogging()
    {
        EXPECT_FALSE(startEnabled());
        EXPECT_TRUE(stopEnabled());
        EXPECT_TRUE(timer()->isActive());
        EXPECT_EQ(timer()->interval(), 80);
        EXPECT_FALSE(window->start.isEnabled());
        EXPECT_FALSE(window->replay.isEnabled());
        EXPECT_TRUE(window->stop.isEnabled());
        EXPECT_EQ(status(), "Logging started...");
        EXPECT_EQ(QApplication::overrideCursor(), nullptr);
    }
    void expectStopping()
    {
        EXPECT_FALSE(startEnabled());
        EXPECT_FALSE(stopEnabled());
        EXPECT_TRUE(timer()->isActive());
        EXPECT_EQ(status(), "Logging stopped. Waiting for queue...");
        ASSERT_NE(QApplication::overrideCursor(), nullptr);
        EXPECT_EQ(QApplication::overrideCursor()->shape(), Qt::WaitCursor);
    }
    bool waitForStop()
    {
        return waitFor([this] { return startEnabled(); });
    }

    platform::SharedMemoryPublisher publisher;
    std::unique_ptr<ListenerUnderTest> service;
    int sent = 0;
};

TEST_F(LoggingTest, ButtonsTimerStatusAndCursorFollowTheStateTable)
{
    openScripted();
    expectStopped();
    EXPECT_EQ(status(), "Ready");
    EXPECT_TRUE(window->filter.isEnabled());
    window->resizeRows.setChecked(true);

    child<QToolButton>("startButton")->click();
    expectLogging();
    EXPECT_FALSE(window->filter.isEnabled());
    EXPECT_FALSE(window->resizeRows.isEnabled());
    EXPECT_FALSE(window->resizeRows.isChecked());

    child<QToolButton>("stopButton")->click();
    expectStopping();
    ASSERT_TRUE(waitForStop());
    expectStopped();
    EXPECT_EQ(status(), QString());
    EXPECT_TRUE(window->filter.isEnabled());
    EXPECT_TRUE(window->resizeRows.isEnabled());
    EXPECT_FALSE(window->resizeRows.isChecked());
}

/// As long as it lives no thread can be started: none has room for such a stack.
class NoMoreThreads
{
public:
    NoMoreThreads()
    {
        pthread_attr_t huge;
        ::pthread_getattr_default_np(&before_);
        ::pthread_getattr_default_np(&huge);
        EXPECT_EQ(::pthread_attr_setstacksize(&huge, std::size_t{1} << 47), 0);
        EXPECT_EQ(::pthread_setattr_default_np(&huge), 0);
        ::pthread_attr_destroy(&huge);
    }
    ~NoMoreThreads()
    {
        ::pthread_setattr_default_np(&before_);
        ::pthread_attr_destroy(&before_);
    }
    NoMoreThreads(const NoMoreThreads&) = delete;
    NoMoreThreads& operator=(const NoMoreThreads&) = delete;

private:
    pthread_attr_t before_{};
};

TEST_F(LoggingTest, AStartWithoutAThreadToBeHadIsToldAndCanBeTriedAgain)
{
    auto scripted = openScripted();
    BoxAnswerer user;
    for (const bool fails : {false, true}) {
        scripted->fails = fails;
        const NoMoreThreads none;
        view->startLoggingClicked();
        expectStopped();
    }
    ASSERT_EQ(user.seen.size(), 2U);
    EXPECT_TRUE(user.seen[0].text.startsWith(QStringLiteral("Failed to start the logging (")));
    EXPECT_EQ(user.seen[1].text, QStringLiteral("Failed to start the logging (no such service)"));
    scripted->fails = false;
    view->startLoggingClicked();
    expectLogging();
    view->stopLoggingClicked();
    EXPECT_TRUE(waitForStop());
}

TEST_F(LoggingTest, AStopWithoutAThreadToBeHadIsToldAndCanBeTriedAgain)
{
    openScripted();
    view->startLoggingClicked();
    BoxAnswerer user;
    {
        const NoMoreThreads none;
        view->stopLoggingClicked();
    }
    ASSERT_EQ(user.seen.size(), 1U);
    EXPECT_EQ(user.seen[0].title, QStringLiteral("Stop Logging"));
    expectLogging();
    EXPECT_TRUE(store->isActive());
    view->stopLoggingClicked();
    EXPECT_TRUE(waitForStop());
    expectStopped();
}

TEST_F(LoggingTest, StoppingWithQueuedMessagesKeepsBothButtonsDisabledUntilTheStoreReports)
{
    auto scripted = openScripted();
    view->startLoggingClicked();
    constexpr int count = 90000;
    for (int i = 0; i < count; ++i)
        scripted->addMessage(decoded(i));
    view->stopLoggingClicked();
    expectStopping();
    window->statusBar()->showMessage("something else");
    view->updateView();
    expectStopping();

    bool earlier = false;
    QObject::connect(view, &LogMessageView::autoScroll, view,
                     [&] { earlier = earlier || (startEnabled() && scripted->queueSize() > 0); });
    ASSERT_TRUE(waitForStop());
    EXPECT_FALSE(earlier);
    EXPECT_EQ(view->fullModel()->rowCount(), count);
    EXPECT_EQ(label("countLabel"), QString::number(count));
    EXPECT_EQ(label("queuedLabel"), "0");
    expectStopped();
}

TEST_F(LoggingTest, TheReplayFlagReachesTheStore)
{
    auto scripted = openScripted();
    view->startLoggingClicked(true);
    EXPECT_TRUE(scripted->replayed);
    view->stopLoggingClicked();
    ASSERT_TRUE(waitForStop());
    view->startLoggingClicked();
    EXPECT_FALSE(scripted->replayed);
    EXPECT_EQ(scripted->starts, 2);
}

TEST_F(LoggingTest, AStartWithoutAServiceGivesExactlyOneWarningAndALaterStartWorks)
{
    open(nullptr, true);
    BoxAnswerer boxes;
    bool doneWhileOpen = false;
    // The box stays open until the end of the stop was told: nothing may block meanwhile.
    boxes.hold = [&] { return !(doneWhileOpen = startEnabled()); };
    child<QToolButton>("startButton")->click();
    EXPECT_TRUE(doneWhileOpen);
    ASSERT_TRUE(waitForStop());
    ASSERT_EQ(boxes.seen.size(), 1U);
    EXPECT_EQ(boxes.seen[0].icon, QMessageBox::Warning);
    EXPECT_EQ(boxes.seen[0].title, "Start Logging");
    EXPECT_EQ(boxes.seen[0].text,
              "Failed to start the logging (Failed to connect to the shared memory with connection "
              "info: Shared memory error)");
    expectStopped();
    EXPECT_EQ(store->takeErrorText(), QString());

    startService();
    view->startLoggingClicked();
    expectLogging();
    send(3);
    EXPECT_TRUE(waitFor([this] { return label("countLabel") == "3"; }));
    EXPECT_EQ(boxes.seen.size(), 1U);
    view->stopLoggingClicked();
    ASSERT_TRUE(waitForStop());
}

TEST_F(LoggingTest, FailedStartsInARowGiveOneWarningEach)
{
    auto scripted = openScripted();
    scripted->fails = true;
    BoxAnswerer boxes;
    for (std::size_t i = 1; i <= 5; ++i) {
        view->startLoggingClicked();
        ASSERT_TRUE(waitForStop());
        ASSERT_EQ(boxes.seen.size(), i);
        EXPECT_EQ(boxes.seen.back().text, "Failed to start the logging (no such service)");
        expectStopped();
    }
    scripted->fails = false;
    view->startLoggingClicked();
    expectLogging();
}

TEST_F(LoggingTest, AnUnsavedConfigurationIsAskedAboutAndCancelLeavesEverythingAsItWas)
{
    auto scripted = openScripted();
    window->configurationModified = true;
    {
        BoxAnswerer boxes(QMessageBox::Cancel);
        view->startLoggingClicked();
        ASSERT_EQ(boxes.seen.size(), 1U);
        EXPECT_EQ(boxes.seen[0].icon, QMessageBox::Warning);
        EXPECT_EQ(boxes.seen[0].title, "Start Logging");
        EXPECT_EQ(boxes.seen[0].text,
                  "Configuration has been changed, but not saved. The logging will be continued "
                  "with previous configuration.\n\nDo you want to continue?");
        EXPECT_EQ(boxes.seen[0].buttons, QMessageBox::Ok | QMessageBox::Cancel);
    }
    expectStopped();
    EXPECT_EQ(status(), "Ready");
    EXPECT_EQ(scripted->starts, 0);
    BoxAnswerer boxes(QMessageBox::Ok);
    view->startLoggingClicked();
    EXPECT_EQ(boxes.seen.size(), 1U);
    EXPECT_EQ(scripted->starts, 1);
    expectLogging();
}

TEST_F(LoggingTest, TheEndOfAStopToldTwiceOrWithoutAStopTouchesNobodysCursor)
{
    openScripted();
    QApplication::setOverrideCursor(Qt::CrossCursor);
    view->updateViewAfterStop();
    ASSERT_NE(QApplication::overrideCursor(), nullptr);
    EXPECT_EQ(QApplication::overrideCursor()->shape(), Qt::CrossCursor);
    view->startLoggingClicked();
    view->stopLoggingClicked();
    EXPECT_EQ(QApplication::overrideCursor()->shape(), Qt::WaitCursor);
    ASSERT_TRUE(waitForStop());
    view->updateViewAfterStop();
    ASSERT_NE(QApplication::overrideCursor(), nullptr);
    EXPECT_EQ(QApplication::overrideCursor()->shape(), Qt::CrossCursor);
    QApplication::restoreOverrideCursor();
}

TEST_F(LoggingTest, AStopAskedForTwiceIsOneStop)
{
    openScripted();
    int ends = 0; // told on the worker's thread, counted on this one
    QObject here;
    QObject::connect(
        store.get(), &LogContainer::stopLoggingDone, &here, [&ends] { ++ends; },
        Qt::QueuedConnection);
    view->startLoggingClicked();
    view->stopLoggingClicked();
    view->stopLoggingClicked();
    expectStopping();
    ASSERT_TRUE(waitForStop());
    expectStopped();
    EXPECT_TRUE(waitFor([&ends] { return ends > 0; }));
    QCoreApplication::processEvents();
    EXPECT_EQ(ends, 1);
}

TEST_F(LoggingTest, AStopWithoutAStartEndsStopped)
{
    openScripted();
    view->stopLoggingClicked();
    ASSERT_TRUE(waitFor([] { return QApplication::overrideCursor() == nullptr; }));
    expectStopped();
}

TEST_F(LoggingTest, MessagesOfARealServiceAppearLiveAndInOrder)
{
    startService();
    open(nullptr, true);
    view->setAutoScroll(true);
    view->startLoggingClicked();
    expectLogging();
    EXPECT_TRUE(waitFor([this] { return service->sinkCount() == 1; }));
    constexpr int count = 500;
    send(count);
    ASSERT_TRUE(waitFor([this] { return label("countLabel") == QString::number(count); }));
    EXPECT_EQ(label("queuedLabel"), "0");
    const int column = columnOf("LogMessage");
    for (int i = 0; i < count; ++i)
        ASSERT_EQ(view->fullModel()->cellText(i, column), QStringLiteral("sent %1").arg(i));
    child<QToolButton>("stopButton")->click();
    ASSERT_TRUE(waitForStop());
    EXPECT_TRUE(waitFor([this] { return service->sinkCount() == 0; }));
    send(1);
    view->updateView();
    EXPECT_EQ(view->fullModel()->rowCount(), count);
}

TEST_F(LoggingTest, StoppingWhileTheServiceIsGoneEndsWithinSeconds)
{
    startService();
    open(nullptr, true);
    view->startLoggingClicked();
    service.reset();
    QElapsedTimer elapsed;
    elapsed.start();
    view->stopLoggingClicked();
    EXPECT_LT(elapsed.elapsed(), 500) << "the window is not blocked meanwhile";
    ASSERT_TRUE(waitForStop());
    expectStopped();
}

TEST_F(LoggingTest, TheViewEndsInTheMiddleOfAStop)
{
    startService();
    open(nullptr, true);
    view->startLoggingClicked();
    send(20);
    service.reset(); // so that the stop takes its time
    view->stopLoggingClicked();
    view = nullptr;
    window.reset();
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}

TEST_F(LoggingTest, TheViewEndsWhileMessagesArrive)
{
    startService();
    open(nullptr, true);
    view->startLoggingClicked();
    send(200);
    ASSERT_TRUE(waitFor([this] { return view->fullModel()->rowCount() > 0; }));
    view = nullptr;
    window.reset();
    send(50);
    EXPECT_EQ(store->fullModel(), nullptr);
    store->stopLogging();
}

} // namespace
} // namespace zuLogging::test
