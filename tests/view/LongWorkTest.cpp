// Long work of the view: it is shown, it can be cancelled with the old state whole, nothing else
// can be started meanwhile, and its results are those of work that nobody sees.

#include "logging/WorkControl.h"
#include "store/MessageFilter.h"
#include "tests/view/ViewTestSupport.h"
#include "view/FilterDialog.h"
#include "view/FindDialog.h"
#include "view/WorkProgress.h"

#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QDir>
#include <QHeaderView>
#include <QLayout>
#include <QLineEdit>
#include <QListWidget>
#include <QProgressBar>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QtTest/QTest>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <random>
#include <thread>

namespace zuLogging::test {
namespace {

/// Stops the working thread at each of its reports until the window's thread lets it go on.
class Gate
{
public:
    /// The working thread's. Work that is cancelled does not wait.
    void pass(const WorkControl& control)
    {
        std::unique_lock<std::mutex> lock(mutex_);
        if (open_)
            return;
        waiting_ = true;
        while (waiting_ && !open_ && control.canBeCancelled())
            changed_.wait_for(lock, std::chrono::milliseconds(2));
    }
    bool isReached() const
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        return waiting_;
    }
    void letPass()
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        waiting_ = false;
        changed_.notify_all();
    }
    void open()
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        open_ = true;
        waiting_ = false;
        changed_.notify_all();
    }

private:
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    bool waiting_ = false;
    bool open_ = false;
};

/// A store whose messages come from the test instead of a service.
class ServicelessStore final : public LogContainer
{
protected:
    std::shared_ptr<LogMessageListener> makeListener(bool) override { return {}; }
};

class LongWorkView : public ViewAndFilesFixture
{
protected:
    void SetUp() override
    {
        ViewAndFilesFixture::SetUp();
        QApplication::clipboard()->setText(QStringLiteral("old clipboard"));
    }

    /// A view with messages; `everythingIsLong`: work on a thread of its own, shown at once.
    void openFilled(bool everythingIsLong, int count = 3000)
    {
        open(nullptr, true);
        random.seed(11);
        std::vector<std::shared_ptr<LogMessage>> messages;
        for (int i = 0; i < count; ++i)
            messages.push_back(message(i + 1, QStringLiteral("text %1").arg(random() % 700),
                                       i % 3 == 0 ? LogLevel::Warn : LogLevel::Info));
        view->fullModel()->addMessages(messages);
        view->updateView();
        if (everythingIsLong)
            makeEverythingLong();
    }
    void makeEverythingLong()
    {
        WorkProgress::Limits& limits = view->progress()->limits();
        limits.rows = 0;
        limits.bytes = 0;
        limits.silentMs = 0;
        limits.shownAfterMs = 0;
        limits.roundMs = 1;
    }

    /// Runs `act` from the window's event loop when the work that the status bar calls `what` is at
    /// its report number `report`, from 0 on; the work waits meanwhile.
    void atReport(const char* what, int report, std::function<void()> act)
    {
        const auto gate = std::make_shared<Gate>();
        view->progress()->setAtReport([gate](WorkControl& control) { gate->pass(control); });
        acted = false;
        actor_ = std::make_unique<QTimer>();
        QObject::connect(actor_.get(), &QTimer::timeout,
                         [=, left = report, act = std::move(act)]() mutable {
                             if (!gate->isReached())
                                 return;
                             if (!status().startsWith(QLatin1String(what)) || left-- > 0) {
                                 gate->letPass();
                                 return;
                             }
                             acted = true;
                             const auto action = std::move(act);
                             actor_->stop();
                             action();
                             gate->open();
                         });
        actor_->start(1);
        gate_ = gate;
    }
    void noGate()
    {
        actor_.reset();
        if (view)
            view->progress()->setAtReport({});
    }
    void pressEscape()
    {
        QApplication::setActiveWindow(window.get());
        QTest::keyClick(window.get(), Qt::Key_Escape);
    }
    bool acted = false;

    QHeaderView* header() const { return view->table()->horizontalHeader(); }
    QWidget* box() const { return window->statusBar()->findChild<QWidget*>("workBox"); }
    QProgressBar* bar() const { return window->statusBar()->findChild<QProgressBar*>("workBar"); }
    QToolButton* cancelButton() const
    {
        return window->statusBar()->findChild<QToolButton*>("workCancelButton");
    }
    static QByteArray content(const QString& path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("not there");
    }

