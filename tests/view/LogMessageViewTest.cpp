#include "tests/view/ViewTestSupport.h"
#include "view/FilterDialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QHeaderView>
#include <QPushButton>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>
#include <QToolBar>
#include <QToolTip>

#include <algorithm>

namespace zuLogging::test {
namespace {

class LogMessageViewTest : public ViewFixture
{
protected:
    QStringList shownTexts() const
    {
        QStringList texts;
        const int column = columnOf("LogMessage");
        for (int row = 0; row < view->shownModel()->rowCount(); ++row)
            texts << view->shownModel()->cellText(row, column);
        return texts;
    }
    QPoint centerOf(int row, int column) const
    {
        return view->table()->visualRect(view->shownModel()->index(row, column)).center();
    }
    void press(int row, int column, Qt::MouseButton button = Qt::LeftButton)
    {
        QTest::mousePress(view->table()->viewport(), button, {}, centerOf(row, column));
        pressedToolTip = QToolTip::text();
        QTest::mouseRelease(view->table()->viewport(), button, {}, centerOf(row, column));
    }
    void setCurrent(int row) { view->table()->setCurrentIndex(view->shownModel()->index(row, 0)); }
    QCheckBox* filterBox() const { return child<QCheckBox>("filterBox"); }

    QString pressedToolTip;
};

// --- The maximum number of messages

TEST_F(LogMessageViewTest, RaisingTheMaximumNeverAsks)
{
    open();
    addNumbered(5);
    BoxAnswerer boxes;
    view->setMaximumMessages(200000);
    view->setMaximumMessages(5);
    EXPECT_TRUE(boxes.seen.empty());
    EXPECT_EQ(store->maximumMessages(), 5);
    EXPECT_EQ(ViewSettings::instance().maximumLogMessages, 5);
    EXPECT_EQ(view->fullModel()->rowCount(), 5);
}

TEST_F(LogMessageViewTest, LoweringTheMaximumBelowTheCountAndCancellingKeepsMessagesAndLimit)
{
    open();
    addNumbered(5);
    BoxAnswerer boxes(QMessageBox::Cancel);
    view->setMaximumMessages(3);
    ASSERT_EQ(boxes.seen.size(), 1U);
    EXPECT_EQ(boxes.seen[0].icon, QMessageBox::Warning);
    EXPECT_EQ(boxes.seen[0].title, "Log Messages");
    EXPECT_EQ(boxes.seen[0].text,
              "The maximum number of log messages (3) is lower than the current number of log "
              "messages (5).\nDo you want to truncate the log messages and keep the latest?");
    EXPECT_EQ(boxes.seen[0].buttons, QMessageBox::Ok | QMessageBox::Cancel);
    EXPECT_EQ(view->fullModel()->rowCount(), 5);
    EXPECT_EQ(store->maximumMessages(), 100000);
    EXPECT_EQ(ViewSettings::instance().maximumLogMessages, 100000);
}

TEST_F(LogMessageViewTest, LoweringTheMaximumAndConfirmingKeepsTheLatest)
{
    open();
    addNumbered(5);
    BoxAnswerer boxes;
    view->setMaximumMessages(3);
    EXPECT_EQ(boxes.seen.size(), 1U);
    EXPECT_EQ(shownTexts(), (QStringList{"text 2", "text 3", "text 4"}));
    EXPECT_EQ(store->maximumMessages(), 3);
    EXPECT_EQ(ViewSettings::instance().maximumLogMessages, 3);
    EXPECT_EQ(label("countLabel"), "3");
}

TEST_F(LogMessageViewTest, TruncatingAppliesTheFilterAgain)
{
    ViewSettings::instance().filterInclude = QStringList{"text"};
    ViewSettings::instance().filterEnabled = true;
    open();
    for (int i = 0; i < 5; ++i)
        add(QStringLiteral("text %1").arg(i));
    store->refilter();
    ASSERT_EQ(shownTexts().size(), 5);
    BoxAnswerer boxes;
    view->setMaximumMessages(2);
    EXPECT_EQ(view->table()->model(), view->filteredModel());
    EXPECT_EQ(shownTexts(), (QStringList{"text 3", "text 4"}));
    EXPECT_EQ(label("filteredLabel"), "2");
}

TEST_F(LogMessageViewTest, AMaximumBelowZeroAsksAndLeavesNoRow)
{
    open();
    addNumbered(2);
    BoxAnswerer boxes;
    view->setMaximumMessages(-5);
    EXPECT_EQ(boxes.seen.size(), 1U);
    EXPECT_EQ(view->fullModel()->rowCount(), 0);
}

// --- The filter switch

TEST_F(LogMessageViewTest, ApplyingAFilterWithAllListsEmptyUnchecksTheBoxAndShowsTheFullModel)
{
    open();
    addNumbered(2);
    filterBox()->setChecked(true);
    view->setFilter();
    EXPECT_FALSE(filterBox()->isChecked());
    EXPECT_EQ(view->table()->model(), view->fullModel());
    EXPECT_FALSE(store->showFiltered());
}

TEST_F(LogMessageViewTest, CheckingTheFilterBoxWithAllListsEmptyKeepsTheFullModelShown)
{
    open();
    addNumbered(2);
    filterBox()->setChecked(true);
    EXPECT_EQ(view->table()->model(), view->fullModel());
    EXPECT_TRUE(store->showFiltered());
    EXPECT_TRUE(ViewSettings::instance().filterEnabled);
    EXPECT_EQ(label("filteredLabel"), QString::number(view->filteredModel()->rowCount()));
    filterBox()->setChecked(false);
    EXPECT_EQ(label("filteredLabel"), "0");
    EXPECT_FALSE(ViewSettings::instance().filterEnabled);
}

TEST_F(LogMessageViewTest, TheFilterBoxShowsTheFilteredModelWhileAListHasAnEntry)
{
    open();
    addNumbered(12);
    store->setFilter({"text 1"}, {}, {}, false, false);
    filterBox()->setChecked(true);
    EXPECT_EQ(view->table()->model(), view->filteredModel());
    EXPECT_EQ(shownTexts(), (QStringList{"text 1", "text 10", "text 11"}));
    EXPECT_EQ(label("filteredLabel"), "3");
    EXPECT_EQ(label("countLabel"), "12");
    filterBox()->setChecked(false);
    EXPECT_EQ(view->table()->model(), view->fullModel());
    EXPECT_EQ(label("filteredLabel"), "0");
}

TEST_F(LogMessageViewTest, ASelectionInTheOtherModelIsStillFollowed)
{
    open();
    addNumbered(3);
    store->setFilter({"text"}, {}, {}, false, false);
    const QPointer<QItemSelectionModel> first = view->table()->selectionModel();
    filterBox()->setChecked(true);
    EXPECT_TRUE(first.isNull()) << "the selection model of the other model leaks";
    EXPECT_FALSE(QObject::connect(
        view->table()->selectionModel(), SIGNAL(selectionChanged(QItemSelection, QItemSelection)),
        view, SLOT(tableItemSelected(QItemSelection, QItemSelection)), Qt::UniqueConnection));
    view->table()->selectRow(1);
}

TEST_F(LogMessageViewTest, TheSortGoesAlongWhenTheFilterIsSwitched)
{
    ViewSettings::instance().setColumnLayout({FieldLogMessage, FieldModule});
    open();
    for (const char* text : {"b yes", "a yes", "out", "c yes"})
        add(text);
    view->updateView();
    view->table()->horizontalHeader()->setSortIndicator(0, Qt::DescendingOrder);
    EXPECT_EQ(shownTexts(), (QStringList{"out", "c yes", "b yes", "a yes"}));
    store->setFilter({"yes"}, {}, {}, false, false);
    filterBox()->setChecked(true);
    EXPECT_EQ(shownTexts(), (QStringList{"c yes", "b yes", "a yes"}));
    view->table()->horizontalHeader()->setSortIndicator(0, Qt::AscendingOrder);
    EXPECT_EQ(shownTexts(), (QStringList{"a yes", "b yes", "c yes"}));
    filterBox()->setChecked(false);
    EXPECT_EQ(shownTexts(), (QStringList{"a yes", "b yes", "c yes", "out"}));
}

// --- Sorting

TEST_F(LogMessageViewTest, AClickOnAHeaderSortsByThatColumn)
{
    ViewSettings::instance().setColumnLayout({FieldModule, FieldLogMessage});
    open(nullptr, true);
    for (const char* text : {"b", "c", "a"})
        add(text);
    view->updateView();
    QHeaderView* header = view->table()->horizontalHeader();
    Qt::CursorShape duringSort = Qt::ArrowCursor;
    QObject::connect(view->fullModel(), &QAbstractItemModel::layoutChanged, view, [&] {
        if (const QCursor* cursor = QApplication::overrideCursor())
            duringSort = cursor->shape();
    });
    const QPoint section(header->sectionViewportPosition(1) + 10, header->height() / 2);
    QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, section);
    const bool ascending = header->sortIndicatorOrder() == Qt::AscendingOrder;
    EXPECT_EQ(header->sortIndicatorSection(), 1);
    EXPECT_EQ(shownTexts(),
              ascending ? (QStringList{"a", "b", "c"}) : (QStringList{"c", "b", "a"}));
    EXPECT_EQ(duringSort, Qt::WaitCursor);
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
    QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, section);
    EXPECT_EQ(shownTexts(),
              ascending ? (QStringList{"c", "b", "a"}) : (QStringList{"a", "b", "c"}));
}

