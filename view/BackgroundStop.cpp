#include "view/BackgroundStop.h"

#include "store/LogContainer.h"

#include <QApplication>

#include <exception>
#include <utility>

namespace zuLogging {

BackgroundStop::BackgroundStop(std::shared_ptr<LogContainer> store)
    : store_(std::move(store))
{
}

BackgroundStop::~BackgroundStop()
{
    join();
    end();
}

QString BackgroundStop::begin()
{
    setWaiting(true);
    join();
    try {
        thread_ = boost::thread([store = store_] { store->stopLogging(); });
    } catch (const std::exception& failure) {
        setWaiting(false);
        return QString::fromUtf8(failure.what());
    }
    return {};
}

void BackgroundStop::end()
{
    setWaiting(false);
}

void BackgroundStop::join()
{
    if (thread_.joinable())
        thread_.join();
}

void BackgroundStop::setWaiting(bool waiting)
{
    if (waiting == isWaiting_)
        return;
    isWaiting_ = waiting;
    if (waiting)
        QApplication::setOverrideCursor(Qt::WaitCursor);
    else
        QApplication::restoreOverrideCursor();
}

} // namespace zuLogging
