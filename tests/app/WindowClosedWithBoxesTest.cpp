// The program's end while a box or a dialog is open, for each one that the window can show: the
// window closes as the program closes it, nothing crashes, and nothing of it is left behind.

#include "config/LogConfigData.h"
#include "config/TableModel.h"
#include "logging/LogClient.h"
#include "store/LogTableModel.h"
#include "tests/app/AppFixture.h"
#include "tests/app/FileChooser.h"
#include "tests/app/ProgramLoop.h"
#include "tests/endurance/ProcessUse.h"
#include "tests/service/RunningService.h"
#include "view/LogTableView.h"

#include <QDir>
#include <QFileDialog>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QSpinBox>
#include <QTableView>
#include <QTemporaryDir>
#include <QTimer>
#include <QTreeView>

#include <functional>

namespace zuLogging::test {
namespace {

const char twoModules[] =
    R"({"parameters":{"level":"info"},"specializations":[)"
    R"({"attributes":[{"id":"module","value":"alpha"}],"parameters":{"level":"err"}},)"
    R"({"attributes":[{"id":"module","value":"beta"}],"parameters":{"level":"debug"}}]})";

class WindowClosedWithBoxes;
using Step = void (*)(WindowClosedWithBoxes&);

/// How to open it, and what it is.
struct Row
{
    const char* name;
    const char* title;
    const char* type; ///< class of the widget
    Step open;
};

void PrintTo(const Row& row, std::ostream* out)
{
    *out << row.name;
}

class WindowClosedWithBoxes : public AppFixture, public testing::WithParamInterface<Row>
{
public:
    using AppFixture::holder;

    void SetUp() override
    {
        AppFixture::SetUp();
        service = std::make_unique<RunningService>();
        LogClient(service->address()).upload(twoModules, sizeof twoModules - 1);
        const QString error = LogConfigData::instance()->loadConfiguration(QString());
        ASSERT_EQ(error, QString());
        ViewSettings::instance().configurationEnabled = true;
        QDir().mkpath(startupFolder());
        QFile::remove(startupFile());
    }
    void TearDown() override
    {
        QFile::remove(startupFile());
        AppFixture::TearDown();
    }

    LogMessageView& view() { return *holder->messageView(); }
    LogConfigView& config() { return *holder->configView(); }
    void addRows(int count)
    {
        for (int i = 0; i < count; ++i) {
            const auto id = static_cast<std::uint64_t>(i) + 1;
            auto message = std::make_shared<LogMessage>(
                id, id, id, id, 8U, std::u16string_view(), std::u16string_view(u"module"),
                std::u16string_view(), std::u16string_view(u"text"), 0U, 0U);
            message->renderTimestamp();
            view().fullModel()->addMessage(std::move(message));
        }
        view().updateView();
    }
    void chooseNext(const QString& path, bool gone = false)
    {
        test::chooseNext(holder.get(), path, gone);
    }
    /// Presses the button with this name in the dialog that opens next, after `before`.
    template <class Dialog>
    void pressNext(const char* name, std::function<void(QWidget&)> before = {})
    {
        auto* timer = new QTimer(holder.get());
        QObject::connect(timer, &QTimer::timeout, timer, [timer, name, before] {
            auto* dialog = qobject_cast<Dialog*>(QApplication::activeModalWidget());
            auto* button =
                dialog ? dialog->template findChild<QPushButton*>(QLatin1String(name)) : nullptr;
            if (!button || !button->isEnabled())
                return;
            timer->stop();
            if (before)
                before(*dialog);
            button->click();
        });
        timer->start(1);
    }
    QString write(const char* name, const QByteArray& text) const
    {
        QFile file(directory.filePath(QLatin1String(name)));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
        return file.fileName();
    }
    static QString startupFolder()
    {
        return TestEnvironment::instance().dataDirectory() + QStringLiteral("/log");
    }
    static QString startupFile() { return startupFolder() + QStringLiteral("/LogSvcConf.json"); }
    static void writeStartupFile(const QByteArray& text)
    {
        QFile file(startupFile());
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
    }
    void selectModule()
    {
        config().setMode(LogConfigView::User);
        config().tableView()->setCurrentIndex(config().tableView()->model()->index(1, 0));
    }
    void editModule()
    {
        LogConfigData::instance()->tableModel()->modifyRow(1, QStringLiteral("alpha"),
                                                           QStringLiteral("debug"));
    }
    void selectNode()
    {
        config().setMode(LogConfigView::Expert);
        const QAbstractItemModel* model = config().treeView()->model();
        config().treeView()->setCurrentIndex(model->index(0, 0));
    }

