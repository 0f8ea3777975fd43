#include "benchmarks/ServiceProgram.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QThread>

namespace zuLogging::benchmarks {

ServiceProgram::ServiceProgram()
{
    const QDir folder(folder_.path());
    folder.mkpath(QStringLiteral("data/Applications"));
    folder.mkpath(QStringLiteral("data/log"));
    folder.mkpath(QStringLiteral("run"));
    qputenv("ARZDATA", folder.filePath(QStringLiteral("data")).toLocal8Bit());
    qputenv("XDG_RUNTIME_DIR", folder.filePath(QStringLiteral("run")).toLocal8Bit());
    qputenv("ZULOG_CONNECTION_INFO",
            "zuLogBenchmark-" + QByteArray::number(QCoreApplication::applicationPid()));
    process_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process_.setStandardOutputFile(QProcess::nullDevice());
    process_.start(path(QStringLiteral("zulogsvc")), QStringList());
    QElapsedTimer clock;
    clock.start();
    while (!running_ && clock.elapsed() < 20000 && process_.state() != QProcess::NotRunning) {
        QProcess sender;
        sender.setStandardErrorFile(QProcess::nullDevice());
        sender.start(path(QStringLiteral("zulog")),
                     {QStringLiteral("send"), QStringLiteral("The service answers")});
        running_ = sender.waitForFinished(5000) && sender.exitCode() == 0;
        if (!running_)
            QThread::msleep(20);
    }
}

ServiceProgram::~ServiceProgram()
{
    process_.terminate();
    if (!process_.waitForFinished(5000)) {
        process_.kill();
        process_.waitForFinished(5000);
    }
}

QString ServiceProgram::path(const QString& name)
{
    return QDir(QCoreApplication::applicationDirPath()).filePath(name);
}

} // namespace zuLogging::benchmarks
