#include "logging/LogMessageSinkRecorder.h"

#include "logging/ConnectionInfo.h"
#include "logging/LogClient.h"
#include "logging/LogReplay.h"
#include "logging/LogSvcError.h"
#include "platform/Trace.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <boost/thread/exceptions.hpp>

#include <algorithm>
#include <array>
#include <exception>
#include <iterator>
#include <new>
#include <set>
#include <utility>

namespace zuLogging {

namespace {

constexpr std::uint32_t replayEverything = 256;
constexpr std::size_t ringCount = 2;

// Of the payload that reports keys: their number, then the keys.
constexpr std::size_t keyCountSize = sizeof(std::uint32_t);
constexpr std::size_t keySize = sizeof(std::uint64_t);
constexpr std::size_t maximumKeysInPacket = (maximumPayload - keyCountSize) / keySize;

using Keys = std::set<std::uint64_t>;

RecordRing makeRing(std::uint64_t capacity, std::uint64_t defaultCapacity)
{
    constexpr char noMemory[] = "Failed to instantiate log recording queue, not enough memory ";
    if (capacity > LogMessageSinkRecorder::maximumCapacity)
        throw LogSvcError(noMemory);
    try {
        return RecordRing(static_cast<std::size_t>(capacity == 0 ? defaultCapacity : capacity));
    } catch (const std::bad_alloc&) {
        throw LogSvcError(noMemory);
    }
}

/// Never throws: what is traced here must not become the requester's error.
void traceLine(std::string_view text) noexcept
{
    try {
        platform::trace(text);
        platform::trace(std::string_view("\n"));
    } catch (const std::exception&) {
    }
}

Keys counterSetKeys(const RecordRing& ring)
{
    Keys keys;
    for (std::size_t i = 0; i < ring.size(); ++i) {
        const auto& bytes = ring.slot(i).bytes;
        const auto sets = LogMessageContainer(bytes.data(), bytes.size()).counterSets();
        if (!sets)
            continue;
        for (const CounterSet& set : *sets)
            keys.insert(loadU64(set.data()));
    }
    return keys;
}

/// Always full packets: the service takes the number of keys from the payload.
void sendKeys(LogClient& client, const Keys& keys)
{
    auto next = keys.begin();
    for (std::size_t left = keys.size(); left > 0;) {
        const std::size_t count = std::min(left, maximumKeysInPacket);
        std::array<std::uint8_t, maximumPayload> payload{};
        storeU32(payload.data(), static_cast<std::uint32_t>(count));
        for (std::size_t i = 0; i < count; ++i)
            storeU64(payload.data() + keyCountSize + i * keySize, *next++);
        Packet noReply;
        client.execute(
            makeRequest(magicLogClient,
                        static_cast<std::uint16_t>(LogClientCommand::ReportCounterSetKeys),
                        payload.data(), payload.size(), flagNoAcknowledge),
            noReply);
        left -= count;
    }
}

} // namespace

LogMessageSinkRecorder::LogMessageSinkRecorder(std::uint64_t primaryCapacity,
                                               std::uint64_t secondaryCapacity,
                                               std::uint32_t containerOperatingMode, Clock clock,
                                               std::size_t copiedRecords)
    : LogMessageSink(containerOperatingMode)
    , primary_(makeRing(primaryCapacity, defaultPrimaryCapacity))
    , secondary_(makeRing(secondaryCapacity, defaultSecondaryCapacity))
    , copiedRecords_(copiedRecords)
    , clock_(clock ? std::move(clock) : [] { return std::chrono::system_clock::now(); })
    , lastReport_(clock_())
{
    lastReplays_.reserve(ringCount);
}

LogMessageSinkRecorder::~LogMessageSinkRecorder()
{
    // A join that the caller's own interruption ends early would leave the thread running.
    const boost::this_thread::disable_interruption uninterrupted;
    for (const auto& entry : replays_)
        entry.second.thread->interrupt();
    for (const auto& entry : replays_)
        entry.second.thread->join();
}

void LogMessageSinkRecorder::idle()
{
    reapReplays();

    if (clock_() - lastReport_ < reportPeriod || secondary_.size() == 0)
        return;
    try {
        reportCounterSetKeys();
    } catch (const std::exception&) {
        // Tried again after the next period, for a service that is gone stays away for a while.
    }
    lastReport_ = clock_();
}

void LogMessageSinkRecorder::consume(const LogMessageContainerView& container)
{
    primary_.store(container);
}

void LogMessageSinkRecorder::consumeSecondary(const LogMessageContainerView& container)
{
    secondary_.store(container);
}

void LogMessageSinkRecorder::replay(const ReplayRequest& request, std::string_view addressText)
{
    lastReplays_.clear();
    if (loadU32(request.bytes.data()) != replayEverything)
        return;
    const SocketAddress target = parseSocketAddress(addressText);
    // A line that is never quiet for 2 seconds brings no idle call.
    reapReplays();
    ++requests_;
    startReplay(primary_, target);
    startReplay(secondary_, target);
}

std::size_t LogMessageSinkRecorder::replaysUnderWay() const
{
    return static_cast<std::size_t>(
        std::count_if(replays_.begin(), replays_.end(),
                      [](const auto& entry) { return !entry.second.progress->endTime(); }));
}

std::size_t LogMessageSinkRecorder::requestsUnderWay() const
{
    std::set<std::uint64_t> requests;
    for (const auto& entry : replays_)
        if (!entry.second.progress->endTime())
            requests.insert(entry.second.request);
    return requests.size();
}

void LogMessageSinkRecorder::startReplay(const RecordRing& ring, const SocketAddress& target)
{
    if (!hasRoomForReplayOf(ring)) {
        traceLine("Refusing to replay recorded logs: too many replays are under way");
        return;
    }
    try {
        // The entry is made before the thread, which could not be joined if there were no memory
        // for it afterwards.
        const auto thread = std::make_shared<boost::thread>();
        const auto progress = std::make_shared<ReplayProgress>();
        auto entry = replays_.extract(
            replays_.insert({boost::thread::id(), {thread, requests_, ring.size(), progress}})
                .first);
        *thread = boost::thread(LogReplay(ring.snapshot(), target, progress));
        entry.key() = thread->get_id();
        replays_.insert(std::move(entry));
        lastReplays_.push_back(progress);
        return;
    } catch (const std::bad_alloc&) {
    } catch (const boost::thread_resource_error&) {
    }
    traceLine("Failed to replay recorded logs due to insufficient memory");
}

bool LogMessageSinkRecorder::hasRoomForReplayOf(const RecordRing& ring) const
{
    std::size_t copied = ring.size();
    for (const auto& entry : replays_)
        copied += entry.second.records;
    return copied <= copiedRecords_;
}

void LogMessageSinkRecorder::reapReplays()
{
    const boost::this_thread::disable_interruption uninterrupted;
    for (auto entry = replays_.begin(); entry != replays_.end();) {
        if (entry->first == boost::this_thread::get_id())
            throw boost::thread_resource_error();
        const bool ended = entry->second.thread->timed_join(boost::posix_time::milliseconds(0));
        entry = ended ? replays_.erase(entry) : std::next(entry);
    }
}

void LogMessageSinkRecorder::reportCounterSetKeys() const
{
    LogClient client(readConnectionInfo());
    sendKeys(client, counterSetKeys(secondary_));
}

} // namespace zuLogging
