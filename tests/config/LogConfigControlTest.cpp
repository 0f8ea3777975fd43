#include "config/LogConfigControl.h"

#include "logging/LogSvcError.h"
#include "tests/config/TransferServer.h"
#include "tests/support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

using namespace zuLogging;
using namespace zuLogging::test;

namespace {

const std::string noError = "no error";

std::string failureOf(const std::function<void()>& action)
{
    try {
        action();
        return noError;
    } catch (const LogSvcError& error) {
        return error.what();
    }
}

class Control : public LogConfigControl
{
public:
    using LogConfigControl::setConfigurationTree;
};

std::set<std::string> namesOf(const std::string& bytes)
{
    TransferServer server("{}", bytes);
    return Control().downloadModuleNames();
}

} // namespace

TEST(LogConfigControl, AServiceThatCannotBeFoundIsAnErrorOfTheConstructor)
{
    EXPECT_EQ(failureOf([] { Control control; }),
              "Failed to connect to the shared memory with connection info: Shared memory error");
    platform::SharedMemoryPublisher publisher;
    ASSERT_EQ(publisher.publish(connectionInfoName(), std::vector<std::uint8_t>(24, 0xEE)),
              platform::SharedMemoryPublisher::Result::Published);
    EXPECT_EQ(failureOf([] { Control control; }), "Failed to retrieve valid connection info");
}

TEST(LogConfigControl, NothingIsDownloadedAtFirst)
{
    TransferServer server;
    Control control;
    EXPECT_TRUE(control.configurationTree().empty());
    EXPECT_TRUE(server.newCommands().empty());
}

TEST(LogConfigControl, DownloadsTheConfigurationTree)
{
    TransferServer server(R"({"a":{"b":"1"}})");
    Control control;
    control.downloadConfiguration();
    EXPECT_EQ(control.configurationTree(), readPropertyTree(R"({"a":{"b":"1"}})"));
    EXPECT_EQ(server.newCommands(), (std::vector<int>{33, 21, 17, 20}));
    EXPECT_EQ(server.openBuffers(), 0U);
}

TEST(LogConfigControl, ATextThatIsNoDocumentKeepsThePreviousTree)
{
    TransferServer server(R"({"a":"1"})");
    Control control;
    control.downloadConfiguration();
    for (const char* text : {"", "{", "5", "[]", "\"text\"", "{\"a\":\"\xFF\"}"}) {
        server.setConfiguration(text);
        EXPECT_EQ(failureOf([&] { control.downloadConfiguration(); }),
                  "Failed to deserialize the configuration tree downloaded from the server")
            << text;
        EXPECT_EQ(control.configurationTree(), readPropertyTree(R"({"a":"1"})"));
        EXPECT_EQ(server.openBuffers(), 0U) << "released before the text was read";
    }
}

TEST(LogConfigControl, UploadsTheTreeInCompactForm)
{
    TransferServer server;
    Control control;
    control.setConfigurationTree(readPropertyTree("{ \"a\" : [ \"1\" ,\n \"2\" ] }"));
    control.uploadConfiguration();
    EXPECT_EQ(server.configuration(), R"({"a":["1","2"]})");
    EXPECT_EQ(server.newCommands(), (std::vector<int>{19, 18, 34, 20}));
    EXPECT_EQ(server.openBuffers(), 0U);
}

TEST(LogConfigControl, AnEmptyTreeIsAnEmptyObject)
{
    TransferServer server("x");
    Control control;
    control.uploadConfiguration();
    EXPECT_EQ(server.configuration(), "{}");
}

TEST(LogConfigControl, ATreeWithoutJsonFormIsNotSent)
{
    TransferServer server;
    Control control;
    PropertyTree tree;
    tree.push_back({"a", PropertyTree("value")});
    tree.back().second.push_back({"b", PropertyTree("1")});
    control.setConfigurationTree(tree);
    EXPECT_EQ(failureOf([&] { control.uploadConfiguration(); }),
              "Failed to serialize the configuration tree for upload to the server");
    EXPECT_TRUE(server.newCommands().empty());
}

TEST(LogConfigControl, TheModuleListIsSplitAtEveryNulIntoASortedSet)
{
    EXPECT_EQ(namesOf(std::string("b\0a\0\0b\0", 7)), (std::set<std::string>{"a", "b"}));
    EXPECT_EQ(namesOf(""), std::set<std::string>());
    EXPECT_EQ(namesOf(std::string("\0\0", 2)), std::set<std::string>());
    EXPECT_EQ(namesOf(std::string("no end")), (std::set<std::string>{"no end"}));
    EXPECT_EQ(namesOf(std::string("\0x", 2)), (std::set<std::string>{"x"}));
}

TEST(LogConfigControl, TheNamesAreInTheOrderOfTheirBytes)
{
    const std::set<std::string> names = namesOf(std::string("\xC3\xA4\0a\0Z\0", 7));
    const std::vector<std::string> order(names.begin(), names.end());
    EXPECT_EQ(order, (std::vector<std::string>{"Z", "a", "\xC3\xA4"}));
}

TEST(LogConfigControl, AskingForTheModulesUses35)
{
    TransferServer server("{}", "m");
    Control control;
    control.downloadModuleNames();
    EXPECT_EQ(server.newCommands(), (std::vector<int>{35, 21, 17, 20}));
}

TEST(LogConfigControl, EachTransferFindsAServiceThatCameBackOnAnotherPort)
{
    auto first = std::make_unique<TransferServer>(R"({"a":"1"})");
    Control control;
    control.downloadConfiguration();
    first.reset();
    TransferServer second(R"({"a":"2"})", "m");
    control.downloadConfiguration();
    EXPECT_EQ(control.configurationTree().get<std::string>("a"), "2");
    control.uploadConfiguration();
    EXPECT_EQ(second.newCommands(), (std::vector<int>{33, 21, 17, 20, 19, 18, 34, 20}));
}

TEST(LogConfigControl, TheLastKnownAddressStaysWhileTheRecordCannotBeRead)
{
    TransferServer server(R"({"a":"1"})", "m");
    Control control;
    server.withdraw();
    control.downloadConfiguration();
    EXPECT_EQ(control.downloadModuleNames(), (std::set<std::string>{"m"}));
    control.uploadConfiguration();
    EXPECT_EQ(server.configuration(), R"({"a":"1"})");
}

TEST(LogConfigControl, AServiceThatIsGoneIsAnErrorOfTheTransfer)
{
    auto server = std::make_unique<TransferServer>();
    Control control;
    server.reset();
    EXPECT_EQ(failureOf([&] { control.downloadConfiguration(); }),
              "Log client command execution failure when communicating with the server.");
    TransferServer back(R"({"a":"1"})");
    EXPECT_EQ(failureOf([&] { control.downloadConfiguration(); }), noError);
}
