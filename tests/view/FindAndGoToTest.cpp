#include "tests/view/ViewTestSupport.h"
#include "view/FindDialog.h"
#include "view/GoToDialog.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QLineEdit>
#include <QRadioButton>
#include <QScrollBar>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTest>

namespace zuLogging::test {
namespace {

class FindDialogTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        initTestIcons();
        qRegisterMetaType<Qt::CaseSensitivity>("Qt::CaseSensitivity");
    }
    template <class Widget>
    Widget* child(const char* name)
    {
        auto* widget = dialog.findChild<Widget*>(QLatin1String(name));
        EXPECT_NE(widget, nullptr) << name;
        return widget;
    }
    FindDialog dialog;
};

TEST_F(FindDialogTest, TheLayoutIsAsItWasDesigned)
{
    EXPECT_EQ(dialog.windowTitle(), "Find");
    EXPECT_FALSE(dialog.windowIcon().isNull());
    EXPECT_FALSE(dialog.windowFlags() & Qt::WindowContextHelpButtonHint);
    EXPECT_FALSE(dialog.isModal());
    EXPECT_EQ(dialog.minimumHeight(), dialog.maximumHeight());
    EXPECT_LT(dialog.minimumWidth(), dialog.maximumWidth());
    EXPECT_EQ(child<QLabel>("findTextLabel")->text(), "Find what:");
    EXPECT_EQ(child<QGroupBox>("findDirection")->title(), "Direction");
    EXPECT_EQ(child<QGroupBox>("findSearchMode")->title(), "Search Mode");
    EXPECT_EQ(child<QRadioButton>("findUp")->text(), "Up");
    EXPECT_EQ(child<QRadioButton>("findDown")->text(), "Down");
    EXPECT_TRUE(child<QRadioButton>("findDown")->isChecked());
    EXPECT_EQ(child<QCheckBox>("findMatchCase")->text(), "Match case");
    EXPECT_FALSE(child<QCheckBox>("findMatchCase")->isChecked());
    EXPECT_EQ(child<QPushButton>("findNext")->text(), "Find next (F3)");
    EXPECT_EQ(child<QPushButton>("findNext")->shortcut(), QKeySequence("F3"));
    EXPECT_EQ(child<QPushButton>("findClose")->text(), "Close");
}

TEST_F(FindDialogTest, FindNextTellsTextDirectionAndCase)
{
    QSignalSpy spy(&dialog, SIGNAL(findNext(QString, bool, Qt::CaseSensitivity)));
    dialog.textField()->setText("abc");
    child<QPushButton>("findNext")->click();
    child<QRadioButton>("findUp")->setChecked(true);
    child<QCheckBox>("findMatchCase")->setChecked(true);
    child<QPushButton>("findNext")->click();
    ASSERT_EQ(spy.count(), 2);
    EXPECT_EQ(spy[0][0].toString(), "abc");
    EXPECT_TRUE(spy[0][1].toBool());
    EXPECT_EQ(spy[0][2].value<Qt::CaseSensitivity>(), Qt::CaseInsensitive);
    EXPECT_FALSE(spy[1][1].toBool());
    EXPECT_EQ(spy[1][2].value<Qt::CaseSensitivity>(), Qt::CaseSensitive);
}

TEST_F(FindDialogTest, F3AndEnterFindTheNextMatch)
{
    QSignalSpy spy(&dialog, SIGNAL(findNext(QString, bool, Qt::CaseSensitivity)));
    dialog.show();
    dialog.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&dialog));
    EXPECT_EQ(dialog.focusWidget(), dialog.textField());
    QTest::keyClick(dialog.textField(), Qt::Key_F3);
    EXPECT_TRUE(waitFor([&] { return spy.count() == 1; }));
    QTest::keyClick(dialog.textField(), Qt::Key_Return);
    EXPECT_TRUE(waitFor([&] { return spy.count() == 2; }));
}

TEST_F(FindDialogTest, CloseEscapeAndTheWindowsCloseButtonEndTheSearchOnceEach)
{
    QSignalSpy spy(&dialog, SIGNAL(clearSearch()));
    dialog.show();
    child<QPushButton>("findClose")->click();
    EXPECT_FALSE(dialog.isVisible());
    EXPECT_EQ(spy.count(), 1);
    dialog.show();
    QTest::keyClick(&dialog, Qt::Key_Escape);
    EXPECT_FALSE(dialog.isVisible());
    EXPECT_EQ(spy.count(), 2);
    dialog.show();
    dialog.close();
    EXPECT_FALSE(dialog.isVisible());
    EXPECT_EQ(spy.count(), 3);
}

