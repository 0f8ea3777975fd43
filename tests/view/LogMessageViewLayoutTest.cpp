#include "tests/view/ViewTestSupport.h"
#include "view/FilterDialog.h"
#include "view/FindDialog.h"
#include "view/GoToDialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFileInfo>
#include <QHeaderView>
#include <QMenu>
#include <QMetaMethod>
#include <QScrollBar>
#include <QTest>
#include <QToolBar>
#include <QVBoxLayout>

#include <algorithm>

namespace zuLogging::test {
namespace {

QStringList warnings;

void keepWarning(QtMsgType type, const QMessageLogContext&, const QString& text)
{
    if (type == QtWarningMsg)
        warnings << text;
}

bool sameIcon(const QIcon& icon, const QString& path)
{
    const QImage expected = QIcon(path).pixmap(16, 16).toImage();
    return !expected.isNull() && icon.pixmap(16, 16).toImage() == expected;
}

class LogMessageViewLayoutTest : public ViewFixture
{
protected:
    void expectButton(const QWidget* widget, const char* icon, const char* toolTip,
                      const char* statusTip, const char* slot)
    {
        const auto* button = qobject_cast<const QToolButton*>(widget);
        ASSERT_NE(button, nullptr) << icon;
        EXPECT_TRUE(sameIcon(button->icon(), QLatin1String(icon))) << icon;
        EXPECT_EQ(button->text(), QString());
        EXPECT_EQ(button->toolTip(), QLatin1String(toolTip));
        EXPECT_EQ(button->statusTip(), QLatin1String(statusTip));
        EXPECT_EQ(button->accessibleName(), QLatin1String(toolTip));
        EXPECT_FALSE(button->objectName().isEmpty());
        EXPECT_EQ(button->contentsMargins(), QMargins());
        EXPECT_EQ(button->styleSheet(), "QToolButton{ padding: 1px;}");
        EXPECT_EQ(button->toolButtonStyle(), Qt::ToolButtonIconOnly);
        EXPECT_EQ(connections(button, SIGNAL(released()), slot), 1) << slot;
    }

    /// How often the signal is connected to the view's slot; takes the connections away.
    int connections(const QObject* sender, const char* signal, const char* slot)
    {
        return connections(sender, signal, view, slot);
    }
    static int connections(const QObject* sender, const char* signal, const QObject* receiver,
                           const char* slot)
    {
        // One disconnect takes all of them: so connect uniquely first, which fails if one is there.
        const bool there = !QObject::connect(sender, signal, receiver, slot, Qt::UniqueConnection);
        QObject::disconnect(sender, signal, receiver, slot);
        return there ? 1 : 0;
    }

