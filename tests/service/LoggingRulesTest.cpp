#include "service/LoggingRules.h"

#include "logging/LogSvcError.h"

#include <gtest/gtest.h>

namespace zuLogging {
namespace {

using Destination = LoggingDecision::Destination;

LoggingRules rulesOf(const std::string& json)
{
    return LoggingRules(readPropertyTree(json));
}

/// The level that a document gives a message of that module and process.
LogLevel levelOf(const std::string& json, const QString& module, const QString& process = {})
{
    return rulesOf(json).decide(module, process).level;
}

/// A document whose global level is "err" and one specialization's "debug" under that condition.
std::string withCondition(const std::string& attributes)
{
    return R"({"parameters":{"level":"err"},"specializations":[{"attributes":[)" + attributes +
           R"(],"parameters":{"level":"debug"}}]})";
}

bool matches(const std::string& attributes, const QString& module, const QString& process = {})
{
    return levelOf(withCondition(attributes), module, process) == LogLevel::Debug;
}

QString text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

TEST(LoggingRulesTest, WithoutAnythingEverythingGoesToTheSinks)
{
    for (const char* json : {"{}", R"({"parameters":""})", R"({"parameters":{"file":""}})",
                             R"({"parameters":{"level":"debug","destination":"logsvc"}})"}) {
        const LoggingDecision decision = rulesOf(json).decide(text("m"), text("p"));
        EXPECT_EQ(decision.level, LogLevel::Debug) << json;
        EXPECT_EQ(decision.destination, Destination::LogService) << json;
        EXPECT_EQ(decision.file, LoggingDecision::noFile) << json;
    }
}

TEST(LoggingRulesTest, SeverityRunsFromFatalToDebug)
{
    const std::vector<std::pair<const char*, std::uint64_t>> levels = {
        {"fatal", 1}, {"err", 2}, {"warn", 4}, {"info", 8}, {"trace", 16}, {"debug", 32}};
    for (std::size_t configured = 0; configured < levels.size(); ++configured) {
        const LoggingDecision decision =
            rulesOf(std::string(R"({"parameters":{"level":")") + levels[configured].first + "\"}}")
                .decide(text("m"), QString());
        for (std::size_t i = 0; i < levels.size(); ++i)
            EXPECT_EQ(decision.lets(levels[i].second), i <= configured)
                << levels[configured].first << ' ' << levels[i].first;
        EXPECT_TRUE(decision.lets(0));
        EXPECT_TRUE(decision.lets(64));
        EXPECT_TRUE(decision.lets(std::uint64_t{1} << 63));
    }
}

TEST(LoggingRulesTest, LevelNoneLetsNothingPass)
{
    const LoggingDecision decision =
        rulesOf(R"({"parameters":{"level":"none"}})").decide(text("m"), QString());
    for (const std::uint64_t level : {0, 1, 2, 4, 8, 16, 32, 64, 63})
        EXPECT_FALSE(decision.lets(level)) << level;
}

TEST(LoggingRulesTest, OfSeveralLevelBitsTheMostSevereCounts)
{
    const LoggingDecision decision =
        rulesOf(R"({"parameters":{"level":"err"}})").decide(text("m"), QString());
    EXPECT_TRUE(decision.lets(1 | 32));
    EXPECT_TRUE(decision.lets(2 | 8));
    EXPECT_FALSE(decision.lets(4 | 8));
    EXPECT_FALSE(decision.lets(64 | 8));
}

TEST(LoggingRulesTest, EqIsEqualityWithoutRegardToCase)
{
    const char* attribute = R"({"id":"module","op":"eq","value":"Nörvik"})";
    EXPECT_TRUE(matches(attribute, text("Nörvik")));
    EXPECT_TRUE(matches(attribute, text("NÖRVIK")));
    EXPECT_FALSE(matches(attribute, text("Nörvi")));
    EXPECT_FALSE(matches(attribute, text("Nörvikk")));
    EXPECT_FALSE(matches(attribute, text("Norvik")));
    EXPECT_FALSE(matches(attribute, QString(), text("Nörvik")));
}

TEST(LoggingRulesTest, SubIsContainedInTheName)
{
    const char* attribute = R"({"id":"module","op":"sub","value":"Net"})";
    EXPECT_TRUE(matches(attribute, text("net")));
    EXPECT_TRUE(matches(attribute, text("MyNETwork")));
    EXPECT_FALSE(matches(attribute, text("Ne")));
    EXPECT_FALSE(matches(attribute, text("N et")));
}

TEST(LoggingRulesTest, InIsMembershipInAListWithBlanksAroundItsItems)
{
    const char* attribute = R"({"id":"module","op":"in","value":" Alpha ,beta,, Two Words "})";
    for (const char* name : {"alpha", "BETA", "two words"})
        EXPECT_TRUE(matches(attribute, text(name))) << name;
    for (const char* name : {"", " ", "alph", "alpha ,beta", "two", " alpha"})
        EXPECT_FALSE(matches(attribute, text(name))) << name;
}

TEST(LoggingRulesTest, AnAttributeWithoutOpAsksForEquality)
{
    EXPECT_TRUE(matches(R"({"id":"module","value":"x"})", text("X")));
    EXPECT_FALSE(matches(R"({"id":"module","value":"x"})", text("xx")));
}

TEST(LoggingRulesTest, AnAttributeWithoutIdOrValueMatchesNothing)
{
    for (const char* attribute :
         {R"({"value":"x"})", R"({"id":"module"})", R"({"id":"module","value":""})",
          R"({"id":"module","op":"sub","value":""})", R"({"id":"module","op":"in","value":" , "})",
          R"({})", R"("x")"}) {
        EXPECT_FALSE(matches(attribute, text("x"), text("x"))) << attribute;
        EXPECT_FALSE(matches(attribute, QString())) << attribute;
    }
}

TEST(LoggingRulesTest, AMemberOfAnAttributeThatIsNotFilledInYetIsAsGoodAsNone)
{
    EXPECT_FALSE(matches(R"({"id":""})", text("")));
    EXPECT_FALSE(matches(R"({"id":"","value":"m"})", text("m")));
    EXPECT_TRUE(matches(R"({"id":"module","op":"","value":"m"})", text("m")));
    EXPECT_FALSE(matches(R"("")", text("")));
}

TEST(LoggingRulesTest, ProcessesAreMatchedByTheirOwnName)
{
    const char* attribute = R"({"id":"process","op":"eq","value":"server"})";
    EXPECT_TRUE(matches(attribute, text("m"), text("Server")));
    EXPECT_FALSE(matches(attribute, text("server"), text("other")));
    EXPECT_FALSE(matches(attribute, text("server"), QString()));
    EXPECT_TRUE(rulesOf(withCondition(attribute)).namesProcesses());
    EXPECT_FALSE(rulesOf(withCondition(R"({"id":"module","value":"x"})")).namesProcesses());
}

TEST(LoggingRulesTest, AllAttributesMustMatch)
{
    const char* both = R"({"id":"module","op":"sub","value":"a"},{"id":"process","value":"p"})";
    EXPECT_TRUE(matches(both, text("xay"), text("p")));
    EXPECT_FALSE(matches(both, text("xay"), text("q")));
    EXPECT_FALSE(matches(both, text("xy"), text("p")));
}

TEST(LoggingRulesTest, ASpecializationWithoutAttributesAlwaysMatches)
{
    EXPECT_TRUE(matches("", text("whatever")));
    EXPECT_EQ(levelOf(R"({"specializations":[{"parameters":{"level":"warn"}}]})", text("m")),
              LogLevel::Warn);
}

TEST(LoggingRulesTest, LaterSettingsReplaceEarlierOnesOneByOne)
{
    const LoggingRules rules = rulesOf(R"({
        "parameters":{"level":"info","destination":"logsvc","file":"global.log"},
        "specializations":[
            {"attributes":[{"id":"module","op":"sub","value":"a"}],"parameters":{"level":"err"}},
            {"attributes":[{"id":"module","value":"ab"}],
             "parameters":{"level":"debug","destination":"file"}},
            {"attributes":[{"id":"module","op":"sub","value":"b"}],
             "parameters":{"file":"b.log"}},
            {"attributes":[{"id":"module","value":"a"}],"parameters":{"destination":"none"}}]})");
    const auto fileOf = [&](const LoggingDecision& decision) {
        return decision.file == LoggingDecision::noFile ? "" : rules.files().at(decision.file);
    };
    const LoggingDecision other = rules.decide(text("c"), QString());
    EXPECT_EQ(other.level, LogLevel::Info);
    EXPECT_EQ(other.destination, Destination::LogService);
    EXPECT_EQ(fileOf(other), "global.log");
    const LoggingDecision ab = rules.decide(text("AB"), QString());
    EXPECT_EQ(ab.level, LogLevel::Debug);
    EXPECT_EQ(ab.destination, Destination::File);
    EXPECT_EQ(fileOf(ab), "b.log");
    const LoggingDecision a = rules.decide(text("a"), QString());
    EXPECT_EQ(a.level, LogLevel::Err);
    EXPECT_EQ(a.destination, Destination::None);
    EXPECT_EQ(rules.files(), (std::vector<std::string>{"global.log", "b.log"}));
}

TEST(LoggingRulesTest, TheGlobalParametersComeFirstWhereverTheyStand)
{
    EXPECT_EQ(levelOf(R"({"specializations":[{"parameters":{"level":"warn"}}],
                          "parameters":{"level":"debug"}})",
                      text("m")),
              LogLevel::Warn);
}

