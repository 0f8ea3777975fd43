#pragma once

#include "store/LogContainer.h"

namespace zuLogging {

/// Runs the worker's steps on the benchmark's thread.
struct LogContainerAccess
{
    static void setActive(LogContainer& store) { store.active_ = true; }
    static void drain(LogContainer& store)
    {
        while (store.queueSize() > 0)
            store.moveMessages();
    }
};

} // namespace zuLogging
