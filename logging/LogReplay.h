#pragma once

#include "logging/RecordRing.h"
#include "logging/ReplayProgress.h"
#include "logging/SocketAddressText.h"

#include <chrono>
#include <cstddef>
#include <memory>

namespace zuLogging {

/// Sends recorded containers, in their order, to one log protocol server, on a thread of its own.
///
/// No acknowledge tells how far the receiver is, so the containers go out in small bursts with a
/// pause behind each: a receive buffer of 0x20000 bytes holds about 100 of the largest, and a
/// receiver that stands still for 60 ms still loses none (measured). 1,000 take about half a
/// second.
class LogReplay
{
public:
    static constexpr std::size_t burst = 4;
    static constexpr std::chrono::milliseconds pause{2};

    /// `progress` is told the end.
    LogReplay(RecordRing::Snapshot records, const SocketAddress& target,
              std::shared_ptr<ReplayProgress> progress);

    /// The body of the thread. A record that is no container, or one that cannot be sent, ends it
    /// quietly. An interruption of the thread ends the pauses, not the replay.
    void operator()() noexcept;

private:
    void sendAll();
    void rest();

    RecordRing::Snapshot records_;
    SocketAddress target_;
    std::shared_ptr<ReplayProgress> progress_;
    bool hurried_ = false;
};

} // namespace zuLogging
