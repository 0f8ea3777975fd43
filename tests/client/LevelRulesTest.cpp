#include "client/LevelRules.h"

#include "logging/LogSvcError.h"
#include "service/LoggingRules.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace zuLogging::client {
namespace {

zulog_level levelFor(const char* json, std::string_view module, std::string_view process = "")
{
    return LevelRules(readPropertyTree(json)).levelFor(module, process);
}

TEST(LevelRules, WithoutAnyEverythingGetsThrough)
{
    EXPECT_EQ(LevelRules().levelFor("M", "p"), ZULOG_LEVEL_DEBUG);
    EXPECT_EQ(levelFor("{}", "M"), ZULOG_LEVEL_DEBUG);
}

TEST(LevelRules, TheGlobalLevelHoldsForEverybodyAndTheLastMatchCounts)
{
    const char* document = R"({"parameters":{"level":"warn"},"specializations":[
        {"attributes":[{"id":"module","value":"Disk"}],"parameters":{"level":"trace"}},
        {"attributes":[{"id":"process","op":"sub","value":"serv"}],"parameters":{"level":"err"}}]})";
    EXPECT_EQ(levelFor(document, "Net", "tool"), ZULOG_LEVEL_WARN);
    EXPECT_EQ(levelFor(document, "disk", "tool"), ZULOG_LEVEL_TRACE);
    EXPECT_EQ(levelFor(document, "Disk", "SERVER"), ZULOG_LEVEL_ERR);
}

TEST(LevelRules, NestedOnesCountOnlyIfTheirParentMatched)
{
    const char* document = R"({"specializations":[
        {"attributes":[{"id":"module","op":"sub","value":"Disk"}],"parameters":{"level":"err"},
         "specializations":[
            {"attributes":[{"id":"module","op":"in","value":" DiskA , DiskB "}],
             "parameters":{"level":"info"}},
            {"attributes":[{"id":"module","value":"Net"}],"parameters":{"level":"fatal"}}]}]})";
    EXPECT_EQ(levelFor(document, "DiskB"), ZULOG_LEVEL_INFO);
    EXPECT_EQ(levelFor(document, "DiskC"), ZULOG_LEVEL_ERR);
    EXPECT_EQ(levelFor(document, "Net"), ZULOG_LEVEL_DEBUG);
}

TEST(LevelRules, TheDestinationNoneIsTheLevelNone)
{
    const char* document =
        R"({"parameters":{"level":"info","destination":"none"},"specializations":[
        {"attributes":[{"id":"module","value":"Disk"}],"parameters":{"destination":"file"}}]})";
    EXPECT_EQ(levelFor(document, "Net"), ZULOG_LEVEL_NONE);
    EXPECT_EQ(levelFor(document, "Disk"), ZULOG_LEVEL_INFO);
}

TEST(LevelRules, AnUnfinishedAttributeMatchesNothing)
{
    EXPECT_EQ(levelFor(R"({"specializations":[{"attributes":[{"id":"module"}],
                          "parameters":{"level":"none"}}]})",
                       ""),
              ZULOG_LEVEL_DEBUG);
}

TEST(LevelRules, WhereOtherScriptsMayMatchTheMoreVerboseAnswerIsGiven)
{
    const char* lower = R"({"parameters":{"level":"warn"},"specializations":[
        {"attributes":[{"id":"module","value":"MÜLLER"}],"parameters":{"level":"debug"}}]})";
    EXPECT_EQ(levelFor(lower, "Müller"), ZULOG_LEVEL_DEBUG);
    EXPECT_EQ(levelFor(lower, "MÜLLER"), ZULOG_LEVEL_DEBUG);
    const char* stricter = R"({"parameters":{"level":"warn"},"specializations":[
        {"attributes":[{"id":"module","value":"MÜLLER"}],"parameters":{"level":"none"}}]})";
    EXPECT_EQ(levelFor(stricter, "Müller"), ZULOG_LEVEL_WARN);
    EXPECT_EQ(levelFor(stricter, "MÜLLER"), ZULOG_LEVEL_NONE);
    EXPECT_EQ(levelFor(stricter, "MÜLLER2"), ZULOG_LEVEL_WARN);
}

TEST(LevelRules, RefusesUnknownNames)
{
    for (const char* document :
         {R"({"parameters":{"level":"loud"}})", R"({"parameters":{"destination":"moon"}})",
          R"({"specializations":[{"attributes":[{"id":"host","value":"x"}]}]})",
          R"({"specializations":[{"attributes":[{"id":"module","op":"like","value":"x"}]}]})"})
        EXPECT_THROW(LevelRules(readPropertyTree(document)), LogSvcError) << document;
}

