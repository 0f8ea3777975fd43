// What the window's commands do to rows while messages come and the oldest leave: between two
// refreshes a row number of the table is not that of the model.

#include "tests/store/StoreTestSupport.h"
#include "tests/view/ViewTestSupport.h"
#include "view/FilterDialog.h"

#include <QClipboard>
#include <QFile>
#include <QTemporaryDir>

#include <atomic>
#include <cstdint>
#include <thread>

namespace zuLogging::test {
namespace {

class LiveRows : public ViewFixture
{
protected:
    void TearDown() override
    {
        store->stopLogging();
        EXPECT_TRUE(waitFor([this] { return !store->isActive(); }));
        ViewFixture::TearDown();
    }

    void openLogging()
    {
        open(std::make_shared<QuietStore>(), true);
        view->startLoggingClicked();
        ASSERT_TRUE(store->isActive());
    }
    /// What the store does at the limit; the views are not told yet.
    void twoLeaveAndTwoCome()
    {
        view->fullModel()->removeOldest(2);
        add("new");
        add("newer");
    }
    QString currentText() const
    {
        const QModelIndex current = view->table()->currentIndex();
        return current.sibling(current.row(), columnOf("LogMessage")).data().toString();
    }
};

class LiveRowsBetweenRefreshes : public LiveRows
{
protected:
    void SetUp() override
    {
        LiveRows::SetUp();
        openLogging();
        addNumbered(10);
        view->updateView();
        view->table()->setCurrentIndex(view->shownModel()->index(5, columnOf("LogMessage")));
        twoLeaveAndTwoCome();
    }
};

TEST_F(LiveRowsBetweenRefreshes, WhatIsCopiedIsWhatIsSelected)
{
    view->selectionClipboardClicked();
    EXPECT_EQ(QApplication::clipboard()->text(), QStringLiteral("text 5"));
    EXPECT_EQ(currentText(), QStringLiteral("text 5"));
}

TEST_F(LiveRowsBetweenRefreshes, TheFilterBeginsWithTheCurrentCell)
{
    view->filterSelection();
    EXPECT_EQ(view->filterDialog()->filterText()->text(), QStringLiteral("text 5"));
}

TEST_F(LiveRowsBetweenRefreshes, TheReferenceIsTheCurrentMessage)
{
    store->setTimeDisplayMode(1);
    view->setReferenceTimeClicked();
    const QList<int> references = view->fullModel()->references();
    ASSERT_EQ(references.size(), 1);
    EXPECT_EQ(view->fullModel()->cellText(references.first(), columnOf("LogMessage")),
              QStringLiteral("text 5"));
    EXPECT_EQ(currentText(), QStringLiteral("text 5"));
}

TEST_F(LiveRows, ASearchGoesOnFromTheCurrentMessage)
{
    openLogging();
    for (const char* text : {"a", "b", "hit 1", "hit 2", "c", "d", "hit 3"})
        add(text);
    view->updateView();
    view->search("hit", true, Qt::CaseInsensitive);
    EXPECT_EQ(currentText(), QStringLiteral("hit 1"));
    twoLeaveAndTwoCome();
    view->search("hit", true, Qt::CaseInsensitive);
    EXPECT_EQ(currentText(), QStringLiteral("hit 2"));
}

TEST_F(LiveRows, AReferenceInAFilteredTableIsFoundAlsoWhenThatHasRowsTheFullOneHasLost)
{
    ViewSettings::instance().maximumLogMessages = 5;
    openLogging();
    store->setTimeDisplayMode(1);
    store->setFilter({"yes"}, {}, {}, false, false);
    // Numbers that are none of a signed 32-bit one: these rows stay in the filtered table.
    for (std::uint64_t number = 0; number < 12; ++number) {
        store->addMessage(decoded(0x80000000U + number, u"yes"));
        ASSERT_TRUE(waitFor([this] { return store->queueSize() == 0; }));
    }
    ASSERT_TRUE(waitFor([this] {
        return view->fullModel()->rowCount() == 5 && view->filteredModel()->rowCount() == 12;
    }));
    view->stopLoggingClicked();
    ASSERT_TRUE(waitFor([this] { return startEnabled(); }));
    view->enableFilter(Qt::Checked);
    view->table()->setCurrentIndex(view->filteredModel()->index(11, 0));
    view->setReferenceTimeClicked();
    EXPECT_EQ(view->fullModel()->references(), QList<int>{4});
}

/// A table at its limit into which messages come without rest, each with its number as its text.
class LiveRowsAtTheLimit : public LiveRows
{
protected:
    static constexpr int limit = 20000;