TEST_F(LogMessageViewTest, SortColumnSortsInTheHeadersOrder)
{
    ViewSettings::instance().setColumnLayout({FieldModule, FieldLogMessage});
    open();
    for (const char* text : {"b", "c", "a"})
        add(text);
    view->sortColumn(1);
    EXPECT_EQ(shownTexts(), (QStringList{"a", "b", "c"}));
}

// --- Refresh and scrolling

TEST_F(LogMessageViewTest, UpdateViewShowsNewRowsAndCounts)
{
    open();
    QSignalSpy announced(view->fullModel(), &QAbstractItemModel::layoutChanged);
    QSignalSpy scrolled(view, SIGNAL(autoScroll()));
    addNumbered(3);
    EXPECT_EQ(announced.count(), 1);
    EXPECT_EQ(scrolled.count(), 1);
    EXPECT_EQ(label("countLabel"), "3");
    EXPECT_EQ(label("queuedLabel"), "0");
    EXPECT_EQ(view->table()->verticalHeader()->count(), 3);
}

TEST_F(LogMessageViewTest, AutoScrollGoesToTheLastRowOnlyWhileItIsOn)
{
    open(nullptr, true);
    EXPECT_FALSE(view->isAutoScrollOn());
    addNumbered(200);
    const QScrollBar* bar = view->table()->verticalScrollBar();
    EXPECT_EQ(bar->value(), 0);
    view->setAutoScroll(true);
    addNumbered(200);
    EXPECT_GT(bar->maximum(), 0);
    EXPECT_EQ(bar->value(), bar->maximum());
    view->setAutoScroll(false);
    const int there = bar->value();
    addNumbered(200);
    EXPECT_EQ(bar->value(), there);
    EXPECT_TRUE(waitFor([&] { return bar->maximum() > there; }));
    EXPECT_EQ(bar->value(), there);
}