    /// Opens the context menu, hands it to `look`, and closes it.
    void withContextMenu(const std::function<void(QMenu*)>& look)
    {
        bool opened = false;
        QTimer timer;
        QObject::connect(&timer, &QTimer::timeout, [&] {
            auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
            if (!menu || opened)
                return;
            opened = true;
            look(menu);
            if (QApplication::activePopupWidget())
                menu->close();
        });
        timer.start(5);
        view->showContextMenu(QPoint(1, 1));
        EXPECT_TRUE(opened);
    }
};

struct Row
{
    const char* kind; // label, value, button, box, separator, spacer
    const char* text; // or the icon
    const char* toolTip;
    const char* statusTip;
    const char* slot;
};

const std::vector<Row> mainToolbar{
    {"label", "Logging", "", "", nullptr},
    {"button", ":/startLogging.png", "Start logging", "Start logging", SLOT(startLoggingClicked())},
    {"button", ":/stopLogging.png", "Stop logging", "Stop logging", SLOT(stopLoggingClicked())},
    {"separator", "", "", "", nullptr},
    {"box", "Filter", "", "Enable / disable filtering", SLOT(enableFilter(int))},
    {"separator", "", "", "", nullptr},
    {"label", "Number of log messages: ", "", "", nullptr},
    {"label", "0", "", "", nullptr},
    {"label", ", Filtered: ", "", "", nullptr},
    {"label", "0", "", "", nullptr},
    {"label", ", Queued: ", "", "", nullptr},
    {"label", "0", "", "", nullptr},
    {"spacer", "", "", "", nullptr},
    {"label", "ZU Log Service: ", "", "", nullptr},
    {"label", "Stopped", "", "", nullptr},
    {"button", ":/refresh.png", "Refresh", "Refresh", SLOT(refresh())},
    {"spacer", "", "", "", nullptr},
    {"button", ":/clearText.png", "Clear the log window", "Clear the log window",
     SLOT(messageViewClearClicked())},
    {"button", ":/saveJSON.png", "Save log as JSON...", "Save the complete log to JSON file",
     SLOT(saveLogMessagesToJSONClicked())},
    {"button", ":/copy.png", "Copy current log view",
     "Copy the current log view to clipboard (inclusive filter)",
     SLOT(messageViewClipboardClicked())},
};

TEST_F(LogMessageViewLayoutTest, TheMainToolbarIsAsItWasDesigned)
{
    open();
    auto* toolbar = child<QToolBar>("logMessageToolbar");
    EXPECT_EQ(toolbar->windowTitle(), "Log Message Toolbar");
    EXPECT_EQ(toolbar->styleSheet(), "QToolBar{ background: lightgray;padding: 0px;}");
    const QList<QAction*> actions = toolbar->actions();
    ASSERT_EQ(actions.size(), static_cast<int>(mainToolbar.size()));
    for (int i = 0; i < actions.size(); ++i) {
        const Row& row = mainToolbar[static_cast<std::size_t>(i)];
        SCOPED_TRACE(i + 1);
        QWidget* widget = toolbar->widgetForAction(actions[i]);
        ASSERT_NE(widget, nullptr);
        const QString kind = row.kind;
        EXPECT_EQ(actions[i]->isSeparator(), kind == "separator");
        if (kind == "label") {
            auto* text = qobject_cast<QLabel*>(widget);
            ASSERT_NE(text, nullptr);
            EXPECT_EQ(text->text(), QLatin1String(row.text));
            EXPECT_FALSE(text->objectName().isEmpty());
        } else if (kind == "button") {
            expectButton(widget, row.text, row.toolTip, row.statusTip, row.slot);
        } else if (kind == "box") {
            auto* box = qobject_cast<QCheckBox*>(widget);
            ASSERT_NE(box, nullptr);
            EXPECT_EQ(box->text(), QLatin1String(row.text));
            EXPECT_EQ(box->statusTip(), QLatin1String(row.statusTip));
            EXPECT_FALSE(box->isChecked());
            EXPECT_EQ(connections(box, SIGNAL(stateChanged(int)), row.slot), 1);
        } else if (kind == "spacer") {
            EXPECT_EQ(widget->sizePolicy().horizontalPolicy(), QSizePolicy::Expanding);
        }
    }
    auto* logging = child<QLabel>("loggingLabel");
    EXPECT_EQ(logging->font().family(), "Verdana");
    EXPECT_EQ(logging->font().pointSize(), 14);
    EXPECT_TRUE(logging->font().bold());
    EXPECT_EQ(logging->contentsMargins(), QMargins(5, 0, 5, 0));
    EXPECT_EQ(logging->styleSheet(), "QToolButton{ padding: 0px;}");
    EXPECT_EQ(child<QLabel>("serviceLabel")->styleSheet(), "QLabel { color : red; }");
}

TEST_F(LogMessageViewLayoutTest, TheSaveTextButtonIsBuiltAndConnectedButNotOnTheToolbar)
{
    open(nullptr, true);
    auto* button = child<QToolButton>("saveTextButton");
    expectButton(button, ":/saveText.png", "Save current log view...",
                 "Save the current log view to text file (inclusive filter)",
                 SLOT(messageViewSaveClicked()));
    EXPECT_FALSE(button->isVisible());
    EXPECT_EQ(button->parent(), view);
}

TEST_F(LogMessageViewLayoutTest, TheInfoToolbarIsHiddenAtStart)
{
    open(nullptr, true);
    auto* toolbar = child<QToolBar>("logMessageInfoToolbar");
    EXPECT_TRUE(toolbar->isHidden());
    EXPECT_EQ(toolbar->windowTitle(), "Log Message Info Toolbar");
    EXPECT_EQ(toolbar->styleSheet(), "QToolBar{ padding: 0px;}");
    ASSERT_EQ(toolbar->actions().size(), 2);
    auto* files = qobject_cast<QLabel*>(toolbar->widgetForAction(toolbar->actions()[0]));
    ASSERT_NE(files, nullptr);
    EXPECT_EQ(files->text(), "Files: ");
    EXPECT_EQ(files->font().family(), "Verdana");
    EXPECT_EQ(files->font().pointSize(), 10);
    EXPECT_EQ(files->contentsMargins(), QMargins(100, 0, 5, 0));
    EXPECT_EQ(toolbar->widgetForAction(toolbar->actions()[1]), child<QComboBox>("filesCombo"));
}

TEST_F(LogMessageViewLayoutTest, ToolbarsAndTableStandBelowEachOtherWithoutMargins)
{
    open();
    auto* layout = qobject_cast<QVBoxLayout*>(view->layout());
    ASSERT_NE(layout, nullptr);
    ASSERT_EQ(layout->count(), 3);
    EXPECT_EQ(layout->itemAt(0)->widget(), child<QToolBar>("logMessageToolbar"));
    EXPECT_EQ(layout->itemAt(1)->widget(), child<QToolBar>("logMessageInfoToolbar"));
    EXPECT_EQ(layout->itemAt(2)->widget(), view->table());
    EXPECT_EQ(layout->contentsMargins(), QMargins());
}

TEST_F(LogMessageViewLayoutTest, TheSlotsAreDeclaredInTheirOrder)
{
    open();
    const QMetaObject* meta = view->metaObject();
    QStringList methods;
    for (int i = meta->methodOffset(); i < meta->methodCount(); ++i)
        methods << QString::fromLatin1(meta->method(i).methodSignature());
    EXPECT_EQ(methods.mid(0, 2), (QStringList{"newMessage(QString)", "autoScroll()"}));
    EXPECT_EQ(methods.mid(2), (QStringList{"messageViewClearClicked()",
                                           "messageViewSaveClicked()",
                                           "messageViewClipboardClicked()",
                                           "saveLogMessagesToJSONClicked()",
                                           "selectionClipboardClicked()",
                                           "startLoggingClicked(bool)",
                                           "startLoggingClicked()",
                                           "stopLoggingClicked()",
                                           "updateView()",
                                           "updateViewAfterStop()",
                                           "setFilter()",
                                           "enableFilter(int)",
                                           "filterSelection()",
                                           "clearSearch()",
                                           "search(QString,bool,Qt::CaseSensitivity)",
                                           "search(QString,bool)",
                                           "setGoToLine()",
                                           "sortColumn(int)",
                                           "tableItemSelected(QItemSelection,QItemSelection)",
                                           "showContextMenu(QPoint)",
                                           "setReferenceTimeClicked()",
                                           "displayCell()",
                                           "refresh()",
                                           "horizontalHeaderChanged(int,int,int)",
                                           "moveScrollBarToBottom()"}));
}

TEST_F(LogMessageViewLayoutTest, EveryConnectionIsMadeOnce)
{
    warnings.clear();
    const auto previous = qInstallMessageHandler(keepWarning);
    open();
    qInstallMessageHandler(previous);
    EXPECT_EQ(warnings.filter("QObject::connect"), QStringList());

    auto* timer = view->findChild<QTimer*>(QString(), Qt::FindDirectChildrenOnly);
    const QHeaderView* header = view->table()->horizontalHeader();
    const auto connected = [this](const QObject* sender, const char* signal, const char* slot) {
        EXPECT_EQ(connections(sender, signal, slot), 1) << signal << " to " << slot;
    };
    connected(timer, SIGNAL(timeout()), SLOT(updateView()));
    connected(view->filterDialog(), SIGNAL(accepted()), SLOT(setFilter()));
    connected(view->findDialog(), SIGNAL(clearSearch()), SLOT(clearSearch()));
    connected(view->findDialog(), SIGNAL(findNext(QString, bool, Qt::CaseSensitivity)),
              SLOT(search(QString, bool, Qt::CaseSensitivity)));
    connected(header, SIGNAL(sectionClicked(int)), SLOT(sortColumn(int)));
    connected(store.get(), SIGNAL(stopLoggingDone()), SLOT(updateViewAfterStop()));
    connected(view->goToDialog(), SIGNAL(accepted()), SLOT(setGoToLine()));
    connected(view->table()->selectionModel(),
              SIGNAL(selectionChanged(QItemSelection, QItemSelection)),
              SLOT(tableItemSelected(QItemSelection, QItemSelection)));
    connected(view->table(), SIGNAL(customContextMenuRequested(QPoint)),
              SLOT(showContextMenu(QPoint)));
    connected(view->table(), SIGNAL(pressed(QModelIndex)), SLOT(displayCell()));
    connected(header, SIGNAL(sectionResized(int, int, int)),
              SLOT(horizontalHeaderChanged(int, int, int)));
    connected(view, SIGNAL(autoScroll()), SLOT(moveScrollBarToBottom()));
}

TEST_F(LogMessageViewLayoutTest, TheTableIsSetUpAsDesigned)
{
    open(nullptr, true);
    LogTableView* table = view->table();
    EXPECT_EQ(table->model(), view->fullModel());
    EXPECT_FALSE(table->showGrid());
    EXPECT_TRUE(table->wordWrap());
    EXPECT_TRUE(table->isSortingEnabled());
    EXPECT_EQ(table->selectionMode(), QAbstractItemView::ExtendedSelection);
    EXPECT_EQ(table->verticalScrollMode(), QAbstractItemView::ScrollPerPixel);
    EXPECT_EQ(table->horizontalScrollMode(), QAbstractItemView::ScrollPerPixel);
    EXPECT_TRUE(table->horizontalHeader()->stretchLastSection());
    EXPECT_TRUE(table->horizontalHeader()->isSortIndicatorShown());
    EXPECT_EQ(table->horizontalHeader()->sortIndicatorSection(), 0);
    EXPECT_EQ(table->horizontalHeader()->sortIndicatorOrder(), Qt::AscendingOrder);
    EXPECT_EQ(table->contextMenuPolicy(), Qt::CustomContextMenu);
    EXPECT_TRUE(table->verticalHeader()->isVisible());
    EXPECT_EQ(table->verticalHeader()->minimumWidth(), 60);
    EXPECT_EQ(table->textElideMode(), Qt::ElideNone);
    EXPECT_EQ(table->horizontalScrollBarPolicy(), Qt::ScrollBarAlwaysOn);
    EXPECT_TRUE(view->showLineNumbers());
    EXPECT_EQ(window->statusBar()->currentMessage(), "Ready");
}

TEST_F(LogMessageViewLayoutTest, LineNumbersCanBeSwitchedOffAndOn)
{
    open(nullptr, true);
    view->setShowLineNumbers(false);
    EXPECT_FALSE(view->table()->verticalHeader()->isVisible());
    view->setShowLineNumbers(true);
    EXPECT_TRUE(view->table()->verticalHeader()->isVisible());
}

TEST_F(LogMessageViewLayoutTest, TheStartStaysInOrderOfArrival)
{
    ViewSettings::instance().setColumnLayout({FieldServiceMsgID, FieldLogMessage});
    open();
    view->fullModel()->addMessage(message(9, "first"));
    view->fullModel()->addMessage(message(1, "second"));
    view->updateView();
    EXPECT_EQ(view->fullModel()->cellText(0, 1), "first");
    EXPECT_EQ(view->fullModel()->cellText(1, 1), "second");
}

TEST_F(LogMessageViewLayoutTest, RowsAreTwentyHighUnlessTheirContentsSetTheHeight)
{
    open(nullptr, true);
    add("one line");
    add("three\nlines\nof text");
    view->updateView();
    EXPECT_EQ(view->table()->rowHeight(0), 20);
    EXPECT_EQ(view->table()->rowHeight(1), 20);
    view->setResizeRows(true);
    EXPECT_TRUE(view->resizeRows());
    EXPECT_GT(view->table()->rowHeight(1), 40);
    view->setResizeRows(false);
    EXPECT_EQ(view->table()->rowHeight(1), 20);
    EXPECT_EQ(view->table()->verticalHeader()->sectionResizeMode(1), QHeaderView::Interactive);
    view->table()->setRowHeight(1, 60);
    EXPECT_EQ(view->table()->rowHeight(1), 60);
}

TEST_F(LogMessageViewLayoutTest, ColumnsAreFittedToTheirContentsOnEveryResize)
{
    ViewSettings::instance().setColumnLayout({FieldModule, FieldGroupName, FieldLogMessage});
    open(nullptr, true);
    view->fullModel()->addMessage(message(1, "x", LogLevel::Info, QString(60, 'W')));
    view->updateView();
    const int fitting = view->table()->columnWidth(0);
    view->table()->setColumnWidth(0, fitting / 2);
    window->resize(900, 500);
    EXPECT_TRUE(waitFor([&] { return view->table()->columnWidth(0) == fitting; }));
    EXPECT_EQ(view->table()->horizontalScrollBarPolicy(), Qt::ScrollBarAlwaysOn);
    view->table()->setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    view->table()->setColumnWidth(0, 33);
    EXPECT_EQ(view->table()->horizontalScrollBarPolicy(), Qt::ScrollBarAlwaysOn);
}

TEST_F(LogMessageViewLayoutTest, TheFirstRowsFitTheColumnsOnce)
{
    ViewSettings::instance().setColumnLayout({FieldModule, FieldGroupName, FieldLogMessage});
    open(nullptr, true);
    const int header = view->table()->columnWidth(0);
    view->fullModel()->addMessage(
        message(1, "x", LogLevel::Info, QStringLiteral("a module with a long name of its own")));
    view->updateView();
    const int fitting = view->table()->columnWidth(0);
    EXPECT_GT(fitting, header);
    view->table()->setColumnWidth(0, 50); // whoever changes a width keeps it
    view->fullModel()->addMessage(message(2, "y"));
    view->updateView();
    EXPECT_EQ(view->table()->columnWidth(0), 50);
}

TEST_F(LogMessageViewLayoutTest, TheFirstRowsLeaveTheWidthsOfTheLastRunAlone)
{
    ViewSettings::instance().setColumnLayout({FieldModule, FieldGroupName, FieldLogMessage});
    ViewSettings::instance().columnWidths = {{0, 77}, {1, 88}};
    open(nullptr, true);
    view->fullModel()->addMessage(
        message(1, "x", LogLevel::Info, QStringLiteral("a module with a long name of its own")));
    view->updateView();
    EXPECT_EQ(view->table()->columnWidth(0), 77);
}

TEST_F(LogMessageViewLayoutTest, ALastColumnWiderThanTheTableIsNotCutByStretchingIt)
{
    ViewSettings::instance().setColumnLayout({FieldModule, FieldLogMessage});
    open(nullptr, true);
    view->fullModel()->addMessage(message(1, QString(400, 'W')));
    view->updateView();
    EXPECT_GT(view->table()->columnWidth(1), view->table()->viewport()->width());
}

TEST_F(LogMessageViewLayoutTest, TheWidthsOfAnUnchangedLayoutAreInTheFileToo)
{
    ASSERT_TRUE(ViewSettings::instance().columnOrder.isEmpty());
    open(nullptr, true);
    view->table()->setColumnWidth(3, 234);
    view = nullptr;
    window.reset();
    ViewSettings read;
    ASSERT_TRUE(read.read());
    EXPECT_EQ(read.columnLayout(), defaultColumnOrder());
    EXPECT_EQ(read.columnWidths.value(3), 234);
}

TEST_F(LogMessageViewLayoutTest, ColumnWidthsSurviveARestart)
{
    open(nullptr, true);
    const int columns = view->fullModel()->columnCount();
    ASSERT_GE(columns, 3);
    view->table()->setColumnWidth(0, 111);
    view->table()->setColumnWidth(1, 222);
    view->table()->setColumnHidden(2, true);
    view = nullptr;
    window.reset();
    EXPECT_EQ(ViewSettings::instance().columnWidths.value(0), 111);
    EXPECT_EQ(ViewSettings::instance().columnWidths.value(1), 222);
    EXPECT_EQ(ViewSettings::instance().columnWidths.value(2), -1);
    EXPECT_EQ(ViewSettings::instance().columnWidths.size(), columns);
    EXPECT_TRUE(QFile::exists(ViewSettings::filePath()));

    open();
    EXPECT_EQ(view->table()->columnWidth(0), 111);
    EXPECT_EQ(view->table()->columnWidth(1), 222);
    EXPECT_FALSE(view->table()->isColumnHidden(2));
    window->show();
    EXPECT_TRUE(waitFor([this] { return window->isVisible(); }));
    window->resize(700, 400);
    EXPECT_TRUE(waitFor([this] { return view->width() == 700; }));
    EXPECT_EQ(view->table()->columnWidth(0), 111);
    EXPECT_EQ(view->table()->columnWidth(1), 222);
}

TEST_F(LogMessageViewLayoutTest, WidthsSurviveTheSwitchToTheFilteredModel)
{
    open(nullptr, true);
    add("a");
    view->updateView();
    view->table()->setColumnWidth(0, 111);
    store->setFilter({"a"}, {}, {}, false, false);
    view->enableFilter(Qt::Checked);
    EXPECT_EQ(view->table()->columnWidth(0), 111);
    EXPECT_EQ(view->table()->rowHeight(0), 20);
    view->enableFilter(Qt::Unchecked);
    EXPECT_EQ(view->table()->columnWidth(0), 111);
}

TEST_F(LogMessageViewLayoutTest, TheContextMenuIsAsItWasDesigned)
{
    struct Entry
    {
        const char* text;
        const char* icon;
        const char* statusTip;
        QKeySequence shortcut;
        const char* slot;
    };
    const std::vector<Entry> expected{
        {"Set Time Reference (toggle)", "", "", {}, SLOT(setReferenceTimeClicked())},
        {"Time Display Format", "", "", {}, nullptr},
        {nullptr, "", "", {}, nullptr},
        {"Filter...", "", "Set filtering options", QKeySequence("Shift+F"),
         SLOT(filterSelection())},
        {nullptr, "", "", {}, nullptr},
        {"Copy", ":/copySelection.png", "Copy selection to clipboard",
         QKeySequence(QKeySequence::Copy), SLOT(selectionClipboardClicked())},
        {"Copy all", ":/copy.png", "Copy current log view to clipboard",
         QKeySequence(QKeySequence::SelectAll), SLOT(messageViewClipboardClicked())},
    };
    open(nullptr, true);
    QStringList allTexts;
    withContextMenu([&](QMenu* menu) {
        const QList<QAction*> actions = menu->actions();
        ASSERT_EQ(actions.size(), static_cast<int>(expected.size()));
        for (int i = 0; i < actions.size(); ++i) {
            const Entry& entry = expected[static_cast<std::size_t>(i)];
            QAction* action = actions[i];
            SCOPED_TRACE(i + 1);
            EXPECT_EQ(action->isSeparator(), entry.text == nullptr);
            if (!entry.text)
                continue;
            EXPECT_EQ(action->text(), QLatin1String(entry.text));
            EXPECT_EQ(action->statusTip(), QLatin1String(entry.statusTip));
            EXPECT_EQ(action->shortcut(), entry.shortcut);
            if (!entry.shortcut.isEmpty()) {
                EXPECT_TRUE(action->isShortcutVisibleInContextMenu());
            }
            if (*entry.icon) {
                EXPECT_TRUE(sameIcon(action->icon(), QLatin1String(entry.icon)));
            } else {
                EXPECT_TRUE(action->icon().isNull());
            }
            const char* const signal = i == 0 ? SIGNAL(triggered(bool)) : SIGNAL(triggered());
            if (entry.slot) {
                EXPECT_EQ(connections(action, signal, entry.slot), 1);
            }
        }
        EXPECT_EQ(actions[1]->menu()->actions(),
                  (QList<QAction*>{&window->dateAndTime, &window->seconds}));
        for (const QAction* action :
             view->findChildren<QAction*>(QString(), Qt::FindDirectChildrenOnly))
            allTexts << action->text();
    });
    EXPECT_TRUE(allTexts.contains("Save log view..."));
    EXPECT_TRUE(allTexts.contains("Clear log"));
    EXPECT_EQ(view->findChildren<QMenu*>("logTableMenu").size(), 0);
}

TEST_F(LogMessageViewLayoutTest, TheActionsLeftOutOfTheContextMenuAreConnectedToo)
{
    open(nullptr, true);
    withContextMenu([](QMenu*) {});
    const auto find = [this](const char* text) -> QAction* {
        for (QAction* action : view->findChildren<QAction*>(QString(), Qt::FindDirectChildrenOnly))
            if (action->text() == QLatin1String(text))
                return action;
        return nullptr;
    };
    QAction* save = find("Save log view...");
    ASSERT_NE(save, nullptr);
    EXPECT_TRUE(sameIcon(save->icon(), ":/saveText.png"));
    EXPECT_EQ(save->statusTip(), "Save the current log view to text file (inclusive filter)");
    EXPECT_EQ(connections(save, SIGNAL(triggered()), SLOT(messageViewSaveClicked())), 1);
    QAction* clear = find("Clear log");
    ASSERT_NE(clear, nullptr);
    EXPECT_TRUE(sameIcon(clear->icon(), ":/clearText.png"));
    EXPECT_EQ(clear->statusTip(), "Clear the log window");
    EXPECT_EQ(connections(clear, SIGNAL(triggered()), SLOT(messageViewClearClicked())), 1);
}

TEST_F(LogMessageViewLayoutTest, OpeningTheContextMenuAgainMakesNoMoreActions)
{
    open(nullptr, true);
    withContextMenu([](QMenu*) {});
    const int once = view->findChildren<QAction*>().size();
    withContextMenu([](QMenu*) {});
    EXPECT_EQ(view->findChildren<QAction*>().size(), once);
}

TEST_F(LogMessageViewLayoutTest, TheContextMenuKeyOpensTheMenuAndItsEntryWorks)
{
    open(nullptr, true);
    add("cell text");
    view->updateView();
    view->table()->setCurrentIndex(view->fullModel()->index(0, columnOf("LogMessage")));
    bool opened = false;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] {
        if (auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget())) {
            opened = true;
            QTest::mouseClick(menu, Qt::LeftButton, {},
                              menu->actionGeometry(menu->actions()[3]).center());
        }
    });
    timer.start(5);
    QContextMenuEvent event(QContextMenuEvent::Keyboard, QPoint(10, 10));
    QApplication::sendEvent(view->table()->viewport(), &event);
    EXPECT_TRUE(opened);
    EXPECT_TRUE(view->filterDialog()->isVisible());
}

