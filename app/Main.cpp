#include "app/Application.h"
#include "app/CommandLine.h"
#include "platform/Desktop.h"
#include "platform/Memory.h"

int main(int argc, char** argv)
{
    zuLogging::platform::avoidAllocationStalls();
    zuLogging::CommandLine line(zuLogging::platform::commandLineArguments(argc, argv));
    return zuLogging::runApplication(line.argc(), line.argv());
}
