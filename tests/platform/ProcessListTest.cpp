#include "platform/ProcessList.h"

#include "platform/linux/ProcessList.h"
#include "tests/support/TestEnvironment.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

using namespace zuLogging::platform;
using zuLogging::test::waitFor;

using Names = std::vector<std::string>;

bool contains(const Names& names, const std::string& name)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

/// A folder that looks as the system's list of processes does.
class ProcessFolder : public ::testing::Test
{
protected:
    void addProcess(const QString& number, const QByteArray& program)
    {
        const QString process = directory_.filePath(number);
        ASSERT_TRUE(QDir().mkpath(process));
        ASSERT_EQ(::symlink(program.constData(), QFile::encodeName(process + "/exe").constData()),
                  0);
    }
    void addProcessWithoutProgram(const QString& number)
    {
        ASSERT_TRUE(QDir().mkpath(directory_.filePath(number)));
    }
    Names names(std::size_t limit = 1024) const
    {
        return programNamesIn(directory_.path().toStdString(), limit);
    }

private:
    QTemporaryDir directory_;
};

} // namespace

TEST(ProcessList, HasThisProgram)
{
    EXPECT_TRUE(
        contains(runningProgramNames(),
                 QFileInfo(QCoreApplication::applicationFilePath()).fileName().toStdString()));
}

TEST(ProcessList, HasAProgramWhoseFileIsGoneUnderItsOldName)
{
    const QTemporaryDir directory;
    const QString path = directory.filePath("shortlived");
    ASSERT_TRUE(QFile::copy(QFileInfo(QStringLiteral("/bin/cat")).canonicalFilePath(), path));
    QProcess process;
    process.start(path, QStringList()); // waits for input that never comes
    ASSERT_TRUE(process.waitForStarted());
    ASSERT_TRUE(waitFor([] { return contains(runningProgramNames(), "shortlived"); }));
    ASSERT_TRUE(QFile::remove(path));
    EXPECT_TRUE(contains(runningProgramNames(), "shortlived"));
    EXPECT_FALSE(contains(runningProgramNames(), "shortlived (deleted)"));
    process.closeWriteChannel();
    ASSERT_TRUE(process.waitForFinished());
    EXPECT_FALSE(contains(runningProgramNames(), "shortlived"));
}

TEST_F(ProcessFolder, NamesComeInTheOrderOfTheProcessNumbersOneForEachProcess)
{
    addProcess("100", "/usr/bin/hundred");
    addProcess("9", "/usr/bin/twice");
    addProcess("20", "/opt/a folder/twice");
    EXPECT_EQ(names(), (Names{"twice", "twice", "hundred"}));
}

TEST_F(ProcessFolder, AProcessWhoseProgramCannotBeReadIsLeftOut)
{
    addProcessWithoutProgram("2");
    addProcess("3", "/usr/bin/three");
    EXPECT_EQ(names(), Names{"three"});
}

TEST_F(ProcessFolder, OnlyTheFirstProcessesByNumberAreLookedAt)
{
    addProcess("11", "/usr/bin/eleven");
    addProcess("3", "/usr/bin/three");
    addProcessWithoutProgram("2");
    EXPECT_EQ(names(2), Names{"three"}); // the unreadable one counts
    EXPECT_EQ(names(3), (Names{"three", "eleven"}));
}

TEST_F(ProcessFolder, EntriesThatAreNoProcessesAreLeftOut)
{
    addProcess("self", "/usr/bin/self");
    addProcess("0", "/usr/bin/zero");
    addProcess("12a", "/usr/bin/letters");
    addProcess("99999999999999999999999", "/usr/bin/huge");
    addProcess("7", "/usr/bin/seven");
    EXPECT_EQ(names(), Names{"seven"});
}

TEST_F(ProcessFolder, TheMarkOfAProgramWhoseFileIsGoneIsNoPartOfItsName)
{
    addProcess("1", "/usr/bin/gone (deleted)");
    addProcess("2", "/usr/bin/gone (deleted) for good");
    EXPECT_EQ(names(), (Names{"gone", "gone (deleted) for good"}));
}

TEST_F(ProcessFolder, ALongNameComesWhole)
{
    const std::string name(255, 'n');
    addProcess("1", QByteArray::fromStdString("/usr/bin/" + name));
    EXPECT_EQ(names(), Names{name});
}

TEST(ProcessList, AFolderThatIsNotThereHasNoProcesses)
{
    EXPECT_EQ(programNamesIn("/no/such/folder", 1024), Names());
}