TEST_F(LogMessageViewTest, AutoScrollStartsAsTheSettingsSay)
{
    ViewSettings::instance().autoScrollEnabled = true;
    open();
    EXPECT_TRUE(view->isAutoScrollOn());
}

TEST_F(LogMessageViewTest, TheSelectionStaysWithItsMessageWhileRowsCome)
{
    open();
    addNumbered(3);
    view->table()->selectRow(1);
    addNumbered(100);
    ASSERT_EQ(view->table()->selectionModel()->selectedRows().size(), 1);
    EXPECT_EQ(view->table()->selectionModel()->selectedRows()[0].row(), 1);
}

TEST_F(LogMessageViewTest, TheSelectionStaysWithItsMessagesWhenTheOldestRowsLeave)
{
    open();
    addNumbered(100);
    QItemSelectionModel* selection = view->table()->selectionModel();
    const auto select = [&](int first, int last) {
        selection->select(
            QItemSelection(view->fullModel()->index(first, 0), view->fullModel()->index(last, 11)),
            QItemSelectionModel::Select);
    };
    select(2, 4);   // leaves whole
    select(8, 12);  // leaves in part
    select(50, 52); // stays
    view->fullModel()->removeOldest(10);
    view->updateView();
    QList<int> rows;
    for (const QModelIndex& index : selection->selectedRows())
        rows.append(index.row());
    std::sort(rows.begin(), rows.end());
    EXPECT_EQ(rows, (QList<int>{0, 1, 2, 40, 41, 42}));
}

