// What a screen reader is told of every window, and what the keyboard reaches without a mouse.

#include "app/Translations.h"
#include "tests/app/EveryWindow.h"

#include <QAccessible>
#include <QComboBox>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QTest>
#include <QToolBar>
#include <QToolButton>

#include <gtest/gtest.h>

#include <map>
#include <set>

namespace zuLogging::test {
namespace {

struct Control
{
    QAccessible::Role role;
    QString name;
    QString object;
    bool focusable = false;
};

bool isCell(QAccessible::Role role)
{
    return role == QAccessible::Cell || role == QAccessible::TreeItem ||
           role == QAccessible::ListItem || role == QAccessible::RowHeader ||
           role == QAccessible::ColumnHeader;
}

void collect(QAccessibleInterface* interface, std::vector<Control>& controls)
{
    if (interface == nullptr || interface->state().invisible || controls.size() > 10000)
        return;
    const QObject* object = interface->object();
    controls.push_back({interface->role(), interface->text(QAccessible::Name),
                        object == nullptr ? QString() : object->objectName(),
                        interface->state().focusable != 0});
    for (int i = 0; i < interface->childCount(); ++i)
        collect(interface->child(i), controls);
}

std::vector<Control> controlsOf(QWidget& window)
{
    std::vector<Control> controls;
    collect(QAccessible::queryAccessibleInterface(&window), controls);
    return controls;
}

/// Every control that takes the focus has a name, and no two of a kind have the same.
void expectNames(const std::string& window, QWidget& root)
{
    std::map<std::pair<int, QString>, QString> seen;
    int focusable = 0;
    for (const Control& control : controlsOf(root)) {
        if (isCell(control.role) || !control.focusable)
            continue;
        ++focusable;
        EXPECT_FALSE(control.name.trimmed().isEmpty())
            << window << ": " << control.object.toStdString() << " (role " << control.role
            << ") has no name";
        const auto [other, isNew] =
            seen.insert({{static_cast<int>(control.role), control.name}, control.object});
        EXPECT_TRUE(isNew) << window << ": " << control.object.toStdString() << " and "
                           << other->second.toStdString() << " are both \""
                           << control.name.toStdString() << '"';
    }
    EXPECT_GE(focusable, 1) << window;
    for (auto* button : root.findChildren<QToolButton*>()) {
        if (!button->isVisible() || !button->text().isEmpty() || button->toolTip().isEmpty())
            continue;
        EXPECT_EQ(QAccessible::queryAccessibleInterface(button)->text(QAccessible::Name),
                  button->toolTip());
    }
}

/// The names of a role, in the order of the tree.
QStringList namesOf(QWidget& window, QAccessible::Role role)
{
    QStringList names;
    for (const Control& control : controlsOf(window))
        if (control.role == role)
            names << control.name;
    return names;
}

/// The widgets that Tab goes through, once around from where the focus is.
QStringList tabOrder(QWidget& window)
{
    QStringList order;
    const QWidget* first = QApplication::focusWidget();
    for (int i = 0; i < 100 && QApplication::focusWidget() != nullptr; ++i) {
        order << QApplication::focusWidget()->objectName();
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        QCoreApplication::processEvents();
        if (QApplication::focusWidget() == first)
            return order;
    }
    ADD_FAILURE() << window.objectName().toStdString()
                  << " keeps the focus: " << order.join(QLatin1Char(' ')).toStdString();
    return order;
}

void activate(QWidget& window)
{
    QApplication::setActiveWindow(nullptr);
    QApplication::setActiveWindow(&window);
    ASSERT_TRUE(waitFor([&] {
        return QApplication::focusWidget() != nullptr &&
               QApplication::focusWidget()->window() == &window;
    }));
}

class Accessibility : public EveryWindow, public ::testing::WithParamInterface<const char*>
{
protected:
    const Translations translations_{QStringList{QLatin1String(GetParam())}};
};

class AccessibleWindow : public EveryWindow
{
};

TEST_P(Accessibility, EveryControlOfTheMainWindowHasANameOfItsOwn)
{
    visitMainWindow(expectNames);
}

TEST_P(Accessibility, EveryControlOfEveryDialogHasANameOfItsOwn)
{
    visitDialogs(expectNames);
}

INSTANTIATE_TEST_SUITE_P(Languages, Accessibility, ::testing::Values("en", "de"));

TEST_F(AccessibleWindow, TheTableOfMessagesTellsItsHeadersAndCells)
{
    MainView& window = openFilledWindow();
    QAccessibleInterface* table =
        QAccessible::queryAccessibleInterface(window.messageView()->table());
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(table->role(), QAccessible::Table);
    EXPECT_EQ(table->text(QAccessible::Name), "Log messages");
    QAccessibleTableInterface* cells = table->tableInterface();
    ASSERT_NE(cells, nullptr);
    EXPECT_EQ(cells->rowCount(), 6);
    EXPECT_EQ(cells->columnCount(), 12);
    EXPECT_EQ(cells->columnDescription(11), "LogMessage");
    EXPECT_EQ(cells->cellAt(2, 11)->text(QAccessible::Name), "text 3");
    EXPECT_EQ(cells->cellAt(2, 5)->text(QAccessible::Name), "err") << "not by its colour alone";
    // Rows that come later are told as well.
    window.messageView()->fullModel()->addMessage(message(7, LogLevel::Info));
    window.messageView()->updateView();
    EXPECT_EQ(cells->rowCount(), 7);
    EXPECT_EQ(cells->cellAt(6, 11)->text(QAccessible::Name), "text 7");
    QAccessibleInterface* header =
        QAccessible::queryAccessibleInterface(window.messageView()->table())->child(1);
    ASSERT_NE(header, nullptr);
    EXPECT_EQ(namesOf(window, QAccessible::ColumnHeader).mid(0, 2),
              (QStringList{"ServiceMsgID", "SourceMsgID"}));
}

TEST_F(AccessibleWindow, TheConfigurationTellsItsHeadersAndCells)
{
    ViewSettings::instance().configurationEnabled = true;
    MainView& window = openFilledWindow();
    QAccessibleInterface* table =
        QAccessible::queryAccessibleInterface(window.configView()->tableView());
    EXPECT_EQ(table->text(QAccessible::Name), "Configuration");
    EXPECT_EQ(table->tableInterface()->columnDescription(1), "level");
    EXPECT_EQ(table->tableInterface()->cellAt(1, 0)->text(QAccessible::Name), "payment");
    window.configView()->setMode(LogConfigView::Expert);
    window.configView()->treeView()->expandAll();
    QAccessibleInterface* tree =
        QAccessible::queryAccessibleInterface(window.configView()->treeView());
    EXPECT_EQ(tree->role(), QAccessible::Tree);
    EXPECT_EQ(tree->tableInterface()->columnDescription(1), "Value");
    EXPECT_EQ(tree->tableInterface()->cellAt(0, 0)->text(QAccessible::Name), "parameters");
}

TEST_F(AccessibleWindow, NumbersAndTheStateOfTheServiceAreDescribed)
{
    MainView& window = openFilledWindow();
    const auto described = [&](const char* name) {
        auto* label = window.findChild<QLabel*>(QLatin1String(name));
        QAccessibleInterface* interface = QAccessible::queryAccessibleInterface(label);
        return interface->text(QAccessible::Description) + QStringLiteral(": ") +
               interface->text(QAccessible::Name);
    };
    EXPECT_EQ(described("countLabel"), "Number of log messages: 6");
    EXPECT_EQ(described("filteredLabel"), "Filtered: 0");
    EXPECT_EQ(described("queuedLabel"), "Queued: 0");
    EXPECT_EQ(described("serviceLabel"), "ZU Log Service: Stopped");
}

TEST_F(AccessibleWindow, EveryMenuEntryHasANameWithoutItsAccelerator)
{
    MainView& window = openWindow();
    for (const QAction* action : window.menuBar()->actions()) {
        if (action->menu() == nullptr)
            continue;
        QAccessibleInterface* menu = QAccessible::queryAccessibleInterface(action->menu());
        ASSERT_NE(menu, nullptr);
        for (int i = 0; i < menu->childCount(); ++i) {
            const QAccessibleInterface* entry = menu->child(i);
            if (entry->role() == QAccessible::Separator)
                continue;
            EXPECT_FALSE(entry->text(QAccessible::Name).isEmpty());
        }
    }
    EXPECT_TRUE(namesOf(window, QAccessible::MenuItem).contains("File"));
}

TEST_F(AccessibleWindow, TabGoesThroughTheWindowFromTheToolbarToTheTable)
{
    MainView& window = openFilledWindow();
    activate(window);
    window.findChild<QToolButton*>(QStringLiteral("startButton"))->setFocus();
    EXPECT_EQ(tabOrder(window),
              (QStringList{"startButton", "filterBox", "refreshButton", "clearButton", "jsonButton",
                           "copyButton", "logTable"}));
}

TEST_F(AccessibleWindow, TabGoesOnIntoTheConfigurationAndBack)
{
    ViewSettings::instance().configurationEnabled = true;
    MainView& window = openFilledWindow();
    window.resize(1700, 700);
    activate(window);
    QApplication::processEvents(); // the dock takes the focus when it is first painted
    window.findChild<QToolButton*>(QStringLiteral("startButton"))->setFocus();
    EXPECT_EQ(tabOrder(window),
              (QStringList{"startButton", "filterBox", "refreshButton", "clearButton", "jsonButton",
                           "copyButton", "logTable", "configReread", "configInsert", "configDock",
                           "configClose", "configTable"}));
}

TEST_F(AccessibleWindow, AColumnIsSortedByTheKeyboard)
{
    MainView& window = openFilledWindow();
    activate(window);
    LogTableView* table = window.messageView()->table();
    table->setFocus();
    const LogTableModel& model = *window.messageView()->fullModel();
    table->setCurrentIndex(model.index(0, 5));
    const auto levels = [&] {
        QStringList texts;
        for (int row = 0; row < model.rowCount(); ++row)
            texts << model.cellText(row, 5);
        return texts;
    };
    const auto press = [&] {
        QTest::keyClick(table, Qt::Key_S, Qt::ControlModifier | Qt::ShiftModifier);
    };
    press();
    EXPECT_EQ(levels(), (QStringList{"debug", "err", "fatal", "info", "trace", "warn"}));
    press();
    EXPECT_EQ(levels(), (QStringList{"warn", "trace", "info", "fatal", "err", "debug"}));
    press();
    EXPECT_EQ(levels(), (QStringList{"debug", "err", "fatal", "info", "trace", "warn"}));
}

TEST_F(AccessibleWindow, TheContextMenuOpensByTheKeyboardAndSetsTheTimeReference)
{
    MainView& window = openFilledWindow();
    activate(window);
    LogTableView* table = window.messageView()->table();
    window.secondsAction()->setChecked(true);
    table->setFocus();
    table->setCurrentIndex(window.messageView()->fullModel()->index(3, 0));
    QStringList entries;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &timer, [&] {
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        if (menu == nullptr)
            return;
        timer.stop();
        for (const QAction* action : menu->actions())
            entries << action->text();
        QTest::keyClick(menu, Qt::Key_Down);
        QTest::keyClick(menu, Qt::Key_Return);
    });
    timer.start(5);
    QContextMenuEvent byKey(QContextMenuEvent::Keyboard, QPoint(0, 0));
    QApplication::sendEvent(table, &byKey);
    EXPECT_EQ(entries.value(0), "Set Time Reference (toggle)");
    EXPECT_EQ(window.messageView()->fullModel()->cellText(3, 3), "*REF*");
}

} // namespace
} // namespace zuLogging::test
