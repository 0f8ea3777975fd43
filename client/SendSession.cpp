#include "client/SendSession.h"

#include "logging/ConnectionInfo.h"
#include "logging/LogSvcError.h"
#include "platform/Process.h"

#include <boost/property_tree/exceptions.hpp>

#include <algorithm>
#include <new>
#include <thread>

namespace zuLogging::client {

namespace {

using namespace std::chrono_literals;

/// After a message others follow as a rule: the thread looks by itself for a while, so that they
/// need not wake it.
constexpr auto napLength = 5ms;
constexpr auto napsFor = 100ms;
constexpr auto connectInterval = 500ms;
constexpr auto startInterval = 1s;
constexpr auto failurePause = 100ms;
/// A service may have been replaced by another since then.
constexpr auto trustedFor = 1s;

/// Beyond the limit for the end, for a thread that is about to finish.
constexpr auto joinAllowance = 50ms;

constexpr zulog_level levelWithoutRules = ZULOG_LEVEL_INFO;

std::uint64_t microsecondsNow()
{
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::microseconds>(now).count());
}

} // namespace

SendSession::SendSession(LoggerRegistry& registry, const Options& options)
    : registry_(registry)
    , options_(options)
    , connectionInfo_(connectionInfoName())
    , processName_(platform::programName(platform::currentProcessId()).value_or(std::string()))
    , wake_(std::in_place)
    , link_(socket_, *wake_, stop_, connectionInfo_)
    , watch_(options.configurationInterval)
    , packets_(platform::currentProcessId())
{
    if (!queue_.allocate(options.queueBytes))
        throw std::bad_alloc();
    window_.reserve(ServiceLink::windowSize);
    // Without a socket everything waits for ever, and the calls of the program go on. Left unbound,
    // the first send would open it to every network of the machine.
    if (socket_.open() && socket_.bind({platform::loopbackAddress, 0}))
        socket_.setNonBlocking();
    else
        socket_.close();
}

void SendSession::startThread() noexcept
{
    const Clock::rep now = Clock::now().time_since_epoch().count();
    if (now < nextStart_.load() || isStarting_.exchange(true))
        return;
    if (!hasThread()) {
        nextStart_.store(now + Clock::duration(startInterval).count());
        if (thread_.start([](void* session) { static_cast<SendSession*>(session)->run(); }, this))
            hasThread_.store(true, std::memory_order_release);
    }
    isStarting_.store(false);
}

bool SendSession::submit(const QueuedMessage& message) noexcept
{
    std::uint8_t* place = queue_.reserve(message.size());
    if (place == nullptr) {
        if (lost_.fetch_add(1) == 0)
            lossPosition_.store(queue_.end());
        return false;
    }
    message.write(place);
    queue_.commit(place);

    const Rest rest = rest_.load();
    const bool isToWake =
        rest == Rest::Asleep ||
        (rest == Rest::Nap && (message.level == ZULOG_LEVEL_FATAL || queue_.isMoreThanHalfFull()));
    if (isToWake && rest_.exchange(Rest::None) != Rest::None)
        wake_->raise();
    return true;
}

bool SendSession::flush(std::chrono::milliseconds limit) noexcept
{
    const std::uint64_t end = queue_.end();
    const auto isTaken = [&] { return queue_.begin() >= end; };
    if (isTaken())
        return true;
    ++flushers_;
    isHurried_.store(true);
    wake_->raise();
    std::unique_lock<std::mutex> lock(flushMutex_);
    const bool taken = taken_.wait_for(lock, limit, isTaken);
    --flushers_;
    return taken;
}

void SendSession::lookAtLoggers() noexcept
{
    wake_->raise();
}

void SendSession::finish() noexcept
{
    if (!thread_.isStarted())
        return;
    stop_.make(Clock::now() + options_.exitLimit);
    wake_->raise();
    if (!thread_.joinFor(options_.exitLimit + joinAllowance))
        thread_.leave(); // it uses nothing that goes before the process does
}

void SendSession::abandonInChild() noexcept
{
    thread_.forget();
    queue_.release();
    socket_.close();
    wake_.reset();
}

void SendSession::run() noexcept
{
    while (!isDone()) {
        try {
            step();
        } catch (const std::exception&) {
            std::this_thread::sleep_for(failurePause); // no memory
        }
    }
}

bool SendSession::isDone() const noexcept
{
    if (!stop_.isMade())
        return false;
    const bool isAllSent = window_.empty() && lost_.load() == 0 && queue_.begin() == queue_.end();
    return isAllSent || isOver_ || stop_.isOverdue();
}

void SendSession::step()
{
    if (!connect())
        return;
    followConfiguration();
    updateLoggers();
    if (!link_.service())
        return;
    if (fillWindow())
        deliverWindow();
    else
        rest();
}

