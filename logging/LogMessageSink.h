#pragma once

#include "logging/LogMessageContainer.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace zuLogging {

/// 32 bytes; only the first 32-bit word has a meaning so far.
struct ReplayRequest
{
    std::array<std::uint8_t, 32> bytes{};

    /// What a viewer asks for: first word 256, the rest 0.
    static ReplayRequest everything();
};

/// A destination for log message containers. The listener that holds it calls every operation on
/// its receiving thread; a sink that hands data to other threads guards them itself. Operations may
/// throw LogSvcError, which becomes a negative acknowledge of the packet being handled.
class LogMessageSink
{
public:
    explicit LogMessageSink(std::uint32_t containerOperatingMode = 0)
        : containerOperatingMode_(containerOperatingMode)
    {
    }
    virtual ~LogMessageSink();
    LogMessageSink(const LogMessageSink&) = delete;
    LogMessageSink& operator=(const LogMessageSink&) = delete;

    /// Called every 2 seconds without traffic.
    virtual void idle() {}
    /// One container of a message.
    virtual void consume(const LogMessageContainerView& container) = 0;
    /// One container of a message of the second kind.
    virtual void consumeSecondary(const LogMessageContainerView&) {}
    /// Sends what was recorded to the socket address `addressText`.
    virtual void replay(const ReplayRequest&, std::string_view /*addressText*/) {}
    /// True if `argumentText` describes this very sink among those of its class.
    virtual bool matches(std::string_view /*argumentText*/) const { return true; }
    virtual std::string argumentText() const { return {}; }

    /// 0 (one container a call) is the only mode that exists.
    std::uint32_t containerOperatingMode() const { return containerOperatingMode_; }

private:
    std::uint32_t containerOperatingMode_;
};

using SinkList = std::vector<std::shared_ptr<LogMessageSink>>;

} // namespace zuLogging
