#include "config/PreferencesDialog.h"

#include "logging/PropertyTreeJson.h"
#include "tests/config/ModalAnswers.h"
#include "tests/support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QGroupBox>
#include <QLabel>
#include <QLayout>
#include <QPushButton>
#include <QSpinBox>
#include <QTest>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <memory>

using namespace zuLogging;
using namespace zuLogging::test;

namespace {

class PreferencesDialogTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        initTestIcons();
        oldData_ = qgetenv("ARZDATA");
        QDir(data()).removeRecursively();
        ASSERT_TRUE(QDir().mkpath(data() + "/log"));
        qputenv("ARZDATA", QFile::encodeName(data()));
    }
    void TearDown() override
    {
        dialog.reset();
        QFile::setPermissions(data() + "/log",
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        qputenv("ARZDATA", oldData_);
    }

    static QString data() { return TestEnvironment::instance().dataDirectory() + "/preferences"; }
    static QString path() { return data() + "/log/LogSvcConf.json"; }

    static void write(const QByteArray& text)
    {
        QFile file(path());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(text), text.size());
    }
    static QByteArray contents()
    {
        QFile file(path());
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    }
    /// What the file holds, without the line breaks.
    static std::string document()
    {
        return writePropertyTree(readPropertyTreeFile(QFile::encodeName(path()).toStdString()),
                                 JsonForm::Compact);
    }

    void open() { dialog = std::make_unique<PreferencesDialog>(nullptr); }
    void openWith(const QByteArray& text)
    {
        write(text);
        open();
    }
    /// Opens, sets the value, presses "OK" and closes.
    void saveWith(const QByteArray& text, int value)
    {
        openWith(text);
        spin()->setValue(value);
        dialog->save();
        EXPECT_EQ(dialog->result(), QDialog::Accepted);
    }

    QSpinBox* spin() const { return dialog->findChild<QSpinBox*>(); }
    QGroupBox* group() const { return dialog->findChild<QGroupBox*>(); }
    QPushButton* ok() const { return dialog->findChild<QPushButton*>("preferencesOk"); }
    QPushButton* cancel() const { return dialog->findChild<QPushButton*>("preferencesCancel"); }
    void expectEditable(bool editable) const
    {
        EXPECT_EQ(group()->isEnabled(), editable);
        EXPECT_EQ(ok()->isEnabled(), editable);
        EXPECT_TRUE(cancel()->isEnabled());
    }

    std::unique_ptr<PreferencesDialog> dialog;
    ModalAnswers answers;

private:
    QByteArray oldData_;
};

} // namespace

TEST_F(PreferencesDialogTest, HasOneNumberOKAndCancelAndCannotBeResized)
{
    openWith("{}");
    EXPECT_EQ(dialog->windowTitle(), QStringLiteral("Preferences"));
    EXPECT_FALSE(dialog->windowIcon().isNull());
    EXPECT_EQ(group()->title(), QStringLiteral("Service Preferences"));
    EXPECT_EQ(group()->findChild<QLabel*>()->text(), QStringLiteral("Number of record lines"));
    EXPECT_EQ(group()->findChild<QLabel*>()->buddy(), spin());
    EXPECT_EQ(spin()->minimum(), 0);
    EXPECT_EQ(spin()->maximum(), 100000000);
    EXPECT_EQ(ok()->text(), QStringLiteral("OK"));
    EXPECT_EQ(cancel()->text(), QStringLiteral("Cancel"));
    EXPECT_EQ(dialog->minimumSize(), dialog->maximumSize());
    EXPECT_EQ(dialog->minimumSize(), dialog->layout()->sizeHint());
    EXPECT_TRUE(answers.boxes.empty());
}

TEST_F(PreferencesDialogTest, ShowsTheSizeOfTheFirstRecordSink)
{
    openWith(R"({"startup_sinks":[{"type":"file","media_size":"1"},{"media_size":"2"},
                 {"type":"Record","media_size":"3"},{"type":"record","media_size":4711},
                 {"type":"record","media_size":"5"}]})");
    EXPECT_EQ(spin()->value(), 4711);
    EXPECT_TRUE(answers.boxes.empty());
    expectEditable(true);
}