TEST(LoggingRulesTest, NestedOnesComeBehindTheirParentAndOnlyIfItMatched)
{
    const char* json = R"({
        "parameters":{"level":"info"},
        "specializations":[
            {"specializations":[
                {"attributes":[{"id":"module","op":"sub","value":"b"}],
                 "parameters":{"level":"debug"},
                 "specializations":[
                    {"attributes":[{"id":"module","op":"sub","value":"c"}],
                     "parameters":{"level":"trace"}}]}],
             "attributes":[{"id":"module","op":"sub","value":"a"}],
             "parameters":{"level":"err"}},
            {"attributes":[{"id":"module","value":"abcd"}],"parameters":{"level":"fatal"}}]})";
    EXPECT_EQ(levelOf(json, text("x")), LogLevel::Info);
    EXPECT_EQ(levelOf(json, text("a")), LogLevel::Err);
    EXPECT_EQ(levelOf(json, text("ab")), LogLevel::Debug);
    EXPECT_EQ(levelOf(json, text("abc")), LogLevel::Trace);
    EXPECT_EQ(levelOf(json, text("ac")), LogLevel::Err);
    EXPECT_EQ(levelOf(json, text("bc")), LogLevel::Info);
    EXPECT_EQ(levelOf(json, text("abcd")), LogLevel::Fatal);
}

