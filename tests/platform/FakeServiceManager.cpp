// A bus with a service manager on it, as far as a question for one unit needs them. A program of
// its own, because the bus library serves and asks on one and the same thread of a process.
//
//   fake_service_manager ACTIVE_STATE LOAD_STATE
//
// ACTIVE_STATE "unknown": the unit is not known; "silent": no call but the greeting is answered.
// Writes its bus address, then a line for each call, to standard output. Ends with its input.

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusServer>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QSocketNotifier>
#include <QTemporaryDir>

#include <unistd.h>

#include <array>
#include <cstdio>

namespace {

class Manager : public QDBusVirtualObject
{
public:
    Manager(QString activeState, QString loadState)
        : activeState_(std::move(activeState))
        , loadState_(std::move(loadState))
    {
    }

    QString introspect(const QString&) const override { return {}; }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override
    {
        const QString subject =
            message.arguments().isEmpty() ? QString() : message.arguments().constLast().toString();
        std::printf("%s %s\n", qPrintable(message.member()), qPrintable(subject));
        std::fflush(stdout);
        if (message.member() == QLatin1String("Hello"))
            return connection.send(message.createReply(QStringLiteral(":1.1")));
        if (activeState_ == QLatin1String("silent"))
            return true;
        if (message.member() == QLatin1String("GetUnit")) {
            if (activeState_ == QLatin1String("unknown"))
                return connection.send(message.createErrorReply(
                    QStringLiteral("org.freedesktop.systemd1.NoSuchUnit"), QString()));
            return connection.send(message.createReply(QVariant::fromValue(
                QDBusObjectPath(QStringLiteral("/org/freedesktop/systemd1/unit/one")))));
        }
        if (message.member() == QLatin1String("Get"))
            return connection.send(message.createReply(QVariant::fromValue(QDBusVariant(
                subject == QLatin1String("ActiveState") ? activeState_ : loadState_))));
        return false;
    }

private:
    QString activeState_;
    QString loadState_;
};

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (argc != 3)
        return 2;
    QTemporaryDir directory;
    Manager manager(QString::fromLocal8Bit(argv[1]), QString::fromLocal8Bit(argv[2]));
    QDBusServer server(QStringLiteral("unix:tmpdir=") + directory.path());
    QObject::connect(&server, &QDBusServer::newConnection, &manager,
                     [&manager](QDBusConnection connection) {
                         connection.registerVirtualObject(QStringLiteral("/"), &manager,
                                                          QDBusConnection::SubPath);
                     });
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &application, [&directory] {
        std::array<char, 64> ignored{};
        if (::read(STDIN_FILENO, ignored.data(), ignored.size()) > 0)
            return;
        // At once: the bus library, taken down with its connections open, may wait for them.
        directory.remove();
        ::_exit(0);
    });
    std::printf("%s\n", qPrintable(server.address()));
    std::fflush(stdout);
    return QCoreApplication::exec();
}
