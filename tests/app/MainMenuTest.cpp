#include "logging/LogMessage.h"
#include "store/LogTableModel.h"
#include "tests/app/AppFixture.h"
#include "tests/app/Browser.h"
#include "view/FilterDialog.h"
#include "view/FindDialog.h"
#include "view/GoToDialog.h"
#include "view/LogTableView.h"

#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QHeaderView>
#include <QMenu>
#include <QMenuBar>
#include <QMetaMethod>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTest>

using namespace zuLogging;
using namespace zuLogging::test;

namespace {

class MainMenu : public AppFixture
{
protected:
    void addMessages(int count)
    {
        for (int i = 0; i < count; ++i) {
            const auto number = static_cast<std::uint64_t>(i + 1);
            auto message = std::make_shared<LogMessage>(
                number, number, number, 1'000'000 * number, 8, u"file.cpp:1", u"module", u"group",
                u"a message of\nmore than\none line", 10, 20);
            message->renderTimestamp();
            holder->messageView()->fullModel()->addMessage(message);
        }
        holder->messageView()->updateView();
    }

    LogTableView& table() const { return *holder->messageView()->table(); }
};

struct ActionRow
{
    const char* text;
    bool icon;
    const char* statusTip;
    QKeySequence shortcut;
    bool checkable;
    bool checked;
    bool enabled;
};

/// A menu as text, one entry a line, "-" for a separator, entries of a submenu indented.
void dump(const QMenu& menu, const QString& indent, QStringList& lines)
{
    for (const QAction* entry : menu.actions()) {
        if (entry->isSeparator()) {
            lines.append(indent + QLatin1Char('-'));
            continue;
        }
        lines.append(indent + entry->text());
        if (entry->menu())
            dump(*entry->menu(), indent + QStringLiteral("  "), lines);
    }
}

} // namespace

TEST_F(MainMenu, TheActionsAreThoseOfTheTableInItsOrder)
{
    const QKeySequence none;
    const ActionRow rows[] = {
        {"E&xit", true, "Exit the application", QKeySequence(QKeySequence::Close), false, false,
         true},
        {"Find...", true, "Search for a key word", QKeySequence(QKeySequence::Find), false, false,
         true},
        {"Go to...", false, "Go to a specified line number", QKeySequence(QStringLiteral("Ctrl+G")),
         false, false, true},
        {"Filter...", false, "Set filtering options", QKeySequence(QStringLiteral("Shift+F")),
         false, false, true},
        {"&Logging GUI User Guide", true, "Open the Logging GUI User Guide", none, false, false,
         true},
        {"&About", true, "Show the application's About box", none, false, false, true},
        {"Configuration", false, "Show / hide the configuration", none, true, false, true},
        {"AutoScroll", false, "Enable / disable automatic scrolling during logging", none, true,
         false, true},
        {"Logging view settings...", true, "Configure the logging view", none, false, false, true},
        {"Preferences...", false, "Service preferences", none, false, false, true},
        {"Clear log", true, "Clear the log window", none, false, false, true},
        {"Save log view...", true, "Save the current log view to text file (inclusive filter)",
         none, false, false, true},
        {"User Mode", false, "User Mode", none, true, true, true},
        {"Expert Mode", false, "Expert Mode", none, true, false, true},
        {"Date and Time", false, "Date and Time", none, true, true, true},
        {"Seconds since beginning of logging", false, "Seconds since beginning of logging", none,
         true, false, true},
        {"Open config...", true, "Open a configuration file", none, false, false, true},
        {"Reset config file", false, "Reset the configuration file", none, false, false, true},
        {"Replay && start history", true, "Allows to request replay of recorded log history", none,
         false, false, true},
        {"Start logging", true, "Start logging", none, false, false, true},
        {"Stop logging", true, "Stop logging", none, false, false, false},
        {"Resize rows", false, "Resizes the rows to contents", none, true, false, true},
        {"Reset view to default", false, "Reset the view to default", none, false, false, true},
        {"Save log as JSON...", true, "Save the complete log to JSON file",
         QKeySequence(QKeySequence::Save), false, false, true},
        {"Load log from JSON...", true, "Loads the log from JSON file", none, false, false, true},
        {"Copy", true, "Copy selection to clipboard", QKeySequence(QKeySequence::Copy), false,
         false, true},
        {"Copy all", true, "Copy current log view to clipboard",
         QKeySequence(QKeySequence::SelectAll), false, false, true},
    };
    openWindow();
    const auto actions = holder->findChildren<QAction*>(QString(), Qt::FindDirectChildrenOnly);
    ASSERT_EQ(actions.size(), static_cast<int>(std::size(rows)));
    for (int i = 0; i < actions.size(); ++i) {
        const ActionRow& row = rows[i];
        const QAction& action = *actions[i];
        EXPECT_EQ(action.text(), QLatin1String(row.text));
        EXPECT_EQ(!action.icon().isNull(), row.icon) << row.text;
        EXPECT_EQ(action.statusTip(), QLatin1String(row.statusTip)) << row.text;
        EXPECT_EQ(action.shortcut(), row.shortcut) << row.text;
        EXPECT_EQ(action.isCheckable(), row.checkable) << row.text;
        EXPECT_EQ(action.isChecked(), row.checked) << row.text;
        EXPECT_EQ(action.isEnabled(), row.enabled) << row.text;
    }
}

