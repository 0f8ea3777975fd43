#include "config/LogConfigData.h"

#include "logging/LogSvcError.h"
#include "tests/config/ConfigTestSupport.h"
#include "tests/config/TransferServer.h"

#include <QDir>
#include <QFile>
#include <QPointer>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <stdexcept>

using namespace zuLogging;
using namespace zuLogging::test;

namespace {

const std::string small = documentOf("warn", specialization("A", "info"));

class LogConfigDataFile : public ::testing::Test
{
protected:
    QString fileWith(const std::string& text, const QString& name = QStringLiteral("config.json"))
    {
        QFile file(directory.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        EXPECT_EQ(file.write(text.data(), static_cast<qint64>(text.size())),
                  static_cast<qint64>(text.size()));
        return file.fileName();
    }
    static QString failureText(const QString& path)
    {
        return QStringLiteral("Failed to load the configuration from file '") + path +
               QStringLiteral("'");
    }

    QTemporaryDir directory;
    TransferServer server;
    LogConfigData data;
};

/// Fails in place of the service.
class BrokenData : public LogConfigData
{
public:
    std::function<void()> failure;

    void downloadConfiguration() override { failure(); }
};

std::string causeOf(const std::function<void()>& action)
{
    try {
        action();
        return "no error";
    } catch (const LogSvcError& error) {
        return error.what();
    }
}

} // namespace

TEST(LogConfigData, ThereIsOneObjectAProcessMadeWhenTheServiceIsFirstFound)
{
    EXPECT_EQ(causeOf([] { LogConfigData::instance(); }),
              "Failed to connect to the shared memory with connection info: Shared memory error");
    const TransferServer server;
    LogConfigData* first = LogConfigData::instance();
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(LogConfigData::instance(), first);
}

TEST(LogConfigData, HasTwoEmptyModelsAndNothingModifiedAtFirst)
{
    const TransferServer server;
    LogConfigData data;
    ASSERT_NE(data.treeModel(), nullptr);
    ASSERT_NE(data.tableModel(), nullptr);
    EXPECT_EQ(data.treeModel()->rowCount(), 0);
    EXPECT_EQ(data.tableModel()->rowCount(), 0);
    EXPECT_TRUE(data.lastModuleNames().isEmpty());
    EXPECT_FALSE(data.isModified());
    data.setModified(true);
    EXPECT_TRUE(data.isModified());
}

// The lists of the dialogs.

TEST(LogConfigData, LevelNamesBeginsWithNoneAndEndsWithDebug)
{
    EXPECT_EQ(LogConfigData::levelNames(),
              textList({"none", "fatal", "err", "warn", "info", "trace", "debug"}));
}

TEST(LogConfigData, TheOtherListsHaveTheirOrders)
{
    EXPECT_EQ(LogConfigData::destinationNames(), textList({"none", "logsvc", "file"}));
    EXPECT_EQ(LogConfigData::attributeIds(), textList({"module", "process"}));
    EXPECT_EQ(LogConfigData::attributeOps(), textList({"in", "sub", "eq"}));
}

TEST(LogConfigData, TheFixedModuleNamesFollowTheOnesOfTheService)
{
    TransferServer server("{}", std::string("b\0a\0", 4));
    LogConfigData data;
    const QStringList expected =
        textList({"a", "b", "ARZ", "Brisket", "Corvane", "Dunmore", "Estrel", "Fenwick"});
    EXPECT_EQ(data.moduleNames(), expected);
    EXPECT_EQ(data.lastModuleNames(), expected);
    server.setModules("");
    EXPECT_EQ(data.moduleNames(), expected.mid(2));
}

TEST(LogConfigData, AServiceThatAlreadyReportsArzGetsNoSecondOne)
{
    TransferServer server("{}", std::string("arz\0FENWICK\0Fenwick\0x", 21));
    LogConfigData data;
    EXPECT_EQ(data.moduleNames(), textList({"FENWICK", "Fenwick", "arz", "x", "Brisket", "Corvane",
                                            "Dunmore", "Estrel"}));
}

TEST(LogConfigData, ModuleNamesAreUnicode)
{
    TransferServer server("{}", "Gr\xC3\xB6\xC3\x9F"
                                "e");
    LogConfigData data;
    EXPECT_EQ(data.moduleNames().first(), QString::fromUtf8("Gr\xC3\xB6\xC3\x9F"
                                                            "e"));
}

TEST(LogConfigData, EveryCallForTheModulesAsksTheServiceAnew)
{
    auto server = std::make_unique<TransferServer>("{}", "m");
    LogConfigData data;
    data.moduleNames();
    data.moduleNames();
    EXPECT_EQ(server->newCommands(), (std::vector<int>{35, 21, 17, 20, 35, 21, 17, 20}));
    server.reset();
    EXPECT_EQ(causeOf([&] { data.moduleNames(); }),
              "Log client command execution failure when communicating with the server.");
    EXPECT_EQ(data.lastModuleNames().first(), QStringLiteral("m"));
}

// Loading from the service.

TEST(LogConfigData, AnEmptyPathLoadsFromTheServiceAndRefreshesTheModules)
{
    TransferServer server(small, "m");
    LogConfigData data;
    EXPECT_EQ(data.loadConfiguration({}), QString());
    EXPECT_EQ(rowsOf(*data.tableModel()), textList({"default:warn", "A:info"}));
    EXPECT_EQ(data.treeModel()->rowCount(), 2);
    EXPECT_EQ(data.lastModuleNames().first(), QStringLiteral("m"));
    EXPECT_EQ(server.newCommands(), (std::vector<int>{33, 21, 17, 20, 35, 21, 17, 20}));
    data.treeModel()->rebuildTable();
    EXPECT_EQ(data.tableModel()->rowCount(), 2) << "the two models know each other";
}

TEST(LogConfigData, ALoadReplacesBothModels)
{
    TransferServer server(small);
    LogConfigData data;
    QPointer<TreeModel> tree = data.treeModel();
    QPointer<TableModel> table = data.tableModel();
    data.loadConfiguration({});
    EXPECT_TRUE(tree.isNull());
    EXPECT_TRUE(table.isNull());
    tree = data.treeModel();
    data.loadConfiguration({});
    EXPECT_TRUE(tree.isNull());
    EXPECT_EQ(data.tableModel()->rowCount(), 2);
}

TEST(LogConfigData, AServiceThatReportsASizeOf0HasNoDocument)
{
    TransferServer server("");
    LogConfigData data;
    EXPECT_EQ(data.loadConfiguration({}),
              QStringLiteral("Failed to load the configuration file and modules (Failed to "
                             "deserialize the configuration tree downloaded from the server)"));
    EXPECT_EQ(server.newCommands(), (std::vector<int>{33, 21, 20}));
}

TEST(LogConfigData, AfterAFailedLoadBothModelsExistButAreEmpty)
{
    TransferServer server(small);
    LogConfigData data;
    ASSERT_EQ(data.loadConfiguration({}), QString());
    // The document comes, the list of modules does not.
    server.setFault([](FakeLogServer& s, const TransferServer::Request& r) {
        if (r.header().command != 35)
            return false;
        s.acknowledge(r, {}, PacketStatus::Failed);
        return true;
    });
    EXPECT_EQ(data.loadConfiguration({}),
              QStringLiteral("Failed to load the configuration file and modules (The command was "
                             "not successful (negative acknowledge received))"));
    ASSERT_NE(data.treeModel(), nullptr);
    ASSERT_NE(data.tableModel(), nullptr);
    EXPECT_EQ(data.treeModel()->rowCount(), 0);
    EXPECT_EQ(data.tableModel()->rowCount(), 0);
    server.setFault({});
    EXPECT_EQ(data.loadConfiguration({}), QString());
    EXPECT_EQ(data.tableModel()->rowCount(), 2);
}

TEST(LogConfigData, WhateverALoadThrowsBecomesItsText)
{
    const TransferServer server;
    BrokenData data;
    const QString prefix = QStringLiteral("Failed to load the configuration file and modules (");
    data.failure = [] { throw LogSvcError("cause"); };
    EXPECT_EQ(data.loadConfiguration({}), prefix + QStringLiteral("cause)"));
    data.failure = [] { throw std::runtime_error("other"); };
    EXPECT_EQ(data.loadConfiguration({}), prefix + QStringLiteral("other)"));
    data.failure = [] { throw 42; };
    EXPECT_EQ(data.loadConfiguration({}), prefix + QStringLiteral("Unknown exception)"));
    EXPECT_EQ(data.treeModel()->rowCount(), 0);
}

TEST(LogConfigData, ALoadLeavesTheModifiedFlag)
{
    const TransferServer server(small);
    LogConfigData data;
    data.setModified(true);
    EXPECT_EQ(data.loadConfiguration({}), QString());
    EXPECT_TRUE(data.isModified());
    data.loadConfiguration(QStringLiteral("/none"));
    EXPECT_TRUE(data.isModified());
}

// Loading from a file.

TEST_F(LogConfigDataFile, AFileFillsTheModelsAndAsksNobody)
{
    EXPECT_EQ(data.loadConfiguration(fileWith(small)), QString());
    EXPECT_EQ(rowsOf(*data.tableModel()), textList({"default:warn", "A:info"}));
    EXPECT_TRUE(server.newCommands().empty());
    EXPECT_TRUE(data.configurationTree().empty()) << "what was last transferred";
}

TEST_F(LogConfigDataFile, AFileThatDoesNotExistGivesThePathAsGiven)
{
    for (const char* path : {"/no/such %1.json", "relative", "C:\\a\\b.json", " ", "\xC3\xA4'"}) {
        const QString text = QString::fromUtf8(path);
        EXPECT_EQ(data.loadConfiguration(text), failureText(text));
    }
}

TEST_F(LogConfigDataFile, WhateverIsWrongWithAFileGivesItsText)
{
    EXPECT_EQ(data.loadConfiguration(directory.path()), failureText(directory.path()));
    const std::string deep = std::string(1000, '[') + std::string(1000, ']');
    for (const std::string& text :
         {std::string(), std::string("{"), std::string("\"text\""), std::string("17"),
          std::string("[]"), "{\"a\":" + deep + "}", std::string("{\"a\":\"\xFF\"}"),
          std::string("{\"a\":\"\0\"}", 9)}) {
        EXPECT_EQ(data.loadConfiguration(fileWith(small, QStringLiteral("good"))), QString());
        EXPECT_EQ(data.tableModel()->rowCount(), 2);
        const QString path = fileWith(text);
        EXPECT_EQ(data.loadConfiguration(path), failureText(path)) << text;
        EXPECT_EQ(data.treeModel()->rowCount(), 0);
        EXPECT_EQ(data.tableModel()->rowCount(), 0);
    }
}

TEST_F(LogConfigDataFile, AFileThatMayNotBeReadGivesItsText)
{
    const QString path = fileWith(small);
    ASSERT_TRUE(QFile::setPermissions(path, QFileDevice::Permissions()));
    QFile probe(path);
    // Nothing is unreadable for the system's administrator.
    const bool readable = probe.open(QIODevice::ReadOnly);
    EXPECT_EQ(data.loadConfiguration(path), readable ? QString() : failureText(path));
}

TEST_F(LogConfigDataFile, AByteOrderMarkAndANonAsciiPathAreFine)
{
    const QString path = fileWith("\xEF\xBB\xBF" + small, QString::fromUtf8("Gr\xC3\xB6\xC3\x9F"
                                                                            "e \xE2\x82\xAC"));
    EXPECT_EQ(data.loadConfiguration(path), QString());
    EXPECT_EQ(data.tableModel()->rowCount(), 2);
}

TEST_F(LogConfigDataFile, AFileAsDeepAsAllowedIsLoadedAndSaved)
{
    std::string text = R"("x")";
    for (int i = 0; i < maximumJsonDepth; ++i)
        text = "{\"a\":" + text + "}";
    EXPECT_EQ(data.loadConfiguration(fileWith(text)), QString());
    EXPECT_EQ(data.saveConfiguration(), QString());
    EXPECT_EQ(server.configuration(), text);
}

// Saving.

TEST_F(LogConfigDataFile, ASaveSendsWhatTheTreeModelHolds)
{
    EXPECT_EQ(data.loadConfiguration(fileWith(small)), QString());
    data.tableModel()->modifyRow(1, QStringLiteral("B"), QStringLiteral("err"));
    data.setModified(true);
    EXPECT_EQ(data.saveConfiguration(), QString());
    EXPECT_EQ(server.configuration(), documentOf("warn", specialization("B", "err")));
    EXPECT_FALSE(data.isModified());
    EXPECT_EQ(data.configurationTree(), readPropertyTree(server.configuration()));
}

TEST_F(LogConfigDataFile, AFailedSaveKeepsTheFlagAndTheNewTree)
{
    EXPECT_EQ(data.loadConfiguration(fileWith(small)), QString());
    data.setModified(true);
    server.setFault([](FakeLogServer& s, const TransferServer::Request& r) {
        s.acknowledge(r, {}, PacketStatus::Failed);
        return true;
    });
    EXPECT_EQ(data.saveConfiguration(),
              QStringLiteral("Failed to save the configuration file (The command was not "
                             "successful (negative acknowledge received))"));
    EXPECT_TRUE(data.isModified());
    EXPECT_EQ(data.configurationTree(), readPropertyTree(small));
    EXPECT_EQ(server.configuration(), "{}");
    server.setFault({});
    EXPECT_EQ(data.saveConfiguration(), QString());
    EXPECT_FALSE(data.isModified());
    EXPECT_EQ(server.configuration(), small);
}

TEST_F(LogConfigDataFile, ATreeWithoutJsonFormIsNotSaved)
{
    EXPECT_EQ(data.loadConfiguration(fileWith(R"({"#":{"a":"1"}})")), QString());
    data.treeModel()->setValue(data.treeModel()->root()->child(0), QStringLiteral("text"));
    data.setModified(true);
    EXPECT_EQ(data.saveConfiguration(),
              QStringLiteral("Failed to save the configuration file (Failed to serialize the "
                             "configuration tree for upload to the server)"));
    EXPECT_TRUE(data.isModified());
    EXPECT_TRUE(server.newCommands().empty());
}

TEST_F(LogConfigDataFile, AnEmptyTreeIsSavedAsAnEmptyDocument)
{
    server.setConfiguration(small);
    EXPECT_EQ(data.saveConfiguration(), QString());
    EXPECT_EQ(server.configuration(), "{}");
}
