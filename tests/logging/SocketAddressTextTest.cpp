#include "logging/SocketAddressText.h"

#include "logging/LogSvcError.h"
#include "logging/SocketLibraryGuard.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace {

using namespace zuLogging;

std::string refusal(std::string_view text)
{
    try {
        const SocketAddress address = parseSocketAddress(text);
        return "taken as " + socketAddressText(address);
    } catch (const LogSvcError& error) {
        return error.what();
    }
}

const std::string refused = "Failed to parse socket address string";

TEST(SocketAddressText, ThePortsTextMustStartWith1To9)
{
    EXPECT_EQ(refusal("127.0.0.1:0"), refused);
    EXPECT_EQ(refusal("127.0.0.1:08"), refused);
    EXPECT_EQ(refusal("127.0.0.1:"), refused);
    EXPECT_EQ(refusal("127.0.0.1:+80"), refused);
    EXPECT_EQ(refusal("127.0.0.1:-1"), refused);
    EXPECT_EQ(refusal("127.0.0.1: 80"), refused);
}

TEST(SocketAddressText, Port65536IsRefused)
{
    EXPECT_EQ(refusal("127.0.0.1:65536"), refused);
    EXPECT_EQ(refusal("127.0.0.1:99999999999999999999999"), refused);
    EXPECT_EQ(parseSocketAddress("127.0.0.1:65535").port, 65535);
}

TEST(SocketAddressText, Port80xIsRefused)
{
    EXPECT_EQ(refusal("127.0.0.1:80x"), refused);
    EXPECT_EQ(refusal("127.0.0.1:80 "), refused);
    EXPECT_EQ(refusal("127.0.0.1:80:81"), refused);
    EXPECT_EQ(refusal(std::string_view("127.0.0.1:80\0", 13)), refused);
}

TEST(SocketAddressText, TheHostMustBeAWholeDottedAddress)
{
    for (const char* text : {"", ":", ":80", "127.0.0.1", "127.0.0:80", "127.0.0.1.1:80",
                             "256.0.0.1:80", "localhost:80", " 127.0.0.1:80", "127.0.0.1 :80",
                             "0x7f.0.0.1:80", "2130706433:80", "[::1]:80", "127.0.0.1x:80"})
        EXPECT_EQ(refusal(text), refused) << text;
    EXPECT_EQ(refusal(std::string_view("127.0.0.1\0:80", 13)), refused);
    EXPECT_EQ(refusal(std::string(100000, '1') + ":80"), refused);
}

TEST(SocketAddressText, ATextGivesAddressAndPortInHostOrder)
{
    const SocketAddress address = parseSocketAddress("192.168.1.2:258");
    EXPECT_EQ(address.address, 0xC0A80102U);
    EXPECT_EQ(address.port, 258);
}

TEST(SocketAddressText, AnAddressIsPrintedWithColonAndDecimalPort)
{
    EXPECT_EQ(socketAddressText({platform::loopbackAddress, 49152}), "127.0.0.1:49152");
    EXPECT_EQ(socketAddressText({0xFFFFFFFFU, 65535}), "255.255.255.255:65535");
    EXPECT_EQ(socketAddressText({0, 0}), "0.0.0.0:0");
}

TEST(SocketAddressText, APrintedAddressIsReadBackAsItself)
{
    for (const SocketAddress& address :
         {SocketAddress{platform::loopbackAddress, 1}, SocketAddress{0x01020304U, 65535},
          SocketAddress{0xFFFFFFFFU, 8080}})
        EXPECT_EQ(parseSocketAddress(socketAddressText(address)), address);
}

TEST(SocketLibraryGuard, GuardsCanBeNested)
{
    EXPECT_NO_THROW({
        const SocketLibraryGuard outer;
        const SocketLibraryGuard inner;
    });
}

} // namespace
