#include "tests/store/ServiceStandIn.h"
#include "tests/view/ViewTestSupport.h"

#include <QCheckBox>
#include <QClipboard>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QItemSelectionModel>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLineEdit>
#include <QTemporaryDir>

namespace zuLogging::test {
namespace {

const QByteArray header = "************************************\n"
                          "ARZ LogDesk 3.1.26\n"
                          "Arvenza\n"
                          "Copyright (c) 2026 The LogDesk developers\n"
                          "************************************\n";

class LogTextExportTest : public ViewFixture
{
protected:
    /// Answers the save dialog with `path`; with an empty one, cancels.
    void save(const QString& path)
    {
        save(path, [this] { view->messageViewSaveClicked(); });
    }
    void saveJson(const QString& path)
    {
        save(path, [this] { view->saveLogMessagesToJSONClicked(); });
    }
    void save(const QString& path, const std::function<void()>& slot)
    {
        caption.clear();
        bool answered = false;
        QTimer timer;
        QObject::connect(&timer, &QTimer::timeout, [&] {
            if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
                ++boxes;
                if (QAbstractButton* replace = box->button(QMessageBox::Yes))
                    replace->click();
                else
                    box->reject();
                return;
            }
            auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
            if (!dialog || answered)
                return;
            answered = true;
            caption = dialog->windowTitle();
            filters = dialog->nameFilters();
            proposed = dialog->selectedFiles();
            if (path.isEmpty()) {
                dialog->reject();
                return;
            }
            dialog->findChild<QLineEdit*>("fileNameEdit")->setText(path);
            // Later: the dialog may ask something, and then this timer is needed again.
            QMetaObject::invokeMethod(dialog, "accept", Qt::QueuedConnection);
        });
        timer.start(5);
        slot();
    }
    static QByteArray contents(const QString& path)
    {
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    }
    QString path(const char* name) const { return directory.filePath(QLatin1String(name)); }
    static QString clipboard() { return QApplication::clipboard()->text(); }
    void select(int row, int column)
    {
        view->table()->selectionModel()->select(view->shownModel()->index(row, column),
                                                QItemSelectionModel::Select);
    }
    void openWithColumns(const QList<int>& fields)
    {
        ViewSettings::instance().setColumnLayout(fields);
        open();
    }

