#include "platform/PriorityMutex.h"

#include <pthread.h>
#include <time.h>

namespace zuLogging::platform {

struct PriorityMutex::State
{
    pthread_mutex_t mutex;
};

PriorityMutex::PriorityMutex()
    : state_(std::make_unique<State>())
{
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    // Where the kernel has no such thing, what is left is a mutex all the same.
    if (pthread_mutexattr_setprotocol(&attributes, PTHREAD_PRIO_INHERIT) != 0 ||
        pthread_mutex_init(&state_->mutex, &attributes) != 0)
        pthread_mutex_init(&state_->mutex, nullptr);
    pthread_mutexattr_destroy(&attributes);
}

PriorityMutex::~PriorityMutex()
{
    pthread_mutex_destroy(&state_->mutex);
}

void PriorityMutex::lock() noexcept
{
    pthread_mutex_lock(&state_->mutex);
}

bool PriorityMutex::try_lock() noexcept
{
    return pthread_mutex_trylock(&state_->mutex) == 0;
}

void PriorityMutex::unlock() noexcept
{
    pthread_mutex_unlock(&state_->mutex);
}

struct PriorityCondition::State
{
    pthread_cond_t condition;
};

PriorityCondition::PriorityCondition()
    : state_(std::make_unique<State>())
{
    // A clock that nobody sets.
    pthread_condattr_t attributes;
    pthread_condattr_init(&attributes);
    pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
    pthread_cond_init(&state_->condition, &attributes);
    pthread_condattr_destroy(&attributes);
}

PriorityCondition::~PriorityCondition()
{
    pthread_cond_destroy(&state_->condition);
}

void PriorityCondition::waitFor(PriorityMutex& mutex, std::chrono::milliseconds time) noexcept
{
    timespec deadline{};
    clock_gettime(CLOCK_MONOTONIC, &deadline);
    const std::chrono::nanoseconds end =
        std::chrono::seconds(deadline.tv_sec) + std::chrono::nanoseconds(deadline.tv_nsec) + time;
    deadline.tv_sec = std::chrono::duration_cast<std::chrono::seconds>(end).count();
    deadline.tv_nsec = (end % std::chrono::seconds(1)).count();
    pthread_cond_timedwait(&state_->condition, &mutex.state_->mutex, &deadline);
}

void PriorityCondition::notifyOne() noexcept
{
    pthread_cond_signal(&state_->condition);
}

void PriorityCondition::notifyAll() noexcept
{
    pthread_cond_broadcast(&state_->condition);
}

} // namespace zuLogging::platform
