#include "logging/LogSvcError.h"
#include "tests/config/LogConfigViewFixture.h"

#include <QAction>
#include <QApplication>
#include <QDockWidget>
#include <QLabel>
#include <QMainWindow>
#include <QMenu>
#include <QPointer>
#include <QSignalSpy>
#include <QTableView>
#include <QTest>
#include <QToolBar>
#include <QToolButton>
#include <QTreeView>

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <vector>

using namespace zuLogging;
using namespace zuLogging::test;

// First: the configuration object, once made, stays for all tests of a run.
TEST(LogConfigViewWithoutService, IsEmptyAndTellsWhyNothingCanBeLoaded)
{
    initTestIcons();
    ASSERT_THROW(LogConfigData::instance(), LogSvcError);
    QMainWindow window;
    auto* view = new LogConfigView(&window);
    window.addDockWidget(Qt::RightDockWidgetArea, view->dock());
    window.show();
    ModalAnswers answers;
    for (const int mode : {0, 1}) {
        view->setMode(mode);
        view->showModel();
        view->resetConfiguration();
        view->markModified();
        view->askToSaveIfChanged();
        answers.boxes.clear();
        view->updateConfigClicked();
        EXPECT_EQ(answers.onlyBox().title, QStringLiteral("Update"));
        EXPECT_FALSE(answers.onlyBox().text.isEmpty());
        answers.boxes.clear();
        view->saveConfigClicked();
        EXPECT_EQ(answers.onlyBox().title, QStringLiteral("Save"));
        answers.boxes.clear();
        view->modifyClicked();
        view->deleteClicked();
        EXPECT_EQ(answers.boxes.size(), 2U);
    }
}

// --- the dock and its toolbar ---------------------------------------------------------------

TEST_F(LogConfigViewTest, LivesInADockTitledConfigurationThatMayOnlyBeOnTheRight)
{
    QDockWidget* dock = view->dock();
    EXPECT_EQ(dock->windowTitle(), QStringLiteral("Configuration"));
    EXPECT_EQ(dock->allowedAreas(), Qt::DockWidgetAreas(Qt::RightDockWidgetArea));
    EXPECT_EQ(dock->widget(), view);
    EXPECT_FALSE(dock->objectName().isEmpty());
    EXPECT_FALSE(view->objectName().isEmpty());
}

TEST_F(LogConfigViewTest, GoesWithTheWindowAlsoWhileUndocked)
{
    view->setMode(LogConfigView::Expert);
    view->floatingButtonClicked();
    const QPointer<QWidget> floating = view->floatingWindow();
    window.reset();
    EXPECT_TRUE(view.isNull());
    EXPECT_TRUE(floating.isNull());
}

TEST_F(LogConfigViewTest, TheToolbarHasItsButtonsFromLeftToRight)
{
    struct Expected
    {
        const char* name;
        const char* toolTip;
        const char* icon;
        bool enabled;
    };
    const std::vector<Expected> table{
        {"configReread", "Reread the configuration", ":/refresh.png", true},
        {"configModify", "Modify parameters", ":/config.png", false},
        {"configInsert", "Insert...", ":/insertRow.png", true},
        {"configDelete", "Delete...", ":/deleteRow.png", false},
        {"configSave", "Save the configuration", ":/saveConfig.png", false},
        {"configDock", "Dock / Undock the configuration window", ":/undock.png", true},
        {"configMaximize", "Maximize / Minimize the configuration window", ":/maximizeDock.png",
         true},
        {"configClose", "Close", ":/closeDock.png", true}};
    view->setMode(LogConfigView::User);
    int left = -1;
    for (const Expected& expected : table) {
        const QToolButton* tool = button(expected.name);
        EXPECT_EQ(tool->toolTip(), QLatin1String(expected.toolTip));
        EXPECT_EQ(tool->accessibleName(), QLatin1String(expected.toolTip));
        EXPECT_TRUE(isIcon(tool->icon(), expected.icon)) << expected.name;
        if (tool->isVisible()) {
            EXPECT_EQ(tool->isEnabled(), expected.enabled) << expected.name;
        }
        EXPECT_EQ(tool->styleSheet(), QStringLiteral("QToolButton{ padding: 1px;}"));
        EXPECT_EQ(tool->isVisible(), tool != button("configMaximize")) << expected.name;
        if (tool->isVisible()) {
            EXPECT_GT(tool->x(), left) << expected.name;
            left = tool->x();
        }
    }
    const auto* toolbar = innerWindow()->findChild<QToolBar*>();
    EXPECT_EQ(toolbar->windowTitle(), QStringLiteral("Log Config Toolbar"));
    EXPECT_EQ(toolbar->styleSheet(),
              QStringLiteral("QToolBar{ background: lightgray;padding: 0px;}"));
    const auto* title = toolbar->findChild<QLabel*>("configTitle");
    EXPECT_EQ(title->text(), QStringLiteral("Configuration"));
    EXPECT_EQ(title->font().family(), QStringLiteral("Verdana"));
    EXPECT_EQ(title->styleSheet(), QStringLiteral("QToolButton{ padding: 0px;}"));
    EXPECT_LT(title->x(), button("configReread")->x());
}

