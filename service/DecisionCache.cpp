#include "service/DecisionCache.h"

#include "logging/LogMessage.h"
#include "logging/LogSvcError.h"

#include <utility>

namespace zuLogging {

namespace {

/// What a container carries in such an item; nothing, too, where it cannot be read.
template <class LookUp>
auto itemOrNothing(const LookUp& lookUp) -> decltype(lookUp())
{
    try {
        return lookUp();
    } catch (const LogSvcError&) {
        return std::nullopt;
    }
}

} // namespace

DecisionCache::DecisionCache(std::function<void(std::u16string_view)> onNewName,
                             ProcessNames processNames)
    : onNewName_(std::move(onNewName))
    , processNames_(std::move(processNames))
    , rules_(std::make_shared<const LoggingRules>())
{
}

void DecisionCache::setRules(std::shared_ptr<const LoggingRules> rules)
{
    rules_ = std::move(rules);
    decisions_.clear();
}

std::optional<LoggingDecision> DecisionCache::decide(const LogMessageContainerView& message)
{
    const LogMessageContainer container(message.data, message.length);
    const auto number = [&container](ItemType type) {
        return itemOrNothing([&] { return container.number(type); }).value_or(0);
    };
    const std::u16string module = itemOrNothing([&] {
                                      return container.text(ItemType::Module, TextMode::Plain);
                                  }).value_or(std::u16string());
    const LoggingDecision decision =
        decide(module, rules_->namesProcesses() ? number(ItemType::ProcessID) : 0);
    if (decision.destination == LoggingDecision::Destination::None ||
        !decision.lets(number(ItemType::LogLevel)))
        return std::nullopt;
    return decision;
}

LoggingDecision DecisionCache::decide(std::u16string_view module, std::uint64_t processId)
{
    key_.assign(module);
    const QString* process = nullptr;
    if (rules_->namesProcesses()) {
        process = &processNames_.nameOf(processId);
        key_ += u'\0';
        key_.append(reinterpret_cast<const char16_t*>(process->utf16()),
                    static_cast<std::size_t>(process->size()));
    }
    const auto found = decisions_.find(key_);
    if (found != decisions_.end())
        return found->second;

    if (onNewName_)
        onNewName_(module);
    const LoggingDecision decision =
        rules_->decide(toQString(module), process != nullptr ? *process : QString());
    if (decisions_.size() >= maximumCount)
        decisions_.clear();
    decisions_.emplace(key_, decision);
    return decision;
}

} // namespace zuLogging
