#include "config/LogConfigData.h"
#include "config/TableModel.h"
#include "config/TreeModel.h"
#include "logging/LogClient.h"
#include "tests/app/AppFixture.h"
#include "tests/app/DialogAnswerer.h"
#include "tests/service/RunningService.h"

#include <QCheckBox>
#include <QDir>
#include <QFile>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QTableView>
#include <QTemporaryDir>
#include <QToolButton>
#include <QTreeView>

using namespace zuLogging;
using namespace zuLogging::test;

namespace {

const char twoModules[] =
    R"({"parameters":{"level":"info"},"specializations":[)"
    R"({"attributes":[{"id":"module","value":"alpha"}],"parameters":{"level":"err"}},)"
    R"({"attributes":[{"id":"module","value":"beta"}],"parameters":{"level":"debug"}}]})";

/// A window beside a real service, which has the configuration above.
class ConfigurationCommands : public AppFixture
{
protected:
    void SetUp() override
    {
        AppFixture::SetUp();
        service = std::make_unique<RunningService>();
        LogClient(service->address()).upload(twoModules, sizeof twoModules - 1);
        ViewSettings::instance().configurationEnabled = true;
    }

    void open()
    {
        createMainView(holder);
        ASSERT_NE(holder, nullptr);
    }

    QStringList tableRows() const
    {
        QStringList rows;
        const TableModel& model = *LogConfigData::instance()->tableModel();
        for (int row = 0; row < model.rowCount(); ++row)
            rows.append(model.index(row, 0).data().toString() + QLatin1Char('=') +
                        model.index(row, 1).data().toString());
        return rows;
    }

    QString path(const char* name) const { return directory.filePath(QLatin1String(name)); }
    void write(const QString& file, const QByteArray& text) const
    {
        QFile out(file);
        ASSERT_TRUE(out.open(QIODevice::WriteOnly));
        out.write(text);
    }
    bool saveEnabled() const
    {
        for (const auto* button : holder->configView()->findChildren<QToolButton*>())
            if (button->toolTip() == QStringLiteral("Save the configuration"))
                return button->isEnabled();
        ADD_FAILURE() << "no save button";
        return false;
    }

    std::unique_ptr<RunningService> service;
    QTemporaryDir directory;
};

const QStringList loadedRows{QStringLiteral("default=info"), QStringLiteral("alpha=err"),
                             QStringLiteral("beta=debug")};

} // namespace

TEST_F(ConfigurationCommands, TheWindowOpensWithTheServicesConfiguration)
{
    open();
    EXPECT_EQ(tableRows(), loadedRows);
    ASSERT_NE(holder->configView()->tableView(), nullptr);
    EXPECT_EQ(holder->configView()->tableView()->model(), LogConfigData::instance()->tableModel());
    EXPECT_FALSE(saveEnabled());
}

TEST_F(ConfigurationCommands, ASwitchToExpertModeShowsTheTreeAndBackTheTable)
{
    open();
    action("Expert Mode")->trigger();
    ASSERT_NE(holder->configView()->treeView(), nullptr);
    EXPECT_TRUE(holder->configView()->treeView()->isVisible());
    EXPECT_EQ(holder->configView()->treeView()->model(), LogConfigData::instance()->treeModel());
    action("User Mode")->trigger();
    EXPECT_TRUE(holder->configView()->tableView()->isVisible());
    EXPECT_FALSE(holder->configView()->treeView()->isVisible());
}

