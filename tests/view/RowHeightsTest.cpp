#include "tests/view/ViewTestSupport.h"
#include "view/GoToDialog.h"
#include "view/RowHeightFitter.h"

#include <QCheckBox>
#include <QElapsedTimer>
#include <QHeaderView>
#include <QScrollBar>
#include <QSpinBox>
#include <QTest>
#include <QWheelEvent>

#include <cstdint>
#include <limits>

namespace zuLogging::test {
namespace {

constexpr int plain = RowHeightFitter::plainHeight;

/// The whole text of a message with three lines is higher than this.
constexpr int threeLines = 40;

class RowHeightsTest : public ViewFixture
{
protected:
    /// A shown window with so many messages, each of `lines` lines.
    void openWithRows(int count, int lines = 3)
    {
        ViewSettings::instance().setColumnLayout({FieldServiceMsgID, FieldLogMessage});
        open(nullptr, true);
        addRows(count, lines);
    }
    void addRows(int count, int lines = 3)
    {
        std::vector<std::shared_ptr<LogMessage>> rows;
        const int first = view->fullModel()->rowCount();
        for (int i = 0; i < count; ++i)
            rows.push_back(
                message(first + i + 1, QStringLiteral("line\n").repeated(lines).trimmed()));
        view->fullModel()->addMessages(rows);
        view->updateView();
    }
    QTableView* table() const { return view->table(); }
    QScrollBar* bar() const { return table()->verticalScrollBar(); }
    int viewHeight() const { return table()->viewport()->height(); }
    int topOf(int row) const { return table()->rowViewportPosition(row); }
    int bottomOf(int row) const { return topOf(row) + table()->rowHeight(row); }
    bool isFitted(int row) const { return table()->rowHeight(row) > threeLines; }
    bool isWhollyVisible(int row) const { return topOf(row) >= 0 && bottomOf(row) <= viewHeight(); }

