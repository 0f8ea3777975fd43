#pragma once

namespace zuLogging {

/// While one lives, what its thread writes to the debugger trace is what somebody asked to see, the
/// messages of a trace sink, and no complaint: it is not limited.
class UnlimitedTrace
{
public:
    UnlimitedTrace() noexcept { ++depth(); }
    ~UnlimitedTrace() { --depth(); }
    UnlimitedTrace(const UnlimitedTrace&) = delete;
    UnlimitedTrace& operator=(const UnlimitedTrace&) = delete;

    /// Whether one lives on this thread.
    static bool isActive() noexcept { return depth() != 0; }

private:
    static int& depth() noexcept
    {
        static thread_local int count = 0;
        return count;
    }
};

} // namespace zuLogging
