#include "tools/StatusCommand.h"

#include "logging/ConnectionInfo.h"
#include "logging/LogClient.h"
#include "logging/LogSvcError.h"
#include "logging/ServiceStatus.h"
#include "logging/SocketAddressText.h"
#include "platform/Process.h"
#include "tools/CommandOptions.h"
#include "tools/EscapedText.h"

#include <QByteArray>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <boost/property_tree/exceptions.hpp>

#include <iomanip>
#include <optional>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <string_view>

namespace zuLogging {

namespace {

namespace po = boost::program_options;

constexpr int labelWidth = 14;
constexpr std::size_t lineWidth = 80;

/// Throws LogSvcError unless something comes back from the service, whatever it is.
void requireLife(LogClient& client)
{
    const Packet request = makeRequest(
        magicLogMessage, static_cast<std::uint16_t>(LogMessageCommand::NoOperation), nullptr, 0);
    Packet reply;
    client.execute(request, reply);
}

/// Nothing when the service lives but does not tell. Throws LogSvcError when it does not live.
std::optional<ServiceStatus> askForStatus(LogClient& client)
{
    requireLife(client);
    std::string json;
    try {
        json = client.download(LogClientCommand::GetServiceStatus);
    } catch (const LogSvcError&) {
        requireLife(client);
        return std::nullopt;
    }
    try {
        return ServiceStatus::fromJson(json);
    } catch (const boost::property_tree::ptree_error& error) {
        throw std::runtime_error(std::string("the status that the service sent cannot be read: ") +
                                 error.what());
    }
}

/// The process that says by the service's file that it is the one.
std::optional<std::uint64_t> processFromFile()
{
    const auto processId = platform::readPidFile(platform::runtimeDirectory() + "/ZULogSvc.pid");
    return processId && platform::isProcessAlive(*processId) ? processId : std::nullopt;
}

// --- As text

std::string uptimeText(std::uint64_t milliseconds)
{
    const std::uint64_t seconds = milliseconds / 1000;
    constexpr std::uint64_t day = 86400;
    std::ostringstream text;
    if (seconds >= day)
        text << seconds / day << " d ";
    text << std::setfill('0') << std::setw(2) << seconds % day / 3600 << ':' << std::setw(2)
         << seconds / 60 % 60 << ':' << std::setw(2) << seconds % 60;
    return text.str();
}

std::ostream& label(std::ostream& out, std::string_view name)
{
    return out << std::left << std::setw(labelWidth) << std::string(name) + ':';
}

void writeLedger(std::ostream& out, const LogCounts& counts)
{
    label(out, "received") << counts[LogCount::Received]
                           << " datagrams: " << counts[LogCount::Messages] << " messages, "
                           << counts[LogCount::Requests] << " requests, " << counts.refused()
                           << " refused\n";
    struct Refusal
    {
        LogCount count;
        const char* reason;
    };
    constexpr Refusal refusals[] = {{LogCount::RefusedSize, "of an impossible size"},
                                    {LogCount::RefusedMagic, "of no known protocol"},
                                    {LogCount::RefusedLength, "with a wrong length"},
                                    {LogCount::RefusedFlags, "with unknown flags"},
                                    {LogCount::RefusedCommand, "unknown commands"},
                                    {LogCount::RefusedRequest, "requests that failed"},
                                    {LogCount::RefusedContainer, "messages of a wrong size"}};
    for (const Refusal& refusal : refusals)
        if (counts[refusal.count] > 0)
            label(out, "refused") << counts[refusal.count] << ' ' << refusal.reason << '\n';
    label(out, "lost") << counts[LogCount::LostInSocket] << " in the socket's buffer, "
                       << counts[LogCount::MissingNumbers] << " missing in the senders' numbers\n";
    label(out, "repeated") << counts[LogCount::RepeatedNumbers] << " messages\n";
    label(out, "sinks failed") << "with " << counts[LogCount::SinkFailed] << " messages\n";
}

void writeSinks(std::ostream& out, const ServiceStatus& status)
{
    bool hasForwarder = false;
    for (const ServiceStatus::Sink& sink : status.sinks) {
        if (sink.type != "forward")
            continue;
        hasForwarder = true;
        label(out, "forwarder") << escapedText(sink.argument) << ", " << sink.sent << " sent, "
                                << sink.failed << " failed\n";
    }
    if (!hasForwarder)
        label(out, "forwarder") << "none\n";
    for (const ServiceStatus::Sink& sink : status.sinks)
        if (sink.type != "forward")
            label(out, "sink") << escapedText(sink.type) << (sink.argument.empty() ? "" : " ")
                               << escapedText(sink.argument) << '\n';
}

void writeRecorders(std::ostream& out, const ServiceStatus& status)
{
    for (const ServiceStatus::Recorder& recorder : status.recorders) {
        label(out, "recorder") << recorder.used << " of " << recorder.capacity << " messages";
        if (recorder.secondaryCapacity > 0)
            out << ", second kind " << recorder.secondaryUsed << " of "
                << recorder.secondaryCapacity;
        out << ", " << recorder.replays << (recorder.replays == 1 ? " replay" : " replays")
            << " under way\n";
    }
    if (status.recorders.empty())
        label(out, "recorder") << "none\n";
}

void writeCounterSetKeys(std::ostream& out, const ServiceStatus& status)
{
    const std::size_t count = status.counterSetKeys.size();
    label(out, "counter sets") << count << (count == 1 ? " key" : " keys") << '\n';
    const std::string margin(labelWidth, ' ');
    std::string line = margin;
    for (const std::uint64_t key : status.counterSetKeys) {
        const std::string text = std::to_string(key);
        if (line.size() > margin.size() && line.size() + text.size() > lineWidth) {
            line.back() = '\n';
            out << line;
            line = margin;
        }
        line += text + ' ';
    }
    if (line.size() > margin.size()) {
        line.back() = '\n';
        out << line;
    }
}

void writeText(std::ostream& out, const std::string& endpoint,
               const std::optional<ServiceStatus>& status)
{
    label(out, "endpoint") << endpoint << '\n';
    if (!status) {
        if (const auto processId = processFromFile())
            label(out, "process") << *processId << '\n';
        label(out, "status") << "the service tells nothing more\n";
        return;
    }
    label(out, "process") << status->processId << '\n';
    label(out, "version") << escapedText(status->version) << '\n';
    label(out, "uptime") << uptimeText(status->uptime) << '\n';
    label(out, "messages") << status->taken << " taken, " << status->dropped << " dropped, "
                           << status->forwarded << " forwarded\n";
    if (status->ledger)
        writeLedger(out, *status->ledger);
    writeSinks(out, *status);
    writeRecorders(out, *status);
    if (status->limits.sinks > 0)
        label(out, "limits") << status->limits.sinks << " sinks, " << status->limits.replays
                             << " replays, " << status->transfers << " of "
                             << status->limits.transfers << " transfers\n";
    writeCounterSetKeys(out, *status);
}

// --- As JSON

void writeJson(std::ostream& out, const std::string& endpoint,
               const std::optional<ServiceStatus>& status)
{
    QJsonObject document;
    if (status) {
        document = QJsonDocument::fromJson(QByteArray::fromStdString(status->toJson())).object();
        // An empty list has no form of its own in the service's document.
        for (const char* list : {"sinks", "recorders", "counter_set_keys"}) {
            const QString name = QString::fromLatin1(list);
            if (!document.value(name).isArray())
                document.insert(name, QJsonArray());
        }
    } else if (const auto processId = processFromFile()) {
        document.insert(QStringLiteral("process"), QString::number(*processId));
    }
    document.insert(QStringLiteral("endpoint"), QString::fromStdString(endpoint));
    out << QJsonDocument(document).toJson(QJsonDocument::Compact).toStdString() << '\n';
}

} // namespace

ToolExit runStatusCommand(const std::vector<std::string>& words, Console& console)
{
    po::options_description options("Options");
    // clang-format off
    options.add_options()
        ("json", "as one JSON object on one line, every number a string")
        ("help,h", "show this text and end");
    // clang-format on
    const po::variables_map values = parseCommandLine(words, options, {});
    if (values.count("help") != 0) {
        console.out << "Usage: zulog status [OPTION...]\n\n"
                       "Tells where the log service listens, which process it is, how long it has\n"
                       "run, what it did with its messages, and what its replay memory holds. Of "
                       "a\nservice that does not tell that, the endpoint and the process.\n\n"
                    << options;
        return ToolExit::Done;
    }

    std::string endpoint;
    std::optional<ServiceStatus> status;
    try {
        LogClient client(readConnectionInfo());
        endpoint = socketAddressText(client.server());
        status = askForStatus(client);
    } catch (const LogSvcError& error) {
        throw std::runtime_error(std::string("no log service is running (") + error.what() + ")");
    }
    if (values.count("json") != 0)
        writeJson(console.out, endpoint, status);
    else
        writeText(console.out, endpoint, status);
    return ToolExit::Done;
}

} // namespace zuLogging