    QTemporaryDir directory;
    QString caption;
    QStringList filters;
    QStringList proposed;
    int boxes = 0;
};

TEST_F(LogTextExportTest, SavingAnEmptyViewGivesTheFiveHeaderLinesAndNothingElse)
{
    open();
    save(path("empty.log"));
    EXPECT_EQ(contents(path("empty.log")), header);
    EXPECT_EQ(caption, "Save log file");
    EXPECT_EQ(filters, QStringList{"Text files (*.log)"});
    ASSERT_EQ(proposed.size(), 1);
    EXPECT_TRUE(proposed[0].endsWith("/zulogsvc.log")) << proposed[0].toStdString();
}

TEST_F(LogTextExportTest, SavingTwiceToTheSameFileLeavesBothCopiesInItAndAsksNothing)
{
    openWithColumns({FieldLogMessage});
    add("a");
    save(path("twice.log"));
    save(path("twice.log"));
    EXPECT_EQ(contents(path("twice.log")), header + "a\t\n" + header + "a\t\n");
    EXPECT_EQ(boxes, 0);
}

TEST_F(LogTextExportTest, ARowWithAnEmptyMiddleCellIsWrittenWithBothTabs)
{
    openWithColumns({FieldModule, FieldGroupName, FieldLogMessage});
    view->fullModel()->addMessage(std::make_shared<LogMessage>(
        1U, 1U, 1U, firstTime, 8U, QString(), QString("a"), QString(), QString("c"), 0U, 0U));
    save(path("row.log"));
    EXPECT_EQ(contents(path("row.log")), header + "a\t\tc\t\n");
}

TEST_F(LogTextExportTest, CancellingTheFileDialogWritesNothing)
{
    open();
    save(QString());
    EXPECT_EQ(caption, "Save log file");
    EXPECT_TRUE(QDir(directory.path()).isEmpty());
}

TEST_F(LogTextExportTest, AFileThatCannotBeOpenedIsNotReported)
{
    open();
    save(path("no/such/folder.log"));
    EXPECT_TRUE(QDir(directory.path()).isEmpty());
}

TEST_F(LogTextExportTest, TheTextHoldsTheShownRowsInTheShownOrder)
{
    openWithColumns({FieldLogMessage});
    for (const char* text : {"yes b", "no", "yes a"})
        add(text);
    store->setFilter({"yes"}, {}, {}, false, false);
    view->enableFilter(Qt::Checked);
    view->table()->sortByColumn(0, Qt::DescendingOrder);
    view->table()->sortByColumn(0, Qt::AscendingOrder);
    save(path("shown.log"));
    EXPECT_EQ(contents(path("shown.log")), header + "yes a\t\nyes b\t\n");
    view->messageViewClipboardClicked();
    EXPECT_EQ(clipboard(), "yes a\t\nyes b\t\n");
}

TEST_F(LogTextExportTest, CopyAllPutsTheBodyWithoutHeaderOnTheClipboard)
{
    openWithColumns({FieldModule, FieldLogMessage});
    add("a");
    add("b");
    view->messageViewClipboardClicked();
    EXPECT_EQ(clipboard(), "module\ta\t\nmodule\tb\t\n");
}

TEST_F(LogTextExportTest, CopyingASelectionGivesItsCellsByRowAndColumn)
{
    openWithColumns({FieldServiceMsgID, FieldModule, FieldLogMessage});
    for (const char* text : {"r0", "r1", "r2", "r3"})
        add(text);
    view->updateView();
    select(1, 2);
    select(1, 0);
    select(3, 1);
    view->selectionClipboardClicked();
    EXPECT_EQ(clipboard(), "2\tr1\nmodule");
}

TEST_F(LogTextExportTest, ASelectionThatStartsWithAnEmptyCellHasNoSeparatorBehindIt)
{
    openWithColumns({FieldModule, FieldLogMessage});
    view->fullModel()->addMessage(message(1, "text", LogLevel::Info, QString()));
    view->updateView();
    select(0, 0);
    select(0, 1);
    view->selectionClipboardClicked();
    EXPECT_EQ(clipboard(), "text");
}

TEST_F(LogTextExportTest, RangesThatShareRowsAreCopiedRowByRow)
{
    openWithColumns({FieldServiceMsgID, FieldModule, FieldLogMessage});
    for (int i = 0; i < 4; ++i)
        add(QStringLiteral("r%1").arg(i));
    view->updateView();
    const auto range = [this](int top, int left, int bottom, int right) {
        view->table()->selectionModel()->select(
            QItemSelection(view->shownModel()->index(top, left),
                           view->shownModel()->index(bottom, right)),
            QItemSelectionModel::Select);
    };
    range(1, 2, 3, 2);
    range(0, 0, 1, 0);
    view->selectionClipboardClicked();
    EXPECT_EQ(clipboard(), "1\n2\tr1\nr2\nr3");
}

TEST_F(LogTextExportTest, AnEmptySelectionEmptiesTheClipboard)
{
    open();
    add("a");
    QApplication::clipboard()->setText("before");
    view->selectionClipboardClicked();
    EXPECT_EQ(clipboard(), QString());
}

// A copy whose time grew with the square of the rows would not end within the test's limit.
TEST_F(LogTextExportTest, AMillionRowsAreCopiedWhole)
{
    constexpr int rows = 1000000;
    openWithColumns({FieldServiceMsgID, FieldLogMessage});
    view->fullModel()->addMessages(std::vector<std::shared_ptr<LogMessage>>(
        rows, message(1, QStringLiteral("the same text for every row"))));
    view->updateView();
    view->messageViewClipboardClicked();
    EXPECT_EQ(clipboard().count('\n'), rows);
    view->table()->selectAll();
    view->selectionClipboardClicked();
    EXPECT_EQ(clipboard().count('\n'), rows - 1);
}

// --- JSON

TEST_F(LogTextExportTest, TheJsonFileHoldsEveryMessageOfTheFullModelInItsOrder)
{
    openWithColumns({FieldLogMessage});
    for (int number = 1; number <= 2500; ++number)
        view->fullModel()->addMessage(
            message(number, QStringLiteral("text %1").arg(2500 - number)));
    store->setFilter({"text 7"}, {}, {}, false, false);
    view->findChild<QCheckBox*>("filterBox")->setChecked(true);
    view->sortColumn(0);
    QFile old(path("log.json"));
    ASSERT_TRUE(old.open(QIODevice::WriteOnly));
    old.write("what was there before is replaced");
    old.close();
    saveJson(path("log.json"));
    EXPECT_EQ(boxes, 1); // whether the old file may go
    EXPECT_EQ(caption, "Save log file");
    EXPECT_EQ(filters, QStringList{"JSON files (*.json)"});
    ASSERT_EQ(proposed.size(), 1);
    EXPECT_TRUE(proposed[0].endsWith("/zulogsvc.json")) << proposed[0].toStdString();
    const QJsonArray array = QJsonDocument::fromJson(contents(path("log.json"))).array();
    ASSERT_EQ(array.size(), 2500);
    for (int row = 0; row < array.size(); ++row) {
        ASSERT_EQ(array[row].toObject()["ServiceMsgID"].toString(), QString::number(row + 1));
        ASSERT_EQ(array[row].toObject()["LogMessage"].toString(),
                  QStringLiteral("text %1").arg(2499 - row));
    }
}

TEST_F(LogTextExportTest, ACancelledOrUnwritableJsonFileLeavesEverythingAsItWas)
{
    open();
    view->fullModel()->addMessage(message(1, "text"));
    saveJson(QString());
    EXPECT_TRUE(QDir(directory.path()).isEmpty());
    saveJson(path("no/such/folder/log.json"));
    EXPECT_TRUE(QDir(directory.path()).isEmpty());
}

TEST_F(LogTextExportTest, WhileLoggingRunsTheJsonFileIsRefusedWithAWarning)
{
    open();
    const ServiceStandIn service;
    ASSERT_TRUE(store->startLogging(false));
    const BoxAnswerer answerer;
    view->saveLogMessagesToJSONClicked();
    ASSERT_EQ(answerer.seen.size(), 1U);
    EXPECT_EQ(answerer.seen[0].title, "Save to JSON");
    EXPECT_EQ(answerer.seen[0].text, "Please stop the logging before saving to JSON file.");
    EXPECT_EQ(answerer.seen[0].icon, QMessageBox::Warning);
    store->stopLogging();
    EXPECT_TRUE(waitFor([&] { return !store->isActive(); }));
}

} // namespace
} // namespace zuLogging::test
