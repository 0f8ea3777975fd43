#pragma once

#include "platform/Udp.h"

namespace zuLogging::platform {

/// The streams that whoever started the program gave it.
enum class StandardStream : int
{
    Input = 0,
    Output = 1,
    Error = 2
};

bool isTerminal(StandardStream stream);

/// True if `stream`, one to write to, is a pipe or the like that nobody reads any more.
bool isClosedPipe(StandardStream stream);

/// Waits until a read of standard input would not wait: something has come, or the end, or an
/// error. False as soon as `wake` is raised, which counts first.
bool waitForStandardInput(const WakeSignal& wake);

} // namespace zuLogging::platform
