#include "platform/ServiceControl.h"

#include "platform/Process.h"
#include "platform/linux/FileDescriptor.h"

#include <QByteArray>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QList>
#include <QString>
#include <QVariant>

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <optional>

namespace zuLogging::platform {

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds limit = 450ms;

const auto managerService = QStringLiteral("org.freedesktop.systemd1");
const auto managerPath = QStringLiteral("/org/freedesktop/systemd1");
const auto managerInterface = QStringLiteral("org.freedesktop.systemd1.Manager");
const auto unitInterface = QStringLiteral("org.freedesktop.systemd1.Unit");
const auto propertiesInterface = QStringLiteral("org.freedesktop.DBus.Properties");

int millisecondsLeft(Clock::time_point deadline)
{
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    return static_cast<int>(std::max<long long>(left.count(), 0));
}

bool waitFor(int handle, short events, Clock::time_point deadline)
{
    pollfd polled{handle, events, 0};
    int ready = 0;
    do {
        ready = ::poll(&polled, 1, millisecondsLeft(deadline));
    } while (ready < 0 && errno == EINTR);
    return ready > 0;
}

// The socket that one entry of a bus address names: unix:path=... or unix:abstract=...
std::optional<sockaddr_un> unixSocket(const QByteArray& entry, socklen_t& length)
{
    if (!entry.startsWith("unix:"))
        return std::nullopt;
    for (const QByteArray& pair : entry.mid(5).split(',')) {
        const bool abstract = pair.startsWith("abstract=");
        if (!abstract && !pair.startsWith("path="))
            continue;
        const QByteArray name = QByteArray::fromPercentEncoding(pair.mid(pair.indexOf('=') + 1));
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        // An abstract name starts with a zero byte, a path ends with one.
        const std::size_t size = static_cast<std::size_t>(name.size());
        if (name.isEmpty() || size + 1 > sizeof address.sun_path)
            return std::nullopt;
        std::memcpy(address.sun_path + (abstract ? 1 : 0), name.constData(), size);
        length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + size + 1);
        return address;
    }
    return std::nullopt;
}

// True when somebody who speaks the bus's protocol listens there. The bus library itself gives a
// silent one 25 seconds.
bool answers(const QByteArray& entry, Clock::time_point deadline)
{
    socklen_t length = 0;
    const std::optional<sockaddr_un> address = unixSocket(entry, length);
    if (!address)
        return false;
    const FileDescriptor link(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!link || ::connect(link.get(), reinterpret_cast<const sockaddr*>(&*address), length) != 0)
        return false;

    // A zero byte, then the user's number, whose digits travel as hexadecimal text.
    const QByteArray user = QByteArray::number(static_cast<qulonglong>(::geteuid())).toHex();
    const QByteArray greeting = QByteArray(1, '\0') + "AUTH EXTERNAL " + user + "\r\n";
    if (::send(link.get(), greeting.constData(), static_cast<std::size_t>(greeting.size()),
               MSG_NOSIGNAL) != greeting.size() ||
        !waitFor(link.get(), POLLIN, deadline))
        return false;
    std::array<char, 3> reply{};
    return ::recv(link.get(), reply.data(), reply.size(), 0) ==
               static_cast<ssize_t>(reply.size()) &&
           std::memcmp(reply.data(), "OK ", reply.size()) == 0;
}

QByteArray liveBusAddress(Clock::time_point deadline)
{
    QByteArray addresses = qgetenv("DBUS_SYSTEM_BUS_ADDRESS");
    if (addresses.isEmpty())
        addresses = "unix:path=/run/dbus/system_bus_socket";
    for (const QByteArray& entry : addresses.split(';')) {
        if (answers(entry, deadline))
            return entry;
    }
    return {};
}

// One connection of our own, so that the time limits and the closing are ours too.
class SystemBus
{
public:
    explicit SystemBus(const QByteArray& address)
        : name_(uniqueName())
        , connection_(QDBusConnection::connectToBus(QString::fromLatin1(address), name_))
    {
    }
    ~SystemBus() { QDBusConnection::disconnectFromBus(name_); }
    SystemBus(const SystemBus&) = delete;
    SystemBus& operator=(const SystemBus&) = delete;

    bool isConnected() const { return connection_.isConnected(); }

    /// The first value of the answer; an invalid one when there is no answer in time, or a refusal.
    QVariant call(const QString& path, const QString& interface, const QString& method,
                  const QList<QVariant>& arguments, Clock::time_point deadline) const
    {
        QDBusMessage message =
            QDBusMessage::createMethodCall(managerService, path, interface, method);
        message.setArguments(arguments);
        // A machine without the manager must not start something in its name.
        message.setAutoStartService(false);
        const int left = millisecondsLeft(deadline);
        if (left == 0)
            return {};
        const QDBusMessage reply = connection_.call(message, QDBus::Block, left);
        if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
            return {};
        return reply.arguments().constFirst();
    }

    QString unitProperty(const QString& unit, const QString& property,
                         Clock::time_point deadline) const
    {
        const QVariant value = call(unit, propertiesInterface, QStringLiteral("Get"),
                                    {unitInterface, property}, deadline);
        return value.value<QDBusVariant>().variant().toString();
    }

private:
    static QString uniqueName()
    {
        static std::atomic<unsigned> count{0};
        return QStringLiteral("zuLogging-service-state-%1").arg(++count);
    }

    QString name_;
    QDBusConnection connection_;
};

// What the service manager says; nothing when there is none, or it does not know the service.
std::optional<bool> managerSays(const std::string& name)
{
    const Clock::time_point deadline = Clock::now() + limit;
    const QByteArray address = liveBusAddress(deadline);
    if (address.isEmpty())
        return std::nullopt;
    const SystemBus bus(address);
    if (!bus.isConnected())
        return std::nullopt;

    const QString unitName = QString::fromStdString(name) + QStringLiteral(".service");
    const QString unit =
        bus.call(managerPath, managerInterface, QStringLiteral("GetUnit"), {unitName}, deadline)
            .value<QDBusObjectPath>()
            .path();
    if (unit.isEmpty())
        return std::nullopt;
    const QString active = bus.unitProperty(unit, QStringLiteral("ActiveState"), deadline);
    if (active.isEmpty())
        return std::nullopt;
    if (active == QLatin1String("active"))
        return true;
    // The manager also lists what others only mention and it has found no file for.
    if (bus.unitProperty(unit, QStringLiteral("LoadState"), deadline) == QLatin1String("not-found"))
        return std::nullopt;
    return false;
}

bool pidFileSays(const std::string& name)
{
    const std::optional<std::uint64_t> processId =
        readPidFile(runtimeDirectory() + '/' + name + ".pid");
    return processId && isProcessAlive(*processId);
}

} // namespace

bool isServiceRunning(const std::string& name)
{
    const std::optional<bool> said = managerSays(name);
    return said ? *said : pidFileSays(name);
}

} // namespace zuLogging::platform
