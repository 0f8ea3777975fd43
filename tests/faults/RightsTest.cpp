// Who may do what with the files that the programs write, and what stands in their places.

#include "logging/ConnectionInfo.h"
#include "tests/faults/FaultRun.h"
#include "tests/support/TestEnvironment.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace zuLogging::test {
namespace {

constexpr int written = 0;
constexpr int refused = 3;
constexpr char precious[] = "precious";

struct Place
{
    const char* writer; ///< as WriteDriver.cpp and WindowWriteDriver.cpp name it
    const char* file;
};

constexpr Place settings{"settings", "Applications/LogDesk.xml"};
constexpr Place jsonLog{"json-log", "zulogsvc.json"};
constexpr Place textLog{"text-log", "zulogsvc.log"};
constexpr Place preferences{"preferences", "log/LogSvcConf.json"};
constexpr Place configuration{"configuration", "log/LogSvcRules.json"};
constexpr Place modules{"modules", "log/LogSvcModules.txt"};
constexpr Place startupFile{"startup-file", "log/LogSvcConf.json"};
constexpr Place logFile{"log-file", "log/rule.log"};
constexpr Place sinkFile{"sink-file", "log/sink.log"};
constexpr Place pidFile{"pid-file", "ZULogSvc.pid"};

class FilesOfThePrograms : public ::testing::Test
{
protected:
    FilesOfThePrograms()
    {
        for (const char* folder : {"data/log", "data/Applications", "elsewhere"})
            EXPECT_TRUE(QDir(directory_.path()).mkpath(QLatin1String(folder)));
    }
    ~FilesOfThePrograms() override { ::umask(mask_); }

    /// What the programs are started with from now on.
    static void useMask(mode_t mask) { ::umask(mask); }

    QString pathOf(const Place& place) const
    {
        return directory_.filePath(QStringLiteral("data/")) + QLatin1String(place.file);
    }
    static QByteArray encoded(const QString& path) { return QFile::encodeName(path); }
    QString victim() const { return directory_.filePath(QStringLiteral("elsewhere/victim")); }

    static void put(const QString& path, const std::string& text)
    {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << path.toStdString();
        ASSERT_EQ(file.write(QByteArray::fromStdString(text)), static_cast<qint64>(text.size()));
    }
    static std::string read(const QString& path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll().toStdString() : "(no file)";
    }
    /// Of the name itself, not of what it may lead to.
    static mode_t modeOf(const QString& path)
    {
        struct stat status = {};
        return ::lstat(encoded(path).constData(), &status) == 0 ? status.st_mode : 0;
    }
    static mode_t rightsOf(const QString& path) { return modeOf(path) & 07777U; }
    void clear(const Place& place) const
    {
        QFile::remove(pathOf(place));
        QDir().rmdir(pathOf(place));
    }
    /// The preferences change a file that is there.
    void prepare(const Place& place) const
    {
        if (std::string(place.writer) == "preferences")
            put(pathOf(place), "{}");
    }
    int write(const Place& place) const
    {
        const std::string name = place.writer;
        const bool needsWindow = name == "preferences" || name == "text-log";
        const QString data = directory_.filePath(QStringLiteral("data"));
        const FaultRun run = runWithFault(needsWindow ? QStringLiteral("window_write_driver")
                                                      : QStringLiteral("write_driver"),
                                          {QLatin1String(place.writer), pathOf(place)}, {}, {},
                                          {QStringLiteral("ARZDATA=") + data + QLatin1Char('/'),
                                           QStringLiteral("XDG_RUNTIME_DIR=") + data});
        EXPECT_EQ(run.signal, 0) << place.writer << ": " << run.err;
        return run.status;
    }
    void link(const QString& target, const QString& name) const
    {
        ASSERT_EQ(::symlink(encoded(target).constData(), encoded(name).constData()), 0)
            << name.toStdString();
    }

