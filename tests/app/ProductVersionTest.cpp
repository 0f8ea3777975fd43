#include "app/ProductVersion.h"

#include <gtest/gtest.h>

#include <stdexcept>

using namespace zuLogging;

namespace {

template <class Error>
std::string failureOf(const std::string& version)
{
    try {
        majorMinorVersion(version);
    } catch (const Error& error) {
        return error.what();
    }
    return "";
}

} // namespace

TEST(ProductVersion, TheFirstTwoNumbersAreKept)
{
    EXPECT_EQ(majorMinorVersion("3.1.26"), "3.1");
    EXPECT_EQ(majorMinorVersion("3.1"), "3.1");
    EXPECT_EQ(majorMinorVersion("12.0.1.7"), "12.0");
}

TEST(ProductVersion, EachPartIsANumberWrittenAnew)
{
    EXPECT_EQ(majorMinorVersion("03.01b.2"), "3.1");
}

TEST(ProductVersion, APartThatIsMissingOrNoNumberIsAnError)
{
    for (const char* version : {"", "3", "3.", ".1", "x.1", "3.x"})
        EXPECT_EQ(failureOf<std::invalid_argument>(version), "invalid stoi argument") << version;
}

TEST(ProductVersion, APartTooLargeIsAnError)
{
    EXPECT_EQ(failureOf<std::out_of_range>("99999999999.1"), "stoi argument out of range");
    EXPECT_EQ(failureOf<std::out_of_range>("3.99999999999"), "stoi argument out of range");
}
