#pragma once

namespace zuLogging::platform {

/// Has the processor begin to read what lies at `address`, which need not be valid, while the
/// program goes on; without effect where that cannot be asked for.
inline void prefetch(const void* address) noexcept
{
#if defined(__GNUC__)
    __builtin_prefetch(address);
#else
    static_cast<void>(address);
#endif
}

} // namespace zuLogging::platform
