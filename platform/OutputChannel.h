#pragma once

#include "platform/Udp.h"

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>

namespace zuLogging::platform {

/// One of the streams that whoever started the program gave it to write to (a terminal, a pipe, a
/// file), written without ever waiting for its reader. It is left open, and as it was for the other
/// programs that write to it. One thread at a time.
///
/// The program must ignore broken pipes (see ignoreBrokenPipes).
class OutputChannel
{
public:
    static constexpr int standardOutput = 1;
    static constexpr int standardError = 2;

    enum class Event
    {
        Room, ///< something can be written, or the write will say what is wrong
        Woken,
        TimedOut,
        Closed ///< nobody reads any more
    };

    enum class Result
    {
        Done,
        Full, ///< no room now
        Closed,
        Failed ///< see `error`
    };

    /// `handle` is the system's number of the stream and must stay open. To be made before anything
    /// else is opened: in place of a stream that is closed the system gives its number to the next.
    explicit OutputChannel(int handle);
    ~OutputChannel();
    OutputChannel(const OutputChannel&) = delete;
    OutputChannel& operator=(const OutputChannel&) = delete;

    /// False if there is no such stream; every write fails then.
    bool isOpen() const noexcept { return kind_ != Kind::Unusable; }
    bool isTerminal() const noexcept { return isTerminal_; }

    /// Waits until the reader has gone (which counts first), `wake` is raised or the time is over;
    /// and, if `forRoom`, until something can be written.
    Event wait(std::chrono::milliseconds timeout, const WakeSignal& wake, bool forRoom);

    /// Writes as much of the front of `text` as there is room for, and takes that away from it.
    Result write(std::string_view& text);

    /// The system's text for the last failure.
    const std::string& error() const noexcept { return error_; }

private:
    enum class Kind
    {
        Unusable,
        File,        ///< a write takes all, and does not wait for anybody
        NonBlocking, ///< through a descriptor of our own
        Socket,
        Other ///< writes of a limited size, when there is room
    };

    long writeSome(std::string_view text);
    bool isClosed() const;

    int handle_;
    Kind kind_ = Kind::Unusable;
    bool isOwned_ = false;
    bool isTerminal_ = false;
    std::string error_;
};

} // namespace zuLogging::platform
