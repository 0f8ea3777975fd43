#include "service/LogService.h"

#include "logging/LogMessageSinkForwarder.h"
#include "logging/LogMessageSinkRecorder.h"
#include "logging/LogSvcError.h"
#include "platform/Desktop.h"
#include "platform/Process.h"
#include "platform/Trace.h"
#include "service/ServiceFiles.h"
#include "service/SinkNames.h"

#include <QString>

#include <algorithm>
#include <exception>
#include <utility>

namespace zuLogging {

namespace {

/// New names of modules are written together.
constexpr std::chrono::seconds modulesDelay(2);

/// A service that is never idle looks for forgotten buffers after so many messages.
constexpr unsigned messagesBetweenSweeps = 4096;

bool isSame(const PacketHeader& a, const PacketHeader& b)
{
    return a.sequence == b.sequence && a.flags == b.flags;
}

} // namespace

LogService::LogService(SinkList sinks, const std::string& folder, TransferBuffers::Clock clock,
                       std::shared_ptr<LogLedger> ledger)
    : LogMessageListener({}, 0, ListenerLimits::careful(), std::move(ledger))
    , clientCommands_(*this, clock)
    , decisions_([this](std::u16string_view module) {
        if (modules_.note(module))
            worker_.requestDelayedJob();
    })
    , files_(folder, clock)
    , replayGuard_(clock)
    , clock_(clock)
    , started_(clock_())
    , modules_(fileIn(folder, modulesFileName))
    , configuration_(fileIn(folder, rulesFileName))
{
    decisions_.setRules(configuration_.current().rules);
    configurationText_ = configuration_.current().text;
    worker_.setDelayedJob([this] { modules_.save(); }, modulesDelay);
    for (std::shared_ptr<LogMessageSink>& sink : sinks)
        use(std::move(sink));
    start();
}

LogService::~LogService()
{
    // First the worker: what it has finished is still answered, what comes now is refused.
    worker_.stop();
    stop();
    modules_.save();
}

void LogService::use(std::shared_ptr<LogMessageSink> sink)
{
    const std::string argument = sink->argumentText();
    try {
        appendSink(std::move(sink));
    } catch (const LogSvcError&) {
        // The system may give the service the very port that somebody had in mind for another.
        platform::trace("Refusing to forward to " + argument + ", which is this service itself\n");
    }
}

bool LogService::processForeign(const Packet& request, std::size_t length, Packet& acknowledge)
{
    takeFinishedUploads();
    if (request.header().magic != magicLogClient)
        return LogMessageListener::processForeign(request, length, acknowledge);
    // Of the two refusals that have the same status.
    const bool isWholePacket = length == packetHeaderSize + request.header().payloadLength;
    if (!isWholePacket)
        countAs(LogCount::RefusedLength);
    if (!clientCommands_.answer(request, length, acknowledge))
        answerLater();
    else if (isWholePacket && ClientCommandServer::knows(request.header().command) &&
             acknowledge.header().status == static_cast<std::uint16_t>(PacketStatus::BadPacket))
        countAs(LogCount::RefusedRequest);
    return true;
}

void LogService::idle()
{
    takeFinishedUploads();
    clientCommands_.idle();
    files_.closeAll();
    LogMessageListener::idle();
}

void LogService::woken()
{
    takeFinishedUploads();
}

bool LogService::isWanted(const LogMessageContainerView& container)
{
    takeFinishedUploads();
    if (++messagesSinceSweep_ == messagesBetweenSweeps) {
        messagesSinceSweep_ = 0;
        clientCommands_.idle();
    }
    const std::optional<LoggingDecision> decision = decisions_.decide(container);
    if (!decision)
        return false;
    if (decision->destination == LoggingDecision::Destination::File &&
        decision->file != LoggingDecision::noFile)
        files_.write(decisions_.rules().files()[decision->file], container);
    return true;
}

void LogService::replay(LogMessageCommand command, const ReplayRequest& request,
                        std::string_view addressText)
{
    if (command == LogMessageCommand::Replay && isReplayRepeated(addressText))
        return;
    LogMessageListener::replay(command, request, addressText);
    if (command != LogMessageCommand::ReplayAndForward)
        return;
    for (const std::shared_ptr<LogMessageSink>& sink : sinks()) {
        const auto* recorder = dynamic_cast<const LogMessageSinkRecorder*>(sink.get());
        if (recorder == nullptr)
            continue;
        for (const ReplayGuard::Replay& replay : recorder->lastReplays())
            replayGuard_.note(parseSocketAddress(addressText), replay);
    }
}

bool LogService::isReplayRepeated(std::string_view addressText) const
{
    try {
        return replayGuard_.covers(parseSocketAddress(addressText));
    } catch (const LogSvcError&) {
        return false; // what is no address is the business of the sinks
    }
}

void LogService::removing(const LogMessageSink& sink)
{
    if (const auto* forwarder = dynamic_cast<const LogMessageSinkForwarder*>(&sink))
        forwardedByRemoved_ += forwarder->sentCount();
}

TransferBuffers::Contents LogService::status()
{
    const auto text = std::make_shared<const std::string>(currentStatus().toJson());
    return {text, *text};
}

ServiceStatus LogService::currentStatus() const
{
    using std::chrono::duration_cast;
    using std::chrono::milliseconds;

    ServiceStatus status;
    status.version = platform::productVersion();
    status.processId = platform::currentProcessId();
    status.uptime =
        static_cast<std::uint64_t>(duration_cast<milliseconds>(clock_() - started_).count());
    status.ledger = ledger().counts();
    status.taken = (*status.ledger)[LogCount::Messages];
    status.dropped = (*status.ledger)[LogCount::Unwanted];
    status.transfers = clientCommands_.transferCount();
    status.limits = {ListenerLimits::careful().sinks, ListenerLimits::careful().replays,
                     TransferBuffers::maximumCount};
    status.forwarded = forwardedByRemoved_;
    for (const std::shared_ptr<LogMessageSink>& sink : sinks()) {
        if (const auto* recorder = dynamic_cast<const LogMessageSinkRecorder*>(sink.get())) {
            const RecordRing& primary = recorder->primaryRing();
            const RecordRing& secondary = recorder->secondaryRing();
            status.recorders.push_back({primary.size(), primary.capacity(), secondary.size(),
                                        secondary.capacity(), recorder->requestsUnderWay()});
            continue;
        }
        const std::optional<SinkType> type = sinkTypeOf(*sink);
        if (!type)
            continue;
        ServiceStatus::Sink shown;
        shown.type = sinkName(*type);
        // A path is bytes; the status is text.
        shown.argument = QString::fromStdString(sink->argumentText()).toStdString();
        if (const auto* forwarder = dynamic_cast<const LogMessageSinkForwarder*>(sink.get())) {
            shown.sent = forwarder->sentCount();
            shown.failed = forwarder->failedCount();
            status.forwarded += shown.sent;
        }
        status.sinks.push_back(std::move(shown));
    }
    status.counterSetKeys = counterSetKeys_.list();
    return status;
}

void LogService::counterSetKeysReported(const std::vector<std::uint64_t>& keys)
{
    counterSetKeys_.add(keys);
}

TransferBuffers::Contents LogService::configuration()
{
    return {configurationText_, *configurationText_};
}

TransferBuffers::Contents LogService::modules()
{
    const auto list =
        std::make_shared<const std::string>(modules_.list(decisions_.rules().moduleNames()));
    return {list, *list};
}

void LogService::replaceConfiguration(TransferBuffers::Contents contents,
                                      const PacketHeader& request, std::uint64_t handle)
{
    // Whoever waits too long for the answer asks again, and is answered once.
    const auto isAsked = [&](const Upload& other) {
        return isSame(other.request, request) && other.handle == handle;
    };
    if (std::any_of(uploads_.begin(), uploads_.end(), isAsked))
        return;
    if (uploads_.size() >= maximumUploads)
        throw LogSvcError("Too many logging configurations are waiting already");

    const Upload upload{request, handle, sender()};
    uploads_.push_back(upload);
    const bool isPosted = worker_.post(
        [this, upload, contents = std::move(contents)] { checkUpload(upload, contents.bytes); });
    if (!isPosted) {
        uploads_.pop_back();
        throw LogSvcError("The service is ending");
    }
}

/// On the worker's thread.
void LogService::checkUpload(const Upload& upload, std::string_view text)
{
    FinishedUpload finished;
    finished.upload = upload;
    try {
        configuration_.replace(text);
    } catch (const std::exception& error) {
        finished.error = error.what();
        if (finished.error.empty())
            finished.error = "Unknown error";
    }
    finished.version = configuration_.current();
    {
        const std::lock_guard<std::mutex> lock(finishedMutex_);
        finished_.push_back(std::move(finished));
        hasFinished_.store(true);
    }
    wake();
}

void LogService::takeFinishedUploads()
{
    if (!hasFinished_.load())
        return;
    std::vector<FinishedUpload> finished;
    {
        const std::lock_guard<std::mutex> lock(finishedMutex_);
        finished.swap(finished_);
        hasFinished_.store(false);
    }
    for (FinishedUpload& one : finished) {
        const Upload& upload = one.upload;
        PacketStatus status = PacketStatus::Success;
        if (one.error.empty()) {
            decisions_.setRules(one.version.rules);
            configurationText_ = one.version.text;
        } else {
            status = PacketStatus::Failed;
            platform::trace("Error while processing log protocol requests (negative ack "
                            "generated): " +
                            one.error + "\n");
        }
        uploads_.erase(std::remove_if(uploads_.begin(), uploads_.end(),
                                      [&](const Upload& other) {
                                          return other.handle == upload.handle &&
                                                 isSame(other.request, upload.request);
                                      }),
                       uploads_.end());
        if (!upload.sender || (upload.request.flags & flagNoAcknowledge) != 0)
            continue;
        Packet acknowledge;
        acknowledge.setHeader(acknowledgeOf(upload.request, status));
        sendAnswer(acknowledge, *upload.sender);
    }
}

} // namespace zuLogging
