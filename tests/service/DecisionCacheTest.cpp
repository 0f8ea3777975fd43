#include "service/DecisionCache.h"

#include <gtest/gtest.h>

#include <vector>

namespace zuLogging {
namespace {

std::shared_ptr<const LoggingRules> rulesOf(const std::string& json)
{
    return std::make_shared<const LoggingRules>(readPropertyTree(json));
}

class Decisions : public ::testing::Test
{
protected:
    ProcessNames processNames()
    {
        return ProcessNames(
            [this](std::uint64_t processId) -> std::optional<std::string> {
                asked_.push_back(processId);
                if (processId == 7)
                    return name7_;
                return std::nullopt;
            },
            [this] { return now_; });
    }

    std::vector<std::uint64_t> asked_;
    std::optional<std::string> name7_ = "server";
    ProcessNames::TimePoint now_ = ProcessNames::TimePoint() + std::chrono::hours(1);
    std::vector<std::u16string> noted_;
    DecisionCache cache_{[this](std::u16string_view name) { noted_.emplace_back(name); },
                         processNames()};
};

const char* const processRule = R"({"parameters":{"level":"err"},"specializations":[
    {"attributes":[{"id":"process","value":"server"}],"parameters":{"level":"debug"}}]})";

TEST_F(Decisions, AreMadeOnceForEachModule)
{
    cache_.setRules(rulesOf(R"({"specializations":[
        {"attributes":[{"id":"module","value":"x"}],"parameters":{"level":"err"}}]})"));
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(cache_.decide(u"X", 7).level, LogLevel::Err);
        EXPECT_EQ(cache_.decide(u"y", 7).level, LogLevel::Debug);
    }
    EXPECT_EQ(noted_, (std::vector<std::u16string>{u"X", u"y"}));
    EXPECT_TRUE(asked_.empty()) << "no rule names a process";
}

TEST_F(Decisions, AreForgottenWhenTheRulesChange)
{
    EXPECT_EQ(cache_.decide(u"x", 0).level, LogLevel::Debug);
    cache_.setRules(rulesOf(R"({"parameters":{"level":"warn"}})"));
    EXPECT_EQ(cache_.decide(u"x", 0).level, LogLevel::Warn);
}

TEST_F(Decisions, DependOnTheProcessWhereARuleNamesOne)
{
    cache_.setRules(rulesOf(processRule));
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(cache_.decide(u"m", 7).level, LogLevel::Debug);
        EXPECT_EQ(cache_.decide(u"m", 8).level, LogLevel::Err);
    }
    EXPECT_EQ(asked_, (std::vector<std::uint64_t>{7, 8}));
}

TEST_F(Decisions, ModuleAndProcessAreNotMixedUp)
{
    cache_.setRules(rulesOf(processRule));
    EXPECT_EQ(cache_.decide(u"mserver", 8).level, LogLevel::Err);
    EXPECT_EQ(cache_.decide(u"m", 7).level, LogLevel::Debug);
    EXPECT_EQ(cache_.decide(std::u16string_view(u"m\0server", 8), 8).level, LogLevel::Err);
}

TEST_F(Decisions, AProcessIsAskedForAgainAfterAWhileBecauseNumbersComeBack)
{
    cache_.setRules(rulesOf(processRule));
    EXPECT_EQ(cache_.decide(u"m", 7).level, LogLevel::Debug);
    name7_ = "another";
    now_ += std::chrono::milliseconds(9999);
    EXPECT_EQ(cache_.decide(u"m", 7).level, LogLevel::Debug);
    now_ += std::chrono::milliseconds(1);
    EXPECT_EQ(cache_.decide(u"m", 7).level, LogLevel::Err);
    EXPECT_EQ(asked_.size(), 2U);
}

TEST_F(Decisions, AProcessThatEndedKeepsItsName)
{
    cache_.setRules(rulesOf(processRule));
    EXPECT_EQ(cache_.decide(u"m", 7).level, LogLevel::Debug);
    name7_ = std::nullopt;
    now_ += std::chrono::seconds(11);
    EXPECT_EQ(cache_.decide(u"m", 7).level, LogLevel::Debug);
}

TEST_F(Decisions, RightDecisionsComeAlsoUnderAFloodOfInventedNames)
{
    cache_.setRules(rulesOf(R"({"specializations":[
        {"attributes":[{"id":"module","value":"real"}],"parameters":{"level":"err"}}]})"));
    for (int i = 0; i < 20000; ++i) {
        cache_.decide(QStringLiteral("invented %1").arg(i).toStdU16String(), 0);
        ASSERT_EQ(cache_.decide(u"real", 0).level, LogLevel::Err);
    }
}

TEST(NamesOfProcesses, AreBounded)
{
    std::size_t asked = 0;
    ProcessNames names(
        [&asked](std::uint64_t) -> std::optional<std::string> {
            ++asked;
            return "p";
        },
        [] { return ProcessNames::TimePoint(); });
    for (std::uint64_t id = 1; id <= 1024; ++id)
        names.nameOf(id);
    names.nameOf(1);
    EXPECT_EQ(asked, 1024U);
    names.nameOf(1025); // the others are forgotten for it
    names.nameOf(1);
    EXPECT_EQ(asked, 1026U);
}

} // namespace
} // namespace zuLogging
