#pragma once

#include <QCoreApplication>
#include <QEvent>
#include <QObject>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace zuLogging::test {

/// Asks the window's thread, from a thread of its own, for an answer again and again and keeps the
/// longest time that one took: how long the window would not have reacted to a click.
class AnswerWatch
{
public:
    using Milliseconds = std::chrono::duration<double, std::milli>;

    AnswerWatch()
        : thread_([this] { run(); })
    {
    }
    ~AnswerWatch() { end(); }
    AnswerWatch(const AnswerWatch&) = delete;
    AnswerWatch& operator=(const AnswerWatch&) = delete;

    /// Window's thread: the longest so far; a question that is still open counts.
    Milliseconds longest()
    {
        end();
        return longest_;
    }

private:
    using Clock = std::chrono::steady_clock;

    /// Window's thread.
    void end()
    {
        {
            const std::lock_guard<std::mutex> lock(mutex_);
            ended_ = true;
        }
        changed_.notify_all();
        if (thread_.joinable())
            thread_.join();
    }

    void run()
    {
        std::unique_lock<std::mutex> lock(mutex_);
        while (!ended_) {
            answered_ = false;
            const Clock::time_point asked = Clock::now();
            QCoreApplication::postEvent(&receiver_, new QEvent(QEvent::User));
            changed_.wait(lock, [this] { return answered_ || ended_; });
            longest_ = std::max<Milliseconds>(longest_, Clock::now() - asked);
            changed_.wait_for(lock, std::chrono::milliseconds(5), [this] { return ended_; });
        }
    }

    /// Window's thread: true if the event was the question. Under the lock before it is looked at:
    /// how Qt hands it over is not seen by the thread sanitizer.
    bool answer(const QEvent& event)
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (event.type() != QEvent::User)
            return false;
        answered_ = true;
        changed_.notify_all();
        return true;
    }

    /// Lives on the window's thread; questions still under way go with it.
    class Receiver final : public QObject
    {
    public:
        explicit Receiver(AnswerWatch& watch)
            : watch_(watch)
        {
        }
        bool event(QEvent* event) override
        {
            return watch_.answer(*event) || QObject::event(event);
        }

    private:
        AnswerWatch& watch_;
    };

    Receiver receiver_{*this};
    std::mutex mutex_;
    std::condition_variable changed_;
    bool answered_ = false;
    bool ended_ = false;
    Milliseconds longest_{0};
    std::thread thread_;
};

} // namespace zuLogging::test
