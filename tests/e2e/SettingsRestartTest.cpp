// The program as a person starts it, twice, on a virtual display.

#include "store/LogField.h"
#include "store/ViewSettings.h"
#include "tests/service/ProgramRun.h"
#include "tests/service/ServiceProcess.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/VirtualDisplay.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QProcessEnvironment>

#include <gtest/gtest.h>

namespace zuLogging {
namespace {

using test::programPath;
using test::ServiceProcess;
using test::VirtualDisplay;

/// One run of the window's program, driven by the keyboard.
class WindowRun
{
public:
    explicit WindowRun(const QString& display)
    {
        environment_ = test::environmentOn(display);
        program_.setProcessEnvironment(environment_);
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

    bool isOpen() const { return !window_.isEmpty(); }
    void type(const QStringList& keys)
    {
        xdotool(
            QStringList{QStringLiteral("key"), QStringLiteral("--delay"), QStringLiteral("50")} +
            keys);
    }
    /// The exit status; -1 when it did not end by itself.
    int waitForEnd()
    {
        return program_.waitForFinished(20000) && program_.exitStatus() == QProcess::NormalExit
                   ? program_.exitCode()
                   : -1;
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

    QProcessEnvironment environment_;
    QProcess program_;
    QString window_;
};

ViewSettings savedSettings()
{
    ViewSettings settings;
    EXPECT_TRUE(settings.readFrom(ViewSettings::filePath()));
    return settings;
}

/// From the last entry of the View menu upwards: "Reset view to default", "Resize rows",
/// "AutoScroll".
const QStringList toggleAutoScroll{QStringLiteral("alt+v"), QStringLiteral("Up"),
                                   QStringLiteral("Up"), QStringLiteral("Up"),
                                   QStringLiteral("Return")};

} // namespace

TEST(SettingsRestart, WhatWasChangedInOneRunHoldsInTheNext)
{
    const VirtualDisplay display;
    ASSERT_FALSE(display.name().isEmpty()) << "no Xvfb";
    ServiceProcess service;
    ASSERT_TRUE(service.start());
    ASSERT_TRUE(QDir().mkpath(QFileInfo(ViewSettings::filePath()).path()));
    ViewSettings before;
    before.maximumLogMessages = 4321;
    before.filterInclude = QStringList(QString::fromUtf8("\xC3\xBC"
                                                         "ber"));
    const QList<int> columns{FieldLogMessage, FieldLogLevel, FieldTimestamp};
    before.setColumnLayout(columns);
    before.columnWidths = {{0, 300}, {1, 80}, {2, 200}};
    ASSERT_TRUE(before.writeTo(ViewSettings::filePath()));

    for (const bool expected : {true, false, true}) {
        WindowRun run(display.name());
        ASSERT_TRUE(run.isOpen());
        run.type(toggleAutoScroll);
        run.type({QStringLiteral("ctrl+w")});
        ASSERT_EQ(run.waitForEnd(), 0);
        const ViewSettings saved = savedSettings();
        EXPECT_EQ(saved.autoScrollEnabled, expected);
        EXPECT_EQ(saved.maximumLogMessages, 4321);
        EXPECT_EQ(saved.filterInclude, before.filterInclude);
        EXPECT_EQ(saved.columnLayout(), columns);
        EXPECT_EQ(saved.columnWidths.value(0), 300);
        EXPECT_EQ(saved.columnWidths.value(1), 80);
    }
}

} // namespace zuLogging
