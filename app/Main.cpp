#include "app/Application.h"
#include "app/CommandLine.h"
#include "logging/LimitedTrace.h"
#include "platform/Desktop.h"
#include "platform/Memory.h"

#include <iostream>

int main(int argc, char** argv)
{
    zuLogging::platform::avoidAllocationStalls();
    const zuLogging::LimitedTrace trace(std::cerr);
    zuLogging::CommandLine line(zuLogging::platform::commandLineArguments(argc, argv));
    return zuLogging::runApplication(line.argc(), line.argv());
}
