#include "tests/packaging/PackagingSupport.h"

#include "tests/support/TestEnvironment.h"

#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>

#include <gtest/gtest.h>

namespace zuLogging::test {

ToolOutput runSystemTool(const QString& program, const QStringList& arguments,
                         const QStringList& environment, int limitMs)
{
    QProcess process;
    QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
    for (const QString& entry : environment)
        variables.insert(entry.section(QLatin1Char('='), 0, 0), entry.section(QLatin1Char('='), 1));
    process.setProcessEnvironment(variables);
    process.start(program, arguments);
    process.closeWriteChannel();

    ToolOutput output;
    if (process.waitForFinished(limitMs) && process.exitStatus() == QProcess::NormalExit)
        output.status = process.exitCode();
    output.out = QString::fromUtf8(process.readAllStandardOutput());
    output.err = QString::fromUtf8(process.readAllStandardError());
    return output;
}

QString sourcePath(const QString& relative)
{
    return QStringLiteral(LOGDESK_SOURCE_DIR "/") + relative;
}

QString packagingFile(const QString& name)
{
    return sourcePath(QStringLiteral("packaging/") + name);
}

QString textOf(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        ADD_FAILURE() << "cannot read " << path.toStdString();
        return {};
    }
    return QString::fromUtf8(file.readAll());
}

QStringList completionsOf(const QStringList& words, const QString& folder)
{
    // As bash itself calls it: the command, the current word, the one before.
    const QString script =
        QStringLiteral("set -u; . \"$1\" || exit; shift\n"
                       "COMP_WORDS=(\"$@\") COMP_CWORD=$(($# - 1))\n"
                       "function=$(complete -p \"$1\") || exit; function=${function#*-F }\n"
                       "\"${function%% *}\" \"$1\" \"${COMP_WORDS[COMP_CWORD]}\" "
                       "\"${COMP_WORDS[COMP_CWORD - 1]}\"\n"
                       "[ ${#COMPREPLY[@]} -eq 0 ] || printf '%s\\n' \"${COMPREPLY[@]}\"");
    const QString file = sourcePath(QStringLiteral("packaging/completions/") + words.first());
    const QString programs =
        folder.isEmpty() ? QFileInfo(programPath(QStringLiteral("zulog"))).path() : folder;
    const ToolOutput run =
        runSystemTool(QStringLiteral("bash"),
                      QStringList{QStringLiteral("--norc"), QStringLiteral("--noprofile"),
                                  QStringLiteral("-c"), script, QStringLiteral("bash"), file} +
                          words,
                      {QStringLiteral("PATH=") + programs + QLatin1Char(':') +
                       QString::fromLocal8Bit(qgetenv("PATH"))});
    EXPECT_EQ(run.status, 0) << run.err.toStdString();
    EXPECT_EQ(run.err, QString());
    QStringList offered = run.out.split(QLatin1Char('\n'));
    offered.removeAll(QString());
    offered.sort();
    return offered;
}

Options optionsInHelp(const QString& help)
{
    static const QRegularExpression line(
        QStringLiteral("^ +(?:(-[A-Za-z])(?: \\[ |, ))?(--[a-z][a-z-]*)"),
        QRegularExpression::MultilineOption);
    Options options;
    for (auto found = line.globalMatch(help); found.hasNext();) {
        const QRegularExpressionMatch match = found.next();
        if (!match.captured(1).isEmpty())
            options.insert(match.captured(1).toStdString());
        options.insert(match.captured(2).toStdString());
    }
    return options;
}

} // namespace zuLogging::test
