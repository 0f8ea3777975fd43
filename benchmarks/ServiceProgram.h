#pragma once

#include <QProcess>
#include <QString>
#include <QTemporaryDir>

namespace zuLogging::benchmarks {

/// The real log service, as a program of its own, under a connection-info name and with folders
/// that only this process and those that it starts know.
class ServiceProgram
{
public:
    ServiceProgram();
    ~ServiceProgram();

    /// It answers.
    bool isRunning() const { return running_; }

    /// The program of that name beside this one.
    static QString path(const QString& name);

private:
    QTemporaryDir folder_;
    QProcess process_;
    bool running_ = false;
};

} // namespace zuLogging::benchmarks