TEST_F(LogMessageViewLayoutTest, WithoutAHostTheViewWorksOnAStoreOfItsOwn)
{
    QWidget parent;
    auto* alone = new LogMessageView(nullptr, &parent);
    alone->fullModel()->addMessage(message(1, "alone"));
    alone->updateView();
    EXPECT_EQ(alone->fullModel()->rowCount(), 1);
    alone->messageViewClearClicked();
    EXPECT_EQ(alone->fullModel()->rowCount(), 0);
}

TEST_F(LogMessageViewLayoutTest, AWindowWithoutActionsIsEnough)
{
    store = std::make_shared<LogContainer>();
    window = std::make_unique<TestWindow>(store);
    window->actions = false;
    view = new LogMessageView(window->statusBar(), window.get());
    view->updateViewAfterStop();
    EXPECT_TRUE(startEnabled());
}

// --- Which fields are shown

class ShownFieldsTest : public ViewFixture
{
protected:
    void openWithColumns(const QList<int>& fields, int rows = 3)
    {
        ViewSettings::instance().setColumnLayout(fields);
        open(nullptr, true);
        for (int i = 0; i < rows; ++i)
            add(QStringLiteral("text %1").arg(i));
        view->updateView();
    }
    QHeaderView* header() const { return view->table()->horizontalHeader(); }
    QStringList headers() const
    {
        QStringList names;
        for (int column = 0; column < header()->count(); ++column)
            names << view->shownModel()->headerData(column, Qt::Horizontal).toString();
        return names;
    }
    QStringList shownColumn(int column) const
    {
        QStringList texts;
        for (int row = 0; row < view->shownModel()->rowCount(); ++row)
            texts << view->shownModel()->cellText(row, column);
        return texts;
    }
    void restart()
    {
        view = nullptr;
        window.reset();
        store.reset();
        ViewSettings::instance().reset();
        ASSERT_TRUE(ViewSettings::instance().read());
        open(nullptr, true);
    }
};