TEST_F(PreferencesDialogTest, WithoutARecordSinkItShowsZero)
{
    for (const char* text :
         {"{}", R"({"startup_sinks":[]})", R"({"startup_sinks":"text"})",
          R"({"startup_sinks":[{"type":"file","media_size":"7"}]})",
          R"({"startup_sinks":["record"]})", R"({"startup_sinks":[{"type":"record"}]})"}) {
        openWith(text);
        EXPECT_EQ(spin()->value(), 0) << text;
        expectEditable(true);
    }
    EXPECT_TRUE(answers.boxes.empty());
}

TEST_F(PreferencesDialogTest, WithARZDATAUnsetThePathIsEmptyAndEditingIsDisabled)
{
    qunsetenv("ARZDATA");
    open();
    const ModalAnswers::Box box = answers.onlyBox();
    EXPECT_EQ(box.icon, QMessageBox::Critical);
    EXPECT_EQ(box.title, QStringLiteral("Preferences"));
    EXPECT_EQ(box.text, QStringLiteral("Configuration file '' does not exist."));
    expectEditable(false);
}

TEST_F(PreferencesDialogTest, AMissingFileIsToldWithItsPathAndEditingIsDisabled)
{
    open();
    EXPECT_EQ(answers.onlyBox().icon, QMessageBox::Critical);
    EXPECT_EQ(answers.onlyBox().text,
              QStringLiteral("Configuration file '%1' does not exist.").arg(path()));
    expectEditable(false);
}

TEST_F(PreferencesDialogTest, WhatIsReadFromTheFileIsNeverTakenForMarkup)
{
    open();
    openWith(R"({"startup_sinks":[{"type":"record","media_size":"<b>7</b>"}]})");
    openWith("{");
    EXPECT_GE(answers.boxes.size(), 3U);
    for (const ModalAnswers::Box& box : answers.boxes)
        EXPECT_EQ(box.format, Qt::PlainText) << box.text.toStdString();
}

TEST_F(PreferencesDialogTest, ADataDirectoryThatEndsWithASeparatorGetsNoSecondOne)
{
    qputenv("ARZDATA", QFile::encodeName(data() + "/"));
    openWith(R"({"startup_sinks":[{"type":"record","media_size":"12"}]})");
    EXPECT_EQ(spin()->value(), 12);
    QFile::remove(path());
    open();
    EXPECT_EQ(answers.onlyBox().text,
              QStringLiteral("Configuration file '%1' does not exist.").arg(path()));
}

TEST_F(PreferencesDialogTest, AMediaSizeAbove100000000IsShownAndWrittenBackAs100000000)
{
    for (const char* size : {"100000001", "4294967296", "18446744073709551615"}) {
        openWith(QByteArray(R"({"startup_sinks":[{"type":"record","media_size":")") + size +
                 R"("}]})");
        EXPECT_EQ(spin()->value(), 100000000);
        dialog->save();
        EXPECT_EQ(document(), R"({"startup_sinks":[{"type":"record","media_size":"100000000"}]})")
            << size;
    }
    EXPECT_TRUE(answers.boxes.empty());
}

TEST_F(PreferencesDialogTest, AFileWithoutARecordSinkGetsOneAppendedOnSave)
{
    saveWith(R"({"startup_sinks":[{"type":"file"}]})", 9);
    EXPECT_EQ(document(),
              R"({"startup_sinks":[{"type":"file"},{"type":"record","media_size":"9"}]})");
    saveWith(R"({"other":"1"})", 8);
    EXPECT_EQ(document(), R"({"other":"1","startup_sinks":[{"type":"record","media_size":"8"}]})");
    saveWith(R"({"startup_sinks":"text"})", 7);
    EXPECT_EQ(document(), R"({"startup_sinks":[{"type":"record","media_size":"7"}]})");
}

