#include "platform/ServiceControl.h"

#include "platform/Process.h"
#include "tests/support/TestEnvironment.h"

#include <QByteArray>
#include <QFile>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <string>

namespace {

using namespace zuLogging::platform;
using zuLogging::test::waitFor;

const std::string service = "ZULogSvc";

// A bus with a service manager on it, in a process of its own.
class FakeManager
{
public:
    explicit FakeManager(const QString& activeState,
                         const QString& loadState = QStringLiteral("loaded"))
    {
        process_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process_.start(zuLogging::test::programPath(QStringLiteral("fake_service_manager")),
                       {activeState, loadState});
        EXPECT_TRUE(waitFor([this] { return process_.canReadLine(); }));
        address_ = process_.readLine().trimmed();
    }
    ~FakeManager()
    {
        process_.closeWriteChannel();
        EXPECT_TRUE(process_.waitForFinished());
    }
    FakeManager(const FakeManager&) = delete;
    FakeManager& operator=(const FakeManager&) = delete;

    const QByteArray& address() const { return address_; }

    /// Waits until a line with `call` has been written.
    bool wasAsked(const QByteArray& call)
    {
        return waitFor([&] {
            while (process_.canReadLine())
                calls_ += process_.readLine();
            return calls_.contains(call);
        });
    }

private:
    QProcess process_;
    QByteArray address_;
    QByteArray calls_;
};

class ServiceControl : public ::testing::Test
{
protected:
    void SetUp() override { setBus("unix:path=/nowhere/at/all"); }
    void TearDown() override
    {
        QFile::remove(pidFile());
        qunsetenv("DBUS_SYSTEM_BUS_ADDRESS");
    }

    static QString pidFile()
    {
        return QString::fromStdString(runtimeDirectory() + "/" + service + ".pid");
    }
    static void setBus(const QByteArray& address) { qputenv("DBUS_SYSTEM_BUS_ADDRESS", address); }
    static void writePidFileWith(const QByteArray& contents)
    {
        QFile file(pidFile());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(contents), contents.size());
    }
    static void writeOwnPidFile()
    {
        std::string error;
        ASSERT_TRUE(writePidFile(pidFile().toStdString(), error)) << error;
    }

    // Where only the manager can give the answer: on a machine that is too busy for it to answer
    // within the limit, the question is asked again.
    static bool becomes(bool running)
    {
        return waitFor([running] { return isServiceRunning(service) == running; });
    }
};

TEST_F(ServiceControl, WithoutABusThePidFileOfALivingProcessMeansRunning)
{
    EXPECT_FALSE(isServiceRunning(service));
    writeOwnPidFile();
    EXPECT_TRUE(isServiceRunning(service));
    EXPECT_FALSE(isServiceRunning("AnotherService"));
}

TEST_F(ServiceControl, AStalePidFileMeansNotRunning)
{
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0)
        ::_exit(0);
    ASSERT_EQ(::waitpid(child, nullptr, 0), child);
    writePidFileWith(QByteArray::number(static_cast<int>(child)) + "\n");
    EXPECT_FALSE(isServiceRunning(service));
}

TEST_F(ServiceControl, AGarbagePidFileMeansNotRunning)
{
    for (const char* contents : {"", "0", "-1", "abc", "1 2", "99999999999999999999"}) {
        writePidFileWith(contents);
        EXPECT_FALSE(isServiceRunning(service)) << contents;
    }
}

TEST_F(ServiceControl, ABusAddressThatIsNoneMeansNoBus)
{
    writeOwnPidFile();
    for (const char* address : {"garbage", "unix:", "unix:path=", ";;", "tcp:host=127.0.0.1,port=1",
                                "unix:abstract=nobody-listens-here"}) {
        setBus(address);
        EXPECT_TRUE(isServiceRunning(service)) << address;
    }
    setBus("unix:path=/" + QByteArray(10000, 'x'));
    EXPECT_TRUE(isServiceRunning(service));
}

TEST_F(ServiceControl, ABusThatNeverAnswersCostsHalfASecondAndThePidFileDecides)
{
    QTemporaryDir directory;
    const QByteArray path = directory.filePath(QStringLiteral("bus")).toLocal8Bit();
    const int listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    ASSERT_LT(static_cast<std::size_t>(path.size()), sizeof address.sun_path);
    std::memcpy(address.sun_path, path.constData(), static_cast<std::size_t>(path.size()));
    ASSERT_EQ(::bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::listen(listener, 5), 0);
    setBus("unix:path=" + path);
    writeOwnPidFile();

    const auto before = std::chrono::steady_clock::now();
    EXPECT_TRUE(isServiceRunning(service));
    // A silent bus would otherwise cost 25 seconds.
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(5));
    ::close(listener);
}

TEST_F(ServiceControl, AnActiveUnitMeansRunningWhateverThePidFileSays)
{
    FakeManager manager(QStringLiteral("active"));
    setBus(manager.address());
    EXPECT_TRUE(becomes(true));
    EXPECT_TRUE(manager.wasAsked("GetUnit ZULogSvc.service\n"));
}

TEST_F(ServiceControl, AUnitThatIsNotActiveMeansNotRunningWhateverThePidFileSays)
{
    writeOwnPidFile();
    for (const char* state : {"inactive", "failed", "activating"}) {
        FakeManager manager(QString::fromLatin1(state));
        setBus(manager.address());
        EXPECT_TRUE(becomes(false)) << state;
    }
}

TEST_F(ServiceControl, TheFirstBusOfAListThatAnswersIsAsked)
{
    FakeManager manager(QStringLiteral("active"));
    setBus("unix:path=/nowhere;" + manager.address());
    EXPECT_TRUE(becomes(true));
}

TEST_F(ServiceControl, WhereTheManagerDoesNotKnowTheUnitThePidFileDecides)
{
    FakeManager manager(QStringLiteral("unknown"));
    setBus(manager.address());
    EXPECT_FALSE(isServiceRunning(service));
    writeOwnPidFile();
    EXPECT_TRUE(isServiceRunning(service));
    EXPECT_TRUE(manager.wasAsked("GetUnit ZULogSvc.service\n"));
}

TEST_F(ServiceControl, WhereTheManagerFoundNoFileForTheUnitThePidFileDecides)
{
    FakeManager manager(QStringLiteral("inactive"), QStringLiteral("not-found"));
    setBus(manager.address());
    EXPECT_FALSE(isServiceRunning(service));
    writeOwnPidFile();
    EXPECT_TRUE(isServiceRunning(service));
    EXPECT_TRUE(manager.wasAsked("Get LoadState\n"));
}

TEST_F(ServiceControl, AManagerThatNeverAnswersCostsHalfASecondAndThePidFileDecides)
{
    FakeManager manager(QStringLiteral("silent"));
    setBus(manager.address());
    writeOwnPidFile();
    const auto before = std::chrono::steady_clock::now();
    EXPECT_TRUE(isServiceRunning(service));
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(5));
    EXPECT_TRUE(manager.wasAsked("GetUnit ZULogSvc.service\n"));
}

} // namespace
