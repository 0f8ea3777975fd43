#pragma once

// A sink for spdlog that sends to the log service:
//
//     auto logger = std::make_shared<spdlog::logger>("group",
//                                                    std::make_shared<zulog::SpdlogSink>("module"));
//     logger->info("{} devices found", count);
//
// Needs spdlog, version 1.5 or later, of the program that includes it.

#include <zulog/Logger.h>

#include <spdlog/common.h>
#include <spdlog/details/log_msg.h>
#include <spdlog/sinks/sink.h>

#include <chrono>
#include <cstring>
#include <memory>
#include <string>

namespace zulog {

/// The name of the spdlog logger becomes the group, its text goes without a pattern: time, level,
/// thread and place in the source are fields of their own, those of the moment of the call even if
/// spdlog calls the sink later on a thread of its own. Any thread, without a lock.
///
/// Levels go by their verbosity, for that is what a configuration bounds: critical, err, warn and
/// info become "fatal", "err", "warn" and "info"; debug, the next one in spdlog, becomes "trace",
/// and spdlog's trace, its most verbose one, becomes "debug".
class SpdlogSink final : public spdlog::sinks::sink
{
public:
    explicit SpdlogSink(const std::string& module)
        : logger_(module)
    {
    }

    void log(const spdlog::details::log_msg& from) override
    {
        const Level level = levelOf(from.level);
        if (!logger_.isEnabled(level))
            return;
        zulog_message message{};
        message.size = sizeof message;
        message.level = static_cast<zulog_level>(level);
        message.line = from.source.line;
        message.file = from.source.filename;
        message.file_length =
            from.source.filename != nullptr ? std::strlen(from.source.filename) : 0;
        message.group = from.logger_name.data();
        message.group_length = from.logger_name.size();
        message.text = from.payload.data();
        message.text_length = from.payload.size();
        message.thread = from.thread_id;
        const auto time =
            std::chrono::duration_cast<std::chrono::microseconds>(from.time.time_since_epoch());
        message.time = time.count() > 0 ? static_cast<std::uint64_t>(time.count()) : 0;
        zulog_logger_log_message(logger_.handle(), &message);
    }

    /// Hurries the library on and does not wait: spdlog calls it within log calls.
    void flush() override { zulog::flush(std::chrono::milliseconds(0)); }

    void set_pattern(const std::string&) override {}
    void set_formatter(std::unique_ptr<spdlog::formatter>) override {}

    /// For setLevel and the like.
    Logger& logger() noexcept { return logger_; }

private:
    static Level levelOf(spdlog::level::level_enum level)
    {
        switch (level) {
        case spdlog::level::critical:
            return Level::Fatal;
        case spdlog::level::err:
            return Level::Err;
        case spdlog::level::warn:
            return Level::Warn;
        case spdlog::level::info:
            return Level::Info;
        case spdlog::level::debug:
            return Level::Trace;
        case spdlog::level::trace:
            return Level::Debug;
        default:
            return Level::None;
        }
    }

    Logger logger_;
};

} // namespace zulog