TEST_F(LogMessageViewTest, NothingStaysSelectedWhenAllRowsLeave)
{
    open();
    addNumbered(5);
    view->table()->selectAll();
    view->fullModel()->removeOldest(5);
    view->updateView();
    EXPECT_FALSE(view->table()->selectionModel()->hasSelection());
}

// At layoutAboutToBeChanged a selection writes down each of its cells, which takes a second for
// 100,000 selected rows: a refresh does without that signal.
TEST_F(LogMessageViewTest, ARefreshDoesNotMakeTheSelectionWriteDownItsCells)
{
    open();
    addNumbered(100);
    view->table()->selectAll();
    QSignalSpy about(view->fullModel(), &QAbstractItemModel::layoutAboutToBeChanged);
    QSignalSpy changed(view->fullModel(), &QAbstractItemModel::layoutChanged);
    view->fullModel()->removeOldest(10);
    addNumbered(20);
    EXPECT_EQ(changed.count(), 1);
    EXPECT_EQ(about.count(), 0);
    EXPECT_EQ(view->table()->selectionModel()->selectedRows().size(), 90);
}

// --- Clear

TEST_F(LogMessageViewTest, ClearEmptiesBothModelsTheCountersAndTheListOfFiles)
{
    open();
    addNumbered(5);
    store->setFilter({"text"}, {}, {}, false, false);
    filterBox()->setChecked(true);
    auto* files = child<QComboBox>("filesCombo");
    files->addItem("some.json");
    child<QToolBar>("logMessageInfoToolbar")->show();
    child<QToolButton>("clearButton")->click();
    EXPECT_EQ(view->fullModel()->rowCount(), 0);
    EXPECT_EQ(view->filteredModel()->rowCount(), 0);
    EXPECT_EQ(files->count(), 0);
    EXPECT_TRUE(child<QToolBar>("logMessageInfoToolbar")->isHidden());
    EXPECT_EQ(label("countLabel"), "0");
    EXPECT_EQ(label("filteredLabel"), "0");
    add("after");
    view->updateView();
    EXPECT_EQ(label("countLabel"), "1");
}

// --- The pressed cell

TEST_F(LogMessageViewTest, APressedCellShowsItsTextAsAToolTip)
{
    open(nullptr, true);
    add("the whole text");
    view->updateView();
    press(0, columnOf("LogMessage"));
    EXPECT_EQ(pressedToolTip, "the whole text");
}

TEST_F(LogMessageViewTest, ARightButtonPressShowsNoToolTip)
{
    open(nullptr, true);
    add("text");
    view->updateView();
    QToolTip::hideText();
    QSignalSpy pressed(view->table(), &QAbstractItemView::pressed);
    EXPECT_TRUE(waitFor([] { return !QToolTip::isVisible(); }));
    press(0, columnOf("LogMessage"), Qt::RightButton);
    EXPECT_EQ(pressed.count(), 1);
    EXPECT_FALSE(QToolTip::isVisible());
}

