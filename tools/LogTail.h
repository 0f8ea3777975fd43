#pragma once

#include "logging/LogLedger.h"
#include "platform/OutputChannel.h"
#include "tools/TailListener.h"
#include "tools/TailNotes.h"
#include "tools/TailQueue.h"
#include "tools/TailSubscription.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace zuLogging {

/// Shows the messages of the machine's log service as they come: `follow`, then `finish`, both on
/// one thread. The receiving thread only queues; that one thread writes, in large pieces when there
/// is much, and never waits for a reader without noticing everything else.
class LogTail
{
public:
    using Channel = platform::OutputChannel;

    struct Options
    {
        bool replay = false;
        bool json = false;
        std::uint64_t count = 0; ///< messages to write; 0: no end
        /// Bytes of messages that may wait for the reader.
        std::size_t queueLimit = std::size_t{64} << 20;
        /// How long, after the end was asked for, a reader may take nothing.
        std::chrono::milliseconds lastPatience{1000};
    };

    /// Both channels must outlive this.
    LogTail(const Options& options, Channel& out, Channel& err);
    ~LogTail();
    LogTail(const LogTail&) = delete;
    LogTail& operator=(const LogTail&) = delete;

    /// Subscribes and writes until `stop`, or the count is reached, or nobody reads any more, or
    /// the output fails. Throws LogSvcError when there is no service or it refuses.
    void follow();

    /// Unsubscribes and writes what had arrived, unless the end was one of the other three. A
    /// reader that takes nothing any more, or `abandon`, ends this early. Throws
    /// std::runtime_error "cannot write to standard output: " + cause if the output failed.
    void finish();

    /// Any thread.
    void stop() noexcept;
    /// Any thread: `finish` is not to write any more either.
    void abandon() noexcept;

private:
    using Clock = std::chrono::steady_clock;

    enum class End
    {
        None,
        Stopped,
        Counted,
        Closed,
        Failed
    };

    void fill();
    void write();
    void wait();
    void look();
    bool isCounted() const { return options_.count != 0 && written_ >= options_.count; }
    bool hasUnwritten() const { return !left_.empty(); }
    void tellDropped();
    void tellLost();
    void tellSummary();

    const Options options_;
    Channel& out_;
    TailNotes notes_;
    const bool greets_;

    platform::WakeSignal wake_;
    std::atomic<bool> isStopped_{false};
    std::atomic<bool> isAbandoned_{false};

    TailQueue queue_;
    const std::shared_ptr<LogLedger> ledger_;
    std::unique_ptr<TailListener> listener_;
    std::unique_ptr<TailSubscription> subscription_;

    TailQueue::Batch batch_;
    std::string text_;      ///< lines
    std::string_view left_; ///< of them, what is still to be written
    std::unique_ptr<LogMessageSink> format_;

    End end_ = End::None;
    Clock::time_point nextLook_;
    Clock::time_point lastProgress_;
    std::uint64_t received_ = 0;    ///< at the last look
    std::uint64_t toldDropped_ = 0; ///< at the last note
    std::uint64_t toldLost_ = 0;    ///< at the last note
    Clock::time_point nextLostNote_;
    std::uint64_t unreadable_ = 0;
    std::uint64_t written_ = 0; ///< messages, in `text_` or gone
};

} // namespace zuLogging
