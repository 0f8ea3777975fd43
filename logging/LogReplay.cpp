#include "logging/LogReplay.h"

#include "logging/LogClient.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <boost/thread/exceptions.hpp>
#include <boost/thread/thread.hpp>

#include <exception>
#include <utility>

namespace zuLogging {

LogReplay::LogReplay(RecordRing::Snapshot records, const SocketAddress& target,
                     std::shared_ptr<ReplayProgress> progress)
    : records_(std::move(records))
    , target_(target)
    , progress_(std::move(progress))
{
}

void LogReplay::operator()() noexcept
{
    try {
        sendAll();
    } catch (const std::exception&) {
        // Nobody waits for this replay, and the next one may go well.
    }
    progress_->end();
    // The thread's own object stays until it is joined; the copies need not.
    records_.reset();
}

void LogReplay::sendAll()
{
    // One client for each replay: its numbers begin at 1 for either kind.
    LogClient client(target_);
    std::size_t sent = 0;
    for (const RecordedLog& record : *records_) {
        if (sent != 0 && sent % burst == 0)
            rest();
        const LogMessageContainer container(record.bytes.data(), record.bytes.size());
        LogMessageContainerView view;
        view.data = record.bytes.data();
        view.length = container.size();
        view.serviceNumber = record.serviceNumber;
        client.forward(view);
        ++sent;
    }
}

void LogReplay::rest()
{
    if (hurried_)
        return;
    try {
        boost::this_thread::sleep(boost::posix_time::milliseconds(pause.count()));
    } catch (const boost::thread_interrupted&) {
        hurried_ = true;
    }
}

} // namespace zuLogging
