#pragma once

#include "tools/Console.h"

namespace zuLogging {

/// `zulog send`: sends one message, or one for each line, or JSON object, of standard input. A
/// single message is always acknowledged, so that the exit status tells the truth; of many, as
/// MessageSender says. Ends at the first one that the service does not take, and, at SIGINT or
/// SIGTERM, after what has been read. To be called before any other thread is started.
ToolExit runSendCommand(const std::vector<std::string>& words, Console& console);

} // namespace zuLogging
