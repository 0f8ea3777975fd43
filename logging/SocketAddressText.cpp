#include "logging/SocketAddressText.h"

#include "logging/LogSvcError.h"

#include <charconv>
#include <optional>
#include <system_error>

namespace zuLogging {

namespace {

std::optional<std::uint16_t> parsePort(std::string_view text)
{
    if (text.empty() || text.front() < '1' || text.front() > '9')
        return std::nullopt;
    std::uint16_t port = 0;
    const char* end = text.data() + text.size();
    const auto [stop, failure] = std::from_chars(text.data(), end, port);
    if (failure != std::errc() || stop != end)
        return std::nullopt;
    return port;
}

} // namespace

std::string socketAddressText(const SocketAddress& address)
{
    const std::optional<std::string> host = platform::ipv4Text(address.address);
    if (!host)
        throw LogSvcError("Failed to build socket address string");
    return *host + ':' + std::to_string(address.port);
}

SocketAddress parseSocketAddress(std::string_view text)
{
    const std::size_t colon = text.find(':');
    if (colon != std::string_view::npos) {
        const std::optional<std::uint16_t> port = parsePort(text.substr(colon + 1));
        const std::optional<std::uint32_t> host = platform::parseIpv4(text.substr(0, colon));
        if (port && host)
            return SocketAddress{*host, *port};
    }
    throw LogSvcError("Failed to parse socket address string");
}

} // namespace zuLogging
