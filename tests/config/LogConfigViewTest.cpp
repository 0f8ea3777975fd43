#include "config/LogConfigView.h"

#include "config/InsertConfigDialog.h"
#include "config/LogConfigData.h"
#include "config/TableModel.h"
#include "config/TreeModel.h"
#include "logging/LogSvcError.h"
#include "tests/config/ConfigServiceStandIn.h"
#include "tests/config/ModalAnswers.h"
#include "tests/support/TestEnvironment.h"

#include <QAbstractItemModelTester>
#include <QAction>
#include <QComboBox>
#include <QDockWidget>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenu>
#include <QPointer>
#include <QPushButton>
#include <QSignalSpy>
#include <QTableView>
#include <QTest>
#include <QToolBar>
#include <QToolButton>
#include <QTreeView>

#include <gtest/gtest.h>

#include <memory>
#include <random>

using namespace zuLogging;
using namespace zuLogging::test;

namespace {

// The rows: default, alpha, beta (inside of alpha), gamma.
const char document[] =
    R"({"parameters":{"level":"info","destination":"logsvc"},"specializations":[)"
    R"({"#":"first","attributes":[{"id":"module","op":"eq","value":"alpha"}],)"
    R"("parameters":{"level":"err"},"specializations":[)"
    R"({"attributes":[{"id":"module","value":"beta"}],"parameters":{"level":"warn"}}]},)"
    R"({"attributes":[{"id":"process","value":"shell"}],"parameters":{"level":"debug"}},)"
    R"({"attributes":[{"id":"module","value":"gamma"}],"parameters":{"level":"trace"}}],)"
    R"("other":"x"})";

QImage imageOf(const QIcon& icon)
{
    return icon.pixmap(16).toImage();
}

bool isIcon(const QIcon& icon, const char* path)
{
    return !icon.isNull() && imageOf(icon) == imageOf(QIcon(QLatin1String(path)));
}

/// The view in a window's dock, as the main window has it, and a service that answers.
class LogConfigViewTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        initTestIcons();
        service =
            std::make_unique<ConfigServiceStandIn>(document, std::string("alpha\0delta\0", 12));
        config = LogConfigData::instance();
        config->setModified(false);
        ASSERT_TRUE(load(document));
        makeWindow();
    }
    void TearDown() override
    {
        window.reset();
        config->setModified(false);
        EXPECT_EQ(QApplication::overrideCursor(), nullptr);
    }

    void makeWindow()
    {
        window = std::make_unique<QMainWindow>();
        window->setCentralWidget(new QWidget);
        view = new LogConfigView(window.get());
        window->addDockWidget(Qt::RightDockWidgetArea, view->dock());
        // What the main window does with it.
        QObject::connect(view, &LogConfigView::closeRequested, window.get(),
                         [this] { switchTo(false); });
        window->resize(700, 500);
        window->show();
    }
    void switchTo(bool shown)
    {
        view->dock()->setVisible(shown);
        if (QWidget* floating = view->floatingWindow())
            floating->setVisible(shown);
    }

    bool load(const std::string& json)
    {
        service->setConfiguration(json);
        const QString error = config->loadConfiguration(QString());
        EXPECT_EQ(error, QString());
        watchModels();
        if (view)
            view->showModel();
        return error.isEmpty();
    }
    /// Every announcement of the models is checked from now on.
    void watchModels()
    {
        for (QAbstractItemModel* model :
             {static_cast<QAbstractItemModel*>(tree()), static_cast<QAbstractItemModel*>(table())})
            new QAbstractItemModelTester(
                model, QAbstractItemModelTester::FailureReportingMode::Fatal, model);
    }
    void openExpert(const std::string& json = document)
    {
        load(json);
        view->setMode(LogConfigView::Expert);
    }
    void openUser(const std::string& json = document)
    {
        load(json);
        view->setMode(LogConfigView::User);
    }

    TreeModel* tree() const { return config->treeModel(); }
    TableModel* table() const { return config->tableModel(); }
    std::string json() const
    {
        PropertyTree result;
        tree()->toPropertyTree(tree()->root(), result);
        return writePropertyTree(result, JsonForm::Compact);
    }
    /// "default info, alpha err" and so on.
    QString rows() const
    {
        QStringList texts;
        for (int row = 0; row < table()->rowCount(); ++row)
            texts.append(table()->index(row, 0).data().toString() + ' ' +
                         table()->index(row, 1).data().toString());
        return texts.join(", ");
    }

    /// By keys; a number is a row.
    TreeNode* node(const QString& path) const
    {
        TreeNode* found = tree()->root();
        for (const QString& part : path.split('/', Qt::SkipEmptyParts)) {
            bool isRow = false;
            const int row = part.toInt(&isRow);
            found = isRow ? found->child(row) : found->childWithKey(part);
            if (found == nullptr) {
                ADD_FAILURE() << "no node " << path.toStdString();
                return tree()->root();
            }
        }
        return found;
    }
    void select(const QString& path, int column = 0) const
    {
        view->treeView()->setCurrentIndex(tree()->indexOf(node(path), column));
    }
    QString selectedPath() const
    {
        QStringList keys;
        for (const TreeNode* at = tree()->nodeOf(view->treeView()->currentIndex());
             at != tree()->root(); at = at->parent())
            keys.prepend(at->key() == "+" ? QString::number(at->row()) : at->key());
        return keys.join('/');
    }
    void selectRow(int row) const { view->tableView()->selectRow(row); }

    QToolButton* button(const char* name) const
    {
        auto* found = innerWindow()->findChild<QToolButton*>(QLatin1String(name));
        EXPECT_NE(found, nullptr) << name;
        return found;
    }
    QMainWindow* innerWindow() const
    {
        QWidget* host = view->floatingWindow() ? view->floatingWindow() : view;
        return host->findChild<QMainWindow*>("configInnerWindow");
    }
    /// Which of Insert, Delete and Modify can be pressed, as "IDM".
    std::string enabled() const
    {
        std::string letters;
        for (const char* name : {"configInsert", "configDelete", "configModify"})
            letters += button(name)->isEnabled() ? name[6] : '-';
        return letters;
    }
    bool canSave() const { return button("configSave")->isEnabled(); }
    void expectMarked(bool marked) const
    {
        EXPECT_EQ(config->isModified(), marked);
        EXPECT_EQ(canSave(), marked);
    }

    /// Answers the next dialogs: sets the fields by their names and presses OK.
    void fillIn(const QMap<QString, QString>& fields)
    {
        answers.onDialog = [fields](QDialog& dialog) {
            for (auto it = fields.cbegin(); it != fields.cend(); ++it)
                if (auto* combo = dialog.findChild<QComboBox*>(it.key()))
                    combo->setCurrentText(it.value());
                else if (auto* edit = dialog.findChild<QLineEdit*>(it.key()))
                    edit->setText(it.value());
                else
                    ADD_FAILURE() << it.key().toStdString();
            QTest::mousePress(dialog.findChild<QPushButton*>("insertConfigOk"), Qt::LeftButton);
        };
    }
    void cancelDialogs()
    {
        answers.onDialog = [](QDialog& dialog) { dialog.reject(); };
    }

    std::unique_ptr<ConfigServiceStandIn> service;
    LogConfigData* config = nullptr;
    std::unique_ptr<QMainWindow> window;
    QPointer<LogConfigView> view;
    ModalAnswers answers;
};

} // namespace

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

