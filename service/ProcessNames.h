#pragma once

#include <QString>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <unordered_map>

namespace zuLogging {

/// The names of the programs behind process numbers, remembered: the system is asked once for each
/// process, and again after a while, because the system gives the number of a process that ended to
/// another one.
///
/// No lock: one thread's own.
class ProcessNames
{
public:
    using TimePoint = std::chrono::steady_clock::time_point;
    using Clock = std::function<TimePoint()>;
    using LookUp = std::function<std::optional<std::string>(std::uint64_t processId)>;

    /// Messages name processes as they like: so many are remembered and no more.
    static constexpr std::size_t maximumCount = 1024;
    static constexpr std::chrono::seconds lifetime{10};

    /// Asks the system.
    ProcessNames();
    ProcessNames(LookUp lookUp, Clock clock);

    /// Empty when the process has no name that can be read. One that has ended keeps its name until
    /// another has its number. Valid until the next call.
    const QString& nameOf(std::uint64_t processId);

private:
    struct Entry
    {
        QString name;
        TimePoint asked;
    };

    LookUp lookUp_;
    Clock clock_;
    std::unordered_map<std::uint64_t, Entry> entries_;
};

} // namespace zuLogging