TEST_F(LogConfigViewTest, ReleasingAButtonRunsItsCommand)
{
    openUser();
    QSignalSpy closed(view, &LogConfigView::closeRequested);
    QTest::mouseClick(button("configDock"), Qt::LeftButton);
    EXPECT_NE(view->floatingWindow(), nullptr);
    QTest::mouseClick(button("configMaximize"), Qt::LeftButton);
    EXPECT_TRUE(view->floatingWindow()->isMaximized());
    QTest::mouseClick(button("configDock"), Qt::LeftButton);
    EXPECT_EQ(view->floatingWindow(), nullptr);
    service->setConfiguration(R"({"parameters":{"level":"fatal"}})");
    QTest::mouseClick(button("configReread"), Qt::LeftButton);
    EXPECT_EQ(rows(), QStringLiteral("default fatal"));
    fillIn({{"level", "err"}});
    selectRow(0);
    QTest::mouseClick(button("configModify"), Qt::LeftButton);
    EXPECT_EQ(rows(), QStringLiteral("default err"));
    fillIn({{"value", "new"}, {"level", "warn"}});
    QTest::mouseClick(button("configInsert"), Qt::LeftButton);
    EXPECT_EQ(rows(), QStringLiteral("default err, new warn"));
    QTest::mouseClick(button("configSave"), Qt::LeftButton);
    EXPECT_EQ(answers.onlyBox().title, QStringLiteral("Save"));
    selectRow(1);
    QTest::mouseClick(button("configDelete"), Qt::LeftButton);
    EXPECT_EQ(rows(), QStringLiteral("default err"));
    QTest::mouseClick(button("configClose"), Qt::LeftButton);
    EXPECT_EQ(closed.count(), 1);
    EXPECT_FALSE(view->dock()->isVisible());
}

TEST_F(LogConfigViewTest, TheDockActionDocksAndUndocks)
{
    QAction* action = nullptr;
    for (QAction* candidate : innerWindow()->actions())
        if (candidate->text() == QStringLiteral("Dock / Undock"))
            action = candidate;
    ASSERT_NE(action, nullptr);
    EXPECT_EQ(action->statusTip(), QStringLiteral("Dock / undock the acquisition window"));
    EXPECT_TRUE(isIcon(action->icon(), ":/undock.png"));
    action->trigger();
    EXPECT_NE(view->floatingWindow(), nullptr);
    EXPECT_TRUE(isIcon(action->icon(), ":/dock.png"));
    action->trigger();
    EXPECT_EQ(view->floatingWindow(), nullptr);
    EXPECT_TRUE(isIcon(action->icon(), ":/undock.png"));
}

TEST_F(LogConfigViewTest, NoMenuOffersToHideTheToolbarOrTheDockBehindTheSwitchsBack)
{
    view->setMode(LogConfigView::User);
    EXPECT_FALSE(view->dock()->toggleViewAction()->isVisible());
    EXPECT_FALSE(innerWindow()->findChild<QToolBar*>()->toggleViewAction()->isVisible());
    std::unique_ptr<QMenu> menu(window->createPopupMenu());
    EXPECT_TRUE(menu == nullptr || menu->isEmpty());
}