// --- expert mode: insert --------------------------------------------------------------------

TEST_F(LogConfigViewTest, InsertAsksYesOrNoAndNoChangesNothing)
{
    openExpert();
    answers.answerWith("No");
    const std::string before = json();
    const std::vector<std::pair<const char*, const char*>> questions{
        {"specializations/0/parameters", "Do you want to insert specializations?"},
        {"specializations/0", "Do you want to insert an additional specialization (+)?"},
        {"specializations/0/attributes/0", "Do you want to insert an additional attribute (+)?"},
        {"parameters", "Do you want to insert specializations?"}};
    for (const auto& [path, question] : questions) {
        answers.boxes.clear();
        select(path);
        view->insertClicked();
        EXPECT_EQ(answers.onlyBox().icon, QMessageBox::Question);
        EXPECT_EQ(answers.onlyBox().title, QStringLiteral("Insert"));
        EXPECT_EQ(answers.onlyBox().text, QLatin1String(question));
        EXPECT_EQ(answers.onlyBox().buttons, (QStringList{"Yes", "No"}));
    }
    EXPECT_EQ(json(), before);
    expectMarked(false);
}

TEST_F(LogConfigViewTest, InsertInAParameterSetOrAnAttributeDoesNothing)
{
    openExpert();
    for (const char* path : {"parameters/level", "specializations/0/attributes/0/id"}) {
        select(path);
        view->insertClicked();
    }
    EXPECT_TRUE(answers.boxes.empty());
    expectMarked(false);
}

