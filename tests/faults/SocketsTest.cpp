// Every socket of the programs that can receive anything does so on 127.0.0.1 only.

#include <zulog/Logger.h>

#include "logging/LogClient.h"
#include "tests/e2e/WindowTest.h"
#include "tests/service/RunningService.h"
#include "tests/service/ServiceProcess.h"
#include "tests/support/FakeLogServer.h"
#include "tests/support/TestEnvironment.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <set>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

namespace zuLogging::test {
namespace {

/// The inode numbers of a process's sockets.
std::set<QString> socketsOf(qint64 process)
{
    std::set<QString> inodes;
    const QString folder = QStringLiteral("/proc/%1/fd/").arg(process);
    for (const QString& entry : QDir(folder).entryList(QDir::System | QDir::Files)) {
        char target[64];
        const ssize_t length =
            ::readlink(QFile::encodeName(folder + entry).constData(), target, sizeof target);
        const QString text =
            QString::fromLatin1(target, static_cast<int>(std::max<ssize_t>(length, 0)));
        if (text.startsWith(QLatin1String("socket:[")))
            inodes.insert(text.mid(8).chopped(1));
    }
    return inodes;
}

struct Bound
{
    QStringList loopback;  ///< addresses as the system's tables have them
    QStringList elsewhere; ///< with the name of the table in front
};

/// The process's bound sockets of the internet families, and its raw and packet sockets.
Bound boundSocketsOf(qint64 process)
{
    Bound bound;
    const std::set<QString> own = socketsOf(process);
    for (const char* table : {"udp", "udp6", "udplite", "udplite6", "tcp", "tcp6", "raw", "raw6",
                              "icmp", "icmp6", "packet"}) {
        QFile file(QStringLiteral("/proc/%1/net/%2").arg(process).arg(QLatin1String(table)));
        if (!file.open(QIODevice::ReadOnly))
            continue; // a family that this system does not have
        const QStringList lines = QString::fromLatin1(file.readAll()).split(QLatin1Char('\n'));
        const bool isPackets = std::string(table) == "packet";
        for (const QString& line : lines.mid(1)) {
            const QStringList fields = line.simplified().split(QLatin1Char(' '));
            if (fields.size() < 9)
                continue;
            // The columns of a table of connections: number, local address, remote one, state,
            // queues, timers, retries, user, time-out, inode.
            const QString inode = isPackets ? fields.last() : fields.value(9);
            if (own.count(inode) == 0)
                continue;
            const QString local = fields.value(1);
            if (!isPackets && local.startsWith(QLatin1String("0100007F:")))
                bound.loopback.append(local);
            else
                bound.elsewhere.append(QLatin1String(table) + QLatin1Char(' ') + local);
        }
    }
    return bound;
}

/// One message, by the command line.
bool sendOne()
{
    return runProgram(QStringLiteral("zulog"), {QStringLiteral("send"), QStringLiteral("text")})
               .status == 0;
}

std::string join(const QStringList& list)
{
    return list.join(QStringLiteral(", ")).toStdString();
}

#define EXPECT_ON_LOOPBACK_ONLY(process, atLeast)                                                  \
    do {                                                                                           \
        const Bound found = boundSocketsOf(process);                                               \
        EXPECT_EQ(join(found.elsewhere), "");                                                      \
        EXPECT_GE(found.loopback.size(), atLeast) << join(found.loopback);                         \
    } while (false)

TEST(Sockets, OneThatIsOpenToEveryNetworkWouldBeSeen)
{
    const int handle = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    ASSERT_GE(handle, 0);
    const QStringList before = boundSocketsOf(QCoreApplication::applicationPid()).elsewhere;
    // As the first send of an unbound socket does.
    sockaddr_in somewhere{};
    somewhere.sin_family = AF_INET;
    somewhere.sin_port = htons(9);
    somewhere.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ASSERT_EQ(
        ::sendto(handle, "", 0, 0, reinterpret_cast<const sockaddr*>(&somewhere), sizeof somewhere),
        0);
    const QStringList after = boundSocketsOf(QCoreApplication::applicationPid()).elsewhere;
    EXPECT_EQ(after.size(), before.size() + 1) << join(after);
    ::close(handle);
}

TEST(Sockets, AClientOfTheServiceIsReachedOnTheLoopbackOnly)
{
    FakeLogServer server([](FakeLogServer& self, const FakeLogServer::Request& request) {
        self.acknowledge(request);
    });
    LogClient client(server.address());
    client.command(makeRequest(
        magicLogMessage, static_cast<std::uint16_t>(LogMessageCommand::NoOperation), nullptr, 0));
    // The client's and the server's.
    EXPECT_ON_LOOPBACK_ONLY(QCoreApplication::applicationPid(), 2);
}

TEST(Sockets, AProgramWithTheClientLibraryIsReachedOnTheLoopbackOnly)
{
    const RunningService service;
    zulog::Logger log("Sockets", "test");
    log.info("sent, so that the socket has an address");
    ASSERT_TRUE(zulog::flush(std::chrono::seconds(20)));
    // The library's and the service's.
    EXPECT_ON_LOOPBACK_ONLY(QCoreApplication::applicationPid(), 2);
}

TEST(Sockets, TheServiceAndZulogTailListenOnTheLoopbackOnly)
{
    ServiceProcess service;
    ASSERT_TRUE(service.start());
    EXPECT_ON_LOOPBACK_ONLY(service.processId(), 1);

    QProcess tail;
    tail.start(programPath(QStringLiteral("zulog")), {QStringLiteral("tail")});
    ASSERT_TRUE(tail.waitForStarted());
    // Subscribed: a forwarder to it has joined the service's own socket. Its socket is bound, too.
    ASSERT_TRUE(waitFor([&] {
        return boundSocketsOf(service.processId()).loopback.size() > 1 ||
               !boundSocketsOf(service.processId()).elsewhere.isEmpty();
    }));
    ASSERT_TRUE(sendOne());
    ASSERT_TRUE(waitFor([&] { return tail.bytesAvailable() > 0; }));
    EXPECT_ON_LOOPBACK_ONLY(service.processId(), 2);
    // The one for messages, and the one that asks the service whether it still forwards.
    EXPECT_ON_LOOPBACK_ONLY(tail.processId(), 2);
    tail.terminate();
    EXPECT_TRUE(tail.waitForFinished());
    EXPECT_EQ(service.terminate(), 0);
}

class SocketsOfTheWindow : public WindowTest
{
};

TEST_F(SocketsOfTheWindow, AreOnTheLoopbackOnlyWhileItLogs)
{
    ServiceProcess service;
    ASSERT_TRUE(service.start());
    ASSERT_TRUE(openWindow());
    const int before = boundSocketsOf(QCoreApplication::applicationPid()).loopback.size();
    startButton()->click();
    ASSERT_TRUE(waitFor([this] { return isLogging(); }));
    ASSERT_TRUE(sendOne());
    ASSERT_TRUE(waitFor([this] { return model().rowCount() > 0; }));
    EXPECT_ON_LOOPBACK_ONLY(QCoreApplication::applicationPid(), before + 1);
    EXPECT_ON_LOOPBACK_ONLY(service.processId(), 2);
    stopButton()->click();
    ASSERT_TRUE(waitFor([this] { return isStopped(); }));
    window_.reset();
    EXPECT_EQ(service.terminate(), 0);
}

} // namespace
} // namespace zuLogging::test
