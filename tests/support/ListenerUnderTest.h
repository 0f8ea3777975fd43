#pragma once

#include "logging/LogMessageListener.h"

#include <atomic>
#include <exception>
#include <memory>
#include <utility>

namespace zuLogging::test {

/// A running listener that shows how many sinks it has. With `numbered`, what a service has.
class ListenerUnderTest final : public LogMessageListener
{
public:
    explicit ListenerUnderTest(SinkList initial = {}, bool numbered = false,
                               std::uint64_t firstNumber = 0, ListenerLimits limits = {},
                               std::shared_ptr<LogLedger> ledger = nullptr)
        : LogMessageListener(std::move(initial), firstNumber, limits, std::move(ledger))
        , numbered_(numbered)
        , sinkCount_(sinks().size())
    {
        start();
    }
    ~ListenerUnderTest() override { stop(); }

    /// After the last request that was answered.
    std::size_t sinkCount() const { return sinkCount_.load(); }
    /// Once stopped.
    const SinkList& sinksOnceStopped() const { return sinks(); }

protected:
    bool assignsServiceIds() const override { return numbered_; }

    void process(const Packet& request, std::size_t length, Packet& acknowledge) override
    {
        try {
            LogMessageListener::process(request, length, acknowledge);
        } catch (...) {
            sinkCount_.store(sinks().size());
            throw;
        }
        sinkCount_.store(sinks().size());
    }

private:
    const bool numbered_;
    std::atomic<std::size_t> sinkCount_;
};

} // namespace zuLogging::test
