#include "client/LevelRules.h"

#include <algorithm>
#include <utility>

namespace zuLogging::client {

namespace {

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
        if (key == "level")
            scope.level = static_cast<zulog_level>(readRuleLevel(node)); // the same bits
        else if (key == "destination")
            scope.isKept = readRuleDestination(node) != RuleDestination::None;
    }
}

LevelRules::Condition LevelRules::readCondition(const PropertyTree& attribute)
{
    RuleAttribute read = readRuleAttribute(attribute);
    Condition condition;
    condition.subject = read.subject;
    condition.op = read.op;
    if (condition.op == Operator::Member)
        condition.values = itemsOf(read.value);
    else if (!read.value.empty())
        condition.values.push_back(std::move(read.value));
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