TEST_F(ConfigurationCommands, OpenConfigShowsAFileAndTheWindowAsksBeforeItCloses)
{
    write(path("one.json"), R"({"parameters":{"level":"fatal"}})");
    open();
    {
        DialogAnswerer user(path("one.json"));
        action("Open config...")->trigger();
        EXPECT_EQ(user.fileCaptions, QStringList(QStringLiteral("Open Config File")));
        EXPECT_EQ(user.fileFilters, QStringList(QStringLiteral("Configuration files (*.json)")));
        EXPECT_TRUE(user.boxes.isEmpty());
    }
    EXPECT_EQ(tableRows(), QStringList(QStringLiteral("default=fatal")));
    EXPECT_EQ(holder->configView()->tableView()->model()->rowCount(), 1);
    EXPECT_TRUE(LogConfigData::instance()->isModified());
    EXPECT_TRUE(saveEnabled());
    MessageBoxWaiter user(QMessageBox::Cancel);
    EXPECT_FALSE(holder->close());
    EXPECT_EQ(user.boxes().size(), 1);
}

TEST_F(ConfigurationCommands, CancellingOpenConfigReloadsTheConfigurationFromTheService)
{
    open();
    const char other[] = R"({"parameters":{"level":"trace"}})";
    LogClient(service->address()).upload(other, sizeof other - 1);
    DialogAnswerer user;
    action("Open config...")->trigger();
    EXPECT_EQ(user.fileCaptions.size(), 1);
    EXPECT_TRUE(user.boxes.isEmpty());
    EXPECT_EQ(tableRows(), QStringList(QStringLiteral("default=trace")));
    EXPECT_TRUE(LogConfigData::instance()->isModified());
}

TEST_F(ConfigurationCommands, AConfigurationFileThatCannotBeReadIsToldAndMarksAsModifiedAllTheSame)
{
    write(path("bad.json"), "{");
    open();
    DialogAnswerer user(path("bad.json"));
    action("Open config...")->trigger();
    EXPECT_EQ(
        user.boxes,
        QStringList(QStringLiteral("Open File: Failed to load the configuration from file '") +
                    path("bad.json") + QStringLiteral("'")));
    EXPECT_TRUE(LogConfigData::instance()->isModified());
    EXPECT_TRUE(saveEnabled());
    EXPECT_EQ(holder->configView()->tableView()->model()->rowCount(), 0);
}

TEST_F(ConfigurationCommands, TheNameOfAFileIsNeverTakenForMarkup)
{
    write(path("<b>bad<.json"), "{");
    open();
    Qt::TextFormat format = Qt::RichText;
    DialogAnswerer user(path("<b>bad<.json"));
    user.onBox = [&format](QMessageBox& box) { format = box.textFormat(); };
    action("Open config...")->trigger();
    EXPECT_EQ(user.boxes.size(), 1);
    EXPECT_EQ(format, Qt::PlainText);
}

TEST_F(ConfigurationCommands, AWindowThatIsClosedUnderTheFileDialogLoadsAndMarksNothing)
{
    open();
    holder->show();
    const char other[] = R"({"parameters":{"level":"trace"}})";
    LogClient(service->address()).upload(other, sizeof other - 1);
    DialogAnswerer user;
    user.onFiles = [this](QFileDialog& dialog) {
        EXPECT_TRUE(holder->close());
        dialog.reject(); // as the end of the program does
    };
    holder->openConfigFile();
    EXPECT_EQ(user.fileCaptions.size(), 1);
    EXPECT_FALSE(LogConfigData::instance()->isModified());
    EXPECT_EQ(tableRows(), loadedRows);
}

TEST_F(ConfigurationCommands, ACommentThatIsBeingTypedIsAskedForWhenTheWindowCloses)
{
    const char document[] = R"({"parameters":{"level":"info"},"#":"first"})";
    LogClient(service->address()).upload(document, sizeof document - 1);
    ViewSettings::instance().expertMode = true;
    open();
    holder->show();
    QTreeView* tree = holder->configView()->treeView();
    tree->setCurrentIndex(tree->model()->index(1, 1));
    tree->edit(tree->currentIndex());
    auto* editor = tree->viewport()->findChild<QLineEdit*>();
    ASSERT_NE(editor, nullptr);
    editor->setText(QStringLiteral("typed"));

    MessageBoxWaiter user(QMessageBox::Cancel);
    EXPECT_FALSE(holder->close());
    EXPECT_EQ(user.boxes().size(), 1);
    EXPECT_TRUE(holder->isVisible());
    EXPECT_TRUE(saveEnabled());
    EXPECT_EQ(tree->model()->index(1, 1).data().toString(), QStringLiteral("typed"));
}