TEST_F(FindDialogTest, ShownAgainTheTextIsSelectedToBeTypedOver)
{
    dialog.show();
    dialog.textField()->setText("first");
    child<QPushButton>("findClose")->setFocus();
    dialog.hide();
    dialog.show();
    EXPECT_EQ(dialog.focusWidget(), dialog.textField());
    EXPECT_EQ(dialog.textField()->selectedText(), "first");
    QTest::keyClicks(dialog.textField(), "second");
    EXPECT_EQ(dialog.textField()->text(), "second");
}

TEST(FindDialog, F3WorksInItsParentsWindowWhileTheDialogIsOpen)
{
    qRegisterMetaType<Qt::CaseSensitivity>("Qt::CaseSensitivity");
    QMainWindow window;
    auto* central = new QLineEdit(&window);
    window.setCentralWidget(central);
    FindDialog dialog(central);
    QSignalSpy spy(&dialog, SIGNAL(findNext(QString, bool, Qt::CaseSensitivity)));
    const auto pressF3 = [&] {
        window.activateWindow();
        QApplication::setActiveWindow(&window);
        QTest::keyClick(central, Qt::Key_F3);
    };
    window.show();
    ASSERT_TRUE(waitFor([&] { return window.isVisible(); }));
    pressF3();
    EXPECT_EQ(spy.count(), 0);
    dialog.show();
    dialog.textField()->setText("abc");
    pressF3();
    ASSERT_EQ(spy.count(), 1);
    EXPECT_EQ(spy[0][0].toString(), "abc");
    dialog.close();
    pressF3();
    EXPECT_EQ(spy.count(), 1);
}

TEST(GoToDialog, TheLayoutIsAsItWasDesigned)
{
    initTestIcons();
    GoToDialog dialog;
    EXPECT_EQ(dialog.windowTitle(), "Go To...");
    EXPECT_FALSE(dialog.windowIcon().isNull());
    EXPECT_FALSE(dialog.windowFlags() & Qt::WindowContextHelpButtonHint);
    EXPECT_FALSE(dialog.isModal());
    EXPECT_EQ(dialog.minimumSize(), dialog.maximumSize());
    auto* grid = dialog.findChild<QGridLayout*>();
    ASSERT_NE(grid, nullptr);
    auto* label = qobject_cast<QLabel*>(grid->itemAtPosition(0, 0)->widget());
    ASSERT_NE(label, nullptr);
    EXPECT_EQ(label->text(), "Go to line:");
    EXPECT_EQ(grid->itemAtPosition(0, 1)->widget(), dialog.lineBox());
    EXPECT_EQ(dialog.lineBox()->minimum(), 0);
    EXPECT_EQ(dialog.lineBox()->maximum(), 0);
    for (const auto& [name, text] : {std::pair<const char*, const char*>{"goToGo", "Go"},
                                     std::pair<const char*, const char*>{"goToClose", "Close"}}) {
        auto* button = dialog.findChild<QPushButton*>(QLatin1String(name));
        ASSERT_NE(button, nullptr);
        EXPECT_EQ(button->text(), QLatin1String(text));
        EXPECT_EQ(button->maximumWidth(), 100);
    }
}

TEST(GoToDialog, GoAcceptsAndCloseAndEscapeOnlyHide)
{
    GoToDialog dialog;
    QSignalSpy accepted(&dialog, SIGNAL(accepted()));
    dialog.show();
    EXPECT_EQ(dialog.focusWidget(), dialog.lineBox());
    dialog.findChild<QPushButton*>("goToClose")->click();
    EXPECT_FALSE(dialog.isVisible());
    dialog.show();
    QTest::keyClick(&dialog, Qt::Key_Escape);
    EXPECT_FALSE(dialog.isVisible());
    EXPECT_EQ(accepted.count(), 0);
    dialog.show();
    dialog.findChild<QPushButton*>("goToGo")->click();
    EXPECT_FALSE(dialog.isVisible());
    EXPECT_EQ(accepted.count(), 1);
}

