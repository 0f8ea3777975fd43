// A socket address text: against a parser of its own, and printed and read again.

#include "fuzz/FuzzCheck.h"
#include "fuzz/FuzzInput.h"
#include "logging/LogSvcError.h"
#include "logging/SocketAddressText.h"

#include <optional>
#include <string>
#include <string_view>

using namespace zuLogging;
using fuzz::check;

namespace {

/// A decimal number of `most` at most; nothing for anything else.
std::optional<std::uint32_t> plainNumber(std::string_view text, std::size_t digits,
                                         std::uint32_t most)
{
    if (text.empty() || text.size() > digits || (text.size() > 1 && text.front() == '0'))
        return std::nullopt;
    std::uint32_t value = 0;
    for (const char c : text) {
        if (c < '0' || c > '9')
            return std::nullopt;
        value = value * 10 + static_cast<std::uint32_t>(c - '0');
    }
    return value <= most ? std::optional<std::uint32_t>(value) : std::nullopt;
}

std::optional<SocketAddress> plainParse(std::string_view text)
{
    const std::size_t colon = text.find(':');
    if (colon == std::string_view::npos)
        return std::nullopt;
    const auto port = plainNumber(text.substr(colon + 1), 5, 65535);
    if (!port || *port == 0)
        return std::nullopt;
    SocketAddress address;
    address.port = static_cast<std::uint16_t>(*port);
    std::string_view host = text.substr(0, colon);
    for (int part = 0; part < 4; ++part) {
        const std::size_t dot = part < 3 ? host.find('.') : host.size();
        const auto byte = plainNumber(host.substr(0, dot), 3, 255);
        if (dot == std::string_view::npos || !byte)
            return std::nullopt;
        address.address = address.address << 8 | *byte;
        host.remove_prefix(part < 3 ? dot + 1 : dot);
    }
    return address;
}

std::optional<SocketAddress> parsed(std::string_view text)
{
    try {
        return parseSocketAddress(text);
    } catch (const LogSvcError&) {
        return std::nullopt;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    const std::optional<SocketAddress> address = parsed(text);
    const std::optional<SocketAddress> expected = plainParse(text);
    check(address.has_value() == expected.has_value(), "only one way reads the text");
    if (address) {
        check(*address == *expected, "the text names two addresses");
        check(socketAddressText(*address) == text, "an address has two texts");
    }

    fuzz::FuzzInput input(data, size);
    SocketAddress any;
    any.address = static_cast<std::uint32_t>(input.number(4));
    any.port = static_cast<std::uint16_t>(input.number(2));
    const std::optional<SocketAddress> again = parsed(socketAddressText(any));
    check(again.has_value() == (any.port != 0), "port 0 only cannot be read again");
    check(!again || *again == any, "an address changes when it is printed and read");
    return 0;
}
