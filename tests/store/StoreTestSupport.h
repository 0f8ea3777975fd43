#pragma once

#include "logging/LogMessage.h"
#include "logging/LogMessageSecondaryListener.h"
#include "store/LogContainer.h"
#include "store/LogField.h"
#include "store/LogTableModel.h"

#include <QString>
#include <QStringList>

#include <boost/thread/lock_types.hpp>

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace zuLogging {

/// The tests' view of what the store keeps to itself.
struct LogContainerAccess
{
    static void setActive(LogContainer& store, bool active) { store.active_ = active; }
    static bool isStopRequested(const LogContainer& store) { return store.stopRequested_; }
    static bool isShuttingDown(const LogContainer& store) { return store.shuttingDown_; }
    /// For messages, with nothing left to do.
    static bool isWorkerWaiting(LogContainer& store)
    {
        const std::lock_guard<platform::PriorityMutex> lock(store.queueLock_);
        return store.waitingWorkers_ > 0;
    }
    /// One step of the worker, on this thread.
    static void moveMessages(LogContainer& store) { store.moveMessages(); }
    /// Keeps every worker from moving records.
    static LogContainer::RowsHold stallWorkers(LogContainer& store) { return store.holdRows(); }
    static std::size_t livingWorkers(LogContainer& store)
    {
        const boost::unique_lock<boost::mutex> lock(store.runLock_);
        std::size_t living = 0;
        for (const auto& worker : store.workers_)
            living += worker.ended ? 0U : 1U;
        return living;
    }
};

namespace test {

/// A store whose messages come from the test instead of a service.
class QuietStore : public LogContainer
{
public:
    ~QuietStore() override = default;

protected:
    std::shared_ptr<LogMessageListener> makeListener(bool) override { return {}; }
};

struct MessageFields
{
    std::uint64_t id = 1;
    std::uint64_t timestamp = unixTimestamp;
    std::uint64_t level = 8;
    std::u16string text = u"text";
    std::u16string module = u"module";
    std::u16string group = u"group";
    std::u16string position = u"file.cpp:1";
    std::uint64_t process = 100;
    std::uint64_t thread = 200;

    static constexpr std::uint64_t unixTimestamp = 208188ULL * 86400ULL * 1000000ULL;
};

inline std::shared_ptr<LogMessage> makeMessage(const MessageFields& f)
{
    auto message =
        std::make_shared<LogMessage>(f.id, f.id + 1000, f.id + 2000, f.timestamp, f.level,
                                     f.position, f.module, f.group, f.text, f.process, f.thread);
    message->renderTimestamp();
    return message;
}

inline std::shared_ptr<LogMessage> makeMessage(std::uint64_t id,
                                               const std::u16string& text = u"text")
{
    MessageFields fields;
    fields.id = id;
    fields.text = text;
    return makeMessage(fields);
}

inline DecodedMessage decoded(std::uint64_t id, const std::u16string& text = u"text",
                              std::uint64_t level = 8)
{
    DecodedMessage fields;
    fields.serviceMsgId = id;
    fields.sourceMsgId = id;
    fields.senderMsgId = id;
    fields.timestamp = MessageFields::unixTimestamp + id;
    fields.logLevel = level;
    fields.logMessage = text;
    return fields;
}

inline void addAllColumns(LogTableModel& model)
{
    for (const int field : defaultColumnOrder())
        model.addColumn(field);
}

/// The identifiers in order of arrival.
inline std::vector<std::uint64_t> storedIds(const LogTableModel& model)
{
    std::vector<std::uint64_t> ids;
    for (const auto& message : model.messagesFrom(0, model.rowCount()))
        ids.push_back(message->serviceMsgId());
    return ids;
}

/// One column as it is shown, top to bottom.
inline QStringList shownColumn(const LogTableModel& model, int column)
{
    QStringList texts;
    const int count = model.rowCount();
    for (int row = 0; row < count; ++row)
        texts.append(model.cellText(row, column));
    return texts;
}

} // namespace test
} // namespace zuLogging