    /// Everything that a person sees or finds on the disk, but for the status bar's text.
    QStringList state() const
    {
        QStringList all;
        const LogTableModel& shown = *view->shownModel();
        for (int row = 0; row < shown.rowCount(); ++row)
            all << shown.cellText(row, 0) + QLatin1Char(' ') + shown.cellText(row, 11);
        all << QStringLiteral("full %1").arg(view->fullModel()->messageCount());
        all << QStringLiteral("filtered %1").arg(view->filteredModel()->messageCount());
        all << (&shown == view->fullModel() ? "full shown" : "filtered shown");
        all << QStringLiteral("mark %1 %2")
                   .arg(header()->sortIndicatorSection())
                   .arg(header()->sortIndicatorOrder());
        if (comparesCurrentCell) {
            const QModelIndex current = view->table()->currentIndex();
            all << QStringLiteral("current %1 %2").arg(current.row()).arg(current.column());
        }
        all << QStringLiteral("box %1").arg(filterBox()->isChecked());
        all << QStringLiteral("labels %1 %2").arg(label("countLabel"), label("filteredLabel"));
        const MessageFilter& filter = store->filter();
        all << filter.include << QStringLiteral("|") << filter.levels << QStringLiteral("|")
            << filter.exclude << QString::number(filter.includeCase);
        const FilterDialog& dialog = *view->filterDialog();
        for (const char* name : {"includeList", "excludeList"})
            if (const auto* list = dialog.findChild<QListWidget*>(QLatin1String(name)))
                for (int i = 0; i < list->count(); ++i)
                    all << QLatin1String(name) + list->item(i)->text();
        const auto boxes = dialog.findChildren<QCheckBox*>();
        for (const QCheckBox* box : boxes)
            all << QStringLiteral("%1 %2").arg(box->text()).arg(box->isChecked());
        const ViewSettings& settings = ViewSettings::instance();
        all << settings.filterInclude << settings.levelFilterInclude << settings.filterExclude
            << QString::number(settings.filterEnabled);
        for (int i = 0; i < files()->count(); ++i)
            all << QStringLiteral("file ") + QFileInfo(files()->itemText(i)).fileName();
        all << QStringLiteral("resize %1").arg(view->resizeRows());
        const QDir folder(directory.path());
        const auto names = folder.entryList(QDir::Files | QDir::Hidden, QDir::Name);
        for (const QString& name : names)
            all << name + QString::fromUtf8(content(folder.filePath(name)));
        all << QApplication::clipboard()->text();
        return all;
    }

    std::mt19937 random;
    bool comparesCurrentCell = false; ///< elsewhere the focus may give the table one

private:
    std::unique_ptr<QTimer> actor_;
    std::shared_ptr<Gate> gate_;
};

/// One kind of work: how it begins and what the status bar says.
struct Kind
{
    const char* name;
    const char* text; ///< before the figure
    const char* cancelled;
};

void PrintTo(const Kind& kind, std::ostream* out)
{
    *out << kind.name;
}

class EachLongWork : public LongWorkView, public testing::WithParamInterface<Kind>
{
protected:
    bool is(const char* name) const { return std::string(GetParam().name) == name; }