TEST_F(MainMenu, EachIconIsTheOneOfItsCommand)
{
    openWindow();
    const struct
    {
        const char* text;
        const char* path;
    } icons[] = {
        {"E&xit", ":/exit.png"},
        {"Find...", ":/search.png"},
        {"&Logging GUI User Guide", ":/questionmark.png"},
        {"&About", ":/logging.png"},
        {"Logging view settings...", ":/config.png"},
        {"Clear log", ":/clearText.png"},
        {"Save log view...", ":/saveText.png"},
        {"Open config...", ":/open.png"},
        {"Replay && start history", ":/replay.png"},
        {"Start logging", ":/startLogging.png"},
        {"Stop logging", ":/stopLogging.png"},
        {"Save log as JSON...", ":/saveJSON.png"},
        {"Load log from JSON...", ":/openJSON.png"},
        {"Copy", ":/copySelection.png"},
        {"Copy all", ":/copy.png"},
    };
    for (const auto& row : icons) {
        const QImage file = QIcon(QLatin1String(row.path)).pixmap(32).toImage();
        ASSERT_FALSE(file.isNull()) << row.path;
        // A disabled action's picture is the grey form.
        action(row.text)->setEnabled(true);
        EXPECT_EQ(action(row.text)->icon().pixmap(32).toImage(), file) << row.text;
    }
}

TEST_F(MainMenu, SwitchesStartAsTheSettingsSay)
{
    ViewSettings& settings = ViewSettings::instance();
    settings.configurationEnabled = true;
    settings.expertMode = true;
    settings.autoScrollEnabled = true;
    settings.timeDisplay = false;
    openWindow();
    EXPECT_TRUE(action("Configuration")->isChecked());
    EXPECT_TRUE(action("AutoScroll")->isChecked());
    EXPECT_FALSE(action("User Mode")->isChecked());
    EXPECT_TRUE(action("Expert Mode")->isChecked());
    EXPECT_FALSE(action("Date and Time")->isChecked());
    EXPECT_TRUE(action("Seconds since beginning of logging")->isChecked());
}

