#include "platform/Desktop.h"
#include "service/ServiceProgram.h"

#include <iostream>

int main(int argc, char** argv)
{
    return zuLogging::runServiceProgram(zuLogging::platform::commandLineArguments(argc, argv),
                                        std::cout, std::cerr);
}
