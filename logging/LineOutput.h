#pragma once

#include "platform/OutputChannel.h"
#include "platform/Udp.h"

#include <chrono>
#include <string>
#include <string_view>

namespace zuLogging {

/// Writes lines to one of the program's standard streams and does not let the one who reads it hold
/// the writer: a stream that is full is waited for, but no longer than `patience`; from then on
/// lines are lost until there is room again. No line is ever cut or mixed with another.
///
/// One thread at a time.
class LineOutput
{
public:
    static constexpr std::chrono::milliseconds patience{100};

    enum class Result
    {
        Written,
        Lost,   ///< there is no room
        Closed, ///< lost, and nobody reads any more
        Failed  ///< lost; see `error`
    };

    /// As OutputChannel.
    explicit LineOutput(int handle);
    /// Writes what is left of a line that was begun, if there is room.
    ~LineOutput();
    LineOutput(const LineOutput&) = delete;
    LineOutput& operator=(const LineOutput&) = delete;

    /// `lines`: one or more whole ones, with their ends.
    Result write(std::string_view lines);

    const std::string& error() const noexcept { return channel_.error(); }

private:
    Result push(std::string_view& text);

    platform::OutputChannel channel_;
    platform::WakeSignal never_; ///< is not raised
    std::string rest_;           ///< of a line whose beginning is written
    bool isStuck_ = false;       ///< it was waited for in vain
};

} // namespace zuLogging
