#pragma once

#include "logging/LogClient.h"
#include "logging/LogMessageSink.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace zuLogging {

/// Sends every container on to another log protocol server, without waiting for an acknowledge. A
/// destination that is gone costs two failed sends for each container and does not end it; when
/// sending begins to fail the debugger trace names the destination.
class LogMessageSinkForwarder final : public LogMessageSink
{
public:
    /// `addressText` (a.b.c.d:port) names the destination. Throws LogSvcError "Failed to parse
    /// socket address string" or "Failed to create the log client socket".
    explicit LogMessageSinkForwarder(std::string_view addressText,
                                     std::uint32_t containerOperatingMode = 0);

    /// Both kinds are sent as the container's own flags say.
    void consume(const LogMessageContainerView& container) override;
    void consumeSecondary(const LogMessageContainerView& container) override;

    /// True for exactly the text that `argumentText` returns.
    bool matches(std::string_view argumentText) const override;
    /// The destination.
    std::string argumentText() const override;

    /// True if the system says that nobody listens at the destination any more. Sends a command
    /// there that does nothing.
    bool isDestinationGone() const;

    /// Receiving thread. Containers sent on, and those that could not be.
    std::uint64_t sentCount() const { return sentCount_; }
    std::uint64_t failedCount() const { return failedCount_; }

private:
    void forward(const LogMessageContainerView& container);
    void tellFailure() const noexcept;

    LogClient client_;
    std::uint64_t sentCount_ = 0;
    std::uint64_t failedCount_ = 0;
    bool isFailing_ = false; ///< since the last container that was sent
};

} // namespace zuLogging
