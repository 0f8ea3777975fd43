#include "tests/config/LogConfigViewFixture.h"

#include <QComboBox>
#include <QDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QPersistentModelIndex>
#include <QSignalSpy>
#include <QTableView>
#include <QTest>
#include <QTreeView>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

using namespace zuLogging;
using namespace zuLogging::test;

// --- expert mode: insert --------------------------------------------------------------------

TEST_F(LogConfigViewTest, InsertAsksYesOrNoAndNoChangesNothing)
{
    openExpert();
    answers.answerWith("No");
    const std::string before = json();
    const std::vector<std::pair<const char*, const char*>> questions{
        {"specializations/0/parameters", "Do you want to insert specializations?"},
        {"specializations/0", "Do you want to insert an additional specialization (+)?"},
        {"specializations/0/attributes/0", "Do you want to insert an additional attribute (+)?"},
        {"parameters", "Do you want to insert specializations?"}};
    for (const auto& [path, question] : questions) {
        answers.boxes.clear();
        select(path);
        view->insertClicked();
        EXPECT_EQ(answers.onlyBox().icon, QMessageBox::Question);
        EXPECT_EQ(answers.onlyBox().title, QStringLiteral("Insert"));
        EXPECT_EQ(answers.onlyBox().text, QLatin1String(question));
        EXPECT_EQ(answers.onlyBox().buttons, (QStringList{"Yes", "No"}));
    }
    EXPECT_EQ(json(), before);
    expectMarked(false);
}

TEST_F(LogConfigViewTest, InsertInAParameterSetOrAnAttributeDoesNothing)
{
    openExpert();
    for (const char* path : {"parameters/level", "specializations/0/attributes/0/id"}) {
        select(path);
        view->insertClicked();
    }
    EXPECT_TRUE(answers.boxes.empty());
    expectMarked(false);
}

