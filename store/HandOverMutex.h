#pragma once

#include <boost/thread/condition_variable.hpp>
#include <boost/thread/lock_types.hpp>
#include <boost/thread/mutex.hpp>

#include <cstdint>

namespace zuLogging {

/// A mutex that one thread may take and another let go of: long work takes it on its own thread,
/// and hands it on with what it has made. Those who wait get it in the order in which they came.
/// Not recursive.
class HandOverMutex
{
public:
    void lock()
    {
        boost::unique_lock<boost::mutex> lock(mutex_);
        const std::uint64_t turn = nextTurn_++;
        while (turn != served_)
            changed_.wait(lock);
    }
    void unlock()
    {
        {
            const boost::unique_lock<boost::mutex> lock(mutex_);
            ++served_;
        }
        changed_.notify_all();
    }

private:
    boost::mutex mutex_;
    boost::condition_variable changed_;
    std::uint64_t nextTurn_ = 0;
    std::uint64_t served_ = 0; ///< whose turn it is
};

} // namespace zuLogging
