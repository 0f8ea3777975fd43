// The program as a person starts it, twice, on a virtual display.

#include "store/LogField.h"
#include "store/ViewSettings.h"
#include "tests/e2e/WindowRun.h"
#include "tests/service/ServiceProcess.h"
#include "tests/support/VirtualDisplay.h"

#include <QDir>
#include <QFileInfo>

#include <gtest/gtest.h>

namespace zuLogging {
namespace {

using test::ServiceProcess;
using test::VirtualDisplay;
using test::WindowRun;

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
        ASSERT_EQ(run.waitForEnd(), "status 0");
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
