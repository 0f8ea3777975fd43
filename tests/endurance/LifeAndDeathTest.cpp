// Services that die, hang, move and lie, and windows that go while something is under way.

#include "logging/ConnectionInfo.h"
#include "logging/LogSvcError.h"
#include "platform/SharedMemory.h"
#include "tests/app/MessageBoxWaiter.h"
#include "tests/endurance/EnduranceTest.h"

#include <QProcess>

#include <atomic>
#include <set>
#include <thread>

#include <signal.h>

namespace zuLogging {
namespace {

using test::MessageBoxWaiter;
using test::waitFor;

class LifeAndDeath : public test::EnduranceTest
{
protected:
    /// Messages that go on coming until this goes.
    class Traffic
    {
    public:
        explicit Traffic(int rate)
        {
            process_.start(test::programPath(QStringLiteral("zulog")),
                           {QStringLiteral("demo"), QStringLiteral("--rate"), QString::number(rate),
                            QStringLiteral("--count"), QStringLiteral("1000000")});
        }
        ~Traffic()
        {
            process_.kill();
            process_.waitForFinished();
        }

    private:
        QProcess process_;
    };
};

TEST_F(LifeAndDeath, TwoHundredStartsAndStopsLeaveNoThreadAndNoDescriptor)
{
    ASSERT_TRUE(service_.start());
    ASSERT_TRUE(openWindow());
    const Traffic traffic(2000);
    const auto round = [this] {
        startButton()->click();
        ASSERT_TRUE(isLogging());
        stop();
    };
    for (int i = 0; i < 10; ++i)
        round();
    const test::ProcessUse before = test::useOf(QCoreApplication::applicationPid());
    for (int i = 0; i < 190; ++i) {
        round();
        ASSERT_FALSE(HasFatalFailure());
    }
    const test::ProcessUse after = test::useOf(QCoreApplication::applicationPid());
    EXPECT_EQ(after.threads, before.threads);
    EXPECT_EQ(after.descriptors, before.descriptors);
    EXPECT_LT(after.residentKib - before.residentKib, 64 * 1024);
    // And none is left at the service.
    const std::optional<ServiceStatus> status = serviceStatus();
    ASSERT_TRUE(status);
    for (const ServiceStatus::Sink& sink : status->sinks)
        EXPECT_NE(sink.type, "forward");
    expectBalance();
}

TEST_F(LifeAndDeath, AServiceThatStandsStillCostsAWarningAndLaterAStartWorks)
{
    ASSERT_TRUE(service_.start());
    ASSERT_TRUE(openWindow());
    ASSERT_EQ(::kill(static_cast<pid_t>(service_.processId()), SIGSTOP), 0);
    ASSERT_TRUE(waitFor([this] { return test::isStandingStill(service_.processId()); }));
    {
        const MessageBoxWaiter waiter(QMessageBox::Ok);
        startButton()->click();
        ASSERT_TRUE(waitFor([this] { return isStopped(); }));
        ASSERT_EQ(waiter.boxes().size(), 1);
        EXPECT_EQ(
            waiter.boxes()[0].text,
            QStringLiteral("Failed to start the logging (Log client command execution failure "
                           "when communicating with the server.)"));
    }
    ASSERT_EQ(::kill(static_cast<pid_t>(service_.processId()), SIGCONT), 0);
    ASSERT_TRUE(waitFor([] { return serviceStatus().has_value(); }));
    startButton()->click();
    ASSERT_TRUE(isLogging());
    ASSERT_EQ(demo(1000, 50).status, 0);
    EXPECT_TRUE(waitFor([this] { return model().rowCount() == 50; }));
    stop();
    expectBalance();
}

TEST_F(LifeAndDeath, AServiceThatStandsStillWhileTheWindowLogsDoesNotKeepItFromStoppingOrClosing)
{
    ASSERT_TRUE(service_.start());
    ASSERT_TRUE(openWindow());
    startButton()->click();
    ASSERT_TRUE(isLogging());
    ASSERT_EQ(demo(1000, 50).status, 0);
    ASSERT_TRUE(waitFor([this] { return model().rowCount() == 50; }));
    ASSERT_EQ(::kill(static_cast<pid_t>(service_.processId()), SIGSTOP), 0);
    ASSERT_TRUE(waitFor([this] { return test::isStandingStill(service_.processId()); }));
    stop();
    EXPECT_TRUE(window_->close());
    window_.reset();
    ASSERT_EQ(::kill(static_cast<pid_t>(service_.processId()), SIGCONT), 0);
}

TEST_F(LifeAndDeath, TwoWindowsAtOnceEachGetEveryMessage)
{
    ASSERT_TRUE(service_.start());
    ASSERT_TRUE(openWindow());
    MainViewHolder second;
    createMainView(second);
    ASSERT_TRUE(second);
    window_->startLogging();
    second->startLogging();
    ASSERT_EQ(demo(2000, 5000).status, 0);
    LogTableModel& other = *second->messageView()->fullModel();
    EXPECT_TRUE(waitFor([&] { return model().rowCount() == 5000 && other.rowCount() == 5000; }))
        << model().rowCount() << " and " << other.rowCount();
    second->close();
    second.reset();
    // The first does not care.
    ASSERT_EQ(demo(2000, 100).status, 0);
    EXPECT_TRUE(waitFor([&] { return model().rowCount() == 5100; }));
    stop();
    expectBalance();
}

TEST_F(LifeAndDeath, ARecordThatIsReplacedAgainAndAgainIsReadWholeOrRefused)
{
    const std::string name = test::TestEnvironment::instance().connectionInfoName();
    const auto record = [](std::uint32_t magic, std::uint32_t address, std::uint16_t port) {
        std::vector<std::uint8_t> bytes(24, 0);
        storeU32(bytes.data(), magic);
        storeU32(bytes.data() + 4, 1);
        storeU32(bytes.data() + 8, 24);
        storeU32(bytes.data() + 12, address);
        storeU16(bytes.data() + 16, port);
        return bytes;
    };
    std::atomic<bool> over{false};
    std::thread publisher([&] {
        for (int round = 0; !over; ++round) {
            platform::SharedMemoryPublisher published;
            const std::uint32_t magic = round % 3 == 2 ? 0xBADBADBAU : 0xABABBABAU;
            const bool first = round % 2 == 0;
            published.publish(
                name, record(magic, first ? 0x7F000001U : 0x7F000002U, first ? 40001 : 40002));
        }
    });
    std::set<std::string> errors;
    int read = 0;
    // Until each of them was seen, so that the test cannot pass by having met only one.
    const bool all = waitFor(
        [&] {
            for (int i = 0; i < 200; ++i) {
                try {
                    const platform::SocketAddress address = readConnectionInfo();
                    const bool first = address == platform::SocketAddress{0x7F000001U, 40001};
                    const bool second = address == platform::SocketAddress{0x7F000002U, 40002};
                    EXPECT_TRUE(first || second) << socketAddressText(address);
                    ++read;
                } catch (const LogSvcError& error) {
                    errors.insert(error.what());
                }
            }
            return read > 2000 && errors.size() >= 2;
        },
        60000);
    over = true;
    publisher.join();
    EXPECT_TRUE(all) << read << " read, " << errors.size() << " kinds of error";
    for (const std::string& error : errors)
        EXPECT_TRUE(error.find("Failed to connect to the shared memory with connection info: ") ==
                        0 ||
                    error == "Failed to retrieve valid connection info")
            << error;
}

TEST_F(LifeAndDeath, ABrokenRecordIsToldAtTheStartAndHarmless)
{
    ASSERT_TRUE(service_.start());
    ASSERT_TRUE(openWindow());
    ASSERT_EQ(service_.terminate(), 0);
    platform::SharedMemoryPublisher published;
    ASSERT_EQ(published.publish(test::TestEnvironment::instance().connectionInfoName(),
                                std::vector<std::uint8_t>(24, 0x5A)),
              platform::SharedMemoryPublisher::Result::Published);
    const MessageBoxWaiter waiter(QMessageBox::Ok);
    startButton()->click();
    ASSERT_TRUE(waitFor([this] { return isStopped(); }));
    ASSERT_EQ(waiter.boxes().size(), 1);
    EXPECT_EQ(
        waiter.boxes()[0].text,
        QStringLiteral("Failed to start the logging (Failed to retrieve valid connection info)"));
}

/// What is under way when the window goes.
using Stage = void (*)(test::EnduranceTest&);

class WindowGoes : public LifeAndDeath, public testing::WithParamInterface<const char*>
{
};

INSTANTIATE_TEST_SUITE_P(While, WindowGoes,
                         testing::Values("logging", "replaying", "stopping", "filtering", "sorting",
                                         "loading", "idle"),
                         [](const auto& stage) { return std::string(stage.param); });

TEST_P(WindowGoes, NothingIsLeftBehind)
{
    const std::string stage = GetParam();
    ASSERT_TRUE(service_.start());
    const test::ProcessUse before = test::useOf(QCoreApplication::applicationPid());
    {
        const Traffic traffic(20000);
        for (int round = 0; round < 5; ++round) {
            ASSERT_TRUE(openWindow());
            if (stage == "replaying")
                command("Replay && start history")->trigger();
            else if (stage != "idle" && stage != "loading")
                startButton()->click();
            if (stage != "idle" && stage != "loading") {
                ASSERT_TRUE(isLogging());
                ASSERT_TRUE(waitFor([this] { return model().rowCount() > 2000; }));
            }
            if (stage == "filtering")
                store().setFilter({QStringLiteral("e")}, {}, {}, false, false);
            if (stage == "sorting")
                model().sort(11, Qt::DescendingOrder);
            if (stage == "loading") {
                const QString path = test::TestEnvironment::instance().dataDirectory() +
                                     QStringLiteral("/lines.log");
                QFile file(path);
                ASSERT_TRUE(file.open(QIODevice::WriteOnly));
                for (int line = 0; line < 20000; ++line)
                    file.write("a line\n");
                file.close();
                view().openLogFiles({path});
                ASSERT_EQ(model().rowCount(), 20000);
            }
            if (stage == "stopping")
                stopButton()->click();
            EXPECT_TRUE(window_->close());
            window_.reset();
        }
    }
    // Threads of the toolkit stay; none of ours comes on top with each window.
    EXPECT_TRUE(waitFor([&] {
        const test::ProcessUse now = test::useOf(QCoreApplication::applicationPid());
        return now.threads <= before.threads + 2 && now.descriptors <= before.descriptors + 4;
    }));
}

} // namespace
} // namespace zuLogging
