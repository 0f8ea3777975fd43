#include "app/MainView.h"

#include "app/WindowGeometry.h"
#include "logging/LogMessage.h"
#include "store/LogTableModel.h"
#include "tests/app/AppFixture.h"
#include "tests/support/FakeLogServer.h"
#include "view/FilterDialog.h"
#include "view/LogTableView.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QPointer>
#include <QScreen>
#include <QSizePolicy>
#include <QStatusBar>

using namespace zuLogging;
using namespace zuLogging::test;

namespace {

class MainViewTest : public AppFixture
{
protected:
    void startLogging()
    {
        action("Start logging")->trigger();
        ASSERT_TRUE(holder->messageStore()->isActive());
        ASSERT_EQ(service.subscribers(), 1U);
    }

    PublishedService service;
};

const QString shutDownQuestion =
    QStringLiteral("Configuration has been changed, but not saved.\n\nDo you want to continue?");

} // namespace

TEST_F(MainViewTest, TakesItsGeometryFromThePrimaryScreen)
{
    MainView& window = openWindow();
    const QRect expected = initialWindowGeometry(QGuiApplication::primaryScreen()->size());
    EXPECT_EQ(window.size(), expected.size());
    EXPECT_EQ(window.pos(), expected.topLeft());
    EXPECT_EQ(window.minimumSize(), QSize(640, 480));
}

TEST_F(MainViewTest, HasTitleIconPolicyAndDockNesting)
{
    MainView& window = openWindow();
    EXPECT_EQ(window.windowTitle(), QStringLiteral("Arvenza LogDesk"));
    EXPECT_FALSE(window.windowIcon().pixmap(16).isNull());
    EXPECT_TRUE(window.isDockNestingEnabled());
    EXPECT_EQ(window.sizePolicy().horizontalPolicy(), QSizePolicy::Expanding);
    EXPECT_EQ(window.sizePolicy().verticalPolicy(), QSizePolicy::Minimum);
    EXPECT_EQ(window.parentWidget(), nullptr);
}

TEST_F(MainViewTest, HoldsTheMessageViewInTheMiddleAndTheDockOnTheRight)
{
    MainView& window = openWindow();
    EXPECT_EQ(window.centralWidget(), window.messageView());
    EXPECT_EQ(window.dockWidgetArea(window.configView()->dock()), Qt::RightDockWidgetArea);
    EXPECT_EQ(window.statusBar()->currentMessage(), QStringLiteral("Ready"));
}

TEST_F(MainViewTest, ShowsTheDockOnlyIfTheSettingSaysSo)
{
    EXPECT_FALSE(openWindow().configView()->dock()->isVisible());
    holder.reset();
    ViewSettings::instance().configurationEnabled = true;
    EXPECT_TRUE(openWindow().configView()->dock()->isVisible());
}

TEST_F(MainViewTest, GivesTheConfigurationViewTheModeOfTheSetting)
{
    EXPECT_EQ(openWindow().configView()->mode(), LogConfigView::User);
    holder.reset();
    ViewSettings::instance().expertMode = true;
    EXPECT_EQ(openWindow().configView()->mode(), LogConfigView::Expert);
}

TEST_F(MainViewTest, BuildingTheWindowLeavesTheSettingsAsTheyWere)
{
    for (const bool value : {false, true}) {
        ViewSettings& settings = ViewSettings::instance();
        settings.reset();
        settings.configurationEnabled = value;
        settings.expertMode = value;
        settings.autoScrollEnabled = value;
        settings.timeDisplay = value;
        openWindow();
        EXPECT_EQ(settings.configurationEnabled, value);
        EXPECT_EQ(settings.expertMode, value);
        EXPECT_EQ(settings.autoScrollEnabled, value);
        EXPECT_EQ(settings.timeDisplay, value);
        holder.reset();
    }
}

