#include "app/ProgramArguments.h"

#include "app/CommandLine.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sstream>

namespace zuLogging {
namespace {

class ProgramArgumentsTest : public ::testing::Test
{
protected:
    ProgramArgumentsTest()
        : before_(QDir::currentPath())
    {
        QDir::setCurrent(directory_.path());
    }
    ~ProgramArgumentsTest() override { QDir::setCurrent(before_); }

    QString make(const char* name) const
    {
        QFile file(directory_.filePath(QString::fromUtf8(name)));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        return QFileInfo(file).absoluteFilePath();
    }
    /// As the program does it; no option is the window system's here.
    bool read(std::vector<std::string> words)
    {
        words.insert(words.begin(), "logdesk");
        CommandLine line(words);
        ProgramArguments arguments(line.argc(), line.argv());
        std::ostringstream out;
        std::ostringstream err;
        status = arguments.answer(out);
        left = line.argc();
        const bool good = arguments.readFiles(line.argc(), line.argv(), err);
        written = out.str();
        errors = err.str();
        files = arguments.files();
        return good;
    }

    QTemporaryDir directory_;
    QString before_;
    std::optional<int> status;
    int left = 0;
    std::string written;
    std::string errors;
    QStringList files;
};

TEST_F(ProgramArgumentsTest, NothingIsAsked)
{
    EXPECT_TRUE(read({}));
    EXPECT_FALSE(status);
    EXPECT_TRUE(files.isEmpty());
    EXPECT_EQ(errors, "");
}

TEST_F(ProgramArgumentsTest, HelpAndVersionGoToStandardOutput)
{
    for (const char* word : {"--help", "-h"}) {
        read({word});
        EXPECT_EQ(status, 0);
        EXPECT_EQ(written.find("Usage: logdesk [OPTION...] [--] [FILE...]\n"), 0U);
    }
    read({"-platform", "offscreen", "--version", "--help"});
    EXPECT_EQ(status, 0);
    EXPECT_EQ(written, "logdesk 3.1.26\n");
}

TEST_F(ProgramArgumentsTest, FilesAreTakenInTheirOrderWithAbsolutePaths)
{
    const QString first = make("b.log");
    const QString second = make("gr\xC3\xB6\xC3\x9F"
                                "e.log");
    EXPECT_TRUE(read({"b.log", second.toStdString(), "./b.log"}));
    EXPECT_EQ(files, (QStringList{first, second, first}));
    EXPECT_EQ(errors, "");
}

TEST_F(ProgramArgumentsTest, BehindTwoDashesEverythingIsAFile)
{
    const QString help = make("--help");
    const QString platform = make("-platform");
    const QString dashes = make("--");
    const QString plain = make("a.log");
    EXPECT_TRUE(read({"a.log", "--", "--help", "-platform", "--"}));
    EXPECT_FALSE(status);
    EXPECT_EQ(left, 2); // what the application object gets to see
    EXPECT_EQ(files, (QStringList{plain, help, platform, dashes}));
}

TEST_F(ProgramArgumentsTest, AnUnknownOptionIsToldInALine)
{
    make("a.log");
    EXPECT_FALSE(read({"--foo", "a.log"}));
    EXPECT_EQ(errors, "logdesk: unrecognised option '--foo'; try 'logdesk --help'\n");
}

TEST_F(ProgramArgumentsTest, EachMissingFileIsToldInALine)
{
    make("a.log");
    EXPECT_FALSE(read({"none.log", "a.log", "", "two\nlines\x1B", "--", "-x"}));
    EXPECT_EQ(errors, "logdesk: there is no file 'none.log'\n"
                      "logdesk: there is no file ''\n"
                      "logdesk: there is no file 'two?lines?'\n"
                      "logdesk: there is no file '-x'\n");
}

TEST_F(ProgramArgumentsTest, ALoneDashIsAName)
{
    EXPECT_FALSE(read({"-"}));
    EXPECT_EQ(errors, "logdesk: there is no file '-'\n");
    make("-");
    EXPECT_TRUE(read({"-"}));
    EXPECT_EQ(files.size(), 1);
}

} // namespace
} // namespace zuLogging
