#pragma once

#include "logging/LogMessage.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace zuLogging::test {

/// The JSON log of some messages (pointers of any kind) as the library writes it, which holds all
/// of it in memory.
template <class Messages>
QByteArray writtenByDocument(const Messages& messages)
{
    QJsonArray array;
    for (const auto& message : messages) {
        QJsonObject object;
        object.insert("ServiceMsgID", QString::number(message->serviceMsgId()));
        object.insert("SourceMsgID", QString::number(message->sourceMsgId()));
        object.insert("SenderMsgID", QString::number(message->senderMsgId()));
        object.insert("ProcessID", QString::number(message->processId()));
        object.insert("ThreadID", QString::number(message->threadId()));
        object.insert("Timestamp", QString::number(message->timestamp()));
        object.insert("LogLevel [Hex]", message->levelCodeText());
        object.insert("LogLevel", message->levelName());
        object.insert("LogPos", toQString(message->logPos()));
        object.insert("Module", toQString(message->module()));
        object.insert("GroupName", toQString(message->groupName()));
        object.insert("LogMessage", toQString(message->logMessage()));
        array.append(object);
    }
    return QJsonDocument(array).toJson(QJsonDocument::Indented);
}

} // namespace zuLogging::test
