#include "client/ConfigurationWatch.h"

#include "logging/LogSvcError.h"
#include "tests/service/RunningService.h"
#include "tests/support/FakeLogServer.h"

#include <boost/property_tree/exceptions.hpp>

#include <gtest/gtest.h>

#include <string>

namespace zuLogging::client {
namespace {

using namespace std::chrono_literals;

void upload(const SocketAddress& service, const std::string& text)
{
    LogClient(service).upload(text.data(), text.size());
}

TEST(ConfigurationWatch, GivesTheConfigurationOnceAndAgainWhenItChanged)
{
    test::RunningService service;
    ConfigurationWatch watch(10s);
    EXPECT_LE(watch.nextLook(), ConfigurationWatch::Clock::now()) << "the first look is due";
    EXPECT_TRUE(watch.look(service.address()));
    EXPECT_FALSE(watch.look(service.address()));
    upload(service.address(), R"({"parameters":{"level":"err"}})");
    const auto changed = watch.look(service.address());
    ASSERT_TRUE(changed);
    EXPECT_EQ(changed->get<std::string>("parameters.level"), "err");
    EXPECT_FALSE(watch.look(service.address()));
}

TEST(ConfigurationWatch, TheNextLookIsAnIntervalAwayAlsoWhenOneFailed)
{
    test::RunningService service;
    ConfigurationWatch watch(10s);
    auto before = ConfigurationWatch::Clock::now();
    watch.look(service.address());
    EXPECT_GE(watch.nextLook(), before + 10s);
    watch.lookAtOnce();
    EXPECT_LE(watch.nextLook(), ConfigurationWatch::Clock::now());

    test::FakeLogServer refusing(
        [](test::FakeLogServer& self, const test::FakeLogServer::Request& request) {
            self.acknowledge(request, {}, PacketStatus::Failed);
        });
    before = ConfigurationWatch::Clock::now();
    EXPECT_THROW(watch.look(refusing.address()), LogSvcError);
    EXPECT_GE(watch.nextLook(), before + 10s);
}

TEST(ConfigurationWatch, ATextThatIsNoConfigurationIsReadOnce)
{
    test::FakeLogServer server(
        [](test::FakeLogServer& self, const test::FakeLogServer::Request& request) {
            const auto command = static_cast<LogClientCommand>(request.header().command);
            if (command == LogClientCommand::QueryBufferSize)
                self.acknowledge(request, {2, 0, 0, 0});
            else if (command == LogClientCommand::ReadPiece)
                self.acknowledge(request, {'[', ']'});
            else
                self.acknowledge(request, std::vector<std::uint8_t>(8));
        });
    ConfigurationWatch watch(10s);
    EXPECT_THROW(watch.look(server.address()), boost::property_tree::ptree_error);
    EXPECT_FALSE(watch.look(server.address()));
}

} // namespace
} // namespace zuLogging::client
