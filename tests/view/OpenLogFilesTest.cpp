#include "tests/store/ServiceStandIn.h"
#include "tests/view/ViewTestSupport.h"

#include <QCheckBox>
#include <QComboBox>
#include <QToolBar>

namespace zuLogging::test {
namespace {

class OpenLogFiles : public ViewAndFilesFixture
{
protected:
    QStringList listed() const
    {
        QStringList all;
        for (int i = 0; i < files()->count(); ++i)
            all << files()->itemText(i);
        return all;
    }
};

TEST_F(OpenLogFiles, AllFilesAreAddedInTheirOrderWithoutAQuestion)
{
    open(nullptr, true);
    add(QStringLiteral("was there"));
    const QStringList paths{write("a.log", "a1\na2\n"),
                            write("b.json", "[{\"LogMessage\":\"b1\"}]"),
                            write("c.txt", "{\"LogMessage\":\"c1\"}\n")};
    BoxAnswerer user;
    view->openLogFiles(paths);
    EXPECT_TRUE(user.seen.empty());
    EXPECT_EQ(texts(view->fullModel()), (QStringList{"was there", "a1", "a2", "b1", "c1"}));
    EXPECT_EQ(label("countLabel"), QStringLiteral("5"));
    EXPECT_EQ(listed(), paths);
    EXPECT_EQ(files()->currentText(), paths.last());
    EXPECT_TRUE(infoToolbar()->isVisible());
    EXPECT_EQ(status(), QString());
}

TEST_F(OpenLogFiles, WhileLoggingRunsTheyAreRefused)
{
    open();
    const ServiceStandIn service;
    ASSERT_TRUE(store->startLogging(false));
    BoxAnswerer user;
    view->openLogFiles({write("a.log", "a1\n")}, true);
    ASSERT_EQ(user.seen.size(), 1U);
    EXPECT_EQ(user.seen[0].icon, QMessageBox::Warning);
    EXPECT_EQ(user.seen[0].title, QStringLiteral("Open log file"));
    EXPECT_EQ(user.seen[0].text,
              QStringLiteral("Please stop the logging before opening a log file."));
    EXPECT_EQ(view->fullModel()->rowCount(), 0);
    EXPECT_TRUE(listed().isEmpty());
    store->stopLogging();
    EXPECT_TRUE(waitFor([this] { return !store->isActive(); }));
}

TEST_F(OpenLogFiles, AskedForItClearsWhatIsThereWhenTheUserWantsIt)
{
    open();
    add(QStringLiteral("was there"));
    const QString path = write("a.log", "a1\n");
    {
        BoxAnswerer user(QMessageBox::No);
        view->openLogFiles({path}, true);
        ASSERT_EQ(user.seen.size(), 1U);
        EXPECT_EQ(user.seen[0].icon, QMessageBox::Question);
        EXPECT_EQ(user.seen[0].title, QStringLiteral("Open log file"));
        EXPECT_EQ(user.seen[0].text, QStringLiteral("Do you want to clear the current logging?"));
        EXPECT_EQ(user.seen[0].buttons, QMessageBox::Yes | QMessageBox::No);
    }
    EXPECT_EQ(texts(view->fullModel()), (QStringList{"was there", "a1"}));
    {
        BoxAnswerer user(QMessageBox::Yes);
        view->openLogFiles({path}, true);
        EXPECT_EQ(user.seen.size(), 1U);
    }
    EXPECT_EQ(texts(view->fullModel()), QStringList{"a1"});
    EXPECT_EQ(listed(), QStringList{path});
}

TEST_F(OpenLogFiles, WithoutMessagesNothingIsAsked)
{
    open();
    BoxAnswerer user(QMessageBox::Yes);
    view->openLogFiles({write("a.log", "a1\n")}, true);
    EXPECT_TRUE(user.seen.empty());
    EXPECT_EQ(texts(view->fullModel()), QStringList{"a1"});
}

TEST_F(OpenLogFiles, FilesThatCannotBeReadAreToldAndTheOthersOpened)
{
    open();
    const QString missing = directory.filePath(QStringLiteral("<b>%1.log"));
    const QString good = write("a.log", "a1\n");
    BoxAnswerer user;
    bool tableWasComplete = false;
    user.hold = [&] {
        tableWasComplete = label("countLabel") == QStringLiteral("1");
        return false;
    };
    view->openLogFiles({missing, good, directory.path()});
    ASSERT_EQ(user.seen.size(), 1U);
    EXPECT_EQ(user.seen[0].icon, QMessageBox::Critical);
    EXPECT_EQ(user.seen[0].title, QStringLiteral("Open log file"));
    EXPECT_EQ(user.seen[0].text, QStringLiteral("Failed to read file '") + missing +
                                     QStringLiteral("'. No such file or directory\n"
                                                    "Failed to read file '") +
                                     directory.path() + QStringLiteral("'. It is a folder."));
    EXPECT_TRUE(tableWasComplete);
    EXPECT_EQ(texts(view->fullModel()), QStringList{"a1"});
    EXPECT_EQ(listed(), QStringList{good});
}

TEST_F(OpenLogFiles, OfManyFilesThatCannotBeReadTheFirstTenAreNamed)
{
    open();
    QStringList paths;
    for (int i = 0; i < 13; ++i)
        paths << directory.filePath(QString::number(i));
    BoxAnswerer user;
    view->openLogFiles(paths);
    ASSERT_EQ(user.seen.size(), 1U);
    EXPECT_EQ(user.seen[0].text.count(QLatin1Char('\n')), 10);
    EXPECT_TRUE(user.seen[0].text.endsWith(QStringLiteral("\n3 more files could not be read.")));
    EXPECT_TRUE(infoToolbar()->isHidden());
}

TEST_F(OpenLogFiles, TheFilterHoldsForTheNewRows)
{
    open();
    store->setFilter({QStringLiteral("keep")}, {}, {}, false, false);
    filterBox()->setChecked(true);
    view->openLogFiles({write("a.log", "keep 1\ndrop\nkeep 2\n")});
    EXPECT_TRUE(filterBox()->isChecked());
    EXPECT_EQ(view->shownModel(), view->filteredModel());
    EXPECT_EQ(texts(view->filteredModel()), (QStringList{"keep 1", "keep 2"}));
    EXPECT_EQ(label("filteredLabel"), QStringLiteral("2"));
    filterBox()->setChecked(false);
    view->openLogFiles({write("b.log", "keep 3\n")});
    filterBox()->setChecked(true);
    EXPECT_EQ(texts(view->filteredModel()), (QStringList{"keep 1", "keep 2", "keep 3"}));
}

TEST_F(OpenLogFiles, ResizeRowsStaysAsItWas)
{
    open();
    view->openLogFiles({write("a.log", "a1\n")});
    EXPECT_FALSE(view->resizeRows());
    EXPECT_FALSE(window->resizeRows.isChecked());
    view->setResizeRows(true);
    window->resizeRows.setChecked(true);
    view->openLogFiles({write("a.log", "a1\n")});
    EXPECT_TRUE(view->resizeRows());
    EXPECT_TRUE(window->resizeRows.isChecked());
}

TEST_F(OpenLogFiles, TheColumnsFitTheNewRows)
{
    open();
    const int before = view->table()->columnWidth(columnOf("LogMessage"));
    view->openLogFiles({write("a.log", QByteArray(400, 'x') + '\n')});
    EXPECT_GT(view->table()->columnWidth(columnOf("LogMessage")), before + 1000);
}

TEST_F(OpenLogFiles, AnEmptyListChangesNothing)
{
    open();
    add(QStringLiteral("was there"));
    BoxAnswerer user;
    view->openLogFiles({}, true);
    EXPECT_TRUE(user.seen.empty());
    EXPECT_EQ(view->fullModel()->rowCount(), 1);
}

} // namespace
} // namespace zuLogging::test
