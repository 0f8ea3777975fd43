// The configuration object and the log service of this project, over a real socket.

#include "config/LogConfigData.h"

#include "tests/config/ConfigTestSupport.h"
#include "tests/service/RunningService.h"

#include <gtest/gtest.h>

using namespace zuLogging;
using namespace zuLogging::test;

TEST(ConfigService, WhatIsSavedIsWhatIsLoadedAgain)
{
    const RunningService service;
    LogConfigData data;
    ASSERT_EQ(data.loadConfiguration({}), QString());
    EXPECT_EQ(rowsOf(*data.tableModel()), QStringList(QStringLiteral("default:debug")));
    for (int i = 0; i < 300; ++i)
        data.tableModel()->addModuleRow(1, QStringLiteral("Module%1").arg(i),
                                        LogConfigData::levelNames()[i % 7]);
    const QStringList rows = rowsOf(*data.tableModel());
    data.setModified(true);
    ASSERT_EQ(data.saveConfiguration(), QString());
    EXPECT_FALSE(data.isModified());

    LogConfigData other;
    ASSERT_EQ(other.loadConfiguration({}), QString());
    EXPECT_EQ(rowsOf(*other.tableModel()), rows);
    EXPECT_TRUE(other.lastModuleNames().contains(QStringLiteral("Module299")));
    EXPECT_TRUE(other.lastModuleNames().contains(QStringLiteral("ARZ")));
}

TEST(ConfigService, WhatTheServiceRefusesStaysModifiedHereAndUnchangedThere)
{
    const RunningService service;
    LogConfigData data;
    ASSERT_EQ(data.loadConfiguration({}), QString());
    data.tableModel()->modifyRow(0, {}, QStringLiteral("loud"));
    data.setModified(true);
    EXPECT_EQ(data.saveConfiguration(),
              QStringLiteral("Failed to save the configuration file (The command was not "
                             "successful (negative acknowledge received))"));
    EXPECT_TRUE(data.isModified());
    EXPECT_EQ(rowsOf(*data.tableModel()), QStringList(QStringLiteral("default:loud")));
    LogConfigData other;
    ASSERT_EQ(other.loadConfiguration({}), QString());
    EXPECT_EQ(rowsOf(*other.tableModel()), QStringList(QStringLiteral("default:debug")));
}