    void prepare()
    {
        QByteArray lines;
        for (int i = 0; i < 3000; ++i)
            lines += "line " + QByteArray::number(i * 7919 % 3000) + '\n';
        write("lines.log", lines);
        LogTableModel model(store);
        model.addMessages({message(5001, QStringLiteral("loaded text 1")),
                           message(5002, QStringLiteral("loaded too"))});
        EXPECT_TRUE(model.saveToJson(path("two.json")));
        write("saved.json", "the old file");
        write("saved.log", "the old text\n");
        QFile::remove(path("new.log"));
        // A filter is in force, and the rows shown are sorted.
        view->filterDialog()->filterText()->setText(QStringLiteral("text 1"));
        view->filterDialog()->addIncludeFilter();
        view->filterDialog()->accept();
        header()->setSortIndicator(11, Qt::DescendingOrder);
        if (is("filterBoxOn")) {
            filterBox()->click();
            header()->setSortIndicator(7, Qt::AscendingOrder);
        }
        if (is("copySelection")) {
            filterBox()->click();
            select(0, 2500, 0, 3);
            select(2700, 2800, 5, 11);
        }
        if (is("find")) { // what sorts behind all others
            comparesCurrentCell = true;
            view->fullModel()->addMessage(message(4001, QStringLiteral("a needle")));
            filterBox()->click();
        }
    }
    void begin()
    {
        if (is("sort")) {
            header()->setSortIndicator(3, Qt::AscendingOrder);
        } else if (is("sortOtherWay")) {
            header()->setSortIndicator(11, Qt::AscendingOrder);
        } else if (is("filter")) {
            view->filterDialog()->filterText()->setText(QStringLiteral("text 2"));
            view->filterDialog()->addIncludeFilter();
            const auto levels = view->filterDialog()->findChildren<QCheckBox*>();
            for (QCheckBox* level : levels)
                if (level->text() == QStringLiteral("Warning (warn)"))
                    level->setChecked(true);
            view->filterDialog()->accept();
        } else if (is("filterBoxOn") || is("filterBoxOff")) {
            filterBox()->click();
        } else if (is("open")) {
            view->openLogFiles({path("lines.log")});
        } else if (is("load")) {
            withFile(path("two.json"), [this] { view->loadLogMessagesFromJSON(); });
        } else if (is("save")) {
            withFile(path("saved.json"), [this] { view->saveLogMessagesToJSONClicked(); });
        } else if (is("saveText")) {
            withFile(path("saved.log"), [this] { view->messageViewSaveClicked(); });
        } else if (is("saveNewText")) {
            withFile(path("new.log"), [this] { view->messageViewSaveClicked(); });
        } else if (is("copy")) {
            view->messageViewClipboardClicked();
        } else if (is("copySelection")) {
            view->selectionClipboardClicked();
        } else if (is("find")) {
            view->search(QStringLiteral("a needle"), true);
        }
    }
    void select(int top, int bottom, int left, int right)
    {
        const LogTableModel& shown = *view->shownModel();
        view->table()->selectionModel()->select(
            QItemSelection(shown.index(top, left), shown.index(bottom, right)),
            QItemSelectionModel::Select);
    }
    void openAgain()
    {
        noGate();
        view = nullptr;
        window.reset();
        ViewSettings::instance().reset();
        QFile::remove(ViewSettings::filePath());
        QApplication::clipboard()->setText(QStringLiteral("old clipboard"));
    }
    void act(int report, std::function<void()> what)
    {
        atReport(GetParam().text, report, std::move(what));
    }
};

INSTANTIATE_TEST_SUITE_P(
    Of, EachLongWork,
    testing::Values(Kind{"sort", "Sorting: ", "Sorting was cancelled"},
                    Kind{"sortOtherWay", "Sorting: ", "Sorting was cancelled"},
                    Kind{"filter", "Filtering: ", "Filtering was cancelled"},
                    Kind{"filterBoxOn", "Sorting: ", "Sorting was cancelled"},
                    Kind{"filterBoxOff", "Sorting: ", "Sorting was cancelled"},
                    Kind{"open", "Loading lines.log: ", "Loading was cancelled"},
                    Kind{"load", "Loading two.json: ", "Loading was cancelled"},
                    Kind{"save", "Saving saved.json: ", "Saving was cancelled"},
                    Kind{"saveText", "Saving saved.log: ", "Saving was cancelled"},
                    Kind{"saveNewText", "Saving new.log: ", "Saving was cancelled"},
                    Kind{"copy", "Copying: ", "Copying was cancelled"},
                    Kind{"copySelection", "Copying: ", "Copying was cancelled"},
                    Kind{"find", "Searching: ", "Searching was cancelled"}),
    [](const auto& kind) { return std::string(kind.param.name); });

TEST_P(EachLongWork, GivesWhatItGivesWhenNobodySeesIt)
{
    openFilled(false);
    prepare();
    begin();
    const QStringList expected = state();
    const QString endStatus = status();
    EXPECT_EQ(view->progress()->rounds(), 0);

    openAgain();
    openFilled(true);
    prepare();
    QSignalSpy shown(view->progress(), &WorkProgress::shown);
    begin();
    EXPECT_EQ(state(), expected);
    EXPECT_EQ(status(), endStatus);
    EXPECT_GE(shown.count(), 1);
    EXPECT_FALSE(view->progress()->isRunning());
}