    std::unique_ptr<RunningService> service;
    QTemporaryDir directory;

protected:
    /// Runs the program with a window until it ends; true if the box was there when the window was
    /// closed.
    bool run(const Row& row)
    {
        openWindow();
        QTimer::singleShot(0, holder.get(), [this, &row] { row.open(*this); });
        bool met = false;
        bool closing = false;
        QTimer looks;
        QObject::connect(&looks, &QTimer::timeout, &looks, [&] {
            if (!met) {
                met = isOpen(row);
                // Not from here: it may ask something, and then this timer is needed again.
                if (met)
                    QTimer::singleShot(0, holder.get(), [this, &closing] {
                        closing = true;
                        holder->close();
                    });
                return;
            }
            // Whatever the closing asks, and the box that the window was asked for by its close.
            auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            if (closing && box) {
                if (QAbstractButton* ok = box->button(QMessageBox::Ok))
                    ok->click();
                else
                    box->reject();
            }
        });
        looks.start(2);
        EXPECT_TRUE(runUntilTheLastWindowCloses(20000))
            << "it did not open, or the window did not close";
        holder->shutDown();
        holder.reset();
        LogConfigData::instance()->setModified(false);
        return met && closing;
    }
    static bool isOpen(const Row& row)
    {
        const auto all = QApplication::topLevelWidgets();
        for (QWidget* widget : all)
            if (widget->isVisible() && widget->inherits(row.type) &&
                widget->windowTitle() == QString::fromUtf8(row.title))
                return true;
        return false;
    }
};

using Test = WindowClosedWithBoxes;

constexpr char box[] = "QMessageBox";
constexpr char file[] = "QFileDialog";
constexpr char dialog[] = "QDialog";

const Row rows[] = {
    // The window's own
    {"About", "About Log Service", box, [](Test& t) { t.holder->about(); }},
    {"Find", "Find", dialog, [](Test& t) { t.holder->search(); }},
    {"FilterDialog", "Filter", dialog, [](Test& t) { t.holder->filter(); }},
    {"GoTo", "Go To...", dialog, [](Test& t) { t.holder->goToLine(); }},
    {"Settings", "Settings", dialog, [](Test& t) { t.holder->configureSettings(); }},
    {"SettingsWithTwiceTheSameColumn", "Settings", box,
     [](Test& t) {
         t.pressNext<QDialog>("settingsOk", [](QWidget& settings) {
             const auto boxes = settings.findChildren<QSpinBox*>();
             for (QSpinBox* position : boxes)
                 if (position->objectName() != QStringLiteral("settingsMaximum"))
                     position->setValue(1);
         });
         t.holder->configureSettings();
     }},
    {"OpenConfig", "Open Config File", file, [](Test& t) { t.holder->openConfigFile(); }},
    {"OpenConfigFails", "Open File", box,
     [](Test& t) {
         t.chooseNext(t.write("broken.json", "{"));
         t.holder->openConfigFile();
     }},
    {"Preferences", "Preferences", "zuLogging::PreferencesDialog",
     [](Test& t) {
         Test::writeStartupFile("{}");
         t.holder->configurePreferences();
     }},
    {"PreferencesWithoutAFile", "Preferences", box,
     [](Test& t) { t.holder->configurePreferences(); }},
    {"PreferencesOfABrokenFile", "Preferences", box,
     [](Test& t) {
         Test::writeStartupFile("{");
         t.holder->configurePreferences();
     }},
    {"PreferencesSaved", "Preferences", box,
     [](Test& t) {
         Test::writeStartupFile("{}");
         t.pressNext<QDialog>("preferencesOk");
         t.holder->configurePreferences();
     }},
    {"PreferencesNotWritten", "Preferences", box,
     [](Test& t) {
         Test::writeStartupFile("{}");
         t.pressNext<QDialog>("preferencesOk", [](QWidget&) {
             QFile::remove(Test::startupFile());
             QDir().mkdir(Test::startupFile()); // what nobody can replace
         });
         t.holder->configurePreferences();
         QDir().rmdir(Test::startupFile());
     }},
    {"ReplayRefused", "Start Logging", box,
     [](Test& t) {
         t.service.reset();
         PublishedService service;
         service.refuse(LogMessageCommand::Replay);
         t.holder->replayLogHistory();
     }},
    {"Shutdown", "Shutdown", box,
     [](Test& t) {
         LogConfigData::instance()->setModified(true);
         t.holder->close();
     }},
    // The message view's
    {"StartWithAChangedConfiguration", "Start Logging", box,
     [](Test& t) {
         LogConfigData::instance()->setModified(true);
         t.holder->startLogging();
     }},
    {"StartFails", "Start Logging", box,
     [](Test& t) {
         t.service.reset();
         t.holder->startLogging();
     }},
    {"NotFound", "Search", box,
     [](Test& t) {
         t.addRows(3);
         t.view().search(QStringLiteral("is nowhere"), true);
     }},
    {"ContextMenu", "", "QMenu", [](Test& t) { t.view().showContextMenu({}); }},
    {"TimeReference", "Timestamp", box,
     [](Test& t) {
         t.addRows(3);
         t.view().table()->setCurrentIndex(t.view().fullModel()->index(1, 0));
         t.view().setReferenceTimeClicked();
     }},
    {"FewerMessages", "Log Messages", box,
     [](Test& t) {
         t.addRows(3);
         t.view().setMaximumMessages(1);
     }},
    {"SaveText", "Save log file", file, [](Test& t) { t.holder->saveLogMessages(); }},
    {"SaveJson", "Save log file", file, [](Test& t) { t.holder->saveLogAsJSON(); }},
    {"SaveJsonWhileLogging", "Save to JSON", box,
     [](Test& t) {
         t.holder->startLogging();
         t.holder->saveLogAsJSON();
     }},
    {"LoadJson", "Open log file", file, [](Test& t) { t.holder->loadLogFromJSON(); }},
    {"LoadJsonWhileLogging", "Load from JSON", box,
     [](Test& t) {
         t.holder->startLogging();
         t.holder->loadLogFromJSON();
     }},
    {"LoadJsonWithRows", "Load from JSON", box,
     [](Test& t) {
         t.addRows(3);
         t.holder->loadLogFromJSON();
     }},
    {"LoadJsonFails", "Load from JSON", box,
     [](Test& t) {
         t.chooseNext(t.write("gone.json", "[]"), true);
         t.holder->loadLogFromJSON();
     }},
    {"OpenLogWhileLogging", "Open log file", box,
     [](Test& t) {
         t.holder->startLogging();
         t.view().openLogFiles({QStringLiteral("any.log")});
     }},
    {"OpenLogWithRows", "Open log file", box,
     [](Test& t) {
         t.addRows(3);
         t.view().openLogFiles({QStringLiteral("any.log")}, true);
     }},
    {"OpenLogFails", "Open log file", box,
     [](Test& t) {
         t.view().openLogFiles({t.directory.filePath(QStringLiteral("is not there.log"))});
     }},
    // The configuration view's
    {"InsertModule", "Insert ", dialog,
     [](Test& t) {
         t.selectModule();
         t.config().insertClicked();
     }},
    {"ModifyModule", "Modify ", dialog,
     [](Test& t) {
         t.selectModule();
         t.config().modifyClicked();
     }},
    {"InsertNode", "Insert", box,
     [](Test& t) {
         t.selectNode();
         t.config().insertClicked();
     }},
    {"NothingToInsertAt", "Insert", box,
     [](Test& t) {
         t.config().setMode(LogConfigView::Expert);
         t.config().treeView()->setCurrentIndex({});
         t.config().insertClicked();
     }},
    {"NothingToDelete", "Delete", box,
     [](Test& t) {
         t.config().setMode(LogConfigView::Expert);
         t.config().treeView()->setCurrentIndex({});
         t.config().deleteClicked();
     }},
    {"NothingToModify", "Modify", box,
     [](Test& t) {
         t.config().setMode(LogConfigView::User);
         t.config().tableView()->setCurrentIndex({});
         t.config().modifyClicked();
     }},
    {"ConfigurationMenu", "", "QMenu",
     [](Test& t) {
         t.selectModule();
         t.config().showContextMenu({});
     }},
    {"ConfigurationSaved", "Save", box, [](Test& t) { t.config().saveConfigClicked(); }},
    {"ConfigurationNotSaved", "Save", box,
     [](Test& t) {
         t.service.reset();
         t.config().saveConfigClicked();
     }},
    {"ConfigurationNotRead", "Update", box,
     [](Test& t) {
         t.service.reset();
         t.config().updateConfigClicked();
     }},
    {"UnsavedProperties", "Unsaved Properties", box,
     [](Test& t) {
         t.selectModule();
         t.editModule();
         t.config().updateConfigClicked();
     }},
    {"UndockedConfiguration", "Arvenza LogDesk", "QMainWindow",
     [](Test& t) { t.config().floatingButtonClicked(); }},
};

INSTANTIATE_TEST_SUITE_P(Open, WindowClosedWithBoxes, testing::ValuesIn(rows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_P(WindowClosedWithBoxes, NothingCrashesAndNothingIsLeftBehind)
{
    EXPECT_TRUE(run(GetParam())); // what is made once a process is there from here on
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
    service.reset();
    service = std::make_unique<RunningService>();
    LogClient(service->address()).upload(twoModules, sizeof twoModules - 1);
    LogConfigData::instance()->loadConfiguration(QString());
    QFile::remove(startupFile());
    ViewSettings::instance().reset();
    ViewSettings::instance().configurationEnabled = true;

    const ProcessUse before = useOf(QCoreApplication::applicationPid());
    EXPECT_TRUE(run(GetParam()));
    if (!service)
        service = std::make_unique<RunningService>();
    EXPECT_TRUE(waitFor([&] {
        const ProcessUse now = useOf(QCoreApplication::applicationPid());
        return now.threads <= before.threads && now.descriptors <= before.descriptors;
    })) << before.threads
        << " threads and " << before.descriptors << " descriptors before, now "
        << useOf(QCoreApplication::applicationPid()).threads << " and "
        << useOf(QCoreApplication::applicationPid()).descriptors;
    // No widget outlives the window.
    const auto left = QApplication::topLevelWidgets();
    for (const QWidget* widget : left)
        EXPECT_FALSE(widget->isVisible()) << widget->windowTitle().toStdString();
}

} // namespace
} // namespace zuLogging::test
