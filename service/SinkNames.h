#pragma once

#include "logging/SinkFactory.h"

#include <optional>
#include <string_view>

namespace zuLogging {

/// The name of a kind of sink in the start-up file and in the service's status.
const char* sinkName(SinkType type);

/// Nothing for a name that no kind has.
std::optional<SinkType> sinkTypeNamed(std::string_view name);

/// The kind of a sink; nothing for one that is of none.
std::optional<SinkType> sinkTypeOf(const LogMessageSink& sink);

} // namespace zuLogging
