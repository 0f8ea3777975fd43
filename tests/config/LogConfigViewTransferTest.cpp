#include "tests/config/LogConfigViewFixture.h"

#include <QAbstractButton>
#include <QMessageBox>
#include <QTableView>
#include <QTest>
#include <QTreeView>

#include <gtest/gtest.h>

#include <memory>
#include <string>

using namespace zuLogging;
using namespace zuLogging::test;

// --- saving, rereading, resetting -----------------------------------------------------------

TEST_F(LogConfigViewTest, AfterASuccessfulSaveTheSaveButtonIsDisabledUntilTheNextEdit)
{
    openUser();
    fillIn({{"level", "debug"}});
    selectRow(0);
    view->modifyClicked();
    ASSERT_TRUE(canSave());
    view->saveConfigClicked();
    const ModalAnswers::Box box = answers.onlyBox();
    EXPECT_EQ(box.icon, QMessageBox::Information);
    EXPECT_EQ(box.title, QStringLiteral("Save"));
    EXPECT_TRUE(box.hasWindowIcon);
    EXPECT_EQ(box.text, QStringLiteral("Configuration saved successfully."));
    EXPECT_EQ(box.informativeText,
              QStringLiteral("Please restart the application, which should be logged."));
    EXPECT_EQ(box.buttons, QStringList("OK"));
    EXPECT_FALSE(box.waitCursor);
    expectMarked(false);
    EXPECT_FALSE(table()->isChanged());
    EXPECT_EQ(service->configuration(), json());
    EXPECT_TRUE(service->configuration().find(R"("level":"debug")") != std::string::npos);
    view->modifyClicked();
    expectMarked(true);
}

TEST_F(LogConfigViewTest, AFailedSaveIsToldAndCanBeTriedAgain)
{
    openUser();
    view->markModified();
    service->refuse(LogClientCommand::SetConfiguration);
    view->saveConfigClicked();
    EXPECT_EQ(answers.onlyBox().icon, QMessageBox::Warning);
    EXPECT_EQ(answers.onlyBox().title, QStringLiteral("Save"));
    EXPECT_EQ(answers.onlyBox().text,
              QStringLiteral("Failed to save the configuration file (The command was not "
                             "successful (negative acknowledge received))"));
    EXPECT_FALSE(answers.onlyBox().waitCursor);
    expectMarked(true);
    service->refuseNothing();
    view->saveConfigClicked();
    expectMarked(false);
}

TEST_F(LogConfigViewTest, ASaveInExpertModeLeavesTheTablesFlag)
{
    openUser();
    fillIn({{"level", "debug"}});
    selectRow(0);
    view->modifyClicked();
    view->setMode(LogConfigView::Expert);
    view->saveConfigClicked();
    expectMarked(false);
    EXPECT_TRUE(table()->isChanged());
}

TEST_F(LogConfigViewTest, RereadingShowsWhatTheServiceHasNow)
{
    openUser();
    view->markModified();
    service->setConfiguration(R"({"parameters":{"level":"fatal"}})");
    view->updateConfigClicked();
    EXPECT_EQ(rows(), QStringLiteral("default fatal"));
    EXPECT_EQ(view->tableView()->model(), table());
    EXPECT_TRUE(answers.boxes.empty());
    expectMarked(true); // only a save takes the mark away
    view->setMode(LogConfigView::Expert);
    select("parameters/level");
    service->setConfiguration(document);
    view->updateConfigClicked();
    EXPECT_EQ(view->treeView()->model(), tree());
    EXPECT_TRUE(view->treeView()->isExpanded(tree()->indexOf(node("specializations"))));
    EXPECT_EQ(enabled(), "---");
    select("parameters/level");
    EXPECT_EQ(enabled(), "--M");
}

TEST_F(LogConfigViewTest, AFailedRereadIsToldAndLeavesAnEmptyView)
{
    openUser();
    selectRow(1);
    service->refuse(LogClientCommand::GetConfiguration);
    view->updateConfigClicked();
    EXPECT_EQ(answers.onlyBox().icon, QMessageBox::Warning);
    EXPECT_EQ(answers.onlyBox().title, QStringLiteral("Update"));
    EXPECT_EQ(answers.onlyBox().text,
              QStringLiteral("Failed to load the configuration file and modules (The command was "
                             "not successful (negative acknowledge received))"));
    EXPECT_FALSE(answers.onlyBox().waitCursor);
    EXPECT_EQ(view->tableView()->model(), table());
    EXPECT_EQ(rows(), QString());
    service->refuseNothing();
    view->updateConfigClicked();
    EXPECT_EQ(table()->rowCount(), 4);
}

TEST_F(LogConfigViewTest, AServiceThatIsGoneIsToldAndNothingHangs)
{
    openUser();
    service.reset();
    view->updateConfigClicked();
    EXPECT_EQ(answers.onlyBox().title, QStringLiteral("Update"));
    answers.boxes.clear();
    view->saveConfigClicked();
    EXPECT_EQ(answers.onlyBox().title, QStringLiteral("Save"));
    cancelDialogs();
    view->insertClicked();
    EXPECT_EQ(answers.dialogs, 1);
    service = std::make_unique<TransferServer>(document);
    view->updateConfigClicked();
    EXPECT_EQ(table()->rowCount(), 4);
}

