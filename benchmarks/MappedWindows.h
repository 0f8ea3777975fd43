#pragma once

#include <chrono>
#include <cstdint>

namespace zuLogging::benchmarks {

/// Tells when a program's window appears on an X server. Knows no Qt: the headers of the two do
/// not go together.
class MappedWindows
{
public:
    /// Of the server that DISPLAY names.
    MappedWindows();
    ~MappedWindows();
    MappedWindows(const MappedWindows&) = delete;
    MappedWindows& operator=(const MappedWindows&) = delete;

    bool isConnected() const { return display_ != nullptr; }
    /// Forgets what has happened so far.
    void forget();
    /// Waits until a top-level window larger than `smallest` pixels each way has been mapped since.
    bool waitForOne(int smallest, std::chrono::milliseconds limit);

private:
    void* display_;
};

} // namespace zuLogging::benchmarks
