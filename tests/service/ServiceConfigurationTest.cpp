#include "service/ServiceConfiguration.h"

#include "logging/LogSvcError.h"
#include "tests/support/TraceCapture.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <unistd.h>

namespace zuLogging {
namespace {

class ConfigurationOfTheService : public ::testing::Test
{
protected:
    QString path() const { return directory_.filePath(QStringLiteral("LogSvcRules.json")); }
    std::string pathText() const { return path().toStdString(); }
    void writeFile(const std::string& text)
    {
        QFile file(path());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(text.data(), static_cast<qint64>(text.size()));
    }
    std::string readFile() const
    {
        QFile file(path());
        file.open(QIODevice::ReadOnly);
        return file.readAll().toStdString();
    }
    static bool isRefused(ServiceConfiguration& configuration, std::string_view text)
    {
        const auto before = configuration.current().text;
        const auto rulesBefore = configuration.current().rules;
        try {
            configuration.replace(text);
        } catch (const std::exception&) {
            EXPECT_EQ(configuration.current().text, before);
            EXPECT_EQ(configuration.current().rules, rulesBefore);
            return true;
        }
        return false;
    }
    static LogLevel level(const ServiceConfiguration& configuration)
    {
        return configuration.current().rules->decide(QStringLiteral("m"), QString()).level;
    }

    test::TraceCapture trace_;
    QTemporaryDir directory_;
};

const std::string errDocument = R"({"parameters":{"level":"err"}})";
const std::string warn = R"({"parameters":{"level":"warn"}})";

std::string withFile(const std::string& file)
{
    return R"({"parameters":{"file":")" + file + "\"}}";
}

TEST_F(ConfigurationOfTheService, LetsEverythingPassUntilSomebodyBringsAnother)
{
    const ServiceConfiguration configuration(pathText());
    EXPECT_EQ(*configuration.current().text,
              R"({"parameters":{"level":"debug","destination":"logsvc"}})");
    EXPECT_EQ(level(configuration), LogLevel::Debug);
    EXPECT_FALSE(QFile::exists(path()));
    EXPECT_TRUE(trace_.calls().empty());
}

TEST_F(ConfigurationOfTheService, AReplacedOneIsInForceAndInTheFileAndThereAfterARestart)
{
    {
        ServiceConfiguration configuration(pathText());
        configuration.replace(errDocument);
        EXPECT_EQ(*configuration.current().text, errDocument);
        EXPECT_EQ(level(configuration), LogLevel::Err);
        EXPECT_EQ(readFile(), errDocument);
        configuration.replace(warn);
        EXPECT_EQ(readFile(), warn);
    }
    const ServiceConfiguration again(pathText());
    EXPECT_EQ(*again.current().text, warn);
    EXPECT_EQ(level(again), LogLevel::Warn);
    EXPECT_EQ(QDir(directory_.path()).entryList(QDir::Files | QDir::Hidden),
              QStringList{QStringLiteral("LogSvcRules.json")});
}

TEST_F(ConfigurationOfTheService, WhatItDoesNotKnowComesBackAsItCame)
{
    const std::string text = " { \"#\" : \"c\\u00fc\", \"extra\":[1,2.50,[],{},null,true],\r\n"
                             "\"specializations\":[], \"attributes\":[], \"parameters\":{},"
                             "\"parameters\":{\"level\":\"info\",\"color\":\"\xC3\xBC\"}}\n";
    ServiceConfiguration configuration(pathText());
    configuration.replace(text);
    EXPECT_EQ(*configuration.current().text, text);
    EXPECT_EQ(*ServiceConfiguration(pathText()).current().text, text);
}

TEST_F(ConfigurationOfTheService, WhatIsNoGoodDocumentIsRefusedAndNothingChanges)
{
    ServiceConfiguration configuration(pathText());
    configuration.replace(errDocument);
    for (const std::string& text :
         {std::string(), std::string("{"), std::string("[]"), std::string("\"text\""),
          std::string("null"), std::string("{}x"), std::string("{\"a\":1,}"),
          std::string("{\"a\":\"b\"\0}", 10), std::string(100, '\0'), std::string(4000, '['),
          R"({"parameters":{"level":"verbose"}})" + std::string(),
          std::string(R"({"specializations":[{"attributes":[{"id":"thread"}]}]})"),
          std::string(600, '[').insert(0, "{\"a\":") + std::string(600, ']') + "}",
          "{\"a\":\"" + std::string(ServiceConfiguration::maximumSize, 'x') + "\"}"})
        EXPECT_TRUE(isRefused(configuration, text)) << text.substr(0, 80);
    EXPECT_EQ(readFile(), errDocument);
    EXPECT_EQ(level(configuration), LogLevel::Err);
}

TEST_F(ConfigurationOfTheService, ATextThatWouldTakeTooMuchMemoryIsRefused)
{
    std::string text = "{\"a\":[";
    for (std::size_t i = 0; i < maximumJsonValues; ++i)
        text += "[],";
    text += "[]]}";
    ServiceConfiguration configuration;
    EXPECT_TRUE(isRefused(configuration, text));
}

TEST_F(ConfigurationOfTheService, ABrokenFileIsReportedAndKeptUntilAGoodOneComes)
{
    writeFile("{ broken");
    ServiceConfiguration configuration(pathText());
    EXPECT_EQ(level(configuration), LogLevel::Debug);
    EXPECT_EQ(trace_.countStartingWith("Failed to read the logging configuration '"), 1U);
    EXPECT_TRUE(isRefused(configuration, "nothing good"));
    EXPECT_EQ(readFile(), "{ broken");
    configuration.replace(errDocument);
    EXPECT_EQ(readFile(), errDocument);
}

TEST_F(ConfigurationOfTheService, AFileThatCannotBeWrittenKeepsTheOldOneInForce)
{
    ServiceConfiguration configuration(pathText());
    configuration.replace(errDocument);
    // Nothing can be written where a folder stands in the way.
    ASSERT_TRUE(QDir().mkpath(path() + QStringLiteral(".new")));
    EXPECT_TRUE(isRefused(configuration, warn));
    EXPECT_EQ(readFile(), errDocument);
    ASSERT_TRUE(QDir().rmdir(path() + QStringLiteral(".new")));
    EXPECT_FALSE(isRefused(configuration, warn));
    EXPECT_EQ(readFile(), warn);
}

TEST_F(ConfigurationOfTheService, ATemporaryFileThatIsALinkIsNotFollowed)
{
    const QString victim = directory_.filePath(QStringLiteral("victim"));
    QFile file(victim);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("precious");
    file.close();
    ASSERT_EQ(::symlink(victim.toLocal8Bit().constData(), (pathText() + ".new").c_str()), 0);
    ServiceConfiguration configuration(pathText());
    EXPECT_TRUE(isRefused(configuration, errDocument));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), QByteArray("precious"));
}

