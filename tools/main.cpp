#include "logging/LimitedTrace.h"
#include "platform/Desktop.h"
#include "tools/ZulogProgram.h"

#include <iostream>

int main(int argc, char** argv)
{
    std::ios::sync_with_stdio(false);
    const zuLogging::LimitedTrace trace(std::cerr);
    zuLogging::Console console{std::cin, std::cout, std::cerr};
    return zuLogging::runZulogProgram(zuLogging::platform::commandLineArguments(argc, argv),
                                      console);
}
