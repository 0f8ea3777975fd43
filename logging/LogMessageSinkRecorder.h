#pragma once

#include "logging/LogMessageSink.h"
#include "logging/RecordRing.h"
#include "logging/ReplayProgress.h"
#include "logging/SocketAddressText.h"

#include <boost/thread/thread.hpp>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string_view>
#include <vector>

namespace zuLogging {

/// Keeps the most recent containers of either kind in memory and replays them on request. Every
/// nine minutes it reports the keys of the counter sets in its containers of the second kind to the
/// log service.
///
/// Every operation runs on the listener's receiving thread, and storing never allocates. A replay
/// runs on a thread of its own that works on a copy of the ring.
class LogMessageSinkRecorder final : public LogMessageSink
{
public:
    static constexpr std::uint64_t defaultPrimaryCapacity = 1000;
    static constexpr std::uint64_t defaultSecondaryCapacity = 100;
    /// Of one ring, in records: 1.4 GB. More is refused as if the memory were not there, for a
    /// system that promises more than it has would end the whole program instead. A sink that is
    /// added by a datagram has the default capacities.
    static constexpr std::uint64_t maximumCapacity = 1000000;
    /// Records that the copies of all running replays may hold together, for the same reason. A
    /// replay beyond it is dropped, which the debugger trace says. How many replays may run is the
    /// business of whoever passes the requests on.
    static constexpr std::size_t maximumCopiedRecords = 2 * std::size_t{maximumCapacity};
    static constexpr std::chrono::microseconds reportPeriod = std::chrono::minutes(9);

    /// Universal time.
    using Clock = std::function<std::chrono::system_clock::time_point()>;

    /// Capacities in records; 0 means the default. An empty `clock` is the system's.
    /// `copiedRecords` is the bound above, for tests. Throws LogSvcError "Failed to instantiate log
    /// recording queue, not enough memory ".
    explicit LogMessageSinkRecorder(std::uint64_t primaryCapacity = 0,
                                    std::uint64_t secondaryCapacity = 0,
                                    std::uint32_t containerOperatingMode = 0, Clock clock = {},
                                    std::size_t copiedRecords = maximumCopiedRecords);
    /// Joins the replays. They go on to their end, but without pauses, so that this takes no longer
    /// than their sends.
    ~LogMessageSinkRecorder() override;

    /// Forgets the replays that have ended, then sends the report when it is due. Throws
    /// boost::thread_resource_error when called on a replay's own thread.
    void idle() override;
    void consume(const LogMessageContainerView& container) override;
    void consumeSecondary(const LogMessageContainerView& container) override;
    /// Starts two replays, one for each ring, if the request's first word is 256. Throws
    /// LogSvcError "Failed to parse socket address string". A replay for which there is no memory
    /// or no thread is dropped, which the debugger trace says.
    void replay(const ReplayRequest& request, std::string_view addressText) override;

    /// Receiving thread.
    const RecordRing& primaryRing() const { return primary_; }
    const RecordRing& secondaryRing() const { return secondary_; }
    /// Receiving thread. Replays that run or have not been forgotten yet.
    std::size_t replayCount() const { return replays_.size(); }
    /// Receiving thread. Replays that have not sent their last record yet.
    std::size_t replaysUnderWay() const;
    /// Receiving thread. Requests of which at least one replay has not sent its last record yet.
    std::size_t requestsUnderWay() const;
    /// Receiving thread. The replays that the last `replay` started; a replay that was dropped is
    /// not among them.
    const std::vector<std::shared_ptr<const ReplayProgress>>& lastReplays() const
    {
        return lastReplays_;
    }

private:
    struct Replay
    {
        std::shared_ptr<boost::thread> thread;
        std::uint64_t request; ///< the number of the request that started it
        std::size_t records;
        std::shared_ptr<ReplayProgress> progress;
    };

    void startReplay(const RecordRing& ring, const SocketAddress& target);
    bool hasRoomForReplayOf(const RecordRing& ring) const;
    void reapReplays();
    void reportCounterSetKeys() const;

    RecordRing primary_;
    RecordRing secondary_;
    std::map<boost::thread::id, Replay> replays_;
    std::vector<std::shared_ptr<const ReplayProgress>> lastReplays_;
    std::uint64_t requests_ = 0; ///< so far
    const std::size_t copiedRecords_;
    Clock clock_;
    std::chrono::system_clock::time_point lastReport_;
};

} // namespace zuLogging
