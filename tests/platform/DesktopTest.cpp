#include "platform/Desktop.h"

#include <gtest/gtest.h>

#include <array>

namespace {

using namespace zuLogging::platform;

TEST(Desktop, TheCommandLineComesAsItIs)
{
    std::string program = "logdesk";
    std::string argument = "\xC3\xBC \xFF";
    std::array<char*, 3> arguments{program.data(), argument.data(), nullptr};
    EXPECT_EQ(commandLineArguments(2, arguments.data()),
              (std::vector<std::string>{program, argument}));
    EXPECT_TRUE(commandLineArguments(0, arguments.data()).empty());
}

TEST(Desktop, TheProductVersionIs3_1_26)
{
    EXPECT_EQ(productVersion(), "3.1.26");
}

} // namespace