/// Documents put together at random, of few names so that they often match.
class Documents
{
public:
    explicit Documents(unsigned seed, std::vector<std::string> names)
        : random_(seed)
        , names_(std::move(names))
    {
    }

    std::string document() { return scope(3, false); }
    const std::string& name() { return names_[below(names_.size())]; }

private:
    std::size_t below(std::size_t count) { return random_() % count; }
    const char* oneOf(std::initializer_list<const char*> texts)
    {
        return *(texts.begin() + below(texts.size()));
    }
    std::string quoted(const std::string& text) { return '"' + text + '"'; }

    std::string attribute()
    {
        std::string text = "{";
        if (below(8) != 0)
            text += "\"id\":" + quoted(oneOf({"module", "process", ""})) + ",";
        if (below(3) != 0)
            text += "\"op\":" + quoted(oneOf({"eq", "sub", "in", ""})) + ",";
        std::string value = below(10) == 0 ? "" : name();
        while (below(3) == 0)
            value += oneOf({",", " , ", ""}) + name();
        return text + "\"value\":" + quoted(value) + "}";
    }
    std::string parameters()
    {
        std::string text = "\"parameters\":{";
        bool isFirst = true;
        if (below(3) != 0) {
            text += "\"level\":" +
                    quoted(oneOf({"none", "fatal", "err", "warn", "info", "trace", "debug"}));
            isFirst = false;
        }
        if (below(4) == 0)
            text += (isFirst ? "" : ",") +
                    ("\"destination\":" + quoted(oneOf({"none", "logsvc", "file"})));
        return text + "}";
    }
    std::string scope(int depth, bool hasAttributes)
    {
        std::string text = "{" + parameters();
        if (hasAttributes && below(6) != 0) {
            text += ",\"attributes\":[" + attribute();
            while (below(3) == 0)
                text += "," + attribute();
            text += "]";
        }
        if (depth > 0) {
            text += ",\"specializations\":[" + scope(depth - 1, true);
            while (below(2) == 0)
                text += "," + scope(depth - 1, true);
            text += "]";
        }
        return text + "}";
    }

    std::mt19937 random_;
    std::vector<std::string> names_;
};

/// What the service lets through of this module and process.
zulog_level serviceLevel(const LoggingRules& rules, const std::string& module,
                         const std::string& process)
{
    const LoggingDecision decision =
        rules.decide(QString::fromStdString(module), QString::fromStdString(process));
    if (decision.destination == LoggingDecision::Destination::None)
        return ZULOG_LEVEL_NONE;
    return static_cast<zulog_level>(decision.level);
}

TEST(LevelRules, GiveTheServicesAnswerForNamesOfAsciiCharacters)
{
    Documents documents(1, {"Disk", "disk", "DISKS", "Net", "n", "is", "a b", "server", "K"});
    int restricted = 0;
    for (int i = 0; i < 3000; ++i) {
        const std::string text = documents.document();
        const PropertyTree tree = readPropertyTree(text);
        const LevelRules rules(tree);
        const LoggingRules peer(tree);
        for (int question = 0; question < 8; ++question) {
            const std::string module = documents.name();
            const std::string process = documents.name();
            const zulog_level expected = serviceLevel(peer, module, process);
            ASSERT_EQ(rules.levelFor(module, process), expected) << text << '\n'
                                                                 << module << ' ' << process;
            restricted += expected < ZULOG_LEVEL_DEBUG ? 1 : 0;
        }
    }
    EXPECT_GT(restricted, 1000);
}

TEST(LevelRules, AreNeverStricterThanTheServiceForNamesOfAnyScript)
{
    Documents documents(2, {"Größe", "GRÖSSE", "größe", "Disk", "K", "\u212A", "k", "Σ", "ς", "ö",
                            "測定", "ſ", "s"});
    int same = 0;
    int all = 0;
    for (int i = 0; i < 3000; ++i) {
        const std::string text = documents.document();
        const PropertyTree tree = readPropertyTree(text);
        const LevelRules rules(tree);
        const LoggingRules peer(tree);
        for (int question = 0; question < 8; ++question) {
            const std::string module = documents.name();
            const std::string process = documents.name();
            const zulog_level mine = rules.levelFor(module, process);
            const zulog_level services = serviceLevel(peer, module, process);
            ASSERT_GE(mine, services) << text << '\n' << module << ' ' << process;
            same += mine == services ? 1 : 0;
            ++all;
        }
    }
    EXPECT_GT(same, all / 4) << "it must not let everything through either";
}

} // namespace
} // namespace zuLogging::client
