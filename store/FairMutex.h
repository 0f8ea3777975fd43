#pragma once

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>

namespace zuLogging {

/// A mutex whose holder cannot take it again before one that waits has had it: a long work that
/// lets go of it now and then lets others in each time. Not recursive.
class FairMutex
{
public:
    void lock()
    {
        const boost::lock_guard<boost::mutex> turn(turn_); // held while waiting
        mutex_.lock();
    }
    void unlock() { mutex_.unlock(); }

private:
    boost::mutex turn_;
    boost::mutex mutex_;
};

} // namespace zuLogging