TEST_F(LogMessageViewTest, AnEmptyCellShowsNoToolTip)
{
    open(nullptr, true);
    view->fullModel()->addMessage(message(1, "text", LogLevel::Info, QString()));
    view->updateView();
    QToolTip::hideText();
    EXPECT_TRUE(waitFor([] { return !QToolTip::isVisible(); }));
    QSignalSpy pressed(view->table(), &QAbstractItemView::pressed);
    press(0, columnOf("Module"));
    EXPECT_EQ(pressed.count(), 1);
    EXPECT_FALSE(QToolTip::isVisible());
}

TEST_F(LogMessageViewTest, ATextThatLooksLikeMarkupIsShownAsItIs)
{
    open(nullptr, true);
    add("<b>bold</b>");
    view->updateView();
    press(0, columnOf("LogMessage"));
    EXPECT_TRUE(pressedToolTip.contains("&lt;b&gt;bold&lt;/b&gt;")) << pressedToolTip.toStdString();
}

// --- The time reference

TEST_F(LogMessageViewTest, TheFirstTimeReferenceSwitchesToSecondsAndSaysSo)
{
    open();
    addNumbered(6);
    setCurrent(5);
    QSignalSpy toggled(&window->seconds, &QAction::changed);
    BoxAnswerer boxes;
    view->setReferenceTimeClicked();
    ASSERT_EQ(boxes.seen.size(), 1U);
    EXPECT_EQ(boxes.seen[0].icon, QMessageBox::Information);
    EXPECT_EQ(boxes.seen[0].title, "Timestamp");
    EXPECT_EQ(boxes.seen[0].text,
              "For using the time reference the time display format will be changed.");
    EXPECT_EQ(store->timeDisplayMode(), 1);
    EXPECT_TRUE(window->seconds.isChecked());
    EXPECT_FALSE(window->dateAndTime.isChecked());
    EXPECT_EQ(toggled.count(), 0) << "their signals are blocked";
    EXPECT_EQ(view->fullModel()->references(), QList<int>{5});
    EXPECT_EQ(view->fullModel()->cellText(5, columnOf("Timestamp")), "*REF*");
    EXPECT_EQ(view->fullModel()->cellText(4, columnOf("Timestamp")), "-0.250000");
}

TEST_F(LogMessageViewTest, TheReferenceIsToggledWithoutABoxInSecondsMode)
{
    open();
    store->setTimeDisplayMode(1);
    addNumbered(6);
    BoxAnswerer boxes;
    setCurrent(2);
    view->setReferenceTimeClicked();
    setCurrent(4);
    view->setReferenceTimeClicked();
    EXPECT_EQ(view->fullModel()->references(), (QList<int>{2, 4}));
    view->setReferenceTimeClicked();
    EXPECT_EQ(view->fullModel()->references(), QList<int>{2});
    EXPECT_TRUE(boxes.seen.empty());
}

TEST_F(LogMessageViewTest, InTheFilteredTableTheSameMessageIsMarkedInTheFullModel)
{
    open();
    store->setTimeDisplayMode(1);
    for (const char* text : {"no", "yes a", "no", "yes b"})
        add(text);
    store->setFilter({"yes"}, {}, {}, false, false);
    filterBox()->setChecked(true);
    setCurrent(1);
    view->setReferenceTimeClicked();
    EXPECT_EQ(view->fullModel()->references(), QList<int>{3});
    view->setReferenceTimeClicked();
    EXPECT_EQ(view->fullModel()->references(), QList<int>());
}

TEST_F(LogMessageViewTest, InASortedTableTheMessageOfTheDisplayedRowIsMarked)
{
    ViewSettings::instance().setColumnLayout({FieldLogMessage, FieldTimestamp});
    open();
    store->setTimeDisplayMode(1);
    for (const char* text : {"c", "b yes", "a yes"})
        add(text);
    view->updateView();
    view->table()->horizontalHeader()->setSortIndicator(0, Qt::DescendingOrder);
    ASSERT_EQ(shownTexts(), (QStringList{"c", "b yes", "a yes"}));
    view->table()->horizontalHeader()->setSortIndicator(0, Qt::AscendingOrder);
    ASSERT_EQ(shownTexts(), (QStringList{"a yes", "b yes", "c"}));
    setCurrent(1); // the first mark takes the mark of displayed row 0 away
    view->setReferenceTimeClicked();
    EXPECT_TRUE(view->fullModel()->references().contains(1));
    view->setReferenceTimeClicked();
    EXPECT_FALSE(view->fullModel()->references().contains(1));
    setCurrent(0);
    view->setReferenceTimeClicked();
    EXPECT_TRUE(view->fullModel()->references().contains(2));
    store->setFilter({"yes"}, {}, {}, false, false);
    filterBox()->setChecked(true);
    ASSERT_EQ(shownTexts(), (QStringList{"a yes", "b yes"}));
    setCurrent(0);
    view->setReferenceTimeClicked();
    EXPECT_FALSE(view->fullModel()->references().contains(2));
    setCurrent(1);
    view->setReferenceTimeClicked();
    EXPECT_TRUE(view->fullModel()->references().contains(1));
}

