#include "platform/Desktop.h"
#include "service/ServiceProgram.h"
#include "service/ServiceStreams.h"

#include <iostream>

int main(int argc, char** argv)
{
    const zuLogging::ServiceStreams streams;
    return zuLogging::runServiceProgram(zuLogging::platform::commandLineArguments(argc, argv),
                                        std::cout, std::cerr);
}
