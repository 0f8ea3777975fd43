#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace zuLogging::platform {

std::uint64_t currentProcessId();
std::uint64_t currentThreadId();

/// True while a process of that number exists (also one of another user).
bool isProcessAlive(std::uint64_t processId);

/// The base name of the program that the process runs; nothing when there is no such process or it
/// may not be looked at (another user's).
std::optional<std::string> programName(std::uint64_t processId);

/// Where programs of this user keep what lives only while they run: XDG_RUNTIME_DIR, else /run.
std::string runtimeDirectory();

/// The process number that `path` holds, if it is a file with nothing but a number in it.
std::optional<std::uint64_t> readPidFile(const std::string& path);

/// Replaces `path` by a file with this process's number. False, with `error` filled, on failure.
bool writePidFile(const std::string& path, std::string& error);

/// From now on a write to a pipe that nobody reads any more is an error of that write and no longer
/// the end of the process.
void ignoreBrokenPipes();

/// Runs `onRequest` (once, on a thread of its own) when the system asks the process to end
/// (SIGTERM, SIGINT). Make it before any other thread is started, so that all of them leave these
/// signals alone. The destructor ends the thread.
///
/// `alsoHangup`: a terminal that is closed (SIGHUP) is a request too, unless the process was
/// started so that it outlives its terminal.
class TerminationWatcher
{
public:
    explicit TerminationWatcher(std::function<void()> onRequest, bool alsoHangup = false);
    ~TerminationWatcher();
    TerminationWatcher(const TerminationWatcher&) = delete;
    TerminationWatcher& operator=(const TerminationWatcher&) = delete;

private:
    struct State;
    State* state_;
};

} // namespace zuLogging::platform
