#pragma once

#include "logging/LogMessageSink.h"
#include "logging/LogSvcError.h"

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace zuLogging::test {

/// Keeps what it is given. Can be told to throw at every operation. Any thread may read.
class RecordingSink : public LogMessageSink
{
public:
    struct Received
    {
        std::vector<std::uint8_t> bytes;
        std::size_t capacity = 0;
        std::optional<std::uint64_t> serviceNumber;
        bool secondary = false;
    };
    struct Replayed
    {
        ReplayRequest request;
        std::string addressText;
    };

    explicit RecordingSink(std::uint32_t containerOperatingMode = 0)
        : LogMessageSink(containerOperatingMode)
    {
    }

    void failWith(std::string text)
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        failure_ = std::move(text);
    }

    void idle() override
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        ++idles_;
        throwIfTold();
    }
    void consume(const LogMessageContainerView& container) override { keep(container, false); }
    void consumeSecondary(const LogMessageContainerView& container) override
    {
        keep(container, true);
    }
    void replay(const ReplayRequest& request, std::string_view addressText) override
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        replayed_.push_back({request, std::string(addressText)});
        throwIfTold();
    }

    std::vector<Received> received() const
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        return received_;
    }
    std::vector<Replayed> replayed() const
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        return replayed_;
    }
    int idles() const
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        return idles_;
    }

private:
    void keep(const LogMessageContainerView& container, bool secondary)
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        received_.push_back({{container.data, container.data + container.length},
                             container.capacity,
                             container.serviceNumber,
                             secondary});
        throwIfTold();
    }
    void throwIfTold() const
    {
        if (!failure_.empty())
            throw LogSvcError(failure_);
    }

    mutable std::mutex mutex_;
    std::vector<Received> received_;
    std::vector<Replayed> replayed_;
    std::string failure_;
    int idles_ = 0;
};

} // namespace zuLogging::test
