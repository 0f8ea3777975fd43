#include "store/LogContainer.h"

#include "logging/LogMessageSecondaryListener.h"
#include "logging/LogSvcError.h"
#include "logging/WorkControl.h"
#include "store/GUISink.h"
#include "store/LogTableModel.h"
#include "store/RowContent.h"
#include "store/ViewSettings.h"

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/lock_types.hpp>

#include <algorithm>
#include <chrono>
#include <iterator>
#include <utility>

namespace zuLogging {

namespace {

using RunLock = boost::lock_guard<boost::mutex>;
using QueueLock = boost::lock_guard<platform::PriorityMutex>;
using FilterGuard = boost::lock_guard<HandOverMutex>;

constexpr std::chrono::milliseconds emptyQueueWait(100);
/// Queued records that wake a waiting worker before its time.
constexpr std::size_t wakeLevel = 1024;
/// Records that one step moves at most, below the limit and at it: enough to make the cost of a
/// step small, few enough to keep whoever waits for the filter's lock waiting for milliseconds.
constexpr int fillBound = 1024;
constexpr int exchangeBound = 4096;
/// Rows that the filter looks at under one lock of the full model: a millisecond.
constexpr int filterBound = 16384;

} // namespace

struct LogContainer::FilterChange
{
    bool isNew = false; ///< a filter that is not in force yet
    MessageFilter filter;
    PreparedFilter prepared{filter};
    RowContent rows; ///< those that pass; once it is in force those before
    RowsHold hold;   ///< the first to go
};

LogContainer::LogContainer()
{
    const ViewSettings& settings = ViewSettings::instance();
    maximumMessages_ = settings.maximumLogMessages;
    setFilter(settings.filterInclude, settings.levelFilterInclude, settings.filterExclude,
              settings.filterIncludeCs, settings.filterExcludeCs);
}

LogContainer::~LogContainer()
{
    std::shared_ptr<LogMessageListener> listener;
    {
        const RunLock lock(runLock_);
        stopRequested_ = true;
        shuttingDown_ = true;
        listener = std::move(listener_);
    }
    wakeWorkers();
    listener.reset();
    for (Worker& worker : workers_) // nobody adds one any more, and workers only mark their own
        worker.thread.join();
}

void LogContainer::setModels(LogTableModel* full, LogTableModel* filtered)
{
    {
        const FilterGuard guard(filterLock_);
        fullModel_ = full;
        filteredModel_ = filtered;
    }
    if (!full && !filtered)
        return;
    for (const int field : ViewSettings::instance().columnLayout()) {
        if (full)
            full->addColumn(field);
        if (filtered)
            filtered->addColumn(field);
    }
}

// --- Start and stop

std::shared_ptr<LogMessageListener> LogContainer::makeListener(bool replay)
{
    return std::make_shared<LogMessageSecondaryListener>(SinkList{std::make_shared<GUISink>(this)},
                                                         replay, ledger_);
}

bool LogContainer::startLogging(bool replay)
{
    bool running = false;
    {
        const RunLock lock(runLock_);
        running = listener_ != nullptr;
    }
    if (running)
        stopLogging();

    // Of the three flags this one alone: a worker that still drains ends the new run as well.
    std::list<Worker> ended;
    {
        const RunLock lock(runLock_);
        active_ = true;
        for (auto worker = workers_.begin(); worker != workers_.end();) {
            const auto next = std::next(worker);
            if (worker->ended)
                ended.splice(ended.end(), workers_, worker);
            worker = next;
        }
    }
    for (Worker& worker : ended)
        worker.thread.join(); // it has nothing left to do but to say that it ended
    std::shared_ptr<LogMessageListener> listener;
    try {
        listener = makeListener(replay);
        const RunLock lock(runLock_);
        if (active_) {
            workers_.emplace_back();
            Worker& worker = workers_.back();
            try {
                worker.thread =
                    boost::thread(&LogContainer::processMessages, this, boost::ref(worker));
            } catch (...) {
                workers_.pop_back();
                throw;
            }
            listener_ = std::move(listener);
        }
    } catch (const LogSvcError& error) {
        errorText_ = QString::fromUtf8(error.what());
        active_ = false;
        return false;
    } catch (...) {
        active_ = false;
        throw;
    }
    return active_;
}

void LogContainer::requestReplay()
{
    std::shared_ptr<LogMessageListener> listener;
    {
        const RunLock lock(runLock_);
        listener = listener_;
    }
    if (auto* subscriber = dynamic_cast<LogMessageSecondaryListener*>(listener.get()))
        subscriber->requestReplay();
}

void LogContainer::stopLogging()
{
    std::shared_ptr<LogMessageListener> listener;
    bool over = false;
    {
        const RunLock lock(runLock_);
        stopRequested_ = true;
        listener = std::move(listener_);
        over = !hasLivingWorker();
        if (over)
            clearFlags();
        if (listener)
            ++releasing_;
    }
    wakeWorkers();
    if (listener) {
        listener.reset(); // not under the lock: it may take a second
        --releasing_;
        wakeWorkers();
    }
    if (over)
        Q_EMIT stopLoggingDone();
}

void LogContainer::setShuttingDown()
{
    {
        const RunLock lock(runLock_);
        if (!hasLivingWorker())
            return;
        shuttingDown_ = true;
    }
    wakeWorkers();
}

QString LogContainer::takeErrorText()
{
    return std::exchange(errorText_, QString());
}

bool LogContainer::hasLivingWorker() const
{
    return std::any_of(workers_.begin(), workers_.end(),
                       [](const Worker& worker) { return !worker.ended; });
}

void LogContainer::clearFlags()
{
    active_ = false;
    stopRequested_ = false;
    shuttingDown_ = false;
}

void LogContainer::wakeWorkers()
{
    // The lock, so that no worker is between its look at the flags and its wait.
    const QueueLock lock(queueLock_);
    queueFilled_.notifyAll();
}

// --- The queue

void LogContainer::addMessage(const DecodedMessage& fields)
{
    if (!active_) {
        ledger_->add(LogCount::NotActive);
        return;
    }
    auto message = std::make_shared<LogMessage>(
        fields.serviceMsgId, fields.sourceMsgId, fields.senderMsgId, fields.timestamp,
        fields.logLevel, fields.logPos, fields.module, fields.groupName, fields.logMessage,
        fields.processId, fields.threadId);
    message->renderTimestamp();
    const auto bound = static_cast<std::int64_t>(maximumMessages_) + 10;
    std::shared_ptr<LogMessage> dropped; // freed after the lock
    bool wake = false;
    {
        const QueueLock lock(queueLock_);
        queue_.push_back(std::move(message));
        if (static_cast<std::int64_t>(queue_.size()) > bound) {
            dropped = std::move(queue_.front());
            queue_.pop_front();
        }
        // Once a wait: a call of the system for every message would cost more than the message.
        wake = waitingWorkers_ > 0 &&
               queue_.size() == std::clamp<std::size_t>(
                                    static_cast<std::size_t>(std::max<std::int64_t>(bound / 4, 1)),
                                    1, wakeLevel);
    }
    ledger_->add(LogCount::Queued);
    if (dropped)
        ledger_->add(LogCount::DroppedFromQueue);
    if (wake)
        queueFilled_.notifyOne();
}

std::shared_ptr<LogMessage> LogContainer::takeMessage()
{
    Messages one = takeMessages(1);
    return one.empty() ? nullptr : std::move(one.front());
}

LogContainer::Messages LogContainer::takeMessages(int count)
{
    const auto wanted = static_cast<std::size_t>(std::max(count, 0));
    std::deque<std::shared_ptr<LogMessage>> taken;
    {
        const QueueLock lock(queueLock_);
        if (queue_.size() <= wanted) {
            taken.swap(queue_); // the receiving thread never waits for more than this
        } else {
            const auto end = queue_.begin() + static_cast<std::ptrdiff_t>(wanted);
            taken.assign(std::make_move_iterator(queue_.begin()), std::make_move_iterator(end));
            queue_.erase(queue_.begin(), end);
        }
    }
    return Messages(std::make_move_iterator(taken.begin()), std::make_move_iterator(taken.end()));
}

std::size_t LogContainer::queueSize() const
{
    const QueueLock lock(queueLock_);
    return queue_.size();
}

// --- The worker

void LogContainer::processMessages(Worker& self)
{
    for (bool entered = false;; entered = true) {
        if (entered) {
            waitForMessages();
            moveMessages();
        }
        const RunLock lock(runLock_); // so that a start or a stop comes before the end or after it
        if (entered ? isOver() : !active_) {
            clearFlags();
            self.ended = true;
            break;
        }
    }
    Q_EMIT stopLoggingDone();
}

bool LogContainer::isOver() const
{
    return (stopRequested_ && releasing_ == 0 && queueSize() == 0) || shuttingDown_ || !active_;
}

void LogContainer::waitForMessages()
{
    const QueueLock lock(queueLock_);
    if (!queue_.empty() || (stopRequested_ && releasing_ == 0) || shuttingDown_ || !active_)
        return;
    ++waitingWorkers_;
    // Woken by many messages, a stop or the end; a wake-up without cause makes an early round.
    queueFilled_.waitFor(queueLock_, emptyQueueWait);
    --waitingWorkers_;
}

void LogContainer::moveMessages()
{
    const FilterGuard guard(filterLock_);
    const auto queued = static_cast<std::int64_t>(queueSize());
    if (queued == 0)
        return;
    const int limit = maximumMessages_;
    const int rows = fullModel_ ? fullModel_->messageCount() : 0;
    if (rows < limit) {
        fillUp(static_cast<int>(std::min<std::int64_t>({queued, limit - rows, fillBound})));
    } else {
        exchange(
            static_cast<int>(std::min<std::int64_t>({queued, exchangeBound, std::max(1, limit)})),
            rows);
    }
}

void LogContainer::fillUp(int room)
{
    const Messages messages = takeMessages(room);
    if (fullModel_)
        fullModel_->addMessages(messages);
    else
        ledger_->add(LogCount::Cleared, messages.size()); // the window is gone
    if (filtering_ && filteredModel_)
        filteredModel_->addMessages(passingAndCounted(messages));
    ledger_->add(LogCount::Moved, messages.size());
}

void LogContainer::exchange(int count, int rows)
{
    const Messages messages = takeMessages(count);
    if (messages.empty())
        return;
    std::vector<int> removed(messages.size(), 0);
    if (fullModel_) {
        removed = fullModel_->replaceOldest(messages);
        // Where there was no row, the first one had none to make room for it.
        ledger_->add(LogCount::RemovedAtLimit, messages.size() - (rows == 0 ? 1 : 0));
    } else {
        ledger_->add(LogCount::Cleared, messages.size());
    }
    if (filtering_ && filteredModel_)
        filteredModel_->replaceByIdentifiers(removed, passingAndCounted(messages));
    ledger_->add(LogCount::Moved, messages.size());
}

LogContainer::Messages LogContainer::passing(const Messages& messages) const
{
    Messages passed(messages.size());
    for (std::size_t i = 0; i < messages.size(); ++i) {
        if (preparedFilter_.passes(*messages[i]))
            passed[i] = messages[i];
    }
    return passed;
}

LogContainer::Messages LogContainer::passingAndCounted(const Messages& messages)
{
    Messages passed = passing(messages);
    const auto failed =
        static_cast<std::uint64_t>(std::count(passed.begin(), passed.end(), nullptr));
    ledger_->add(LogCount::PassedFilter, passed.size() - failed);
    ledger_->add(LogCount::FailedFilter, failed);
    return passed;
}

// --- The filter and what it keeps

void LogContainer::setFilter(const QStringList& include, const QStringList& levels,
                             const QStringList& exclude, bool includeCase, bool excludeCase)
{
    MessageFilter filter;
    filter.include = include;
    filter.levels = levels;
    filter.exclude = exclude;
    filter.includeCase = includeCase ? Qt::CaseSensitive : Qt::CaseInsensitive;
    filter.excludeCase = excludeCase ? Qt::CaseSensitive : Qt::CaseInsensitive;

    if (!changesRows(filter))
        return;
    if (filteredModel_ && (fullModel_ || filter.isEmpty())) {
        filteredModel_->reset([&] { putInForce(*prepareFilter(&filter, nullptr)); });
        return;
    }
    const FilterGuard guard(filterLock_);
    setFilterLocked(filter, PreparedFilter(filter));
}

bool LogContainer::changesRows(const MessageFilter& filter) const
{
    return (filter.isEmpty() && filteredModel_) || !(filter == filter_);
}

void LogContainer::setFilterLocked(const MessageFilter& filter, const PreparedFilter& prepared)
{
    filter_ = filter;
    preparedFilter_ = prepared;
    filtering_ = !filter.isEmpty();
}

void LogContainer::refilter()
{
    if (!fullModel_ || !filteredModel_)
        return;
    filteredModel_->reset([this] { putInForce(*prepareFilter(nullptr, nullptr)); });
}

std::shared_ptr<LogContainer::FilterChange> LogContainer::prepareFilter(const MessageFilter* filter,
                                                                        WorkControl* control) const
{
    auto change = std::make_shared<FilterChange>();
    change->hold = RowsHold(filterLock_);
    change->isNew = filter != nullptr;
    if (filter) {
        change->filter = *filter;
        change->prepared = PreparedFilter(*filter);
        if (filter->isEmpty())
            return change; // shows nothing, not everything
    }
    const PreparedFilter& prepared = filter ? change->prepared : preparedFilter_;
    const int count = fullModel_->messageCount();
    const auto keep = [&prepared](const LogMessage& message) { return prepared.passes(message); };
    for (int row = 0; row < count; row += filterBound) {
        for (auto& message : fullModel_->messagesFrom(row, filterBound, keep))
            change->rows.add(std::move(message));
        report(control, static_cast<std::uint64_t>(row), static_cast<std::uint64_t>(count));
    }
    return change;
}

void LogContainer::apply(FilterChange& change)
{
    filteredModel_->reset([this, &change] { putInForce(change); });
}

void LogContainer::putInForce(FilterChange& change)
{
    filteredModel_->exchangeRows(change.rows);
    if (change.isNew)
        setFilterLocked(change.filter, change.prepared);
    change.hold.unlock();
}

std::shared_ptr<void> LogContainer::truncateTo(int count)
{
    const FilterGuard guard(filterLock_);
    const int surplus = fullModel_ ? fullModel_->messageCount() - std::max(count, 0) : 0;
    if (surplus <= 0)
        return {};
    auto removed =
        std::make_shared<std::deque<std::shared_ptr<LogMessage>>>(fullModel_->takeOldest(surplus));
    ledger_->add(LogCount::Cleared, static_cast<std::uint64_t>(surplus));
    return removed;
}

std::shared_ptr<void> LogContainer::clearModels()
{
    struct Removed
    {
        RowContent filtered;
        RowContent full;
    };
    const auto removed = std::make_shared<Removed>();
    const auto clear = [this, &removed] {
        const FilterGuard guard(filterLock_);
        if (fullModel_)
            fullModel_->exchangeRows(removed->full);
        ledger_->add(LogCount::Cleared, removed->full.messages.size());
        if (filteredModel_)
            filteredModel_->exchangeRows(removed->filtered);
    };
    const auto clearWithFiltered = [&] {
        if (filteredModel_)
            filteredModel_->reset(clear);
        else
            clear();
    };
    if (fullModel_)
        fullModel_->reset(clearWithFiltered);
    else
        clearWithFiltered();
    return removed;
}

void LogContainer::setShowFiltered(bool show)
{
    showFiltered_ = show;
    if (!filteredModel_)
        return;
    if (filteredModel_->messageCount() == 0)
        refilter();
    if (!fullModel_)
        return;
    LogTableModel* const from = show ? fullModel_ : filteredModel_;
    LogTableModel* const to = show ? filteredModel_ : fullModel_;
    const int column = from->sortColumn();
    if (column != -1)
        to->sort(column, from->sortOrder());
}

} // namespace zuLogging
