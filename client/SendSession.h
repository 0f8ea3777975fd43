#pragma once

#include "client/ConfigurationWatch.h"
#include "client/LoggerRegistry.h"
#include "client/MessageQueue.h"
#include "client/PacketMaker.h"
#include "client/QueuedMessage.h"
#include "client/ServiceLink.h"
#include "client/StopRequest.h"
#include "platform/QuietThread.h"
#include "platform/Udp.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace zuLogging::client {

/// What one process needs for its messages: the queue, the thread that empties it, and the way to
/// the service. Made at the process's first message; a child process makes its own.
///
/// While there is no service the messages stay in the queue, and what comes when it is full is
/// dropped: how trouble began is worth more than how it went on. A note says how many are missing,
/// in their place.
class SendSession
{
public:
    struct Options
    {
        std::size_t queueBytes = std::size_t{4} << 20;
        std::chrono::milliseconds exitLimit{1000};
        std::chrono::milliseconds configurationInterval{2000};
    };

    /// Throws std::bad_alloc. The registry must live on.
    SendSession(LoggerRegistry& registry, const Options& options);
    /// Only for one without a thread.
    ~SendSession() = default;
    SendSession(const SendSession&) = delete;
    SendSession& operator=(const SendSession&) = delete;

    /// Starts the thread, if it has none and did not try a moment ago. Any thread.
    void startThread() noexcept;
    bool hasThread() const noexcept { return hasThread_.load(std::memory_order_acquire); }

    /// Puts a message, already cut, into the queue. False: it is full; the message is counted. Any
    /// thread; no lock, no system call unless the sending thread sleeps, no memory asked for.
    bool submit(const QueuedMessage& message) noexcept;

    /// Waits until everything queued so far has been taken. Any thread.
    bool flush(std::chrono::milliseconds limit) noexcept;

    /// Has the sending thread look after loggers that are new. Any thread.
    void lookAtLoggers() noexcept;

    /// Sends what is queued as far as the time allows, and ends the thread.
    void finish() noexcept;

    /// In a child process: the thread and the messages are the parent's. Nothing else may be called
    /// from then on.
    void abandonInChild() noexcept;
    /// Sessions that were abandoned, each keeping the one before.
    SendSession* abandonedBefore = nullptr;

private:
    using Clock = std::chrono::steady_clock;

    /// What the sending thread is doing, for those who may have to wake it.
    enum class Rest
    {
        None,   ///< it works, or will look at the queue before it rests
        Nap,    ///< it looks again in a few milliseconds
        Asleep, ///< only a message wakes it
        Away    ///< there is no service to send messages to
    };

    void run() noexcept;
    void step();
    bool isDone() const noexcept;
    bool connect();
    void followConfiguration();
    void updateLoggers();
    bool fillWindow();
    void deliverWindow();
    void rest();
    void waitFor(Rest kind, Clock::time_point until);
    void noteTaken() noexcept;

    LoggerRegistry& registry_;
    const Options options_;
    const std::string connectionInfo_;
    const std::string processName_;
    StopRequest stop_;
    MessageQueue queue_;
    std::optional<platform::WakeSignal> wake_;
    platform::UdpSocket socket_;

    // Written by those who log.
    std::atomic<Rest> rest_{Rest::None};
    std::atomic<std::uint64_t> lost_{0};         ///< dropped and not yet told
    std::atomic<std::uint64_t> lossPosition_{0}; ///< where in the queue they are missing
    std::atomic<bool> isHurried_{false};

    platform::QuietThread thread_;
    std::atomic<bool> hasThread_{false};
    std::atomic<bool> isStarting_{false};
    std::atomic<Clock::rep> nextStart_{0};

    std::mutex flushMutex_;
    std::condition_variable taken_;
    std::atomic<int> flushers_{0};

    // Of the sending thread.
    ServiceLink link_;
    ConfigurationWatch watch_;
    PacketMaker packets_;
    LevelRules rules_;
    std::uint64_t generation_ = 0;             ///< of the rules; 0: none were read
    std::optional<std::uint64_t> seenChanges_; ///< of the registry; nothing: since the rules came
    bool hasGivenUpRules_ = false; ///< nobody gave any: the loggers have the level for that
    std::vector<Packet> window_;   ///< sent, or to be sent
    std::uint64_t windowEnd_ = 0;  ///< in the queue
    Clock::time_point nextConnect_;
    Clock::time_point lastTaken_;
    bool isOver_ = false;
};

} // namespace zuLogging::client
