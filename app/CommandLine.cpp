#include "app/CommandLine.h"

#include <utility>

namespace zuLogging {

CommandLine::CommandLine(std::vector<std::string> arguments)
    : strings_(std::move(arguments))
{
    if (strings_.empty())
        strings_.emplace_back("logdesk");
    pointers_.reserve(strings_.size() + 1);
    for (std::string& text : strings_)
        pointers_.push_back(text.data());
    pointers_.push_back(nullptr);
    count_ = static_cast<int>(strings_.size());
}

} // namespace zuLogging
