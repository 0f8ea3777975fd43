#pragma once

#include <zulog/Logger.h>

#include "logging/DecodedMessage.h"
#include "logging/LogClient.h"
#include "tests/service/RunningService.h"
#include "tests/service/Subscriber.h"
#include "tests/support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace zuLogging::test {

/// A log service whose messages the test reads, directly from the service, so that none can be lost
/// between them; and the library in the test's own process, which looks at the configuration often.
class ClientFixture : public ::testing::Test
{
protected:
    ClientFixture() { restartService(); }
    ~ClientFixture() override
    {
        // The library is the process's: no message of this test, and no level, is for the next one.
        if (!service_)
            return;
        EXPECT_TRUE(zulog::flush(std::chrono::seconds(20)));
        setConfiguration("{}");
        EXPECT_TRUE(waitFor([&] { return witness_.level() == zulog::Level::Debug; }));
    }

    static void SetUpTestSuite()
    {
        zulog_options options{};
        options.size = sizeof options;
        options.configuration_milliseconds = 20;
        zulog_configure(&options); // too late where another suite came first
    }

    void stopService() { service_.reset(); }
    void restartService()
    {
        service_.reset();
        service_ = std::make_unique<RunningService>(SinkList{sink_});
    }
    SocketAddress service() const { return service_->address(); }

    void setConfiguration(const std::string& json)
    {
        LogClient(service()).upload(json.data(), json.size());
    }

    /// Messages of that module, once there are `count` of them or time is up.
    std::vector<DecodedMessage> messagesOf(const std::u16string& module, std::size_t count) const
    {
        std::vector<DecodedMessage> found;
        waitFor(
            [&] {
                found.clear();
                for (DecodedMessage& message : sink_->messages())
                    if (message.module == module)
                        found.push_back(std::move(message));
                return found.size() >= count;
            },
            30000);
        return found;
    }
    std::size_t receivedCount() const { return sink_->count(); }

private:
    std::shared_ptr<CollectingSink> sink_ = std::make_shared<CollectingSink>();
    std::unique_ptr<RunningService> service_;
    zulog::Logger witness_{"Witness"};
};

} // namespace zuLogging::test