TEST_F(PreferencesDialogTest, SavingSetsEveryRecordSinkAndKeepsEverythingElse)
{
    saveWith(R"({"a.b":{"media_size":"1"},"twice":"1","twice":"2","startup_sinks":[
                 {"type":"record","media_size":"1","x.y":"z"},{"type":"file","media_size":"2"},
                 {"type":"record"}],"last":["1",{"deep":"ä \u20ac"}]})",
             33);
    EXPECT_EQ(readPropertyTreeFile(QFile::encodeName(path()).toStdString()),
              readPropertyTree(
                  R"({"a.b":{"media_size":"1"},"twice":"1","twice":"2","startup_sinks":[
                 {"type":"record","media_size":"33","x.y":"z"},{"type":"file","media_size":"2"},
                 {"type":"record","media_size":"33"}],"last":["1",{"deep":"ä \u20ac"}]})"));
    EXPECT_TRUE(answers.boxes.empty());
}

TEST_F(PreferencesDialogTest, NothingIsWrittenUnlessOKIsPressed)
{
    const QByteArray text = R"({ "startup_sinks":[ {"type":"record","media_size":1} ] })";
    openWith(text);
    spin()->setValue(2);
    QTest::mousePress(cancel(), Qt::LeftButton);
    EXPECT_EQ(dialog->result(), QDialog::Rejected);
    EXPECT_EQ(contents(), text);
    dialog->show();
    QTest::mousePress(ok(), Qt::LeftButton);
    EXPECT_EQ(dialog->result(), QDialog::Accepted);
    EXPECT_NE(contents(), text);
}

TEST_F(PreferencesDialogTest, EnterSavesAndEscapeCancels)
{
    openWith("{}");
    dialog->show();
    QTest::keyClick(dialog.get(), Qt::Key_Escape);
    EXPECT_FALSE(dialog->isVisible());
    EXPECT_EQ(contents(), QByteArray("{}"));
    dialog->show();
    spin()->setValue(5);
    QTest::keyClick(spin(), Qt::Key_Return);
    EXPECT_EQ(dialog->result(), QDialog::Accepted);
    EXPECT_NE(contents(), QByteArray("{}"));
}

TEST_F(PreferencesDialogTest, WhatCannotBeReadIsToldAndCannotBeOverwritten)
{
    for (const QByteArray& text :
         {QByteArray(), QByteArray("no JSON"), QByteArray("[1,2]"), QByteArray("\"text\""),
          QByteArray("{\"a\":") + QByteArray(100000, '[') + QByteArray(100000, ']') + '}',
          QByteArray("{\"startup_sinks\":[{\"type\":\"record\"")}) {
        answers.boxes.clear();
        openWith(text);
        const ModalAnswers::Box box = answers.onlyBox();
        EXPECT_EQ(box.icon, QMessageBox::Warning);
        EXPECT_EQ(box.title, QStringLiteral("Preferences"));
        const QString start =
            QStringLiteral("Failed to load the configuration from file '%1': ").arg(path());
        EXPECT_TRUE(box.text.startsWith(start)) << box.text.toStdString();
        EXPECT_GT(box.text.size(), start.size());
        expectEditable(false);
        EXPECT_EQ(contents(), text);
    }
}

TEST_F(PreferencesDialogTest, AFolderAPipeAndAHugeFileInTheFilesPlaceAreToldAtOnce)
{
    const QString start =
        QStringLiteral("Failed to load the configuration from file '%1': ").arg(path());
    ASSERT_TRUE(QDir().mkpath(path()));
    open();
    EXPECT_TRUE(answers.onlyBox().text.startsWith(start));
    expectEditable(false);

    QDir().rmdir(path());
    ASSERT_EQ(::mkfifo(QFile::encodeName(path()).constData(), 0600), 0);
    answers.boxes.clear();
    open();
    EXPECT_TRUE(answers.onlyBox().text.startsWith(start));
    expectEditable(false);

    QFile::remove(path());
    write("{");
    ASSERT_TRUE(QFile::resize(path(), 100 * 1024 * 1024));
    answers.boxes.clear();
    open();
    EXPECT_TRUE(answers.onlyBox().text.startsWith(start));
    expectEditable(false);
}

