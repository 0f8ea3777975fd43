#include "tests/config/LogConfigViewFixture.h"

#include <QApplication>
#include <QHeaderView>
#include <QMenu>
#include <QPointer>
#include <QTableView>
#include <QTest>
#include <QTreeView>

#include <gtest/gtest.h>

#include <utility>
#include <vector>

using namespace zuLogging;
using namespace zuLogging::test;

// --- the two modes --------------------------------------------------------------------------

TEST_F(LogConfigViewTest, StartsInUserModeAndMakesAViewOnTheFirstSwitchToItsMode)
{
    EXPECT_EQ(view->mode(), LogConfigView::User);
    EXPECT_EQ(view->treeView(), nullptr);
    EXPECT_EQ(view->tableView(), nullptr);
    view->setMode(LogConfigView::Expert);
    EXPECT_EQ(view->mode(), 1);
    EXPECT_EQ(view->tableView(), nullptr);
    const QPointer<QTreeView> treeView = view->treeView();
    EXPECT_EQ(innerWindow()->centralWidget(), treeView);
    EXPECT_EQ(treeView->model(), tree());
    view->setMode(LogConfigView::User);
    EXPECT_EQ(view->mode(), 0);
    EXPECT_EQ(innerWindow()->centralWidget(), view->tableView());
    EXPECT_EQ(view->tableView()->model(), table());
    EXPECT_FALSE(treeView.isNull());
    EXPECT_FALSE(treeView->isVisible());
    view->setMode(LogConfigView::Expert);
    EXPECT_EQ(view->treeView(), treeView);
    EXPECT_TRUE(treeView->isVisible());
    EXPECT_FALSE(view->tableView()->isVisible());
}

TEST_F(LogConfigViewTest, ASwitchOfTheModeLeavesOnlyInsertAndThatInUserMode)
{
    openUser();
    EXPECT_EQ(enabled(), "I--");
    selectRow(1);
    view->setMode(LogConfigView::Expert);
    EXPECT_EQ(enabled(), "---");
    select("specializations/0");
    view->setMode(LogConfigView::User);
    EXPECT_EQ(enabled(), "I--");
    EXPECT_FALSE(view->tableView()->currentIndex().isValid());
}

TEST_F(LogConfigViewTest, TheTreeIsExpandedToDepth1AndKeepsItsStateWhileTheTableIsShown)
{
    openExpert();
    const auto isExpanded = [&](const char* path) {
        return view->treeView()->isExpanded(tree()->indexOf(node(path)));
    };
    EXPECT_TRUE(isExpanded("specializations"));
    EXPECT_TRUE(isExpanded("specializations/0"));
    EXPECT_FALSE(isExpanded("specializations/0/attributes"));
    view->treeView()->expand(tree()->indexOf(node("specializations/0/attributes")));
    view->treeView()->collapse(tree()->indexOf(node("specializations/1")));
    view->setMode(LogConfigView::User);
    view->setMode(LogConfigView::Expert);
    EXPECT_TRUE(isExpanded("specializations/0/attributes"));
    EXPECT_FALSE(isExpanded("specializations/1"));
    view->showTreeModel();
    EXPECT_FALSE(isExpanded("specializations/0/attributes"));
}

TEST_F(LogConfigViewTest, TheTableSelectsWholeRowsOneAtATimeAndStretchesTheLastColumn)
{
    openUser();
    const QTableView* shown = view->tableView();
    EXPECT_EQ(shown->selectionMode(), QAbstractItemView::SingleSelection);
    EXPECT_EQ(shown->selectionBehavior(), QAbstractItemView::SelectRows);
    EXPECT_TRUE(shown->horizontalHeader()->isVisible());
    EXPECT_TRUE(shown->verticalHeader()->isVisible());
    EXPECT_TRUE(shown->horizontalHeader()->stretchLastSection());
    QApplication::processEvents();
    for (int load = 0; load < 2; ++load) {
        EXPECT_EQ(shown->columnViewportPosition(1) + shown->columnWidth(1),
                  shown->viewport()->width());
        view->showTableModel();
    }
    EXPECT_EQ(shown->contextMenuPolicy(), Qt::CustomContextMenu);
}

