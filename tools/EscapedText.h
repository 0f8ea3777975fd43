#pragma once

#include <string>
#include <string_view>

namespace zuLogging {

/// `text` (UTF-8) as one line that does nothing to a terminal: control characters, the line ends of
/// Unicode and what turns the direction of writing become \xHH, byte for byte, and a backslash two,
/// so that the bytes can be had back. Bytes that are no UTF-8 stay.
std::string escapedText(std::string_view text);

} // namespace zuLogging
