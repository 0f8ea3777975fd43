#pragma once

// Sends what a program says with qDebug, qInfo, qWarning, qCritical and qFatal to the log service:
//
//     int main(int argc, char** argv)
//     {
//         zulog::QtMessageHandler handler("module");
//         QApplication application(argc, argv);
//         ...
//
// Needs Qt Core, version 5 or 6, of the program that includes it.

#include <zulog/Logger.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QtGlobal>

#include <atomic>
#include <cstring>
#include <mutex>
#include <shared_mutex>

namespace zulog {

/// The process's Qt message handler for as long as this object lives; afterwards the one before is
/// back, unless somebody has put another one in its place meanwhile. One object at a time.
///
/// Debug, info, warning, critical and fatal become "debug", "info", "warn", "err" and "fatal"; the
/// category becomes the group. After a fatal message Qt ends the program: the handler waits up to a
/// second for the service to take it. Any thread may log.
class QtMessageHandler
{
public:
    enum class Previous
    {
        IsCalledToo, ///< what was seen before, on standard error as a rule, is still seen
        IsReplaced
    };

    explicit QtMessageHandler(const char* module, Previous previous = Previous::IsCalledToo)
        : logger_(module)
        , isPreviousCalled_(previous == Previous::IsCalledToo)
    {
        {
            const std::unique_lock<std::shared_mutex> lock(activeLock());
            active() = this;
        }
        previousHandler().store(qInstallMessageHandler(&QtMessageHandler::handle));
    }
    ~QtMessageHandler()
    {
        const Function present = qInstallMessageHandler(previousHandler().load());
        if (present != &QtMessageHandler::handle)
            qInstallMessageHandler(present);
        // Whoever is still inside gets out first.
        const std::unique_lock<std::shared_mutex> lock(activeLock());
        active() = nullptr;
    }
    QtMessageHandler(const QtMessageHandler&) = delete;
    QtMessageHandler& operator=(const QtMessageHandler&) = delete;

    /// For setLevel and the like.
    Logger& logger() noexcept { return logger_; }

private:
    using Function = ::QtMessageHandler;

    // The handler before may come to us again, by logging or because it calls us as its own
    // predecessor.
    class Entry
    {
    public:
        Entry()
            : isFirst_(!isInside())
        {
            isInside() = true;
        }
        ~Entry()
        {
            if (isFirst_)
                isInside() = false;
        }
        Entry(const Entry&) = delete;
        Entry& operator=(const Entry&) = delete;
        bool isFirst() const { return isFirst_; }

    private:
        static bool& isInside()
        {
            thread_local bool inside = false;
            return inside;
        }
        bool isFirst_;
    };

    static std::shared_mutex& activeLock()
    {
        static std::shared_mutex mutex;
        return mutex;
    }
    /// Under its lock.
    static QtMessageHandler*& active()
    {
        static QtMessageHandler* object = nullptr;
        return object;
    }
    static std::atomic<Function>& previousHandler()
    {
        static std::atomic<Function> handler{nullptr};
        return handler;
    }

    static Level levelOf(QtMsgType type)
    {
        switch (type) {
        case QtDebugMsg:
            return Level::Debug;
        case QtInfoMsg:
            return Level::Info;
        case QtWarningMsg:
            return Level::Warn;
        case QtCriticalMsg:
            return Level::Err;
        case QtFatalMsg:
            return Level::Fatal;
        }
        return Level::Info;
    }

    static void handle(QtMsgType type, const QMessageLogContext& context, const QString& text)
    {
        const Entry entry;
        if (!entry.isFirst())
            return;
        bool isPreviousCalled = true;
        {
            const std::shared_lock<std::shared_mutex> lock(activeLock());
            if (const QtMessageHandler* object = active()) {
                object->send(type, context, text);
                isPreviousCalled = object->isPreviousCalled_;
            }
        }
        const Function previous = previousHandler().load();
        if (previous != nullptr && isPreviousCalled)
            previous(type, context, text);
    }

    void send(QtMsgType type, const QMessageLogContext& context, const QString& text) const
    {
        const Level level = levelOf(type);
        if (!logger_.isEnabled(level))
            return;
        const QByteArray bytes = text.toUtf8();
        zulog_message message{};
        message.size = sizeof message;
        message.level = static_cast<zulog_level>(level);
        message.line = context.line;
        message.file = context.file;
        message.file_length = context.file != nullptr ? std::strlen(context.file) : 0;
        message.group = context.category;
        message.group_length = context.category != nullptr ? std::strlen(context.category) : 0;
        message.text = bytes.constData();
        message.text_length = static_cast<std::size_t>(bytes.size());
        zulog_logger_log_message(logger_.handle(), &message);
        if (type == QtFatalMsg)
            zulog::flush(std::chrono::seconds(1));
    }

    Logger logger_;
    bool isPreviousCalled_;
};

} // namespace zulog
