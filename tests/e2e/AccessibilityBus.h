#pragma once

#include "tests/support/TestEnvironment.h"

#include <QDBusConnection>

#include <QDBusMessage>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>

#include <csignal>
#include <sys/types.h>

namespace zuLogging::test {

/// A session bus of the test's own with the accessibility bus beside it, as a desktop has them. All
/// that it starts, and what the buses start in turn, ends with the object at the latest.
class AccessibilityBus
{
public:
    /// `display`: of the X server on which the programs are shown. It has to keep what is on its
    /// root, as VirtualDisplay does.
    explicit AccessibilityBus(const QString& display)
        : environment_(QProcessEnvironment::systemEnvironment())
    {
        // By which the bus' children are known again.
        environment_.insert(mark(), QString::fromStdString(connectionName()));
        environment_.insert(QStringLiteral("DISPLAY"), display);
        bus_.setProcessEnvironment(environment_);
        bus_.start(QStringLiteral("dbus-daemon"),
                   {QStringLiteral("--session"), QStringLiteral("--nofork"),
                    QStringLiteral("--print-address")});
        if (waitFor([this] { return bus_.canReadLine(); }))
            session_ = QString::fromLocal8Bit(bus_.readLine()).trimmed();
        environment_.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), session_);
    }

    /// Has the session bus start the accessibility bus, which then writes its address on the
    /// display's root as well: there Qt 5 finds it before it puts its objects anywhere, while what
    /// it asks the session bus is answered too late for that. False where there is none.
    bool open()
    {
        const QDBusConnection connection = QDBusConnection::connectToBus(session_, sessionName());
        const QDBusMessage reply = connection.call(QDBusMessage::createMethodCall(
            QStringLiteral("org.a11y.Bus"), QStringLiteral("/org/a11y/bus"),
            QStringLiteral("org.a11y.Bus"), QStringLiteral("GetAddress")));
        address_ = reply.arguments().value(0).toString();
        error_ = reply.errorMessage();
        return !address_.isEmpty();
    }

    ~AccessibilityBus()
    {
        QDBusConnection::disconnectFromBus(sessionName());
        bus_.terminate();
        if (!bus_.waitForFinished(5000)) {
            bus_.kill();
            bus_.waitForFinished(5000);
        }
        // The accessibility bus and its registry end with it; where they do not, they are ended.
        if (!waitFor([] { return children().isEmpty(); }, 3000))
            for (const pid_t child : children())
                ::kill(child, SIGKILL);
    }

    AccessibilityBus(const AccessibilityBus&) = delete;
    AccessibilityBus& operator=(const AccessibilityBus&) = delete;

    /// Of the accessibility bus; empty when there is none.
    const QString& address() const { return address_; }
    const QString& error() const { return error_; }
    /// For programs that are to be seen on the bus.
    const QProcessEnvironment& environment() const { return environment_; }

    /// The processes that the buses have started and that still run.
    static QList<pid_t> children()
    {
        const QByteArray wanted =
            mark().toLatin1() + '=' + QByteArray::fromStdString(connectionName());
        QList<pid_t> found;
        const QStringList processes = QDir(QStringLiteral("/proc")).entryList(QDir::Dirs);
        for (const QString& process : processes) {
            bool isNumber = false;
            const pid_t id = process.toInt(&isNumber);
            QFile variables(QStringLiteral("/proc/%1/environ").arg(process));
            if (isNumber && variables.open(QIODevice::ReadOnly) &&
                variables.readAll().split('\0').contains(wanted))
                found << id;
        }
        return found;
    }

private:
    static QString mark() { return QStringLiteral("LOGDESK_ACCESSIBILITY_TEST"); }
    static std::string connectionName() { return TestEnvironment::instance().connectionInfoName(); }

    static QString sessionName() { return QStringLiteral("accessibility-test-session"); }

    QProcessEnvironment environment_;
    QProcess bus_;
    QString session_;
    QString address_;
    QString error_;
};

} // namespace zuLogging::test
