// The unit by which systemd runs the service, as systemd itself judges it.

#include "tests/packaging/PackagingSupport.h"
#include "tests/service/ServiceProcess.h"
#include "tests/support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace zuLogging {
namespace {

using test::runSystemTool;
using test::ToolOutput;

const QString unitPath = test::sourcePath(QStringLiteral("packaging/ZULogSvc.service"));

/// A copy of the unit under its own name, which starts the built program.
class UnitCopy
{
public:
    explicit UnitCopy(const QString& addition = {})
    {
        QString text = test::textOf(unitPath);
        const QString start = QStringLiteral("\nExecStart=/usr/bin/zulogsvc\n");
        EXPECT_EQ(text.count(start), 1);
        text.replace(start, QStringLiteral("\nExecStart=\"%1\"\n%2")
                                .arg(test::programPath(QStringLiteral("zulogsvc")), addition));
        QFile file(path());
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text.toUtf8());
    }
    QString path() const { return folder_.filePath(QStringLiteral("ZULogSvc.service")); }

private:
    QTemporaryDir folder_;
};

ToolOutput verify(const QString& path)
{
    // The manual pages that it names are not installed yet.
    return runSystemTool(QStringLiteral("systemd-analyze"),
                         {QStringLiteral("verify"), QStringLiteral("--man=no"), path});
}

TEST(ServiceUnit, IsAcceptedWithoutAWord)
{
    const UnitCopy unit;
    const ToolOutput run = verify(unit.path());
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out + run.err, QString());
}

TEST(ServiceUnit, AnUnknownLineWouldBeNoticed)
{
    const UnitCopy unit(QStringLiteral("NoSuchLine=yes\n"));
    const ToolOutput run = verify(unit.path());
    EXPECT_TRUE((run.out + run.err).contains(QLatin1String("NoSuchLine")));
}

TEST(ServiceUnit, IsExposedLittle)
{
    const UnitCopy unit;
    const ToolOutput run =
        runSystemTool(QStringLiteral("systemd-analyze"),
                      {QStringLiteral("security"), QStringLiteral("--offline=true"),
                       QStringLiteral("--no-pager"), QStringLiteral("--threshold=20"),
                       unit.path()}); // of 100, as docs/service.md says; an open service has 96
    EXPECT_EQ(run.status, 0) << run.out.right(200).toStdString();
}

TEST(ServiceUnit, LeavesTheServiceWhatItNeeds)
{
    const QString unit = test::textOf(unitPath);
    const auto says = [&unit](const char* line) {
        return unit.contains(QLatin1Char('\n') + QString::fromUtf8(line) + QLatin1Char('\n'));
    };
    // A real-time priority, the programs of other users' processes, its own files.
    EXPECT_TRUE(says("LimitRTPRIO=1"));
    EXPECT_TRUE(says("RestrictRealtime=no"));
    EXPECT_TRUE(says("SystemCallFilter=sched_setscheduler"));
    EXPECT_TRUE(says("AmbientCapabilities=CAP_SYS_PTRACE"));
    EXPECT_TRUE(says("StateDirectory=zulogsvc zulogsvc/log"));
    EXPECT_TRUE(says("StateDirectoryMode=2770"));
    EXPECT_TRUE(says("Environment=ARZDATA=%S/zulogsvc/ XDG_RUNTIME_DIR=%t/zulogsvc"));
    EXPECT_TRUE(says("Restart=on-failure"));
    // A list of what is allowed, from which the next one takes away.
    EXPECT_TRUE(
        unit.contains(QLatin1String("\nSystemCallFilter=@system-service\nSystemCallFilter=~")));
}

TEST(ServiceUnit, MembersOfTheGroupMayChangeTheStartUpFile)
{
    static const QRegularExpression line(QStringLiteral("^UMask=(0[0-7]+)$"),
                                         QRegularExpression::MultilineOption);
    const QRegularExpressionMatch match = line.match(test::textOf(unitPath));
    ASSERT_TRUE(match.hasMatch());
    const QString startupFile =
        test::TestEnvironment::instance().dataDirectory() + QStringLiteral("/log/LogSvcConf.json");
    QFile::remove(startupFile); // of another test's service
    const mode_t before = ::umask(static_cast<mode_t>(match.captured(1).toUInt(nullptr, 8)));
    test::ServiceProcess service;
    const bool started = service.start();
    ::umask(before);
    ASSERT_TRUE(started);

    // The window's preferences refuse a file that cannot be written itself, whatever its folder.
    const QFile::Permissions permissions = QFile::permissions(
        test::TestEnvironment::instance().dataDirectory() + QStringLiteral("/log/LogSvcConf.json"));
    EXPECT_TRUE(permissions & QFile::WriteGroup);
    EXPECT_FALSE(permissions & (QFile::ReadOther | QFile::WriteOther));
    EXPECT_EQ(service.terminate(), 0);
}

TEST(ServiceUnit, ItsUserIsMade)
{
    const QString users = test::sourcePath(QStringLiteral("packaging/zulogsvc.sysusers"));
    const ToolOutput run =
        runSystemTool(QStringLiteral("systemd-sysusers"), {QStringLiteral("--dry-run"), users});
    EXPECT_EQ(run.status, 0) << run.err.toStdString();
    static const QRegularExpression line(QStringLiteral("^u zulogsvc "),
                                         QRegularExpression::MultilineOption);
    EXPECT_TRUE(test::textOf(users).contains(line));
    EXPECT_TRUE(test::textOf(unitPath).contains(QLatin1String("\nUser=zulogsvc\n")));
}

TEST(ServiceUnit, ARecordOfAnotherUserIsTakenAwayBeforeTheStart)
{
    // The same command, in a folder of the test's own and for its own user.
    static const QRegularExpression line(QStringLiteral("^ExecStartPre=\\+(\\S+) (.*)$"),
                                         QRegularExpression::MultilineOption);
    const QRegularExpressionMatch match = line.match(test::textOf(unitPath));
    ASSERT_TRUE(match.hasMatch());
    QStringList words = match.captured(2).split(QLatin1Char(' '));
    ASSERT_EQ(words.first(), QStringLiteral("/dev/shm"));
    const int owner = words.indexOf(QStringLiteral("zulogsvc"));
    ASSERT_GT(owner, 0);

    QTemporaryDir folder;
    const QStringList all{QStringLiteral("Global\\zuLogSvcConnectionInfo"), QStringLiteral("other"),
                          QStringLiteral("zuLogSvcConnectionInfo")};
    for (const QString& name : all) {
        QFile file(folder.filePath(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }
    const auto left = [&folder] { return QDir(folder.path()).entryList(QDir::Files, QDir::Name); };
    words[0] = folder.path();
    const ToolOutput mine = runSystemTool(QStringLiteral("id"), {QStringLiteral("-u")});
    words[owner] = mine.out.trimmed();
    EXPECT_EQ(runSystemTool(match.captured(1), words).status, 0);
    EXPECT_EQ(left(), all) << "what is the service's own stays";
    words[owner] = QStringLiteral("65533");
    EXPECT_EQ(runSystemTool(match.captured(1), words).status, 0);
    EXPECT_EQ(left(), QStringList{QStringLiteral("other")});
}

} // namespace
} // namespace zuLogging