TEST_F(ConfigurationCommands, OpenConfigStartsWhereTheServiceKeepsItsFiles)
{
    const QString folder =
        QDir(QString::fromLocal8Bit(qgetenv("ARZDATA"))).filePath(QStringLiteral("log"));
    ASSERT_TRUE(QDir().mkpath(folder));
    open();
    DialogAnswerer user;
    action("Open config...")->trigger();
    EXPECT_EQ(user.fileDirectories, QStringList(folder));
}

TEST_F(ConfigurationCommands, ResetConfigFileRemovesTheModulesInEitherMode)
{
    for (const char* mode : {"User Mode", "Expert Mode"}) {
        LogClient(service->address()).upload(twoModules, sizeof twoModules - 1);
        open();
        action(mode)->setChecked(true);
        ASSERT_EQ(tableRows(), loadedRows);
        action("Reset config file")->trigger();
        EXPECT_EQ(tableRows(), QStringList(QStringLiteral("default=fatal"))) << mode;
        EXPECT_TRUE(LogConfigData::instance()->isModified());
        EXPECT_TRUE(saveEnabled());
        LogConfigData::instance()->setModified(false);
        ViewSettings::instance().configurationEnabled = true;
    }
}

TEST_F(ConfigurationCommands, AnEditThatWasSavedIsWhatTheServiceHas)
{
    open();
    LogConfigData::instance()->tableModel()->modifyRow(1, QStringLiteral("alpha"),
                                                       QStringLiteral("warn"));
    holder->configView()->markModified();
    DialogAnswerer user;
    holder->configView()->saveConfigClicked();
    EXPECT_EQ(user.boxes, QStringList(QStringLiteral("Save: Configuration saved successfully.")));
    EXPECT_FALSE(LogConfigData::instance()->isModified());
    EXPECT_FALSE(saveEnabled());
    EXPECT_NE(
        LogClient(service->address()).download(LogClientCommand::GetConfiguration).find("warn"),
        std::string::npos);
}

TEST_F(ConfigurationCommands, AcceptedPreferencesTellTheUserToRebootAndCancelledOnesDoNot)
{
    const QString folder =
        QDir(QString::fromLocal8Bit(qgetenv("ARZDATA"))).filePath(QStringLiteral("log"));
    ASSERT_TRUE(QDir().mkpath(folder));
    const QString file = QDir(folder).filePath(QStringLiteral("LogSvcConf.json"));
    write(file, R"({"startup_sinks":[{"type":"record","media_size":"1000"}]})");
    open();
    const auto answer = [](const char* button) {
        return [button](QDialog& dialog) {
            EXPECT_EQ(dialog.windowTitle(), QStringLiteral("Preferences"));
            dialog.findChild<QSpinBox*>()->setValue(2500);
            for (auto* candidate : dialog.findChildren<QPushButton*>())
                if (candidate->text() == QLatin1String(button))
                    candidate->click();
        };
    };
    {
        DialogAnswerer user({}, answer("Cancel"));
        action("Preferences...")->trigger();
        EXPECT_TRUE(user.boxes.isEmpty());
    }
    DialogAnswerer user({}, answer("OK"));
    action("Preferences...")->trigger();
    EXPECT_EQ(user.boxes,
              QStringList(QStringLiteral("Preferences: For the preferences to take effect, "
                                         "reboot your system.")));
    QFile written(file);
    ASSERT_TRUE(written.open(QIODevice::ReadOnly));
    EXPECT_TRUE(written.readAll().contains("2500"));
    written.close();
    QFile::remove(file);
}
