#include "tools/ConfigCommand.h"

#include "tests/service/RunningService.h"
#include "tests/support/TestEnvironment.h"
#include "tests/tools/StandInService.h"
#include "tests/tools/ToolRun.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace zuLogging {
namespace {

using test::isOneLine;
using test::runTool;
using test::StandInService;
using test::ToolRun;

class ConfigCommand : public ::testing::Test
{
protected:
    QString path(const QString& name) const { return folder_.filePath(name); }
    std::string word(const QString& name) const { return path(name).toStdString(); }

    std::string write(const QString& name, const std::string& bytes) const
    {
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        EXPECT_EQ(file.write(QByteArray::fromStdString(bytes)), static_cast<qint64>(bytes.size()));
        return word(name);
    }

    std::string read(const QString& name) const
    {
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name.toStdString();
        return file.readAll().toStdString();
    }

    QTemporaryDir folder_;
};

// Neither JSON nor text.
const std::string oddBytes = std::string("no JSON ") + '\0' + " \xFF\r\n\n\x1B and no end";

TEST_F(ConfigCommand, GetWritesTheBytesAsTheyAre)
{
    for (const std::string& bytes : {oddBytes, std::string(), std::string("{}"),
                                     std::string("{}\n"), std::string(1389, 'x')}) {
        const StandInService service({{LogClientCommand::GetConfiguration, bytes}});
        for (const std::vector<std::string>& words :
             {std::vector<std::string>{"config", "get"}, {"config", "get", "-"}}) {
            const ToolRun run = runTool(words);
            EXPECT_EQ(run.status, 0);
            EXPECT_EQ(run.out, bytes);
            EXPECT_EQ(run.err, "");
        }
        EXPECT_EQ(runTool({"config", "get", word("file")}).status, 0);
        EXPECT_EQ(read("file"), bytes);
    }
}

TEST_F(ConfigCommand, GetReplacesAFileWhole)
{
    const StandInService service({{LogClientCommand::GetConfiguration, "{\"new\":\"\"}"}});
    const std::string file = write("file", std::string(100000, 'o'));
    const ToolRun run = runTool({"config", "get", file});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out + run.err, "");
    EXPECT_EQ(read("file"), "{\"new\":\"\"}");
    EXPECT_EQ(QDir(folder_.path()).entryList(QDir::Files), QStringList("file"));
}

TEST_F(ConfigCommand, AFileThatCannotBeWrittenIsStatus1AndStays)
{
    const StandInService service({{LogClientCommand::GetConfiguration, "{}"}});
    for (const std::string& file : {word("no/such/folder"), folder_.path().toStdString()}) {
        const ToolRun run = runTool({"config", "get", file});
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err.find("zulog: cannot write '" + file + "': "), 0U) << run.err;
        EXPECT_TRUE(isOneLine(run.err));
    }
}

TEST_F(ConfigCommand, ADownloadThatFailsLeavesTheFile)
{
    const StandInService service;
    const std::string file = write("file", "old");
    const ToolRun run = runTool({"config", "get", file});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "zulog: The command was not successful (negative acknowledge received)\n");
    EXPECT_EQ(read("file"), "old");
}

TEST_F(ConfigCommand, PutReplacesTheConfigurationAndGetGivesItBack)
{
    const test::RunningService service;
    const std::string first = " {\"parameters\" : {\"level\" : \"warn\"}}\n\n";
    EXPECT_EQ(runTool({"config", "put", write("file", first)}).status, 0);
    EXPECT_EQ(runTool({"config", "get"}).out, first);
    const std::string second =
        "{\"parameters\":{\"level\":\"err\"},\"x\":\"Gr\xC3\xB6\xC3\x9F\x65\"}";
    const ToolRun run = runTool({"config", "put", "-"}, second);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out + run.err, "");
    EXPECT_EQ(runTool({"config", "get"}).out, second);
    const std::string third = "{\"#\":\"" + std::string(100000, 'x') + "\"}";
    EXPECT_EQ(runTool({"config", "put", "-"}, third).status, 0);
    EXPECT_EQ(runTool({"config", "get"}).out, third);
}

