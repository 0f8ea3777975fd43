#include "logging/LogMessage.h"
#include "store/LogField.h"
#include "store/LogTableModel.h"
#include "tests/app/AppFixture.h"
#include "tests/app/DialogAnswerer.h"
#include "view/FilterDialog.h"
#include "view/LogTableView.h"

#include <QCheckBox>
#include <QComboBox>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QSpinBox>
#include <QTemporaryDir>

using namespace zuLogging;
using namespace zuLogging::test;

namespace {

class MenuCommands : public AppFixture
{
protected:
    void addMessages(int count)
    {
        for (int i = 0; i < count; ++i) {
            const auto number = static_cast<std::uint64_t>(i + 1);
            auto message = std::make_shared<LogMessage>(number, number, number, 1'000'000 * number,
                                                        8, u"file.cpp:1", u"module", u"group",
                                                        u"a message", 10, 20);
            message->renderTimestamp();
            model().addMessage(message);
        }
        holder->messageView()->updateView();
    }

    LogTableModel& model() const { return *holder->messageView()->fullModel(); }
    LogTableView& table() const { return *holder->messageView()->table(); }
    QString path(const char* name) const { return directory.filePath(QLatin1String(name)); }

    static QCheckBox* box(QDialog& dialog, const char* text)
    {
        for (auto* candidate : dialog.findChildren<QCheckBox*>())
            if (candidate->text() == QLatin1String(text))
                return candidate;
        ADD_FAILURE() << "no check box " << text;
        return nullptr;
    }
    static void press(QDialog& dialog, const char* text)
    {
        for (auto* candidate : dialog.findChildren<QPushButton*>())
            if (candidate->text() == QLatin1String(text)) {
                candidate->click();
                return;
            }
        ADD_FAILURE() << "no button " << text;
    }

    QTemporaryDir directory;
};

const int everyColumn = 12;

} // namespace

TEST_F(MenuCommands, ALogSavedAsJsonAndLoadedAgainIsShownAndItsFileListed)
{
    openWindow();
    addMessages(3);
    {
        DialogAnswerer user(path("log.json"));
        action("Save log as JSON...")->trigger();
        EXPECT_EQ(user.fileCaptions, QStringList(QStringLiteral("Save log file")));
    }
    action("Clear log")->trigger();
    DialogAnswerer user(path("log.json"));
    action("Load log from JSON...")->trigger();
    EXPECT_EQ(user.fileCaptions, QStringList(QStringLiteral("Open log file")));
    EXPECT_TRUE(user.boxes.isEmpty());
    EXPECT_EQ(model().rowCount(), 3);
    EXPECT_EQ(table().model()->rowCount(), 3);
    EXPECT_TRUE(action("Resize rows")->isChecked());
    const auto* files = holder->messageView()->findChild<QComboBox*>();
    ASSERT_NE(files, nullptr);
    EXPECT_EQ(files->currentText(), path("log.json"));
    EXPECT_TRUE(files->isVisible());
    action("Clear log")->trigger();
    EXPECT_FALSE(files->isVisible());
    EXPECT_EQ(files->count(), 0);
}

