#include "view/LostMessages.h"
#include "logging/LogLedger.h"
#include "tests/store/StoreTestSupport.h"
#include "tests/view/ViewTestSupport.h"
#include "view/RowHeightFitter.h"

#include <QClipboard>
#include <QHeaderView>
#include <QLabel>

#include <initializer_list>
#include <utility>
#include <vector>

namespace zuLogging::test {
namespace {

LogCounts counts(std::initializer_list<std::pair<LogCount, std::uint64_t>> values)
{
    LogCounts all;
    for (const auto& [which, value] : values)
        all[which] = value;
    return all;
}

TEST(LostMessages, NothingIsLostByWhatIsMeantToHappen)
{
    for (std::size_t i = 0; i < static_cast<std::size_t>(LogCount::NumberOfCounts); ++i) {
        const auto which = static_cast<LogCount>(i);
        const LostMessages one(counts({{which, 3}}));
        switch (which) {
        case LogCount::LostInSocket:
        case LogCount::MissingNumbers:
        case LogCount::DroppedFromQueue:
        case LogCount::Unreadable:
        case LogCount::RefusedContainer:
            EXPECT_EQ(one.number(), 3U) << i;
            EXPECT_TRUE(one.toolTip().startsWith(QStringLiteral("3 "))) << i;
            EXPECT_FALSE(one.toolTip().contains(QLatin1Char('\n'))) << i;
            break;
        default:
            EXPECT_EQ(one.number(), 0U) << i;
            break;
        }
    }
    EXPECT_EQ(LostMessages(LogCounts()).toolTip(), QString());
}

TEST(LostMessages, AMessageMissingInBothCountsIsLostOnce)
{
    const LostMessages more(counts({{LogCount::LostInSocket, 4}, {LogCount::MissingNumbers, 7}}));
    EXPECT_EQ(more.number(), 7U);
    const LostMessages fewer(counts({{LogCount::LostInSocket, 9}, {LogCount::MissingNumbers, 7}}));
    EXPECT_EQ(fewer.number(), 9U);
    const QStringList lines = fewer.toolTip().split(QLatin1Char('\n'));
    ASSERT_EQ(lines.size(), 3);
    EXPECT_TRUE(lines.at(0).startsWith(QStringLiteral("9 ")));
    EXPECT_TRUE(lines.at(1).startsWith(QStringLiteral("7 ")));
    EXPECT_TRUE(lines.at(2).contains(QStringLiteral("larger")));
}

TEST(LostMessages, TheToolTipNamesEachCauseWithItsCount)
{
    const LostMessages lost(counts({{LogCount::MissingNumbers, 1},
                                    {LogCount::DroppedFromQueue, 1234567},
                                    {LogCount::Unreadable, 20},
                                    {LogCount::RefusedContainer, 300},
                                    {LogCount::RefusedSize, 4000},
                                    {LogCount::RefusedMagic, 1}}));
    EXPECT_EQ(lost.label(), QStringLiteral("Lost: 1234888"));
    EXPECT_EQ(lost.toolTip(), QStringLiteral("1 missing in the senders' numbers\n"
                                             "1234567 dropped: the window's queue was full\n"
                                             "20 unreadable\n"
                                             "300 refused as malformed\n"
                                             "4001 other datagrams refused, not counted: no "
                                             "messages"));
}

class StatusLabelsTest : public ViewFixture
{
protected:
    QLabel* label(const char* name) const
    {
        auto* found = window->statusBar()->findChild<QLabel*>(QLatin1String(name));
        EXPECT_NE(found, nullptr) << name;
        return found;
    }
    QLabel* lost() const { return label("lostLabel"); }
    QLabel* shownRows() const { return label("shownRowsLabel"); }
    void lose(LogCount cause, std::uint64_t count)
    {
        store->ledger()->add(cause, count);
        view->updateView();
    }
};

TEST_F(StatusLabelsTest, NothingIsShownWhileNothingIsLost)
{
    open(nullptr, true);
    addNumbered(3);
    EXPECT_FALSE(lost()->isVisible());
    EXPECT_FALSE(shownRows()->isVisible());
    lose(LogCount::RefusedSize, 5); // no messages that anyone knows of
    EXPECT_FALSE(lost()->isVisible());
    EXPECT_EQ(status(), QStringLiteral("Ready"));
}

TEST_F(StatusLabelsTest, WhatIsLostStandsAtTheRightOfTheStatusBarUntilTheNextClear)
{
    open(nullptr, true);
    lose(LogCount::DroppedFromQueue, 5);
    lose(LogCount::Unreadable, 2);
    EXPECT_TRUE(lost()->isVisible());
    EXPECT_EQ(lost()->text(), QStringLiteral("Lost: 7"));
    EXPECT_EQ(lost()->toolTip(), QStringLiteral("5 dropped: the window's queue was full\n"
                                                "2 unreadable"));
    EXPECT_EQ(lost()->accessibleName(), QStringLiteral("Messages lost: 7"));
    EXPECT_EQ(status(), QStringLiteral("Ready")); // beside it
    QApplication::processEvents();
    EXPECT_GT(lost()->geometry().center().x(), window->statusBar()->width() / 2);
    EXPECT_GE(lost()->width(), lost()->sizeHint().width());

    view->messageViewClearClicked();
    EXPECT_FALSE(lost()->isVisible());
    lose(LogCount::Unreadable, 1);
    EXPECT_TRUE(lost()->isVisible());
    EXPECT_EQ(lost()->text(), QStringLiteral("Lost: 1"));
    EXPECT_EQ(lost()->toolTip(), QStringLiteral("1 unreadable"));
}

TEST_F(StatusLabelsTest, WhatTheStoreLostBeforeTheViewIsNotTheViews)
{
    auto before = std::make_shared<LogContainer>();
    before->ledger()->add(LogCount::Unreadable, 4);
    open(before, true);
    view->updateView();
    EXPECT_FALSE(lost()->isVisible());
}

TEST_F(StatusLabelsTest, AFullQueueIsSeenInTheWindow)
{
    open(nullptr, true);
    view->setMaximumMessages(10);
    LogContainerAccess::setActive(*store, true);
    for (std::uint64_t id = 1; id <= 26; ++id)
        store->addMessage(decoded(id));
    view->updateView();
    EXPECT_EQ(lost()->text(), QStringLiteral("Lost: 6"));
    LogContainerAccess::setActive(*store, false);
}

TEST_F(StatusLabelsTest, GoWithTheView)
{
    open(nullptr, true);
    delete view;
    view = nullptr;
    EXPECT_EQ(window->statusBar()->findChild<QLabel*>(QStringLiteral("lostLabel")), nullptr);
}

TEST_F(StatusLabelsTest, AViewWithoutAStatusBarHasNone)
{
    store = std::make_shared<LogContainer>();
    LogMessageView alone(nullptr, nullptr);
    alone.updateView();
    EXPECT_EQ(alone.findChild<QLabel*>(QStringLiteral("lostLabel")), nullptr);
}

TEST_F(StatusLabelsTest, TheUserIsToldWhenTheTableCannotShowAllRows)
{
    open(nullptr, true);
    view->fullModel()->setMaximumShownRows(100);
    addNumbered(100);
    EXPECT_FALSE(shownRows()->isVisible());
    add(QStringLiteral("one more"));
    // Numbered by the rows in the table, which are no more now.
    view->updateView();
    EXPECT_TRUE(shownRows()->isVisible());
    EXPECT_EQ(shownRows()->text(), QStringLiteral("Only the last 100 rows can be shown"));
    EXPECT_EQ(ViewFixture::label("countLabel"), QStringLiteral("101"));
    EXPECT_EQ(view->table()->verticalHeader()->count(), 100);
    view->messageViewClearClicked();
    EXPECT_FALSE(shownRows()->isVisible());
}

TEST_F(StatusLabelsTest, NeitherModelShowsMoreRowsThanHeightsAddUpTo)
{
    open();
    EXPECT_EQ(view->fullModel()->maximumShownRows(), RowHeightFitter::maximumRows);
    EXPECT_EQ(view->filteredModel()->maximumShownRows(), RowHeightFitter::maximumRows);
}

TEST_F(StatusLabelsTest, TheNewestRowsCanBeSeenAsTheyCome)
{
    open(nullptr, true);
    view->fullModel()->setMaximumShownRows(100);
    view->setAutoScroll(true);
    const int messageColumn = columnOf("LogMessage");
    for (int round = 0; round < 5; ++round) {
        std::vector<std::shared_ptr<LogMessage>> rows;
        for (int i = 0; i < 60; ++i)
            rows.push_back(message(round * 60 + i, QStringLiteral("%1").arg(round * 60 + i)));
        view->fullModel()->addMessages(rows);
        view->updateView();
        const int last = view->table()->rowAt(view->table()->viewport()->height() - 1);
        ASSERT_GE(last, 0);
        EXPECT_EQ(view->fullModel()->cellText(last, messageColumn),
                  QString::number(round * 60 + 59));
    }
}

TEST_F(StatusLabelsTest, TheClipboardGetsAllMessages)
{
    open(nullptr, true);
    view->fullModel()->setMaximumShownRows(100);
    addNumbered(100);
    view->fullModel()->addMessages(
        std::vector<std::shared_ptr<LogMessage>>(50, message(1, QStringLiteral("later"))));
    view->updateView();
    view->messageViewClipboardClicked();
    const QStringList lines = QApplication::clipboard()->text().trimmed().split(QLatin1Char('\n'));
    ASSERT_EQ(lines.size(), 150);
    EXPECT_TRUE(lines.first().contains(QStringLiteral("text 0")));
    EXPECT_TRUE(lines.last().contains(QStringLiteral("later")));
}

TEST_F(StatusLabelsTest, ALowerLimitLooksAtAllMessages)
{
    open(nullptr, true);
    view->fullModel()->setMaximumShownRows(10);
    view->fullModel()->addMessages(
        std::vector<std::shared_ptr<LogMessage>>(50, message(1, QStringLiteral("text"))));
    BoxAnswerer box(QMessageBox::Cancel);
    view->setMaximumMessages(20);
    ASSERT_EQ(box.seen.size(), 1U);
    EXPECT_TRUE(box.seen.front().text.contains(QStringLiteral("(50)")));
    EXPECT_EQ(view->fullModel()->messageCount(), 50);
}

TEST_F(StatusLabelsTest, ATimeReferenceCanBeSetInARowThatTheFullTableDoesNotShow)
{
    ViewSettings::instance().timeDisplay = false;
    open(nullptr, true);
    store->setTimeDisplayMode(1);
    for (int i = 0; i < 150; ++i)
        view->fullModel()->addMessage(
            message(i + 1, i < 20 ? QStringLiteral("early") : QStringLiteral("late")));
    view->fullModel()->setMaximumShownRows(100);
    store->setFilter({QStringLiteral("early")}, {}, {}, false, false);
    view->enableFilter(Qt::Checked);
    ASSERT_EQ(view->shownModel(), view->filteredModel());
    view->table()->setCurrentIndex(view->filteredModel()->index(7, 0));
    view->setReferenceTimeClicked();
    EXPECT_EQ(view->fullModel()->references(), QList<int>{7});
    view->setReferenceTimeClicked();
    EXPECT_EQ(view->fullModel()->references(), QList<int>());
}

} // namespace
} // namespace zuLogging::test
