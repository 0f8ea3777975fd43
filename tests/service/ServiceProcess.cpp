#include "tests/service/ServiceProcess.h"

#include "logging/ConnectionInfo.h"
#include "logging/LogSvcError.h"
#include "logging/SocketAddressText.h"
#include "platform/Process.h"
#include "platform/SharedMemory.h"
#include "tests/support/TestEnvironment.h"

namespace zuLogging::test {

ServiceProcess::~ServiceProcess()
{
    if (process_.state() != QProcess::NotRunning)
        kill();
    // What a killed service left behind is taken over, unless another lives, and taken away.
    platform::SharedMemoryPublisher publisher;
    if (process_.exitStatus() == QProcess::CrashExit)
        publisher.publish(connectionInfoName(), encodeConnectionInfo(address_));
}

bool ServiceProcess::start(const QStringList& environment)
{
    QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
    for (const QString& entry : environment)
        variables.insert(entry.section(QLatin1Char('='), 0, 0), entry.section(QLatin1Char('='), 1));
    process_.setProcessEnvironment(variables);
    process_.start(programPath(QStringLiteral("zulogsvc")), QStringList());
    return isOutputElsewhere_ ? waitForRecord() : waitForReadyLine();
}

void ServiceProcess::sendOutputTo(const QString& path)
{
    process_.setStandardOutputFile(path);
    isOutputElsewhere_ = true;
}

void ServiceProcess::sendErrorsTo(const QString& path)
{
    process_.setStandardErrorFile(path);
}

bool ServiceProcess::waitForRecord()
{
    // The file with the process number is written behind the record.
    const std::string pidFile = platform::runtimeDirectory() + "/ZULogSvc.pid";
    const bool isThere = waitFor([&] {
        return platform::readPidFile(pidFile) == static_cast<std::uint64_t>(process_.processId()) ||
               process_.state() == QProcess::NotRunning;
    });
    if (!isThere || process_.state() == QProcess::NotRunning)
        return false;
    address_ = readConnectionInfo();
    return true;
}

bool ServiceProcess::waitForReadyLine()
{
    const bool spoke = waitFor(
        [this] { return process_.canReadLine() || process_.state() == QProcess::NotRunning; });
    if (!spoke || !process_.canReadLine())
        return false;
    readyLine_ = QString::fromUtf8(process_.readLine()).trimmed();
    try {
        address_ = parseSocketAddress(readyLine_.section(QLatin1Char(' '), -1).toStdString());
    } catch (const LogSvcError&) {
        return false;
    }
    return true;
}

QString ServiceProcess::outputText()
{
    return QString::fromUtf8(process_.readAllStandardOutput());
}

QString ServiceProcess::errorText()
{
    return QString::fromUtf8(process_.readAllStandardError());
}

int ServiceProcess::terminate()
{
    process_.terminate();
    return waitForEnd();
}

int ServiceProcess::interrupt()
{
    QProcess::execute(QStringLiteral("kill"),
                      {QStringLiteral("-INT"), QString::number(process_.processId())});
    return waitForEnd();
}

void ServiceProcess::kill()
{
    process_.kill();
    waitForEnd();
}

int ServiceProcess::waitForEnd()
{
    const bool ended = waitFor([this] { return process_.state() == QProcess::NotRunning; });
    return ended && process_.exitStatus() == QProcess::NormalExit ? process_.exitCode() : -1;
}

} // namespace zuLogging::test
