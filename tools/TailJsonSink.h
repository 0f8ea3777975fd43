#pragma once

#include "logging/DecodedMessage.h"
#include "logging/JsonLogWriter.h"
#include "logging/LogMessageSink.h"

#include <memory>
#include <string>

namespace zuLogging {

/// Appends each message to a string, as one line with a JSON object whose members are those of the
/// window's JSON log.
class TailJsonSink final : public LogMessageSink
{
public:
    /// `out` must outlive the sink.
    explicit TailJsonSink(std::string& out);
    ~TailJsonSink() override;

    /// Throws LogSvcError for a container that cannot be read, with `out` as it was.
    void consume(const LogMessageContainerView& container) override;

private:
    class Device;

    std::unique_ptr<Device> device_;
    JsonLogWriter writer_;
    DecodedMessage decoded_;
};

} // namespace zuLogging
