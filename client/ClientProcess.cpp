#include "client/ClientProcess.h"

#include "platform/ForkHandlers.h"
#include "platform/Process.h"

#include <exception>
#include <memory>

namespace zuLogging::client {

namespace {

ClientProcess theProcess;

thread_local std::uint64_t threadNumber = 0;

std::uint64_t currentThread() noexcept
{
    if (threadNumber == 0)
        threadNumber = platform::currentThreadId();
    return threadNumber;
}

std::uint64_t currentTime() noexcept
{
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::microseconds>(now).count());
}

/// Made when the library is loaded; goes behind the static objects of everybody who uses it.
class Hooks
{
public:
    Hooks()
    {
        platform::callAroundFork([] { theProcess.beforeFork(); },
                                 [] { theProcess.afterForkInParent(); },
                                 [] {
                                     threadNumber = 0;
                                     theProcess.afterForkInChild();
                                 });
    }
    ~Hooks() { theProcess.finish(); }
    Hooks(const Hooks&) = delete;
    Hooks& operator=(const Hooks&) = delete;
};
const Hooks hooks;

} // namespace

ClientProcess& ClientProcess::instance() noexcept
{
    return theProcess;
}

ClientLogger* ClientProcess::createLogger(std::string_view module, std::string_view group) noexcept
{
    ClientLogger* logger = registry_.create(module, group);
    noteChange();
    return logger;
}

void ClientProcess::unfix(ClientLogger* logger) noexcept
{
    registry_.unfix(logger);
    noteChange();
}

void ClientProcess::noteChange() noexcept
{
    if (SendSession* session = session_.load(std::memory_order_acquire))
        session->lookAtLoggers();
}

SendSession* ClientProcess::session() noexcept
{
    SendSession* present = session_.load(std::memory_order_acquire);
    if (present == nullptr) {
        SendSession::Options options;
        if (const std::size_t bytes = queueBytes_.load(); bytes != 0)
            options.queueBytes = bytes;
        if (const std::int64_t limit = exitLimit_.load(); limit != 0)
            options.exitLimit = std::chrono::milliseconds(limit);
        if (const std::int64_t interval = configurationInterval_.load(); interval != 0)
            options.configurationInterval = std::chrono::milliseconds(interval);
        std::unique_ptr<SendSession> made;
        try {
            made = std::make_unique<SendSession>(registry_, options);
        } catch (const std::exception&) {
            return nullptr; // no memory
        }
        // Of several threads that log first one has its session used.
        if (session_.compare_exchange_strong(present, made.get(), std::memory_order_acq_rel))
            present = made.release();
    }
    if (!present->hasThread())
        present->startThread();
    return present;
}

bool ClientProcess::send(QueuedMessage message) noexcept
{
    if (!isFinished_.load(std::memory_order_relaxed)) {
        if (SendSession* present = session()) {
            if (message.time == 0)
                message.time = currentTime();
            if (message.thread == 0)
                message.thread = currentThread();
            message.cut();
            if (present->submit(message))
                return true;
        }
    }
    dropped_.fetch_add(1, std::memory_order_relaxed);
    return false;
}

bool ClientProcess::flush(std::chrono::milliseconds limit) noexcept
{
    SendSession* present = session_.load(std::memory_order_acquire);
    return present == nullptr || present->flush(limit);
}

bool ClientProcess::configure(std::size_t queueBytes, std::chrono::milliseconds exitLimit,
                              std::chrono::milliseconds configurationInterval) noexcept
{
    if (session_.load(std::memory_order_acquire) != nullptr)
        return false;
    queueBytes_.store(queueBytes);
    exitLimit_.store(exitLimit.count());
    configurationInterval_.store(configurationInterval.count());
    return true;
}

void ClientProcess::finish() noexcept
{
    if (isFinished_.exchange(true))
        return;
    // The session stays: threads that end with the process may still be in it.
    if (SendSession* present = session_.load(std::memory_order_acquire))
        present->finish();
}

void ClientProcess::afterForkInChild() noexcept
{
    if (SendSession* parents = session_.exchange(nullptr)) {
        parents->abandonInChild();
        parents->abandonedBefore = abandoned_;
        abandoned_ = parents;
    }
    dropped_.store(0);
    registry_.resetLocked();
    registry_.unlock();
}

} // namespace zuLogging::client
