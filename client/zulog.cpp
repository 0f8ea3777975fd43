// The functions of zulog.h: they check what they are given and hand it on.

#include <zulog/zulog.h>

#include "client/ClientProcess.h"
#include "logging/LogMessageContainer.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>

using zuLogging::client::ClientLogger;
using zuLogging::client::ClientProcess;
using zuLogging::client::QueuedMessage;

namespace {

bool isMessageLevel(zulog_level level)
{
    const auto bits = static_cast<unsigned>(level);
    return bits != 0 && bits <= ZULOG_LEVEL_DEBUG && (bits & (bits - 1)) == 0;
}

bool isLevel(zulog_level level)
{
    return level == ZULOG_LEVEL_NONE || isMessageLevel(level);
}

bool isWithin(unsigned long value, unsigned long low, unsigned long high)
{
    return value == 0 || (value >= low && value <= high);
}

ClientLogger* own(zulog_logger* logger)
{
    return static_cast<ClientLogger*>(logger);
}

std::string_view viewOf(const char* text)
{
    return text != nullptr ? std::string_view(text) : std::string_view();
}

zulog_result send(const QueuedMessage& message)
{
    return ClientProcess::instance().send(message) ? ZULOG_RESULT_OK : ZULOG_RESULT_DROPPED;
}

/// What there is to say before a message is looked at further.
zulog_result check(const zulog_logger* logger, zulog_level level)
{
    if (logger == nullptr || !isMessageLevel(level))
        return ZULOG_RESULT_INVALID_ARGUMENT;
    return zulog_enabled(logger, level) != 0 ? ZULOG_RESULT_OK : ZULOG_RESULT_FILTERED;
}

} // namespace

zulog_logger* zulog_logger_create(const char* module, const char* group) noexcept
{
    return ClientProcess::instance().createLogger(viewOf(module), viewOf(group));
}

void zulog_logger_destroy(zulog_logger* logger) noexcept
{
    ClientProcess::instance().destroyLogger(own(logger));
}

int zulog_logger_is_enabled(const zulog_logger* logger, zulog_level level) noexcept
{
    return zulog_enabled(logger, level);
}

zulog_result zulog_logger_log(const zulog_logger* logger, zulog_level level, const char* file,
                              int line, const char* text, size_t length) noexcept
{
    if (text == nullptr && length != 0)
        return ZULOG_RESULT_INVALID_ARGUMENT;
    if (const zulog_result result = check(logger, level); result != ZULOG_RESULT_OK)
        return result;
    const ClientLogger& from = ClientLogger::of(logger);
    QueuedMessage message;
    message.level = level;
    message.line = line;
    message.module = from.module();
    message.group = from.group();
    message.file = viewOf(file);
    message.text =
        length == ZULOG_NUL_TERMINATED ? std::string_view(text) : std::string_view(text, length);
    return send(message);
}

zulog_result zulog_logger_logf(const zulog_logger* logger, zulog_level level, const char* file,
                               int line, const char* format, ...) noexcept
{
    if (format == nullptr)
        return ZULOG_RESULT_INVALID_ARGUMENT;
    if (const zulog_result result = check(logger, level); result != ZULOG_RESULT_OK)
        return result;
    // One byte more than a packet can hold, so that a longer text is seen to be one.
    std::array<char, zuLogging::maximumContainer + 1> text;
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    if (length < 0)
        return ZULOG_RESULT_INVALID_ARGUMENT;
    return zulog_logger_log(logger, level, file, line, text.data(),
                            std::min(static_cast<std::size_t>(length), text.size() - 1));
}

zulog_result zulog_logger_log_message(const zulog_logger* logger,
                                      const zulog_message* message) noexcept
{
    if (message == nullptr || message->size < sizeof(zulog_message) ||
        (message->text == nullptr && message->text_length != 0) ||
        (message->file == nullptr && message->file_length != 0) ||
        (message->group == nullptr && message->group_length != 0))
        return ZULOG_RESULT_INVALID_ARGUMENT;
    if (const zulog_result result = check(logger, message->level); result != ZULOG_RESULT_OK)
        return result;
    const ClientLogger& from = ClientLogger::of(logger);
    QueuedMessage queued;
    queued.time = message->time;
    queued.thread = message->thread;
    queued.level = message->level;
    queued.line = message->line;
    queued.module = from.module();
    queued.group = message->group != nullptr
                       ? std::string_view(message->group, message->group_length)
                       : std::string_view(from.group());
    queued.file = std::string_view(message->file, message->file_length);
    queued.text = std::string_view(message->text, message->text_length);
    return send(queued);
}

zulog_result zulog_logger_set_level(zulog_logger* logger, zulog_level level) noexcept
{
    if (logger == nullptr || !isLevel(level))
        return ZULOG_RESULT_INVALID_ARGUMENT;
    own(logger)->fix(level);
    return ZULOG_RESULT_OK;
}

zulog_result zulog_logger_follow_service(zulog_logger* logger) noexcept
{
    if (logger == nullptr)
        return ZULOG_RESULT_INVALID_ARGUMENT;
    if (own(logger)->isFixed())
        ClientProcess::instance().unfix(own(logger));
    return ZULOG_RESULT_OK;
}

zulog_level zulog_logger_level(const zulog_logger* logger) noexcept
{
    return logger != nullptr ? ClientLogger::of(logger).level() : ZULOG_LEVEL_NONE;
}

uint64_t zulog_dropped_messages(void) noexcept
{
    return ClientProcess::instance().droppedMessages();
}

zulog_result zulog_flush(unsigned milliseconds) noexcept
{
    return ClientProcess::instance().flush(std::chrono::milliseconds(milliseconds))
               ? ZULOG_RESULT_OK
               : ZULOG_RESULT_TIMED_OUT;
}

zulog_result zulog_configure(const zulog_options* options) noexcept
{
    using zuLogging::client::MessageQueue;
    if (options == nullptr || options->size < sizeof(zulog_options) ||
        !isWithin(options->queue_bytes, MessageQueue::minimumBytes, MessageQueue::maximumBytes) ||
        !isWithin(options->exit_milliseconds, 1, 60000) ||
        !isWithin(options->configuration_milliseconds, 10, 3600000))
        return ZULOG_RESULT_INVALID_ARGUMENT;
    const bool isInTime = ClientProcess::instance().configure(
        options->queue_bytes, std::chrono::milliseconds(options->exit_milliseconds),
        std::chrono::milliseconds(options->configuration_milliseconds));
    return isInTime ? ZULOG_RESULT_OK : ZULOG_RESULT_TOO_LATE;
}

const char* zulog_version(void) noexcept
{
    return ZULOG_VERSION;
}
