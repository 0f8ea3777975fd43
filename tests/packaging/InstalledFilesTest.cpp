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
    /// Installs one of the parts under a prefix of its own.
    void install(const char* component, const QString& prefix, const QStringList& environment = {})
    {
        const test::ToolOutput run =
            test::runSystemTool(QStringLiteral(LOGDESK_CMAKE),
                                {QStringLiteral("--install"), QStringLiteral(LOGDESK_BINARY_DIR),
                                 QStringLiteral("--component"), QString::fromUtf8(component),
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
    for (const char* component : {"logdesk", "zulogsvc", "zulog"})
        install(component, prefix);
    QStringList files =
        filesBelow(prefix).filter(QRegularExpression(QStringLiteral("^(?!.*/images/)")));
    QStringList expected{
        QStringLiteral("bin/logdesk"),
        QStringLiteral("bin/zulog"),
        QStringLiteral("bin/zulogsvc"),
        QStringLiteral("lib/systemd/system/ZULogSvc.service"),
        QStringLiteral("lib/sysusers.d/zulogsvc.conf"),
        QStringLiteral("share/applications/example.arvenza.LogDesk.desktop"),
        QStringLiteral("share/bash-completion/completions/logdesk"),
        QStringLiteral("share/bash-completion/completions/zulog"),
        QStringLiteral("share/bash-completion/completions/zulogsvc"),
        QStringLiteral("share/doc/logdesk/service.md"),
        QStringLiteral("share/doc/logdesk/user-guide.md"),
        QStringLiteral("share/doc/zulogsvc/service.md"),
        QStringLiteral("share/icons/hicolor/scalable/apps/example.arvenza.LogDesk.svg"),
        QStringLiteral("share/man/man1/logdesk.1"),
        QStringLiteral("share/man/man1/zulog.1"),
        QStringLiteral("share/man/man8/zulogsvc.8"),
        QStringLiteral("share/metainfo/example.arvenza.LogDesk.metainfo.xml"),
    };
    for (const char* size : {"16", "22", "24", "32", "48", "64", "128", "256"})
        expected.append(QStringLiteral("share/icons/hicolor/%1x%1/apps/example.arvenza.LogDesk.png")
                            .arg(QLatin1String(size)));
    expected.sort();
    EXPECT_EQ(files, expected);
    EXPECT_EQ(test::textOf(prefix + QStringLiteral("/share/man/man1/zulog.1")),
              test::textOf(test::sourcePath(QStringLiteral("packaging/man/zulog.1"))));
    EXPECT_FALSE(QFileInfo(prefix + unit_).isExecutable());
}

TEST_F(InstalledFiles, WhoBuildsWithTheLibraryFindsItsDocumentsAndExamples)
{
    install("zulog_development", folder_.path());
    const QStringList files =
        filesBelow(folder_.path()).filter(QRegularExpression(QStringLiteral("^share/")));
    QStringList expected{QStringLiteral("share/doc/libzulog-dev/client-library.md"),
                         QStringLiteral("share/doc/libzulog-dev/service.md")};
    for (const QString& name :
         QDir(test::sourcePath(QStringLiteral("examples"))).entryList(QDir::Files))
        expected.append(QStringLiteral("share/doc/libzulog-dev/examples/") + name);
    expected.sort();
    EXPECT_EQ(files, expected);
}

TEST_F(InstalledFiles, PackageConfigurationNamesThePrefix)
{
    for (const char* name : {"/one", "/the other"}) {
        const QString prefix = folder_.path() + QString::fromUtf8(name);
        install("zulog_development", prefix);
        const QStringList file =
            filesBelow(prefix).filter(QRegularExpression(QStringLiteral("/pkgconfig/zulog.pc$")));
        ASSERT_EQ(file.size(), 1);
        EXPECT_TRUE(test::textOf(prefix + QLatin1Char('/') + file.first())
                        .startsWith(QStringLiteral("prefix=%1\n").arg(prefix)));
    }
}

TEST_F(InstalledFiles, TheUnitNamesTheInstalledProgramAndChangesInNothingElse)
{
    install("zulogsvc", folder_.path());
    QString text = test::textOf(folder_.path() + unit_);
    const QString start = QStringLiteral("\nExecStart=") + folder_.path();
    EXPECT_EQ(text.count(start), 1);
    text.replace(start, QStringLiteral("\nExecStart=/usr"));
    EXPECT_EQ(text, test::textOf(test::sourcePath(QStringLiteral("packaging/ZULogSvc.service"))));
}

TEST_F(InstalledFiles, APrefixOfSeveralWordsIsOneWordInTheUnit)
{
    const QString prefix = folder_.path() + QStringLiteral("/two words 100%");
    install("zulogsvc", prefix);
    QString escaped = prefix;
    escaped.replace(QLatin1Char('%'), QLatin1String("%%"));
    EXPECT_EQ(startLineOf(prefix + unit_), QStringLiteral("\"%1/bin/zulogsvc\"").arg(escaped));

    // As systemd reads it: it finds a program there.
    const test::ToolOutput run =
        test::runSystemTool(QStringLiteral("systemd-analyze"),
                            {QStringLiteral("verify"), QStringLiteral("--man=no"), prefix + unit_});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out + run.err, QString());
}

TEST_F(InstalledFiles, AStagingFolderIsNotPartOfThePathInTheUnit)
{
    install("zulogsvc", QStringLiteral("/usr"), {QStringLiteral("DESTDIR=") + folder_.path()});
    EXPECT_EQ(startLineOf(folder_.path() + QStringLiteral("/usr") + unit_),
              QStringLiteral("/usr/bin/zulogsvc"));
}

TEST_F(InstalledFiles, TheDocumentsLeadToNothingThatIsNotThere)
{
    for (const char* component : {"logdesk", "zulogsvc", "zulog_development"})
        install(component, folder_.path());
    static const QRegularExpression link(QStringLiteral("\\]\\(([^)#]+)(#[^)]*)?\\)"));
    int count = 0;
    for (const char* name : {"logdesk/user-guide.md", "logdesk/service.md", "zulogsvc/service.md",
                             "libzulog-dev/client-library.md"}) {
        const QFileInfo document(folder_.path() + QStringLiteral("/share/doc/") +
                                 QString::fromUtf8(name));
        for (auto found = link.globalMatch(test::textOf(document.filePath())); found.hasNext();
             ++count) {
            const QString target = found.next().captured(1);
            EXPECT_TRUE(QFileInfo::exists(document.path() + QLatin1Char('/') + target))
                << name << " names " << target.toStdString();
        }
    }
    EXPECT_GE(count, 10);
}

TEST_F(InstalledFiles, TheProgramFindsItsGuideFromItsOwnFolder)
{
    install("logdesk", folder_.path());
    EXPECT_TRUE(QFileInfo::exists(
        folder_.path() + QStringLiteral("/bin/" LOGDESK_DOC_DIR_FROM_PROGRAM "/user-guide.md")));
}

} // namespace
} // namespace zuLogging