TEST_F(LogConfigViewTest, ALoadOfAnotherDocumentWhileTheOtherModeIsShownIsSeenAfterTheSwitch)
{
    openExpert();
    view->setMode(LogConfigView::User);
    load(R"({"parameters":{"level":"debug"}})");
    view->setMode(LogConfigView::Expert);
    EXPECT_EQ(view->treeView()->model(), tree());
    select("parameters/level");
    EXPECT_EQ(enabled(), "--M");
}

TEST_F(LogConfigViewTest, AfterAFailedLoadBothModesShowAnEmptyModel)
{
    openUser();
    selectRow(1);
    service->setConfiguration("no JSON");
    EXPECT_NE(config->loadConfiguration(QString()), QString());
    view->showModel();
    EXPECT_EQ(view->tableView()->model()->rowCount(), 0);
    EXPECT_EQ(enabled(), "I--");
    view->setMode(LogConfigView::Expert);
    EXPECT_EQ(view->treeView()->model()->rowCount(), 0);
    view->deleteClicked();
    EXPECT_EQ(answers.onlyBox().text, QStringLiteral("Please select a configuration."));
}

// --- what the selection allows --------------------------------------------------------------

TEST_F(LogConfigViewTest, TheTreesSelectionDecidesByItsParentWhatCanBeDone)
{
    openExpert();
    const std::vector<std::pair<const char*, const char*>> expected{
        {"specializations/0/#", "--M"},              // a comment
        {"specializations/0/attributes/0", "ID-"},   // in a list of attributes
        {"specializations/0", "ID-"},                // in a list of specializations
        {"specializations/0/attributes", "ID-"},     // in a specialization
        {"specializations/0/parameters", "ID-"},     //
        {"parameters", "ID-"},                       // in the document itself
        {"specializations", "ID-"},                  //
        {"other", "ID-"},                            //
        {"parameters/level", "--M"},                 // in a parameter set
        {"specializations/0/attributes/0/id", "--M"} // in an attribute
    };
    for (const auto& [path, buttons] : expected)
        for (const int column : {0, 1}) {
            view->treeView()->selectionModel()->clear();
            select(path, column);
            EXPECT_EQ(enabled(), buttons) << path;
        }
    view->treeView()->selectionModel()->clear();
    view->treeItemSelected({}, {});
    EXPECT_EQ(enabled(), "ID-"); // the document, for want of a selection
}

