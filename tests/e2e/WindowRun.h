#pragma once

#include "tests/support/TestEnvironment.h"
#include "tests/support/VirtualDisplay.h"

#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

#include <gtest/gtest.h>

namespace zuLogging::test {

/// One run of the window's program on a virtual display, driven by the keyboard.
class WindowRun
{
public:
    /// The streams go to these files where they are given.
    explicit WindowRun(const QString& display, const QString& output = QString(),
                       const QString& error = QString())
        : environment_(environmentOn(display))
    {
        program_.setProcessEnvironment(environment_);
        if (!output.isEmpty())
            program_.setStandardOutputFile(output);
        if (!error.isEmpty())
            program_.setStandardErrorFile(error);
        program_.start(programPath(QStringLiteral("logdesk")), QStringList());
        window_ = xdotool({QStringLiteral("search"), QStringLiteral("--sync"),
                           QStringLiteral("--onlyvisible"), QStringLiteral("--name"),
                           QStringLiteral("Arvenza LogDesk")})
                      .section(QLatin1Char('\n'), 0, 0);
        xdotool({QStringLiteral("windowfocus"), QStringLiteral("--sync"), window_});
    }
    ~WindowRun()
    {
        if (program_.state() != QProcess::NotRunning) {
            program_.kill();
            program_.waitForFinished(5000);
        }
    }
    WindowRun(const WindowRun&) = delete;
    WindowRun& operator=(const WindowRun&) = delete;

    bool isOpen() const { return !window_.isEmpty(); }
    void type(const QStringList& keys)
    {
        xdotool(
            QStringList{QStringLiteral("key"), QStringLiteral("--delay"), QStringLiteral("50")} +
            keys);
    }
    /// What became of it: "status 0", the number of a signal, or that it still runs.
    std::string waitForEnd()
    {
        if (!waitFor([this] { return program_.state() == QProcess::NotRunning; }, 20000))
            return "still runs";
        return (program_.exitStatus() == QProcess::NormalExit ? "status " : "signal ") +
               std::to_string(program_.exitCode());
    }

private:
    QString xdotool(const QStringList& arguments)
    {
        QProcess tool;
        tool.setProcessEnvironment(environment_);
        tool.start(QStringLiteral("xdotool"), arguments);
        EXPECT_TRUE(tool.waitForFinished(20000)) << arguments.join(QLatin1Char(' ')).toStdString();
        return QString::fromLatin1(tool.readAllStandardOutput()).trimmed();
    }

    const QProcessEnvironment environment_;
    QProcess program_;
    QString window_;
};

} // namespace zuLogging::test
