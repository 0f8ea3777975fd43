#include "config/LogConfigView.h"

#include "tests/support/TestEnvironment.h"

#include <QDockWidget>
#include <QMainWindow>
#include <QPointer>
#include <QSignalSpy>

#include <gtest/gtest.h>

#include <memory>

using namespace zuLogging;

namespace {

struct DockedView
{
    DockedView()
        : view(new LogConfigView(&window))
    {
        window.addDockWidget(Qt::RightDockWidgetArea, view->dock());
        window.show();
    }

    QMainWindow window;
    LogConfigView* view;
};

} // namespace

TEST(LogConfigView, LivesInADockTitledConfigurationThatMayOnlyBeOnTheRight)
{
    DockedView docked;
    QDockWidget* dock = docked.view->dock();
    EXPECT_EQ(dock->windowTitle(), QStringLiteral("Configuration"));
    EXPECT_EQ(dock->allowedAreas(), Qt::DockWidgetAreas(Qt::RightDockWidgetArea));
    EXPECT_EQ(dock->widget(), docked.view);
    EXPECT_FALSE(dock->objectName().isEmpty());
    EXPECT_FALSE(docked.view->objectName().isEmpty());
}

TEST(LogConfigView, IsEmpty)
{
    DockedView docked;
    EXPECT_TRUE(docked.view->findChildren<QWidget*>().isEmpty());
}

TEST(LogConfigView, GoesWithTheWindow)
{
    auto docked = std::make_unique<DockedView>();
    QPointer<LogConfigView> view = docked->view;
    docked.reset();
    EXPECT_TRUE(view.isNull());
}

TEST(LogConfigView, StartsInUserModeAndRemembersTheMode)
{
    DockedView docked;
    EXPECT_EQ(docked.view->mode(), LogConfigView::User);
    docked.view->setMode(LogConfigView::Expert);
    EXPECT_EQ(docked.view->mode(), 1);
    docked.view->setMode(LogConfigView::User);
    EXPECT_EQ(docked.view->mode(), 0);
}

TEST(LogConfigView, HasAFloatingWindowOnlyWhileUndocked)
{
    DockedView docked;
    EXPECT_EQ(docked.view->floatingWindow(), nullptr);
    docked.view->dock()->setFloating(true);
    ASSERT_NE(docked.view->floatingWindow(), nullptr);
    EXPECT_TRUE(docked.view->floatingWindow()->isWindow());
    docked.view->dock()->setFloating(false);
    EXPECT_EQ(docked.view->floatingWindow(), nullptr);
}

TEST(LogConfigView, AsksToBeClosedWhenTheUserClosesTheDock)
{
    DockedView docked;
    QSignalSpy asked(docked.view, &LogConfigView::closeRequested);
    docked.view->dock()->close();
    EXPECT_EQ(asked.count(), 1);
}

TEST(LogConfigView, ClosingTheFloatingWindowAtTheEndIsNoWishToHideTheView)
{
    DockedView docked;
    docked.view->dock()->setFloating(true);
    QSignalSpy asked(docked.view, &LogConfigView::closeRequested);
    docked.view->closeFloatingWindow();
    EXPECT_FALSE(docked.view->dock()->isVisible());
    EXPECT_EQ(asked.count(), 0);
}

TEST(LogConfigView, ADockedViewStaysWhenThereIsNoFloatingWindowToClose)
{
    DockedView docked;
    docked.view->closeFloatingWindow();
    EXPECT_TRUE(docked.view->dock()->isVisible());
}