TEST_F(MainMenu, TheMenusHoldTheirEntriesInOrder)
{
    openWindow();
    QStringList lines;
    for (const QAction* entry : holder->menuBar()->actions()) {
        if (entry->isSeparator()) {
            lines.append(QStringLiteral("="));
            continue;
        }
        lines.append(entry->text());
        dump(*entry->menu(), QStringLiteral("  "), lines);
    }
    const QStringList expected = {
        QStringLiteral("&File"),
        QStringLiteral("  Open config..."),
        QStringLiteral("  Reset config file"),
        QStringLiteral("  -"),
        QStringLiteral("  Load log from JSON..."),
        QStringLiteral("  Save log as JSON..."),
        QStringLiteral("  Save log view..."),
        QStringLiteral("  Clear log"),
        QStringLiteral("  -"),
        QStringLiteral("  E&xit"),
        QStringLiteral("="),
        QStringLiteral("&Edit"),
        QStringLiteral("  Copy"),
        QStringLiteral("  Copy all"),
        QStringLiteral("  -"),
        QStringLiteral("  Logging view settings..."),
        QStringLiteral("  -"),
        QStringLiteral("  Preferences..."),
        QStringLiteral("="),
        QStringLiteral("&Log"),
        QStringLiteral("  Start logging"),
        QStringLiteral("  Stop logging"),
        QStringLiteral("  Replay && start history"),
        QStringLiteral("="),
        QStringLiteral("&Search"),
        QStringLiteral("  Find..."),
        QStringLiteral("  Filter..."),
        QStringLiteral("  Go to..."),
        QStringLiteral("="),
        QStringLiteral("&View"),
        QStringLiteral("  Configuration"),
        QStringLiteral("  Configuration Mode"),
        QStringLiteral("    User Mode"),
        QStringLiteral("    Expert Mode"),
        QStringLiteral("  -"),
        QStringLiteral("  Time Display Format"),
        QStringLiteral("    Date and Time"),
        QStringLiteral("    Seconds since beginning of logging"),
        QStringLiteral("  -"),
        QStringLiteral("  Logging view settings..."),
        QStringLiteral("  AutoScroll"),
        QStringLiteral("  Resize rows"),
        QStringLiteral("  -"),
        QStringLiteral("  Reset view to default"),
        QStringLiteral("="),
        QStringLiteral("&Help"),
        QStringLiteral("  &Logging GUI User Guide"),
        QStringLiteral("  -"),
        QStringLiteral("  &About"),
    };
    EXPECT_EQ(lines.join(QLatin1Char('\n')), expected.join(QLatin1Char('\n')));
}

TEST_F(MainMenu, TheSlotsKeepTheirOrder)
{
    QStringList slotNames;
    const QMetaObject& meta = MainView::staticMetaObject;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i)
        if (meta.method(i).methodType() == QMetaMethod::Slot)
            slotNames.append(QString::fromLatin1(meta.method(i).name()));
    EXPECT_EQ(slotNames.join(QLatin1Char(' ')),
              QStringLiteral(
                  "about openHelp configViewChanged search filter autoScrollChanged "
                  "configureSettings clearLogMessages saveLogMessages userModeChanged "
                  "expertModeChanged goToLine dateAndTimeChanged timeInSecondsChanged "
                  "openConfigFile resetFile configurePreferences replayLogHistory startLogging "
                  "stopLogging resizeRowsChanged updateView resetViewSettings saveLogAsJSON "
                  "loadLogFromJSON messageViewClipboard selectionClipboard GetARZVersionString "
                  "shutDown"));
}

TEST_F(MainMenu, StopLoggingStartsDisabledAndTheTwoStartsEnabled)
{
    openWindow();
    EXPECT_TRUE(action("Replay && start history")->isEnabled());
    EXPECT_FALSE(action("Stop logging")->isEnabled());
    EXPECT_TRUE(action("Start logging")->isEnabled());
}

TEST_F(MainMenu, TheViewGetsTheActionsThatItKeepsInStep)
{
    openWindow();
    EXPECT_EQ(holder->filterAction(), action("Filter..."));
    EXPECT_EQ(holder->resizeRowsAction(), action("Resize rows"));
    EXPECT_EQ(holder->startAction(), action("Start logging"));
    EXPECT_EQ(holder->stopAction(), action("Stop logging"));
    EXPECT_EQ(holder->dateAndTimeAction(), action("Date and Time"));
    EXPECT_EQ(holder->secondsAction(), action("Seconds since beginning of logging"));
    EXPECT_EQ(holder->replayAction(), action("Replay && start history"));
}

TEST_F(MainMenu, StartAndStopLoggingDriveTheStoreAndTheActions)
{
    PublishedService service;
    openWindow();
    action("Resize rows")->setChecked(true);
    action("Start logging")->trigger();
    EXPECT_TRUE(holder->messageStore()->isActive());
    EXPECT_EQ(service.subscribers(), 1U);
    EXPECT_FALSE(action("Start logging")->isEnabled());
    EXPECT_TRUE(action("Stop logging")->isEnabled());
    EXPECT_FALSE(action("Filter...")->isEnabled());
    EXPECT_FALSE(action("Resize rows")->isEnabled());
    EXPECT_FALSE(action("Resize rows")->isChecked());

    action("Stop logging")->trigger();
    EXPECT_TRUE(waitFor([&] { return action("Start logging")->isEnabled(); }));
    EXPECT_FALSE(holder->messageStore()->isActive());
    EXPECT_EQ(service.subscribers(), 0U);
    EXPECT_FALSE(action("Stop logging")->isEnabled());
    EXPECT_TRUE(action("Filter...")->isEnabled());
    EXPECT_TRUE(action("Resize rows")->isEnabled());
}

