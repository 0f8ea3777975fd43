#pragma once

#include <QString>
#include <QStringList>

namespace zuLogging::test {

/// What a program of the system prints on both its outputs. One that fails fails the test, and
/// gives an empty text. `environment`: NAME=VALUE, added to this process's own.
QString outputOf(const QString& tool, const QStringList& arguments,
                 const QStringList& environment = {});

} // namespace zuLogging::test
