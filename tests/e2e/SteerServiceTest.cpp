// What is edited in the window decides what the service lets through.

#include "app/Application.h"
#include "app/MainView.h"
#include "config/LogConfigData.h"
#include "config/LogConfigView.h"
#include "config/TableModel.h"
#include "config/TreeModel.h"
#include "config/TreeNode.h"
#include "logging/LogMessage.h"
#include "store/LogTableModel.h"
#include "store/ViewSettings.h"
#include "tests/app/DialogAnswerer.h"
#include "tests/service/ProgramRun.h"
#include "tests/service/ServiceProcess.h"
#include "tests/support/TestEnvironment.h"
#include "view/LogMessageView.h"

#include <QAction>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QStringList>
#include <QTableView>
#include <QTest>
#include <QToolButton>
#include <QTreeView>

#include <gtest/gtest.h>

#include <functional>

namespace zuLogging {
namespace {

using test::DialogAnswerer;
using test::ProgramRun;
using test::runProgram;
using test::ServiceProcess;
using test::waitFor;

class SteerService : public ::testing::Test
{
protected:
    void SetUp() override
    {
        // The data directory is the test process's own, and so are the rules that a service keeps.
        QDir(QString::fromLocal8Bit(qgetenv("ARZDATA")) + QStringLiteral("/log"))
            .removeRecursively();
        ASSERT_TRUE(service.start());
        openWindow();
    }

    ~SteerService() override
    {
        window.reset();
        LogConfigData::instance()->setModified(false);
        ViewSettings::instance().reset();
    }

    void openWindow()
    {
        ViewSettings::instance().reset();
        QFile::remove(ViewSettings::filePath());
        createMainView(window);
        ASSERT_NE(window, nullptr);
        action("Configuration")->setChecked(true);
    }

    QAction* action(const char* text)
    {
        for (QAction* candidate :
             window->findChildren<QAction*>(QString(), Qt::FindDirectChildrenOnly))
            if (candidate->text() == QLatin1String(text))
                return candidate;
        qFatal("no action \"%s\"", text);
        return nullptr;
    }

    /// A click of the mouse on a button of the configuration's toolbar.
    void press(const char* toolTip)
    {
        for (QToolButton* button : window->configView()->findChildren<QToolButton*>())
            if (button->toolTip() == QLatin1String(toolTip)) {
                EXPECT_TRUE(button->isEnabled()) << toolTip;
                QTest::mouseClick(button, Qt::LeftButton);
                return;
            }
        ADD_FAILURE() << "no button " << toolTip;
    }

    void save()
    {
        user.boxes.clear();
        press("Save the configuration");
        EXPECT_EQ(user.boxes,
                  QStringList(QStringLiteral("Save: Configuration saved successfully.")));
    }

    static void send(const char* module, const char* level, const char* text)
    {
        const ProgramRun run =
            runProgram(QStringLiteral("zulog"),
                       {QStringLiteral("send"), QStringLiteral("--module"), QLatin1String(module),
                        QStringLiteral("--level"), QLatin1String(level), QLatin1String(text)});
        EXPECT_TRUE(run.ended);
        EXPECT_EQ(run.status, 0) << run.err.toStdString();
    }

    /// The texts in the table, once the last of those that were sent is there.
    QStringList textsUntil(const char* last)
    {
        const LogTableModel& model = *window->messageView()->fullModel();
        QStringList texts;
        EXPECT_TRUE(waitFor([&] {
            texts.clear();
            for (int row = 0; row < model.rowCount(); ++row)
                texts.append(toQString(model.messageAt(row)->logMessage()));
            return texts.contains(QLatin1String(last));
        }));
        return texts;
    }