TEST_F(MainMenu, AStartWithoutAServiceCostsOneWarningAndALaterStartWorks)
{
    openWindow();
    {
        MessageBoxWaiter user(QMessageBox::Ok);
        action("Start logging")->trigger();
        EXPECT_TRUE(waitFor([&] { return action("Start logging")->isEnabled(); }));
        ASSERT_EQ(user.boxes().size(), 1);
        EXPECT_EQ(user.boxes().first().title, QStringLiteral("Start Logging"));
    }
    EXPECT_FALSE(action("Stop logging")->isEnabled());
    PublishedService service;
    action("Start logging")->trigger();
    EXPECT_TRUE(holder->messageStore()->isActive());
}

TEST_F(MainMenu, TogglingUserModeOffChecksExpertModeWithoutASecondRoundOfSlotCalls)
{
    openWindow();
    QSignalSpy user(action("User Mode"), &QAction::changed);
    QSignalSpy expert(action("Expert Mode"), &QAction::changed);
    action("User Mode")->trigger();
    EXPECT_FALSE(action("User Mode")->isChecked());
    EXPECT_TRUE(action("Expert Mode")->isChecked());
    EXPECT_EQ(user.count(), 1);
    EXPECT_EQ(expert.count(), 0);
    EXPECT_EQ(holder->configView()->mode(), LogConfigView::Expert);
    EXPECT_TRUE(ViewSettings::instance().expertMode);
    action("User Mode")->trigger();
    EXPECT_FALSE(action("Expert Mode")->isChecked());
    EXPECT_EQ(expert.count(), 0);
    EXPECT_EQ(holder->configView()->mode(), LogConfigView::User);
    EXPECT_FALSE(ViewSettings::instance().expertMode);
}

TEST_F(MainMenu, TogglingExpertModeUnchecksUserModeWithoutASecondRoundOfSlotCalls)
{
    openWindow();
    QSignalSpy user(action("User Mode"), &QAction::changed);
    QSignalSpy expert(action("Expert Mode"), &QAction::changed);
    action("Expert Mode")->trigger();
    EXPECT_FALSE(action("User Mode")->isChecked());
    EXPECT_EQ(expert.count(), 1);
    EXPECT_EQ(user.count(), 0);
    EXPECT_EQ(holder->configView()->mode(), LogConfigView::Expert);
    EXPECT_TRUE(ViewSettings::instance().expertMode);
    action("Expert Mode")->trigger();
    EXPECT_TRUE(action("User Mode")->isChecked());
    EXPECT_EQ(user.count(), 0);
    EXPECT_EQ(holder->configView()->mode(), LogConfigView::User);
    EXPECT_FALSE(ViewSettings::instance().expertMode);
}

TEST_F(MainMenu, TheTimeDisplayOfTheStoreFollowsTheSettingAtStart)
{
    openWindow();
    EXPECT_EQ(holder->messageStore()->timeDisplayMode(), 0);
    holder.reset();
    ViewSettings::instance().timeDisplay = false;
    openWindow();
    EXPECT_NE(holder->messageStore()->timeDisplayMode(), 0);
}

TEST_F(MainMenu, TheTwoTimeDisplaysExcludeEachOtherWithoutASecondRoundOfSlotCalls)
{
    openWindow();
    QAction* date = action("Date and Time");
    QAction* seconds = action("Seconds since beginning of logging");
    for (QAction* toggled : {date, seconds}) {
        QAction* other = toggled == date ? seconds : date;
        for (int round = 0; round < 2; ++round) {
            QSignalSpy own(toggled, &QAction::changed);
            QSignalSpy others(other, &QAction::changed);
            toggled->trigger();
            EXPECT_NE(date->isChecked(), seconds->isChecked());
            EXPECT_EQ(own.count(), 1);
            EXPECT_EQ(others.count(), 0);
            EXPECT_EQ(holder->messageStore()->timeDisplayMode(), date->isChecked() ? 0 : 1);
            EXPECT_EQ(ViewSettings::instance().timeDisplay, date->isChecked());
        }
    }
}