TEST_P(EachLongWork, IsShownWithHowFarItIsAndEverythingElseIsDisabledUntilItsEnd)
{
    openFilled(true);
    prepare();
    window->resizeRows.setEnabled(false);
    QAction own(QStringLiteral("own"), window.get());
    QAction disabled(QStringLiteral("disabled"), window.get());
    disabled.setEnabled(false);
    QAction toggle(QStringLiteral("switch"), window.get());
    toggle.setCheckable(true);
    QSignalSpy changes(&toggle, &QAction::changed);
    view->filterDialog()->show();
    view->table()->setFocus();
    const int height = window->statusBar()->height();
    const QSize size = view->size();
    act(0, [&] {
        EXPECT_TRUE(
            QRegularExpression(QStringLiteral("^%1\\d+ %$")
                                   .arg(QRegularExpression::escape(QLatin1String(GetParam().text))))
                .match(status())
                .hasMatch())
            << status().toStdString();
        EXPECT_TRUE(box()->isVisible());
        EXPECT_TRUE(cancelButton()->isVisible());
        EXPECT_TRUE(cancelButton()->isEnabled());
        EXPECT_FALSE(cancelButton()->accessibleName().isEmpty());
        EXPECT_FALSE(bar()->accessibleName().isEmpty());
        EXPECT_FALSE(view->isEnabled());
        EXPECT_FALSE(view->filterDialog()->isEnabled());
        EXPECT_FALSE(view->findDialog()->isEnabled());
        EXPECT_TRUE(window->isEnabled());
        EXPECT_FALSE(own.isEnabled());
        EXPECT_FALSE(toggle.isEnabled());
        EXPECT_NE(QApplication::overrideCursor(), nullptr);
        window->statusBar()->layout()->activate();
        QCoreApplication::sendPostedEvents();
        EXPECT_EQ(window->statusBar()->height(), height);
        EXPECT_EQ(view->size(), size);
    });
    begin();
    EXPECT_TRUE(acted);
    EXPECT_FALSE(box()->isVisible());
    EXPECT_TRUE(view->isEnabled());
    EXPECT_TRUE(startEnabled());
    EXPECT_FALSE(stopEnabled());
    EXPECT_TRUE(view->filterDialog()->isEnabled());
    EXPECT_TRUE(own.isEnabled());
    EXPECT_TRUE(toggle.isEnabled());
    EXPECT_FALSE(disabled.isEnabled());
    EXPECT_FALSE(window->resizeRows.isEnabled());
    EXPECT_TRUE(changes.isEmpty()); // the slots of a switch have nothing to do with it
    EXPECT_TRUE(view->table()->hasFocus() || !view->table()->isActiveWindow());
    window->resizeRows.setEnabled(true);
}

TEST_P(EachLongWork, CancelledAtAnyReportLeavesEverythingAsItWas)
{
    int cancelled = 0;
    for (int report = 0;; ++report) {
        openAgain();
        openFilled(true);
        prepare();
        const QStringList before = state();
        act(report, [&] {
            if (report % 2 == 0)
                pressEscape();
            else
                cancelButton()->click();
        });
        view->filterDialog()->filterText()->clear();
        begin();
        if (!acted)
            break;
        if (status() == QLatin1String(GetParam().cancelled)) {
            ASSERT_EQ(state(), before) << "at report " << report;
            ++cancelled;
        }
        ASSERT_FALSE(view->progress()->isRunning());
        ASSERT_TRUE(view->isEnabled());
        ASSERT_TRUE(store->holdRows().owns_lock());
        ASSERT_LT(report, 1000);
    }
    EXPECT_GE(cancelled, 1);
}

TEST_P(EachLongWork, NothingElseCanBeBegunMeanwhile)
{
    openFilled(false);
    prepare();
    begin();
    const QStringList expected = state();
    openAgain();
    openFilled(true);
    prepare();
    act(0, [this] {
        // As queued calls and assistive programs would; no box may open either.
        view->messageViewClearClicked();
        view->messageViewSaveClicked();
        view->messageViewClipboardClicked();
        view->saveLogMessagesToJSONClicked();
        view->selectionClipboardClicked();
        view->loadLogMessagesFromJSON();
        view->openLogFiles({path("two.json")}, true);
        view->startLoggingClicked();
        view->stopLoggingClicked();
        view->setFilter();
        view->enableFilter(Qt::Unchecked);
        view->enableFilter(Qt::Checked);
        view->sortColumn(5);
        view->search(QStringLiteral("text"), true);
        view->showContextMenu({});
        view->setReferenceTimeClicked();
        view->filterSelection();
        view->setMaximumMessages(5);
        view->setShownFields({1, 2});
        view->resetLayoutAndFilter();
        view->updateView(); // the timer's
        view->updateViewAfterStop();
    });
    begin();
    EXPECT_TRUE(acted);
    EXPECT_FALSE(store->isActive());
    waitFor([] { return true; });
    QStringList after = state();
    EXPECT_EQ(after, expected);
    EXPECT_TRUE(startEnabled());
}

