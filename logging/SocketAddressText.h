#pragma once

#include "platform/Udp.h"

#include <string>
#include <string_view>

namespace zuLogging {

using platform::SocketAddress;

/// a.b.c.d:port, for example 127.0.0.1:49152. Throws LogSvcError "Failed to build socket address
/// string".
std::string socketAddressText(const SocketAddress& address);

/// The address that such a text names: split at the first colon, a dotted IPv4 host and a port of
/// 1 to 65535 without leading zeros and with nothing behind it. Throws LogSvcError "Failed to parse
/// socket address string".
SocketAddress parseSocketAddress(std::string_view text);

} // namespace zuLogging
