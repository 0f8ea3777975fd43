#pragma once

#include <string>
#include <vector>

namespace zuLogging {

/// An argument vector of narrow (UTF-8) strings as `main` and Qt want it. Owns the strings; must
/// outlive whatever got `argc` and `argv`, since Qt takes its own arguments out of them.
class CommandLine
{
public:
    /// An empty list becomes one argument, the program's name.
    explicit CommandLine(std::vector<std::string> arguments);
    CommandLine(const CommandLine&) = delete;
    CommandLine& operator=(const CommandLine&) = delete;

    int& argc() { return count_; }
    /// `argc` pointers and a null pointer.
    char** argv() { return pointers_.data(); }

private:
    std::vector<std::string> strings_;
    std::vector<char*> pointers_;
    int count_;
};

} // namespace zuLogging