TEST_P(EachLongWork, EndsWhenTheWindowGoes)
{
    for (const bool destroyed : {false, true}) {
        openAgain();
        openFilled(true);
        prepare();
        // A header goes on after it has told of its mark, and so must not be destroyed meanwhile.
        if (destroyed && (is("sort") || is("sortOtherWay")))
            continue;
        if (destroyed && (is("filterBoxOn") || is("filterBoxOff")))
            continue;
        act(0, [&] {
            if (destroyed) {
                view = nullptr;
                window.reset();
            } else {
                view->progress()->cancelAny(); // what the window does when it is closed
            }
        });
        if (destroyed && is("filter")) {
            // Accepting would go on in the dialog.
            view->filterDialog()->filterText()->setText(QStringLiteral("text 2"));
            view->filterDialog()->addIncludeFilter();
            view->setFilter();
        } else {
            begin();
        }
        EXPECT_TRUE(acted);
        EXPECT_EQ(view == nullptr, destroyed);
        EXPECT_EQ(content(path("saved.json")), "the old file");
        EXPECT_EQ(content(path("saved.log")), "the old text\n");
        EXPECT_EQ(QDir(directory.path()).entryList(QDir::Files | QDir::Hidden).size(), 4);
        EXPECT_TRUE(store->holdRows().owns_lock());
    }
}

TEST_F(LongWorkView, ShortWorkShowsNothingAndLetsNoEventIn)
{
    openFilled(false);
    QSignalSpy shown(view->progress(), &WorkProgress::shown);
    QSignalSpy ended(view->progress(), &WorkProgress::ended);
    header()->setSortIndicator(11, Qt::DescendingOrder);
    view->filterDialog()->filterText()->setText(QStringLiteral("text 1"));
    view->filterDialog()->addIncludeFilter();
    view->filterDialog()->accept();
    view->openLogFiles({write("a.log", "a line\n")});
    EXPECT_TRUE(shown.isEmpty());
    EXPECT_TRUE(ended.isEmpty()); // it needed no thread either
    EXPECT_EQ(view->progress()->rounds(), 0);

    // On a thread, but over before the window would have been let go on.
    view->progress()->limits().rows = 0;
    view->progress()->limits().silentMs = 60000;
    header()->setSortIndicator(11, Qt::AscendingOrder);
    EXPECT_EQ(ended.count(), 1);
    EXPECT_TRUE(shown.isEmpty());
    EXPECT_EQ(view->progress()->rounds(), 0);
}

TEST_F(LongWorkView, WhatIsPressedBeforeTheWorkShowsIsKeptForLater)
{
    openFilled(true);
    view->progress()->limits().shownAfterMs = 60000;
    QPushButton button(window.get());
    button.show();
    int presses = 0;
    QObject::connect(&button, &QPushButton::clicked, [&] { ++presses; });
    const auto gate = std::make_shared<Gate>();
    view->progress()->setAtReport([gate](WorkControl& control) { gate->pass(control); });
    int timeouts = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] {
        if (++timeouts == 1) {
            const QPoint middle = button.mapTo(window.get(), button.rect().center());
            QTest::mouseClick(window->windowHandle(), Qt::LeftButton, {}, middle);
        }
        if (timeouts == 20)
            gate->open();
    });
    timer.start(1);
    header()->setSortIndicator(11, Qt::DescendingOrder);
    EXPECT_GE(timeouts, 20);
    EXPECT_TRUE(window->isEnabled());
    timer.stop();
    // QTest delivers at once; what matters here is that the window was neither blocked nor
    // disabled.
    EXPECT_TRUE(view->isEnabled());
    noGate();
}

TEST_F(LongWorkView, TheWindowGoesOnPaintingHoweverLittleTheWorkGetsOn)
{
    openFilled(true);
    struct Paints : QObject
    {
        bool eventFilter(QObject*, QEvent* event) override
        {
            count += event->type() == QEvent::Paint ? 1 : 0;
            return false;
        }
        int count = 0;
    } paints;
    view->table()->viewport()->installEventFilter(&paints);
    const auto gate = std::make_shared<Gate>();
    view->progress()->setAtReport([gate](WorkControl& control) { gate->pass(control); });
    int asked = 0;
    QTimer timer;
    // At each of its reports the work waits until the table has been painted ten times.
    QObject::connect(&timer, &QTimer::timeout, [&] {
        if (!gate->isReached())
            return;
        view->table()->viewport()->update();
        if (paints.count >= 10 * (asked + 1)) {
            ++asked;
            gate->letPass();
        }
    });
    timer.start(1);
    header()->setSortIndicator(11, Qt::DescendingOrder);
    EXPECT_GE(asked, 4);
    EXPECT_GE(paints.count, 10 * asked);
    EXPECT_GE(view->progress()->rounds(), asked);
    view->table()->viewport()->removeEventFilter(&paints);
    noGate();
}