/// False if there is no service, after a rest.
bool SendSession::connect()
{
    const Clock::time_point now = Clock::now();
    if (link_.service() && now - lastTaken_ > trustedFor && link_.hasMoved())
        link_.disconnect();
    if (link_.service())
        return true;
    if (now < nextConnect_ && !isHurried_.exchange(false) && !stop_.isMade()) {
        waitFor(Rest::Away, nextConnect_);
        return false;
    }
    nextConnect_ = now + connectInterval;
    if (link_.connect()) {
        watch_.lookAtOnce();
        return true;
    }
    // Who ends without a service there need not wait for one.
    isOver_ = stop_.isMade();
    if (generation_ == 0 && !hasGivenUpRules_) {
        registry_.setAll(levelWithoutRules);
        hasGivenUpRules_ = true;
    }
    return false;
}

void SendSession::followConfiguration()
{
    if (stop_.isMade() || Clock::now() < watch_.nextLook())
        return;
    // A question that nobody hears would take its time.
    if (!link_.isStillThere())
        return;
    try {
        const std::optional<PropertyTree> document = watch_.look(*link_.service());
        if (!document)
            return;
        rules_ = LevelRules(*document);
        ++generation_;
        seenChanges_.reset();
        return;
    } catch (const LogSvcError&) {
    } catch (const boost::property_tree::ptree_error&) {
    }
    // The rules that were known last go on being followed.
    if (generation_ == 0 && !hasGivenUpRules_) {
        registry_.setAll(levelWithoutRules);
        hasGivenUpRules_ = true;
    }
}

void SendSession::updateLoggers()
{
    const std::uint64_t changes = registry_.changes();
    if (generation_ == 0 || seenChanges_ == changes)
        return;
    registry_.update(rules_, generation_, processName_);
    seenChanges_ = changes;
}

/// Takes messages out of the queue, unless some are waiting to be sent once more. False: there are
/// none.
bool SendSession::fillWindow()
{
    if (!window_.empty())
        return true;
    windowEnd_ = queue_.begin();
    while (window_.size() < ServiceLink::windowSize) {
        if (lost_.load() != 0 && windowEnd_ >= lossPosition_.load()) {
            window_.push_back(packets_.noteOfLoss(lost_.exchange(0), microsecondsNow(),
                                                  platform::currentThreadId()));
            continue;
        }
        const std::optional<MessageQueue::Record> record = queue_.at(windowEnd_);
        if (!record)
            break;
        window_.push_back(packets_.message(QueuedMessage::read(record->payload)));
        windowEnd_ = record->next;
    }
    return !window_.empty();
}

void SendSession::deliverWindow()
{
    switch (link_.deliver(window_)) {
    case ServiceLink::Outcome::Taken:
        window_.clear();
        queue_.giveBack(windowEnd_);
        noteTaken();
        break;
    case ServiceLink::Outcome::Lost:
    case ServiceLink::Outcome::Gone:
        break; // once more, when there is a service
    case ServiceLink::Outcome::Abandoned:
        isOver_ = true;
        break;
    }
}

void SendSession::noteTaken() noexcept
{
    lastTaken_ = Clock::now();
    if (flushers_.load() == 0)
        return;
    const std::lock_guard<std::mutex> lock(flushMutex_);
    taken_.notify_all();
}

void SendSession::rest()
{
    const Clock::time_point now = Clock::now();
    if (now - lastTaken_ < napsFor)
        waitFor(Rest::Nap, now + napLength);
    else
        waitFor(Rest::Asleep, watch_.nextLook());
}

void SendSession::waitFor(Rest kind, Clock::time_point until)
{
    // Both sequentially consistent: a message that is not seen here sees that we rest.
    rest_.store(kind);
    const bool isSleep = kind != Rest::Away;
    const bool isWanted =
        stop_.isMade() || (isSleep && (queue_.at(queue_.begin()).has_value() || lost_.load() != 0));
    if (!isWanted) {
        const auto time = std::chrono::ceil<std::chrono::milliseconds>(until - Clock::now());
        switch (socket_.waitReadable(std::max<std::chrono::milliseconds>(0ms, time), &*wake_)) {
        case platform::WaitResult::Readable: {
            std::uint8_t late = 0; // an answer that nobody waits for any more
            socket_.receive(&late, sizeof late);
            break;
        }
        case platform::WaitResult::Failed:
            std::this_thread::sleep_for(failurePause);
            break;
        case platform::WaitResult::TimedOut:
        case platform::WaitResult::Woken:
            break;
        }
    }
    rest_.store(Rest::None);
    wake_->lower();
}

} // namespace zuLogging::client
