#pragma once

#include <QString>
#include <QStringList>

namespace zuLogging::test {

/// What one of the built programs did.
struct ProgramRun
{
    bool ended = false; ///< by itself, within the limit
    int status = -1;
    QString out;
    QString err;
};

/// Runs a built program to its end, with `input` as its standard input. `environment` is of the
/// form NAME=VALUE, added to this process's own.
ProgramRun runProgram(const QString& name, const QStringList& arguments,
                      const QByteArray& input = {}, const QStringList& environment = {},
                      int limitMs = 30000);

} // namespace zuLogging::test
