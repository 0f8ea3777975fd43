// Every write of the programs, interrupted at every call of the system.

#include "logging/ConnectionInfo.h"
#include "logging/LogSvcError.h"
#include "tests/faults/FaultRun.h"
#include "tests/service/ServiceProcess.h"
#include "tests/support/TestEnvironment.h"

#include <QCoreApplication>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
#include <optional>
#include <signal.h>
#include <string>

namespace zuLogging::test {
namespace {

constexpr int written = 0;
constexpr int refused = 3;
constexpr int mostCalls = 400;

enum class Keeps
{
    OldOrNew,  ///< the whole old content, or the whole new one
    OldAndMore ///< what was there, and behind it the new text or a first part of it
};

struct Writer
{
    const char* name;
    const char* file; ///< below the folder that is watched
    std::optional<std::string> old;
    Keeps keeps = Keeps::OldOrNew;
    /// It says when it has failed.
    bool tells = true;
};

class EveryWrite : public ::testing::Test
{
protected:
    EveryWrite()
    {
        for (const char* folder : {"work/log", "data/Applications"})
            EXPECT_TRUE(QDir(directory_.path()).mkpath(QLatin1String(folder)));
    }

    ~EveryWrite() override { QFile::remove(record_); }

    QString work() const { return directory_.filePath(QStringLiteral("work")); }
    QString pathOf(const Writer& writer) const
    {
        return work() + QLatin1Char('/') + QLatin1String(writer.file);
    }
    static std::string read(const QString& path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll().toStdString() : "(no file)";
    }
    /// The old content, and nothing else in the folder.
    void prepare(const Writer& writer) const
    {
        for (const QString& left : files())
            EXPECT_TRUE(QFile::remove(left)) << left.toStdString();
        if (!writer.old)
            return;
        QFile file(pathOf(writer));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(QByteArray::fromStdString(*writer.old)),
                  static_cast<qint64>(writer.old->size()));
    }
    QStringList files() const
    {
        QStringList all;
        QDirIterator entries(work(), QDir::Files | QDir::System | QDir::Hidden,
                             QDirIterator::Subdirectories);
        while (entries.hasNext())
            all.append(entries.next());
        return all;
    }
    /// What lies beside the file.
    QStringList leftOver(const Writer& writer) const
    {
        QStringList all = files();
        all.removeOne(pathOf(writer));
        return all;
    }
    static bool needsWindow(const Writer& writer)
    {
        const std::string name = writer.name;
        return name == "preferences" || name == "text-log";
    }
    FaultRun run(const Writer& writer, const Fault& fault) const
    {
        const std::string name = writer.name;
        // The view saves its settings when it ends; they are not what is looked at here.
        const bool isInDataDirectory = name == "preferences" || name == "sink-file";
        return runWithFault(
            needsWindow(writer) ? QStringLiteral("window_write_driver")
                                : QStringLiteral("write_driver"),
            {QLatin1String(writer.name), pathOf(writer)}, {work()}, fault,
            {QStringLiteral("ARZDATA=") +
                 (isInDataDirectory ? work() : directory_.filePath(QStringLiteral("data"))) +
                 QLatin1Char('/'),
             QStringLiteral("XDG_RUNTIME_DIR=") + work()});
    }

    /// The new content, from a run to which nothing happens.
    std::string newContent(const Writer& writer) const
    {
        prepare(writer);
        const FaultRun plain = run(writer, {});
        EXPECT_EQ(plain.status, written) << describe({}, plain);
        EXPECT_EQ(leftOver(writer).join(QLatin1Char(' ')).toStdString(), "");
        return read(pathOf(writer));
    }

