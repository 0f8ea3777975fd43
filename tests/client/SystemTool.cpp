#include "tests/client/SystemTool.h"

#include <QProcess>

#include <gtest/gtest.h>

namespace zuLogging::test {

QString outputOf(const QString& tool, const QStringList& arguments, const QStringList& environment)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.setProcessEnvironment([&] {
        QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
        for (const QString& entry : environment)
            variables.insert(entry.section(QLatin1Char('='), 0, 0),
                             entry.section(QLatin1Char('='), 1));
        return variables;
    }());
    process.start(tool, arguments);
    process.waitForFinished(110000);
    const QString output = QString::fromUtf8(process.readAll());
    const bool isGood = process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    EXPECT_TRUE(isGood) << tool.toStdString() << ' '
                        << arguments.join(QLatin1Char(' ')).toStdString() << '\n'
                        << output.toStdString() << process.errorString().toStdString();
    return isGood ? output : QString();
}

} // namespace zuLogging::test