// --- docked and undocked --------------------------------------------------------------------

TEST_F(LogConfigViewTest, HasAFloatingWindowOnlyWhileUndocked)
{
    openUser();
    EXPECT_EQ(view->floatingWindow(), nullptr);
    view->floatingButtonClicked();
    QWidget* floating = view->floatingWindow();
    ASSERT_NE(floating, nullptr);
    EXPECT_TRUE(floating->isWindow());
    EXPECT_TRUE(floating->isVisible());
    EXPECT_EQ(floating->windowTitle(), QStringLiteral("Arvenza LogDesk"));
    EXPECT_TRUE(floating->windowFlags() & Qt::WindowMaximizeButtonHint);
    EXPECT_FALSE(view->dock()->isVisible());
    EXPECT_TRUE(isIcon(button("configDock")->icon(), ":/dock.png"));
    EXPECT_TRUE(button("configMaximize")->isVisible());
    EXPECT_EQ(view->tableView()->window(), floating);
    EXPECT_TRUE(view->tableView()->isVisible());
    view->floatingButtonClicked();
    EXPECT_EQ(view->floatingWindow(), nullptr);
    EXPECT_FALSE(floating->isVisible());
    EXPECT_TRUE(view->dock()->isVisible());
    EXPECT_FALSE(view->dock()->isFloating());
    EXPECT_TRUE(isIcon(button("configDock")->icon(), ":/undock.png"));
    EXPECT_FALSE(button("configMaximize")->isVisible());
    EXPECT_EQ(view->tableView()->window(), window.get());
    EXPECT_TRUE(view->tableView()->isVisible());
}

TEST_F(LogConfigViewTest, MaximizesTheFloatingWindowAndBack)
{
    view->resizeClicked(); // its button is hidden while docked
    EXPECT_TRUE(isIcon(button("configMaximize")->icon(), ":/maximizeDock.png"));
    view->floatingButtonClicked();
    EXPECT_FALSE(view->floatingWindow()->isMaximized());
    view->resizeClicked();
    EXPECT_TRUE(view->floatingWindow()->isMaximized());
    EXPECT_TRUE(isIcon(button("configMaximize")->icon(), ":/minimizeDock.png"));
    view->floatingButtonClicked();
    view->floatingButtonClicked();
    EXPECT_TRUE(view->floatingWindow()->isMaximized()); // as it was left
    view->resizeClicked();
    EXPECT_FALSE(view->floatingWindow()->isMaximized());
    EXPECT_TRUE(isIcon(button("configMaximize")->icon(), ":/maximizeDock.png"));
    // Also after it was closed meanwhile it becomes as large as it was.
    view->floatingWindow()->resize(321, 234);
    view->resizeClicked();
    view->floatingWindow()->close();
    switchTo(true);
    view->resizeClicked();
    EXPECT_EQ(view->floatingWindow()->size(), QSize(321, 234));
    // The window's own title bar does the same.
    view->floatingWindow()->showMaximized();
    EXPECT_TRUE(isIcon(button("configMaximize")->icon(), ":/minimizeDock.png"));
}

TEST_F(LogConfigViewTest, AsksToBeClosedWhenTheUserClosesTheDock)
{
    QSignalSpy asked(view, &LogConfigView::closeRequested);
    view->dock()->close();
    EXPECT_EQ(asked.count(), 1);
}

TEST_F(LogConfigViewTest, ClosingTheFloatingWindowIsAWishToHideTheViewAndItComesBackFloating)
{
    openUser();
    view->floatingButtonClicked();
    QSignalSpy asked(view, &LogConfigView::closeRequested);
    view->floatingWindow()->close();
    EXPECT_EQ(asked.count(), 1);
    ASSERT_NE(view->floatingWindow(), nullptr);
    EXPECT_FALSE(view->floatingWindow()->isVisible());
    switchTo(true);
    EXPECT_TRUE(view->floatingWindow()->isVisible());
    EXPECT_TRUE(view->tableView()->isVisible());
    EXPECT_FALSE(view->dock()->isVisible());
    EXPECT_EQ(view->tableView()->model(), table());
}

