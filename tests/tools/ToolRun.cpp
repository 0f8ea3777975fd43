#include "tests/tools/ToolRun.h"

#include "tools/ZulogProgram.h"

#include <sstream>

namespace zuLogging::test {

ToolRun runTool(std::vector<std::string> words, const std::string& input)
{
    words.insert(words.begin(), "zulog");
    std::istringstream in(input);
    std::ostringstream out;
    std::ostringstream err;
    Console console{in, out, err};
    const int status = runZulogProgram(words, console);
    return {status, out.str(), err.str()};
}

bool isOneLine(const std::string& text)
{
    return text.size() > 1 && text.find('\n') == text.size() - 1;
}

} // namespace zuLogging::test