    void walk(const Writer& writer, const QStringList& mustMake)
    {
        const std::string old = writer.old ? *writer.old : "(no file)";
        const std::string fresh = newContent(writer);
        ASSERT_NE(fresh, old);
        ASSERT_NE(fresh, "(no file)");
        prepare(writer);
        const FaultRun plain = run(writer, {});
        for (const QString& call : mustMake)
            EXPECT_TRUE(plain.calls.contains(call)) << describe({}, plain);

        int strikes = 0;
        for (Fault fault : everyFault()) {
            // A window takes its time: without those that come to the same for the files as others.
            if (needsWindow(writer) && (std::string(fault.mode) == "kill-after" ||
                                        (std::string(fault.mode) == "fail" && fault.code == EIO)))
                continue;
            for (fault.call = 1;; ++fault.call) {
                ASSERT_LT(fault.call, mostCalls) << fault.mode;
                prepare(writer);
                const FaultRun run = this->run(writer, fault);
                SCOPED_TRACE(describe(fault, run));
                if (run.calls.isEmpty()) {
                    EXPECT_EQ(run.status, written);
                    EXPECT_EQ(read(pathOf(writer)), fresh);
                    break;
                }
                ++strikes;
                check(writer, fault, run, old, fresh);
                // What the system could not put on the disk is not called written.
                if (fault.call == plain.calls.indexOf(QStringLiteral("fsync")) + 1 &&
                    (fault.code == EIO || fault.code == ENOSPC)) {
                    EXPECT_EQ(run.status, refused);
                }
                if (HasFailure())
                    return;
            }
            // The calls that a plain run makes are all walked, at least.
            EXPECT_GT(fault.call, plain.calls.size()) << fault.mode;
        }
        RecordProperty("strikes", strikes);
        RecordProperty("calls", plain.calls.size());
    }

    void check(const Writer& writer, const Fault& fault, const FaultRun& run,
               const std::string& old, const std::string& fresh)
    {
        const std::string now = read(pathOf(writer));
        if (writer.keeps == Keeps::OldOrNew) {
            EXPECT_TRUE(now == old || now == fresh) << "holds " << now.substr(0, 200);
        } else {
            const std::string before = old == "(no file)" ? "" : old;
            const std::string there = now == "(no file)" ? "" : now;
            EXPECT_EQ(there.compare(0, before.size(), before), 0) << "the old text has changed";
            EXPECT_EQ(fresh.compare(0, there.size(), there), 0)
                << "no first part of the new text, " << there.size() << " bytes";
        }

        if (fault.kills()) {
            EXPECT_EQ(run.signal, SIGKILL);
            EXPECT_LE(leftOver(writer).size(), 1);
            const FaultRun again = this->run(writer, {});
            EXPECT_EQ(again.status, written) << describe({}, again);
            if (writer.keeps == Keeps::OldOrNew) {
                EXPECT_EQ(read(pathOf(writer)), fresh);
            }
            EXPECT_LE(leftOver(writer).size(), 1);
            return;
        }
        EXPECT_EQ(run.signal, 0);
        const bool struckTheClearing = run.calls.contains(QStringLiteral("unlink")) ||
                                       run.calls.contains(QStringLiteral("remove"));
        if (!struckTheClearing) {
            EXPECT_EQ(leftOver(writer).join(QLatin1Char(' ')).toStdString(), "");
        }
        if (!writer.tells) {
            EXPECT_EQ(run.status, written);
        } else if (run.status == written) {
            EXPECT_EQ(now, fresh) << "said to be written";
        } else {
            EXPECT_EQ(run.status, refused);
            if (writer.keeps == Keeps::OldOrNew) {
                EXPECT_EQ(now, old) << "said to have failed";
            }
        }
        // Neither of these is a failure.
        const QString call = run.calls.value(0);
        const bool isInterrupted = fault.code == EINTR && (call.contains(QLatin1String("write")) ||
                                                           call == QLatin1String("fsync"));
        if (std::string(fault.mode) == "short" || isInterrupted) {
            EXPECT_EQ(now, fresh);
        }
    }