TEST_F(MainViewTest, ClosingWithUnsavedChangesAndCancelLeavesTheWindowOpenAndLoggingUntouched)
{
    MainView& window = openWindow();
    startLogging();
    window.showMaximized();
    ViewSettings::instance().maximizedScreen = false;
    LogConfigData::instance()->setModified(true);
    {
        MessageBoxWaiter user(QMessageBox::Cancel);
        EXPECT_FALSE(window.close());
        ASSERT_EQ(user.boxes().size(), 1);
        const MessageBoxWaiter::Box& box = user.boxes().first();
        EXPECT_EQ(box.title, QStringLiteral("Shutdown"));
        EXPECT_EQ(box.text, shutDownQuestion);
        EXPECT_EQ(box.icon, QMessageBox::Warning);
        EXPECT_EQ(box.buttons, QMessageBox::Ok | QMessageBox::Cancel);
        EXPECT_TRUE(box.hasParent);
    }
    EXPECT_TRUE(window.isVisible());
    EXPECT_TRUE(window.messageStore()->isActive());
    EXPECT_EQ(service.subscribers(), 1U);
    EXPECT_FALSE(ViewSettings::instance().maximizedScreen);
}

TEST_F(MainViewTest, ClosingWithUnsavedChangesAndOkCloses)
{
    MainView& window = openWindow();
    startLogging();
    LogConfigData::instance()->setModified(true);
    MessageBoxWaiter user(QMessageBox::Ok);
    EXPECT_TRUE(window.close());
    EXPECT_EQ(user.boxes().size(), 1);
    EXPECT_FALSE(window.isVisible());
    EXPECT_EQ(service.subscribers(), 0U);
    EXPECT_TRUE(waitFor([&] { return !window.messageStore()->isActive(); }));
}

TEST_F(MainViewTest, WithoutUnsavedChangesClosingAsksNothing)
{
    MainView& window = openWindow();
    MessageBoxWaiter user(QMessageBox::Cancel);
    EXPECT_TRUE(window.close());
    EXPECT_FALSE(window.isVisible());
    EXPECT_TRUE(user.boxes().isEmpty());
}

TEST_F(MainViewTest, EveryLaterShutDownAsksAgainWhileTheConfigurationStaysUnsaved)
{
    MainView& window = openWindow();
    LogConfigData::instance()->setModified(true);
    MessageBoxWaiter user(QMessageBox::Ok);
    EXPECT_TRUE(window.shutDown());
    EXPECT_TRUE(window.shutDown());
    holder.reset();
    EXPECT_EQ(user.boxes().size(), 3);
    EXPECT_TRUE(LogConfigData::instance()->isModified());
}

TEST_F(MainViewTest, AWindowThatIsDestroyedAgainstTheUsersCancelStillStopsLogging)
{
    openWindow();
    startLogging();
    LogConfigData::instance()->setModified(true);
    MessageBoxWaiter user(QMessageBox::Cancel);
    holder.reset();
    EXPECT_EQ(user.boxes().size(), 1);
    EXPECT_EQ(service.subscribers(), 0U);
}

TEST_F(MainViewTest, ShutDownStopsLoggingAndEndsTheWorkerWithoutDraining)
{
    MainView& window = openWindow();
    startLogging();
    EXPECT_TRUE(window.shutDown());
    EXPECT_EQ(service.subscribers(), 0U);
    EXPECT_TRUE(waitFor([&] { return !window.messageStore()->isActive(); }));
}

TEST_F(MainViewTest, ShutDownMayRunAnyNumberOfTimes)
{
    MainView& window = openWindow();
    for (int run = 0; run < 3; ++run)
        EXPECT_TRUE(window.shutDown());
}

TEST_F(MainViewTest, WithMaximizedScreenSetTheWindowOpensMaximised)
{
    EXPECT_FALSE(openWindow().isMaximized());
    holder.reset();
    ViewSettings::instance().maximizedScreen = true;
    EXPECT_TRUE(openWindow().isMaximized());
}

TEST_F(MainViewTest, ClosingWhileMaximisedStoresTrueAndClosingWhileNormalStoresFalse)
{
    MainView& maximised = openWindow();
    maximised.showMaximized();
    maximised.close();
    EXPECT_TRUE(ViewSettings::instance().maximizedScreen);
    holder.reset();
    EXPECT_TRUE(ViewSettings::instance().maximizedScreen);

    MainView& restored = openWindow();
    EXPECT_TRUE(restored.isMaximized());
    restored.showNormal();
    restored.close();
    EXPECT_FALSE(ViewSettings::instance().maximizedScreen);
    holder.reset();
    EXPECT_FALSE(ViewSettings::instance().maximizedScreen);
}

