#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

namespace zuLogging {

/// One thread that does, one after the other, what must not hold the receiving thread. What a job
/// throws is lost: jobs report their failures themselves.
class BackgroundWorker
{
public:
    using Job = std::function<void()>;
    using TimePoint = std::chrono::steady_clock::time_point;

    BackgroundWorker();
    ~BackgroundWorker();
    BackgroundWorker(const BackgroundWorker&) = delete;
    BackgroundWorker& operator=(const BackgroundWorker&) = delete;

    /// Any thread. False after `stop`, and the job is not done.
    bool post(Job job);

    /// The job that is done, once, `delay` after `request` was called first, or at the end. To be
    /// set before the first request.
    void setDelayedJob(Job job, std::chrono::milliseconds delay);
    void requestDelayedJob();

    /// Does what was posted and requested, then ends the thread.
    void stop();

private:
    void run();

    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Job> jobs_;
    Job delayedJob_;
    std::chrono::milliseconds delay_{0};
    std::optional<TimePoint> delayedUntil_;
    bool isStopping_ = false;
    std::thread thread_;
};

} // namespace zuLogging