TEST_F(LogConfigViewTest, TheMainWindowsSwitchShowsNoEmptyDockWhileUndocked)
{
    view->floatingButtonClicked();
    switchTo(false);
    EXPECT_FALSE(view->floatingWindow()->isVisible());
    switchTo(true);
    EXPECT_TRUE(view->floatingWindow()->isVisible());
    EXPECT_FALSE(view->dock()->isVisible());
    window->hide();
    window->show();
    EXPECT_FALSE(view->dock()->isVisible());
    view->floatingButtonClicked();
    EXPECT_TRUE(view->dock()->isVisible());
}

TEST_F(LogConfigViewTest, PutBackIntoTheDockWhileHiddenItStaysHidden)
{
    view->floatingButtonClicked();
    switchTo(false);
    view->floatingButtonClicked();
    EXPECT_EQ(view->floatingWindow(), nullptr);
    EXPECT_FALSE(view->dock()->isVisible());
    switchTo(true);
    EXPECT_TRUE(view->dock()->isVisible());
}

TEST_F(LogConfigViewTest, ClosingTheFloatingWindowAtTheEndIsNoWishToHideTheView)
{
    view->floatingButtonClicked();
    QSignalSpy asked(view, &LogConfigView::closeRequested);
    view->closeFloatingWindow();
    EXPECT_FALSE(view->floatingWindow()->isVisible());
    EXPECT_EQ(asked.count(), 0);
    view->closeFloatingWindow();
    EXPECT_EQ(asked.count(), 0);
}

TEST_F(LogConfigViewTest, ADockedViewStaysWhenThereIsNoFloatingWindowToClose)
{
    view->closeFloatingWindow();
    EXPECT_TRUE(view->dock()->isVisible());
}

TEST_F(LogConfigViewTest, TheProgramsLastWindowIsNotTheFloatingOne)
{
    view->floatingButtonClicked();
    EXPECT_FALSE(view->floatingWindow()->testAttribute(Qt::WA_QuitOnClose));
}

TEST_F(LogConfigViewTest, SurvivesDockingMaximizingClosingReopeningAndReloadingInAnyOrder)
{
    std::mt19937 random(4711);
    openUser();
    bool shown = true;
    bool docked = true;
    for (int step = 0; step < 400; ++step) {
        switch (random() % 9) {
        case 0:
        case 1:
            if (!shown) // its button cannot be reached
                break;
            view->floatingButtonClicked();
            docked = !docked;
            break;
        case 2:
            if (shown)
                view->resizeClicked();
            break;
        case 3:
            view->closeClicked();
            shown = false;
            break;
        case 4:
            if (!docked)
                view->floatingWindow()->close();
            else
                view->dock()->close();
            shown = false;
            break;
        case 5:
            shown = !shown;
            switchTo(shown);
            break;
        case 6:
            load(step % 2 == 0 ? document : "{}");
            break;
        case 7:
            view->setMode(static_cast<int>(random() % 2));
            break;
        default:
            QApplication::processEvents();
            break;
        }
        SCOPED_TRACE(step);
        QAbstractItemView* content = view->treeView();
        if (view->mode() == LogConfigView::User)
            content = view->tableView();
        ASSERT_EQ(view->floatingWindow() == nullptr, docked);
        ASSERT_EQ(view->dock()->isVisible(), shown && docked);
        ASSERT_EQ(!docked && view->floatingWindow()->isVisible(), shown && !docked);
        ASSERT_EQ(content->isVisible(), shown);
        ASSERT_EQ(innerWindow()->centralWidget(), content);
        ASSERT_EQ(content->model(), view->mode() == LogConfigView::User
                                        ? static_cast<QAbstractItemModel*>(table())
                                        : static_cast<QAbstractItemModel*>(tree()));
    }
}

TEST_F(LogConfigViewTest, PaintingGivesTheDockTheFocusButTakesItFromNobodyInside)
{
    openUser();
    window->activateWindow();
    ASSERT_TRUE(waitFor([&] { return window->isActiveWindow(); }));
    window->centralWidget()->setFocus();
    view->repaint();
    EXPECT_EQ(window->focusWidget(), view->tableView());
    button("configReread")->setFocus();
    view->repaint();
    EXPECT_EQ(window->focusWidget(), button("configReread"));
}