TEST_F(LogConfigViewTest, NodesInPlacesThatNobodyExpectsAllowNothing)
{
    openExpert(R"({"level":{"odd":"1"},"#":{"id":"x"},"id":{"value":"1"}})");
    for (const char* path : {"level/odd", "#/id", "id/value"}) {
        select(path);
        EXPECT_EQ(enabled(), "---") << path;
        view->insertClicked();
        view->modifyClicked();
    }
    EXPECT_TRUE(answers.boxes.empty());
    expectMarked(false);
}

TEST_F(LogConfigViewTest, SelectingTheDefaultRowDisablesDelete)
{
    openUser();
    selectRow(0);
    EXPECT_EQ(enabled(), "I-M");
    selectRow(1);
    EXPECT_EQ(enabled(), "IDM");
    view->tableView()->selectionModel()->clear();
    view->tableItemSelected({}, {});
    EXPECT_EQ(enabled(), "---");
}

TEST_F(LogConfigViewTest, DeletingTheDefaultRowAnywayTellsThatItCannotBeDeleted)
{
    openUser();
    selectRow(0);
    view->deleteClicked();
    EXPECT_EQ(answers.onlyBox().icon, QMessageBox::Warning);
    EXPECT_EQ(answers.onlyBox().title, QStringLiteral("Delete"));
    EXPECT_EQ(answers.onlyBox().text, QStringLiteral("The default log level cannot be deleted."));
    EXPECT_EQ(answers.onlyBox().buttons, QStringList("OK"));
    EXPECT_EQ(rows(), QStringLiteral("default info, alpha err, beta warn, gamma trace"));
    expectMarked(false);
}

TEST_F(LogConfigViewTest, WithoutASelectionEachCommandAsksForOne)
{
    const auto expectAsked = [&](const char* title) {
        EXPECT_EQ(answers.onlyBox().icon, QMessageBox::Warning);
        EXPECT_EQ(answers.onlyBox().title, QLatin1String(title));
        EXPECT_EQ(answers.onlyBox().text, QStringLiteral("Please select a configuration."));
        EXPECT_EQ(answers.onlyBox().buttons, QStringList("OK"));
        answers.boxes.clear();
    };
    openExpert();
    view->insertClicked();
    expectAsked("Insert");
    for (const int mode : {LogConfigView::Expert, LogConfigView::User}) {
        view->setMode(mode);
        view->modifyClicked();
        expectAsked("Modify");
        view->deleteClicked();
        expectAsked("Delete");
    }
    expectMarked(false);
}

TEST_F(LogConfigViewTest, TheContextMenuHasTheThreeCommandsForBothViews)
{
    cancelDialogs();
    const char* const texts[] = {"Modify...", "Insert...", "Delete..."};
    const char* const icons[] = {":/config.png", ":/insertRow.png", ":/deleteRow.png"};
    const auto choose = [&](QAbstractItemView* shown, int entry) {
        Q_EMIT shown->customContextMenuRequested(QPoint(10, 10));
        const QPointer<QMenu> menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        ASSERT_NE(menu, nullptr);
        EXPECT_EQ(menu->pos(), shown->viewport()->mapToGlobal(QPoint(10, 10)));
        ASSERT_EQ(menu->actions().size(), 3);
        QAction* action = menu->actions().at(entry);
        EXPECT_EQ(action->text(), QLatin1String(texts[entry]));
        EXPECT_TRUE(isIcon(action->icon(), icons[entry]));
        EXPECT_TRUE(action->isEnabled());
        menu->setActiveAction(action);
        QTest::keyClick(menu, Qt::Key_Return);
        EXPECT_TRUE(waitFor([&] { return menu.isNull(); }));
    };
    view->setMode(LogConfigView::User);
    selectRow(0);
    choose(view->tableView(), 0);
    EXPECT_TRUE(waitFor([&] { return answers.dialogs == 1; }));
    choose(view->tableView(), 1);
    EXPECT_TRUE(waitFor([&] { return answers.dialogs == 2; }));
    choose(view->tableView(), 2);
    EXPECT_TRUE(waitFor([&] { return answers.boxes.size() == 1; }));
    EXPECT_EQ(answers.boxes[0].title, QStringLiteral("Delete"));

    view->setMode(LogConfigView::Expert);
    answers.answerWith("No");
    select("specializations/0/#");
    choose(view->treeView(), 0);
    EXPECT_TRUE(waitFor([&] { return answers.dialogs == 3; }));
    choose(view->treeView(), 1);
    EXPECT_TRUE(waitFor([&] { return answers.boxes.size() == 2; }));
    EXPECT_EQ(answers.boxes[1].title, QStringLiteral("Insert"));
    choose(view->treeView(), 2);
    EXPECT_TRUE(waitFor([&] { return node("specializations/0")->childWithKey("#") == nullptr; }));
}

TEST_F(LogConfigViewTest, ADoubleClickInTheTreeOpensTheInsertQuestion)
{
    openExpert();
    answers.answerWith("No");
    const auto doubleClick = [](QAbstractItemView* shown, const QModelIndex& index) {
        const QPoint at = shown->visualRect(index).center();
        QTest::mouseClick(shown->viewport(), Qt::LeftButton, {}, at);
        QTest::mouseDClick(shown->viewport(), Qt::LeftButton, {}, at);
    };
    const QModelIndex specialization = tree()->indexOf(node("specializations/0"));
    doubleClick(view->treeView(), specialization);
    EXPECT_EQ(answers.onlyBox().text,
              QStringLiteral("Do you want to insert an additional specialization (+)?"));
    EXPECT_TRUE(view->treeView()->isExpanded(specialization));
    answers.boxes.clear();
    doubleClick(view->treeView(), tree()->indexOf(node("specializations/0/#"), 1));
    EXPECT_EQ(answers.onlyBox().text, QStringLiteral("Do you want to insert specializations?"));
    expectMarked(false);
}

TEST_F(LogConfigViewTest, ADoubleClickInTheTableOpensTheModifyDialog)
{
    openUser();
    QString title;
    answers.onDialog = [&](QDialog& dialog) {
        title = dialog.windowTitle();
        dialog.reject();
    };
    const QPoint at = view->tableView()->visualRect(table()->index(1, 0)).center();
    QTest::mouseClick(view->tableView()->viewport(), Qt::LeftButton, {}, at);
    QTest::mouseDClick(view->tableView()->viewport(), Qt::LeftButton, {}, at);
    EXPECT_EQ(title, QStringLiteral("Modify "));
}
