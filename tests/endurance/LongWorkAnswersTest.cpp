// How soon the window answers while it sorts, filters, searches, copies, saves, loads and truncates
// many rows.

#include "logging/LogMessage.h"
#include "tests/endurance/AnswerWatch.h"
#include "tests/view/ViewTestSupport.h"
#include "view/FilterDialog.h"
#include "view/WorkProgress.h"

#include <QElapsedTimer>
#include <QHeaderView>
#include <QTemporaryDir>

#include <cstdlib>
#include <iostream>
#include <random>

namespace zuLogging::test {
namespace {

/// 200,000 rows, or as many as LOGDESK_LONG_WORK_ROWS says.
int rowCount()
{
    const char* const asked = std::getenv("LOGDESK_LONG_WORK_ROWS");
    const int number = asked ? std::atoi(asked) : 0;
    return number > 0 ? number : 200000;
}

class LongWorkAnswers : public ViewFixture
{
protected:
    void fill(int count)
    {
        std::mt19937 random(3);
        std::vector<std::shared_ptr<LogMessage>> messages;
        for (int i = 0; i < count; ++i) {
            const auto id = static_cast<std::uint64_t>(i) + 1;
            const QString text = QStringLiteral("request %1 of user %2 took a moment")
                                     .arg(random())
                                     .arg(random() % 99);
            messages.push_back(std::make_shared<LogMessage>(
                id, id, id, firstTime + id, 1U << random() % 6, QStringLiteral("main.cpp:1"),
                QStringLiteral("module %1").arg(random() % 20), QStringLiteral("group"), text, 7U,
                8U));
            messages.back()->renderTimestamp();
            if (messages.size() == 10000 || i + 1 == count) {
                view->fullModel()->addMessages(messages);
                messages.clear();
            }
        }
        view->updateView();
    }
    void measure(const char* what, const std::function<void()>& work)
    {
        QCoreApplication::processEvents();
        QElapsedTimer clock;
        clock.start();
        double longest = 0;
        {
            AnswerWatch watch;
            work();
            longest = watch.longest().count();
        }
        std::cout << "    " << what << ": " << clock.elapsed() << " ms, longest until an answer "
                  << longest << " ms" << std::endl;
        EXPECT_LT(longest, toleratedMs) << what;
    }

    /// Other programs may take the processor away; without them it is a tenth of this.
    static constexpr double toleratedMs = 1000;
};

TEST_F(LongWorkAnswers, SortFilterSaveAndLoadLetTheWindowAnswer)
{
    const int rows = rowCount();
    open(nullptr, true);
    fill(rows);
    QHeaderView* header = view->table()->horizontalHeader();
    const int text = columnOf("LogMessage");
    measure("sort by text", [&] { header->setSortIndicator(text, Qt::AscendingOrder); });
    measure("the other way", [&] { header->setSortIndicator(text, Qt::DescendingOrder); });
    measure("sort by module",
            [&] { header->setSortIndicator(columnOf("Module"), Qt::AscendingOrder); });
    measure("sort by number", [&] { header->setSortIndicator(0, Qt::DescendingOrder); });
    const auto nowhere = [&] {
        BoxAnswerer user;
        view->search(QStringLiteral("is nowhere"), true);
        EXPECT_EQ(user.seen.size(), 1U);
    };
    measure("find-next without a match", nowhere);
    measure("copy all", [&] { view->messageViewClipboardClicked(); });
    measure("select all", [&] {
        view->table()->selectAll();
        QApplication::processEvents();
    });
    measure("copy the selection", [&] { view->selectionClipboardClicked(); });
    view->table()->clearSelection();
    measure("filter, a tenth passes, and sort", [&] {
        view->filterDialog()->filterText()->setText(QStringLiteral("user 1"));
        view->filterDialog()->addIncludeFilter();
        view->filterDialog()->accept();
    });
    measure("filter, nearly all pass, and sort", [&] {
        view->filterDialog()->clearSignal();
        view->filterDialog()->filterText()->setText(QStringLiteral("user 1"));
        view->filterDialog()->addExcludeFilter();
        view->filterDialog()->accept();
    });
    store->setTimeDisplayMode(1);
    const int middle = view->filteredModel()->rowCount() / 2;
    view->table()->setCurrentIndex(view->filteredModel()->index(middle, 0));
    measure("time reference, filtered and sorted", [&] { view->setReferenceTimeClicked(); });
    const auto marked = view->filteredModel()->messageAt(view->filteredModel()->storedRow(middle));
    EXPECT_EQ(view->fullModel()->messageAt(view->fullModel()->references().last()), marked);
    measure("filter off", [&] {
        view->filterDialog()->clearSignal();
        view->filterDialog()->accept();
    });
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("log.json"));
    measure("save as JSON", [&] { withFile(path, [&] { view->saveLogMessagesToJSONClicked(); }); });
    measure("clear", [&] { view->messageViewClearClicked(); });
    measure("load from JSON", [&] { withFile(path, [&] { view->loadLogMessagesFromJSON(); }); });
    EXPECT_EQ(view->fullModel()->messageCount(), rows);
    measure("truncate", [&] {
        BoxAnswerer user;
        view->setMaximumMessages(rows / 100);
    });
    EXPECT_EQ(view->fullModel()->messageCount(), rows / 100);
    std::cout << "    rows: " << rows << std::endl;
}

} // namespace
} // namespace zuLogging::test
