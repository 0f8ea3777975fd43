#pragma once

#include "tests/store/StoreTestSupport.h"
#include "tests/support/TestEnvironment.h"

#include <QObject>

#include <atomic>
#include <memory>

namespace zuLogging::test {

/// A store with its two models, as the window has them.
template <class Store>
struct StoreDesk
{
    StoreDesk()
        : store(std::make_shared<Store>())
        , full(store)
        , filtered(store)
    {
        store->setModels(&full, &filtered);
        QObject::connect(store.get(), &LogContainer::stopLoggingDone, [this] { ++done; });
    }
    ~StoreDesk() { store->setModels(nullptr, nullptr); }

    /// Moves everything that is queued, as the worker would, on this thread.
    void drain()
    {
        while (store->queueSize() > 0)
            LogContainerAccess::moveMessages(*store);
    }
    bool stop()
    {
        const int before = done;
        store->stopLogging();
        return waitFor([this, before] { return done > before; });
    }

    std::atomic<int> done{0}; ///< runs that have ended
    std::shared_ptr<Store> store;
    LogTableModel full;
    LogTableModel filtered;
};

} // namespace zuLogging::test