TEST(GoToDialog, TheSpinBoxCannotGoBelowOneOrAboveTheNumberOfRows)
{
    GoToDialog dialog;
    dialog.setLineCount(3);
    dialog.lineBox()->setValue(0);
    EXPECT_EQ(dialog.line(), 1);
    dialog.lineBox()->setValue(99);
    EXPECT_EQ(dialog.line(), 3);
    dialog.setLineCount(0);
    EXPECT_EQ(dialog.line(), 1);
}

TEST(GoToDialog, TheHighestLineFitsItsField)
{
    GoToDialog dialog;
    dialog.setLineCount(100000000);
    EXPECT_GE(dialog.lineBox()->minimumWidth(), dialog.lineBox()->sizeHint().width());
}

// --- In the view

class SearchTest : public ViewFixture
{
protected:
    void goTo(int line)
    {
        view->goToDialog()->setLineCount(view->shownModel()->rowCount());
        view->goToDialog()->lineBox()->setValue(line);
        view->goToDialog()->accept();
    }
    std::vector<int> selectedRows() const
    {
        std::vector<int> rows;
        for (const QModelIndex& index : view->table()->selectionModel()->selectedRows())
            rows.push_back(index.row());
        return rows;
    }
    QModelIndex current() const { return view->table()->currentIndex(); }
    void setCurrent(int row, int column)
    {
        view->table()->setCurrentIndex(view->shownModel()->index(row, column));
    }
    int last() const { return view->shownModel()->columnCount() - 1; }
};

TEST_F(SearchTest, FromTheLastCellOfTheLastRowDownwardItContinuesAtRowZeroColumnZero)
{
    ViewSettings::instance().setColumnLayout({FieldLogMessage, FieldModule});
    open();
    for (const char* text : {"needle", "hay", "hay"})
        add(text);
    view->updateView();
    setCurrent(2, last());
    view->search("needle", true);
    EXPECT_EQ(current(), view->fullModel()->index(0, 0));
}

TEST_F(SearchTest, UpwardFromRowZeroColumnZeroItContinuesAtTheLastCellOfTheLastRow)
{
    ViewSettings::instance().setColumnLayout({FieldModule, FieldLogMessage});
    open();
    for (const char* text : {"hay", "hay", "needle"})
        add(text);
    view->updateView();
    setCurrent(0, 0);
    view->search("needle", false);
    EXPECT_EQ(current(), view->fullModel()->index(2, 1));
}

TEST_F(SearchTest, ATextThatOccursOnlyInTheCurrentCellGivesTheWarning)
{
    open();
    for (const char* text : {"hay", "needle", "hay"})
        add(text);
    view->updateView();
    setCurrent(1, columnOf("LogMessage"));
    BoxAnswerer boxes;
    view->search("needle", true);
    ASSERT_EQ(boxes.seen.size(), 1U);
    EXPECT_EQ(boxes.seen[0].icon, QMessageBox::Warning);
    EXPECT_EQ(boxes.seen[0].title, "Search");
    EXPECT_EQ(boxes.seen[0].text, "Can't find the text:\n\"needle\"");
    EXPECT_EQ(current(), view->fullModel()->index(1, columnOf("LogMessage")));
}

TEST_F(SearchTest, WithMatchCaseOffErrorFindsERROR)
{
    open();
    add("fine");
    add("an ERROR");
    view->updateView();
    setCurrent(0, 0);
    view->findDialog()->textField()->setText("error");
    child<QPushButton>("findNext")->click();
    EXPECT_EQ(current(), view->fullModel()->index(1, columnOf("LogMessage")));
    EXPECT_EQ(store->highlightCase(), Qt::CaseInsensitive);
    setCurrent(0, 0);
    BoxAnswerer boxes;
    child<QCheckBox>("findMatchCase")->setChecked(true);
    child<QPushButton>("findNext")->click();
    EXPECT_EQ(boxes.seen.size(), 1U);
    EXPECT_EQ(store->highlightCase(), Qt::CaseSensitive);
}

TEST_F(SearchTest, AnEmptyTableGivesTheWarning)
{
    open();
    BoxAnswerer boxes;
    view->search("x", true);
    view->search("x", false);
    EXPECT_EQ(boxes.seen.size(), 2U);
}

