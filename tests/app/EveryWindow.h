#pragma once

#include "config/InsertConfigDialog.h"
#include "config/LogConfigData.h"
#include "config/LogConfigView.h"
#include "config/PreferencesDialog.h"
#include "config/TableModel.h"
#include "config/TreeModel.h"
#include "logging/LogMessage.h"
#include "store/LogField.h"
#include "store/LogTableModel.h"
#include "tests/app/AppFixture.h"
#include "view/FilterDialog.h"
#include "view/FindDialog.h"
#include "view/GoToDialog.h"
#include "view/LogMessageView.h"
#include "view/LogTableView.h"
#include "view/SettingsDialog.h"

#include <QApplication>
#include <QDir>
#include <QLineEdit>
#include <QListWidget>
#include <QPointer>
#include <QTableView>
#include <QTimer>
#include <QTreeView>

#include <functional>
#include <string>

// Outside of any namespace, as the resource system wants it.
inline void initIconsOfEveryWindow()
{
    Q_INIT_RESOURCE(logdesk);
}

namespace zuLogging::test {

/// Opens every window of the program, filled with something, one after the other.
class EveryWindow : public AppFixture
{
protected:
    using Look = std::function<void(const std::string& name, QWidget& window)>;

    void SetUp() override
    {
        initIconsOfEveryWindow();
        AppFixture::SetUp();
        const QDir data(QString::fromLocal8Bit(qgetenv("ARZDATA")));
        ASSERT_TRUE(data.mkpath(QStringLiteral("log")));
        write(data.filePath(QStringLiteral("log/LogSvcConf.json")),
              R"({"startup_sinks":[{"type":"record","media_size":"10000"}]})");
        const QString rules = data.filePath(QStringLiteral("rules.json"));
        write(rules, R"({"parameters": {"level": "info", "destination": "logsvc"},
            "specializations": [{"#": "Watched closely",
                "attributes": [{"id": "module", "op": "eq", "value": "payment"}],
                "parameters": {"level": "debug", "destination": "file", "file": "a.log"}}]})");
        ASSERT_EQ(LogConfigData::instance()->loadConfiguration(rules), QString());
    }

    static std::shared_ptr<LogMessage> message(std::uint64_t number, LogLevel level)
    {
        auto made = std::make_shared<LogMessage>(
            number, number, number, 19'766'000'000'000'000ULL + number * 250'000,
            static_cast<std::uint64_t>(level), QStringLiteral("main.cpp:1"),
            QStringLiteral("module"), QStringLiteral("group"),
            QStringLiteral("text %1").arg(number), 7U, 8U);
        made->renderTimestamp();
        return made;
    }

    /// The main window with a row of each level.
    MainView& openFilledWindow()
    {
        MainView& window = openWindow();
        window.resize(1280, 700);
        std::uint64_t number = 0;
        for (const LogLevel level : {LogLevel::Info, LogLevel::Warn, LogLevel::Err, LogLevel::Fatal,
                                     LogLevel::Debug, LogLevel::Trace})
            window.messageView()->fullModel()->addMessage(message(++number, level));
        window.messageView()->updateView();
        return window;
    }

    void visitMainWindow(const Look& look)
    {
        ViewSettings::instance().configurationEnabled = true;
        for (const bool expert : {false, true}) {
            ViewSettings::instance().expertMode = expert;
            MainView& window = openFilledWindow();
            if (expert)
                window.configView()->treeView()->expandAll();
            shown(expert ? "the main window in expert mode" : "the main window in user mode",
                  window, look);
            window.configView()->floatingButtonClicked();
            shown(expert ? "the floating tree" : "the floating table",
                  *window.configView()->floatingWindow(), look);
            window.configView()->floatingButtonClicked();
            holder.reset();
        }
        ViewSettings::instance().reset();
    }

    void visitDialogs(const Look& look)
    {
        MainView& window = openFilledWindow();
        LogMessageView& view = *window.messageView();
        view.filterDialog()->filterText()->setText(QStringLiteral("payment"));
        view.filterDialog()->addIncludeFilter();
        view.filterDialog()->filterText()->clear();
        shown("the filter dialog", *view.filterDialog(), look);
        shown("the find dialog", *view.findDialog(), look);
        view.goToDialog()->setLineCount(100000);
        shown("the go-to dialog", *view.goToDialog(), look);
        QMap<int, int> positions;
        for (const int field : defaultColumnOrder())
            positions.insert(field, field - 1);
        {
            SettingsDialog settings(100000, positions, true, &window);
            shown("the view settings", settings, look);
            PreferencesDialog preferences(&window);
            shown("the preferences", preferences, look);
        }
        visitInsertDialogs(window, look);
        visitBox(
            "the About box", [&] { window.about(); }, look);
        visitBox(
            "the question before logging starts",
            [&] {
                LogConfigData::instance()->setModified(true);
                view.startLoggingClicked();
                LogConfigData::instance()->setModified(false);
            },
            look);
        visitBox(
            "the question about fewer messages", [&] { view.setMaximumMessages(2); }, look);
        holder.reset();
    }

    /// Runs something that ends in a modal window, which is closed after the look.
    static void visitBox(const std::string& name, const std::function<void()>& call,
                         const Look& look)
    {
        int seen = 0;
        QTimer timer;
        QObject::connect(&timer, &QTimer::timeout, &timer, [&] {
            auto* modal = qobject_cast<QDialog*>(QApplication::activeModalWidget());
            if (modal == nullptr || !modal->isVisible())
                return;
            ++seen;
            look(name, *modal);
            modal->reject();
        });
        timer.start(5);
        call();
        EXPECT_GE(seen, 1) << name << " was not seen";
    }

private:
    static void write(const QString& path, const char* text)
    {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
    }

    static void shown(const std::string& name, QWidget& window, const Look& look)
    {
        window.show();
        QApplication::processEvents();
        look(name, window);
        if (qobject_cast<QDialog*>(&window) != nullptr)
            window.hide();
    }

    static void visitInsertDialogs(MainView& window, const Look& look)
    {
        LogConfigData& data = *LogConfigData::instance();
        const auto visit = [&](const char* name, const QModelIndex& index, bool insert,
                               bool expert) {
            InsertConfigDialog dialog(
                window.configView(), index, {QStringLiteral("payment"), QStringLiteral("cache")},
                LogConfigData::levelNames(), LogConfigData::destinationNames(),
                LogConfigData::attributeIds(), LogConfigData::attributeOps(),
                {{QStringLiteral("level"), QStringLiteral("info")},
                 {QStringLiteral("id"), QStringLiteral("module")}},
                insert, expert, &window);
            shown(name, dialog, look);
        };
        const TreeModel& tree = *data.treeModel();
        const TreeNode* node =
            tree.root()->childWithKey(QStringLiteral("specializations"))->child(0);
        visit("the module dialog", data.tableModel()->index(1, 0), true, false);
        visit("the default level's dialog", data.tableModel()->index(0, 0), false, false);
        visit("the comment dialog", tree.indexOf(node->childWithKey(QStringLiteral("#"))), false,
              true);
        visit("the parameter dialog",
              tree.indexOf(node->childWithKey(QStringLiteral("parameters"))->child(0)), false,
              true);
        visit("the attribute dialog",
              tree.indexOf(node->childWithKey(QStringLiteral("attributes"))->child(0)->child(0)),
              false, true);
    }
};

} // namespace zuLogging::test