    ServiceProcess service;
    MainViewHolder window;
    std::function<void(QDialog&)> onDialog; ///< what the person does with a dialog
    DialogAnswerer user{{}, [this](QDialog& dialog) { onDialog(dialog); }};
};

/// Types into the dialog as a person does, and leaves it by Return.
void enter(QDialog& dialog, const char* module, const char* level)
{
    const QList<QComboBox*> combos = dialog.findChildren<QComboBox*>();
    for (QComboBox* combo : combos) {
        if (combo->isEditable() && module) {
            combo->setFocus();
            combo->lineEdit()->selectAll();
            QTest::keyClicks(combo, QLatin1String(module));
        } else if (!combo->isEditable()) {
            combo->setFocus();
            QTest::keyClicks(combo, QLatin1String(level));
            EXPECT_EQ(combo->currentText(), QLatin1String(level));
        }
    }
    QTest::keyClick(&dialog, Qt::Key_Return);
}

} // namespace

TEST_F(SteerService, ALevelSetInTheWindowStopsTheMessagesBelowIt)
{
    action("Start logging")->trigger();
    send("noisy", "info", "before");
    textsUntil("before");

    onDialog = [](QDialog& dialog) { enter(dialog, "noisy", "err"); };
    press("Insert...");
    ASSERT_EQ(LogConfigData::instance()->tableModel()->rowCount(), 2);
    send("noisy", "info", "not saved yet");
    textsUntil("not saved yet");
    save();

    send("noisy", "info", "too quiet");
    send("noisy", "warn", "still too quiet");
    send("noisy", "err", "loud enough");
    send("other", "debug", "of another module");
    EXPECT_EQ(textsUntil("of another module"),
              (QStringList{QStringLiteral("before"), QStringLiteral("not saved yet"),
                           QStringLiteral("loud enough"), QStringLiteral("of another module")}));
    action("Stop logging")->trigger();
    EXPECT_TRUE(waitFor([&] { return action("Start logging")->isEnabled(); }));
}

TEST_F(SteerService, AChangeOfTheDefaultLevelByADoubleClickHoldsForAllModules)
{
    action("Start logging")->trigger();
    onDialog = [](QDialog& dialog) { enter(dialog, nullptr, "warn"); };
    QTableView& table = *window->configView()->tableView();
    const QPoint cell = table.visualRect(table.model()->index(0, 1)).center();
    QTest::mouseClick(table.viewport(), Qt::LeftButton, Qt::NoModifier, cell);
    QTest::mouseDClick(table.viewport(), Qt::LeftButton, Qt::NoModifier, cell);
    EXPECT_EQ(table.model()->index(0, 1).data().toString(), QStringLiteral("warn"));
    save();
    send("any", "info", "too quiet");
    send("any", "warn", "loud enough");
    EXPECT_EQ(textsUntil("loud enough"), QStringList(QStringLiteral("loud enough")));
}

TEST_F(SteerService, WhatWasSavedHoldsAfterTheServiceWasStartedAgain)
{
    onDialog = [](QDialog& dialog) { enter(dialog, "kept", "fatal"); };
    press("Insert...");
    save();
    EXPECT_EQ(service.terminate(), 0);
    ASSERT_TRUE(service.start());
    press("Reread the configuration");
    const TableModel& model = *LogConfigData::instance()->tableModel();
    ASSERT_EQ(model.rowCount(), 2);
    EXPECT_EQ(model.index(1, 0).data().toString(), QStringLiteral("kept"));
    EXPECT_EQ(model.index(1, 1).data().toString(), QStringLiteral("fatal"));

    action("Start logging")->trigger();
    send("kept", "err", "too quiet");
    send("kept", "fatal", "loud enough");
    EXPECT_EQ(textsUntil("loud enough"), QStringList(QStringLiteral("loud enough")));
}

TEST_F(SteerService, AModuleThatWasSeenIsOfferedInTheDialog)
{
    send("seen-before", "info", "hello");
    bool isOffered = false;
    onDialog = [&](QDialog& dialog) {
        for (const QComboBox* combo : dialog.findChildren<QComboBox*>())
            isOffered = isOffered || combo->findText(QStringLiteral("seen-before")) >= 0;
        dialog.reject();
    };
    press("Insert...");
    EXPECT_TRUE(isOffered);
}

TEST_F(SteerService, ALevelSetInTheTreeOfExpertModeHoldsToo)
{
    action("Start logging")->trigger();
    action("Expert Mode")->setChecked(true);
    QTreeView& tree = *window->configView()->treeView();
    TreeModel& model = *LogConfigData::instance()->treeModel();
    const TreeNode* level = model.root()
                                ->childWithKey(QStringLiteral("parameters"))
                                ->childWithKey(QStringLiteral("level"));
    ASSERT_NE(level, nullptr);
    tree.setCurrentIndex(model.indexOf(level));
    onDialog = [](QDialog& dialog) {
        auto* combo = dialog.findChildren<QComboBox*>().first();
        combo->setFocus();
        QTest::keyClicks(combo, QStringLiteral("err"));
        QTest::keyClick(&dialog, Qt::Key_Return);
    };
    press("Modify parameters");
    EXPECT_EQ(level->value(), QStringLiteral("err"));
    save();
    send("any", "warn", "too quiet");
    send("any", "err", "loud enough");
    EXPECT_EQ(textsUntil("loud enough"), QStringList(QStringLiteral("loud enough")));
}

TEST_F(SteerService, ASaveThatTheServiceDoesNotAnswerIsToldAndCanBeRepeated)
{
    onDialog = [](QDialog& dialog) { enter(dialog, "patient", "err"); };
    press("Insert...");
    service.kill();
    press("Save the configuration");
    ASSERT_EQ(user.boxes.size(), 1);
    EXPECT_TRUE(user.boxes.first().startsWith(
        QStringLiteral("Save: Failed to save the configuration file (")))
        << user.boxes.first().toStdString();
    EXPECT_TRUE(LogConfigData::instance()->isModified());
    ASSERT_TRUE(service.start());
    save();
    EXPECT_FALSE(LogConfigData::instance()->isModified());
}

} // namespace zuLogging
