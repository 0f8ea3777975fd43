#pragma once

#include "logging/LogMessageListener.h"
#include "logging/ServiceStatus.h"
#include "service/BackgroundWorker.h"
#include "service/ClientCommandServer.h"
#include "service/CounterSetKeys.h"
#include "service/DecisionCache.h"
#include "service/LogFiles.h"
#include "service/ModuleRegistry.h"
#include "service/ReplayGuard.h"
#include "service/ServiceConfiguration.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace zuLogging {

/// The log service's socket: takes messages from every application of the machine, numbers those
/// that its configuration lets through and hands them to its sinks; adds and removes forwarders;
/// answers the log client protocol on the same socket, the two being told apart by their magic.
///
/// Each recorded message goes once to whoever subscribes with a replay: what he asks for again
/// while that replay is under way, or less than two seconds after it, is acknowledged and not sent.
///
/// A command of the log client protocol counts as those of its own protocol do: what was answered
/// with success is a request, the rest is refused by its reason. A new configuration is a request
/// as soon as its check begins, whatever the result.
///
/// Serves from its construction to its destruction. The base class tells where (`boundAddress`);
/// telling other programs is the business of whoever runs the service.
///
/// Threads: the receiving thread handles every datagram. What takes long, checking and writing a
/// new configuration and writing the list of modules, is done by a second thread; the receiving
/// thread puts the result in force and sends the answer, so that every message that arrives behind
/// the answer is treated by the new rules.
class LogService final : public LogMessageListener, private ClientCommandServer::Service
{
public:
    /// Configurations that wait for being checked; one more is refused.
    static constexpr std::size_t maximumUploads = 8;

    /// `sinks` get the messages, in their order, before those that requests add. `folder` is where
    /// configuration, list of modules and log files are kept; when it is empty, the first two are
    /// in memory only and there are no log files. What becomes of datagrams is counted in `ledger`;
    /// without one, in the service's own. Throws LogSvcError when there is no socket to be had.
    explicit LogService(SinkList sinks = {}, const std::string& folder = {},
                        TransferBuffers::Clock clock = &std::chrono::steady_clock::now,
                        std::shared_ptr<LogLedger> ledger = nullptr);
    ~LogService() override;

protected:
    bool processForeign(const Packet& request, std::size_t length, Packet& acknowledge) override;
    void idle() override;
    void woken() override;
    bool assignsServiceIds() const override { return true; }
    bool isWanted(const LogMessageContainerView& container) override;
    void replay(LogMessageCommand command, const ReplayRequest& request,
                std::string_view addressText) override;
    void removing(const LogMessageSink& sink) override;

private:
    /// A request to replace the configuration.
    struct Upload
    {
        PacketHeader request;
        std::uint64_t handle = 0;
        std::optional<SocketAddress> sender;
    };
    struct FinishedUpload
    {
        Upload upload;
        ServiceConfiguration::Version version; ///< what is in force now
        std::string error;                     ///< empty when that is what was brought
    };

    TransferBuffers::Contents configuration() override;
    TransferBuffers::Contents modules() override;
    void replaceConfiguration(TransferBuffers::Contents contents, const PacketHeader& request,
                              std::uint64_t handle) override;
    TransferBuffers::Contents status() override;
    void counterSetKeysReported(const std::vector<std::uint64_t>& keys) override;
    void use(std::shared_ptr<LogMessageSink> sink);
    ServiceStatus currentStatus() const;
    bool isReplayRepeated(std::string_view addressText) const;
    void checkUpload(const Upload& upload, std::string_view text);
    void takeFinishedUploads();

    // The receiving thread's own.
    ClientCommandServer clientCommands_;
    DecisionCache decisions_;
    LogFiles files_;
    std::shared_ptr<const std::string> configurationText_;
    std::vector<Upload> uploads_; ///< being checked
    unsigned messagesSinceSweep_ = 0;
    ReplayGuard replayGuard_;
    CounterSetKeys counterSetKeys_;
    std::uint64_t forwardedByRemoved_ = 0; ///< by forwarders that are not in the list any more

    TransferBuffers::Clock clock_;
    TransferBuffers::TimePoint started_;

    ModuleRegistry modules_;

    // The worker's own, once the service runs.
    ServiceConfiguration configuration_;

    std::mutex finishedMutex_;
    std::vector<FinishedUpload> finished_;
    std::atomic<bool> hasFinished_{false};

    BackgroundWorker worker_;
};

} // namespace zuLogging
