// The window closed in the middle of work on many rows or a large file: the program ends, and what
// the work was to change or to write is as it was before.

#include "logging/WorkControl.h"
#include "store/LogTableModel.h"
#include "tests/app/AppFixture.h"
#include "tests/app/FileChooser.h"
#include "tests/app/ProgramLoop.h"
#include "tests/endurance/ProcessUse.h"
#include "view/FilterDialog.h"
#include "view/LogTableView.h"

#include <QClipboard>
#include <QHeaderView>
#include <QLineEdit>
#include <QTemporaryDir>

#include <atomic>
#include <chrono>
#include <thread>

namespace zuLogging::test {
namespace {

class WindowClosedDuringLongWork;
using Begin = void (*)(WindowClosedDuringLongWork&);

/// What it is, and how a person begins it.
struct LongWork
{
    const char* name;
    Begin begin;
};

void PrintTo(const LongWork& work, std::ostream* out)
{
    *out << work.name;
}

class WindowClosedDuringLongWork : public AppFixture, public testing::WithParamInterface<LongWork>
{
public:
    using AppFixture::holder;

    LogMessageView& view() { return *holder->messageView(); }
    QString path(const char* name) const { return directory.filePath(QLatin1String(name)); }
    QByteArray write(const char* name, const QByteArray& text) const
    {
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
        return text;
    }
    QByteArray contents(const char* name) const
    {
        QFile file(path(name));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("not there");
    }

    QTemporaryDir directory;

protected:
    void SetUp() override
    {
        AppFixture::SetUp();
        openWindow();
        std::vector<std::shared_ptr<LogMessage>> messages;
        for (std::uint64_t id = 1; id <= 3000; ++id)
            messages.push_back(std::make_shared<LogMessage>(
                id, id, id, id, 8U, std::u16string_view(), std::u16string_view(u"module"),
                std::u16string_view(), std::u16string_view(id % 2 == 0 ? u"even" : u"odd"), 0U,
                0U));
        view().fullModel()->addMessages(messages);
        view().updateView();
        WorkProgress::Limits& limits = view().progress()->limits();
        limits.rows = 0;
        limits.bytes = 0;
        limits.silentMs = 0;
        limits.shownAfterMs = 0;
        limits.roundMs = 1;
    }

    /// Begins the work, closes the window at the work's first report, and lives on to the end of
    /// the program's event loop. True if the work was under way when the window was closed.
    bool closeAmid(const LongWork& work)
    {
        std::atomic<bool> isUnderWay{false};
        std::atomic<bool> goesOn{false};
        // Also where nobody may cancel: until the window was closed.
        view().progress()->setAtReport([&](WorkControl&) {
            isUnderWay = true;
            waitFor([&] { return goesOn.load(); });
        });
        bool wasUnderWay = false;
        QTimer looks;
        QObject::connect(&looks, &QTimer::timeout, &looks, [&] {
            if (!isUnderWay || wasUnderWay)
                return;
            wasUnderWay = true;
            EXPECT_TRUE(view().progress()->isRunning());
            holder->close();
            goesOn = true;
        });
        looks.start(1);
        QTimer::singleShot(0, holder.get(), [this, &work] { work.begin(*this); });
        EXPECT_TRUE(runUntilTheLastWindowCloses(60000, [&] { goesOn = true; }))
            << "the window did not close";
        return wasUnderWay;
    }
};

const LongWork works[] = {
    {"Sort",
     [](WindowClosedDuringLongWork& t) {
         t.view().table()->horizontalHeader()->setSortIndicator(11, Qt::AscendingOrder);
     }},
    {"Filter",
     [](WindowClosedDuringLongWork& t) {
         t.view().filterDialog()->filterText()->setText(QStringLiteral("odd"));
         t.view().filterDialog()->addIncludeFilter();
         t.view().filterDialog()->accept();
     }},
    {"Copy", [](WindowClosedDuringLongWork& t) { t.view().messageViewClipboardClicked(); }},
    {"Load", [](WindowClosedDuringLongWork& t) { t.view().openLogFiles({t.path("log.json")}); }},
    {"SaveAsJson",
     [](WindowClosedDuringLongWork& t) {
         chooseNext(t.holder.get(), t.path("kept.json"));
         t.view().saveLogMessagesToJSONClicked();
     }},
    {"SaveAsText",
     [](WindowClosedDuringLongWork& t) {
         chooseNext(t.holder.get(), t.path("kept.txt"));
         t.view().messageViewSaveClicked();
     }},
};

INSTANTIATE_TEST_SUITE_P(LongWorks, WindowClosedDuringLongWork, testing::ValuesIn(works),
                         [](const auto& work) { return work.param.name; });

TEST_P(WindowClosedDuringLongWork, TheProgramEndsAndNothingIsHalfDone)
{
    write("log.json", "[" + QByteArray("{\"LogMessage\":\"loaded\"},").repeated(2000) + "{}]");
    write("kept.json", "what was there");
    write("kept.txt", "what was there");
    QApplication::clipboard()->setText(QStringLiteral("what was there"));
    const int threads = useOf(QCoreApplication::applicationPid()).threads;

    ASSERT_TRUE(closeAmid(GetParam()));
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
    EXPECT_EQ(view().fullModel()->messageCount(), 3000);
    EXPECT_EQ(view().filteredModel()->messageCount(), 0);
    EXPECT_EQ(view().fullModel()->sortColumn(), 0);
    EXPECT_EQ(QApplication::clipboard()->text(), QStringLiteral("what was there"));
    EXPECT_EQ(contents("kept.json"), "what was there");
    EXPECT_EQ(contents("kept.txt"), "what was there");

    holder->shutDown();
    holder.reset();
    EXPECT_TRUE(QFile::exists(ViewSettings::filePath()));
    EXPECT_TRUE(
        waitFor([&] { return useOf(QCoreApplication::applicationPid()).threads <= threads; }));
}

} // namespace
} // namespace zuLogging::test