TEST_F(LongWorkView, AClickOnTheHeaderWhoseSortIsCancelledSortsNoSecondTime)
{
    openFilled(true);
    const QStringList before = state();
    const QPoint place(header()->sectionViewportPosition(3) + 5, header()->height() / 2);
    int works = 0;
    QObject::connect(view->progress(), &WorkProgress::shown, view, [&] { ++works; });
    atReport("Sorting: ", 1, [this] { pressEscape(); });
    QTest::mouseClick(header()->viewport(), Qt::LeftButton, {}, place);
    EXPECT_TRUE(acted);
    EXPECT_EQ(works, 1);
    EXPECT_EQ(state(), before);
    noGate();
    // And the next click sorts.
    EXPECT_TRUE(waitFor([] { return true; }));
    QCoreApplication::processEvents();
    QTest::mouseClick(header()->viewport(), Qt::LeftButton, {}, place);
    EXPECT_EQ(works, 2);
    EXPECT_EQ(header()->sortIndicatorSection(), 3);
    EXPECT_EQ(view->shownModel()->sortColumn(), 3);
}

TEST_F(LongWorkView, ASearchThatIsCancelledShowsNoBoxAndTheNextOneBeginsWhereItDid)
{
    openFilled(true);
    view->fullModel()->addMessage(message(4001, QStringLiteral("a needle")));
    view->updateView();
    const QModelIndex start = view->fullModel()->index(7, 2);
    view->table()->setCurrentIndex(start);
    BoxAnswerer user;
    for (const char* text : {"a needle", "is nowhere"}) {
        atReport("Searching: ", 1, [this] { pressEscape(); });
        view->search(QLatin1String(text), true);
        EXPECT_TRUE(acted);
        EXPECT_EQ(status(), QStringLiteral("Searching was cancelled"));
        EXPECT_EQ(view->table()->currentIndex(), start);
    }
    EXPECT_TRUE(user.seen.empty());
    noGate();
    view->search(QStringLiteral("a needle"), true);
    EXPECT_EQ(view->table()->currentIndex(), view->fullModel()->index(3000, 11));
    EXPECT_TRUE(user.seen.empty());
    view->search(QStringLiteral("is nowhere"), true);
    ASSERT_EQ(user.seen.size(), 1U);
    EXPECT_TRUE(user.seen[0].text.contains(QStringLiteral("is nowhere")));
}

TEST_F(LongWorkView, WhatIsFoundWhileMessagesComeAndGoIsTheCurrentCell)
{
    open(std::make_shared<ServicelessStore>(), true);
    constexpr int limit = 4000;
    view->setMaximumMessages(limit);
    view->startLoggingClicked();
    ASSERT_TRUE(store->isActive());
    makeEverythingLong();
    std::atomic<bool> over{false};
    std::thread feeder([&] {
        for (std::uint64_t sent = 1; !over; ++sent) {
            DecodedMessage fields;
            fields.serviceMsgId = sent;
            fields.timestamp = firstTime + sent;
            fields.logLevel = 8;
            fields.logMessage = sent % 500 == 0 ? u"a needle" : u"hay";
            store->addMessage(fields);
            if (sent % 64 == 0)
                std::this_thread::yield();
        }
    });
    EXPECT_TRUE(waitFor([&] { return view->fullModel()->messageCount() == limit; }));
    BoxAnswerer user;
    int found = 0;
    int wrong = 0;
    for (int round = 0; round < 200; ++round) {
        view->table()->setCurrentIndex(view->fullModel()->index(limit - 1, 0));
        view->search(QStringLiteral("a needle"), false);
        // Rows may have left: the current cell has moved with its message, or gone with it.
        const auto hold = store->holdRows();
        view->updateView();
        const QModelIndex current = view->table()->currentIndex();
        const bool isNeedle =
            view->fullModel()->cellText(current.row(), 11) == QStringLiteral("a needle");
        found += current.isValid() && isNeedle ? 1 : 0;
        wrong += current.isValid() && !isNeedle ? 1 : 0;
    }
    over = true;
    feeder.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_GE(found, 20);
    view->stopLoggingClicked();
    EXPECT_TRUE(waitFor([&] { return startEnabled(); }));
}

