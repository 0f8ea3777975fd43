#include "tests/faults/FaultRun.h"

#include "tests/support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace zuLogging::test {

namespace {

QByteArray readAll(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// As execve wants it: pointers into `texts`, and a null.
std::vector<char*> pointersTo(std::vector<QByteArray>& texts)
{
    std::vector<char*> pointers;
    for (QByteArray& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

std::vector<QByteArray> environmentOf(const QStringList& added)
{
    std::vector<QByteArray> all;
    const auto isReplaced = [&added](const QByteArray& entry) {
        const int length = entry.indexOf('=') + 1;
        for (const QString& other : added)
            if (QFile::encodeName(other).left(length) == entry.left(length))
                return true;
        return false;
    };
    for (const QString& entry : added)
        all.push_back(QFile::encodeName(entry));
    for (char** entry = environ; *entry != nullptr; ++entry)
        if (!isReplaced(*entry))
            all.emplace_back(*entry);
    return all;
}

/// Waits for the end of a process up to `milliseconds`; -1: for as long as it takes.
bool waitForEnd(int pid, int milliseconds, int& status)
{
    const int handle = static_cast<int>(::syscall(SYS_pidfd_open, pid, 0));
    if (handle < 0 && milliseconds >= 0) {
        // A kernel without it: asked again at once, with the processor left to the program.
        ::sched_yield();
        return ::waitpid(pid, &status, WNOHANG) == pid;
    }
    if (handle >= 0) {
        pollfd ended{handle, POLLIN, 0};
        const int ready = ::poll(&ended, 1, milliseconds);
        ::close(handle);
        if (ready <= 0)
            return false;
    }
    return ::waitpid(pid, &status, 0) == pid;
}

} // namespace

bool Fault::kills() const
{
    return std::strncmp(mode, "kill", 4) == 0;
}

const std::vector<Fault>& everyFault()
{
    static const std::vector<Fault> all{
        {"fail", ENOSPC}, {"fail", EIO},   {"fail", EACCES},   {"once", EIO},
        {"once", EINTR},  {"short", 0, 0}, {"kill-before", 0}, {"kill-after", 0},
    };
    return all;
}

FaultRun runWithFault(const QString& program, const QStringList& arguments,
                      const QStringList& watched, const Fault& fault,
                      const QStringList& environment, const std::function<bool(int)>& whileRunning)
{
    FaultRun run;
    const QTemporaryDir own;
    const QString report = own.filePath(QStringLiteral("report"));
    const QString errors = own.filePath(QStringLiteral("errors"));
    std::vector<QByteArray> variables =
        environmentOf(QStringList(environment)
                      << QStringLiteral("LD_PRELOAD=") +
                             programPath(QStringLiteral("libfile_faults.so"))
                      << QStringLiteral("QT_QPA_PLATFORM=offscreen")
                      << QStringLiteral("FILE_FAULTS_BELOW=") + watched.join(QLatin1Char(':'))
                      << QStringLiteral("FILE_FAULTS_CALL=%1").arg(fault.call)
                      << QStringLiteral("FILE_FAULTS_MODE=") + QLatin1String(fault.mode)
                      << QStringLiteral("FILE_FAULTS_ERRNO=%1").arg(fault.code)
                      << QStringLiteral("FILE_FAULTS_REPORT=") + report);
    std::vector<QByteArray> words{QFile::encodeName(programPath(program))};
    for (const QString& word : arguments)
        words.push_back(QFile::encodeName(word));

    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    ::posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    ::posix_spawn_file_actions_addopen(&actions, 2, QFile::encodeName(errors).constData(),
                                       O_WRONLY | O_CREAT, 0600);
    pid_t pid = 0;
    const int failure = ::posix_spawn(&pid, words[0].constData(), &actions, nullptr,
                                      pointersTo(words).data(), pointersTo(variables).data());
    ::posix_spawn_file_actions_destroy(&actions);
    if (failure != 0)
        return run;

    int status = 0;
    bool hasEnded = false;
    while (whileRunning && !hasEnded && whileRunning(pid))
        hasEnded = waitForEnd(pid, 1, status);
    if (!hasEnded && !waitForEnd(pid, 60000, status)) {
        ::kill(pid, SIGKILL);
        ::waitpid(pid, &status, 0);
        run.err = "it did not end";
        return run;
    }
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    run.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    run.calls = QString::fromLatin1(readAll(report)).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    run.err = readAll(errors).toStdString();
    return run;
}

std::string describe(const Fault& fault, const FaultRun& run)
{
    return std::string(fault.mode) +
           (fault.code != 0 ? std::string(" ") + strerror(fault.code) : "") + " at call " +
           std::to_string(fault.call) + " (" + run.calls.join(QLatin1Char(' ')).toStdString() +
           "): status " + std::to_string(run.status) + ", signal " + std::to_string(run.signal) +
           ", says: " + run.err;
}

} // namespace zuLogging::test
