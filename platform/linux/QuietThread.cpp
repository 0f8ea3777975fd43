#include "platform/QuietThread.h"

#include <pthread.h>
#include <signal.h>
#include <time.h>

#include <memory>
#include <new>

namespace zuLogging::platform {

namespace {

struct Job
{
    void (*work)(void*);
    void* argument;
};

void* runJob(void* pointer)
{
    const Job job = *static_cast<Job*>(pointer);
    delete static_cast<Job*>(pointer);
    job.work(job.argument);
    return nullptr;
}

} // namespace

QuietThread::~QuietThread()
{
    if (isStarted_)
        ::pthread_join(static_cast<pthread_t>(handle_), nullptr);
}

bool QuietThread::start(void (*work)(void*), void* argument) noexcept
{
    std::unique_ptr<Job> job(new (std::nothrow) Job{work, argument});
    if (!job)
        return false;
    // The new thread inherits the mask: there is no moment at which it could be given a signal.
    sigset_t all;
    sigset_t before;
    ::sigfillset(&all);
    if (::pthread_sigmask(SIG_SETMASK, &all, &before) != 0)
        return false;
    pthread_t thread{};
    isStarted_ = ::pthread_create(&thread, nullptr, &runJob, job.get()) == 0;
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (isStarted_) {
        job.release();
        handle_ = static_cast<std::uintptr_t>(thread);
    }
    return isStarted_;
}

bool QuietThread::joinFor(std::chrono::milliseconds limit) noexcept
{
    if (!isStarted_)
        return true;
    timespec end{};
    ::clock_gettime(CLOCK_REALTIME, &end);
    const auto whole = std::chrono::duration_cast<std::chrono::seconds>(limit);
    end.tv_sec += static_cast<time_t>(whole.count());
    end.tv_nsec += static_cast<long>((limit - whole).count()) * 1000000L;
    if (end.tv_nsec >= 1000000000L) {
        end.tv_nsec -= 1000000000L;
        ++end.tv_sec;
    }
    if (::pthread_timedjoin_np(static_cast<pthread_t>(handle_), nullptr, &end) != 0)
        return false;
    isStarted_ = false;
    return true;
}

void QuietThread::leave() noexcept
{
    if (!isStarted_)
        return;
    ::pthread_detach(static_cast<pthread_t>(handle_));
    isStarted_ = false;
}

} // namespace zuLogging::platform
