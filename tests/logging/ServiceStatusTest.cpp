#include "logging/ServiceStatus.h"

#include <gtest/gtest.h>

#include <boost/property_tree/exceptions.hpp>

#include <limits>

namespace zuLogging {
namespace {

constexpr std::uint64_t largest = std::numeric_limits<std::uint64_t>::max();

TEST(ServiceStatus, EveryMemberComesBackFromItsText)
{
    ServiceStatus status;
    status.version = "3.1.26";
    status.processId = 4211;
    status.uptime = 12345678901;
    status.taken = largest;
    status.dropped = 17;
    status.forwarded = 42;
    status.sinks = {{"cout", "", 0, 0},
                    {"file", "/a \"b\"\n\xC3\xA4", 0, 0},
                    {"forward", "127.0.0.1:5000", 9, largest}};
    status.recorders = {{1, 1000, 2, 100, 3}, {4, 5, 6, 7, 8}};
    status.counterSetKeys = {0, 1, largest};
    status.ledger.emplace();
    std::uint64_t next = 100;
    for (std::size_t i = 0; i <= static_cast<std::size_t>(LogCount::SinkFailed); ++i)
        (*status.ledger)[static_cast<LogCount>(i)] = ++next;
    (*status.ledger)[LogCount::MissingNumbers] = largest;
    status.transfers = 5;
    status.limits = {64, 8, 32};

    const ServiceStatus read = ServiceStatus::fromJson(status.toJson());

    EXPECT_EQ(read.version, status.version);
    EXPECT_EQ(read.processId, status.processId);
    EXPECT_EQ(read.uptime, status.uptime);
    EXPECT_EQ(read.taken, status.taken);
    EXPECT_EQ(read.dropped, status.dropped);
    EXPECT_EQ(read.forwarded, status.forwarded);
    ASSERT_EQ(read.sinks.size(), 3U);
    EXPECT_EQ(read.sinks[0].type, "cout");
    EXPECT_EQ(read.sinks[1].argument, status.sinks[1].argument);
    EXPECT_EQ(read.sinks[2].sent, 9U);
    EXPECT_EQ(read.sinks[2].failed, largest);
    ASSERT_EQ(read.recorders.size(), 2U);
    EXPECT_EQ(read.recorders[0].used, 1U);
    EXPECT_EQ(read.recorders[0].capacity, 1000U);
    EXPECT_EQ(read.recorders[0].secondaryUsed, 2U);
    EXPECT_EQ(read.recorders[0].secondaryCapacity, 100U);
    EXPECT_EQ(read.recorders[0].replays, 3U);
    EXPECT_EQ(read.recorders[1].capacity, 5U);
    EXPECT_EQ(read.counterSetKeys, status.counterSetKeys);
    ASSERT_TRUE(read.ledger.has_value());
    for (std::size_t i = 0; i <= static_cast<std::size_t>(LogCount::SinkFailed); ++i)
        EXPECT_EQ((*read.ledger)[static_cast<LogCount>(i)],
                  (*status.ledger)[static_cast<LogCount>(i)])
            << i;
    EXPECT_EQ(read.transfers, 5U);
    EXPECT_EQ(read.limits.sinks, 64U);
    EXPECT_EQ(read.limits.replays, 8U);
    EXPECT_EQ(read.limits.transfers, 32U);
}

TEST(ServiceStatus, TheLedgersMembersHaveNamesThatScriptsReadAndAServiceWithoutOneHasNone)
{
    ServiceStatus status;
    EXPECT_EQ(status.toJson().find("\"ledger\""), std::string::npos);
    status.ledger.emplace();
    (*status.ledger)[LogCount::Received] = 7;
    (*status.ledger)[LogCount::RefusedContainer] = 3;
    const std::string json = status.toJson();
    EXPECT_NE(json.find("\"ledger\":{\"received\":\"7\",\"lost_in_socket\":\"0\","),
              std::string::npos)
        << json;
    EXPECT_NE(json.find("\"refused_container\":\"3\""), std::string::npos);
    EXPECT_EQ(json.find("queued"), std::string::npos) << "that is the window's";
}

TEST(ServiceStatus, WhatAnotherVersionLeavesOutIsNothing)
{
    const ServiceStatus read = ServiceStatus::fromJson(R"({"news": [1], "taken": "5"})");

    EXPECT_EQ(read.taken, 5U);
    EXPECT_EQ(read.processId, 0U);
    EXPECT_TRUE(read.sinks.empty());
    EXPECT_TRUE(read.recorders.empty());
    EXPECT_TRUE(read.counterSetKeys.empty());
    EXPECT_FALSE(read.ledger.has_value());
    EXPECT_EQ(read.limits.sinks, 0U);
}

TEST(ServiceStatus, AnEmptyServiceHasAText)
{
    const ServiceStatus read = ServiceStatus::fromJson(ServiceStatus().toJson());

    EXPECT_TRUE(read.sinks.empty());
    EXPECT_TRUE(read.recorders.empty());
    EXPECT_TRUE(read.counterSetKeys.empty());
}

TEST(ServiceStatus, WhatIsNoStatusIsRefused)
{
    using Error = boost::property_tree::ptree_error;

    EXPECT_THROW(ServiceStatus::fromJson(""), Error);
    EXPECT_THROW(ServiceStatus::fromJson("[]"), Error);
    EXPECT_THROW(ServiceStatus::fromJson(R"({"taken": "many"})"), Error);
    EXPECT_THROW(ServiceStatus::fromJson(R"({"recorders": [{"used": {}}]})"), Error);
}

} // namespace
} // namespace zuLogging
