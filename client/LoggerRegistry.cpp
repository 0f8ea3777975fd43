#include "client/LoggerRegistry.h"

#include <new>

namespace zuLogging::client {

namespace {

using Lock = std::lock_guard<std::mutex>;

} // namespace

ClientLogger* LoggerRegistry::create(std::string_view module, std::string_view group) noexcept
{
    ClientLogger* logger = nullptr;
    try {
        logger = new ClientLogger(module, group, initialLevel());
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
    const Lock lock(mutex_);
    logger->follow(initialLevel()); // it may have changed before the logger was in the list
    logger->next_ = first_;
    if (first_ != nullptr)
        first_->previous_ = logger;
    first_ = logger;
    ++changes_;
    return logger;
}

void LoggerRegistry::unfix(ClientLogger* logger) noexcept
{
    const Lock lock(mutex_);
    logger->unfix();
    logger->follow(initialLevel());
    logger->generation_ = 0;
    ++changes_;
}

void LoggerRegistry::destroy(ClientLogger* logger) noexcept
{
    if (logger == nullptr)
        return;
    {
        const Lock lock(mutex_);
        (logger->previous_ != nullptr ? logger->previous_->next_ : first_) = logger->next_;
        if (logger->next_ != nullptr)
            logger->next_->previous_ = logger->previous_;
    }
    release(logger);
}

void LoggerRegistry::update(const LevelRules& rules, std::uint64_t generation,
                            std::string_view process)
{
    initialLevel_.store(ZULOG_LEVEL_DEBUG);
    while (ClientLogger* logger = holdNext(generation)) {
        logger->follow(rules.levelFor(logger->module(), process));
        release(logger);
    }
}

void LoggerRegistry::setAll(zulog_level level) noexcept
{
    const Lock lock(mutex_);
    initialLevel_.store(level);
    for (ClientLogger* logger = first_; logger != nullptr; logger = logger->next_) {
        logger->follow(level);
        logger->generation_ = 0;
    }
}

void LoggerRegistry::resetLocked() noexcept
{
    initialLevel_.store(ZULOG_LEVEL_DEBUG);
    for (ClientLogger* logger = first_; logger != nullptr; logger = logger->next_) {
        logger->follow(ZULOG_LEVEL_DEBUG);
        logger->generation_ = 0;
        logger->holders_ = 1; // the thread that may have looked at it is not there
    }
}

ClientLogger* LoggerRegistry::holdNext(std::uint64_t generation) noexcept
{
    const Lock lock(mutex_);
    ClientLogger* logger = first_;
    while (logger != nullptr && logger->generation_ == generation)
        logger = logger->next_;
    if (logger != nullptr) {
        logger->generation_ = generation;
        ++logger->holders_;
    }
    return logger;
}

void LoggerRegistry::release(ClientLogger* logger) noexcept
{
    bool isLast = false;
    {
        const Lock lock(mutex_);
        isLast = --logger->holders_ == 0;
    }
    if (isLast)
        delete logger;
}

} // namespace zuLogging::client
