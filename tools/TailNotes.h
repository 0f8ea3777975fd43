#pragma once

#include "platform/OutputChannel.h"

#include <chrono>
#include <string>

namespace zuLogging {

/// What the user is told beside the messages: lines "zulog: ..." on the error stream, which are
/// never waited for either. When nobody takes them they are kept, up to a limit, and then lost.
/// One thread at a time.
class TailNotes
{
public:
    static constexpr std::size_t limit = 16 * 1024;

    /// The channel must outlive this.
    explicit TailNotes(platform::OutputChannel& channel);

    void say(const std::string& text);
    /// Writes what is kept as far as there is room.
    void flush();
    /// The same, waiting for room at most so long.
    void flush(std::chrono::milliseconds patience);

private:
    platform::OutputChannel& channel_;
    std::string kept_;
};

} // namespace zuLogging
