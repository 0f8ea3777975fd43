// The packages installed where nothing of LogDesk is, the programs run from there, and all of it
// removed again. What is done and looked at stands in clean-root.sh.

#include "tests/packaging/PackagingSupport.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace zuLogging {
namespace {

constexpr int limitMs = 240000;

test::ToolOutput tryPackages(const char* way, const QString& packages)
{
    // Readable by the service's user, too.
    QTemporaryDir work;
    return test::runSystemTool(test::sourcePath(QStringLiteral("tests/packaging/clean-root.sh")),
                               {QString::fromUtf8(way), packages, work.path()}, {}, limitMs);
}

test::ToolOutput tryPackages(const char* way)
{
    return tryPackages(way, QStringLiteral(LOGDESK_PACKAGES_DIR));
}

/// The best root that this machine lets a test have.
TEST(CleanRoot, ProgramsRunFromInstalledPackagesWhichLeaveNoTrace)
{
    const test::ToolOutput run = tryPackages("best");
    EXPECT_EQ(run.status, 0) << run.out.toStdString() << run.err.toStdString();
    EXPECT_TRUE(run.out.contains(QLatin1String("clean-root.sh: done ("))) << run.out.toStdString();
    RecordProperty("way", run.out.trimmed().toStdString());
}

/// The one that every machine has.
TEST(CleanRoot, AnEmptyFolderWillDo)
{
    const test::ToolOutput run = tryPackages("folder");
    EXPECT_EQ(run.status, 0) << run.out.toStdString() << run.err.toStdString();
    EXPECT_TRUE(run.out.contains(QLatin1String("clean-root.sh: done (folder)")))
        << run.out.toStdString();
}

TEST(CleanRoot, AFileThatIsLeftIsATrace)
{
    // The packages, one of which forgets a file when it goes.
    QTemporaryDir folder;
    const test::ToolOutput made = test::runSystemTool(
        QStringLiteral("sh"),
        {QStringLiteral("-ec"),
         QStringLiteral("cp \"$1\"/*.deb \"$2\"\n"
                        "dpkg-deb -R \"$2\"/zulogsvc_*.deb \"$2\"/made\n"
                        "echo 'touch \"$DPKG_ROOT/usr/forgotten\"' >> \"$2\"/made/DEBIAN/postinst\n"
                        "dpkg-deb --root-owner-group -b \"$2\"/made \"$2\"/zulogsvc_*.deb\n"),
         QStringLiteral("sh"), QStringLiteral(LOGDESK_PACKAGES_DIR), folder.path()});
    ASSERT_EQ(made.status, 0) << made.err.toStdString();
    for (const char* way : {"best", "folder"}) {
        const test::ToolOutput run = tryPackages(way, folder.path());
        EXPECT_NE(run.status, 0);
        EXPECT_TRUE(run.out.contains(QLatin1String("usr/forgotten")))
            << run.out.toStdString() << run.err.toStdString();
    }
}

} // namespace
} // namespace zuLogging
