#pragma once

#include "logging/DecodedMessage.h"
#include "logging/LogLedger.h"
#include "logging/LogMessage.h"
#include "logging/LogMessageListener.h"
#include "platform/PriorityMutex.h"
#include "store/HandOverMutex.h"
#include "store/MessageFilter.h"
#include "store/PreparedFilter.h"

#include <QObject>
#include <QString>
#include <QStringList>

#include <boost/thread/lock_types.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/thread.hpp>

#include <atomic>
#include <cstddef>
#include <deque>
#include <list>
#include <memory>
#include <vector>

namespace zuLogging {

class LogTableModel;
class WorkControl;
struct RowContent;

/// The message store: the hand-over point between the thread that receives messages and the window.
/// The receiving thread fills a bounded queue; a worker thread of the store's own moves the records
/// from there into the model of all messages and, if they pass the filter, into the model of the
/// filtered messages. At the row limit the oldest rows leave as new ones enter.
///
/// Locks, in the order in which they may be taken: `runLock_` (listener, workers), `filterLock_`
/// (the filter and the moving of records: whoever holds it decides what the filtered model gets),
/// a model's own lock, `queueLock_`. No signal is emitted while one of them is held, but for a
/// model's own when long work that was done beside it comes into force: who receives those changes
/// neither filter nor rows.
///
/// The worker takes what the queue holds, up to a bound, in one step. At the limit a step lets as
/// many of the oldest go as it adds, under one hold of each model's lock, so that a reader never
/// meets more or fewer rows than the limit.
///
/// What becomes of messages from the window's sink on is counted in the store's ledger, which its
/// listeners count in too.
///
/// The display state (show filtered, highlight, search, time display) is written on the GUI thread
/// and read there by the models.
class LogContainer : public QObject
{
    Q_OBJECT

public:
    /// Takes row limit and filter from the view settings.
    LogContainer();
    /// Ends every worker and the listener before anything is freed; at most about 1 second.
    ~LogContainer() override;

    /// GUI thread, once. Neither model is owned. Lays out both models' columns from the view
    /// settings. A null model may be given (tests); before the models die, set them to null.
    void setModels(LogTableModel* full, LogTableModel* filtered);
    LogTableModel* fullModel() const { return fullModel_; }
    LogTableModel* filteredModel() const { return filteredModel_; }

    /// GUI thread. True when logging runs; otherwise `takeErrorText` says why. With `replay` the
    /// service first sends what it has recorded. Logging that runs is stopped first.
    bool startLogging(bool replay);
    /// GUI thread, not while a stop is under way: asks the service to send what it has recorded.
    /// Without a listener (the start had failed) there is nobody to send it to, and nothing
    /// happens. Throws what LogMessageSecondaryListener::requestReplay throws.
    void requestReplay();
    /// GUI thread, or a thread that ends before the store. Releases the listener (blocks for at
    /// most about 1 second) and has the worker empty the queue and end. Where no worker runs (the
    /// start had failed) the run is over at once.
    void stopLogging();
    /// Makes the worker end at its next round without emptying the queue. Any thread.
    /// Without a worker there is nothing to end, and nothing happens.
    void setShuttingDown();

    /// Logging was started and its worker has not ended. Any thread.
    bool isActive() const { return active_; }
    /// What went wrong at the last failed start; empty afterwards. GUI thread.
    QString takeErrorText();

    /// Receiving thread. Dropped while not active, and when the queue is full the oldest goes.
    /// A waiting worker is not woken for each message (it looks every 100 ms), only when many are
    /// queued.
    void addMessage(const DecodedMessage& fields);
    /// The oldest queued record; empty if there is none. It is the caller's: not counted as moved.
    /// Any thread.
    std::shared_ptr<LogMessage> takeMessage();
    /// Any thread.
    std::size_t queueSize() const;
    /// Records moved from the queue to the full model since the store was made. Any thread.
    std::uint64_t movedMessages() const { return ledger_->count(LogCount::Moved); }
    /// The counts of all runs of this store; never null, the same for its whole life. Any thread.
    const std::shared_ptr<LogLedger>& ledger() const { return ledger_; }

    int maximumMessages() const { return maximumMessages_; }
    void setMaximumMessages(int count) { maximumMessages_ = count; }

    /// GUI thread: replaces the filter and rebuilds the filtered model, unless nothing changed.
    void setFilter(const QStringList& include, const QStringList& levels,
                   const QStringList& exclude, bool includeCase, bool excludeCase);
    /// GUI thread: whether setting this filter does anything.
    bool changesRows(const MessageFilter& filter) const;
    /// GUI thread.
    const MessageFilter& filter() const { return filter_; }
    /// True if any of the three lists has an entry. Any thread.
    bool isFiltering() const { return filtering_; }
    /// GUI thread: rebuilds the filtered model from the full one.
    void refilter();