TEST_F(ShownFieldsTest, TheOrderEntersBothModelsTheTableAndTheSettingsAtOnce)
{
    openWithColumns({FieldServiceMsgID, FieldModule, FieldLogMessage});
    const QList<int> order{FieldLogMessage, FieldThreadID, FieldServiceMsgID};
    view->setShownFields(order);
    EXPECT_EQ(view->fullModel()->columns(), order);
    EXPECT_EQ(view->filteredModel()->columns(), order);
    EXPECT_EQ(ViewSettings::instance().columnLayout(), order);
    EXPECT_EQ(headers(), (QStringList{"LogMessage", "ThreadID", "ServiceMsgID"}));
    EXPECT_EQ(shownColumn(0), (QStringList{"text 0", "text 1", "text 2"}));
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}

TEST_F(ShownFieldsTest, NumbersThatAreNoFieldZeroAndRepetitionsAreLeftOut)
{
    openWithColumns({FieldServiceMsgID, FieldModule, FieldLogMessage});
    view->setShownFields({0, FieldModule, 13, FieldModule, -1, 0, FieldLogMessage, 4711});
    EXPECT_EQ(view->fullModel()->columns(), (QList<int>{FieldModule, FieldLogMessage}));
    EXPECT_EQ(ViewSettings::instance().columnLayout(), (QList<int>{FieldModule, FieldLogMessage}));
}

