#pragma once

#include <boost/program_options.hpp>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace zuLogging {

/// A command line that cannot be understood; the text is one line for the user.
class UsageError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Reads `words` by `options` and `positional`: long names in full, never abbreviated, so that a
/// new option cannot change what a script means. Throws UsageError.
boost::program_options::variables_map
parseCommandLine(const std::vector<std::string>& words,
                 const boost::program_options::options_description& options,
                 const boost::program_options::positional_options_description& positional);

/// The decimal number that the whole of `text` is, within [lowest, highest]. Throws UsageError,
/// naming `option`.
std::uint64_t parseNumber(std::string_view option, std::string_view text, std::uint64_t lowest,
                          std::uint64_t highest);

/// The time stamp (microseconds since 1400) that `text` tells, in UTC: a number of microseconds
/// since 1970; a time stamp as timestampText writes it; or YYYY-MM-DDTHH:MM:SS, with a blank in the
/// place of the T, a fraction of one to six digits and a Z behind it if it has them. Throws
/// UsageError, naming `option`.
std::uint64_t parseTime(std::string_view option, std::string_view text);

/// The code of the level called `name`. Throws UsageError with the names that there are.
std::uint64_t parseLogLevel(std::string_view name);

} // namespace zuLogging
