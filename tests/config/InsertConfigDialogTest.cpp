#include "config/InsertConfigDialog.h"

#include "config/LogConfigData.h"
#include "config/LogConfigView.h"
#include "config/TableModel.h"
#include "config/TreeModel.h"
#include "tests/config/ModalAnswers.h"
#include "tests/support/TestEnvironment.h"

#include <QComboBox>
#include <QCoreApplication>
#include <QFileInfo>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QMainWindow>
#include <QPushButton>
#include <QTest>

#include <gtest/gtest.h>

#include <memory>

using namespace zuLogging;
using namespace zuLogging::test;

namespace {

const char document[] = R"({
    "parameters": {"level": "info"},
    "specializations": [{"#": "why",
        "attributes": [{"id": "module", "op": "eq", "value": "ARZ"}],
        "parameters": {"level": "err", "destination": "file", "file": "/tmp/x"}}],
    "other": "1"})";

class InsertConfigDialogTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        initTestIcons();
        table = std::make_unique<TableModel>(&tree);
        tree.setupModelData(readPropertyTree(document), table.get());
    }

    /// The node that the keys lead to; the first of several.
    QModelIndex at(const QStringList& keys) const
    {
        TreeNode* node = tree.root();
        for (const QString& key : keys) {
            node = node->childWithKey(key);
            if (node == nullptr) {
                ADD_FAILURE() << key.toStdString();
                return {};
            }
        }
        return tree.indexOf(node);
    }
    QModelIndex specialization(const QStringList& keys) const
    {
        return at(QStringList{"specializations", "+"} + keys);
    }

    void make(const QModelIndex& index, const QMap<QString, QString>& values, bool insert,
              bool expert)
    {
        dialog = std::make_unique<InsertConfigDialog>(
            nullptr, index, modules, LogConfigData::levelNames(), LogConfigData::destinationNames(),
            LogConfigData::attributeIds(), LogConfigData::attributeOps(), values, insert, expert,
            nullptr);
    }
    void makeUser(int row, const QMap<QString, QString>& values, bool insert = false)
    {
        make(row < 0 ? QModelIndex() : table->index(row, 0), values, insert, false);
    }
    void makeExpert(const QModelIndex& index, const QMap<QString, QString>& values = {})
    {
        make(index, values, false, true);
    }
    void makeAttribute(const QMap<QString, QString>& values)
    {
        makeExpert(specialization({"attributes", "+", "id"}), values);
    }

    QComboBox* combo(const char* name) const { return dialog->findChild<QComboBox*>(name); }
    QLineEdit* edit(const char* name) const { return dialog->findChild<QLineEdit*>(name); }
    QPushButton* button(const char* name) const { return dialog->findChild<QPushButton*>(name); }
    static QStringList entries(const QComboBox* box)
    {
        QStringList texts;
        for (int i = 0; i < box->count(); ++i)
            texts.append(box->itemText(i));
        return texts;
    }
    /// The labels from above, each of which names its field.
    QStringList labels() const
    {
        QStringList texts;
        for (const QLabel* label : dialog->findChildren<QLabel*>()) {
            if (!label->isVisibleTo(dialog.get()) || label->buddy() == nullptr)
                continue;
            texts.append(label->text());
            EXPECT_EQ(label->buddy()->accessibleName(), label->text());
        }
        return texts;
    }

    TreeModel tree;
    std::unique_ptr<TableModel> table;
    QStringList modules{"alpha", "beta", "ARZ"};
    std::unique_ptr<InsertConfigDialog> dialog;
};

} // namespace

TEST_F(InsertConfigDialogTest, AModulesRowHasModuleAndLevel)
{
    makeUser(1, {{"value", "beta"}, {"level", "trace"}});
    EXPECT_EQ(dialog->windowTitle(), QStringLiteral("Modify "));
    EXPECT_FALSE(dialog->windowIcon().isNull());
    EXPECT_EQ(labels(), (QStringList{"Module", "Level"}));
    EXPECT_TRUE(combo("value")->isEditable());
    EXPECT_EQ(entries(combo("value")), modules);
    EXPECT_EQ(entries(combo("level")), LogConfigData::levelNames());
    EXPECT_EQ(dialog->result("value"), QStringLiteral("beta"));
    EXPECT_EQ(dialog->result("level"), QStringLiteral("trace"));
    for (const char* key : {"destination", "file", "id", "op", "Comment", "nonsense"})
        EXPECT_EQ(dialog->result(key), QString()) << key;
}

