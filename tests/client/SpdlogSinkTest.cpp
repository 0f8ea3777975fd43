#include <zulog/SpdlogSink.h>

#include "tests/client/ClientFixture.h"

#include <spdlog/async.h>
#include <spdlog/spdlog.h>

#include <thread>

namespace zuLogging {
namespace {

class SpdlogSinkTest : public test::ClientFixture
{
};

TEST_F(SpdlogSinkTest, SendsWithLevelNameAndPlace)
{
    auto sink = std::make_shared<zulog::SpdlogSink>("SpdModule");
    sink->logger().setLevel(zulog::Level::Debug);
    spdlog::logger log("disk", sink);
    log.set_level(spdlog::level::trace);
    SPDLOG_LOGGER_INFO(&log, "{} of {}", 1, 2);
    const int line = __LINE__ - 1;
    log.critical("1");
    log.error("2");
    log.warn("4");
    log.info("8");
    log.debug("16");
    log.trace("32");
    const auto messages = messagesOf(u"SpdModule", 7);
    ASSERT_EQ(messages.size(), 7U);
    EXPECT_EQ(messages[0].logMessage, u"1 of 2");
    EXPECT_EQ(messages[0].groupName, u"disk");
    EXPECT_EQ(messages[0].logPos,
              QStringLiteral("SpdlogSinkTest.cpp:%1").arg(line).toStdU16String());
    for (std::size_t i = 1; i < 7; ++i) {
        EXPECT_EQ(QString::fromStdU16String(messages[i].logMessage),
                  QString::number(messages[i].logLevel));
        EXPECT_EQ(messages[i].logPos, u"") << "spdlog does not say where";
    }
}

TEST_F(SpdlogSinkTest, FromSpdlogsOwnThreadAMessageKeepsThreadAndTimeOfItsCall)
{
    spdlog::init_thread_pool(128, 1);
    {
        auto log = std::make_shared<spdlog::async_logger>(
            "async", std::make_shared<zulog::SpdlogSink>("SpdAsync"), spdlog::thread_pool());
        log->info("mine");
        std::uint64_t other = 0;
        std::thread([&] {
            other = spdlog::details::os::thread_id();
            log->info("another's");
        }).join();
        log->flush();
        const auto messages = messagesOf(u"SpdAsync", 2);
        ASSERT_EQ(messages.size(), 2U);
        EXPECT_EQ(messages[0].threadId, spdlog::details::os::thread_id());
        EXPECT_EQ(messages[1].threadId, other);
        EXPECT_LE(messages[0].timestamp, messages[1].timestamp);
    }
    spdlog::shutdown();
}

TEST_F(SpdlogSinkTest, WhatIsFilteredOutIsNotSentAndAPatternChangesNothing)
{
    auto sink = std::make_shared<zulog::SpdlogSink>("SpdFiltered");
    sink->logger().setLevel(zulog::Level::Err);
    spdlog::logger log("x", sink);
    log.set_pattern("[%n] %v!");
    log.warn("not sent");
    log.error("sent");
    log.flush();
    const auto messages = messagesOf(u"SpdFiltered", 1);
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_EQ(messages[0].logMessage, u"sent");
}

} // namespace
} // namespace zuLogging