TEST_F(MainViewTest, ClosingKeepsTheColumnWidthsThatTheUserSet)
{
    for (const bool hasRows : {false, true}) {
        MainView& window = openWindow();
        if (hasRows) {
            auto message = std::make_shared<LogMessage>(1, 1, 1, 1, 8, u"pos", u"module", u"group",
                                                        u"text", 1, 1);
            message->renderTimestamp();
            window.messageView()->fullModel()->addMessage(message);
            window.messageView()->updateView();
        }
        window.messageView()->table()->setColumnWidth(2, 237);
        EXPECT_TRUE(window.close());
        holder.reset();
        EXPECT_EQ(ViewSettings::instance().columnWidths.value(2), 237) << hasRows;
    }
}

TEST_F(MainViewTest, TheMaximisedStateIsInTheFileWhenTheWindowIsGone)
{
    openWindow().showMaximized();
    holder->close();
    holder.reset();
    ViewSettings::instance().reset();
    ASSERT_TRUE(ViewSettings::instance().read());
    EXPECT_TRUE(ViewSettings::instance().maximizedScreen);
}

TEST_F(MainViewTest, ShutDownClosesTheFloatingConfigurationWindowAndKeepsItsSetting)
{
    ViewSettings::instance().configurationEnabled = true;
    MainView& window = openWindow();
    window.configView()->floatingButtonClicked();
    QWidget* floating = window.configView()->floatingWindow();
    ASSERT_NE(floating, nullptr);
    EXPECT_TRUE(floating->isVisible());
    EXPECT_TRUE(window.shutDown());
    EXPECT_FALSE(floating->isVisible());
    EXPECT_TRUE(ViewSettings::instance().configurationEnabled);
}

TEST_F(MainViewTest, TheStoreAndTheViewGoWithTheWindow)
{
    openWindow();
    std::weak_ptr<LogContainer> store = holder->messageStore();
    QPointer<LogMessageView> view = holder->messageView();
    QPointer<LogConfigView> configuration = holder->configView();
    holder.reset();
    EXPECT_TRUE(store.expired());
    EXPECT_TRUE(view.isNull());
    EXPECT_TRUE(configuration.isNull());
}

TEST_F(MainViewTest, ClosingInEveryStateOfLoggingEndsWithin3Seconds)
{
    enum State
    {
        Stopped,
        Logging,
        Stopping
    };
    for (const State state : {Stopped, Logging, Stopping}) {
        openWindow();
        if (state != Stopped)
            startLogging();
        if (state == Stopping)
            action("Stop logging")->trigger();
        QElapsedTimer time;
        time.start();
        EXPECT_TRUE(holder->close());
        holder->shutDown();
        holder.reset();
        EXPECT_LT(time.elapsed(), 3000) << state;
        EXPECT_EQ(service.subscribers(), 0U) << state;
    }
}

TEST_F(MainViewTest, ClosingEndsWithin3SecondsAlsoWhenTheServiceIsSilent)
{
    // Takes the subscription and then answers nothing more.
    FakeLogServer silent([](FakeLogServer& server, const FakeLogServer::Request& request) {
        if (request.header().command ==
            static_cast<std::uint16_t>(LogMessageCommand::StartForwarding))
            server.acknowledge(request);
    });
    service.publish(silent.address());
    openWindow();
    action("Start logging")->trigger();
    ASSERT_TRUE(holder->messageStore()->isActive());
    QElapsedTimer time;
    time.start();
    EXPECT_TRUE(holder->close());
    holder->shutDown();
    holder.reset();
    EXPECT_LT(time.elapsed(), 3000);
}

TEST_F(MainViewTest, TellsTheViewWhetherTheConfigurationIsModified)
{
    MainView& window = openWindow();
    EXPECT_FALSE(window.isConfigurationModified());
    LogConfigData::instance()->setModified(true);
    EXPECT_TRUE(window.isConfigurationModified());
}

TEST_F(MainViewTest, StartingWithUnsavedChangesAndCancelDoesNotStart)
{
    MainView& window = openWindow();
    LogConfigData::instance()->setModified(true);
    MessageBoxWaiter user(QMessageBox::Cancel);
    action("Start logging")->trigger();
    ASSERT_EQ(user.boxes().size(), 1);
    EXPECT_EQ(user.boxes().first().title, QStringLiteral("Start Logging"));
    EXPECT_FALSE(window.messageStore()->isActive());
}