TEST_F(InsertConfigDialogTest, TheDefaultRowHasAValueThatCannotBeChanged)
{
    makeUser(0, {{"value", "default"}, {"level", "info"}});
    EXPECT_EQ(labels(), (QStringList{"Value", "Level"}));
    EXPECT_EQ(combo("value")->currentText(), QStringLiteral("default"));
    EXPECT_FALSE(combo("value")->isEnabled());
    EXPECT_EQ(dialog->result("level"), QStringLiteral("info"));
}

TEST_F(InsertConfigDialogTest, InsertingBesideTheDefaultRowAsksForAModule)
{
    makeUser(0, {}, true);
    EXPECT_EQ(dialog->windowTitle(), QStringLiteral("Insert "));
    EXPECT_EQ(labels(), (QStringList{"Module", "Level"}));
    EXPECT_TRUE(combo("value")->isEnabled());
    EXPECT_EQ(dialog->result("value"), QString());
    EXPECT_EQ(dialog->result("level"), QStringLiteral("none"));
    combo("value")->setEditText(QStringLiteral("typed"));
    EXPECT_EQ(dialog->result("value"), QStringLiteral("typed"));
    makeUser(-1, {}, true);
    EXPECT_EQ(labels(), (QStringList{"Module", "Level"}));
}

TEST_F(InsertConfigDialogTest, AValueThatIsNotInTheModuleListIsListedAndSelected)
{
    makeUser(1, {{"value", "Alpha"}, {"level", "info"}});
    EXPECT_EQ(entries(combo("value")), (QStringList{"", "alpha", "beta", "ARZ", "Alpha"}));
    EXPECT_EQ(dialog->result("value"), QStringLiteral("Alpha"));
    modules.prepend(QString());
    makeUser(1, {{"value", "new"}});
    EXPECT_EQ(entries(combo("value")), (QStringList{"", "alpha", "beta", "ARZ", "new"}));
    makeUser(1, {{"value", ""}});
    EXPECT_EQ(entries(combo("value")), modules);
    EXPECT_EQ(combo("value")->currentIndex(), 0);
    modules.clear();
    makeUser(1, {{"value", "x"}});
    EXPECT_EQ(entries(combo("value")), (QStringList{"", "x"}));
    EXPECT_EQ(dialog->result("value"), QStringLiteral("x"));
}

TEST_F(InsertConfigDialogTest, ALevelThatIsNotOfferedBecomesTheFirst)
{
    for (const char* level : {"Info", "inf", "verbose", ""}) {
        makeUser(1, {{"value", "beta"}, {"level", level}});
        EXPECT_EQ(dialog->result("level"), QStringLiteral("none")) << level;
    }
}

TEST_F(InsertConfigDialogTest, AParameterSetHasLevelDestinationAndFile)
{
    for (const char* key : {"level", "destination", "file"}) {
        makeExpert(specialization({"parameters", key}),
                   {{"level", "err"}, {"destination", "file"}, {"file", "/tmp/x"}});
        EXPECT_EQ(dialog->windowTitle(), QStringLiteral("Modify parameters"));
        EXPECT_EQ(labels(), (QStringList{"level", "destination", "file"}));
        EXPECT_EQ(entries(combo("destination")), LogConfigData::destinationNames());
        EXPECT_EQ(dialog->result("level"), QStringLiteral("err"));
        EXPECT_EQ(dialog->result("destination"), QStringLiteral("file"));
        EXPECT_EQ(dialog->result("file"), QStringLiteral("/tmp/x"));
        EXPECT_EQ(dialog->result("value"), QString());
    }
    makeExpert(at({"parameters", "level"}), {{"level", "info"}});
    EXPECT_EQ(dialog->result("destination"), QStringLiteral("none")); // the first, for want of one
    EXPECT_EQ(dialog->result("file"), QString());
}

TEST_F(InsertConfigDialogTest, TheFileIsOnlyForDestinationFile)
{
    makeExpert(specialization({"parameters", "level"}),
               {{"level", "err"}, {"destination", "logsvc"}, {"file", "/tmp/x"}});
    EXPECT_FALSE(edit("file")->isEnabled());
    EXPECT_EQ(edit("file")->text(), QStringLiteral("/tmp/x"));
    EXPECT_EQ(dialog->result("file"), QString());
    combo("destination")->setCurrentText(QStringLiteral("file"));
    EXPECT_TRUE(edit("file")->isEnabled());
    EXPECT_EQ(dialog->result("file"), QStringLiteral("/tmp/x"));
    combo("destination")->setCurrentText(QStringLiteral("none"));
    EXPECT_FALSE(edit("file")->isEnabled());
}

