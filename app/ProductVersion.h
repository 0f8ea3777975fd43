#pragma once

#include <string>

namespace zuLogging {

/// "MAJOR.MINOR" of a product version text of numbers separated by dots. Throws
/// std::invalid_argument ("invalid stoi argument") when one of the two is missing or no number,
/// std::out_of_range ("stoi argument out of range") when it is too large.
std::string majorMinorVersion(const std::string& version);

} // namespace zuLogging