    void SetUp() override
    {
        LiveRows::SetUp();
        ViewSettings::instance().maximumLogMessages = limit;
        ViewSettings::instance().setColumnLayout({FieldServiceMsgID, FieldLogMessage});
        openLogging();
        feeder_ = std::thread([this] {
            for (std::uint64_t number = 1; !over_; ++number) {
                store->addMessage(decoded(number, QString::number(number).toStdU16String()));
                // No more than a few batches ahead of the table.
                while (!over_ && store->queueSize() > 2000)
                    std::this_thread::yield();
            }
        });
        ASSERT_TRUE(waitFor([this] { return view->fullModel()->messageCount() == limit; }));
    }
    void TearDown() override
    {
        over_ = true;
        feeder_.join();
        LiveRows::TearDown();
    }

    int numberAt(int row) const
    {
        return static_cast<int>(view->fullModel()->messageAt(row)->serviceMsgId());
    }
    /// Lines of "number TAB number", one behind the other, with all those that were there from
    /// begin to end.
    static void expectWhole(const QStringList& lines, int lastBefore, int firstAfter)
    {
        int mixed = 0;
        int jumps = 0;
        int previous = 0;
        for (const QString& line : lines) {
            const int number = line.section('\t', 0, 0).toInt();
            mixed += line.section('\t', 1, 1).toInt() == number ? 0 : 1;
            jumps += previous == 0 || number == previous + 1 ? 0 : 1;
            previous = number;
        }
        EXPECT_EQ(mixed, 0);
        EXPECT_EQ(jumps, 0);
        EXPECT_EQ(lines.size(), limit);
        EXPECT_GE(lines.last().section('\t', 0, 0).toInt(), lastBefore);
        EXPECT_LE(lines.first().section('\t', 0, 0).toInt(), firstAfter);
    }

private:
    std::atomic<bool> over_{false};
    std::thread feeder_;
};

TEST_F(LiveRowsAtTheLimit, EachLineOfACopyIsOneMessageAndNoneIsSkipped)
{
    for (int round = 0; round < 20; ++round) {
        const int lastBefore = numberAt(limit - 1);
        view->messageViewClipboardClicked();
        const int firstAfter = numberAt(0);
        expectWhole(QApplication::clipboard()->text().split('\n', Qt::SkipEmptyParts), lastBefore,
                    firstAfter);
    }
}

TEST_F(LiveRowsAtTheLimit, EachLineOfACopiedSelectionIsOneMessageAndNoneIsSkipped)
{
    for (int round = 0; round < 20; ++round) {
        view->updateView();
        view->table()->selectAll();
        view->selectionClipboardClicked();
        // What left since is not selected any more.
        const QStringList lines = QApplication::clipboard()->text().split('\n', Qt::SkipEmptyParts);
        int mixed = 0;
        int jumps = 0;
        for (int i = 0; i < lines.size(); ++i) {
            const int number = lines[i].section('\t', 0, 0).toInt();
            mixed += lines[i].section('\t', 1, 1).toInt() == number ? 0 : 1;
            jumps += i == 0 || number == lines[i - 1].section('\t', 0, 0).toInt() + 1 ? 0 : 1;
        }
        EXPECT_EQ(mixed, 0);
        EXPECT_EQ(jumps, 0);
    }
}

TEST_F(LiveRowsAtTheLimit, EachLineOfASavedTextIsOneMessageAndNoneIsSkipped)
{
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("log.txt"));
    for (int round = 0; round < 5; ++round) {
        QFile::remove(path);
        const int lastBefore = numberAt(limit - 1);
        withFile(path, [&] { view->messageViewSaveClicked(); });
        const int firstAfter = numberAt(0);
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::ReadOnly | QIODevice::Text));
        QStringList lines;
        for (const QString& line :
             QString::fromUtf8(file.readAll()).split('\n', Qt::SkipEmptyParts))
            if (line.contains('\t'))
                lines.append(line);
        expectWhole(lines, lastBefore, firstAfter);
    }
}

} // namespace
} // namespace zuLogging::test