TEST_F(MainMenu, ATimeDisplayThatReallyChangesRelaysBothTablesOut)
{
    openWindow();
    QSignalSpy full(holder->messageView()->fullModel(), &QAbstractItemModel::layoutChanged);
    QSignalSpy filtered(holder->messageView()->filteredModel(), &QAbstractItemModel::layoutChanged);
    action("Date and Time")->trigger();
    EXPECT_EQ(full.count(), 1);
    EXPECT_EQ(filtered.count(), 1);
    // changed() without a change of the mode
    action("Date and Time")->setEnabled(false);
    action("Seconds since beginning of logging")->setText(QStringLiteral("s"));
    EXPECT_EQ(full.count(), 1);
    EXPECT_EQ(filtered.count(), 1);
}

TEST_F(MainMenu, WhileLoggingRunsATimeDisplayIsLeftToTheNextRefresh)
{
    PublishedService service;
    openWindow();
    action("Start logging")->trigger();
    ASSERT_TRUE(holder->messageStore()->isActive());
    QSignalSpy full(holder->messageView()->fullModel(), &QAbstractItemModel::layoutChanged);
    action("Seconds since beginning of logging")->trigger();
    EXPECT_EQ(full.count(), 0);
    EXPECT_EQ(holder->messageStore()->timeDisplayMode(), 1);
    EXPECT_TRUE(waitFor([&] { return full.count() > 0; }));
}

TEST_F(MainMenu, ConfigurationShowsAndHidesTheDockAndRemembersIt)
{
    openWindow();
    QWidget* dock = holder->configView()->dock();
    action("Configuration")->trigger();
    EXPECT_TRUE(dock->isVisible());
    EXPECT_TRUE(ViewSettings::instance().configurationEnabled);
    action("Configuration")->trigger();
    EXPECT_FALSE(dock->isVisible());
    EXPECT_FALSE(ViewSettings::instance().configurationEnabled);
}

TEST_F(MainMenu, ConfigurationShowsAndHidesTheFloatingWindowToo)
{
    ViewSettings::instance().configurationEnabled = true;
    openWindow();
    holder->configView()->floatingButtonClicked();
    QWidget* floating = holder->configView()->floatingWindow();
    ASSERT_NE(floating, nullptr);
    action("Configuration")->trigger();
    EXPECT_FALSE(floating->isVisible());
    action("Configuration")->trigger();
    EXPECT_TRUE(floating->isVisible());
}

TEST_F(MainMenu, ClosingTheDockUnchecksConfiguration)
{
    ViewSettings::instance().configurationEnabled = true;
    openWindow();
    holder->configView()->dock()->close();
    EXPECT_FALSE(action("Configuration")->isChecked());
    EXPECT_FALSE(ViewSettings::instance().configurationEnabled);
    action("Configuration")->trigger();
    EXPECT_TRUE(holder->configView()->dock()->isVisible());
}

TEST_F(MainMenu, AutoScrollReachesTheViewTheTableAndTheSetting)
{
    openWindow();
    action("AutoScroll")->trigger();
    EXPECT_TRUE(holder->messageView()->isAutoScrollOn());
    EXPECT_TRUE(table().hasAutoScroll());
    EXPECT_TRUE(ViewSettings::instance().autoScrollEnabled);
    action("AutoScroll")->trigger();
    EXPECT_FALSE(holder->messageView()->isAutoScrollOn());
    EXPECT_FALSE(table().hasAutoScroll());
    EXPECT_FALSE(ViewSettings::instance().autoScrollEnabled);
}

TEST_F(MainMenu, FindShowsTheFindDialog)
{
    openWindow();
    EXPECT_FALSE(holder->messageView()->findDialog()->isVisible());
    action("Find...")->trigger();
    EXPECT_TRUE(holder->messageView()->findDialog()->isVisible());
}

TEST_F(MainMenu, FilterShowsTheFilterDialog)
{
    openWindow();
    EXPECT_FALSE(holder->messageView()->filterDialog()->isVisible());
    action("Filter...")->trigger();
    EXPECT_TRUE(holder->messageView()->filterDialog()->isVisible());
}

