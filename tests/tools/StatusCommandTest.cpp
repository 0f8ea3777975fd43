#include "tools/StatusCommand.h"

#include "logging/ServiceStatus.h"
#include "logging/SocketAddressText.h"
#include "platform/Process.h"
#include "tests/service/ServiceProcess.h"
#include "tests/support/TestEnvironment.h"
#include "tests/tools/StandInService.h"
#include "tests/tools/ToolRun.h"

#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

#include <gtest/gtest.h>

namespace zuLogging {
namespace {

using test::isOneLine;
using test::runTool;
using test::StandInService;
using test::ToolRun;

ServiceStatus fullStatus()
{
    ServiceStatus status;
    status.version = "3.1.26";
    status.processId = 4711;
    status.uptime = ((2 * 24 + 3) * 60 + 4) * 60000 + 5999;
    status.taken = 18446744073709551615U;
    status.dropped = 12;
    status.forwarded = 16216;
    status.sinks = {{"forward", "127.0.0.1:5000", 8108, 3},
                    {"file", "/var/log/a\nb.log", 0, 0},
                    {"cout", "", 0, 0},
                    {"forward", "127.0.0.1:5001", 8105, 0}};
    status.recorders = {{8120, 10000, 5, 1000, 1}, {0, 20, 0, 0, 0}};
    status.counterSetKeys = {1, 22, 18446744073709551615U};
    status.ledger.emplace();
    (*status.ledger)[LogCount::Received] = 1030;
    (*status.ledger)[LogCount::Messages] = 1000;
    (*status.ledger)[LogCount::Requests] = 20;
    (*status.ledger)[LogCount::RefusedMagic] = 4;
    (*status.ledger)[LogCount::RefusedRequest] = 1;
    (*status.ledger)[LogCount::RefusedContainer] = 5;
    (*status.ledger)[LogCount::LostInSocket] = 18446744073709551614U;
    (*status.ledger)[LogCount::MissingNumbers] = 33;
    (*status.ledger)[LogCount::RepeatedNumbers] = 2;
    (*status.ledger)[LogCount::SinkFailed] = 6;
    status.transfers = 1;
    status.limits = {64, 8, 32};
    return status;
}

std::string endpointOf(StandInService& service)
{
    return socketAddressText(service.server().address());
}

TEST(StatusCommand, TellsEverythingThatTheServiceTells)
{
    StandInService service({{LogClientCommand::GetServiceStatus, fullStatus().toJson()}});
    const ToolRun run = runTool({"status"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.out, "endpoint:     " + endpointOf(service) +
                           "\n"
                           "process:      4711\n"
                           "version:      3.1.26\n"
                           "uptime:       2 d 03:04:05\n"
                           "messages:     18446744073709551615 taken, 12 dropped, 16216 forwarded\n"
                           "received:     1030 datagrams: 1000 messages, 20 requests, 10 refused\n"
                           "refused:      4 of no known protocol\n"
                           "refused:      1 requests that failed\n"
                           "refused:      5 messages of a wrong size\n"
                           "lost:         18446744073709551614 in the socket's buffer, 33 missing "
                           "in the senders' numbers\n"
                           "repeated:     2 messages\n"
                           "sinks failed: with 6 messages\n"
                           "forwarder:    127.0.0.1:5000, 8108 sent, 3 failed\n"
                           "forwarder:    127.0.0.1:5001, 8105 sent, 0 failed\n"
                           "sink:         file /var/log/a\\x0ab.log\n"
                           "sink:         cout\n"
                           "recorder:     8120 of 10000 messages, second kind 5 of 1000, 1 replay "
                           "under way\n"
                           "recorder:     0 of 20 messages, 0 replays under way\n"
                           "limits:       64 sinks, 8 replays, 1 of 32 transfers\n"
                           "counter sets: 3 keys\n"
                           "              1 22 18446744073709551615\n");
}

TEST(StatusCommand, AServiceWithNothingToTellHasNoForwarderAndNoRecorder)
{
    StandInService service({{LogClientCommand::GetServiceStatus, ServiceStatus().toJson()}});
    const ToolRun run = runTool({"status"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "endpoint:     " + endpointOf(service) +
                           "\n"
                           "process:      0\n"
                           "version:      \n"
                           "uptime:       00:00:00\n"
                           "messages:     0 taken, 0 dropped, 0 forwarded\n"
                           "forwarder:    none\n"
                           "recorder:     none\n"
                           "counter sets: 0 keys\n");
}

TEST(StatusCommand, ManyKeysStandInLinesOfEightyColumns)
{
    ServiceStatus status;
    for (std::uint64_t key = 1; key <= 500; ++key)
        status.counterSetKeys.push_back(key * 1000003 * 1000003);
    const StandInService service({{LogClientCommand::GetServiceStatus, status.toJson()}});
    const QStringList lines =
        QString::fromStdString(runTool({"status"}).out).split(QLatin1Char('\n'));
    QStringList keys;
    int from = lines.indexOf(QStringLiteral("counter sets: 500 keys"));
    ASSERT_GE(from, 0);
    for (const QString& line : lines.mid(from + 1)) {
        EXPECT_LE(line.size(), 80);
        EXPECT_FALSE(line.endsWith(QLatin1Char(' ')));
        keys += line.simplified().split(QLatin1Char(' '));
    }
    keys.removeAll(QString());
    ASSERT_EQ(keys.size(), 500);
    EXPECT_EQ(keys.at(499).toULongLong(), status.counterSetKeys.back());
    EXPECT_LE(lines.size(), 140);
}

QJsonObject jsonStatus()
{
    const ToolRun run = runTool({"status", "--json"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_TRUE(isOneLine(run.out)) << run.out;
    return QJsonDocument::fromJson(QByteArray::fromStdString(run.out)).object();
}

TEST(StatusCommand, AsJsonItIsTheServicesDocumentAndTheEndpoint)
{
    StandInService service({{LogClientCommand::GetServiceStatus, fullStatus().toJson()}});
    QJsonObject document = jsonStatus();
    EXPECT_EQ(document.value("endpoint").toString().toStdString(), endpointOf(service));
    EXPECT_EQ(document.value("taken").toString(), "18446744073709551615");
    EXPECT_EQ(document.value("sinks").toArray().size(), 4);
    document.remove("endpoint");
    const auto read = [](const QJsonObject& object) {
        return ServiceStatus::fromJson(QJsonDocument(object).toJson().toStdString()).toJson();
    };
    EXPECT_EQ(read(document), fullStatus().toJson());
}

TEST(StatusCommand, AsJsonAnEmptyListIsAList)
{
    const StandInService service({{LogClientCommand::GetServiceStatus, ServiceStatus().toJson()}});
    const QJsonObject document = jsonStatus();
    for (const char* name : {"sinks", "recorders", "counter_set_keys"}) {
        EXPECT_TRUE(document.value(name).isArray()) << name;
        EXPECT_TRUE(document.value(name).toArray().isEmpty()) << name;
    }
}

class PidFile
{
public:
    explicit PidFile(std::uint64_t processId)
        : file_(test::TestEnvironment::instance().runtimeDirectory() + "/ZULogSvc.pid")
    {
        EXPECT_TRUE(file_.open(QIODevice::WriteOnly));
        file_.write(QByteArray::number(static_cast<qulonglong>(processId)) + '\n');
        file_.close();
    }
    ~PidFile() { file_.remove(); }

private:
    QFile file_;
};

TEST(StatusCommand, AServiceThatTellsNothingIsToldByEndpointAndProcess)
{
    StandInService service;
    const std::string endpoint = "endpoint:     " + endpointOf(service) + '\n';
    const std::string nothing = "status:       the service tells nothing more\n";
    const ToolRun withoutFile = runTool({"status"});
    EXPECT_EQ(withoutFile.status, 0);
    EXPECT_EQ(withoutFile.out, endpoint + nothing);
    EXPECT_EQ(withoutFile.err, "");

    const PidFile file(platform::currentProcessId());
    const std::string process = std::to_string(platform::currentProcessId());
    EXPECT_EQ(runTool({"status"}).out, endpoint + "process:      " + process + '\n' + nothing);
    const QJsonObject document = jsonStatus();
    EXPECT_EQ(document.value("process").toString().toStdString(), process);
    EXPECT_EQ(document.value("endpoint").toString().toStdString(), endpointOf(service));
    EXPECT_EQ(document.size(), 2);
}

TEST(StatusCommand, ADeadProcessInTheFileIsNotTold)
{
    QProcess process;
    process.start(QStringLiteral("true"), QStringList());
    ASSERT_TRUE(process.waitForStarted());
    const auto number = static_cast<std::uint64_t>(process.processId());
    ASSERT_TRUE(process.waitForFinished());
    const PidFile file(number);
    const StandInService service;
    const ToolRun run = runTool({"status"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out.find("process"), std::string::npos);
}

TEST(StatusCommand, WithoutAServiceItIsOneLineAndStatus1)
{
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{"status"}, {"status", "--json"}}) {
        const ToolRun run = runTool(words);
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err, "zulog: no log service is running (Failed to connect to the shared "
                           "memory with connection info: Shared memory error)\n");
    }
}

TEST(StatusCommand, AServiceThatDoesNotAnswerIsTakenForDeadAfterASecond)
{
    // Published, and a socket is there, but nobody reads it.
    platform::UdpSocket socket;
    ASSERT_TRUE(socket.open() && socket.bind({platform::loopbackAddress, 0}));
    platform::SharedMemoryPublisher publisher;
    publisher.publish(connectionInfoName(), encodeConnectionInfo(socket.boundAddress().value()));
    QElapsedTimer timer;
    timer.start();
    const ToolRun run = runTool({"status"});
    EXPECT_LT(timer.elapsed(), 1500);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "zulog: no log service is running (Log client command execution failure "
                       "when communicating with the server.)\n");
}

TEST(StatusCommand, AKilledServiceIsNotRunning)
{
    test::ServiceProcess service;
    ASSERT_TRUE(service.start());
    const ToolRun alive = runTool({"status"});
    EXPECT_EQ(alive.status, 0);
    EXPECT_NE(alive.out.find("process:      " + std::to_string(service.processId()) + '\n'),
              std::string::npos)
        << alive.out;
    service.kill();
    const ToolRun run = runTool({"status"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err.find("zulog: no log service is running ("), 0U);
    EXPECT_TRUE(isOneLine(run.err));
}

TEST(StatusCommand, AStatusThatCannotBeReadIsOneLineAndStatus1)
{
    for (const std::string& json :
         {std::string(), std::string("no JSON\nat all"), std::string("[]"), std::string("{"),
          std::string("{\"taken\":\"many\"}"), std::string("{\"uptime_ms\":\"-x\"}"),
          "{\"a\":" + std::string(100000, '[') + std::string(100000, ']') + "}"}) {
        const StandInService service({{LogClientCommand::GetServiceStatus, json}});
        const ToolRun run = runTool({"status"});
        EXPECT_EQ(run.status, 1) << json.substr(0, 40);
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err.find("zulog: the status that the service sent cannot be read: "), 0U);
        EXPECT_TRUE(isOneLine(run.err)) << run.err;
    }
}

} // namespace
} // namespace zuLogging
