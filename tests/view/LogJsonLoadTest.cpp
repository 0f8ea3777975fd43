#include "tests/store/ServiceStandIn.h"
#include "tests/view/ViewTestSupport.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFileDialog>
#include <QHeaderView>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLineEdit>
#include <QSignalSpy>
#include <QToolBar>

namespace zuLogging::test {
namespace {

class LogJsonLoadTest : public ViewAndFilesFixture
{
protected:
    /// Loads `path` as a user does: answers the question with `answer` and the file dialog with
    /// `path`, and presses the button of every other box. An empty path cancels.
    void load(const QString& path, QMessageBox::StandardButton answer = QMessageBox::No)
    {
        events.clear();
        boxes.clear();
        bool answered = false;
        int ticks = 0;
        QTimer timer;
        QObject::connect(&timer, &QTimer::timeout, [&] {
            QWidget* modal = QApplication::activeModalWidget();
            if (auto* box = qobject_cast<QMessageBox*>(modal)) {
                events << QStringLiteral("box");
                boxes.push_back(
                    {box->icon(), box->windowTitle(), box->text(), box->standardButtons()});
                textFormat = box->textFormat();
                cursorOverBox = QApplication::overrideCursor() != nullptr;
                QAbstractButton* button = box->button(answer);
                (button ? button : box->button(QMessageBox::Ok))->click();
                return;
            }
            auto* dialog = qobject_cast<QFileDialog*>(modal);
            if (dialog && answered && ++ticks == 1000) {
                ADD_FAILURE() << "the dialog stays open";
                dialog->reject();
            }
            if (!dialog || answered)
                return;
            answered = true;
            events << QStringLiteral("dialog");
            caption = dialog->windowTitle();
            filters = dialog->nameFilters();
            acceptMode = dialog->acceptMode();
            proposed = dialog->findChild<QLineEdit*>("fileNameEdit")->text();
            rowsAtDialog = view->fullModel()->rowCount();
            if (path.isEmpty()) {
                dialog->reject();
                return;
            }
            if (beforeAccept) // so that the file vanishes only after the dialog has looked at it
                QObject::connect(dialog, &QDialog::finished, dialog, [this] { beforeAccept(); });
            dialog->findChild<QLineEdit*>("fileNameEdit")->setText(path);
            QMetaObject::invokeMethod(dialog, "accept", Qt::QueuedConnection);
        });
        timer.start(5);
        view->loadLogMessagesFromJSON();
    }
    /// A log of so many messages whose texts are "loaded 0", "loaded 1", ...
    QString writeLog(const char* name, int count) const
    {
        QJsonArray array;
        for (int i = 0; i < count; ++i)
            array.append(QJsonObject{{"ServiceMsgID", QString::number(1000 + i)},
                                     {"LogLevel [Hex]", "0x08"},
                                     {"LogMessage", QStringLiteral("loaded %1").arg(i)}});
        return write(name, QJsonDocument(array).toJson());
    }