TEST_F(MainMenu, ShiftFHasOneTakerInTheWindow)
{
    openWindow();
    // The context menu makes its own entry with that key; it must not stay in the way.
    addMessages(1);
    for (int round = 0; round < 2; ++round) {
        // Only the active window has shortcuts, and the dialog that was hidden may be told late
        // that it is the one: pressed again then. Two takers would never open it.
        EXPECT_TRUE(waitFor([&] {
            holder->activateWindow();
            QTest::keyClick(&table(), Qt::Key_F, Qt::ShiftModifier);
            QTest::keyRelease(&table(), Qt::Key_Shift);
            return holder->messageView()->filterDialog()->isVisible();
        }));
        holder->messageView()->filterDialog()->hide();
        QTimer closeMenu;
        QObject::connect(&closeMenu, &QTimer::timeout, [] {
            if (QWidget* popup = QApplication::activePopupWidget())
                popup->close();
        });
        closeMenu.start(5);
        holder->messageView()->showContextMenu(QPoint(1, 1));
    }
}

TEST_F(MainMenu, GoToOffersTheLinesOfTheShownModel)
{
    openWindow();
    addMessages(7);
    action("Go to...")->trigger();
    const GoToDialog* dialog = holder->messageView()->goToDialog();
    EXPECT_TRUE(dialog->isVisible());
    EXPECT_EQ(dialog->lineBox()->minimum(), 1);
    EXPECT_EQ(dialog->lineBox()->maximum(), 7);
}

TEST_F(MainMenu, ClearLogEmptiesBothModels)
{
    openWindow();
    addMessages(3);
    ASSERT_EQ(holder->messageView()->fullModel()->rowCount(), 3);
    action("Clear log")->trigger();
    EXPECT_EQ(holder->messageView()->fullModel()->rowCount(), 0);
    EXPECT_EQ(holder->messageView()->filteredModel()->rowCount(), 0);
}

TEST_F(MainMenu, WithResizeRowsUncheckedEveryRowHasHeight20AndCanBeResizedByHand)
{
    openWindow();
    addMessages(5);
    const QHeaderView* rows = table().verticalHeader();
    const auto expect20 = [&] {
        for (int row = 0; row < 5; ++row) {
            EXPECT_EQ(table().rowHeight(row), 20) << row;
            EXPECT_EQ(rows->sectionResizeMode(row), QHeaderView::Interactive) << row;
        }
    };
    expect20();
    action("Resize rows")->trigger();
    EXPECT_TRUE(holder->messageView()->resizeRows());
    EXPECT_GT(table().rowHeight(0), 20);
    action("Resize rows")->trigger();
    EXPECT_FALSE(holder->messageView()->resizeRows());
    expect20();
    table().setRowHeight(2, 55);
    EXPECT_EQ(table().rowHeight(2), 55);
}

TEST_F(MainMenu, CopyTakesTheSelectionAndCopyAllTheWholeView)
{
    openWindow();
    addMessages(2);
    QApplication::clipboard()->clear();
    table().selectRow(0);
    action("Copy")->trigger();
    const QString selection = QApplication::clipboard()->text();
    EXPECT_TRUE(selection.contains(QStringLiteral("a message of"))) << selection.toStdString();
    action("Copy all")->trigger();
    const QString all = QApplication::clipboard()->text();
    EXPECT_GT(all.count(QStringLiteral("a message of")),
              selection.count(QStringLiteral("a message of")));
}

TEST_F(MainMenu, AboutTellsNameAndVersion)
{
    openWindow();
    MessageBoxWaiter user(QMessageBox::Ok);
    action("&About")->trigger();
    ASSERT_EQ(user.boxes().size(), 1);
    EXPECT_EQ(user.boxes().first().title, QStringLiteral("About Log Service"));
    EXPECT_TRUE(user.boxes().first().text.startsWith(
        QStringLiteral("<b>Arvenza ARZ LogDesk</b><br>ARZ LogDesk version: 3.1.26<br>")));
}

TEST_F(MainMenu, TheUserGuideIsOpenedInTheBrowserWithTheVersionFilledIn)
{
    openWindow();
    Browser browser;
    action("&Logging GUI User Guide")->trigger();
    ASSERT_EQ(browser.opened.size(), 1);
    EXPECT_TRUE(browser.opened.first().isValid());
    EXPECT_TRUE(browser.opened.first().path().contains(QStringLiteral("/3.1/")));
    EXPECT_FALSE(browser.opened.first().toString().contains(QLatin1Char('%')));
    EXPECT_EQ(holder->GetARZVersionString(), "3.1");
}

TEST_F(MainMenu, ExitClosesTheWindow)
{
    openWindow();
    action("E&xit")->trigger();
    EXPECT_FALSE(holder->isVisible());
}