TEST(LoggingRulesTest, AnEmptyFileTakesTheOneBeforeBack)
{
    const LoggingRules rules = rulesOf(R"({"parameters":{"file":"x.log"},
        "specializations":[{"parameters":{"file":""}}]})");
    EXPECT_EQ(rules.decide(text("m"), QString()).file, LoggingDecision::noFile);
}

TEST(LoggingRulesTest, UnknownNamesAreRefusedWhereverTheyStand)
{
    const std::string nested = R"({"specializations":[{"specializations":[)";
    for (const std::string& scope :
         {std::string(R"({"parameters":{"level":"verbose"}})"),
          std::string(R"({"parameters":{"level":""}})"),
          std::string(R"({"parameters":{"level":"Info"}})"),
          std::string(R"({"parameters":{"level":"info "}})"),
          std::string(R"({"parameters":{"level":{"a":"b"}}})"),
          std::string(R"({"parameters":{"level":"info","level":"x"}})"),
          std::string(R"({"parameters":{"destination":"disk"}})"),
          std::string(R"({"parameters":{"destination":""}})"),
          std::string(R"({"attributes":[{"id":"thread","value":"x"}]})"),
          std::string(R"({"attributes":[{"id":"module","op":"like","value":"x"}]})")}) {
        EXPECT_THROW(rulesOf(scope), LogSvcError) << scope;
        EXPECT_THROW(rulesOf(nested + scope + "]}]}"), LogSvcError) << scope;
    }
}

TEST(LoggingRulesTest, WhatItDoesNotKnowIsNoMistake)
{
    EXPECT_NO_THROW(rulesOf(R"({"#":"c","level":"x","parameters":{"color":"red","#":"level"},
        "attributes":[],"specializations":[{"#":"Comment","extra":{"level":"x"},
        "attributes":[{"id":"module","value":"m","note":"n"}],"parameters":[]},{},"text"]})"));
}

TEST(LoggingRulesTest, ModulesAreThoseOfTheAttributesSortedAndUnique)
{
    const LoggingRules rules = rulesOf(R"({"specializations":[
        {"attributes":[{"id":"module","value":"b"},{"id":"process","value":"p"}]},
        {"attributes":[{"id":"module","op":"in","value":"z, a ,b"}],
         "specializations":[{"attributes":[{"id":"module","op":"eq","value":"Ü"}]}]},
        {"attributes":[{"value":"no id"}]}]})");
    EXPECT_EQ(rules.moduleNames(), (std::vector<std::string>{"a", "b", "z", "Ü"}));
}

TEST(LoggingRulesTest, NestsAsDeepAsADocumentMay)
{
    std::string json = R"({"parameters":{"level":"err"})";
    constexpr int depth = 200;
    for (int i = 0; i < depth; ++i)
        json += R"(,"specializations":[{"attributes":[{"id":"module","value":"m"}])";
    json += R"(,"parameters":{"level":"trace"})";
    for (int i = 0; i < depth; ++i)
        json += "}]";
    json += "}";
    EXPECT_EQ(levelOf(json, text("m")), LogLevel::Trace);
    EXPECT_EQ(levelOf(json, text("n")), LogLevel::Err);
}

} // namespace
} // namespace zuLogging