TEST_F(ShownFieldsTest, AnOrderWithoutAnyFieldChangesNothing)
{
    const QList<int> order{FieldServiceMsgID, FieldModule, FieldLogMessage};
    openWithColumns(order);
    for (const QList<int>& none : {QList<int>{}, QList<int>{0, 0}, QList<int>{-3, 13}}) {
        view->setShownFields(none);
        EXPECT_EQ(view->fullModel()->columns(), order);
        EXPECT_EQ(ViewSettings::instance().columnLayout(), order);
    }
}

TEST_F(ShownFieldsTest, AFieldKeepsItsWidthWhenItMovesAndANewOneIsFitted)
{
    openWithColumns({FieldServiceMsgID, FieldModule, FieldGroupName, FieldLogMessage});
    view->table()->setColumnWidth(0, 111);
    view->table()->setColumnWidth(1, 222);
    view->table()->setColumnWidth(2, 333);
    view->setShownFields({FieldGroupName, FieldTimestamp, FieldServiceMsgID, FieldLogMessage});
    EXPECT_EQ(view->table()->columnWidth(0), 333);
    EXPECT_EQ(view->table()->columnWidth(2), 111);
    const int fitted = view->table()->columnWidth(1);
    view->table()->resizeColumnToContents(1);
    EXPECT_EQ(fitted, view->table()->columnWidth(1));
}

