#include "app/Application.h"
#include "app/CommandLine.h"
#include "platform/Desktop.h"

int main(int argc, char** argv)
{
    zuLogging::CommandLine line(zuLogging::platform::commandLineArguments(argc, argv));
    return zuLogging::runApplication(line.argc(), line.argv());
}
