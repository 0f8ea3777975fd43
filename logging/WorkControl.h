#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <functional>
#include <utility>

namespace zuLogging {

/// Thrown by long work that has noticed that it is not wanted any more. What it had made is gone
/// then, what was there before is as it was.
struct WorkCancelled
{
};

/// Stands between the thread that does long work and the one that waits for it: the first says how
/// far it is, the second may say that it is to end. Where a function takes a pointer to one, null
/// stands for work that nobody watches.
class WorkControl
{
public:
    WorkControl() = default;
    /// `atReport` is called on the working thread with each report, before the look whether the
    /// work was cancelled.
    explicit WorkControl(std::function<void(WorkControl&)> atReport)
        : atReport_(std::move(atReport))
    {
    }
    WorkControl(const WorkControl&) = delete;
    WorkControl& operator=(const WorkControl&) = delete;

    // --- The working thread

    /// What is reported from here on is the work between these two, in per cent of the whole.
    void beginPart(int from, int to)
    {
        from_ = from;
        to_ = to;
        report(0, 1);
    }
    /// `done` of `total` of this part. Throws WorkCancelled once the work was cancelled, unless it
    /// was committed before.
    void report(std::uint64_t done, std::uint64_t total)
    {
        const double part =
            total == 0 ? 0.0
                       : static_cast<double>(std::min(done, total)) / static_cast<double>(total);
        const int percent = from_ + static_cast<int>(part * (to_ - from_));
        percent_ = std::max(percent_.load(), percent); // estimates: never back again
        if (atReport_)
            atReport_(*this);
        if (state_ == Cancelled)
            throw WorkCancelled();
    }
    /// From here on the work goes on to its end. Throws WorkCancelled if it was cancelled before.
    void commit()
    {
        State running = Running;
        if (!state_.compare_exchange_strong(running, Committed) && running == Cancelled)
            throw WorkCancelled();
    }

    // --- Any thread

    /// False when it is too late.
    bool cancel()
    {
        State running = Running;
        return state_.compare_exchange_strong(running, Cancelled) || running == Cancelled;
    }
    bool canBeCancelled() const { return state_ == Running; }
    int percent() const { return percent_; }

private:
    enum State
    {
        Running,
        Cancelled,
        Committed
    };

    const std::function<void(WorkControl&)> atReport_;
    int from_ = 0; ///< this and the next: the working thread's
    int to_ = 100;
    std::atomic<int> percent_{0};
    std::atomic<State> state_{Running};
};

/// Reports where somebody watches.
inline void report(WorkControl* control, std::uint64_t done, std::uint64_t total)
{
    if (control)
        control->report(done, total);
}

} // namespace zuLogging