TEST_F(InsertConfigDialogTest, AnAttributeHasIdValueAndOp)
{
    for (const char* key : {"id", "value", "op"}) {
        makeExpert(specialization({"attributes", "+", key}),
                   {{"id", "module"}, {"value", "ARZ"}, {"op", "eq"}});
        EXPECT_EQ(dialog->windowTitle(), QStringLiteral("Modify attributes"));
        EXPECT_EQ(labels(), (QStringList{"id", "value", "op"}));
        EXPECT_EQ(entries(combo("id")), (QStringList{"module", "process"}));
        EXPECT_EQ(entries(combo("value")), modules);
        EXPECT_EQ(combo("value")->sizeAdjustPolicy(), QComboBox::AdjustToContents);
        EXPECT_TRUE(combo("value")->isEditable());
        EXPECT_EQ(entries(combo("op")), (QStringList{"in", "sub", "eq"}));
        EXPECT_EQ(dialog->result("id"), QStringLiteral("module"));
        EXPECT_EQ(dialog->result("value"), QStringLiteral("ARZ"));
        EXPECT_EQ(dialog->result("op"), QStringLiteral("eq"));
    }
    makeAttribute({{"id", "module"}, {"value", "[MODULE]"}});
    EXPECT_EQ(entries(combo("value")), (QStringList{"", "alpha", "beta", "ARZ", "[MODULE]"}));
    EXPECT_EQ(dialog->result("value"), QStringLiteral("[MODULE]"));
    EXPECT_EQ(dialog->result("op"), QStringLiteral("in"));
}

TEST_F(InsertConfigDialogTest, ProcessOffersTheProgramsThatRun)
{
    const QString own = QFileInfo(QCoreApplication::applicationFilePath()).fileName();
    makeAttribute({{"id", "process"}, {"value", own}});
    EXPECT_TRUE(combo("value")->isEditable());
    EXPECT_TRUE(entries(combo("value")).contains(own));
    EXPECT_EQ(dialog->result("value"), own);
    for (const QString& name : entries(combo("value"))) {
        EXPECT_FALSE(name.isEmpty());
        EXPECT_FALSE(name.contains("unknown"));
    }
    // What does not run is not added; the first is selected in its place.
    makeAttribute({{"id", "process"}, {"value", "no such program"}});
    EXPECT_EQ(combo("value")->findText("no such program"), -1);
    EXPECT_EQ(combo("value")->currentIndex(), 0);
    EXPECT_EQ(dialog->result("value"), combo("value")->itemText(0));
}

TEST_F(InsertConfigDialogTest, ProcessThenModuleThenProcessShowsEveryProcessNameTwice)
{
    const QString own = QFileInfo(QCoreApplication::applicationFilePath()).fileName();
    makeAttribute({{"id", "process"}});
    const QStringList once = entries(combo("value"));
    ASSERT_TRUE(once.contains(own));
    combo("id")->setCurrentText(QStringLiteral("module"));
    EXPECT_EQ(entries(combo("value")), QStringList{QString()} + modules);
    combo("id")->setCurrentText(QStringLiteral("process"));
    const QStringList twice = entries(combo("value"));
    EXPECT_EQ(twice.mid(0, once.size()), once);
    EXPECT_TRUE(twice.mid(once.size()).contains(own));
}

TEST_F(InsertConfigDialogTest, ACommentHasOneLine)
{
    makeExpert(specialization({"#"}), {{"Comment", "why"}});
    EXPECT_EQ(dialog->windowTitle(), QStringLiteral("Modify comment"));
    EXPECT_EQ(labels(), QStringList{"Comment"});
    EXPECT_EQ(dialog->result("Comment"), QStringLiteral("why"));
    edit("comment")->setText(QStringLiteral("because"));
    EXPECT_EQ(dialog->result("Comment"), QStringLiteral("because"));
    EXPECT_EQ(dialog->result("level"), QString());
}

TEST_F(InsertConfigDialogTest, AnythingElseInExpertModeHasTheFieldsOfAModule)
{
    for (const QModelIndex& index : {at({"other"}), specialization({}), QModelIndex()}) {
        makeExpert(index);
        EXPECT_EQ(dialog->windowTitle(), QStringLiteral("Modify "));
        EXPECT_EQ(labels(), (QStringList{"Module", "Level"}));
    }
}