    /// As long as it lives no record moves from the queue to the models. Whoever has it may hand it
    /// to another thread; who changes the filter or clears the models meanwhile waits.
    using RowsHold = boost::unique_lock<HandOverMutex>;
    /// Any thread.
    RowsHold holdRows() { return RowsHold(filterLock_); }
    /// A filter with the rows that pass it, worked out beside the models. Holds the rows; freeing
    /// it may take long.
    struct FilterChange;
    /// What `setFilter` would do, or without a filter `refilter`, on any thread while the window
    /// goes on reading. Both models are there. Throws WorkCancelled.
    std::shared_ptr<FilterChange> prepareFilter(const MessageFilter* filter,
                                                WorkControl* control) const;
    /// Puts it in force in a moment, and lets go of the rows. GUI thread.
    void apply(FilterChange& change);
    /// Keeps the newest `count` rows of the full model. Does not touch the filtered one. Any
    /// thread, as long as the models are there. What was removed, null if nothing was, for whoever
    /// wants to free it elsewhere.
    std::shared_ptr<void> truncateTo(int count);
    /// GUI thread: empties both models; records still queued come afterwards. What they held, for
    /// whoever wants to free it elsewhere: of millions of rows that takes seconds.
    std::shared_ptr<void> clearModels();

    /// GUI thread: which model the view shows; carries the sort state across.
    void setShowFiltered(bool show);
    /// The same for one who has refiltered and sorted already.
    void markShowFiltered(bool show) { showFiltered_ = show; }
    bool showFiltered() const { return showFiltered_; }

    // Display state, GUI thread.
    /// A search is active: cells that contain its text are painted as matches.
    bool highlight() const { return highlight_; }
    void setHighlight(bool on) { highlight_ = on; }
    bool searchDown() const { return searchDown_; }
    void setSearchDown(bool down) { searchDown_ = down; }
    const QString& highlightText() const { return highlightText_; }
    void setHighlightText(const QString& text) { highlightText_ = text; }
    Qt::CaseSensitivity highlightCase() const { return highlightCase_; }
    void setHighlightCase(Qt::CaseSensitivity rule) { highlightCase_ = rule; }
    /// 0: date and time; otherwise seconds since the reference.
    int timeDisplayMode() const { return timeDisplayMode_; }
    void setTimeDisplayMode(int mode) { timeDisplayMode_ = mode; }

Q_SIGNALS:
    /// A worker has ended. Emitted on its thread.
    void stopLoggingDone();

protected:
    /// Subscribes at the service; a test may stand in for it and give nothing. Throws LogSvcError.
    virtual std::shared_ptr<LogMessageListener> makeListener(bool replay);

private:
    friend struct LogContainerAccess; ///< the tests' view of the parts below

    struct Worker
    {
        boost::thread thread;
        bool ended = false; ///< under runLock_
    };
    using Messages = std::vector<std::shared_ptr<LogMessage>>;

    void processMessages(Worker& self);
    bool isOver() const;
    bool hasLivingWorker() const;
    void clearFlags();
    void wakeWorkers();
    void waitForMessages();
    void moveMessages();
    void fillUp(int room);
    void exchange(int count, int rows);
    Messages takeMessages(int count);
    Messages passing(const Messages& messages) const;
    Messages passingAndCounted(const Messages& messages);
    void putInForce(FilterChange& change);
    void setFilterLocked(const MessageFilter& filter, const PreparedFilter& prepared);

    const std::shared_ptr<LogLedger> ledger_ = std::make_shared<LogLedger>();
    std::shared_ptr<LogMessageListener> listener_; ///< under runLock_
    std::list<Worker> workers_;                    ///< under runLock_; joined before they leave it
    std::atomic<int> releasing_{0}; ///< listeners on their way out: they may still hand over
    LogTableModel* fullModel_ = nullptr;
    LogTableModel* filteredModel_ = nullptr;
    mutable boost::mutex runLock_;
    /// Fair, so that a worker under load, which lets go of it for an instant only, does not keep
    /// the window waiting.
    mutable HandOverMutex filterLock_;
    /// The receiving thread, of high priority, takes it for each message.
    mutable platform::PriorityMutex queueLock_;
    platform::PriorityCondition queueFilled_;       ///< with queueLock_
    int waitingWorkers_ = 0;                        ///< under queueLock_
    std::deque<std::shared_ptr<LogMessage>> queue_; ///< oldest first; under queueLock_
    QString errorText_;
    std::atomic<int> maximumMessages_{100000};
    MessageFilter filter_;                   ///< the GUI thread's
    PreparedFilter preparedFilter_{filter_}; ///< written by the GUI thread under filterLock_
    std::atomic<bool> filtering_{false};
    bool showFiltered_ = false;
    std::atomic<bool> active_{false};
    std::atomic<bool> stopRequested_{false};
    std::atomic<bool> shuttingDown_{false};
    bool highlight_ = false;
    bool searchDown_ = true;
    QString highlightText_;
    Qt::CaseSensitivity highlightCase_ = Qt::CaseInsensitive;
    std::atomic<int> timeDisplayMode_{0};
};

} // namespace zuLogging