TEST_F(LogConfigViewTest, InsertInASpecializationAddsTheWholeTemplateInsideOfIt)
{
    openExpert(R"({"specializations":[{"#":"bare"}]})");
    answers.answerWith("Yes");
    select("specializations/0/#");
    view->insertClicked();
    EXPECT_EQ(json(), R"({"specializations":[{"#":"bare","attributes":[""],)"
                      R"("parameters":{"level":"info"},"specializations":[{"#":"Comment",)"
                      R"("attributes":[{"id":"module","value":"[MODULE]"}],)"
                      R"("parameters":{"level":"info"}}]}]})");
    const TreeNode* attributes = node("specializations/0/attributes");
    ASSERT_EQ(attributes->childCount(), 1);
    EXPECT_EQ(attributes->child(0)->key(), QStringLiteral("id")); // not in a "+" of its own
    EXPECT_EQ(selectedPath(), QStringLiteral("specializations/0/attributes"));
    EXPECT_EQ(enabled(), "ID-");
    expectMarked(true);
}

TEST_F(LogConfigViewTest, InsertInASpecializationAddsOnlyWhatIsMissingAfterTheSelection)
{
    openExpert();
    answers.answerWith("Yes");
    select("specializations/1/attributes");
    view->insertClicked();
    EXPECT_EQ(node("specializations/1")->childCount(), 3);
    EXPECT_EQ(node("specializations/1")->child(1)->key(), QStringLiteral("specializations"));
    EXPECT_EQ(rows(), QStringLiteral("default info, alpha err, beta warn, [MODULE] info, "
                                     "gamma trace"));
    config->setModified(false);
    select("specializations/0/attributes"); // has all three
    const std::string before = json();
    view->insertClicked();
    EXPECT_EQ(json(), before);
    EXPECT_FALSE(config->isModified());
}

TEST_F(LogConfigViewTest, InsertInThePlainDocumentNeverAddsAttributes)
{
    openExpert(R"({"other":"x"})");
    answers.answerWith("Yes");
    select("other");
    view->insertClicked();
    EXPECT_EQ(json(), R"({"other":"x","parameters":{"level":"info"},"specializations":[)"
                      R"({"#":"Comment","attributes":[{"id":"module","value":"[MODULE]"}],)"
                      R"("parameters":{"level":"info"}}]})");
    EXPECT_EQ(selectedPath(), QStringLiteral("parameters"));
    EXPECT_EQ(rows(), QStringLiteral("default info, [MODULE] info"));
    expectMarked(true);
}

TEST_F(LogConfigViewTest, InsertInAPlainNodeStaysInIt)
{
    openExpert(R"({"plain":{"member":"x"}})");
    answers.answerWith("Yes");
    select("plain/member");
    view->insertClicked();
    EXPECT_EQ(node("plain")->childCount(), 3);
    EXPECT_EQ(node("plain")->childWithKey("attributes"), nullptr);
    EXPECT_EQ(tree()->root()->childCount(), 1);
}

TEST_F(LogConfigViewTest, AnAdditionalSpecializationFollowsTheSelectedOneAndHasNoValue)
{
    openExpert(R"({"parameters":{"level":"info"},"specializations":[{"#":"a"},{"#":"b"}]})");
    answers.answerWith("Yes");
    select("specializations/0");
    view->insertClicked();
    EXPECT_EQ(json(), R"({"parameters":{"level":"info"},"specializations":[{"#":"a"},)"
                      R"({"#":"Comment","attributes":[{"id":"module"}],)"
                      R"("parameters":{"level":"info"}},{"#":"b"}]})");
    EXPECT_EQ(selectedPath(), QStringLiteral("specializations/1"));
    EXPECT_TRUE(view->treeView()->isExpanded(tree()->indexOf(node("specializations/1"))));
    EXPECT_EQ(table()->rowCount(), 2); // a module's row without a name
    expectMarked(true);
}

TEST_F(LogConfigViewTest, AnAdditionalAttributeFollowsTheSelectedOneWithAnEmptyId)
{
    openExpert();
    answers.answerWith("Yes");
    select("specializations/0/attributes/0");
    view->insertClicked();
    EXPECT_EQ(node("specializations/0/attributes")->childCount(), 2);
    const TreeNode* added = node("specializations/0/attributes/1");
    EXPECT_EQ(added->key(), QStringLiteral("+"));
    ASSERT_EQ(added->childCount(), 1);
    EXPECT_EQ(added->child(0)->key(), QStringLiteral("id"));
    EXPECT_EQ(added->child(0)->value(), QString());
    EXPECT_EQ(selectedPath(), QStringLiteral("specializations/0/attributes/1"));
    expectMarked(true);
}

TEST_F(LogConfigViewTest, AnEditElsewhereKeepsWhatWasExpanded)
{
    openExpert();
    answers.answerWith("Yes");
    const QModelIndex kept = tree()->indexOf(node("specializations/2/attributes"));
    const QPersistentModelIndex index(kept);
    view->treeView()->expand(kept);
    select("specializations/0");
    view->insertClicked();
    EXPECT_TRUE(view->treeView()->isExpanded(index));
    select("specializations/1");
    view->deleteClicked();
    EXPECT_TRUE(view->treeView()->isExpanded(index));
}

// --- expert mode: modify and delete ---------------------------------------------------------

TEST_F(LogConfigViewTest, ACommentIsModifiedThroughTheDialog)
{
    openExpert();
    fillIn({{"comment", "second"}});
    select("specializations/0/#");
    view->modifyClicked();
    EXPECT_EQ(node("specializations/0/#")->value(), QStringLiteral("second"));
    expectMarked(true);
    EXPECT_EQ(service->count(LogClientCommand::GetModules), 2); // the two loads, no more
}

TEST_F(LogConfigViewTest, AnAttributeIsModifiedThroughTheDialogAndGetsTheFieldsItLacks)
{
    openExpert();
    fillIn({{"id", "module"}, {"value", "typed"}, {"op", "sub"}});
    select("specializations/0/attributes/0/op");
    view->modifyClicked();
    const TreeNode* attribute = node("specializations/0/attributes/0");
    EXPECT_EQ(attribute->childCount(), 3);
    EXPECT_EQ(attribute->childWithKey("value")->value(), QStringLiteral("typed"));
    EXPECT_EQ(attribute->childWithKey("op")->value(), QStringLiteral("sub"));
    EXPECT_TRUE(rows().contains("typed err"));
    select("specializations/2/attributes/0/id");
    view->modifyClicked();
    attribute = node("specializations/2/attributes/0");
    ASSERT_EQ(attribute->childCount(), 3);
    EXPECT_EQ(attribute->child(2)->key(), QStringLiteral("op"));
    EXPECT_EQ(attribute->child(2)->value(), QStringLiteral("sub"));
    EXPECT_EQ(enabled(), "--M"); // still selected
    expectMarked(true);
}

TEST_F(LogConfigViewTest, TheDialogShowsWhatTheAttributeHoldsNow)
{
    openExpert();
    QStringList shown;
    answers.onDialog = [&](QDialog& dialog) {
        for (const char* name : {"id", "value", "op"})
            shown.append(dialog.findChild<QComboBox*>(name)->currentText());
        shown.append(QString::number(dialog.findChild<QComboBox*>("value")->count()));
        dialog.reject();
    };
    select("specializations/0/attributes/0/id");
    view->modifyClicked();
    // alpha and delta from the service, and the six that always are.
    EXPECT_EQ(shown, (QStringList{"module", "alpha", "eq", "8"}));
    expectMarked(false);
}

TEST_F(LogConfigViewTest, AParameterSetIsModifiedThroughTheDialogAndGetsTheKeysItLacks)
{
    openExpert();
    fillIn({{"level", "debug"}, {"destination", "file"}, {"file", "/tmp/log"}});
    select("parameters/destination");
    view->modifyClicked();
    EXPECT_EQ(
        writePropertyTree(readPropertyTree(json()).get_child("parameters"), JsonForm::Compact),
        R"({"level":"debug","destination":"file","file":"\/tmp\/log"})");
    EXPECT_TRUE(rows().startsWith("default debug"));
    fillIn({{"destination", "logsvc"}});
    select("parameters/level");
    view->modifyClicked();
    EXPECT_EQ(node("parameters/file")->value(), QString()); // only for destination "file"
    expectMarked(true);
}

TEST_F(LogConfigViewTest, ModifyOfAnyOtherNodeDoesNothing)
{
    openExpert();
    for (const char* path : {"parameters", "specializations", "specializations/0", "other",
                             "specializations/0/attributes", "specializations/0/attributes/0"}) {
        select(path);
        view->modifyClicked();
    }
    EXPECT_EQ(answers.dialogs, 0);
    expectMarked(false);
}

TEST_F(LogConfigViewTest, ACancelledDialogChangesNothing)
{
    openExpert();
    const std::string before = json();
    cancelDialogs();
    for (const char* path :
         {"specializations/0/#", "specializations/0/attributes/0/id", "parameters/level"}) {
        select(path);
        view->modifyClicked();
    }
    view->setMode(LogConfigView::User);
    selectRow(1);
    view->modifyClicked();
    view->insertClicked();
    EXPECT_EQ(answers.dialogs, 5);
    EXPECT_EQ(json(), before);
    EXPECT_FALSE(table()->isChanged());
    expectMarked(false);
}

TEST_F(LogConfigViewTest, ACommentEditedInPlaceIsAnEditToo)
{
    openExpert();
    select("specializations/0/#", 1);
    view->treeView()->setFocus();
    QTest::keyClick(view->treeView()->viewport(), Qt::Key_F2);
    auto* editor = view->treeView()->viewport()->findChild<QLineEdit*>();
    ASSERT_NE(editor, nullptr);
    expectMarked(false);
    editor->setText("in place");
    QTest::keyClick(editor, Qt::Key_Return);
    EXPECT_TRUE(waitFor([&] { return config->isModified(); }));
    EXPECT_EQ(node("specializations/0/#")->value(), QStringLiteral("in place"));
    expectMarked(true);
}

TEST_F(LogConfigViewTest, DeleteRemovesTheSelectedNode)
{
    openExpert();
    select("specializations/0");
    view->deleteClicked();
    EXPECT_EQ(rows(), QStringLiteral("default info, gamma trace"));
    expectMarked(true);
    EXPECT_TRUE(view->treeView()->currentIndex().isValid());
    EXPECT_EQ(view->treeView()->selectionModel()->selectedRows().size(), 1);
    select("specializations/0/parameters"); // a specialization's own set can go
    view->deleteClicked();
    EXPECT_EQ(node("specializations/0")->childCount(), 1);
    select("specializations");
    view->deleteClicked();
    select("other");
    view->deleteClicked();
    EXPECT_EQ(json(), R"({"parameters":{"level":"info","destination":"logsvc"}})");
}

TEST_F(LogConfigViewTest, DeletingTheTopLevelParametersInExpertModeDoesNothing)
{
    openExpert(R"({"parameters":{"level":"info"},"plain":{"parameters":{"level":"err"}}})");
    const std::string before = json();
    for (const char* path : {"parameters", "plain/parameters", "parameters/level"}) {
        select(path);
        view->deleteClicked();
        EXPECT_EQ(json(), before) << path;
    }
    EXPECT_TRUE(answers.boxes.empty());
    expectMarked(false);
    select("plain/parameters/level"); // nobody's default
    view->deleteClicked();
    EXPECT_NE(json(), before);
}

TEST_F(LogConfigViewTest, EverythingCanBeDeletedOneByOne)
{
    openExpert();
    for (int step = 0; step < 100 && tree()->rowCount() > 1; ++step) {
        // The last leaf, so that each level is seen.
        TreeNode* last = tree()->root();
        while (last->childCount() > 0)
            last = last->child(last->childCount() - 1);
        if (last->parent()->key() == "parameters" && last->parent()->parent() == tree()->root())
            break;
        view->treeView()->setCurrentIndex(tree()->indexOf(last));
        view->deleteClicked();
    }
    EXPECT_EQ(json(), R"({"parameters":{"level":"info","destination":"logsvc"}})");
}

// --- user mode ------------------------------------------------------------------------------

TEST_F(LogConfigViewTest, InsertAddsAModulesRow)
{
    openUser();
    fillIn({{"value", "delta"}, {"level", "fatal"}});
    selectRow(1);
    view->insertClicked();
    EXPECT_EQ(rows(),
              QStringLiteral("default info, alpha err, beta warn, gamma trace, delta fatal"));
    EXPECT_EQ(view->tableView()->currentIndex().row(), 4);
    EXPECT_EQ(enabled(), "IDM");
    EXPECT_TRUE(table()->isChanged());
    expectMarked(true);
}

TEST_F(LogConfigViewTest, InsertOffersTheServicesModulesAndTheFixedOnes)
{
    openUser();
    QStringList names;
    QString title;
    answers.onDialog = [&](QDialog& dialog) {
        title = dialog.windowTitle();
        const auto* combo = dialog.findChild<QComboBox*>("value");
        for (int i = 0; i < combo->count(); ++i)
            names.append(combo->itemText(i));
        dialog.reject();
    };
    const QStringList expected{"",        "alpha",   "delta",  "ARZ",    "Brisket",
                               "Corvane", "Dunmore", "Estrel", "Fenwick"};
    view->insertClicked();
    EXPECT_EQ(title, QStringLiteral("Insert "));
    EXPECT_EQ(names, expected);
    // A service that does not answer: what it knew last.
    service->refuse(LogClientCommand::GetModules);
    names.clear();
    view->insertClicked();
    EXPECT_EQ(names, expected);
    names.clear();
    selectRow(1);
    view->modifyClicked();
    EXPECT_EQ(names, expected.mid(1));
}

TEST_F(LogConfigViewTest, InsertWorksInAnEmptyDocument)
{
    openUser("{}");
    fillIn({{"value", "first"}, {"level", "err"}});
    view->insertClicked();
    view->insertClicked();
    EXPECT_EQ(readPropertyTree(json()).get_child("specializations").size(), 2U);
    expectMarked(true);
}

TEST_F(LogConfigViewTest, ModifyWritesTheModuleAndTheLevelOfTheRow)
{
    openUser();
    fillIn({{"value", "renamed"}, {"level", "none"}});
    QSignalSpy changed(table(), &QAbstractItemModel::dataChanged);
    selectRow(1);
    view->modifyClicked();
    EXPECT_GE(changed.count(), 1);
    EXPECT_EQ(rows(), QStringLiteral("default info, renamed none, beta warn, gamma trace"));
    EXPECT_EQ(node("specializations/0/attributes/0/value")->value(), QStringLiteral("renamed"));
    EXPECT_EQ(node("specializations/0/parameters/level")->value(), QStringLiteral("none"));
    EXPECT_EQ(enabled(), "IDM");
    expectMarked(true);
}

TEST_F(LogConfigViewTest, ALongNameThatWasEnteredIsShownWhole)
{
    openUser();
    const QTableView& shown = *view->tableView();
    const auto areWhole = [&] {
        return shown.columnWidth(0) >=
               static_cast<const QAbstractItemView&>(shown).sizeHintForColumn(0);
    };
    fillIn({{"value", "an inserted module with a long name"}, {"level", "err"}});
    selectRow(1);
    view->insertClicked();
    EXPECT_TRUE(areWhole());
    fillIn({{"value", "a module that was renamed to something longer still"}, {"level", "err"}});
    selectRow(2);
    view->modifyClicked();
    EXPECT_TRUE(areWhole());
}

TEST_F(LogConfigViewTest, ModifyOfTheDefaultRowSetsTheDefaultLevelOnly)
{
    openUser();
    fillIn({{"level", "debug"}});
    selectRow(0);
    view->modifyClicked();
    EXPECT_EQ(rows(), QStringLiteral("default debug, alpha err, beta warn, gamma trace"));
    EXPECT_EQ(node("parameters/level")->value(), QStringLiteral("debug"));
    EXPECT_EQ(node("parameters")->childCount(), 2);
}

TEST_F(LogConfigViewTest, DeleteRemovesAModuleWithAllInsideOfIt)
{
    openUser();
    selectRow(1);
    view->deleteClicked();
    EXPECT_EQ(rows(), QStringLiteral("default info, gamma trace"));
    EXPECT_EQ(view->tableView()->selectionModel()->selectedRows().size(), 1);
    EXPECT_EQ(enabled() == "I-M", view->tableView()->currentIndex().row() == 0);
    expectMarked(true);
    selectRow(1);
    view->deleteClicked();
    EXPECT_EQ(rows(), QStringLiteral("default info"));
    EXPECT_EQ(view->tableView()->currentIndex().row(), 0);
    EXPECT_EQ(enabled(), "I-M");
    EXPECT_EQ(node("specializations")->childCount(), 1); // the process's stays
}

// --- saving, rereading, resetting -----------------------------------------------------------

TEST_F(LogConfigViewTest, AfterASuccessfulSaveTheSaveButtonIsDisabledUntilTheNextEdit)
{
    openUser();
    fillIn({{"level", "debug"}});
    selectRow(0);
    view->modifyClicked();
    ASSERT_TRUE(canSave());
    view->saveConfigClicked();
    const ModalAnswers::Box box = answers.onlyBox();
    EXPECT_EQ(box.icon, QMessageBox::Information);
    EXPECT_EQ(box.title, QStringLiteral("Save"));
    EXPECT_TRUE(box.hasWindowIcon);
    EXPECT_EQ(box.text, QStringLiteral("Configuration saved successfully."));
    EXPECT_EQ(box.informativeText,
              QStringLiteral("Please restart the application, which should be logged."));
    EXPECT_EQ(box.buttons, QStringList("OK"));
    EXPECT_FALSE(box.waitCursor);
    expectMarked(false);
    EXPECT_FALSE(table()->isChanged());
    EXPECT_EQ(service->configuration(), json());
    EXPECT_TRUE(service->configuration().find(R"("level":"debug")") != std::string::npos);
    view->modifyClicked();
    expectMarked(true);
}

TEST_F(LogConfigViewTest, AFailedSaveIsToldAndCanBeTriedAgain)
{
    openUser();
    view->markModified();
    service->refuse(LogClientCommand::SetConfiguration);
    view->saveConfigClicked();
    EXPECT_EQ(answers.onlyBox().icon, QMessageBox::Warning);
    EXPECT_EQ(answers.onlyBox().title, QStringLiteral("Save"));
    EXPECT_EQ(answers.onlyBox().text,
              QStringLiteral("Failed to save the configuration file (The command was not "
                             "successful (negative acknowledge received))"));
    EXPECT_FALSE(answers.onlyBox().waitCursor);
    expectMarked(true);
    service->refuseNothing();
    view->saveConfigClicked();
    expectMarked(false);
}

TEST_F(LogConfigViewTest, ASaveInExpertModeLeavesTheTablesFlag)
{
    openUser();
    fillIn({{"level", "debug"}});
    selectRow(0);
    view->modifyClicked();
    view->setMode(LogConfigView::Expert);
    view->saveConfigClicked();
    expectMarked(false);
    EXPECT_TRUE(table()->isChanged());
}

TEST_F(LogConfigViewTest, RereadingShowsWhatTheServiceHasNow)
{
    openUser();
    view->markModified();
    service->setConfiguration(R"({"parameters":{"level":"fatal"}})");
    view->updateConfigClicked();
    EXPECT_EQ(rows(), QStringLiteral("default fatal"));
    EXPECT_EQ(view->tableView()->model(), table());
    EXPECT_TRUE(answers.boxes.empty());
    expectMarked(true); // only a save takes the mark away
    view->setMode(LogConfigView::Expert);
    select("parameters/level");
    service->setConfiguration(document);
    view->updateConfigClicked();
    EXPECT_EQ(view->treeView()->model(), tree());
    EXPECT_TRUE(view->treeView()->isExpanded(tree()->indexOf(node("specializations"))));
    EXPECT_EQ(enabled(), "---");
    select("parameters/level");
    EXPECT_EQ(enabled(), "--M");
}

TEST_F(LogConfigViewTest, AFailedRereadIsToldAndLeavesAnEmptyView)
{
    openUser();
    selectRow(1);
    service->refuse(LogClientCommand::GetConfiguration);
    view->updateConfigClicked();
    EXPECT_EQ(answers.onlyBox().icon, QMessageBox::Warning);
    EXPECT_EQ(answers.onlyBox().title, QStringLiteral("Update"));
    EXPECT_EQ(answers.onlyBox().text,
              QStringLiteral("Failed to load the configuration file and modules (The command was "
                             "not successful (negative acknowledge received))"));
    EXPECT_FALSE(answers.onlyBox().waitCursor);
    EXPECT_EQ(view->tableView()->model(), table());
    EXPECT_EQ(rows(), QString());
    service->refuseNothing();
    view->updateConfigClicked();
    EXPECT_EQ(table()->rowCount(), 4);
}

TEST_F(LogConfigViewTest, AServiceThatIsGoneIsToldAndNothingHangs)
{
    openUser();
    service.reset();
    view->updateConfigClicked();
    EXPECT_EQ(answers.onlyBox().title, QStringLiteral("Update"));
    answers.boxes.clear();
    view->saveConfigClicked();
    EXPECT_EQ(answers.onlyBox().title, QStringLiteral("Save"));
    cancelDialogs();
    view->insertClicked();
    EXPECT_EQ(answers.dialogs, 1);
    service = std::make_unique<ConfigServiceStandIn>(document);
    view->updateConfigClicked();
    EXPECT_EQ(table()->rowCount(), 4);
}

TEST_F(LogConfigViewTest, InUserModeAnEditedTableIsOfferedToBeSavedBeforeRereading)
{
    openUser();
    fillIn({{"level", "debug"}});
    selectRow(0);
    view->modifyClicked();
    answers.answerWith("Continue");
    view->updateConfigClicked();
    const ModalAnswers::Box box = answers.onlyBox();
    EXPECT_EQ(box.title, QStringLiteral("Unsaved Properties"));
    EXPECT_TRUE(box.hasWindowIcon);
    EXPECT_EQ(box.text,
              QStringLiteral("There are unsaved properties. Do you want to save the changes?"));
    EXPECT_EQ(box.buttons, (QStringList{"Save", "Continue"}));
    EXPECT_TRUE(rows().startsWith("default info"));

    selectRow(0);
    view->modifyClicked();
    answers.boxes.clear();
    answers.onBox = [](QMessageBox& shown) {
        for (QAbstractButton* choice : shown.buttons())
            if (choice->text().remove('&') == "Save" || choice->text().remove('&') == "OK")
                choice->click();
    };
    view->updateConfigClicked();
    ASSERT_EQ(answers.boxes.size(), 2U);
    EXPECT_EQ(answers.boxes[1].text, QStringLiteral("Configuration saved successfully."));
    EXPECT_TRUE(rows().startsWith("default debug"));
    expectMarked(false);
}

TEST_F(LogConfigViewTest, EscapeInTheQuestionAboutUnsavedPropertiesContinues)
{
    openUser();
    fillIn({{"level", "debug"}});
    selectRow(0);
    view->modifyClicked();
    answers.onBox = [](QMessageBox& box) { QTest::keyClick(&box, Qt::Key_Escape); };
    view->askToSaveIfChanged();
    EXPECT_EQ(answers.boxes.size(), 1U);
    expectMarked(true);
    EXPECT_TRUE(table()->isChanged());
}

TEST_F(LogConfigViewTest, InExpertModeNothingIsAskedBeforeRereading)
{
    openUser();
    fillIn({{"level", "debug"}});
    selectRow(0);
    view->modifyClicked();
    view->setMode(LogConfigView::Expert);
    view->askToSaveIfChanged();
    view->updateConfigClicked();
    EXPECT_TRUE(answers.boxes.empty());
    EXPECT_TRUE(rows().startsWith("default info"));
}

TEST_F(LogConfigViewTest, AnUneditedTableIsNotAskedAbout)
{
    openUser();
    view->markModified(); // by whoever loaded a file, say
    view->askToSaveIfChanged();
    EXPECT_TRUE(answers.boxes.empty());
}

TEST_F(LogConfigViewTest, AResetInUserModeRemovesTheModulesAndSetsTheDefaultLevelToFatal)
{
    openUser();
    view->resetConfiguration();
    EXPECT_EQ(rows(), QStringLiteral("default fatal"));
    EXPECT_EQ(json(),
              R"({"parameters":{"level":"fatal","destination":"logsvc"},"specializations":[)"
              R"({"attributes":[{"id":"process","value":"shell"}],)"
              R"("parameters":{"level":"debug"}}],"other":"x"})");
}

TEST_F(LogConfigViewTest, AResetInExpertModeRemovesAllSpecializations)
{
    openExpert();
    select("specializations/0/attributes/0/id");
    view->resetConfiguration();
    EXPECT_EQ(rows(), QStringLiteral("default fatal"));
    EXPECT_EQ(json(), R"({"parameters":{"level":"fatal","destination":"logsvc"},"other":"x"})");
}

TEST_F(LogConfigViewTest, AResetOfAnOddDocumentGivesOneDefaultLevelToo)
{
    const char* const odd[] = {
        "{}",
        R"({"parameters":{"destination":"none"}})",
        R"({"specializations":[{"attributes":[{"id":"module","value":"a"}],)"
        R"("parameters":{"level":"err"}}]})",
        R"({"specializations":[{"attributes":[{"id":"module","value":"a"}]}]})",
        R"({"specializations":[{"attributes":[{"id":"module","value":"a"}],)"
        R"("parameters":{"level":"err"}}],"parameters":{"level":"info"}})",
        R"({"parameters":{"level":"info"},"specializations":[{"attributes":[{"id":"module",)"
        R"("value":"a"}],"parameters":{"level":"err"}}],"specializations":[{"attributes":)"
        R"([{"id":"module","value":"b"}],"parameters":{"level":"warn"}}]})"};
    for (const char* text : odd)
        for (const int mode : {LogConfigView::User, LogConfigView::Expert}) {
            load(text);
            view->setMode(mode);
            view->resetConfiguration();
            EXPECT_EQ(rows(), QStringLiteral("default fatal")) << text << mode;
            EXPECT_EQ(node("parameters/level")->value(), QStringLiteral("fatal")) << text;
            EXPECT_EQ(tree()->root()->childWithKey("specializations"), nullptr) << text;
            view->resetConfiguration(); // finds its work done
            EXPECT_EQ(rows(), QStringLiteral("default fatal")) << text << mode;
        }
}

TEST_F(LogConfigViewTest, AResetWithoutAViewDoesNothing)
{
    ASSERT_EQ(view->tableView(), nullptr);
    const std::string before = json();
    view->resetConfiguration();
    EXPECT_EQ(json(), before);
}

TEST_F(LogConfigViewTest, ATreeMadeByTheEditorComesBackFromTheServiceAsItWas)
{
    openExpert("{\"a\":\"b\"}");
    answers.answerWith("Yes");
    select("a");
    view->insertClicked();
    select("specializations/0");
    view->insertClicked();
    select("specializations/1/parameters");
    view->insertClicked();
    fillIn({{"value", "\u00e4\u20ac\"\\ quoted"}});
    select("specializations/1/attributes/0/id");
    view->modifyClicked();
    const std::string before = json();
    answers.answerWith("OK");
    view->saveConfigClicked();
    view->updateConfigClicked();
    EXPECT_EQ(json(), before);
}

// --- while a box or a dialog is open --------------------------------------------------------

TEST_F(LogConfigViewTest, TheWindowMayGoWhileAMessageBoxIsOpen)
{
    const std::vector<std::function<void()>> commands{
        [&] { view->insertClicked(); },
        [&] {
            view->treeView()->selectionModel()->clear();
            view->modifyClicked();
        },
        [&] { view->saveConfigClicked(); },
        [&] {
            service->refuse(LogClientCommand::GetConfiguration);
            view->updateConfigClicked();
        },
        [&] {
            openUser();
            fillIn({{"level", "debug"}});
            selectRow(0);
            view->modifyClicked();
            answers.boxes.clear();
            view->updateConfigClicked();
        }};
    for (const auto& command : commands) {
        service->refuseNothing();
        openExpert();
        select("specializations/0");
        answers.boxes.clear();
        answers.onBox = [&](QMessageBox&) { window.reset(); };
        command();
        EXPECT_EQ(answers.boxes.size(), 1U);
        EXPECT_TRUE(view.isNull());
        makeWindow();
    }
}

TEST_F(LogConfigViewTest, TheWindowMayGoWhileTheDialogIsOpen)
{
    const std::vector<std::function<void()>> commands{[&] {
                                                          openUser();
                                                          view->insertClicked();
                                                      },
                                                      [&] {
                                                          openUser();
                                                          selectRow(1);
                                                          view->modifyClicked();
                                                      },
                                                      [&] {
                                                          openExpert();
                                                          select(
                                                              "specializations/0/attributes/0/id");
                                                          view->modifyClicked();
                                                      },
                                                      [&] {
                                                          openExpert();
                                                          view->floatingButtonClicked();
                                                          select("specializations/0/#");
                                                          view->modifyClicked();
                                                      }};
    answers.onDialog = [&](QDialog&) { window.reset(); };
    for (const auto& command : commands) {
        command();
        EXPECT_TRUE(view.isNull());
        makeWindow();
    }
    EXPECT_EQ(answers.dialogs, 4);
}

TEST_F(LogConfigViewTest, AReloadWhileADialogOrAQuestionIsOpenLeavesTheNewDocumentAsItIs)
{
    const auto reloadAndAccept = [&](QDialog& dialog) {
        load(document);
        dialog.accept();
    };
    answers.onDialog = reloadAndAccept;
    openUser();
    view->insertClicked();
    selectRow(1);
    view->modifyClicked();
    openExpert();
    for (const char* path :
         {"specializations/0/#", "specializations/0/attributes/0/id", "parameters/level"}) {
        select(path);
        view->modifyClicked();
    }
    EXPECT_EQ(answers.dialogs, 5);
    answers.onBox = [&](QMessageBox& box) {
        load(document);
        box.button(QMessageBox::Yes)->click();
    };
    select("specializations/0");
    view->insertClicked();
    EXPECT_EQ(json(), document);
    expectMarked(false);
}

TEST_F(LogConfigViewTest, ASelectedNodeThatGoesWhileTheDialogIsOpenIsLeftAlone)
{
    openExpert();
    answers.onDialog = [&](QDialog& dialog) {
        tree()->removeRows(0, 1, tree()->indexOf(node("specializations")));
        tree()->rebuildTable();
        dialog.accept();
    };
    select("specializations/0/#");
    view->modifyClicked();
    EXPECT_EQ(rows(), QStringLiteral("default info, gamma trace"));
    expectMarked(false);
}

// --- size -----------------------------------------------------------------------------------

TEST_F(LogConfigViewTest, ManySpecializationsAreShownEditedAndReset)
{
    constexpr int count = 10000;
    std::string text = R"({"parameters":{"level":"info"},"specializations":[)";
    for (int i = 0; i < count; ++i)
        text +=
            (i == 0 ? "" : ",") + (R"({"#":"number )" + std::to_string(i) +
                                   R"(","attributes":[{"id":"module","op":"eq","value":"module)" +
                                   std::to_string(i) + R"("}],"parameters":{"level":"warn"}})");
    text += "]}";
    service->setConfiguration(text);
    ASSERT_EQ(config->loadConfiguration(QString()), QString()); // unchecked: that takes its time
    view->setMode(LogConfigView::Expert);
    answers.answerWith("Yes");
    select("specializations/5000");
    view->insertClicked();
    EXPECT_EQ(table()->rowCount(), count + 2);
    view->deleteClicked();
    view->setMode(LogConfigView::User);
    selectRow(5000);
    fillIn({{"level", "err"}});
    view->modifyClicked();
    view->deleteClicked();
    EXPECT_EQ(table()->rowCount(), count);
    view->resetConfiguration();
    EXPECT_EQ(rows(), QStringLiteral("default fatal"));
}
