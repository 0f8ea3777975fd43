#pragma once

#include <optional>
#include <string>

namespace zuLogging::benchmarks {

/// What another program took, in seconds, by the file that LOGDESK_BENCHMARK_PEERS names (peers.sh
/// writes it). Empty when it was not measured: it is not installed.
std::optional<double> peerSeconds(const std::string& name);

/// Writes the text log that this program and the others read: one line of about 180 bytes each,
/// time, module, group, level and text. False when the file cannot be written.
bool writeTextLog(const std::string& path, int lines);

/// In none of these lines.
inline constexpr const char* textInNoLine = "nowhere-to-be-found";

} // namespace zuLogging::benchmarks