TEST_F(ConfigCommand, WhatIsNoJsonIsToldWithItsLineAndNotSent)
{
    StandInService service;
    const std::vector<std::pair<std::string, std::string>> texts{
        {"", ": expected an object"},
        {"[]", ": expected an object"},
        {"\"x\"", ": expected an object"},
        {"{\n\"a\": \"b\",\n}", ", line 3: "},
        {"{\"a\": \"b\"", ", line 1: "},
        {"{}\n\nx", ", line 3: "},
        {"{\"a\": \"\xFF\"}", ", line 1: "},
        {std::string("{\"a\": \"\0\"}", 10), ", line 1: "},
        {"{\"a\": \"\\ud800\"}", ", line 1: "},
        {"{\"a\":" + std::string(600, '[') + std::string(600, ']') + "}", ": nested too deep"},
        {"{\"a\":[" + std::string(1000001, ',') + "]}", ": too many values"}};
    for (const auto& text : texts) {
        const std::string file = write("file", text.first);
        const ToolRun run = runTool({"config", "put", file});
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.err.find("zulog: '" + file + "' is not a JSON object" + text.second), 0U)
            << run.err;
        EXPECT_TRUE(isOneLine(run.err)) << run.err;
        const ToolRun stream = runTool({"config", "put", "-"}, text.first);
        EXPECT_EQ(stream.status, 1);
        EXPECT_EQ(stream.err.find("zulog: standard input is not a JSON object" + text.second), 0U)
            << stream.err;
    }
    EXPECT_TRUE(service.server().requests().empty());
}

TEST_F(ConfigCommand, ARefusalByTheServiceIsOneLineAndStatus1)
{
    const test::RunningService service;
    const ToolRun run = runTool({"config", "put", "-"}, "{\"parameters\":{\"level\":\"loud\"}}");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "zulog: the service did not take the configuration: The command was not "
                       "successful (negative acknowledge received)\n");
    EXPECT_NE(runTool({"config", "get"}).out.find("\"debug\""), std::string::npos);
}

TEST_F(ConfigCommand, SixteenMebibytesAreReadAndNotAByteMore)
{
    constexpr std::size_t most = std::size_t{16} << 20;
    // What it is asked to take has been read and found right; a service needs long for so much.
    const StandInService service;
    const std::string taken = "zulog: the service did not take the configuration: The command was "
                              "not successful (negative acknowledge received)\n";
    const std::string whole = "{\"#\":\"" + std::string(most - 8, 'x') + "\"}";
    ASSERT_EQ(whole.size(), most);
    const std::string file = write("file", whole);
    EXPECT_EQ(runTool({"config", "put", file}).err, taken);
    EXPECT_EQ(runTool({"config", "put", "-"}, whole).err, taken);

    const ToolRun run = runTool({"config", "put", write("file", whole + '\n')});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "zulog: cannot read '" + file + "': the file is too large\n");
    const ToolRun stream = runTool({"config", "put", "-"}, whole + '\n');
    EXPECT_EQ(stream.status, 1);
    EXPECT_EQ(stream.err, "zulog: standard input is longer than 16 MiB\n");
}

TEST_F(ConfigCommand, AFileThatCannotBeReadIsOneLineAndStatus1)
{
    const test::RunningService service;
    ASSERT_EQ(::mkfifo(word("pipe").c_str(), 0600), 0);
    for (const std::string& file :
         {word("missing"), word("pipe"), folder_.path().toStdString(), std::string("/dev/zero")}) {
        const ToolRun run = runTool({"config", "put", file});
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.err.find("zulog: cannot read '" + file + "': "), 0U) << run.err;
        EXPECT_TRUE(isOneLine(run.err));
    }
}

TEST_F(ConfigCommand, WithoutAServiceItIsOneLineAndNothingIsWritten)
{
    const std::string text = "zulog: Failed to connect to the shared memory with connection info: "
                             "Shared memory error\n";
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{"config", "get", word("file")}, {"config", "put", "-"}}) {
        const ToolRun run = runTool(words, "{}");
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err, text);
    }
    EXPECT_FALSE(QFile::exists(path("file")));
}

TEST_F(ConfigCommand, AnyOtherVerbIsWrongUsage)
{
    for (const std::vector<std::string>& words : {std::vector<std::string>{"config"},
                                                  {"config", ""},
                                                  {"config", "set"},
                                                  {"config", "GET"},
                                                  {"config", "put"},
                                                  {"config", "put", ""},
                                                  {"config", "get", ""},
                                                  {"config", "get", "a", "b"},
                                                  {"config", "put", "a", "b"},
                                                  {"config", "--verb", "get", "x", "y"},
                                                  {"config", "get", "--what"}}) {
        const ToolRun run = runTool(words, "{}");
        EXPECT_EQ(run.status, 2) << words.back();
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err.find("zulog: "), 0U);
        EXPECT_NE(run.err.find("; try 'zulog config --help'\n"), std::string::npos) << run.err;
        EXPECT_TRUE(isOneLine(run.err));
    }
}

} // namespace
} // namespace zuLogging
