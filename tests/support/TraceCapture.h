#pragma once

#include "platform/Trace.h"

#include <algorithm>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace zuLogging::test {

/// Takes the debugger trace for as long as it lives: one entry for each call. Any thread.
class TraceCapture
{
public:
    TraceCapture()
        : previous_(platform::setTraceHandler([this](std::string_view text) {
            const std::lock_guard<std::mutex> lock(mutex_);
            calls_.emplace_back(text);
        }))
    {
    }
    ~TraceCapture() { platform::setTraceHandler(previous_); }
    TraceCapture(const TraceCapture&) = delete;
    TraceCapture& operator=(const TraceCapture&) = delete;

    std::vector<std::string> calls() const
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        return calls_;
    }
    std::size_t count(const std::string& text) const
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        return static_cast<std::size_t>(std::count(calls_.begin(), calls_.end(), text));
    }
    std::size_t countStartingWith(const std::string& text) const
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        return static_cast<std::size_t>(
            std::count_if(calls_.begin(), calls_.end(), [&](const std::string& call) {
                return call.compare(0, text.size(), text) == 0;
            }));
    }
    bool contains(const std::string& text) const { return count(text) > 0; }

private:
    mutable std::mutex mutex_;
    std::vector<std::string> calls_;
    platform::TraceHandler previous_;
};

} // namespace zuLogging::test