    /// Every row that can be seen is as high as its text.
    void expectVisibleRowsFitted() const
    {
        const int first = table()->rowAt(0);
        ASSERT_GE(first, 0) << bar()->value() << " of " << bar()->maximum() << " offset "
                            << table()->verticalHeader()->offset() << " length "
                            << table()->verticalHeader()->length() << " height " << viewHeight();
        int last = table()->rowAt(viewHeight() - 1);
        if (last < 0)
            last = view->shownModel()->rowCount() - 1;
        for (int row = first; row <= last; ++row)
            ASSERT_TRUE(isFitted(row)) << row;
    }
    int fittedRows() const
    {
        int fitted = 0;
        for (int row = 0; row < view->shownModel()->rowCount(); ++row)
            fitted += table()->rowHeight(row) != plain ? 1 : 0;
        return fitted;
    }
};

TEST_F(RowHeightsTest, OnlyRowsNearTheViewAreMeasured)
{
    openWithRows(200000);
    view->setResizeRows(true);
    expectVisibleRowsFitted();
    EXPECT_GT(fittedRows(), 0);
    EXPECT_LT(fittedRows(), 100);
    EXPECT_EQ(table()->rowHeight(1000), plain);
    EXPECT_EQ(table()->rowHeight(199999), plain);
}

TEST_F(RowHeightsTest, RowsAreMeasuredAsTheyComeIntoView)
{
    openWithRows(200000);
    view->setResizeRows(true);
    bar()->setValue(bar()->maximum() / 2);
    const int row = table()->rowAt(viewHeight() / 2);
    EXPECT_GT(row, 50000);
    expectVisibleRowsFitted();
    EXPECT_EQ(table()->rowHeight(row / 2), plain);
    EXPECT_LT(fittedRows(), 200);
}

TEST_F(RowHeightsTest, AMillionRowsAreSwitchedAndScrolledAtOnce)
{
    openWithRows(1);
    view->fullModel()->addMessages(
        std::vector<std::shared_ptr<LogMessage>>(1000000, message(2, QStringLiteral("a\nb\nc"))));
    view->updateView();
    QElapsedTimer clock;
    clock.start();
    view->setResizeRows(true);
    const qint64 switched = clock.restart();
    constexpr int scrolls = 20;
    for (int i = 0; i < scrolls; ++i)
        bar()->setValue(bar()->maximum() / scrolls * i);
    const qint64 scrolled = clock.elapsed();
    RecordProperty("switch_ms", static_cast<int>(switched));
    RecordProperty("scroll_ms", static_cast<int>(scrolled / scrolls));
    // Measuring all rows would take about a minute.
    EXPECT_LT(switched, 5000);
    EXPECT_LT(scrolled, 20000);
    expectVisibleRowsFitted();
}

TEST_F(RowHeightsTest, ScrollingByTheWheelMovesByTheSameAmountWhateverIsMeasured)
{
    openWithRows(2000);
    view->setResizeRows(true);
    bar()->setValue(bar()->maximum() / 2);
    const auto scrollBy = [this](int delta) {
        const int row = table()->rowAt(viewHeight() / 2);
        const int before = topOf(row);
        const QPoint middle = table()->viewport()->rect().center();
        QWheelEvent event(QPointF(middle), QPointF(table()->viewport()->mapToGlobal(middle)),
                          QPoint(), QPoint(0, delta), Qt::NoButton, Qt::NoModifier,
                          Qt::NoScrollPhase, false);
        const int from = bar()->value();
        QApplication::sendEvent(table()->viewport(), &event);
        EXPECT_NE(bar()->value(), from);
        expectVisibleRowsFitted();
        return topOf(row) - before;
    };
    const int step = scrollBy(-120);
    EXPECT_LT(step, 0);
    for (int i = 0; i < 30; ++i)
        ASSERT_EQ(scrollBy(-120), step) << "down " << i;
    for (int i = 0; i < 90; ++i)
        ASSERT_EQ(scrollBy(120), -step) << "up " << i;
}

TEST_F(RowHeightsTest, ScrollingUpOverRowsThatWereNotMeasuredComesToTheFirst)
{
    openWithRows(500);
    view->setResizeRows(true);
    table()->scrollToBottom();
    EXPECT_TRUE(isWhollyVisible(499));
    int last = table()->rowAt(0);
    for (int pages = 0; bar()->value() > 0 && pages < 500; ++pages) {
        bar()->triggerAction(QAbstractSlider::SliderPageStepSub);
        ASSERT_LE(table()->rowAt(0), last);
        last = table()->rowAt(0);
        expectVisibleRowsFitted();
    }
    EXPECT_EQ(topOf(0), 0);
}

TEST_F(RowHeightsTest, ARowThatIsScrolledToIsVisible)
{
    openWithRows(5000);
    view->setResizeRows(true);
    for (const int row : {2500, 100, 4999, 0, 40, 4000, 3990, 4060, 1}) {
        table()->scrollTo(view->shownModel()->index(row, 0), QAbstractItemView::EnsureVisible);
        EXPECT_TRUE(isWhollyVisible(row)) << row << ": " << topOf(row) << " to " << bottomOf(row);
        expectVisibleRowsFitted();
    }
}

TEST_F(RowHeightsTest, GoToShowsTheRow)
{
    openWithRows(5000);
    view->setResizeRows(true);
    for (const int line : {2500, 1, 5000, 77}) {
        view->goToDialog()->findChild<QSpinBox*>()->setRange(1, 5000);
        view->goToDialog()->findChild<QSpinBox*>()->setValue(line);
        view->setGoToLine();
        EXPECT_EQ(table()->currentIndex().row(), line - 1);
        EXPECT_TRUE(isWhollyVisible(line - 1)) << line;
    }
}

TEST_F(RowHeightsTest, SearchShowsTheRow)
{
    openWithRows(3000);
    view->fullModel()->addMessage(message(3001, QStringLiteral("needle\nand\nthread")));
    addRows(2000);
    view->setResizeRows(true);
    view->search(QStringLiteral("needle"), true);
    EXPECT_EQ(table()->currentIndex().row(), 3000);
    EXPECT_TRUE(isWhollyVisible(3000));
}

TEST_F(RowHeightsTest, TheKeyboardKeepsTheCurrentRowVisible)
{
    openWithRows(300);
    view->setResizeRows(true);
    table()->setFocus();
    table()->setCurrentIndex(view->shownModel()->index(0, 0));
    const auto press = [this](Qt::Key key, int times) {
        for (int i = 0; i < times; ++i) {
            QTest::keyClick(table(), key);
            ASSERT_TRUE(isWhollyVisible(table()->currentIndex().row()))
                << key << ": " << table()->currentIndex().row();
        }
    };
    press(Qt::Key_Down, 40);
    EXPECT_EQ(table()->currentIndex().row(), 40);
    press(Qt::Key_PageDown, 5);
    press(Qt::Key_Up, 20);
    press(Qt::Key_PageUp, 20);
    EXPECT_EQ(table()->currentIndex().row(), 0);
}

TEST_F(RowHeightsTest, AutoScrollShowsTheLastRowWhole)
{
    openWithRows(3);
    view->setResizeRows(true);
    view->setAutoScroll(true);
    for (const int count : {5, 40, 1000, 1, 20000}) {
        addRows(count);
        const int last = view->shownModel()->rowCount() - 1;
        EXPECT_TRUE(isWhollyVisible(last)) << count << ": " << bottomOf(last);
        expectVisibleRowsFitted();
        // The table lays itself out again with its next events.
        QApplication::processEvents();
        EXPECT_TRUE(isWhollyVisible(last)) << count;
    }
    EXPECT_EQ(bar()->value(), bar()->maximum());
}

TEST_F(RowHeightsTest, ARefreshLeavesTheViewWhereItIs)
{
    openWithRows(1000);
    view->setResizeRows(true);
    bar()->setValue(bar()->maximum() / 3);
    const int row = table()->rowAt(0);
    const int top = topOf(row);
    for (int i = 0; i < 10; ++i) {
        addRows(100);
        EXPECT_EQ(table()->rowAt(0), row);
        EXPECT_EQ(topOf(row), top);
    }
    expectVisibleRowsFitted();
}

TEST_F(RowHeightsTest, ARefreshMeasuresAFewRowsOnly)
{
    openWithRows(100000, 1);
    view->setResizeRows(true);
    constexpr int refreshes = 50;
    QElapsedTimer clock;
    clock.start();
    for (int i = 0; i < refreshes; ++i)
        view->updateView();
    const int each = static_cast<int>(clock.elapsed()) / refreshes;
    RecordProperty("refresh_ms", each);
    EXPECT_LT(each, 80) << "the next refresh is due before this one has ended";
}

TEST_F(RowHeightsTest, AfterASortTheRowsInViewAreMeasuredAgain)
{
    ViewSettings::instance().setColumnLayout({FieldServiceMsgID, FieldLogMessage});
    open(nullptr, true);
    for (int i = 0; i < 400; ++i)
        add(i < 200 ? QStringLiteral("a") : QStringLiteral("b\nc\nd"));
    view->updateView();
    view->setResizeRows(true);
    EXPECT_FALSE(isFitted(0));
    table()->horizontalHeader()->setSortIndicator(0, Qt::DescendingOrder);
    ASSERT_EQ(view->shownModel()->cellText(0, 0), "400");
    expectVisibleRowsFitted();
    table()->horizontalHeader()->setSortIndicator(0, Qt::AscendingOrder);
    ASSERT_EQ(view->shownModel()->cellText(0, 0), "1");
    EXPECT_FALSE(isFitted(0));
}

TEST_F(RowHeightsTest, TheOtherModelsRowsAreMeasuredWhenItIsShown)
{
    openWithRows(10, 1);
    addRows(10, 3);
    view->setResizeRows(true);
    EXPECT_FALSE(isFitted(0));
    store->setFilter({"line\nline"}, {}, {}, false, false);
    child<QCheckBox>("filterBox")->setChecked(true);
    ASSERT_EQ(view->shownModel(), view->filteredModel());
    ASSERT_EQ(view->shownModel()->rowCount(), 10);
    expectVisibleRowsFitted();
    child<QCheckBox>("filterBox")->setChecked(false);
    EXPECT_FALSE(isFitted(0));
    EXPECT_TRUE(isFitted(10));
    // What the model out of view says is no news.
    view->filteredModel()->announceChanges();
    EXPECT_FALSE(isFitted(0));
}

TEST_F(RowHeightsTest, ANarrowerColumnMakesHigherRows)
{
    ViewSettings::instance().setColumnLayout({FieldLogMessage, FieldModule});
    open(nullptr, true);
    for (int i = 0; i < 100; ++i)
        add(QStringLiteral("many words in one line that fit a wide column"));
    view->updateView();
    table()->setColumnWidth(0, 800);
    view->setResizeRows(true);
    ASSERT_FALSE(isFitted(0));
    table()->setColumnWidth(0, 60);
    EXPECT_TRUE(waitFor([this] { return isFitted(0); }));
    expectVisibleRowsFitted();
    table()->setColumnWidth(0, 800);
    EXPECT_TRUE(waitFor([this] { return !isFitted(0); }));
}

TEST_F(RowHeightsTest, ALargerWindowAndAnotherFontAreMeasuredToo)
{
    openWithRows(1000);
    window->resize(600, 150);
    EXPECT_TRUE(waitFor([this] { return view->height() < 150; }));
    view->setResizeRows(true);
    window->resize(600, 900);
    EXPECT_TRUE(waitFor([this] { return viewHeight() > 600; }));
    EXPECT_TRUE(waitFor([this] { return isFitted(table()->rowAt(viewHeight() - 1)); }));
    expectVisibleRowsFitted();
    const int before = table()->rowHeight(0);
    QFont large = table()->font();
    large.setPointSize(large.pointSize() * 2);
    table()->setFont(large);
    EXPECT_TRUE(waitFor([&] { return table()->rowHeight(0) > before * 3 / 2; }));
}

TEST_F(RowHeightsTest, SwitchedOffAllRowsAreTwentyHighAndCanBeResizedByHand)
{
    openWithRows(1000);
    view->setResizeRows(true);
    bar()->setValue(bar()->maximum() / 2);
    const int row = table()->rowAt(0);
    view->setResizeRows(false);
    EXPECT_EQ(fittedRows(), 0);
    EXPECT_EQ(table()->rowAt(0), row) << "the first row in view stays";
    EXPECT_EQ(bar()->maximum(), 1000 * plain - viewHeight());
    EXPECT_EQ(table()->verticalHeader()->defaultSectionSize(), plain);
    EXPECT_EQ(table()->verticalHeader()->sectionResizeMode(row), QHeaderView::Interactive);
    table()->setRowHeight(row, 60);
    addRows(10);
    bar()->setValue(0);
    EXPECT_EQ(table()->rowHeight(row), 60);
    EXPECT_EQ(table()->rowHeight(0), plain);
}

TEST_F(RowHeightsTest, ARowHigherThanTheViewIsShownFromItsBeginning)
{
    openWithRows(100, 1);
    addRows(1, 500);
    addRows(100, 1);
    view->setResizeRows(true);
    table()->scrollTo(view->shownModel()->index(100, 0), QAbstractItemView::EnsureVisible);
    EXPECT_GT(table()->rowHeight(100), viewHeight());
    EXPECT_LE(table()->rowHeight(100), RowHeightFitter::maximumHeight);
    EXPECT_GE(topOf(100), 0);
    EXPECT_LT(topOf(100), viewHeight());
}

TEST_F(RowHeightsTest, HeightsOfAsManyRowsAsCanBeShownAddUpToAnInt)
{
    using Fitter = RowHeightFitter;
    EXPECT_LE(std::int64_t{Fitter::maximumRows} * plain + 2 * Fitter::maximumExtraHeight,
              std::int64_t{std::numeric_limits<int>::max()});
    EXPECT_GE(Fitter::maximumRows, 100000000); // the most that can be set as the row limit
    openWithRows(100);
    table()->setRowHeight(5, 1000000);
    EXPECT_EQ(table()->rowHeight(5), Fitter::maximumHeight);
}

TEST_F(RowHeightsTest, WhenTooManyHighRowsHaveBeenSeenAllBeginAnew)
{
    constexpr int high =
        RowHeightFitter::maximumExtraHeight / (RowHeightFitter::maximumHeight - plain);
    openWithRows(high + 1000);
    QHeaderView* header = table()->verticalHeader();
    view->setResizeRows(true);
    const int rowCount = header->count();
    header->setUpdatesEnabled(false);
    for (int row = 0; row < high - 100; ++row)
        header->resizeSection(row, RowHeightFitter::maximumHeight);
    header->setUpdatesEnabled(true);
    view->fullModel()->announceChanges(); // measures the rows in view
    EXPECT_EQ(table()->rowHeight(high / 2), RowHeightFitter::maximumHeight); // not too many yet
    view->setResizeRows(false);
    EXPECT_EQ(header->length(), rowCount * plain);

    view->setResizeRows(true);
    header->setUpdatesEnabled(false);
    for (int row = 900; row < high + 1000; ++row)
        header->resizeSection(row, RowHeightFitter::maximumHeight);
    header->setUpdatesEnabled(true);
    view->fullModel()->announceChanges();
    EXPECT_EQ(table()->rowHeight(high / 2), plain);
    EXPECT_LT(header->length(), rowCount * plain + 100000);
    expectVisibleRowsFitted();
}

TEST_F(RowHeightsTest, AnEmptyTableAndAClearedOneDoNoHarm)
{
    openWithRows(0);
    view->setResizeRows(true);
    addRows(300);
    expectVisibleRowsFitted();
    bar()->setValue(bar()->maximum());
    view->messageViewClearClicked();
    EXPECT_EQ(view->shownModel()->rowCount(), 0);
    addRows(300);
    expectVisibleRowsFitted();
    view->fullModel()->removeOldest(290);
    view->updateView();
    expectVisibleRowsFitted();
}

TEST_F(RowHeightsTest, RowsThatLeaveAtTheLimitLeaveTheViewFitted)
{
    openWithRows(500);
    view->setResizeRows(true);
    view->setAutoScroll(true);
    for (int i = 0; i < 5; ++i) {
        view->fullModel()->removeOldest(100);
        addRows(100);
        expectVisibleRowsFitted();
        EXPECT_TRUE(isWhollyVisible(499));
    }
}

} // namespace
} // namespace zuLogging::test