TEST_F(ShownFieldsTest, AStretchedLastColumnIsFittedWhenItMoves)
{
    openWithColumns({FieldModule, FieldLogMessage});
    ASSERT_GT(view->table()->columnWidth(1), 600) << "stretched to the window's edge";
    view->setShownFields({FieldLogMessage, FieldModule});
    EXPECT_LT(view->table()->columnWidth(0), 300);
    EXPECT_GE(header()->length(), view->table()->viewport()->width());
}

TEST_F(ShownFieldsTest, WidthsFollowTheirFieldsWithoutAnyRowToo)
{
    ViewSettings::instance().columnWidths = {{0, 111}, {1, 222}, {2, 333}};
    openWithColumns({FieldServiceMsgID, FieldModule, FieldGroupName, FieldLogMessage}, 0);
    view->setShownFields({FieldGroupName, FieldServiceMsgID, FieldLogMessage});
    EXPECT_EQ(view->table()->columnWidth(0), 333);
    EXPECT_EQ(view->table()->columnWidth(1), 111);
    window->resize(700, 400);
    EXPECT_TRUE(waitFor([this] { return view->width() == 700; }));
    EXPECT_EQ(view->table()->columnWidth(0), 333);
    EXPECT_EQ(view->table()->columnWidth(1), 111);
}

TEST_F(ShownFieldsTest, ARestartShowsTheNewOrderWithItsWidths)
{
    openWithColumns({FieldServiceMsgID, FieldModule, FieldLogMessage});
    view->setShownFields({FieldModule, FieldTimestamp, FieldLogMessage});
    view->table()->setColumnWidth(0, 123);
    view->table()->setColumnWidth(1, 234);
    restart();
    EXPECT_EQ(headers(), (QStringList{"Module", "Timestamp", "LogMessage"}));
    EXPECT_EQ(view->table()->columnWidth(0), 123);
    EXPECT_EQ(view->table()->columnWidth(1), 234);
}

TEST_F(ShownFieldsTest, TheSortAndItsMarkMoveWithTheirField)
{
    openWithColumns({FieldServiceMsgID, FieldModule, FieldLogMessage});
    header()->setSortIndicator(0, Qt::DescendingOrder);
    ASSERT_EQ(shownColumn(0), (QStringList{"3", "2", "1"}));
    view->setShownFields({FieldLogMessage, FieldServiceMsgID});
    EXPECT_EQ(shownColumn(1), (QStringList{"3", "2", "1"}));
    EXPECT_EQ(header()->sortIndicatorSection(), 1);
    EXPECT_EQ(header()->sortIndicatorOrder(), Qt::DescendingOrder);
    EXPECT_EQ(view->fullModel()->sortColumn(), 1);
    header()->setSortIndicator(1, Qt::AscendingOrder);
    EXPECT_EQ(shownColumn(1), (QStringList{"1", "2", "3"}));
}