    QStringList events; ///< boxes and dialogs in their order
    std::vector<BoxAnswerer::Seen> boxes;
    std::function<void()> beforeAccept;
    QString caption;
    QStringList filters;
    QString proposed;
    QFileDialog::AcceptMode acceptMode = QFileDialog::AcceptSave;
    Qt::TextFormat textFormat = Qt::AutoText;
    int rowsAtDialog = -1;
    bool cursorOverBox = false;
};

TEST_F(LogJsonLoadTest, TheMessagesOfTheFileAreShownAtOnce)
{
    open(nullptr, true);
    const QString log = writeLog("log.json", 3);
    load(log);
    EXPECT_EQ(events, QStringList{"dialog"}) << "an empty log is not asked about";
    EXPECT_EQ(caption, "Open log file");
    EXPECT_EQ(filters, QStringList{"JSON files (*.json)"});
    EXPECT_EQ(acceptMode, QFileDialog::AcceptOpen);
    EXPECT_EQ(proposed, QString());
    EXPECT_EQ(texts(view->fullModel()), (QStringList{"loaded 0", "loaded 1", "loaded 2"}));
    EXPECT_EQ(label("countLabel"), "3");
    EXPECT_EQ(view->table()->verticalHeader()->count(), 3);
    EXPECT_EQ(files()->count(), 1);
    EXPECT_EQ(files()->currentText(), log);
    EXPECT_TRUE(infoToolbar()->isVisible());
    EXPECT_EQ(status(), QString());
    EXPECT_EQ(view->table()->textElideMode(), Qt::ElideNone);
    EXPECT_EQ(view->table()->horizontalScrollBarPolicy(), Qt::ScrollBarAlwaysOn);
}

TEST_F(LogJsonLoadTest, AJsonFileSavedAndLoadedBackGivesTheSameMessagesWithTheSameLevels)
{
    open();
    const std::vector<LogLevel> levels{LogLevel::None, LogLevel::Fatal, LogLevel::Err,
                                       LogLevel::Warn, LogLevel::Info,  LogLevel::Trace,
                                       LogLevel::Debug};
    for (const LogLevel level : levels)
        add(QStringLiteral("text of level %1").arg(static_cast<int>(level)), level);
    const auto cells = [this] {
        QStringList all;
        for (int row = 0; row < view->fullModel()->rowCount(); ++row)
            for (int column = 0; column < 12; ++column)
                all << view->fullModel()->cellText(row, column);
        return all;
    };
    const QStringList before = cells();
    ASSERT_EQ(before.size(), 7 * 12);
    ASSERT_TRUE(view->fullModel()->saveToJson(path("round.json")));
    load(path("round.json"), QMessageBox::Yes);
    EXPECT_EQ(cells(), before);
}

TEST_F(LogJsonLoadTest, ALogLevelTextEditedByHandHasNoEffectOnLoad)
{
    open();
    load(write("edited.json", R"([{"LogLevel": "debug", "LogLevel [Hex]": "0x02"}])"));
    ASSERT_EQ(view->fullModel()->rowCount(), 1);
    EXPECT_EQ(view->fullModel()->cellText(0, columnOf("LogLevel")), "err");
}

TEST_F(LogJsonLoadTest, LoadingWithNoToTheClearQuestionAppendsToThePresentMessages)
{
    open();
    addNumbered(2);
    load(writeLog("log.json", 2), QMessageBox::No);
    EXPECT_EQ(events, (QStringList{"box", "dialog"}));
    ASSERT_EQ(boxes.size(), 1U);
    EXPECT_EQ(boxes[0].icon, QMessageBox::Question);
    EXPECT_EQ(boxes[0].title, "Load from JSON");
    EXPECT_EQ(boxes[0].text, "Do you want to clear the current logging?");
    EXPECT_EQ(boxes[0].buttons, QMessageBox::Yes | QMessageBox::No);
    EXPECT_EQ(texts(view->fullModel()), (QStringList{"text 0", "text 1", "loaded 0", "loaded 1"}));
    EXPECT_EQ(label("countLabel"), "4");
}

TEST_F(LogJsonLoadTest, LoadingWithYesToTheClearQuestionClearsTheViewFirst)
{
    open();
    load(writeLog("one.json", 2));
    load(writeLog("two.json", 1), QMessageBox::Yes);
    EXPECT_EQ(rowsAtDialog, 0);
    EXPECT_EQ(texts(view->fullModel()), QStringList{"loaded 0"});
    EXPECT_EQ(files()->count(), 1) << "the list of files is cleared too";
    EXPECT_EQ(files()->currentText(), path("two.json"));
}

TEST_F(LogJsonLoadTest, CancellingTheFileDialogAfterYesLeavesTheViewCleared)
{
    open();
    addNumbered(2);
    load(QString(), QMessageBox::Yes);
    EXPECT_EQ(events, (QStringList{"box", "dialog"}));
    EXPECT_EQ(view->fullModel()->rowCount(), 0);
    EXPECT_EQ(files()->count(), 0);
    EXPECT_TRUE(infoToolbar()->isHidden());
}

TEST_F(LogJsonLoadTest, CancellingTheFileDialogChangesNothing)
{
    open();
    addNumbered(2);
    window->resizeRows.setChecked(true);
    filterBox()->setChecked(true);
    load(QString(), QMessageBox::No);
    EXPECT_EQ(label("countLabel"), "2");
    EXPECT_TRUE(infoToolbar()->isHidden());
    EXPECT_TRUE(window->resizeRows.isChecked());
    EXPECT_TRUE(filterBox()->isChecked());
}

TEST_F(LogJsonLoadTest, WhileLoggingRunsTheLoadIsRefusedWithAWarning)
{
    open();
    const ServiceStandIn service;
    ASSERT_TRUE(store->startLogging(false));
    load(writeLog("log.json", 1));
    EXPECT_EQ(events, QStringList{"box"});
    ASSERT_EQ(boxes.size(), 1U);
    EXPECT_EQ(boxes[0].icon, QMessageBox::Warning);
    EXPECT_EQ(boxes[0].title, "Load from JSON");
    EXPECT_EQ(boxes[0].text, "Please stop the logging before loading the JSON file.");
    EXPECT_EQ(view->fullModel()->rowCount(), 0);
    EXPECT_TRUE(infoToolbar()->isHidden());
    store->stopLogging();
    EXPECT_TRUE(waitFor([&] { return !store->isActive(); }));
}

TEST_F(LogJsonLoadTest, AFileThatCannotBeOpenedIsReportedAndStillListed)
{
    open(nullptr, true);
    const QString log = writeLog("<b>gone.json", 1);
    beforeAccept = [&] { QFile::remove(log); };
    load(log);
    EXPECT_EQ(events, (QStringList{"dialog", "box"}));
    ASSERT_EQ(boxes.size(), 1U);
    EXPECT_EQ(boxes[0].icon, QMessageBox::Critical);
    EXPECT_EQ(boxes[0].title, "Load from JSON");
    EXPECT_EQ(boxes[0].text,
              "Failed to read file '" + log + "'. Please check if it is a valid JSON file.");
    EXPECT_EQ(textFormat, Qt::PlainText) << "a name is not markup";
    EXPECT_FALSE(cursorOverBox) << "nobody waits for the program now";
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
    EXPECT_EQ(files()->currentText(), log);
    EXPECT_TRUE(infoToolbar()->isVisible());
    EXPECT_TRUE(window->resizeRows.isChecked()) << "what follows the reading runs all the same";
    EXPECT_EQ(view->fullModel()->rowCount(), 0);
}

TEST_F(LogJsonLoadTest, InvalidContentAddsNothingAndSaysNothing)
{
    open();
    addNumbered(1);
    for (const char* text : {"", "[", "{\"LogMessage\": \"a\"}", "[{\"LogMessage\": \"a\"},",
                             "no JSON at all", "[{\"LogMessage\": \"a\"}] and more", "7"}) {
        load(write("bad.json", text));
        EXPECT_EQ(events, (QStringList{"box", "dialog"})) << text;
        EXPECT_EQ(view->fullModel()->rowCount(), 1) << text;
    }
    EXPECT_EQ(files()->count(), 7);
}

TEST_F(LogJsonLoadTest, ElementsOfAnyKindGiveMessagesWithWhatTheyHave)
{
    open();
    load(write("odd.json", R"([7, {"ServiceMsgID": 42, "LogMessage": "x"}, "text", {}])"));
    ASSERT_EQ(view->fullModel()->rowCount(), 4);
    EXPECT_EQ(view->fullModel()->cellText(1, columnOf("ServiceMsgID")), "42");
    EXPECT_EQ(texts(view->fullModel()), (QStringList{"", "x", "", ""}));
}

TEST_F(LogJsonLoadTest, WithTheFilterOnTheFilteredModelHoldsThePassingLoadedMessagesToo)
{
    open();
    addNumbered(3);
    store->setFilter({"text 1", "loaded 1"}, {}, {}, false, false);
    filterBox()->setChecked(true);
    ASSERT_EQ(texts(view->filteredModel()), QStringList{"text 1"});
    load(writeLog("log.json", 3), QMessageBox::No);
    EXPECT_TRUE(filterBox()->isChecked());
    EXPECT_EQ(view->shownModel(), view->filteredModel());
    EXPECT_EQ(texts(view->filteredModel()), (QStringList{"text 1", "loaded 1"}));
    EXPECT_EQ(label("filteredLabel"), "2");
    EXPECT_EQ(label("countLabel"), "6");
    EXPECT_TRUE(ViewSettings::instance().filterEnabled);
}

TEST_F(LogJsonLoadTest, WithTheFilterOffItFindsTheLoadedMessagesWhenItIsSwitchedOn)
{
    open();
    addNumbered(3);
    store->setFilter({"text 1", "loaded 1"}, {}, {}, false, false);
    filterBox()->setChecked(true);
    filterBox()->setChecked(false);
    load(writeLog("log.json", 3), QMessageBox::No);
    EXPECT_EQ(view->shownModel(), view->fullModel());
    EXPECT_EQ(label("filteredLabel"), "0");
    filterBox()->setChecked(true);
    EXPECT_EQ(texts(view->filteredModel()), (QStringList{"text 1", "loaded 1"}));
}

TEST_F(LogJsonLoadTest, TheFullModelIsShownUnderTheWaitCursorWhileTheFileIsRead)
{
    open();
    addNumbered(3);
    store->setFilter({"text"}, {}, {}, false, false);
    filterBox()->setChecked(true);
    window->resizeRows.setChecked(true);
    std::vector<bool> checked;
    const LogTableModel* shownAtUncheck = nullptr;
    QCursor cursor;
    QObject::connect(&window->resizeRows, &QAction::toggled, view, [&](bool on) {
        checked.push_back(on);
        if (!on)
            shownAtUncheck = view->shownModel();
        if (QApplication::overrideCursor())
            cursor = *QApplication::overrideCursor();
    });
    load(writeLog("log.json", 1), QMessageBox::No);
    EXPECT_EQ(checked, (std::vector<bool>{false, true}));
    EXPECT_EQ(shownAtUncheck, view->fullModel());
    EXPECT_EQ(cursor.shape(), Qt::WaitCursor);
}

TEST_F(LogJsonLoadTest, RowsAreFittedToTheirContentsAfterwards)
{
    open(nullptr, true);
    EXPECT_FALSE(view->resizeRows());
    load(write("lines.json", R"([{"LogMessage": "a\nb\nc\nd"}])"));
    EXPECT_TRUE(window->resizeRows.isChecked());
    EXPECT_TRUE(view->resizeRows());
    EXPECT_GT(view->table()->rowHeight(0), 40);
}

TEST_F(LogJsonLoadTest, AFileLoadedTwiceIsListedTwiceAndTheLastOneIsCurrent)
{
    open(nullptr, true);
    const QString first = writeLog("first.json", 1);
    const QString second = writeLog("second.json", 1);
    for (const QString& log : {first, second, first})
        load(log);
    EXPECT_EQ(files()->count(), 3);
    EXPECT_EQ(files()->currentIndex(), 2);
    EXPECT_EQ(files()->currentText(), first);
    EXPECT_EQ(view->fullModel()->rowCount(), 3);
    view->messageViewClearClicked();
    EXPECT_EQ(files()->count(), 0);
    EXPECT_TRUE(infoToolbar()->isHidden());
}

TEST_F(LogJsonLoadTest, ColumnsAreFittedToTheLoadedTexts)
{
    ViewSettings::instance().setColumnLayout({FieldModule, FieldLogMessage});
    open(nullptr, true);
    const int before = view->table()->columnWidth(0);
    load(write("wide.json", R"([{"Module": ")" + QByteArray(60, 'W') + R"("}])"));
    EXPECT_GT(view->table()->columnWidth(0), before);
}

TEST_F(LogJsonLoadTest, TheCurrentRowAndTheSelectionStayWhenMessagesAreAdded)
{
    open();
    addNumbered(3);
    view->table()->selectRow(1);
    load(writeLog("log.json", 3), QMessageBox::No);
    const QModelIndexList selected = view->table()->selectionModel()->selectedRows();
    ASSERT_EQ(selected.size(), 1);
    EXPECT_EQ(selected[0].row(), 1);
}

TEST_F(LogJsonLoadTest, MoreMessagesThanTheLimitAreAllLoaded)
{
    ViewSettings::instance().maximumLogMessages = 10;
    open();
    load(writeLog("log.json", 50));
    EXPECT_EQ(view->fullModel()->rowCount(), 50);
}

TEST_F(LogJsonLoadTest, AWindowWithoutActionsIsEnough)
{
    open(nullptr, true);
    window->actions = false;
    load(write("lines.json", R"([{"LogMessage": "a\nb\nc\nd"}])"));
    EXPECT_EQ(view->fullModel()->rowCount(), 1);
    EXPECT_TRUE(view->resizeRows());
}

TEST_F(LogJsonLoadTest, WithoutAHostTheViewLoadsToo)
{
    QWidget parent;
    view = new LogMessageView(nullptr, &parent);
    load(writeLog("log.json", 2));
    EXPECT_EQ(view->fullModel()->rowCount(), 2);
    EXPECT_TRUE(view->resizeRows());
    delete view;
    view = nullptr;
}

// --- The view goes while something is open

/// Deletes the window as soon as a modal one of the kind is open.
template <class Widget>
class WindowDeleter
{
public:
    explicit WindowDeleter(std::function<void()> remove)
    {
        QObject::connect(&timer_, &QTimer::timeout, [this, remove = std::move(remove)] {
            if (done || !qobject_cast<Widget*>(QApplication::activeModalWidget()))
                return;
            done = true;
            remove();
        });
        timer_.start(5);
    }
    bool done = false;

private:
    QTimer timer_;
};

TEST_F(LogJsonLoadTest, TheViewMayGoWhileTheQuestionIsOpen)
{
    open();
    addNumbered(1);
    const WindowDeleter<QMessageBox> deleter([this] { window.reset(); });
    view->loadLogMessagesFromJSON();
    EXPECT_TRUE(deleter.done);
}

TEST_F(LogJsonLoadTest, TheViewMayGoWhileTheFileDialogIsOpen)
{
    open();
    const WindowDeleter<QFileDialog> deleter([this] { window.reset(); });
    view->loadLogMessagesFromJSON();
    EXPECT_TRUE(deleter.done);
}

TEST_F(LogJsonLoadTest, TheViewMayGoWhileASaveDialogIsOpen)
{
    for (const bool json : {false, true}) {
        open();
        const WindowDeleter<QFileDialog> deleter([this] { window.reset(); });
        if (json)
            view->saveLogMessagesToJSONClicked();
        else
            view->messageViewSaveClicked();
        EXPECT_TRUE(deleter.done);
    }
}

TEST_F(LogJsonLoadTest, TheViewMayGoWhileTheFailureIsShown)
{
    open();
    const QString log = writeLog("gone.json", 1);
    beforeAccept = [&] { QFile::remove(log); };
    QTimer timer;
    bool done = false;
    QObject::connect(&timer, &QTimer::timeout, [&] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (!box || done)
            return;
        done = true;
        window.reset();
    });
    timer.start(0);
    load(log);
    EXPECT_TRUE(done);
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}

TEST_F(LogJsonLoadTest, TheViewMayGoWhileAnotherBoxIsOpen)
{
    const auto goesDuring = [this](const std::function<void()>& action) {
        const WindowDeleter<QMessageBox> deleter([this] { window.reset(); });
        action();
        EXPECT_TRUE(deleter.done);
    };
    open();
    addNumbered(3);
    goesDuring([this] { view->setMaximumMessages(1); });
    open();
    addNumbered(3);
    goesDuring([this] { view->search(QStringLiteral("not there"), true); });
    open();
    addNumbered(3);
    goesDuring([this] { view->setReferenceTimeClicked(); });
    open();
    window->configurationModified = true;
    goesDuring([this] { view->startLoggingClicked(); });
}

} // namespace
} // namespace zuLogging::test
