#pragma once

#include "platform/Udp.h"

#include <QProcess>
#include <QString>

namespace zuLogging::test {

/// The built program zulogsvc as a child of the test, under the test's private names. Killed, at
/// the latest, by the destructor.
class ServiceProcess
{
public:
    ServiceProcess() = default;
    ~ServiceProcess();

    /// To be called before `start`: its standard output or error goes to a file, a named pipe or a
    /// terminal, and `outputText` or `errorText` stay empty.
    void sendOutputTo(const QString& path);
    void sendErrorsTo(const QString& path);

    /// True once the program has said that it is ready, or shows it otherwise. `environment`:
    /// NAME=VALUE.
    bool start(const QStringList& environment = {});

    /// From its ready line.
    platform::SocketAddress address() const { return address_; }
    qint64 processId() const { return process_.processId(); }
    QString readyLine() const { return readyLine_; }
    /// What it wrote behind its ready line since the last call.
    QString outputText();
    QString errorText();

    /// SIGTERM, and waits for the end. The exit status; -1 when it did not end, or not by itself.
    int terminate();
    /// The same with SIGINT.
    int interrupt();
    /// SIGKILL, and waits for the end.
    void kill();

private:
    bool waitForReadyLine();
    bool waitForRecord();
    int waitForEnd();

    QProcess process_;
    bool isOutputElsewhere_ = false;
    QString readyLine_;
    platform::SocketAddress address_;
};

} // namespace zuLogging::test