TEST_F(PreferencesDialogTest, ASizeThatIsNoNumberIsToldAndCanBeRepaired)
{
    for (const char* size : {"\"-1\"", "-5", "\"18446744073709551616\"", "\"many\"", "\"\"",
                             "\"1.5\"", "{\"a\":\"b\"}", "[\"1\"]", "\"10 \""}) {
        answers.boxes.clear();
        openWith(QByteArray(R"({"startup_sinks":[{"type":"record","media_size":)") + size + "}]}");
        EXPECT_TRUE(answers.onlyBox().text.startsWith(
            QStringLiteral("Failed to load the configuration from file '%1': ").arg(path())))
            << size;
        EXPECT_EQ(spin()->value(), 0);
        expectEditable(true);
        spin()->setValue(6);
        dialog->save();
        EXPECT_EQ(document(), R"({"startup_sinks":[{"type":"record","media_size":"6"}]})");
    }
}

TEST_F(PreferencesDialogTest, AFailureToWriteIsToldAndTheDialogStays)
{
    openWith("{}");
    dialog->show();
    QFile::remove(path());
    ASSERT_TRUE(QDir(data() + "/log").removeRecursively());
    dialog->save();
    const ModalAnswers::Box box = answers.onlyBox();
    EXPECT_EQ(box.icon, QMessageBox::Warning);
    EXPECT_EQ(box.title, QStringLiteral("Preferences"));
    const QString start =
        QStringLiteral("Failed to write the configuration to file '%1': ").arg(path());
    EXPECT_TRUE(box.text.startsWith(start)) << box.text.toStdString();
    EXPECT_GT(box.text.size(), start.size());
    EXPECT_TRUE(dialog->isVisible());
    ASSERT_TRUE(QDir().mkpath(data() + "/log"));
    dialog->save(); // and can be tried again
    EXPECT_FALSE(dialog->isVisible());
    EXPECT_EQ(document(), R"({"startup_sinks":[{"type":"record","media_size":"0"}]})");
}

TEST_F(PreferencesDialogTest, TheFilesPermissionsStay)
{
    write("{}");
    ASSERT_EQ(::chmod(QFile::encodeName(path()).constData(), 0640), 0);
    open();
    dialog->save();
    struct stat status = {};
    ASSERT_EQ(::stat(QFile::encodeName(path()).constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0640U);
    EXPECT_EQ(QDir(data() + "/log").entryList(QDir::Files), QStringList("LogSvcConf.json"));
}

TEST_F(PreferencesDialogTest, ALinkStaysALinkAndItsTargetIsWritten)
{
    const QString target = data() + "/elsewhere.json";
    ASSERT_EQ(::symlink("../elsewhere.json", QFile::encodeName(path()).constData()), 0);
    QFile file(target);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("{}");
    file.close();
    open();
    spin()->setValue(3);
    dialog->save();
    EXPECT_EQ(dialog->result(), QDialog::Accepted);
    EXPECT_TRUE(QFileInfo(path()).isSymLink());
    EXPECT_EQ(QFileInfo(target).size(), contents().size());
    EXPECT_EQ(document(), R"({"startup_sinks":[{"type":"record","media_size":"3"}]})");
}

TEST_F(PreferencesDialogTest, ALinkThatLeadsNowhereIsAMissingFile)
{
    ASSERT_EQ(::symlink("nowhere.json", QFile::encodeName(path()).constData()), 0);
    open();
    EXPECT_EQ(answers.onlyBox().icon, QMessageBox::Critical);
    expectEditable(false);
}
