#include "app/MainView.h"
#include "config/InsertConfigDialog.h"
#include "config/LogConfigData.h"
#include "config/LogConfigView.h"
#include "config/PreferencesDialog.h"
#include "config/TableModel.h"
#include "config/TreeModel.h"
#include "logging/LogMessage.h"
#include "service/ServicePidFile.h"
#include "store/LogContainer.h"
#include "store/LogField.h"
#include "store/LogTableModel.h"
#include "store/ViewSettings.h"
#include "tests/service/RunningService.h"
#include "tests/support/TestEnvironment.h"
#include "view/FilterDialog.h"
#include "view/FindDialog.h"
#include "view/GoToDialog.h"
#include "view/LogMessageView.h"
#include "view/LogTableView.h"
#include "view/SettingsDialog.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QDockWidget>
#include <QFile>
#include <QImage>
#include <QLineEdit>
#include <QListWidget>
#include <QMap>
#include <QPixmap>
#include <QSpinBox>
#include <QTableView>
#include <QTreeView>

#include <gtest/gtest.h>

#include <memory>
#include <set>

// The pictures of the user guide, made from the real widgets. The target `screenshots` writes them
// into docs/images; as a test they go to a folder of its own, and what is checked is that every one
// of them can be made and shows something.

// Outside of any namespace, as the resource system wants it.
static void registerIcons()
{
    Q_INIT_RESOURCE(logdesk);
}

using namespace zuLogging;
using namespace zuLogging::test;

namespace {

const char configuration[] = R"({
    "parameters": {"level": "info", "destination": "logsvc"},
    "specializations": [
        {"#": "Payments are watched closely",
         "attributes": [{"id": "module", "op": "eq", "value": "payment"}],
         "parameters": {"level": "debug"},
         "specializations": [
            {"attributes": [{"id": "process", "op": "eq", "value": "nightly-batch"}],
             "parameters": {"level": "warn"}}]},
        {"attributes": [{"id": "module", "op": "sub", "value": "cache"}],
         "parameters": {"level": "err", "destination": "file", "file": "cache.log"}},
        {"attributes": [{"id": "module", "op": "eq", "value": "session"}],
         "parameters": {"level": "warn"}}]
})";

struct Sample
{
    LogLevel level;
    const char16_t* module;
    const char16_t* group;
    const char16_t* position;
    const char16_t* text;
};

const Sample samples[] = {
    {LogLevel::Info, u"session", u"login", u"login.cpp:118", u"user 4711 logged in from desk 12"},
    {LogLevel::Debug, u"cache", u"lookup", u"store.cpp:77", u"hit for key 0x5f31, age 14 s"},
    {LogLevel::Trace, u"cache", u"lookup", u"store.cpp:91", u"entry touched"},
    {LogLevel::Warn, u"payment", u"gateway", u"retry.cpp:42", u"no answer in 2 s, second attempt"},
    {LogLevel::Info, u"payment", u"gateway", u"retry.cpp:57", u"payment 90210 confirmed"},
    {LogLevel::Err, u"payment", u"gateway", u"retry.cpp:63",
     u"payment 90211 refused: card expired"},
    {LogLevel::Info, u"report", u"render", u"page.cpp:310", u"42 pages in 1.7 s"},
    {LogLevel::Fatal, u"report", u"render", u"page.cpp:355", u"out of disk space, giving up"},
};

class Screenshots : public ::testing::Test
{
protected:
    void SetUp() override
    {
        registerIcons();
        const QByteArray wanted = qgetenv("LOGDESK_SCREENSHOTS");
        folder_ = wanted.isEmpty() ? QDir::temp().filePath(QStringLiteral("logdesk-screenshots"))
                                   : QString::fromLocal8Bit(wanted);
        ASSERT_TRUE(QDir().mkpath(folder_));
        ViewSettings::instance().reset();
        service_ = std::make_unique<RunningService>();
        LogClient client(service_->address());
        client.upload(configuration, sizeof configuration - 1);
        ASSERT_EQ(LogConfigData::instance()->loadConfiguration(QString()), QString());
    }

    void TearDown() override
    {
        window_.reset();
        LogConfigData::instance()->setModified(false);
        ViewSettings::instance().reset();
    }

    MainView& openWindow()
    {
        ViewSettings& settings = ViewSettings::instance();
        settings.setColumnLayout({FieldTimestamp, FieldLogLevel, FieldModule, FieldGroupName,
                                  FieldProcessID, FieldLogPos, FieldLogMessage});
        window_ = std::make_shared<MainView>(&window_);
        window_->resize(1280, 600);
        window_->show();
        LogTableModel& model = *window_->messageView()->fullModel();
        std::uint64_t time = 19'766'000'000'000'000ULL;
        for (std::uint64_t number = 1; number <= 200; ++number) {
            const Sample& sample = samples[number * 5 % std::size(samples)];
            time += 1000 * (number * 7919 % 613);
            auto message = std::make_shared<LogMessage>(
                number, number, number, time, static_cast<std::uint64_t>(sample.level),
                sample.position, sample.module, sample.group, sample.text, 2000 + number % 3,
                2100 + number % 5);
            message->renderTimestamp();
            model.addMessage(message);
        }
        window_->messageView()->updateView();
        window_->messageView()->table()->resizeColumnsToContents();
        return *window_;
    }