TEST_F(InsertConfigDialogTest, WithoutTheExpertFlagItIsAlwaysAModule)
{
    make(specialization({"#"}), {}, false, false);
    EXPECT_NE(combo("value"), nullptr);
    EXPECT_EQ(edit("comment"), nullptr);
}

TEST_F(InsertConfigDialogTest, CannotBeResized)
{
    for (const QModelIndex& index :
         {specialization({"#"}), specialization({"attributes", "+", "id"}),
          specialization({"parameters", "level"}), QModelIndex()}) {
        makeExpert(index);
        dialog->show();
        EXPECT_EQ(dialog->minimumSize(), dialog->layout()->sizeHint());
        EXPECT_EQ(dialog->maximumSize(), dialog->layout()->sizeHint());
    }
}

TEST_F(InsertConfigDialogTest, ALongNameDoesNotWidenItBeyondTheScreen)
{
    modules.append(QString(100000, QLatin1Char('w')));
    makeAttribute({{"id", "module"}, {"value", modules.last()}});
    dialog->show();
    EXPECT_LT(dialog->width(), 700);
    EXPECT_TRUE(dialog->result("value") == modules.last());
}

TEST_F(InsertConfigDialogTest, WhatIsNotEditedComesBackAsItWasHoweverLong)
{
    const QString text = QStringLiteral("a\nb\tc ") + QString(100000, QLatin1Char('x'));
    makeExpert(specialization({"#"}), {{"Comment", text}});
    dialog->show();
    EXPECT_TRUE(dialog->result("Comment") == text);
    makeExpert(specialization({"parameters", "file"}), {{"destination", "file"}, {"file", text}});
    dialog->show();
    EXPECT_TRUE(dialog->result("file") == text);
    makeUser(1, {{"value", text}});
    dialog->show();
    EXPECT_TRUE(dialog->result("value") == text);
    makeAttribute({{"id", "module"}, {"value", text}});
    dialog->show();
    EXPECT_TRUE(dialog->result("value") == text);
}

TEST_F(InsertConfigDialogTest, PressingOKAcceptsAndPressingCancelRejects)
{
    makeUser(1, {});
    EXPECT_EQ(button("insertConfigOk")->text(), QStringLiteral("OK"));
    EXPECT_EQ(button("insertConfigCancel")->text(), QStringLiteral("Cancel"));
    dialog->show();
    QTest::mousePress(button("insertConfigOk"), Qt::LeftButton);
    EXPECT_EQ(dialog->result(), QDialog::Accepted);
    makeUser(1, {});
    dialog->show();
    QTest::mousePress(button("insertConfigCancel"), Qt::LeftButton);
    EXPECT_EQ(dialog->result(), QDialog::Rejected);
    EXPECT_FALSE(dialog->isVisible());
}

TEST_F(InsertConfigDialogTest, EnterAcceptsEscapeRejectsAndTabGoesFromAbove)
{
    makeExpert(specialization({"parameters", "level"}), {{"destination", "file"}});
    dialog->show();
    dialog->activateWindow();
    ASSERT_TRUE(waitFor([&] { return dialog->isActiveWindow(); }));
    QStringList order;
    for (int i = 0; i < 5; ++i) {
        order.append(dialog->focusWidget()->objectName());
        QTest::keyClick(dialog->focusWidget(), Qt::Key_Tab);
    }
    EXPECT_EQ(order, (QStringList{"level", "destination", "file", "insertConfigOk",
                                  "insertConfigCancel"}));
    QTest::keyClick(edit("file"), Qt::Key_Return);
    EXPECT_EQ(dialog->result(), QDialog::Accepted);
    dialog->show();
    QTest::keyClick(dialog.get(), Qt::Key_Escape);
    EXPECT_FALSE(dialog->isVisible());
    EXPECT_EQ(dialog->result(), QDialog::Rejected);
}

TEST_F(InsertConfigDialogTest, IsRejectedWhenTheViewGoes)
{
    auto window = std::make_unique<QMainWindow>();
    auto* view = new LogConfigView(window.get());
    InsertConfigDialog orphan(view, table->index(1, 0), {}, {}, {}, {}, {}, {}, false, false,
                              nullptr);
    orphan.show();
    window.reset();
    EXPECT_FALSE(orphan.isVisible());
    EXPECT_EQ(orphan.result(), QDialog::Rejected);
}
