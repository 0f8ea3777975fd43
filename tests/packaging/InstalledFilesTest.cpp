// What `cmake --install` puts where.

#include "tests/packaging/PackagingSupport.h"

#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace zuLogging {
namespace {

class InstalledFiles : public testing::Test
{
protected:
    /// Installs what belongs to the programs, under a prefix of its own below `base`.
    void install(const QString& prefix, const QStringList& environment = {})
    {
        const test::ToolOutput run =
            test::runSystemTool(QStringLiteral(LOGDESK_CMAKE),
                                {QStringLiteral("--install"), QStringLiteral(LOGDESK_BINARY_DIR),
                                 QStringLiteral("--component"), QStringLiteral("packaging"),
                                 QStringLiteral("--prefix"), prefix},
                                environment);
        ASSERT_EQ(run.status, 0) << run.err.toStdString();
    }

    /// Sorted, relative to `root`.
    static QStringList filesBelow(const QString& root)
    {
        QStringList files;
        for (QDirIterator i(root, QDir::Files, QDirIterator::Subdirectories); i.hasNext();)
            files.append(QDir(root).relativeFilePath(i.next()));
        files.sort();
        return files;
    }

    static QString startLineOf(const QString& unit)
    {
        static const QRegularExpression line(QStringLiteral("^ExecStart=(.*)$"),
                                             QRegularExpression::MultilineOption);
        return line.match(test::textOf(unit)).captured(1);
    }

    QTemporaryDir folder_;
    const QString unit_ = QStringLiteral("/lib/systemd/system/ZULogSvc.service");
};

TEST_F(InstalledFiles, EverythingIsWhereItIsLookedFor)
{
    const QString prefix = folder_.path();
    install(prefix);
    QStringList files =
        filesBelow(prefix).filter(QRegularExpression(QStringLiteral("^(?!.*/images/)")));
    const QStringList expected{
        QStringLiteral("lib/systemd/system/ZULogSvc.service"),
        QStringLiteral("lib/sysusers.d/zulogsvc.conf"),
        QStringLiteral("share/bash-completion/completions/zulog"),
        QStringLiteral("share/bash-completion/completions/zulogsvc"),
        QStringLiteral("share/doc/LogDesk/LICENSE"),
        QStringLiteral("share/doc/LogDesk/service.md"),
        QStringLiteral("share/doc/LogDesk/user-guide.md"),
        QStringLiteral("share/man/man1/zulog.1"),
        QStringLiteral("share/man/man8/zulogsvc.8"),
    };
    EXPECT_EQ(files, expected);
    EXPECT_EQ(test::textOf(prefix + QStringLiteral("/share/man/man1/zulog.1")),
              test::textOf(test::sourcePath(QStringLiteral("packaging/man/zulog.1"))));
    EXPECT_FALSE(QFileInfo(prefix + unit_).isExecutable());
}

TEST_F(InstalledFiles, TheUnitNamesTheInstalledProgramAndChangesInNothingElse)
{
    install(folder_.path());
    QString text = test::textOf(folder_.path() + unit_);
    const QString start = QStringLiteral("\nExecStart=") + folder_.path();
    EXPECT_EQ(text.count(start), 1);
    text.replace(start, QStringLiteral("\nExecStart=/usr"));
    EXPECT_EQ(text, test::textOf(test::sourcePath(QStringLiteral("packaging/ZULogSvc.service"))));
}

TEST_F(InstalledFiles, APrefixOfSeveralWordsIsOneWordInTheUnit)
{
    const QString prefix = folder_.path() + QStringLiteral("/two words 100%");
    install(prefix);
    QString escaped = prefix;
    escaped.replace(QLatin1Char('%'), QLatin1String("%%"));
    EXPECT_EQ(startLineOf(prefix + unit_), QStringLiteral("\"%1/bin/zulogsvc\"").arg(escaped));

    // As systemd reads it: it finds a program there.
    ASSERT_TRUE(QDir().mkpath(prefix + QStringLiteral("/bin")));
    ASSERT_TRUE(QFile::copy(QStringLiteral("/bin/true"), prefix + QStringLiteral("/bin/zulogsvc")));
    const test::ToolOutput run =
        test::runSystemTool(QStringLiteral("systemd-analyze"),
                            {QStringLiteral("verify"), QStringLiteral("--man=no"), prefix + unit_});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out + run.err, QString());
}

TEST_F(InstalledFiles, AStagingFolderIsNotPartOfThePathInTheUnit)
{
    install(QStringLiteral("/usr"), {QStringLiteral("DESTDIR=") + folder_.path()});
    EXPECT_EQ(startLineOf(folder_.path() + QStringLiteral("/usr") + unit_),
              QStringLiteral("/usr/bin/zulogsvc"));
}

TEST_F(InstalledFiles, TheDocumentsLeadToNothingThatIsNotThere)
{
    install(folder_.path());
    const QString documents = folder_.path() + QStringLiteral("/share/doc/LogDesk/");
    static const QRegularExpression link(QStringLiteral("\\]\\(([^)#]+)(#[^)]*)?\\)"));
    int count = 0;
    for (const char* name : {"user-guide.md", "service.md"}) {
        for (auto found = link.globalMatch(test::textOf(documents + QString::fromUtf8(name)));
             found.hasNext(); ++count) {
            const QString target = found.next().captured(1);
            EXPECT_TRUE(QFileInfo::exists(documents + target))
                << name << " names " << target.toStdString();
        }
    }
    EXPECT_GE(count, 10);
}

} // namespace
} // namespace zuLogging
