#include "app/Application.h"
#include "app/CommandLine.h"
#include "logging/LimitedTrace.h"
#include "logging/ProgramStreams.h"
#include "platform/Desktop.h"
#include "platform/Memory.h"
#include "platform/Process.h"

#include <iostream>

int main(int argc, char** argv)
{
    // Whoever started the window may stop reading what it says: a complaint about a datagram must
    // neither end it then nor hold it.
    zuLogging::platform::ignoreBrokenPipes();
    const zuLogging::ProgramStreams streams("logdesk");
    zuLogging::platform::avoidAllocationStalls();
    const zuLogging::LimitedTrace trace(std::cerr);
    zuLogging::CommandLine line(zuLogging::platform::commandLineArguments(argc, argv));
    return zuLogging::runApplication(line.argc(), line.argv());
}
