#include "tests/service/ProgramRun.h"

#include "tests/support/TestEnvironment.h"

#include <QProcess>

namespace zuLogging::test {

ProgramRun runProgram(const QString& name, const QStringList& arguments, const QByteArray& input,
                      const QStringList& environment, int limitMs)
{
    QProcess process;
    QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
    for (const QString& entry : environment)
        variables.insert(entry.section(QLatin1Char('='), 0, 0), entry.section(QLatin1Char('='), 1));
    process.setProcessEnvironment(variables);
    process.start(programPath(name), arguments);

    ProgramRun run;
    if (!process.waitForStarted(limitMs))
        return run;
    process.write(input);
    process.closeWriteChannel();
    run.ended = waitFor([&] { return process.state() == QProcess::NotRunning; }, limitMs) &&
                process.exitStatus() == QProcess::NormalExit;
    if (process.state() != QProcess::NotRunning) {
        process.kill();
        process.waitForFinished();
    }
    run.status = process.exitCode();
    run.out = QString::fromUtf8(process.readAllStandardOutput());
    run.err = QString::fromUtf8(process.readAllStandardError());
    return run;
}

} // namespace zuLogging::test