TEST_F(SearchTest, WithoutACurrentCellItStartsAtTheTopLeftCellOfTheVisibleArea)
{
    ViewSettings::instance().setColumnLayout({FieldLogMessage, FieldModule});
    open(nullptr, true);
    for (int i = 0; i < 200; ++i)
        add("hit");
    view->updateView();
    QScrollBar* bar = view->table()->verticalScrollBar();
    ASSERT_TRUE(waitFor([&] { return bar->maximum() > 2000; }));
    bar->setValue(2000);
    const QModelIndex top = view->table()->indexAt(QPoint(0, 0));
    ASSERT_GT(top.row(), 50);
    view->table()->setCurrentIndex(QModelIndex()); // the table makes one when it gets the focus
    view->search("hit", true);
    EXPECT_EQ(current(), view->fullModel()->index(top.row() + 1, 0));
}

TEST_F(SearchTest, AFoundCellBelowTheVisibleAreaIsScrolledIntoView)
{
    open(nullptr, true);
    for (int i = 0; i < 200; ++i)
        add(i == 180 ? "needle" : "hay");
    view->updateView();
    setCurrent(0, 0);
    view->search("needle", true);
    const QRect cell = view->table()->visualRect(current());
    EXPECT_EQ(current().row(), 180);
    EXPECT_TRUE(view->table()->viewport()->rect().intersects(cell));
}

TEST_F(SearchTest, MatchesArePaintedUntilTheFindDialogIsClosed)
{
    open();
    add("hay");
    add("needle");
    view->updateView();
    const QModelIndex cell = view->fullModel()->index(1, columnOf("LogMessage"));
    const QColor plain(255, 255, 255, 255);
    const QColor marked(153, 153, 255, 60);
    EXPECT_EQ(cell.data(Qt::BackgroundRole).value<QColor>(), plain);
    QSignalSpy announced(view->fullModel(), &QAbstractItemModel::layoutChanged);
    view->findDialog()->show();
    view->findDialog()->textField()->setText("needle");
    child<QPushButton>("findNext")->click();
    EXPECT_TRUE(store->highlight());
    EXPECT_TRUE(store->searchDown());
    EXPECT_EQ(store->highlightText(), "needle");
    EXPECT_EQ(cell.data(Qt::BackgroundRole).value<QColor>(), marked);
    EXPECT_EQ(announced.count(), 1);
    setCurrent(0, 0);
    child<QPushButton>("findNext")->click();
    EXPECT_EQ(announced.count(), 1) << "the same text again is no new search";
    child<QPushButton>("findClose")->click();
    EXPECT_FALSE(store->highlight());
    EXPECT_EQ(cell.data(Qt::BackgroundRole).value<QColor>(), plain);
    setCurrent(0, 0);
    child<QPushButton>("findNext")->click();
    EXPECT_EQ(announced.count(), 2) << "after the close it is";
}

TEST_F(SearchTest, ACurrentCellWhoseRowWentIsNoStart)
{
    open();
    addNumbered(10);
    setCurrent(9, 0);
    view->fullModel()->removeOldest(5);
    view->search("text 7", true);
    EXPECT_EQ(current().data().toString(), "text 7");
}

TEST_F(SearchTest, GoToLineOneSelectsTheFirstRow)
{
    open();
    addNumbered(3);
    goTo(1);
    EXPECT_EQ(selectedRows(), std::vector<int>{0});
    goTo(3);
    EXPECT_EQ(selectedRows(), std::vector<int>{2});
}

TEST_F(SearchTest, GoToScrollsTheLineIntoView)
{
    open(nullptr, true);
    addNumbered(500);
    goTo(400);
    EXPECT_TRUE(view->table()->viewport()->rect().intersects(
        view->table()->visualRect(view->shownModel()->index(399, 0))));
}

TEST_F(SearchTest, GoToInAnEmptyTableDoesNothing)
{
    open();
    view->setGoToLine();
    goTo(1);
    EXPECT_TRUE(selectedRows().empty());
}

TEST_F(SearchTest, WithTheFilterOnTheNumberingIsThatOfTheFilteredRows)
{
    open();
    for (const char* text : {"no", "yes first", "no", "yes second"})
        add(text);
    store->setFilter({"yes"}, {}, {}, false, false);
    view->enableFilter(Qt::Checked);
    goTo(99);
    EXPECT_EQ(view->goToDialog()->line(), 2);
    ASSERT_EQ(selectedRows(), std::vector<int>{1});
    EXPECT_EQ(view->shownModel()->cellText(1, columnOf("LogMessage")), "yes second");
}

} // namespace
} // namespace zuLogging::test