TEST_F(ShownFieldsTest, WithoutTheSortedFieldTheRowsStayInTheirOrderAndNoColumnIsMarked)
{
    openWithColumns({FieldServiceMsgID, FieldModule, FieldLogMessage});
    header()->setSortIndicator(0, Qt::DescendingOrder);
    view->setShownFields({FieldModule, FieldLogMessage});
    EXPECT_EQ(shownColumn(1), (QStringList{"text 2", "text 1", "text 0"}));
    EXPECT_EQ(header()->sortIndicatorSection(), -1);
    child<QCheckBox>("filterBox")->setChecked(true);
    child<QCheckBox>("filterBox")->setChecked(false);
    EXPECT_EQ(view->shownModel()->rowCount(), 3);
    header()->setSortIndicator(1, Qt::AscendingOrder);
    EXPECT_EQ(shownColumn(1), (QStringList{"text 0", "text 1", "text 2"}));
}

TEST_F(ShownFieldsTest, RowsThatCameInOrderAreNotSortedByMovingColumns)
{
    openWithColumns({FieldServiceMsgID, FieldLogMessage}, 0);
    for (const int number : {3, 1, 2})
        view->fullModel()->addMessage(message(number, QStringLiteral("x")));
    view->updateView();
    view->setShownFields({FieldLogMessage, FieldServiceMsgID});
    EXPECT_EQ(shownColumn(1), (QStringList{"3", "1", "2"}));
    view->messageViewClearClicked();
    for (const int number : {3, 1, 2})
        view->fullModel()->addMessage(message(number, QStringLiteral("x")));
    view->updateView();
    view->setShownFields({FieldServiceMsgID, FieldLogMessage});
    EXPECT_EQ(shownColumn(0), (QStringList{"3", "1", "2"}));
}

TEST_F(ShownFieldsTest, SelectedRowsStaySelectedAndTheCurrentRowStaysCurrent)
{
    openWithColumns({FieldServiceMsgID, FieldModule}, 10);
    QItemSelectionModel* selection = view->table()->selectionModel();
    view->table()->selectRow(4);
    selection->select(view->shownModel()->index(7, 0),
                      QItemSelectionModel::Select | QItemSelectionModel::Rows);
    // No field stays, so for a moment there is no column at all.
    for (const QList<int>& order :
         {QList<int>{FieldModule, FieldServiceMsgID, FieldLogMessage},
          QList<int>{FieldThreadID, FieldProcessID}, QList<int>{FieldLogMessage}}) {
        view->setShownFields(order);
        QList<int> rows;
        for (const QModelIndex& index : selection->selectedRows())
            rows << index.row();
        std::sort(rows.begin(), rows.end());
        EXPECT_EQ(rows, (QList<int>{4, 7}));
        EXPECT_EQ(view->table()->currentIndex().row(), 4);
    }
}

TEST_F(ShownFieldsTest, ASelectedCellStaysWithItsField)
{
    openWithColumns({FieldServiceMsgID, FieldModule, FieldLogMessage});
    view->table()->setCurrentIndex(view->shownModel()->index(1, 2));
    view->setShownFields({FieldLogMessage, FieldServiceMsgID});
    EXPECT_EQ(view->table()->currentIndex(), view->shownModel()->index(1, 0));
    EXPECT_EQ(view->table()->selectionModel()->selectedIndexes(),
              QModelIndexList{view->shownModel()->index(1, 0)});
}

TEST_F(ShownFieldsTest, TheFilteredTableChangesItsColumnsToo)
{
    openWithColumns({FieldServiceMsgID, FieldModule, FieldLogMessage});
    store->setFilter({"text 1"}, {}, {}, false, false);
    child<QCheckBox>("filterBox")->setChecked(true);
    view->setShownFields({FieldLogMessage, FieldServiceMsgID});
    EXPECT_EQ(shownColumn(0), QStringList{"text 1"});
    child<QCheckBox>("filterBox")->setChecked(false);
    EXPECT_EQ(shownColumn(0), (QStringList{"text 0", "text 1", "text 2"}));
}

TEST_F(ShownFieldsTest, AHiddenColumnComesBack)
{
    openWithColumns({FieldServiceMsgID, FieldModule, FieldLogMessage});
    view->table()->setColumnHidden(1, true);
    view->setShownFields({FieldModule, FieldLogMessage});
    EXPECT_FALSE(view->table()->isColumnHidden(0));
    EXPECT_GT(view->table()->columnWidth(0), 10);
}

TEST_F(ShownFieldsTest, ResetShowsAllFieldsFittedWithRowNumbersAndNoFilter)
{
    ViewSettings& settings = ViewSettings::instance();
    settings.filterInclude = QStringList{"text 1"};
    settings.filterExclude = QStringList{"no"};
    settings.levelFilterInclude = QStringList{"info"};
    settings.filterIncludeCs = settings.filterExcludeCs = settings.filterEnabled = true;
    settings.columnWidths = {{0, 77}, {1, 88}};
    openWithColumns({FieldLogMessage, FieldModule});
    ASSERT_EQ(view->shownModel(), view->filteredModel());
    view->setShowLineNumbers(false);
    view->resetLayoutAndFilter();
    EXPECT_EQ(view->fullModel()->columns(), defaultColumnOrder());
    EXPECT_EQ(view->filteredModel()->columns(), defaultColumnOrder());
    EXPECT_EQ(settings.columnLayout(), defaultColumnOrder());
    const int width = view->table()->columnWidth(0);
    view->table()->resizeColumnToContents(0);
    EXPECT_EQ(width, view->table()->columnWidth(0));
    EXPECT_TRUE(view->showLineNumbers());
    EXPECT_TRUE(view->table()->verticalHeader()->isVisible());
    EXPECT_EQ(view->shownModel(), view->fullModel());
    EXPECT_FALSE(child<QCheckBox>("filterBox")->isChecked());
    EXPECT_FALSE(store->isFiltering());
    EXPECT_FALSE(store->showFiltered());
    EXPECT_EQ(settings.filterInclude + settings.filterExclude + settings.levelFilterInclude,
              QStringList());
    EXPECT_FALSE(settings.filterIncludeCs || settings.filterExcludeCs || settings.filterEnabled);
    EXPECT_EQ(view->filterDialog()->includeTexts(), QStringList());
    EXPECT_FALSE(view->filterDialog()->includeCaseSensitive());
    EXPECT_EQ(shownColumn(columnOf("LogMessage")), (QStringList{"text 0", "text 1", "text 2"}));
    restart();
    EXPECT_EQ(view->fullModel()->columns(), defaultColumnOrder());
    EXPECT_FALSE(child<QCheckBox>("filterBox")->isChecked());
}

