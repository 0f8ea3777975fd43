#include "service/BackgroundWorker.h"

#include <exception>
#include <utility>

namespace zuLogging {

BackgroundWorker::BackgroundWorker()
    : thread_([this] { run(); })
{
}

BackgroundWorker::~BackgroundWorker()
{
    stop();
}

bool BackgroundWorker::post(Job job)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    if (isStopping_)
        return false;
    jobs_.push_back(std::move(job));
    changed_.notify_one();
    return true;
}

void BackgroundWorker::setDelayedJob(Job job, std::chrono::milliseconds delay)
{
    const std::lock_guard<std::mutex> lock(mutex_);
    delayedJob_ = std::move(job);
    delay_ = delay;
}

void BackgroundWorker::requestDelayedJob()
{
    const std::lock_guard<std::mutex> lock(mutex_);
    if (delayedUntil_)
        return;
    delayedUntil_ = std::chrono::steady_clock::now() + delay_;
    changed_.notify_one();
}

void BackgroundWorker::stop()
{
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        isStopping_ = true;
        changed_.notify_one();
    }
    if (thread_.joinable())
        thread_.join();
}

void BackgroundWorker::run()
{
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
        Job job;
        const TimePoint now = std::chrono::steady_clock::now();
        if (!jobs_.empty()) {
            job = std::move(jobs_.front());
            jobs_.pop_front();
        } else if (delayedUntil_ && (isStopping_ || now >= *delayedUntil_)) {
            delayedUntil_.reset();
            job = delayedJob_;
        } else if (isStopping_) {
            return;
        } else if (delayedUntil_) {
            // A copy: the wait refers to it, and others may change the member meanwhile.
            const TimePoint until = *delayedUntil_;
            changed_.wait_until(lock, until);
            continue;
        } else {
            changed_.wait(lock);
            continue;
        }
        lock.unlock();
        try {
            job();
        } catch (const std::exception&) {
        }
        job = nullptr; // what it holds goes before the lock is taken
        lock.lock();
    }
}

} // namespace zuLogging