TEST_F(LongWorkView, TruncatingKeepsTheNewestAndOffersNoCancel)
{
    constexpr int count = 40000;
    constexpr int kept = 100;
    for (const bool sorted : {false, true}) {
        noGate();
        view = nullptr;
        window.reset();
        openFilled(true, count);
        view->filterDialog()->filterText()->setText(QStringLiteral("text 1"));
        view->filterDialog()->addIncludeFilter();
        view->filterDialog()->accept();
        if (sorted)
            header()->setSortIndicator(11, Qt::DescendingOrder);
        const auto newest = view->fullModel()->messagesFrom(count - kept, kept);
        BoxAnswerer user;
        atReport("Truncating: ", 1, [&] {
            EXPECT_LT(view->fullModel()->messageCount(), count);
            EXPECT_GT(view->fullModel()->messageCount(), kept);
            EXPECT_FALSE(cancelButton()->isVisible());
            pressEscape();
            view->progress()->cancel();
            view->table()->viewport()->repaint(); // with rows that are not there any more
        });
        view->setMaximumMessages(kept);
        EXPECT_TRUE(acted);
        EXPECT_EQ(user.seen.size(), 1U);
        EXPECT_EQ(view->fullModel()->messagesFrom(0, count), newest);
        std::vector<std::shared_ptr<LogMessage>> passing;
        for (const auto& message : newest)
            if (store->filter().passes(*message))
                passing.push_back(message);
        EXPECT_EQ(view->filteredModel()->messagesFrom(0, count), passing);
        EXPECT_EQ(label("countLabel"), QString::number(kept));
        EXPECT_EQ(store->ledger()->count(LogCount::Cleared),
                  static_cast<std::uint64_t>(count - kept));
    }
}

TEST_F(LongWorkView, TheSortBehindANewFilterOffersNoCancel)
{
    openFilled(true);
    header()->setSortIndicator(11, Qt::DescendingOrder);
    atReport("Sorting: ", 0, [this] {
        EXPECT_FALSE(cancelButton()->isVisible());
        pressEscape();
        view->progress()->cancel();
    });
    view->filterDialog()->filterText()->setText(QStringLiteral("text 1"));
    view->filterDialog()->addIncludeFilter();
    view->filterDialog()->accept();
    EXPECT_TRUE(acted);
    EXPECT_TRUE(filterBox()->isChecked());
    EXPECT_EQ(view->shownModel(), view->filteredModel());
    EXPECT_EQ(view->filteredModel()->sortColumn(), 11);
    EXPECT_EQ(view->filteredModel()->sortOrder(), Qt::DescendingOrder);
}

TEST_F(LongWorkView, AFilterThatNothingPassesLooksThroughTheMessagesOnce)
{
    openFilled(true);
    std::atomic<int> reports{0};
    view->progress()->setAtReport([&](WorkControl&) { ++reports; });
    const auto reportsOf = [&](const char* text) {
        reports = 0;
        view->filterDialog()->clearSignal();
        view->filterDialog()->filterText()->setText(QLatin1String(text));
        view->filterDialog()->addIncludeFilter();
        view->filterDialog()->accept();
        EXPECT_EQ(view->shownModel(), view->filteredModel());
        return reports.load();
    };
    const int once = reportsOf("text 1");
    EXPECT_GT(once, 0);
    EXPECT_GT(view->filteredModel()->messageCount(), 0);
    EXPECT_LE(reportsOf("is nowhere"), once);
    EXPECT_EQ(view->filteredModel()->messageCount(), 0);
    noGate();
}

TEST_F(LongWorkView, OfSeveralFilesThoseBeforeTheCancelledOneStay)
{
    openFilled(true, 10);
    const QString first = write("first.log", "one\ntwo\n");
    const QString second = write("second.log", "three\n");
    const QString third = write("third.log", "four\n");
    atReport("Loading second.log: ", 0, [this] { pressEscape(); });
    view->openLogFiles({first, second, third});
    EXPECT_TRUE(acted);
    EXPECT_EQ(view->fullModel()->messageCount(), 12);
    EXPECT_EQ(child<QComboBox>("filesCombo")->count(), 1);
    EXPECT_EQ(status(), QStringLiteral("Loading was cancelled"));
}

TEST_F(LongWorkView, AFileNameWithPlaceHoldersIsShownAsItIs)
{
    openFilled(true, 10);
    const QString name = write("%1 %2 %L1.log", "one\n");
    atReport("Loading %1 %2 %L1.log: ", 0, [] {});
    view->openLogFiles({name});
    EXPECT_TRUE(acted);
}

