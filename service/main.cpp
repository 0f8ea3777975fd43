#include "logging/ProgramStreams.h"
#include "platform/Desktop.h"
#include "service/ServiceProgram.h"

#include <iostream>

int main(int argc, char** argv)
{
    const zuLogging::ProgramStreams streams("zulogsvc");
    return zuLogging::runServiceProgram(zuLogging::platform::commandLineArguments(argc, argv),
                                        std::cout, std::cerr);
}