    QAction* action(const char* text) const
    {
        for (QAction* candidate :
             window_->findChildren<QAction*>(QString(), Qt::FindDirectChildrenOnly))
            if (candidate->text() == QLatin1String(text))
                return candidate;
        ADD_FAILURE() << "no action " << text;
        return nullptr;
    }

    /// Paints the widget into NAME.png and looks at the picture.
    void shoot(QWidget& widget, const char* name)
    {
        widget.ensurePolished();
        widget.show();
        QApplication::processEvents();
        const QPixmap picture = widget.grab();
        const QImage image = picture.toImage();
        std::set<QRgb> colours;
        for (int y = 0; y < image.height(); y += 2)
            for (int x = 0; x < image.width(); x += 2)
                colours.insert(image.pixel(x, y));
        EXPECT_GE(colours.size(), 8U) << name << " shows next to nothing";
        const QString path = QDir(folder_).filePath(QLatin1String(name) + QStringLiteral(".png"));
        EXPECT_TRUE(picture.save(path)) << path.toStdString();
    }

    std::shared_ptr<MainView> window_;

private:
    QString folder_;
    std::unique_ptr<RunningService> service_;
    const ServicePidFile pidFile_; ///< by which the window sees that the service runs
};

} // namespace

TEST_F(Screenshots, TheMainWindow)
{
    MainView& window = openWindow();
    window.messageView()->table()->selectRow(6);
    shoot(window, "main-window");
}

TEST_F(Screenshots, TheFilterDialog)
{
    FilterDialog& dialog = *openWindow().messageView()->filterDialog();
    dialog.filterText()->setText(QStringLiteral("payment"));
    dialog.addIncludeFilter();
    dialog.filterText()->setText(QStringLiteral("second attempt"));
    dialog.addExcludeFilter();
    for (QCheckBox* box : dialog.findChildren<QCheckBox*>())
        if (box->text().startsWith(QStringLiteral("Error")) ||
            box->text().startsWith(QStringLiteral("Warning")))
            box->setChecked(true);
    shoot(dialog, "filter");
}

TEST_F(Screenshots, TheFindDialog)
{
    FindDialog& dialog = *openWindow().messageView()->findDialog();
    dialog.findChild<QLineEdit*>()->setText(QStringLiteral("confirmed"));
    shoot(dialog, "find");
}

TEST_F(Screenshots, TheGoToDialog)
{
    GoToDialog& dialog = *openWindow().messageView()->goToDialog();
    dialog.setLineCount(200);
    dialog.lineBox()->setValue(128);
    shoot(dialog, "go-to");
}

TEST_F(Screenshots, TheViewSettings)
{
    QMap<int, int> positions;
    const QList<int> shown = {FieldTimestamp, FieldLogLevel, FieldModule, FieldLogMessage};
    for (const int field : defaultColumnOrder())
        positions.insert(field, shown.indexOf(field));
    SettingsDialog dialog(100000, positions, true, nullptr);
    dialog.resize(dialog.width(), 640);
    shoot(dialog, "view-settings");
}

TEST_F(Screenshots, TheConfigurationInUserMode)
{
    MainView& window = openWindow();
    action("Configuration")->setChecked(true);
    window.configView()->tableView()->selectRow(1);
    shoot(window, "configuration-user");
}

TEST_F(Screenshots, TheConfigurationInExpertMode)
{
    MainView& window = openWindow();
    action("Configuration")->setChecked(true);
    action("Expert Mode")->setChecked(true);
    window.configView()->treeView()->expandAll();
    window.configView()->treeView()->resizeColumnToContents(0);
    shoot(window, "configuration-expert");
}

TEST_F(Screenshots, TheModuleDialog)
{
    LogConfigView& view = *openWindow().configView();
    const TableModel& model = *LogConfigData::instance()->tableModel();
    InsertConfigDialog dialog(&view, model.index(1, 0), LogConfigData::instance()->moduleNames(),
                              LogConfigData::levelNames(), LogConfigData::destinationNames(),
                              LogConfigData::attributeIds(), LogConfigData::attributeOps(),
                              {{QStringLiteral("value"), QStringLiteral("payment")},
                               {QStringLiteral("level"), QStringLiteral("debug")}},
                              false, false, nullptr);
    shoot(dialog, "module");
}

TEST_F(Screenshots, ThePreferences)
{
    const QDir data(QString::fromLocal8Bit(qgetenv("ARZDATA")));
    ASSERT_TRUE(data.mkpath(QStringLiteral("log")));
    QFile file(data.filePath(QStringLiteral("log/LogSvcConf.json")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(R"({"startup_sinks":[{"type":"record","media_size":"10000"}]})");
    file.close();
    PreferencesDialog dialog(nullptr);
    shoot(dialog, "preferences");
}
