#pragma once

#include <string>
#include <vector>

namespace zuLogging::test {

/// What the command line did, run inside the test process.
struct ToolRun
{
    int status = -1;
    std::string out;
    std::string err;
};

/// `words`: the command line behind the program's name.
ToolRun runTool(std::vector<std::string> words, const std::string& input = {});

/// True if `text` is exactly one line.
bool isOneLine(const std::string& text);

} // namespace zuLogging::test
