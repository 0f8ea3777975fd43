#pragma once

#include <QString>

#include <boost/thread/thread.hpp>

#include <memory>

namespace zuLogging {

class LogContainer;

/// The stop of the store on a thread of its own, with the wait cursor until its end is told. GUI
/// thread.
class BackgroundStop
{
public:
    explicit BackgroundStop(std::shared_ptr<LogContainer> store);
    /// Waits for the thread, at most about 1 second.
    ~BackgroundStop();
    BackgroundStop(const BackgroundStop&) = delete;
    BackgroundStop& operator=(const BackgroundStop&) = delete;

    /// Returns at once, unless the thread of an earlier stop has not quite ended. Empty, or why no
    /// thread could be started: then there is no wait cursor.
    QString begin();
    /// To be called when the store tells that it has stopped, which may be more than once, or
    /// without a stop: the cursor goes once.
    void end();
    void join();

private:
    void setWaiting(bool waiting);

    std::shared_ptr<LogContainer> store_;
    bool isWaiting_ = false; ///< the override cursor is this one's
    boost::thread thread_;
};

} // namespace zuLogging
