// Files as earlier versions of the programs wrote them are read. The folder fixtures holds one of
// each; a version that changes a format adds its own, and these stay.

#include "service/ModuleRegistry.h"
#include "service/ServiceConfiguration.h"
#include "service/StartupFile.h"
#include "store/LogContainer.h"
#include "store/LogField.h"
#include "store/LogTableModel.h"
#include "store/ViewSettings.h"
#include "tests/support/TraceCapture.h"

#include <QByteArray>

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace zuLogging {
namespace {

std::string fixture(const char* name)
{
    return std::string(LOGDESK_FIXTURES) + '/' + name;
}

TEST(EarlierVersions, SettingsOfTheFirstVersionAreRead)
{
    ViewSettings settings;
    EXPECT_TRUE(settings.readFrom(QString::fromStdString(fixture("settings-1.xml"))));
    EXPECT_EQ(settings.maximumLogMessages, 4711);
    EXPECT_EQ(settings.columnOrder.value(QStringLiteral("Timestamp"), -1), 0);
    EXPECT_EQ(settings.columnOrder.value(QStringLiteral("LogMessage"), -1), 2);
    EXPECT_FALSE(settings.columnOrder.contains(QStringLiteral("Module"))); // it was hidden
    EXPECT_EQ(settings.columnWidths.value(2), 640);
    EXPECT_TRUE(settings.filterEnabled);
    EXPECT_EQ(settings.filterInclude, (QStringList{"one", "t\u00f6o <&>"}));
    EXPECT_EQ(settings.levelFilterInclude, (QStringList{"warn", "err"}));
    EXPECT_TRUE(settings.filterIncludeCs);
    EXPECT_TRUE(settings.filterExclude.isEmpty());
    EXPECT_FALSE(settings.filterExcludeCs);
    EXPECT_TRUE(settings.configurationEnabled);
    EXPECT_TRUE(settings.expertMode);
    EXPECT_FALSE(settings.timeDisplay);
    EXPECT_TRUE(settings.autoScrollEnabled);
    EXPECT_FALSE(settings.maximizedScreen);
}

TEST(EarlierVersions, AJsonLogOfTheFirstVersionIsRead)
{
    LogTableModel model(std::make_shared<LogContainer>());
    ASSERT_TRUE(model.loadFromJson(QString::fromStdString(fixture("log-1.json"))));
    ASSERT_EQ(model.rowCount(), 2);
    const std::shared_ptr<LogMessage> first = model.messageAt(0);
    EXPECT_EQ(first->serviceMsgId(), 18446744073709551615U);
    EXPECT_EQ(first->sourceMsgId(), 2U);
    EXPECT_EQ(first->senderMsgId(), 3U);
    EXPECT_EQ(first->timestamp(), 19000000000000000U);
    EXPECT_EQ(first->logLevel(), 4U);
    EXPECT_EQ(first->processId(), 100U);
    EXPECT_EQ(first->threadId(), 200U);
    EXPECT_EQ(first->module(), u"M\u00f6dule");
    EXPECT_EQ(first->groupName(), u"group");
    EXPECT_EQ(first->logPos(), u"main.cpp:1");
    EXPECT_EQ(first->logMessage(), u"\"a\"\t\\b\n\u0001 \U0001F600");
    EXPECT_EQ(model.messageAt(1)->logMessage(), u"");
    EXPECT_EQ(model.messageAt(1)->logLevel(), 0U);
}

class FilesOfEarlierServices : public ::testing::Test
{
protected:
    ~FilesOfEarlierServices() override { EXPECT_TRUE(trace_.calls().empty()); }

    test::TraceCapture trace_;
};

TEST_F(FilesOfEarlierServices, StartupFilesAreRead)
{
    // Made by the first version; changed by the preferences, which write numbers as texts and keep
    // what they do not know; by the first version that knew sinks of every kind.
    for (const auto& [name, lines] :
         {std::pair<const char*, std::uint64_t>{"startup-1.json", 10000},
          {"startup-1-preferences.json", 50000}}) {
        const StartupFile file(fixture(name));
        ASSERT_EQ(file.sinks().size(), 1U) << name;
        EXPECT_EQ(file.sinks()[0].type, SinkType::Recorder) << name;
        EXPECT_EQ(file.sinks()[0].description.firstNumber, lines) << name;
        EXPECT_EQ(file.sinks()[0].error, "") << name;
    }
    const StartupFile all(fixture("startup-2.json"));
    ASSERT_EQ(all.sinks().size(), 6U);
    for (const StartupSink& sink : all.sinks())
        EXPECT_EQ(sink.error, "") << sink.typeName;
    EXPECT_EQ(all.sinks()[1].description.argumentText, "all.log");
    EXPECT_EQ(all.sinks()[1].description.firstNumber, 100000U);
}

TEST_F(FilesOfEarlierServices, AConfigurationIsRead)
{
    const ServiceConfiguration configuration(fixture("rules-1.json"));
    EXPECT_NE(*configuration.current().text, ServiceConfiguration::defaultText());
    EXPECT_NE(configuration.current().text->find("\"extra\""), std::string::npos);
    EXPECT_EQ(configuration.current().rules->files(), std::vector<std::string>{"rule.log"});
}

TEST_F(FilesOfEarlierServices, AListOfModulesIsRead)
{
    EXPECT_EQ(ModuleRegistry(fixture("modules-1.txt")).list({}),
              std::string("Second\0first\0\xC3\x9C"
                          "ber\0",
                          19));
}

} // namespace
} // namespace zuLogging
