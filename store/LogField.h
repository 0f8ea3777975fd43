#pragma once

#include <QList>
#include <QString>

namespace zuLogging {

/// Identities of the log fields, as columns of the table, in the view settings and in JSON files.
enum LogField : int
{
    FieldNone = 0,
    FieldServiceMsgID = 1,
    FieldSourceMsgID = 2,
    FieldSenderMsgID = 3,
    FieldTimestamp = 4,
    FieldLogLevelHex = 5,
    FieldLogLevel = 6,
    FieldLogPos = 7,
    FieldModule = 8,
    FieldGroupName = 9,
    FieldProcessID = 10,
    FieldThreadID = 11,
    FieldLogMessage = 12
};

/// "ServiceMsgID" ... "LogMessage"; empty for any other identity.
QString logFieldName(int field);
/// The identity of a name (case-sensitive); FieldNone for any other text.
int logFieldOf(const QString& name);
/// All twelve, in identity order: the layout of a table that was never changed.
QList<int> defaultColumnOrder();

} // namespace zuLogging
