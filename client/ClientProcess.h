#pragma once

#include "client/LoggerRegistry.h"
#include "client/SendSession.h"

#include <atomic>
#include <type_traits>

namespace zuLogging::client {

/// The library in one process. There is one object, which needs neither to be made nor to go: it
/// can be used before main and after it. Any thread; nothing throws.
class ClientProcess
{
public:
    constexpr ClientProcess() = default;
    ClientProcess(const ClientProcess&) = delete;
    ClientProcess& operator=(const ClientProcess&) = delete;

    static ClientProcess& instance() noexcept;

    ClientLogger* createLogger(std::string_view module, std::string_view group) noexcept;
    void destroyLogger(ClientLogger* logger) noexcept { registry_.destroy(logger); }
    void unfix(ClientLogger* logger) noexcept;

    /// Queues the message; time and thread are filled in where they are 0. False: dropped, counted.
    bool send(QueuedMessage message) noexcept;
    std::uint64_t droppedMessages() const noexcept { return dropped_.load(); }
    bool flush(std::chrono::milliseconds limit) noexcept;

    /// 0: the default. False once there was a message.
    bool configure(std::size_t queueBytes, std::chrono::milliseconds exitLimit,
                   std::chrono::milliseconds configurationInterval) noexcept;

    /// At the end of the process, or of the library in it.
    void finish() noexcept;

    // Around a fork.
    void beforeFork() noexcept { registry_.lock(); }
    void afterForkInParent() noexcept { registry_.unlock(); }
    void afterForkInChild() noexcept;

private:
    SendSession* session() noexcept;
    void noteChange() noexcept;

    LoggerRegistry registry_;
    std::atomic<SendSession*> session_{nullptr};
    SendSession* abandoned_ = nullptr;
    std::atomic<std::uint64_t> dropped_{0};
    std::atomic<bool> isFinished_{false};
    std::atomic<std::size_t> queueBytes_{0};
    std::atomic<std::int64_t> exitLimit_{0}; ///< in milliseconds
    std::atomic<std::int64_t> configurationInterval_{0};
};
static_assert(std::is_trivially_destructible_v<ClientProcess>);

} // namespace zuLogging::client
