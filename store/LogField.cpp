#include "store/LogField.h"

namespace zuLogging {

QString logFieldName(int field)
{
    switch (field) {
    case FieldServiceMsgID:
        return QStringLiteral("ServiceMsgID");
    case FieldSourceMsgID:
        return QStringLiteral("SourceMsgID");
    case FieldSenderMsgID:
        return QStringLiteral("SenderMsgID");
    case FieldTimestamp:
        return QStringLiteral("Timestamp");
    case FieldLogLevelHex:
        return QStringLiteral("LogLevel [Hex]");
    case FieldLogLevel:
        return QStringLiteral("LogLevel");
    case FieldLogPos:
        return QStringLiteral("LogPos");
    case FieldModule:
        return QStringLiteral("Module");
    case FieldGroupName:
        return QStringLiteral("GroupName");
    case FieldProcessID:
        return QStringLiteral("ProcessID");
    case FieldThreadID:
        return QStringLiteral("ThreadID");
    case FieldLogMessage:
        return QStringLiteral("LogMessage");
    default:
        return {};
    }
}

int logFieldOf(const QString& name)
{
    for (int field = FieldServiceMsgID; field <= FieldLogMessage; ++field) {
        if (logFieldName(field) == name)
            return field;
    }
    return FieldNone;
}

QList<int> defaultColumnOrder()
{
    QList<int> fields;
    for (int field = FieldServiceMsgID; field <= FieldLogMessage; ++field)
        fields.append(field);
    return fields;
}

} // namespace zuLogging