TEST_F(LogConfigViewTest, InsertInASpecializationAddsTheWholeTemplateInsideOfIt)
{
    openExpert(R"({"specializations":[{"#":"bare"}]})");
    answers.answerWith("Yes");
    select("specializations/0/#");
    view->insertClicked();
    EXPECT_EQ(json(), R"({"specializations":[{"#":"bare","attributes":[""],)"
                      R"("parameters":{"level":"info"},"specializations":[{"#":"Comment",)"
                      R"("attributes":[{"id":"module","value":"[MODULE]"}],)"
                      R"("parameters":{"level":"info"}}]}]})");
    const TreeNode* attributes = node("specializations/0/attributes");
    ASSERT_EQ(attributes->childCount(), 1);
    EXPECT_EQ(attributes->child(0)->key(), QStringLiteral("id")); // not in a "+" of its own
    EXPECT_EQ(selectedPath(), QStringLiteral("specializations/0/attributes"));
    EXPECT_EQ(enabled(), "ID-");
    expectMarked(true);
}

TEST_F(LogConfigViewTest, InsertInASpecializationAddsOnlyWhatIsMissingAfterTheSelection)
{
    openExpert();
    answers.answerWith("Yes");
    select("specializations/1/attributes");
    view->insertClicked();
    EXPECT_EQ(node("specializations/1")->childCount(), 3);
    EXPECT_EQ(node("specializations/1")->child(1)->key(), QStringLiteral("specializations"));
    EXPECT_EQ(rows(), QStringLiteral("default info, alpha err, beta warn, [MODULE] info, "
                                     "gamma trace"));
    config->setModified(false);
    select("specializations/0/attributes"); // has all three
    const std::string before = json();
    view->insertClicked();
    EXPECT_EQ(json(), before);
    EXPECT_FALSE(config->isModified());
}

TEST_F(LogConfigViewTest, InsertInThePlainDocumentNeverAddsAttributes)
{
    openExpert(R"({"other":"x"})");
    answers.answerWith("Yes");
    select("other");
    view->insertClicked();
    EXPECT_EQ(json(), R"({"other":"x","parameters":{"level":"info"},"specializations":[)"
                      R"({"#":"Comment","attributes":[{"id":"module","value":"[MODULE]"}],)"
                      R"("parameters":{"level":"info"}}]})");
    EXPECT_EQ(selectedPath(), QStringLiteral("parameters"));
    EXPECT_EQ(rows(), QStringLiteral("default info, [MODULE] info"));
    expectMarked(true);
}

TEST_F(LogConfigViewTest, InsertInAPlainNodeStaysInIt)
{
    openExpert(R"({"plain":{"member":"x"}})");
    answers.answerWith("Yes");
    select("plain/member");
    view->insertClicked();
    EXPECT_EQ(node("plain")->childCount(), 3);
    EXPECT_EQ(node("plain")->childWithKey("attributes"), nullptr);
    EXPECT_EQ(tree()->root()->childCount(), 1);
}

TEST_F(LogConfigViewTest, AnAdditionalSpecializationFollowsTheSelectedOneAndHasNoValue)
{
    openExpert(R"({"parameters":{"level":"info"},"specializations":[{"#":"a"},{"#":"b"}]})");
    answers.answerWith("Yes");
    select("specializations/0");
    view->insertClicked();
    EXPECT_EQ(json(), R"({"parameters":{"level":"info"},"specializations":[{"#":"a"},)"
                      R"({"#":"Comment","attributes":[{"id":"module"}],)"
                      R"("parameters":{"level":"info"}},{"#":"b"}]})");
    EXPECT_EQ(selectedPath(), QStringLiteral("specializations/1"));
    EXPECT_TRUE(view->treeView()->isExpanded(tree()->indexOf(node("specializations/1"))));
    EXPECT_EQ(table()->rowCount(), 2); // a module's row without a name
    expectMarked(true);
}

TEST_F(LogConfigViewTest, AnAdditionalAttributeFollowsTheSelectedOneWithAnEmptyId)
{
    openExpert();
    answers.answerWith("Yes");
    select("specializations/0/attributes/0");
    view->insertClicked();
    EXPECT_EQ(node("specializations/0/attributes")->childCount(), 2);
    const TreeNode* added = node("specializations/0/attributes/1");
    EXPECT_EQ(added->key(), QStringLiteral("+"));
    ASSERT_EQ(added->childCount(), 1);
    EXPECT_EQ(added->child(0)->key(), QStringLiteral("id"));
    EXPECT_EQ(added->child(0)->value(), QString());
    EXPECT_EQ(selectedPath(), QStringLiteral("specializations/0/attributes/1"));
    expectMarked(true);
}

TEST_F(LogConfigViewTest, AnEditElsewhereKeepsWhatWasExpanded)
{
    openExpert();
    answers.answerWith("Yes");
    const QModelIndex kept = tree()->indexOf(node("specializations/2/attributes"));
    const QPersistentModelIndex index(kept);
    view->treeView()->expand(kept);
    select("specializations/0");
    view->insertClicked();
    EXPECT_TRUE(view->treeView()->isExpanded(index));
    select("specializations/1");
    view->deleteClicked();
    EXPECT_TRUE(view->treeView()->isExpanded(index));
}

// --- expert mode: modify and delete ---------------------------------------------------------

TEST_F(LogConfigViewTest, ACommentIsModifiedThroughTheDialog)
{
    openExpert();
    fillIn({{"comment", "second"}});
    select("specializations/0/#");
    view->modifyClicked();
    EXPECT_EQ(node("specializations/0/#")->value(), QStringLiteral("second"));
    expectMarked(true);
    EXPECT_EQ(service->count(LogClientCommand::GetModules), 2); // the two loads, no more
}

TEST_F(LogConfigViewTest, AnAttributeIsModifiedThroughTheDialogAndGetsTheFieldsItLacks)
{
    openExpert();
    fillIn({{"id", "module"}, {"value", "typed"}, {"op", "sub"}});
    select("specializations/0/attributes/0/op");
    view->modifyClicked();
    const TreeNode* attribute = node("specializations/0/attributes/0");
    EXPECT_EQ(attribute->childCount(), 3);
    EXPECT_EQ(attribute->childWithKey("value")->value(), QStringLiteral("typed"));
    EXPECT_EQ(attribute->childWithKey("op")->value(), QStringLiteral("sub"));
    EXPECT_TRUE(rows().contains("typed err"));
    select("specializations/2/attributes/0/id");
    view->modifyClicked();
    attribute = node("specializations/2/attributes/0");
    ASSERT_EQ(attribute->childCount(), 3);
    EXPECT_EQ(attribute->child(2)->key(), QStringLiteral("op"));
    EXPECT_EQ(attribute->child(2)->value(), QStringLiteral("sub"));
    EXPECT_EQ(enabled(), "--M"); // still selected
    expectMarked(true);
}

TEST_F(LogConfigViewTest, TheDialogShowsWhatTheAttributeHoldsNow)
{
    openExpert();
    QStringList shown;
    answers.onDialog = [&](QDialog& dialog) {
        for (const char* name : {"id", "value", "op"})
            shown.append(dialog.findChild<QComboBox*>(name)->currentText());
        shown.append(QString::number(dialog.findChild<QComboBox*>("value")->count()));
        dialog.reject();
    };
    select("specializations/0/attributes/0/id");
    view->modifyClicked();
    // alpha and delta from the service, and the six that always are.
    EXPECT_EQ(shown, (QStringList{"module", "alpha", "eq", "8"}));
    expectMarked(false);
}

TEST_F(LogConfigViewTest, AParameterSetIsModifiedThroughTheDialogAndGetsTheKeysItLacks)
{
    openExpert();
    fillIn({{"level", "debug"}, {"destination", "file"}, {"file", "/tmp/log"}});
    select("parameters/destination");
    view->modifyClicked();
    EXPECT_EQ(
        writePropertyTree(readPropertyTree(json()).get_child("parameters"), JsonForm::Compact),
        R"({"level":"debug","destination":"file","file":"\/tmp\/log"})");
    EXPECT_TRUE(rows().startsWith("default debug"));
    fillIn({{"destination", "logsvc"}});
    select("parameters/level");
    view->modifyClicked();
    EXPECT_EQ(node("parameters/file")->value(), QString()); // only for destination "file"
    expectMarked(true);
}

TEST_F(LogConfigViewTest, ModifyOfAnyOtherNodeDoesNothing)
{
    openExpert();
    for (const char* path : {"parameters", "specializations", "specializations/0", "other",
                             "specializations/0/attributes", "specializations/0/attributes/0"}) {
        select(path);
        view->modifyClicked();
    }
    EXPECT_EQ(answers.dialogs, 0);
    expectMarked(false);
}

TEST_F(LogConfigViewTest, ACancelledDialogChangesNothing)
{
    openExpert();
    const std::string before = json();
    cancelDialogs();
    for (const char* path :
         {"specializations/0/#", "specializations/0/attributes/0/id", "parameters/level"}) {
        select(path);
        view->modifyClicked();
    }
    view->setMode(LogConfigView::User);
    selectRow(1);
    view->modifyClicked();
    view->insertClicked();
    EXPECT_EQ(answers.dialogs, 5);
    EXPECT_EQ(json(), before);
    EXPECT_FALSE(table()->isChanged());
    expectMarked(false);
}

TEST_F(LogConfigViewTest, ACommentEditedInPlaceIsAnEditToo)
{
    openExpert();
    select("specializations/0/#", 1);
    view->treeView()->setFocus();
    QTest::keyClick(view->treeView()->viewport(), Qt::Key_F2);
    auto* editor = view->treeView()->viewport()->findChild<QLineEdit*>();
    ASSERT_NE(editor, nullptr);
    expectMarked(false);
    editor->setText("in place");
    QTest::keyClick(editor, Qt::Key_Return);
    EXPECT_TRUE(waitFor([&] { return config->isModified(); }));
    EXPECT_EQ(node("specializations/0/#")->value(), QStringLiteral("in place"));
    expectMarked(true);
}

/// A comment whose editor is open, with another text typed in.
class OpenCommentEditor : public LogConfigViewTest
{
protected:
    void SetUp() override
    {
        LogConfigViewTest::SetUp();
        openExpert();
        select("specializations/0/#", 1);
        QApplication::setActiveWindow(window.get());
        view->treeView()->setFocus();
        QTest::keyClick(view->treeView()->viewport(), Qt::Key_F2);
        editor = view->treeView()->viewport()->findChild<QLineEdit*>();
        ASSERT_NE(editor, nullptr);
    }
    void type() const
    {
        editor->clear();
        QTest::keyClicks(editor, "typed");
    }
    QString comment() const { return node("specializations/0/#")->value(); }
    bool serviceHas(const char* text) const
    {
        return service->configuration().find(text) != std::string::npos;
    }

    QPointer<QLineEdit> editor;
};

TEST_F(OpenCommentEditor, IsSavedWithTheRest)
{
    view->markModified();
    type();
    QTest::mouseClick(button("configSave"), Qt::LeftButton);
    EXPECT_EQ(answers.boxes.size(), 1U);
    EXPECT_EQ(comment(), QStringLiteral("typed"));
    EXPECT_TRUE(serviceHas("typed"));
    expectMarked(false);
}

TEST_F(OpenCommentEditor, IsWhatTheDialogShows)
{
    type();
    QString shown;
    answers.onDialog = [&shown](QDialog& dialog) {
        shown = dialog.findChild<QLineEdit*>("comment")->text();
        dialog.accept();
    };
    QTest::mouseClick(button("configModify"), Qt::LeftButton);
    EXPECT_EQ(shown, QStringLiteral("typed"));
    EXPECT_EQ(comment(), QStringLiteral("typed"));
}

TEST_F(OpenCommentEditor, IsNotLostWhenItsOwnerAsksForIt)
{
    type();
    expectMarked(false);
    view->endEditing();
    EXPECT_EQ(comment(), QStringLiteral("typed"));
    expectMarked(true);
    EXPECT_TRUE(waitFor([&] { return !editor; }));
    view->endEditing(); // there is none any more
    expectMarked(true);
}

TEST_F(OpenCommentEditor, LeftWithoutAChangeIsNoEdit)
{
    QTest::keyClick(editor, Qt::Key_Return);
    EXPECT_TRUE(waitFor([&] { return !editor; }));
    EXPECT_EQ(comment(), QStringLiteral("first"));
    expectMarked(false);
}

TEST_F(LogConfigViewTest, AnEditDuringTheBoxAfterASaveIsUnsaved)
{
    openUser();
    view->markModified();
    answers.onBox = [this](QMessageBox& box) {
        view->markModified();
        box.accept();
    };
    view->saveConfigClicked();
    expectMarked(true);
}

TEST_F(LogConfigViewTest, ATableWhoseRowWasModifiedIsAsIfItHadJustBeenBuilt)
{
    // A level that a row gets is the level of those before it that have none.
    openUser(R"({"parameters":{"level":"info"},"specializations":[)"
             R"({"attributes":[{"id":"module","value":"B"}]},)"
             R"({"attributes":[{"id":"module","value":"A"}]}]})");
    selectRow(2);
    fillIn({{"value", "A"}, {"level", "err"}});
    view->modifyClicked();
    const QString shown = rows();
    tree()->rebuildTable();
    EXPECT_EQ(shown, rows());
    EXPECT_EQ(shown, QStringLiteral("default info, B err, A err"));
}

TEST_F(LogConfigViewTest, TheRowThatWasModifiedStaysSelectedWhereverItIs)
{
    openUser();
    selectRow(2); // beta, inside of alpha: the new row belongs behind it
    fillIn({{"value", "new"}, {"level", "err"}});
    view->insertClicked();
    EXPECT_EQ(rows(), QStringLiteral("default info, alpha err, beta warn, gamma trace, new err"));
    fillIn({{"value", "newer"}, {"level", "fatal"}});
    view->modifyClicked();
    EXPECT_EQ(rows(),
              QStringLiteral("default info, alpha err, beta warn, newer fatal, gamma trace"));
    EXPECT_EQ(view->tableView()->currentIndex().row(), 3);
    EXPECT_EQ(view->tableView()->selectionModel()->selectedRows().size(), 1);
    EXPECT_EQ(enabled(), "IDM");
    EXPECT_TRUE(table()->isChanged());
}

TEST_F(LogConfigViewTest, DeleteRemovesTheSelectedNode)
{
    openExpert();
    select("specializations/0");
    view->deleteClicked();
    EXPECT_EQ(rows(), QStringLiteral("default info, gamma trace"));
    expectMarked(true);
    EXPECT_TRUE(view->treeView()->currentIndex().isValid());
    EXPECT_EQ(view->treeView()->selectionModel()->selectedRows().size(), 1);
    select("specializations/0/parameters"); // a specialization's own set can go
    view->deleteClicked();
    EXPECT_EQ(node("specializations/0")->childCount(), 1);
    select("specializations");
    view->deleteClicked();
    select("other");
    view->deleteClicked();
    EXPECT_EQ(json(), R"({"parameters":{"level":"info","destination":"logsvc"}})");
}

TEST_F(LogConfigViewTest, DeletingTheTopLevelParametersInExpertModeDoesNothing)
{
    openExpert(R"({"parameters":{"level":"info"},"plain":{"parameters":{"level":"err"}}})");
    const std::string before = json();
    for (const char* path : {"parameters", "plain/parameters", "parameters/level"}) {
        select(path);
        view->deleteClicked();
        EXPECT_EQ(json(), before) << path;
    }
    EXPECT_TRUE(answers.boxes.empty());
    expectMarked(false);
    select("plain/parameters/level"); // nobody's default
    view->deleteClicked();
    EXPECT_NE(json(), before);
}

TEST_F(LogConfigViewTest, EverythingCanBeDeletedOneByOne)
{
    openExpert();
    for (int step = 0; step < 100 && tree()->rowCount() > 1; ++step) {
        // The last leaf, so that each level is seen.
        TreeNode* last = tree()->root();
        while (last->childCount() > 0)
            last = last->child(last->childCount() - 1);
        if (last->parent()->key() == "parameters" && last->parent()->parent() == tree()->root())
            break;
        view->treeView()->setCurrentIndex(tree()->indexOf(last));
        view->deleteClicked();
    }
    EXPECT_EQ(json(), R"({"parameters":{"level":"info","destination":"logsvc"}})");
}

// --- user mode ------------------------------------------------------------------------------

TEST_F(LogConfigViewTest, InsertAddsAModulesRow)
{
    openUser();
    fillIn({{"value", "delta"}, {"level", "fatal"}});
    selectRow(1);
    view->insertClicked();
    EXPECT_EQ(rows(),
              QStringLiteral("default info, alpha err, beta warn, gamma trace, delta fatal"));
    EXPECT_EQ(view->tableView()->currentIndex().row(), 4);
    EXPECT_EQ(enabled(), "IDM");
    EXPECT_TRUE(table()->isChanged());
    expectMarked(true);
}

TEST_F(LogConfigViewTest, InsertOffersTheServicesModulesAndTheFixedOnes)
{
    openUser();
    QStringList names;
    QString title;
    answers.onDialog = [&](QDialog& dialog) {
        title = dialog.windowTitle();
        const auto* combo = dialog.findChild<QComboBox*>("value");
        for (int i = 0; i < combo->count(); ++i)
            names.append(combo->itemText(i));
        dialog.reject();
    };
    const QStringList expected{"",        "alpha",   "delta",  "ARZ",    "Brisket",
                               "Corvane", "Dunmore", "Estrel", "Fenwick"};
    view->insertClicked();
    EXPECT_EQ(title, QStringLiteral("Insert "));
    EXPECT_EQ(names, expected);
    // A service that does not answer: what it knew last.
    service->refuse(LogClientCommand::GetModules);
    names.clear();
    view->insertClicked();
    EXPECT_EQ(names, expected);
    names.clear();
    selectRow(1);
    view->modifyClicked();
    EXPECT_EQ(names, expected.mid(1));
}

TEST_F(LogConfigViewTest, InsertWorksInAnEmptyDocument)
{
    openUser("{}");
    fillIn({{"value", "first"}, {"level", "err"}});
    view->insertClicked();
    view->insertClicked();
    EXPECT_EQ(readPropertyTree(json()).get_child("specializations").size(), 2U);
    expectMarked(true);
}

TEST_F(LogConfigViewTest, ModifyWritesTheModuleAndTheLevelOfTheRow)
{
    openUser();
    fillIn({{"value", "renamed"}, {"level", "none"}});
    QSignalSpy changed(table(), &QAbstractItemModel::dataChanged);
    selectRow(1);
    view->modifyClicked();
    EXPECT_GE(changed.count(), 1);
    EXPECT_EQ(rows(), QStringLiteral("default info, renamed none, beta warn, gamma trace"));
    EXPECT_EQ(node("specializations/0/attributes/0/value")->value(), QStringLiteral("renamed"));
    EXPECT_EQ(node("specializations/0/parameters/level")->value(), QStringLiteral("none"));
    EXPECT_EQ(enabled(), "IDM");
    expectMarked(true);
}

TEST_F(LogConfigViewTest, ALongNameThatWasEnteredIsShownWhole)
{
    openUser();
    const QTableView& shown = *view->tableView();
    const auto areWhole = [&] {
        return shown.columnWidth(0) >=
               static_cast<const QAbstractItemView&>(shown).sizeHintForColumn(0);
    };
    fillIn({{"value", "an inserted module with a long name"}, {"level", "err"}});
    selectRow(1);
    view->insertClicked();
    EXPECT_TRUE(areWhole());
    fillIn({{"value", "a module that was renamed to something longer still"}, {"level", "err"}});
    selectRow(2);
    view->modifyClicked();
    EXPECT_TRUE(areWhole());
}

TEST_F(LogConfigViewTest, ModifyOfTheDefaultRowSetsTheDefaultLevelOnly)
{
    openUser();
    fillIn({{"level", "debug"}});
    selectRow(0);
    view->modifyClicked();
    EXPECT_EQ(rows(), QStringLiteral("default debug, alpha err, beta warn, gamma trace"));
    EXPECT_EQ(node("parameters/level")->value(), QStringLiteral("debug"));
    EXPECT_EQ(node("parameters")->childCount(), 2);
}

TEST_F(LogConfigViewTest, DeleteRemovesAModuleWithAllInsideOfIt)
{
    openUser();
    selectRow(1);
    view->deleteClicked();
    EXPECT_EQ(rows(), QStringLiteral("default info, gamma trace"));
    EXPECT_EQ(view->tableView()->selectionModel()->selectedRows().size(), 1);
    EXPECT_EQ(enabled() == "I-M", view->tableView()->currentIndex().row() == 0);
    expectMarked(true);
    selectRow(1);
    view->deleteClicked();
    EXPECT_EQ(rows(), QStringLiteral("default info"));
    EXPECT_EQ(view->tableView()->currentIndex().row(), 0);
    EXPECT_EQ(enabled(), "I-M");
    EXPECT_EQ(node("specializations")->childCount(), 1); // the process's stays
}

// --- while a box or a dialog is open --------------------------------------------------------

TEST_F(LogConfigViewTest, TheWindowMayGoWhileAMessageBoxIsOpen)
{
    const std::vector<std::function<void()>> commands{
        [&] { view->insertClicked(); },
        [&] {
            view->treeView()->selectionModel()->clear();
            view->modifyClicked();
        },
        [&] { view->saveConfigClicked(); },
        [&] {
            service->refuse(LogClientCommand::GetConfiguration);
            view->updateConfigClicked();
        },
        [&] {
            openUser();
            fillIn({{"level", "debug"}});
            selectRow(0);
            view->modifyClicked();
            answers.boxes.clear();
            view->updateConfigClicked();
        }};
    for (const auto& command : commands) {
        service->refuseNothing();
        openExpert();
        select("specializations/0");
        answers.boxes.clear();
        answers.onBox = [&](QMessageBox&) { window.reset(); };
        command();
        EXPECT_EQ(answers.boxes.size(), 1U);
        EXPECT_TRUE(view.isNull());
        makeWindow();
    }
}

TEST_F(LogConfigViewTest, TheWindowMayGoWhileTheDialogIsOpen)
{
    const std::vector<std::function<void()>> commands{[&] {
                                                          openUser();
                                                          view->insertClicked();
                                                      },
                                                      [&] {
                                                          openUser();
                                                          selectRow(1);
                                                          view->modifyClicked();
                                                      },
                                                      [&] {
                                                          openExpert();
                                                          select(
                                                              "specializations/0/attributes/0/id");
                                                          view->modifyClicked();
                                                      },
                                                      [&] {
                                                          openExpert();
                                                          view->floatingButtonClicked();
                                                          select("specializations/0/#");
                                                          view->modifyClicked();
                                                      }};
    answers.onDialog = [&](QDialog&) { window.reset(); };
    for (const auto& command : commands) {
        command();
        EXPECT_TRUE(view.isNull());
        makeWindow();
    }
    EXPECT_EQ(answers.dialogs, 4);
}

TEST_F(LogConfigViewTest, AReloadWhileADialogOrAQuestionIsOpenLeavesTheNewDocumentAsItIs)
{
    const auto reloadAndAccept = [&](QDialog& dialog) {
        load(document);
        dialog.accept();
    };
    answers.onDialog = reloadAndAccept;
    openUser();
    view->insertClicked();
    selectRow(1);
    view->modifyClicked();
    openExpert();
    for (const char* path :
         {"specializations/0/#", "specializations/0/attributes/0/id", "parameters/level"}) {
        select(path);
        view->modifyClicked();
    }
    EXPECT_EQ(answers.dialogs, 5);
    answers.onBox = [&](QMessageBox& box) {
        load(document);
        box.button(QMessageBox::Yes)->click();
    };
    select("specializations/0");
    view->insertClicked();
    EXPECT_EQ(json(), document);
    expectMarked(false);
}

TEST_F(LogConfigViewTest, ASelectedNodeThatGoesWhileTheDialogIsOpenIsLeftAlone)
{
    openExpert();
    answers.onDialog = [&](QDialog& dialog) {
        tree()->removeRows(0, 1, tree()->indexOf(node("specializations")));
        tree()->rebuildTable();
        dialog.accept();
    };
    select("specializations/0/#");
    view->modifyClicked();
    EXPECT_EQ(rows(), QStringLiteral("default info, gamma trace"));
    expectMarked(false);
}

// --- size -----------------------------------------------------------------------------------

TEST_F(LogConfigViewTest, ManySpecializationsAreShownEditedAndReset)
{
    constexpr int count = 10000;
    std::string text = R"({"parameters":{"level":"info"},"specializations":[)";
    for (int i = 0; i < count; ++i)
        text +=
            (i == 0 ? "" : ",") + (R"({"#":"number )" + std::to_string(i) +
                                   R"(","attributes":[{"id":"module","op":"eq","value":"module)" +
                                   std::to_string(i) + R"("}],"parameters":{"level":"warn"}})");
    text += "]}";
    service->setConfiguration(text);
    ASSERT_EQ(config->loadConfiguration(QString()), QString()); // unchecked: that takes its time
    view->setMode(LogConfigView::Expert);
    answers.answerWith("Yes");
    select("specializations/5000");
    view->insertClicked();
    EXPECT_EQ(table()->rowCount(), count + 2);
    view->deleteClicked();
    view->setMode(LogConfigView::User);
    selectRow(5000);
    fillIn({{"level", "err"}});
    view->modifyClicked();
    view->deleteClicked();
    EXPECT_EQ(table()->rowCount(), count);
    view->resetConfiguration();
    EXPECT_EQ(rows(), QStringLiteral("default fatal"));
}
