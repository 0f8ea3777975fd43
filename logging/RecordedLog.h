#pragma once

#include "logging/LogMessageContainer.h"

#include <array>
#include <cstdint>
#include <optional>

namespace zuLogging {

/// One stored container. Its own size field says how many of the bytes are meaningful.
struct RecordedLog
{
    std::array<std::uint8_t, maximumContainer> bytes{};
    std::optional<std::uint64_t> serviceNumber; ///< that came with it, if any
};

} // namespace zuLogging