TEST_F(LongWorkView, WhatIsDiscardedIsNeverFreedOnTheWindowsThread)
{
    open();
    struct Garbage
    {
        ~Garbage() { *freedBy = std::this_thread::get_id(); }
        std::thread::id* freedBy;
    };
    std::vector<std::thread::id> freedBy(200);
    for (std::thread::id& by : freedBy)
        view->progress()->discard(std::shared_ptr<Garbage>(new Garbage{&by}));
    view = nullptr;
    window.reset(); // waits for it
    for (const std::thread::id& by : freedBy) {
        EXPECT_NE(by, std::thread::id());
        EXPECT_NE(by, std::this_thread::get_id());
    }
}

TEST_F(LongWorkView, WhatTheStatusBarSaidIsThereAgain)
{
    openFilled(true);
    window->statusBar()->showMessage(QStringLiteral("Logging started..."));
    header()->setSortIndicator(11, Qt::DescendingOrder);
    EXPECT_EQ(status(), QStringLiteral("Logging started..."));
}

TEST_F(LongWorkView, WithoutAStatusBarTheWorkIsDoneAllTheSame)
{
    store = std::make_shared<LogContainer>();
    window = std::make_unique<TestWindow>(store);
    view = new LogMessageView(nullptr, window.get());
    window->setCentralWidget(view);
    makeEverythingLong();
    for (int i = 0; i < 100; ++i)
        view->fullModel()->addMessage(message(i + 1, QStringLiteral("text %1").arg(i % 7)));
    view->updateView();
    header()->setSortIndicator(11, Qt::DescendingOrder);
    EXPECT_EQ(view->fullModel()->cellText(0, 11), QStringLiteral("text 6"));
}

TEST_F(LongWorkView, MessagesThatArriveMeanwhileAreAllThereAfterwards)
{
    const auto quiet = std::make_shared<ServicelessStore>();
    open(quiet, true);
    view->startLoggingClicked();
    ASSERT_TRUE(store->isActive());
    makeEverythingLong();
    std::atomic<bool> over{false};
    std::atomic<std::uint64_t> sent{0};
    std::thread feeder([&] {
        while (!over && sent < 60000) {
            DecodedMessage fields;
            fields.serviceMsgId = ++sent;
            fields.timestamp = firstTime + sent;
            fields.logLevel = 8;
            fields.logMessage = sent % 2 == 0 ? u"even" : u"odd";
            store->addMessage(fields);
            if (sent % 64 == 0)
                std::this_thread::yield();
        }
    });
    for (int round = 0; round < 20; ++round) {
        header()->setSortIndicator(round % 12, Qt::DescendingOrder);
        view->filterDialog()->clearSignal();
        view->filterDialog()->filterText()->setText(round % 2 == 0 ? QStringLiteral("even")
                                                                   : QStringLiteral("odd"));
        view->filterDialog()->addIncludeFilter();
        view->filterDialog()->accept();
        EXPECT_EQ(view->shownModel(), view->filteredModel());
    }
    over = true;
    feeder.join();
    ASSERT_TRUE(waitFor([&] { return store->movedMessages() == sent; }));
    EXPECT_EQ(view->fullModel()->messageCount(), static_cast<int>(sent));
    std::vector<std::shared_ptr<LogMessage>> expected;
    for (const auto& message : view->fullModel()->messagesFrom(0, static_cast<int>(sent)))
        if (store->filter().passes(*message))
            expected.push_back(message);
    EXPECT_EQ(view->filteredModel()->messagesFrom(0, static_cast<int>(sent)), expected);
    view->stopLoggingClicked();
    EXPECT_TRUE(waitFor([&] { return startEnabled(); }));
}

TEST_F(LongWorkView, AStopThatIsToldMeanwhileIsTakenUpAfterwards)
{
    const auto quiet = std::make_shared<ServicelessStore>();
    open(quiet, true);
    for (int i = 0; i < 100; ++i)
        view->fullModel()->addMessage(message(i + 1, QStringLiteral("text %1").arg(i % 7)));
    view->startLoggingClicked();
    EXPECT_FALSE(startEnabled());
    makeEverythingLong();
    atReport("Sorting: ", 0, [this] {
        view->updateViewAfterStop();
        EXPECT_FALSE(child<QToolButton>("startButton")->isEnabledTo(view));
    });
    header()->setSortIndicator(11, Qt::DescendingOrder);
    EXPECT_TRUE(waitFor([this] { return startEnabled(); }));
    EXPECT_FALSE(stopEnabled());
    EXPECT_TRUE(window->start.isEnabled());
    EXPECT_EQ(status(), QString());
    store->stopLogging();
}

} // namespace
} // namespace zuLogging::test
