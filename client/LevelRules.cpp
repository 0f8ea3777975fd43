#include "client/LevelRules.h"

#include "logging/LogSvcError.h"

#include <algorithm>
#include <array>
#include <utility>

namespace zuLogging::client {

namespace {

constexpr std::array<std::pair<std::string_view, zulog_level>, 7> levelNames{{
    {"none", ZULOG_LEVEL_NONE},
    {"fatal", ZULOG_LEVEL_FATAL},
    {"err", ZULOG_LEVEL_ERR},
    {"warn", ZULOG_LEVEL_WARN},
    {"info", ZULOG_LEVEL_INFO},
    {"trace", ZULOG_LEVEL_TRACE},
    {"debug", ZULOG_LEVEL_DEBUG},
}};

[[noreturn]] void refuse(const char* what)
{
    throw LogSvcError(std::string("Unknown ") + what + " in the logging configuration");
}

/// A member that has a text and nothing else; only such a one can be one of the known names.
const std::string& nameOf(const PropertyTree& node, const char* what)
{
    if (!node.empty())
        refuse(what);
    return node.data();
}

bool isAscii(std::string_view text)
{
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

char folded(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool isSameLetter(char a, char b)
{
    return folded(a) == folded(b);
}

bool isSpace(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

std::string_view trimmed(std::string_view text)
{
    while (!text.empty() && isSpace(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isSpace(text.back()))
        text.remove_suffix(1);
    return text;
}

std::vector<std::string> itemsOf(std::string_view list)
{
    std::vector<std::string> items;
    for (;;) {
        const std::size_t comma = list.find(',');
        const std::string_view item = trimmed(list.substr(0, comma));
        if (!item.empty())
            items.emplace_back(item);
        if (comma == std::string_view::npos)
            return items;
        list.remove_prefix(comma + 1);
    }
}

} // namespace

/// A walk through the rules: about whom, and what is known so far.
struct LevelRules::Question
{
    std::string_view module;
    std::string_view process;
    zulog_level level = ZULOG_LEVEL_DEBUG; ///< the most verbose one possible
    bool isKept = true;                    ///< possibly
};

LevelRules::LevelRules(const PropertyTree& document)
    : global_(readScope(document))
{
    // The outermost scope holds for everybody.
    global_.conditions.clear();
}

LevelRules::Scope LevelRules::readScope(const PropertyTree& scope)
{
    Scope read;
    for (const auto& [key, node] : scope) {
        if (key == "parameters") {
            readParameters(node, read);
        } else if (key == "attributes") {
            for (const auto& attribute : node)
                read.conditions.push_back(readCondition(attribute.second));
        } else if (key == "specializations") {
            for (const auto& specialization : node)
                read.specializations.push_back(readScope(specialization.second));
        }
    }
    return read;
}

void LevelRules::readParameters(const PropertyTree& parameters, Scope& scope)
{
    for (const auto& [key, node] : parameters) {
        if (key == "level") {
            const std::string& name = nameOf(node, "level");
            const auto* known = std::find_if(levelNames.begin(), levelNames.end(),
                                             [&](const auto& one) { return one.first == name; });
            if (known == levelNames.end())
                refuse("level");
            scope.level = known->second;
        } else if (key == "destination") {
            const std::string& name = nameOf(node, "destination");
            if (name != "none" && name != "logsvc" && name != "file")
                refuse("destination");
            scope.isKept = name != "none";
        }
    }
}

LevelRules::Condition LevelRules::readCondition(const PropertyTree& attribute)
{
    Condition condition;
    std::string value;
    for (const auto& [key, node] : attribute) {
        // An editor adds attributes before they are filled in.
        if (node.empty() && node.data().empty())
            continue;
        if (key == "id") {
            const std::string& id = nameOf(node, "attribute id");
            if (id != "module" && id != "process")
                refuse("attribute id");
            condition.subject = id == "module" ? Subject::Module : Subject::Process;
        } else if (key == "op") {
            const std::string& op = nameOf(node, "attribute op");
            if (op == "eq")
                condition.op = Operator::Equal;
            else if (op == "sub")
                condition.op = Operator::Substring;
            else if (op == "in")
                condition.op = Operator::Member;
            else
                refuse("attribute op");
        } else if (key == "value") {
            value = node.data();
        }
    }
    if (condition.op == Operator::Member)
        condition.values = itemsOf(value);
    else if (!value.empty())
        condition.values.push_back(std::move(value));
    if (condition.values.empty())
        condition.subject = Subject::Nothing;
    return condition;
}

zulog_level LevelRules::levelFor(std::string_view module, std::string_view process) const
{
    Question question{module, process};
    apply(global_, Answer::Yes, question);
    return question.isKept ? question.level : ZULOG_LEVEL_NONE;
}

void LevelRules::apply(const Scope& scope, Answer answer, Question& question)
{
    const bool isCertain = answer == Answer::Yes;
    if (scope.level)
        question.level = isCertain ? *scope.level : std::max(question.level, *scope.level);
    if (scope.isKept)
        question.isKept = isCertain ? *scope.isKept : question.isKept || *scope.isKept;
    for (const Scope& narrower : scope.specializations) {
        const Answer own = std::min(answer, matches(narrower, question));
        if (own != Answer::No)
            apply(narrower, own, question);
    }
}

LevelRules::Answer LevelRules::matches(const Scope& scope, const Question& question)
{
    Answer answer = Answer::Yes;
    for (const Condition& condition : scope.conditions) {
        if (condition.subject == Subject::Nothing)
            return Answer::No;
        const std::string_view name =
            condition.subject == Subject::Module ? question.module : question.process;
        answer = std::min(answer, matches(condition, name));
    }
    return answer;
}

LevelRules::Answer LevelRules::matches(const Condition& condition, std::string_view name)
{
    Answer best = Answer::No;
    for (const std::string& value : condition.values) {
        const bool isSubstring = condition.op == Operator::Substring;
        const bool isMatch =
            isSubstring
                ? std::search(name.begin(), name.end(), value.begin(), value.end(), isSameLetter) !=
                      name.end()
                : std::equal(name.begin(), name.end(), value.begin(), value.end(), isSameLetter);
        if (isMatch)
            return Answer::Yes;
        if (!isAscii(value) || !isAscii(name))
            best = Answer::Maybe;
    }
    return best;
}

} // namespace zuLogging::client
