#include "tests/view/ViewTestSupport.h"
#include "view/FilterDialog.h"
#include "view/FindDialog.h"
#include "view/GoToDialog.h"
#include "view/SettingsDialog.h"

#include <QAccessible>
#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>
#include <QRadioButton>
#include <QSpinBox>
#include <QTest>

namespace zuLogging::test {
namespace {

/// Nothing but a keyboard: every key goes to the widget that has the focus.
class Keyboard
{
public:
    static void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
    {
        QWidget* target = QApplication::focusWidget();
        ASSERT_NE(target, nullptr) << "nothing has the focus";
        QTest::keyClick(target, key, modifiers);
        QCoreApplication::processEvents();
    }
    static void type(const QString& text)
    {
        QWidget* target = QApplication::focusWidget();
        ASSERT_NE(target, nullptr) << "nothing has the focus";
        QTest::keyClicks(target, text);
    }
    /// Tab, until the widget of that name has the focus.
    static void tabTo(const char* name)
    {
        for (int i = 0; i < 60 && QApplication::focusWidget(); ++i) {
            press(Qt::Key_Tab);
            if (focus() == QLatin1String(name))
                return;
        }
        ADD_FAILURE() << "Tab does not reach " << name;
    }
    static QString focus()
    {
        const QWidget* widget = QApplication::focusWidget();
        return widget ? widget->objectName() : QString();
    }
};

/// Gives a window the keyboard. The test platform does not do so by itself when the window that had
/// it goes.
void activate(QWidget& window)
{
    window.show();
    QApplication::setActiveWindow(nullptr);
    QApplication::setActiveWindow(&window);
    ASSERT_TRUE(waitFor([&] {
        return QApplication::focusWidget() && QApplication::focusWidget()->window() == &window;
    }));
}

/// The widgets of a window that a keyboard has to reach.
QList<QWidget*> focusableWidgets(const QWidget& window)
{
    QList<QWidget*> widgets;
    for (auto* widget : window.findChildren<QWidget*>())
        if ((widget->focusPolicy() & Qt::TabFocus) && !widget->focusProxy() &&
            widget->isEnabled() && widget->isVisible() && widget->window() == &window)
            widgets << widget;
    return widgets;
}

/// The names in the order of the Tab key, from the widget that has the focus once around.
QStringList tabOrder()
{
    QStringList order;
    const QWidget* first = QApplication::focusWidget();
    do {
        order << Keyboard::focus();
        Keyboard::press(Qt::Key_Tab);
    } while (QApplication::focusWidget() && QApplication::focusWidget() != first &&
             order.size() < 100);
    return order;
}

void expectAllReachableAndNamed(QWidget& dialog)
{
    activate(dialog);
    const QStringList reached = tabOrder();
    const QList<QWidget*> widgets = focusableWidgets(dialog);
    EXPECT_EQ(reached.size(), widgets.size());
    for (QWidget* widget : widgets) {
        EXPECT_TRUE(reached.contains(widget->objectName())) << widget->objectName().toStdString();
        QAccessibleInterface* interface = QAccessible::queryAccessibleInterface(widget);
        ASSERT_NE(interface, nullptr);
        EXPECT_FALSE(interface->text(QAccessible::Name).isEmpty())
            << widget->objectName().toStdString();
    }
}

/// Answers the message box that comes with the Return key, and keeps its text.
class ReturnOnBox : public QObject
{
public:
    ReturnOnBox()
    {
        connect(&timer_, &QTimer::timeout, this, [this] {
            auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            if (!box)
                return;
            texts << box->text();
            QTest::keyClick(box, Qt::Key_Return);
        });
        timer_.start(5);
    }
    QStringList texts;

private:
    QTimer timer_;
};

class KeyboardWalk : public ViewFixture
{
protected:
    QStringList shownTexts() const
    {
        QStringList texts;
        for (int row = 0; row < view->shownModel()->rowCount(); ++row)
            texts << view->shownModel()->cellText(row, columnOf("LogMessage"));
        return texts;
    }
    QString currentText() const { return view->table()->currentIndex().data().toString(); }
    QModelIndex cell(int row) const
    {
        return view->shownModel()->index(row, columnOf("LogMessage"));
    }
};

// --- Reach and names

TEST_F(KeyboardWalk, TabGoesThroughTheFilterDialogAsItIsRead)
{
    FilterDialog dialog;
    expectAllReachableAndNamed(dialog);
    dialog.hide();
    activate(dialog);
    EXPECT_EQ(tabOrder(), (QStringList{"filterText", "includeAdd", "includeRemove", "includeCase",
                                       "includeList", "excludeAdd", "excludeRemove", "excludeCase",
                                       "excludeList", "levelSelectAll", "level_info", "level_warn",
                                       "level_err", "level_fatal", "level_debug", "level_trace",
                                       "filterClear", "filterSave", "filterClose"}));
}

TEST_F(KeyboardWalk, TabGoesThroughTheFindDialogAsItIsRead)
{
    FindDialog dialog;
    expectAllReachableAndNamed(dialog);
    dialog.hide();
    activate(dialog);
    EXPECT_EQ(tabOrder(),
              (QStringList{"findText", "findDown", "findMatchCase", "findNext", "findClose"}));
    Keyboard::tabTo("findDown");
    Keyboard::press(Qt::Key_Left);
    EXPECT_EQ(Keyboard::focus(), "findUp") << "the other one is an arrow key away";
}

TEST_F(KeyboardWalk, TabGoesThroughTheGoToDialogAsItIsRead)
{
    GoToDialog dialog;
    dialog.setLineCount(10);
    expectAllReachableAndNamed(dialog);
    dialog.hide();
    activate(dialog);
    EXPECT_EQ(tabOrder(), (QStringList{"goToLine", "goToGo", "goToClose"}));
}

TEST_F(KeyboardWalk, TabGoesThroughTheSettingsDialogRowByRow)
{
    SettingsDialog dialog(100, {{1, 0}, {2, -1}, {12, 1}}, true, nullptr);
    expectAllReachableAndNamed(dialog);
    EXPECT_EQ(tabOrder(), (QStringList{"settingsMaximum", "settingsLineNumber", "settingsShow1",
                                       "settingsColumn1", "settingsShow2", "settingsShow12",
                                       "settingsColumn12", "settingsOk", "settingsCancel"}));
}

// --- Filter

TEST_F(KeyboardWalk, AFilterIsTypedAddedAndSaved)
{
    open();
    add("red car");
    add("red bus");
    add("red van", LogLevel::Err);
    add("blue van", LogLevel::Err);
    activate(*view->filterDialog());
    Keyboard::type("red");
    Keyboard::tabTo("includeAdd");
    Keyboard::press(Qt::Key_Space);
    Keyboard::press(Qt::Key_Tab, Qt::ShiftModifier);
    EXPECT_EQ(Keyboard::focus(), "filterText");
    Keyboard::type("car"); // over the selected text
    Keyboard::tabTo("excludeAdd");
    Keyboard::press(Qt::Key_Return);
    EXPECT_TRUE(view->filterDialog()->isVisible()) << "Return on a button presses that button";
    Keyboard::tabTo("level_err");
    Keyboard::press(Qt::Key_Space);
    Keyboard::tabTo("filterSave");
    Keyboard::press(Qt::Key_Space);
    EXPECT_FALSE(view->filterDialog()->isVisible());
    EXPECT_EQ(shownTexts(), QStringList{"red van"});
    EXPECT_EQ(ViewSettings::instance().filterInclude, QStringList{"red"});
    EXPECT_EQ(ViewSettings::instance().filterExclude, QStringList{"car"});
    EXPECT_EQ(ViewSettings::instance().levelFilterInclude, QStringList{"err"});
}

TEST_F(KeyboardWalk, EnterInTheFilterTextAddsItAndTheSecondEnterSaves)
{
    open();
    for (const char* text : {"red car", "green bus", "blue van"})
        add(text);
    activate(*view->filterDialog());
    Keyboard::type("red");
    Keyboard::press(Qt::Key_Return);
    EXPECT_TRUE(view->filterDialog()->isVisible());
    Keyboard::type("blue");
    Keyboard::press(Qt::Key_Enter);
    EXPECT_EQ(view->shownModel(), view->fullModel()) << "nothing is in force before the save";
    EXPECT_TRUE(view->filterDialog()->isVisible());
    Keyboard::press(Qt::Key_Return);
    EXPECT_FALSE(view->filterDialog()->isVisible());
    EXPECT_EQ(shownTexts(), (QStringList{"red car", "blue van"}));
}

TEST_F(KeyboardWalk, EnterNeverIncludesAnEmptyTextOrOneThatIsExcluded)
{
    open();
    activate(*view->filterDialog());
    Keyboard::press(Qt::Key_Return);
    EXPECT_FALSE(view->filterDialog()->isVisible());
    activate(*view->filterDialog());
    Keyboard::type("noise");
    Keyboard::tabTo("excludeAdd");
    Keyboard::press(Qt::Key_Space);
    Keyboard::tabTo("filterText");
    Keyboard::press(Qt::Key_Return);
    EXPECT_FALSE(view->filterDialog()->isVisible());
    EXPECT_EQ(ViewSettings::instance().filterInclude, QStringList());
    EXPECT_EQ(ViewSettings::instance().filterExclude, QStringList{"noise"});
}

TEST_F(KeyboardWalk, DeleteInAListRemovesItsSelectedTexts)
{
    ViewSettings::instance().filterInclude = QStringList{"a", "b", "c"};
    ViewSettings::instance().filterExclude = QStringList{"a"};
    open();
    activate(*view->filterDialog());
    Keyboard::press(Qt::Key_Delete);
    EXPECT_EQ(child<QListWidget>("includeList")->count(), 3);
    Keyboard::tabTo("includeList");
    Keyboard::press(Qt::Key_Home);
    Keyboard::press(Qt::Key_Down, Qt::ShiftModifier);
    Keyboard::press(Qt::Key_Delete);
    Keyboard::press(Qt::Key_Return);
    EXPECT_EQ(ViewSettings::instance().filterInclude, QStringList{"c"});
    EXPECT_EQ(ViewSettings::instance().filterExclude, QStringList{"a"});
}

TEST_F(KeyboardWalk, EscapeLeavesTheFilterAsItWas)
{
    open();
    add("one");
    activate(*view->filterDialog());
    Keyboard::type("other");
    Keyboard::press(Qt::Key_Return);
    Keyboard::press(Qt::Key_Escape);
    EXPECT_FALSE(view->filterDialog()->isVisible());
    EXPECT_EQ(shownTexts(), QStringList{"one"});
    EXPECT_EQ(ViewSettings::instance().filterInclude, QStringList());
    EXPECT_EQ(child<QListWidget>("includeList")->count(), 0);
}

// --- Find and go to

TEST_F(KeyboardWalk, ATextIsFoundUpwardsAndWithItsCase)
{
    open(nullptr, true);
    for (const char* text : {"hit", "HIT", "hay", "hit", "HIT"})
        add(text);
    view->updateView();
    view->table()->setCurrentIndex(cell(2));
    activate(*view->findDialog());
    Keyboard::type("HIT");
    Keyboard::press(Qt::Key_Return);
    EXPECT_EQ(view->table()->currentIndex(), cell(3)) << "downwards, in any case";
    Keyboard::tabTo("findDown");
    Keyboard::press(Qt::Key_Left);
    Keyboard::tabTo("findMatchCase");
    Keyboard::press(Qt::Key_Space);
    Keyboard::tabTo("findNext");
    Keyboard::press(Qt::Key_Space);
    EXPECT_EQ(view->table()->currentIndex(), cell(1));
    Keyboard::press(Qt::Key_F3);
    // A button's shortcut shows the button pressed for a moment.
    EXPECT_TRUE(waitFor([this] { return view->table()->currentIndex() == cell(4); }))
        << "around the top";
    EXPECT_TRUE(store->highlight());
    Keyboard::press(Qt::Key_Escape);
    EXPECT_FALSE(view->findDialog()->isVisible());
    EXPECT_FALSE(store->highlight());

    // The last text is typed over.
    activate(*view->findDialog());
    Keyboard::type("hay");
    Keyboard::press(Qt::Key_Return);
    EXPECT_EQ(currentText(), "hay");
}

TEST_F(KeyboardWalk, ATextThatIsNotThereIsSaidAndAnotherCanBeTyped)
{
    open(nullptr, true);
    add("hay");
    add("needle");
    view->updateView();
    view->table()->setCurrentIndex(cell(0));
    activate(*view->findDialog());
    Keyboard::type("pin");
    ReturnOnBox boxes;
    Keyboard::press(Qt::Key_Return);
    EXPECT_EQ(boxes.texts, QStringList{"Can't find the text:\n\"pin\""});
    EXPECT_TRUE(view->findDialog()->isVisible());
    activate(*view->findDialog());
    EXPECT_EQ(Keyboard::focus(), "findText");
    Keyboard::press(Qt::Key_A, Qt::ControlModifier);
    Keyboard::type("needle");
    Keyboard::press(Qt::Key_Return);
    EXPECT_EQ(currentText(), "needle");
}

TEST_F(KeyboardWalk, ALineNumberAndReturnGoThere)
{
    open(nullptr, true);
    addNumbered(500);
    view->goToDialog()->setLineCount(500);
    activate(*view->goToDialog());
    Keyboard::type("321");
    Keyboard::press(Qt::Key_Return);
    EXPECT_FALSE(view->goToDialog()->isVisible());
    const auto selected = [this] { return view->table()->selectionModel()->selectedRows(); };
    ASSERT_EQ(selected().size(), 1);
    EXPECT_EQ(selected().first().row(), 320);

    // The last number is typed over; a digit that would lead past the last line is not taken.
    activate(*view->goToDialog());
    Keyboard::type("999");
    EXPECT_EQ(view->goToDialog()->line(), 99);
    Keyboard::press(Qt::Key_Escape);
    EXPECT_EQ(selected().first().row(), 320);
    activate(*view->goToDialog());
    Keyboard::type("500");
    Keyboard::press(Qt::Key_Up);
    Keyboard::tabTo("goToGo");
    Keyboard::press(Qt::Key_Space);
    EXPECT_EQ(selected().first().row(), 499);

    // Cleared and Return: the number that was there.
    activate(*view->goToDialog());
    Keyboard::press(Qt::Key_Backspace);
    Keyboard::press(Qt::Key_Return);
    EXPECT_FALSE(view->goToDialog()->isVisible());
    EXPECT_EQ(selected().first().row(), 499);
}

// --- Settings

TEST_F(KeyboardWalk, TheSettingsAreChangedAndAccepted)
{
    SettingsDialog dialog(100000, {{1, 0}, {2, 1}, {3, 2}, {4, -1}, {12, 3}}, true, nullptr);
    activate(dialog);
    EXPECT_EQ(Keyboard::focus(), "settingsMaximum");
    Keyboard::type("5000");
    Keyboard::tabTo("settingsLineNumber");
    Keyboard::press(Qt::Key_Space);
    Keyboard::tabTo("settingsShow2");
    Keyboard::press(Qt::Key_Space);
    Keyboard::tabTo("settingsShow4");
    Keyboard::press(Qt::Key_Space);
    Keyboard::press(Qt::Key_Tab);
    EXPECT_EQ(Keyboard::focus(), "settingsColumn4") << "a field just shown can be moved at once";
    Keyboard::type("1");

    // Return takes what was typed: two fields want the first column now.
    ReturnOnBox boxes;
    Keyboard::press(Qt::Key_Return);
    EXPECT_EQ(boxes.texts, QStringList{"Duplicate columns are not allowed."});
    ASSERT_TRUE(dialog.isVisible());
    activate(dialog);
    EXPECT_EQ(Keyboard::focus(), "settingsColumn4");
    Keyboard::tabTo("settingsColumn1");
    Keyboard::type("3");
    Keyboard::press(Qt::Key_Up);
    Keyboard::press(Qt::Key_Return);
    EXPECT_FALSE(dialog.isVisible());
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    EXPECT_EQ(boxes.texts.size(), 1);
    EXPECT_EQ(dialog.maximumMessages(), 5000);
    EXPECT_FALSE(dialog.showLineNumbers());
    EXPECT_EQ(dialog.resultOrder(), (QList<int>{4, 3, 12, 1})) << "what the numbers 1, 4, 2, 3 say";
}

TEST_F(KeyboardWalk, ReturnInTheLimitAcceptsAndOnCancelCancels)
{
    SettingsDialog accepted(7, {{1, 0}}, true, nullptr);
    activate(accepted);
    Keyboard::type("42");
    Keyboard::press(Qt::Key_Enter);
    EXPECT_EQ(accepted.result(), QDialog::Accepted);
    EXPECT_EQ(accepted.maximumMessages(), 42);

    SettingsDialog cancelled(7, {{1, 0}}, true, nullptr);
    activate(cancelled);
    Keyboard::tabTo("settingsCancel");
    Keyboard::press(Qt::Key_Return);
    EXPECT_FALSE(cancelled.isVisible());
    EXPECT_EQ(cancelled.result(), QDialog::Rejected);
    EXPECT_TRUE(cancelled.resultOrder().isEmpty());

    SettingsDialog escaped(7, {{1, 0}}, true, nullptr);
    activate(escaped);
    Keyboard::press(Qt::Key_Escape);
    EXPECT_FALSE(escaped.isVisible());
    EXPECT_EQ(escaped.result(), QDialog::Rejected);
}

} // namespace
} // namespace zuLogging::test