TEST_F(MenuCommands, SaveLogViewWritesTheShownRowsToATextFile)
{
    openWindow();
    addMessages(2);
    DialogAnswerer user(path("view.log"));
    action("Save log view...")->trigger();
    QFile file(path("view.log"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray text = file.readAll();
    EXPECT_EQ(text.count("\ta message\t\n"), 2) << text.constData();
    EXPECT_TRUE(text.startsWith("************************************\nARZ LogDesk 3.1.26\n"));
}

TEST_F(MenuCommands, TheViewSettingsDialogStartsWithWhatHolds)
{
    ViewSettings::instance().maximumLogMessages = 777;
    openWindow();
    holder->messageView()->setShowLineNumbers(false);
    holder->messageView()->setShownFields({FieldLogMessage, FieldModule});
    int maximum = -1;
    bool lineNumbers = true;
    QStringList shown;
    DialogAnswerer user({}, [&](QDialog& dialog) {
        maximum = dialog.findChildren<QSpinBox*>().first()->value();
        lineNumbers = box(dialog, "LineNumber")->isChecked();
        for (const auto* candidate : dialog.findChildren<QCheckBox*>())
            if (candidate->isChecked())
                shown.append(candidate->text());
        dialog.reject();
    });
    action("Logging view settings...")->trigger();
    EXPECT_EQ(maximum, 777);
    EXPECT_FALSE(lineNumbers);
    EXPECT_EQ(shown, (QStringList{QStringLiteral("Module"), QStringLiteral("LogMessage")}));
    EXPECT_EQ(model().columns(), (QList<int>{FieldLogMessage, FieldModule}));
}

TEST_F(MenuCommands, AcceptedViewSettingsReachModelsTableStoreAndRecord)
{
    openWindow();
    addMessages(3);
    table().selectRow(1);
    DialogAnswerer user({}, [&](QDialog& dialog) {
        dialog.findChildren<QSpinBox*>().first()->setValue(5000);
        box(dialog, "LineNumber")->setChecked(false);
        box(dialog, "ServiceMsgID")->setChecked(false);
        box(dialog, "LogLevel [Hex]")->setChecked(false);
        press(dialog, "OK");
    });
    action("Logging view settings...")->trigger();
    EXPECT_EQ(holder->messageStore()->maximumMessages(), 5000);
    EXPECT_EQ(ViewSettings::instance().maximumLogMessages, 5000);
    EXPECT_FALSE(table().verticalHeader()->isVisible());
    QList<int> expected = defaultColumnOrder();
    expected.removeAll(FieldServiceMsgID);
    expected.removeAll(FieldLogLevelHex);
    EXPECT_EQ(model().columns(), expected);
    EXPECT_EQ(holder->messageView()->filteredModel()->columns(), expected);
    EXPECT_EQ(ViewSettings::instance().columnLayout(), expected);
    EXPECT_EQ(model().rowCount(), 3);
    EXPECT_EQ(table().selectionModel()->selectedRows().size(), 1);
}

TEST_F(MenuCommands, ALowerLimitAsksAndCancelKeepsMessagesAndLimit)
{
    openWindow();
    addMessages(5);
    DialogAnswerer user({}, [&](QDialog& dialog) {
        dialog.findChildren<QSpinBox*>().first()->setValue(2);
        press(dialog, "OK");
    });
    user.button = QMessageBox::Cancel;
    action("Logging view settings...")->trigger();
    EXPECT_EQ(user.boxes.size(), 1);
    EXPECT_EQ(model().rowCount(), 5);
    EXPECT_EQ(holder->messageStore()->maximumMessages(), 100000);
}

TEST_F(MenuCommands, ResetViewToDefaultPutsEverySwitchColumnAndFilterBack)
{
    ViewSettings& settings = ViewSettings::instance();
    settings.maximumLogMessages = 500;
    settings.expertMode = true;
    settings.autoScrollEnabled = true;
    settings.configurationEnabled = true;
    settings.timeDisplay = false;
    settings.filterEnabled = true;
    settings.filterIncludeCs = true;
    settings.filterInclude = QStringList(QStringLiteral("nothing has this"));
    settings.levelFilterInclude = QStringList(QStringLiteral("err"));
    settings.setColumnLayout({FieldLogMessage, FieldTimestamp});
    openWindow();
    addMessages(3);
    action("Resize rows")->setChecked(true);
    holder->messageView()->setShowLineNumbers(false);
    ASSERT_EQ(model().columnCount(), 2);

    action("Reset view to default")->trigger();
    EXPECT_TRUE(action("Date and Time")->isChecked());
    EXPECT_FALSE(action("Seconds since beginning of logging")->isChecked());
    EXPECT_EQ(holder->messageStore()->timeDisplayMode(), 0);
    EXPECT_FALSE(action("AutoScroll")->isChecked());
    EXPECT_FALSE(holder->messageView()->isAutoScrollOn());
    EXPECT_TRUE(action("User Mode")->isChecked());
    EXPECT_FALSE(action("Expert Mode")->isChecked());
    EXPECT_EQ(holder->configView()->mode(), LogConfigView::User);
    EXPECT_FALSE(action("Configuration")->isChecked());
    EXPECT_FALSE(holder->configView()->dock()->isVisible());
    EXPECT_FALSE(action("Resize rows")->isChecked());
    EXPECT_TRUE(table().verticalHeader()->isVisible());
    EXPECT_EQ(model().columns(), defaultColumnOrder());
    EXPECT_EQ(table().horizontalHeader()->count(), everyColumn);
    EXPECT_EQ(holder->messageStore()->maximumMessages(), 100000);
    EXPECT_FALSE(holder->messageStore()->isFiltering());
    EXPECT_EQ(table().model(), holder->messageView()->fullModel());
    EXPECT_TRUE(holder->messageView()->filterDialog()->includeTexts().isEmpty());
    EXPECT_TRUE(holder->messageView()->filterDialog()->levelNames().isEmpty());
    // What the next start finds.
    const ViewSettings defaults;
    EXPECT_EQ(settings.maximumLogMessages, defaults.maximumLogMessages);
    EXPECT_EQ(settings.filterEnabled, defaults.filterEnabled);
    EXPECT_EQ(settings.filterIncludeCs, defaults.filterIncludeCs);
    EXPECT_EQ(settings.filterInclude, defaults.filterInclude);
    EXPECT_EQ(settings.levelFilterInclude, defaults.levelFilterInclude);
    EXPECT_EQ(settings.configurationEnabled, defaults.configurationEnabled);
    EXPECT_EQ(settings.expertMode, defaults.expertMode);
    EXPECT_EQ(settings.autoScrollEnabled, defaults.autoScrollEnabled);
    EXPECT_EQ(settings.timeDisplay, defaults.timeDisplay);
    EXPECT_EQ(settings.columnLayout(), defaultColumnOrder());
}

TEST_F(MenuCommands, ResetViewToDefaultAsksBeforeItTruncatesAndCancelKeepsTheLimitOnly)
{
    ViewSettings::instance().maximumLogMessages = 200000;
    ViewSettings::instance().timeDisplay = false;
    openWindow();
    addMessages(100001);
    {
        MessageBoxWaiter user(QMessageBox::Cancel);
        action("Reset view to default")->trigger();
        ASSERT_EQ(user.boxes().size(), 1);
        EXPECT_TRUE(user.boxes().first().text.contains(QStringLiteral("(100001)")));
    }
    EXPECT_EQ(model().rowCount(), 100001);
    EXPECT_EQ(holder->messageStore()->maximumMessages(), 200000);
    EXPECT_TRUE(action("Date and Time")->isChecked());
    MessageBoxWaiter user(QMessageBox::Ok);
    action("Reset view to default")->trigger();
    EXPECT_EQ(model().rowCount(), 100000);
    EXPECT_EQ(holder->messageStore()->maximumMessages(), 100000);
}

TEST_F(MenuCommands, ReplaySubscribesWithTheHistoryAndAsksForItByTheListenersAddress)
{
    PublishedService service;
    openWindow();
    MessageBoxWaiter user(QMessageBox::Ok);
    action("Replay && start history")->trigger();
    EXPECT_TRUE(holder->messageStore()->isActive());
    EXPECT_FALSE(action("Replay && start history")->isEnabled());
    EXPECT_FALSE(action("Start logging")->isEnabled());
    EXPECT_TRUE(action("Stop logging")->isEnabled());
    EXPECT_EQ(service.commands(),
              (std::vector<int>{static_cast<int>(LogMessageCommand::ReplayAndForward),
                                static_cast<int>(LogMessageCommand::Replay)}));
    EXPECT_TRUE(user.boxes().isEmpty());
    action("Stop logging")->trigger();
    EXPECT_TRUE(waitFor([&] { return action("Replay && start history")->isEnabled(); }));
}

TEST_F(MenuCommands, AReplayWhoseStartFailedSendsNothingMoreAndCostsOneWarning)
{
    auto service = std::make_unique<PublishedService>();
    openWindow();
    service.reset();
    MessageBoxWaiter user(QMessageBox::Ok);
    action("Replay && start history")->trigger();
    EXPECT_TRUE(waitFor([&] { return action("Replay && start history")->isEnabled(); }));
    ASSERT_EQ(user.boxes().size(), 1);
    EXPECT_EQ(user.boxes().first().title, QStringLiteral("Start Logging"));
    EXPECT_TRUE(
        user.boxes().first().text.startsWith(QStringLiteral("Failed to start the logging (")));
}

TEST_F(MenuCommands, AServiceThatRefusesTheReplayLeavesTheLoggingRunningAndSaysWhy)
{
    PublishedService service;
    service.refuse(LogMessageCommand::Replay);
    openWindow();
    MessageBoxWaiter user(QMessageBox::Ok);
    action("Replay && start history")->trigger();
    ASSERT_EQ(user.boxes().size(), 1);
    EXPECT_EQ(user.boxes().first().title, QStringLiteral("Start Logging"));
    EXPECT_EQ(user.boxes().first().text,
              QStringLiteral("The command was not successful (negative acknowledge received)"));
    EXPECT_TRUE(holder->messageStore()->isActive());
    EXPECT_TRUE(action("Stop logging")->isEnabled());
}