TEST_F(ConfigurationOfTheService, WhatAKilledServiceLeftHalfWrittenIsWrittenOver)
{
    QFile file(path() + QStringLiteral(".new"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(QByteArray(100000, 'x'));
    file.close();
    ServiceConfiguration configuration(pathText());
    configuration.replace(errDocument);
    EXPECT_EQ(readFile(), errDocument);
    EXPECT_FALSE(file.exists());
}

TEST_F(ConfigurationOfTheService, WithoutAFolderItIsKeptInMemory)
{
    ServiceConfiguration configuration;
    configuration.replace(errDocument);
    EXPECT_EQ(level(configuration), LogLevel::Err);
}

TEST_F(ConfigurationOfTheService, AnUploadCannotNameAFileOutsideTheLogFolder)
{
    ServiceConfiguration configuration(pathText());
    for (const char* file :
         {"/etc/passwd", "../x.log", "a/../../x.log", "..", "a/..", "C:/x.log", "C:\\\\x.log",
          "..\\\\x.log", "\\\\x.log", "LogSvcRules.json", "logsvcconf.JSON", "a/LogSvcModules.txt",
          "LogSvcRules.json.new", "x/", "a\\u0000b"})
        EXPECT_TRUE(isRefused(configuration, withFile(file))) << file;
    EXPECT_TRUE(isRefused(configuration, withFile(std::string(1025, 'x'))));
    for (const char* file : {"x.log", "sub/x.log", "sub\\\\x.log", "./x.log", "..x", "a..b", ""})
        EXPECT_FALSE(isRefused(configuration, withFile(file))) << file;
}

TEST_F(ConfigurationOfTheService, APathThatTheKeptFileNamesMayStay)
{
    writeFile(withFile("/var/log/outside.log"));
    ServiceConfiguration configuration(pathText());
    EXPECT_TRUE(trace_.calls().empty());
    EXPECT_EQ(configuration.current().rules->files(),
              (std::vector<std::string>{"/var/log/outside.log"}));
    EXPECT_TRUE(isRefused(configuration, withFile("/var/log/outside.log2")));
    EXPECT_FALSE(isRefused(configuration,
                           R"({"parameters":{"file":"/var/log/outside.log","level":"err"}})"));
    // Once it is gone it cannot come back.
    EXPECT_FALSE(isRefused(configuration, errDocument));
    EXPECT_TRUE(isRefused(configuration, withFile("/var/log/outside.log")));
}

} // namespace
} // namespace zuLogging
