#include "tools/CommandOptions.h"

#include "logging/LogLevel.h"

#include <algorithm>
#include <charconv>
#include <system_error>

namespace zuLogging {

namespace po = boost::program_options;

po::variables_map parseCommandLine(const std::vector<std::string>& words,
                                   const po::options_description& options,
                                   const po::positional_options_description& positional)
{
    po::variables_map values;
    try {
        const int style = po::command_line_style::unix_style &
                          ~static_cast<int>(po::command_line_style::allow_guessing);
        po::store(po::command_line_parser(words)
                      .options(options)
                      .positional(positional)
                      .style(style)
                      .run(),
                  values);
        po::notify(values);
    } catch (const po::error& error) {
        throw UsageError(error.what());
    }
    return values;
}

std::uint64_t parseNumber(std::string_view option, std::string_view text, std::uint64_t lowest,
                          std::uint64_t highest)
{
    std::uint64_t number = 0;
    const char* end = text.data() + text.size();
    const auto [stop, failure] = std::from_chars(text.data(), end, number);
    if (failure != std::errc() || stop != end || number < lowest || number > highest)
        throw UsageError("the argument '" + std::string(text) + "' of option '" +
                         std::string(option) + "' is not a number from " + std::to_string(lowest) +
                         " to " + std::to_string(highest));
    return number;
}

std::uint64_t parseLogLevel(std::string_view name)
{
    std::string known;
    for (const LogLevel level : allLogLevels) {
        const auto code = static_cast<std::uint64_t>(level);
        const std::u16string_view levelName = logLevelName(code);
        if (std::equal(levelName.begin(), levelName.end(), name.begin(), name.end(),
                       [](char16_t a, char b) {
                           return a == static_cast<char16_t>(static_cast<unsigned char>(b));
                       }))
            return code;
        known += known.empty() ? "" : ", ";
        known.append(levelName.begin(), levelName.end());
    }
    throw UsageError("there is no level '" + std::string(name) + "' (there are " + known + ")");
}

} // namespace zuLogging