TEST_F(LogConfigViewTest, InUserModeAnEditedTableIsOfferedToBeSavedBeforeRereading)
{
    openUser();
    fillIn({{"level", "debug"}});
    selectRow(0);
    view->modifyClicked();
    answers.answerWith("Continue");
    view->updateConfigClicked();
    const ModalAnswers::Box box = answers.onlyBox();
    EXPECT_EQ(box.title, QStringLiteral("Unsaved Properties"));
    EXPECT_TRUE(box.hasWindowIcon);
    EXPECT_EQ(box.text,
              QStringLiteral("There are unsaved properties. Do you want to save the changes?"));
    EXPECT_EQ(box.buttons, (QStringList{"Save", "Continue"}));
    EXPECT_TRUE(rows().startsWith("default info"));

    selectRow(0);
    view->modifyClicked();
    answers.boxes.clear();
    answers.onBox = [](QMessageBox& shown) {
        for (QAbstractButton* choice : shown.buttons())
            if (choice->text().remove('&') == "Save" || choice->text().remove('&') == "OK")
                choice->click();
    };
    view->updateConfigClicked();
    ASSERT_EQ(answers.boxes.size(), 2U);
    EXPECT_EQ(answers.boxes[1].text, QStringLiteral("Configuration saved successfully."));
    EXPECT_TRUE(rows().startsWith("default debug"));
    expectMarked(false);
}

TEST_F(LogConfigViewTest, EscapeInTheQuestionAboutUnsavedPropertiesContinues)
{
    openUser();
    fillIn({{"level", "debug"}});
    selectRow(0);
    view->modifyClicked();
    answers.onBox = [](QMessageBox& box) { QTest::keyClick(&box, Qt::Key_Escape); };
    view->askToSaveIfChanged();
    EXPECT_EQ(answers.boxes.size(), 1U);
    expectMarked(true);
    EXPECT_TRUE(table()->isChanged());
}

TEST_F(LogConfigViewTest, InExpertModeNothingIsAskedBeforeRereading)
{
    openUser();
    fillIn({{"level", "debug"}});
    selectRow(0);
    view->modifyClicked();
    view->setMode(LogConfigView::Expert);
    view->askToSaveIfChanged();
    view->updateConfigClicked();
    EXPECT_TRUE(answers.boxes.empty());
    EXPECT_TRUE(rows().startsWith("default info"));
}

TEST_F(LogConfigViewTest, AnUneditedTableIsNotAskedAbout)
{
    openUser();
    view->markModified(); // by whoever loaded a file, say
    view->askToSaveIfChanged();
    EXPECT_TRUE(answers.boxes.empty());
}

TEST_F(LogConfigViewTest, AResetInUserModeRemovesTheModulesAndSetsTheDefaultLevelToFatal)
{
    openUser();
    view->resetConfiguration();
    EXPECT_EQ(rows(), QStringLiteral("default fatal"));
    EXPECT_EQ(json(),
              R"({"parameters":{"level":"fatal","destination":"logsvc"},"specializations":[)"
              R"({"attributes":[{"id":"process","value":"shell"}],)"
              R"("parameters":{"level":"debug"}}],"other":"x"})");
}

TEST_F(LogConfigViewTest, AResetInExpertModeRemovesAllSpecializations)
{
    openExpert();
    select("specializations/0/attributes/0/id");
    view->resetConfiguration();
    EXPECT_EQ(rows(), QStringLiteral("default fatal"));
    EXPECT_EQ(json(), R"({"parameters":{"level":"fatal","destination":"logsvc"},"other":"x"})");
}

TEST_F(LogConfigViewTest, AResetOfAnOddDocumentGivesOneDefaultLevelToo)
{
    const char* const odd[] = {
        "{}",
        R"({"parameters":{"destination":"none"}})",
        R"({"specializations":[{"attributes":[{"id":"module","value":"a"}],)"
        R"("parameters":{"level":"err"}}]})",
        R"({"specializations":[{"attributes":[{"id":"module","value":"a"}]}]})",
        R"({"specializations":[{"attributes":[{"id":"module","value":"a"}],)"
        R"("parameters":{"level":"err"}}],"parameters":{"level":"info"}})",
        R"({"parameters":{"level":"info"},"specializations":[{"attributes":[{"id":"module",)"
        R"("value":"a"}],"parameters":{"level":"err"}}],"specializations":[{"attributes":)"
        R"([{"id":"module","value":"b"}],"parameters":{"level":"warn"}}]})"};
    for (const char* text : odd)
        for (const int mode : {LogConfigView::User, LogConfigView::Expert}) {
            load(text);
            view->setMode(mode);
            view->resetConfiguration();
            EXPECT_EQ(rows(), QStringLiteral("default fatal")) << text << mode;
            EXPECT_EQ(node("parameters/level")->value(), QStringLiteral("fatal")) << text;
            EXPECT_EQ(tree()->root()->childWithKey("specializations"), nullptr) << text;
            view->resetConfiguration(); // finds its work done
            EXPECT_EQ(rows(), QStringLiteral("default fatal")) << text << mode;
        }
}

TEST_F(LogConfigViewTest, AResetWithoutAViewDoesNothing)
{
    ASSERT_EQ(view->tableView(), nullptr);
    const std::string before = json();
    view->resetConfiguration();
    EXPECT_EQ(json(), before);
}

TEST_F(LogConfigViewTest, ATreeMadeByTheEditorComesBackFromTheServiceAsItWas)
{
    openExpert("{\"a\":\"b\"}");
    answers.answerWith("Yes");
    select("a");
    view->insertClicked();
    select("specializations/0");
    view->insertClicked();
    select("specializations/1/parameters");
    view->insertClicked();
    fillIn({{"value", "\u00e4\u20ac\"\\ quoted"}});
    select("specializations/1/attributes/0/id");
    view->modifyClicked();
    const std::string before = json();
    answers.answerWith("OK");
    view->saveConfigClicked();
    view->updateConfigClicked();
    EXPECT_EQ(json(), before);
}