    QTemporaryDir directory_;
    const mode_t mask_ = ::umask(022);
};

TEST_F(FilesOfThePrograms, GiveOthersNoMoreThanTheyNeedWhateverTheMask)
{
    struct Rights
    {
        Place place;
        mode_t withoutMask;
        mode_t usual; ///< with a mask of 022
    };
    for (const Rights& expected : {
             Rights{settings, 0600, 0600},
             Rights{configuration, 0660, 0640},
             Rights{modules, 0660, 0640},
             Rights{startupFile, 0660, 0640},
             Rights{logFile, 0640, 0640},
             Rights{sinkFile, 0640, 0640},
             // Everybody may see whether the service runs.
             Rights{pidFile, 0644, 0644},
             // What a user saves for whomever he likes is between him and his mask.
             Rights{jsonLog, 0666, 0644},
             Rights{textLog, 0666, 0644},
         }) {
        SCOPED_TRACE(expected.place.writer);
        for (const auto& [mask, rights] : {std::pair<mode_t, mode_t>{0, expected.withoutMask},
                                           std::pair<mode_t, mode_t>{022, expected.usual}}) {
            clear(expected.place);
            useMask(mask);
            EXPECT_EQ(write(expected.place), written);
            EXPECT_EQ(rightsOf(pathOf(expected.place)), rights) << "mask " << mask;
        }
    }
}

TEST_F(FilesOfThePrograms, NeedNothingThatAStrictMaskTakesAway)
{
    useMask(077);
    for (const Place& place :
         {settings, configuration, modules, startupFile, logFile, sinkFile, jsonLog, textLog}) {
        EXPECT_EQ(write(place), written) << place.writer;
        EXPECT_EQ(rightsOf(pathOf(place)), 0600U) << place.writer;
    }
    // Other users' programs look for these.
    EXPECT_EQ(write(pidFile), written);
    EXPECT_EQ(rightsOf(pathOf(pidFile)), 0644U);
}

TEST_F(FilesOfThePrograms, KeepThePermissionsThatSomebodyGaveThem)
{
    for (const Place& place : {settings, jsonLog, preferences, configuration, modules, textLog})
        for (const mode_t rights : {0600U, 0664U}) {
            clear(place);
            put(pathOf(place), place.file == configuration.file || place.file == preferences.file
                                   ? "{}"
                                   : "old\n");
            ASSERT_EQ(::chmod(encoded(pathOf(place)).constData(), rights), 0);
            EXPECT_EQ(write(place), written) << place.writer;
            EXPECT_EQ(rightsOf(pathOf(place)), rights) << place.writer;
            EXPECT_NE(read(pathOf(place)), "old\n") << place.writer;
        }
}

TEST_F(FilesOfThePrograms, FoldersOfTheServiceAreClosedToOthers)
{
    useMask(0);
    const Place folder{"folder", "made"};
    ASSERT_EQ(write(folder), written);
    for (const char* name : {"made", "made/a", "made/a/b"})
        EXPECT_EQ(rightsOf(directory_.filePath(QStringLiteral("data/")) + QLatin1String(name)),
                  0770U)
            << name;
}

TEST_F(FilesOfThePrograms, TheRecordMayBeReadByEverybodyAndWrittenByNobodyElse)
{
    const QString name = QStringLiteral("zuLogRights-%1").arg(QCoreApplication::applicationPid());
    const QString path = QStringLiteral("/dev/shm/") + name;
    for (const mode_t mask : {0U, 077U}) {
        useMask(mask);
        QFile::remove(path);
        const FaultRun run =
            runWithFault(QStringLiteral("write_driver"), {QStringLiteral("record"), path}, {}, {},
                         {QStringLiteral("ZULOG_CONNECTION_INFO=") + name});
        EXPECT_EQ(run.status, written);
        EXPECT_EQ(rightsOf(path), 0644U) << mask;
    }
    QFile::remove(path);
    // Nor is a link in its place followed.
    put(victim(), precious);
    link(victim(), path);
    const FaultRun run =
        runWithFault(QStringLiteral("write_driver"), {QStringLiteral("record"), path}, {}, {},
                     {QStringLiteral("ZULOG_CONNECTION_INFO=") + name});
    EXPECT_EQ(run.status, refused);
    EXPECT_EQ(read(victim()), precious);
    EXPECT_TRUE(S_ISLNK(modeOf(path)));
    QFile::remove(path);
}

// A user keeps his settings where he likes, and chooses where a log goes. The start-up file of a
// private service is one of a user's files too.
TEST_F(FilesOfThePrograms, LinksOfTheUsersOwnAreFollowedAndStay)
{
    for (const Place& place : {settings, jsonLog, textLog, preferences}) {
        SCOPED_TRACE(place.writer);
        clear(place);
        const std::string old = place.file == preferences.file ? "{}" : precious;
        put(victim(), old);
        link(victim(), pathOf(place));
        EXPECT_EQ(write(place), written);
        EXPECT_TRUE(S_ISLNK(modeOf(pathOf(place))));
        EXPECT_TRUE(S_ISREG(modeOf(victim())));
        EXPECT_NE(read(victim()), old);
        EXPECT_EQ(QDir(directory_.filePath(QStringLiteral("elsewhere"))).entryList(QDir::Files),
                  QStringList("victim"));
    }
}

// The service may have rights that whoever can write to its folder has not.
TEST_F(FilesOfThePrograms, LinksInThePlacesOfTheServicesOwnAreNotFollowed)
{
    for (const Place& place : {configuration, modules, logFile, sinkFile})
        for (const char* before : {"{}", "(no file)"}) {
            SCOPED_TRACE(place.writer);
            clear(place);
            QFile::remove(victim());
            if (std::string(before) != "(no file)")
                put(victim(), before);
            link(victim(), pathOf(place));
            EXPECT_EQ(write(place), refused);
            EXPECT_EQ(read(victim()), before);
            EXPECT_TRUE(S_ISLNK(modeOf(pathOf(place))));
        }
    // A start-up file that the administrator keeps elsewhere is read; where there is none, none is
    // made.
    link(victim(), pathOf(startupFile));
    put(victim(), "{}");
    EXPECT_EQ(write(startupFile), written);
    EXPECT_EQ(read(victim()), "{}");
    ASSERT_TRUE(QFile::remove(victim()));
    EXPECT_EQ(write(startupFile), refused);
    EXPECT_FALSE(QFile::exists(victim()));
    // Only the number of a process: it takes the link's place.
    put(victim(), precious);
    link(victim(), pathOf(pidFile));
    EXPECT_EQ(write(pidFile), written);
    EXPECT_EQ(read(victim()), precious);
    EXPECT_TRUE(S_ISREG(modeOf(pathOf(pidFile))));
}

TEST_F(FilesOfThePrograms, PipesAndFoldersInTheirPlacesAreRefusedWithoutWaiting)
{
    for (const Place& place :
         {settings, jsonLog, textLog, configuration, modules, logFile, sinkFile, startupFile}) {
        SCOPED_TRACE(place.writer);
        // Saving a text says nothing.
        const int failed = std::string(place.writer) == "text-log" ? written : refused;
        clear(place);
        ASSERT_EQ(::mkfifo(encoded(pathOf(place)).constData(), 0600), 0);
        EXPECT_EQ(write(place), failed);
        EXPECT_TRUE(S_ISFIFO(modeOf(pathOf(place))));

        clear(place);
        if (std::string(place.writer) == "text-log")
            continue; // the file dialog goes into a folder and asks on
        ASSERT_TRUE(QDir().mkdir(pathOf(place)));
        EXPECT_EQ(write(place), failed);
        EXPECT_TRUE(S_ISDIR(modeOf(pathOf(place))));
        clear(place);
    }
}

TEST_F(FilesOfThePrograms, AUsersLinkToAPipeIsRefusedAsThePipeIs)
{
    ASSERT_EQ(::mkfifo(encoded(victim()).constData(), 0600), 0);
    for (const Place& place : {settings, jsonLog, textLog}) {
        link(victim(), pathOf(place));
        EXPECT_EQ(write(place), std::string(place.writer) == "text-log" ? written : refused);
        EXPECT_TRUE(S_ISFIFO(modeOf(victim()))) << place.writer;
    }
}

// A second name may have been given to a file that is not meant to be written to.
TEST_F(FilesOfThePrograms, ASecondNameOfAnotherFileIsNotWrittenThrough)
{
    for (const Place& place : {settings, jsonLog, configuration, modules, logFile, sinkFile}) {
        SCOPED_TRACE(place.writer);
        QFile::remove(victim());
        put(victim(), "{}");
        ASSERT_EQ(::link(encoded(victim()).constData(), encoded(pathOf(place)).constData()), 0);
        const bool isAppended =
            place.writer == std::string("log-file") || place.writer == std::string("sink-file");
        EXPECT_EQ(write(place), isAppended ? refused : written);
        EXPECT_EQ(read(victim()), "{}");
    }
}

TEST_F(FilesOfThePrograms, WhatIsPlantedUnderTheTemporaryNameIsNotWrittenTo)
{
    for (const Place& place : {configuration, modules, startupFile}) {
        SCOPED_TRACE(place.writer);
        const QString temporary = pathOf(place) + QStringLiteral(".new");
        QFile::remove(victim());
        put(victim(), precious);

        link(victim(), temporary);
        EXPECT_EQ(write(place), refused);
        EXPECT_EQ(read(victim()), precious);
        ASSERT_TRUE(QFile::remove(temporary));

        ASSERT_EQ(::mkfifo(encoded(temporary).constData(), 0600), 0);
        EXPECT_EQ(write(place), refused);
        ASSERT_TRUE(QFile::remove(temporary));

        ASSERT_TRUE(QDir().mkdir(temporary));
        EXPECT_EQ(write(place), refused);
        ASSERT_TRUE(QDir().rmdir(temporary));

        // A second name is only a name: it is taken away.
        ASSERT_EQ(::link(encoded(victim()).constData(), encoded(temporary).constData()), 0);
        EXPECT_EQ(write(place), written);
        EXPECT_EQ(read(victim()), precious);
        EXPECT_FALSE(QFile::exists(temporary));
        EXPECT_EQ(rightsOf(pathOf(place)), 0640U);
    }
}

// Its owner could go on writing to it once it has become the program's file.
TEST_F(FilesOfThePrograms, ATemporaryFileOfAnotherUserDoesNotBecomeTheProgramsFile)
{
    constexpr uid_t somebody = 12345;
    const QString temporary = pathOf(configuration) + QStringLiteral(".new");
    put(temporary, "theirs");
    // Only root can give a file away; for others the file is their own, which is used.
    const bool isTheirs = ::chown(encoded(temporary).constData(), somebody, somebody) == 0;
    EXPECT_EQ(isTheirs, ::geteuid() == 0);
    struct stat before = {};
    ASSERT_EQ(::stat(encoded(temporary).constData(), &before), 0);
    EXPECT_EQ(write(configuration), written);
    struct stat after = {};
    ASSERT_EQ(::stat(encoded(pathOf(configuration)).constData(), &after), 0);
    EXPECT_EQ(after.st_uid, ::geteuid());
    EXPECT_NE(read(pathOf(configuration)), "theirs");
}

} // namespace
} // namespace zuLogging::test