TEST_F(LogMessageViewTest, WithoutACurrentRowNoReferenceIsMarked)
{
    open();
    store->setTimeDisplayMode(1);
    view->setReferenceTimeClicked();
    EXPECT_EQ(view->fullModel()->references(), QList<int>{0});
}

// --- The service's state

TEST_F(LogMessageViewTest, RefreshReadsTheServicesStateAgain)
{
    open();
    EXPECT_EQ(label("serviceLabel"), "Stopped");
    EXPECT_EQ(child<QLabel>("serviceLabel")->styleSheet(), "QLabel { color : red; }");
    QFile pid(TestEnvironment::instance().runtimeDirectory() + "/ZULogSvc.pid");
    ASSERT_TRUE(pid.open(QIODevice::WriteOnly));
    pid.write(QByteArray::number(QCoreApplication::applicationPid()) + "\n");
    pid.close();
    view->updateView();
    EXPECT_EQ(label("serviceLabel"), "Stopped") << "nothing polls it";
    child<QToolButton>("refreshButton")->click();
    EXPECT_EQ(label("serviceLabel"), "Running");
    EXPECT_EQ(child<QLabel>("serviceLabel")->styleSheet(), "QLabel { color : green; }");
    pid.remove();
    child<QToolButton>("refreshButton")->click();
    EXPECT_EQ(label("serviceLabel"), "Stopped");
}

TEST_F(LogMessageViewTest, TheHeaderAsksAboutNoRowsWhenMillionsOfThemAreSelected)
{
    open();
    const auto message = std::make_shared<LogMessage>(1U, 1U, 1U, 0U, 8U, std::u16string_view(),
                                                      std::u16string_view(), std::u16string_view(),
                                                      std::u16string_view(), 0U, 0U);
    view->fullModel()->addMessages(std::vector<std::shared_ptr<LogMessage>>(100000, message));
    view->updateView();
    const QHeaderView* header = view->table()->horizontalHeader();
    view->table()->selectRow(7);
    EXPECT_TRUE(header->selectionModel()->hasSelection());
    view->table()->selectAll();
    EXPECT_FALSE(header->selectionModel()->hasSelection()) << "it would ask about each row";
    EXPECT_EQ(view->table()->selectionModel()->selectedRows().size(), 100000);
    view->table()->selectRow(7);
    EXPECT_EQ(header->selectionModel(), view->table()->selectionModel());
    view->table()->selectAll();
    view->messageViewClearClicked();
    view->fullModel()->addMessages({message, message});
    view->updateView();
    view->table()->selectRow(1);
    EXPECT_TRUE(header->selectionModel()->isRowSelected(1, {}));
}

// --- The end of the view

TEST_F(LogMessageViewTest, TheViewWritesTheSettingsWhenItEnds)
{
    open();
    ViewSettings::instance().maximumLogMessages = 4711;
    view = nullptr;
    window.reset();
    EXPECT_EQ(store->fullModel(), nullptr);
    EXPECT_EQ(store->filteredModel(), nullptr);
    ViewSettings::instance().reset();
    ASSERT_TRUE(ViewSettings::instance().read());
    EXPECT_EQ(ViewSettings::instance().maximumLogMessages, 4711);
}

} // namespace
} // namespace zuLogging::test