    QTemporaryDir directory_;
    QString record_; ///< one in the shared memory, taken away at the end
};

const QStringList replaced{QStringLiteral("write"), QStringLiteral("fsync"),
                           QStringLiteral("rename")};

TEST_F(EveryWrite, OfTheViewsSettingsLeavesTheOldOnesOrTheNewOnes)
{
    walk({"settings", "LogDesk.xml", "<old/>"}, replaced);
}

TEST_F(EveryWrite, OfAJsonLogLeavesTheOldOneOrTheNewOne)
{
    walk({"json-log", "zulogsvc.json", std::string(300000, 'o')}, replaced);
}

TEST_F(EveryWrite, OfATextLogLeavesWhatWasThereAndAFirstPartOfTheNewText)
{
    walk({"text-log", "zulogsvc.log", "old\n", Keeps::OldAndMore, false},
         {QStringLiteral("open"), QStringLiteral("write")});
}

TEST_F(EveryWrite, OfTheServicesConfigurationLeavesTheOldOneOrTheNewOne)
{
    walk({"configuration", "LogSvcRules.json",
          R"({"parameters":{"level":"warn","destination":"logsvc"}})"},
         replaced);
}

TEST_F(EveryWrite, OfTheListOfModulesLeavesTheOldOneOrTheNewOne)
{
    walk({"modules", "LogSvcModules.txt", "old\n"}, replaced);
}

TEST_F(EveryWrite, OfTheFirstStartupFileLeavesNoneOrAWholeOne)
{
    walk({"startup-file", "LogSvcConf.json", std::nullopt}, replaced);
}

TEST_F(EveryWrite, OfThePreferencesLeavesTheOldStartupFileOrTheNewOne)
{
    walk({"preferences", "log/LogSvcConf.json",
          R"({"startup_sinks":[{"type":"record","media_size":"1"}]})"},
         replaced);
}

TEST_F(EveryWrite, OfALogFileOfTheServiceLeavesWhatWasThereAndAFirstPartOfTheNewText)
{
    walk({"log-file", "all.log", "old\n", Keeps::OldAndMore}, {QStringLiteral("write")});
}

// It is emptied when it is opened: there is no old text.
TEST_F(EveryWrite, OfAFileSinkLeavesAFirstPartOfTheNewText)
{
    walk({"sink-file", "log/all.log", std::nullopt, Keeps::OldAndMore}, {QStringLiteral("pwrite")});
}

/// The number in the file is that of the process which wrote it, so that no two runs are alike.
TEST_F(EveryWrite, OfThePidFileLeavesTheOldNumberOrTheNewOne)
{
    const Writer writer{"pid-file", "ZULogSvc.pid", "1\n"};
    for (Fault fault : everyFault()) {
        for (fault.call = 1;; ++fault.call) {
            ASSERT_LT(fault.call, mostCalls) << fault.mode;
            prepare(writer);
            int pid = 0;
            const FaultRun run = runWithFault(
                QStringLiteral("write_driver"), {QStringLiteral("pid-file"), pathOf(writer)},
                {work()}, fault, {QStringLiteral("XDG_RUNTIME_DIR=") + work()}, [&pid](int number) {
                    pid = number;
                    return false;
                });
            SCOPED_TRACE(describe(fault, run));
            const std::string now = read(pathOf(writer));
            const std::string fresh = std::to_string(pid) + "\n";
            if (run.calls.isEmpty()) {
                EXPECT_EQ(run.status, written);
                EXPECT_EQ(now, fresh);
                break;
            }
            if (fault.kills()) {
                EXPECT_TRUE(now == fresh || now == "1\n") << now;
                EXPECT_LE(leftOver(writer).size(), 1);
                EXPECT_EQ(this->run(writer, {}).status, written);
            } else {
                EXPECT_EQ(now, run.status == written ? fresh : "1\n");
                EXPECT_EQ(leftOver(writer).join(QLatin1Char(' ')).toStdString(), "");
            }
            ASSERT_FALSE(HasFailure());
        }
        EXPECT_GE(fault.call, 5) << fault.mode;
    }
}

/// Where the record leads: an address, or nothing for one that no reader takes.
std::optional<platform::SocketAddress> published(const std::string& name)
{
    try {
        return readConnectionInfo(name);
    } catch (const LogSvcError&) {
        return std::nullopt;
    }
}

TEST_F(EveryWrite, OfTheRecordNeverLetsAReaderTakeHalfOfIt)
{
    const std::string name = "zuLogFaults-" + std::to_string(QCoreApplication::applicationPid());
    const QString path = QStringLiteral("/dev/shm/") + QString::fromStdString(name);
    record_ = path;
    const platform::SocketAddress oldAddress{platform::loopbackAddress, 0xFFFF};
    const platform::SocketAddress newAddress{platform::loopbackAddress, 4711};
    const QStringList environment{QStringLiteral("ZULOG_CONNECTION_INFO=") +
                                  QString::fromStdString(name)};
    const QStringList arguments{QStringLiteral("record"), QStringLiteral("-")};
    for (Fault fault : everyFault()) {
        for (fault.call = 1;; ++fault.call) {
            ASSERT_LT(fault.call, mostCalls) << fault.mode;
            {
                // What a killed service has left.
                const std::vector<std::uint8_t> bytes = encodeConnectionInfo(oldAddress);
                QFile left(path);
                ASSERT_TRUE(left.open(QIODevice::WriteOnly));
                left.write(reinterpret_cast<const char*>(bytes.data()),
                           static_cast<qint64>(bytes.size()));
            }
            const FaultRun run =
                runWithFault(QStringLiteral("write_driver"), arguments, {path}, fault, environment);
            SCOPED_TRACE(describe(fault, run));
            const std::optional<platform::SocketAddress> now = published(name);
            if (run.calls.isEmpty()) {
                EXPECT_EQ(run.status, written);
                EXPECT_EQ(now, newAddress);
                break;
            }
            EXPECT_TRUE(!now || *now == oldAddress || *now == newAddress) << now->port;
            if (fault.kills()) {
                const FaultRun again =
                    runWithFault(QStringLiteral("write_driver"), arguments, {}, {}, environment);
                EXPECT_EQ(again.status, written) << describe({}, again);
                EXPECT_EQ(published(name), newAddress);
            } else if (run.status == written) {
                EXPECT_EQ(now, newAddress);
            } else {
                EXPECT_EQ(run.status, refused);
                EXPECT_NE(now, newAddress);
            }
            ASSERT_FALSE(HasFailure());
        }
        // Twice: emptied, made long enough, and written in two pieces.
        EXPECT_GT(fault.call, 10) << fault.mode;
    }
}

/// The program itself, from its start until it is asked to end.
TEST_F(EveryWrite, OfAStartingServiceLeavesWholeFilesAndANextStartThatWorks)
{
    const std::string name = "zuLogFaultsS-" + std::to_string(QCoreApplication::applicationPid());
    const QString record = QStringLiteral("/dev/shm/") + QString::fromStdString(name);
    record_ = record;
    const Writer startupFile{"", "log/LogSvcConf.json", std::nullopt};
    // A record may be one that was left; the file with the number may be what fails.
    const auto isUp = [&](int pid, const Fault& fault) {
        return fault.call != 0
                   ? published(name).has_value()
                   : read(work() + QStringLiteral("/ZULogSvc.pid")) == std::to_string(pid) + "\n";
    };
    const auto serve = [&](const Fault& fault) {
        return runWithFault(
            QStringLiteral("zulogsvc"), {}, {work(), record}, fault,
            {QStringLiteral("ARZDATA=") + work() + QLatin1Char('/'),
             QStringLiteral("XDG_RUNTIME_DIR=") + work(),
             QStringLiteral("ZULOG_CONNECTION_INFO=") + QString::fromStdString(name)},
            [&](int pid) {
                if (!isUp(pid, fault))
                    return true;
                ::kill(pid, SIGTERM);
                return false;
            });
    };
    const auto clear = [&] {
        prepare(startupFile);
        QDir(work() + QStringLiteral("/log")).removeRecursively();
        QFile::remove(record);
    };
    clear();
    const FaultRun plain = serve({});
    ASSERT_EQ(plain.status, 0) << plain.err;
    const std::string fresh = read(pathOf(startupFile));
    for (const char* call : {"mkdir", "shm_open", "pwrite", "write", "fsync", "rename", "mkostemp"})
        EXPECT_TRUE(plain.calls.contains(QLatin1String(call))) << describe({}, plain);
    EXPECT_EQ(leftOver(startupFile).join(QLatin1Char(' ')).toStdString(), "");
    EXPECT_FALSE(QFile::exists(record));

    for (Fault fault : {Fault{"fail", EIO}, Fault{"once", ENOSPC}, Fault{"kill-after", 0}}) {
        for (fault.call = 1;; ++fault.call) {
            ASSERT_LT(fault.call, mostCalls);
            clear();
            const FaultRun run = serve(fault);
            SCOPED_TRACE(describe(fault, run));
            const std::string now = read(pathOf(startupFile));
            if (run.calls.isEmpty()) {
                EXPECT_EQ(run.status, 0);
                break;
            }
            EXPECT_TRUE(now == fresh || now == "(no file)") << now;
            if (fault.kills()) {
                EXPECT_EQ(run.signal, SIGKILL);
            } else {
                // It ends with an error, or runs and says what it had to go without.
                EXPECT_EQ(run.signal, 0);
                EXPECT_TRUE(run.status == 0 || (run.status == 1 && !run.err.empty()));
                EXPECT_TRUE(now == fresh || !run.err.empty());
                const QString call = run.calls.value(0);
                if (call != QLatin1String("unlink") && call != QLatin1String("remove")) {
                    // One with the number of a process that has ended says nothing wrong.
                    QStringList left = leftOver(startupFile);
                    left.removeOne(work() + QStringLiteral("/ZULogSvc.pid"));
                    EXPECT_EQ(left.join(QLatin1Char(' ')).toStdString(), "");
                }
            }
            const FaultRun again = serve({});
            EXPECT_EQ(again.status, 0) << describe({}, again);
            EXPECT_EQ(read(pathOf(startupFile)), fresh);
            ASSERT_FALSE(HasFailure());
        }
        EXPECT_GE(fault.call, plain.calls.size()) << fault.mode;
    }
}

TEST_F(EveryWrite, OfAConfigurationThatZulogGetsLeavesTheOldFileOrTheNewOne)
{
    ServiceProcess service;
    ASSERT_TRUE(service.start());
    const QString path = work() + QStringLiteral("/rules.json");
    const Writer writer{"", "rules.json", "old"};
    const auto get = [&](const Fault& fault) {
        return runWithFault(QStringLiteral("zulog"),
                            {QStringLiteral("config"), QStringLiteral("get"), path}, {work()},
                            fault);
    };
    prepare(writer);
    const FaultRun plain = get({});
    ASSERT_EQ(plain.status, 0) << plain.err;
    const std::string fresh = read(path);
    ASSERT_NE(fresh, "old");
    for (const QString& call : replaced)
        EXPECT_TRUE(plain.calls.contains(call));
    for (Fault fault : everyFault()) {
        for (fault.call = 1;; ++fault.call) {
            ASSERT_LT(fault.call, mostCalls);
            prepare(writer);
            const FaultRun run = get(fault);
            SCOPED_TRACE(describe(fault, run));
            const std::string now = read(path);
            if (run.calls.isEmpty()) {
                EXPECT_EQ(run.status, 0);
                EXPECT_EQ(now, fresh);
                break;
            }
            if (fault.kills()) {
                EXPECT_TRUE(now == "old" || now == fresh) << now;
                EXPECT_EQ(get({}).status, 0);
                EXPECT_EQ(read(path), fresh);
            } else {
                EXPECT_EQ(now, run.status == 0 ? fresh : "old");
                EXPECT_EQ(run.err.empty(), run.status == 0);
                EXPECT_EQ(leftOver(writer).join(QLatin1Char(' ')).toStdString(), "");
            }
            ASSERT_FALSE(HasFailure());
        }
        EXPECT_GT(fault.call, plain.calls.size());
    }
    EXPECT_EQ(service.terminate(), 0);
}

} // namespace
} // namespace zuLogging::test