TEST_F(ShownFieldsTest, WhatWasChangedIsThereAfterARestart)
{
    openWithColumns({FieldServiceMsgID, FieldModule, FieldLogMessage});
    view->setShownFields({FieldLogMessage, FieldModule, FieldTimestamp});
    view->table()->setColumnWidth(0, 321);
    view->setMaximumMessages(4711);
    view->filterSelection();
    ViewSettings::instance().filterInclude = QStringList{"text"};
    ViewSettings::instance().filterExclude = QStringList{"a", "b"};
    ViewSettings::instance().filterExcludeCs = true;
    view->filterDialog()->reject(); // takes over what the settings say
    view->setFilter();
    ViewSettings::instance().timeDisplay = false;
    restart();
    EXPECT_EQ(headers(), (QStringList{"LogMessage", "Module", "Timestamp"}));
    EXPECT_EQ(view->table()->columnWidth(0), 321);
    EXPECT_EQ(store->maximumMessages(), 4711);
    EXPECT_TRUE(child<QCheckBox>("filterBox")->isChecked());
    EXPECT_TRUE(store->isFiltering());
    EXPECT_EQ(view->shownModel(), view->filteredModel());
    EXPECT_EQ(view->filterDialog()->includeTexts(), QStringList{"text"});
    EXPECT_EQ(view->filterDialog()->excludeTexts(), (QStringList{"a", "b"}));
    EXPECT_TRUE(view->filterDialog()->excludeCaseSensitive());
    EXPECT_FALSE(ViewSettings::instance().timeDisplay);
}

TEST_F(ShownFieldsTest, SettingsOfAnOldRunWithOddColumnsGiveASaneTable)
{
    const auto item = [](const char* name, int column, int width) {
        return QStringLiteral("<Item><Name>%1</Name><Column>%2</Column>"
                              "<ColumnWidth>%3</ColumnWidth>\n</Item>\n")
            .arg(QLatin1String(name))
            .arg(column)
            .arg(width);
    };
    for (const QString& items :
         {QString(), item("LogMessage", 0, 50) + item("LogMessage", 3, 60),
          item("Gone", 0, 50) + item("Module", 1, 60),
          item("Module", 2147483647, 2147483647) + item("LogMessage", -5, -7),
          item("Module", 0, 50) + item("LogMessage", 0, 60),
          QStringLiteral("<Item><Column>1</Column></Item><Unknown><Item/></Unknown>")}) {
        QFile file(ViewSettings::filePath());
        QDir().mkpath(QFileInfo(file).path());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("<LogDesk><New>1</New><MaximumLogMessages>5</MaximumLogMessages><TableView>\n" +
                   items.toUtf8() + "</TableView><FilterInclude>;,a</FilterInclude></LogDesk>");
        file.close();
        ViewSettings::instance().reset();
        ASSERT_TRUE(ViewSettings::instance().read());
        open(nullptr, true);
        addNumbered(3);
        const QList<int> fields = view->fullModel()->columns();
        EXPECT_FALSE(fields.isEmpty()) << items.toStdString();
        EXPECT_EQ(fields, view->filteredModel()->columns());
        EXPECT_EQ(header()->count(), fields.size());
        for (int column = 0; column < fields.size(); ++column) {
            EXPECT_GT(view->table()->columnWidth(column), 0) << items.toStdString();
            EXPECT_FALSE(logFieldName(fields.at(column)).isEmpty());
            EXPECT_EQ(fields.count(fields.at(column)), 1);
        }
        view->setShownFields({FieldLogMessage, FieldModule});
        EXPECT_EQ(headers(), (QStringList{"LogMessage", "Module"}));
        view = nullptr;
        window.reset();
    }
}

// --- The mark of what is searched for

TEST_F(ShownFieldsTest, WhileASearchIsActiveEveryMatchIsMarkedUntilItEnds)
{
    openWithColumns({FieldLogMessage, FieldModule});
    const QColor mark(153, 153, 255, 60);
    const auto marked = [&](int row) {
        return view->shownModel()->index(row, 0).data(Qt::BackgroundRole).value<QColor>() == mark;
    };
    view->search(QStringLiteral("TEXT"), true);
    EXPECT_TRUE(marked(0) && marked(1) && marked(2));
    BoxAnswerer boxes;
    view->search(QStringLiteral("TEXT"), true, Qt::CaseSensitive);
    EXPECT_EQ(boxes.seen.size(), 1U);
    EXPECT_FALSE(marked(0) || marked(1) || marked(2)) << "the rule is the last search's";
    view->search(QStringLiteral("text 1"), false, Qt::CaseSensitive);
    EXPECT_TRUE(!marked(0) && marked(1) && !marked(2));
    store->setFilter({"text"}, {}, {}, false, false);
    child<QCheckBox>("filterBox")->setChecked(true);
    EXPECT_TRUE(!marked(0) && marked(1) && !marked(2));
    view->findDialog()->reject();
    EXPECT_FALSE(store->highlight());
    EXPECT_FALSE(marked(0) || marked(1) || marked(2));
}

} // namespace
} // namespace zuLogging::test
