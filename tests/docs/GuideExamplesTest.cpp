#include "logging/PropertyTreeJson.h"
#include "service/LoggingRules.h"
#include "service/StartupFile.h"
#include "tests/service/ProgramRun.h"
#include "tests/service/RunningService.h"

#include <QFile>
#include <QRegularExpression>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QTemporaryFile>

#include <gtest/gtest.h>

namespace zuLogging::test {
namespace {

QString page(const char* name)
{
    QFile file(QStringLiteral(LOGDESK_SOURCE_DIR "/docs/") + QString::fromLatin1(name));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name;
    return QString::fromUtf8(file.readAll());
}

/// The text of each block that is fenced as "```LANGUAGE".
QStringList blocks(const QString& markdown, const char* language)
{
    const QRegularExpression pattern(
        QStringLiteral("^```%1\\n(.*?)^```$").arg(QString::fromLatin1(language)),
        QRegularExpression::MultilineOption | QRegularExpression::DotMatchesEverythingOption);
    QStringList texts;
    for (auto match = pattern.globalMatch(markdown); match.hasNext();)
        texts.append(match.next().captured(1));
    return texts;
}

/// The rules of one of the `count` configurations that are a page's JSON examples.
LoggingRules rulesOfExample(const char* pageName, int count, int number)
{
    const QStringList examples = blocks(page(pageName), "json");
    EXPECT_EQ(examples.size(), count);
    return LoggingRules(readPropertyTreeObject(examples.value(number).toStdString()));
}

bool isLogged(const LoggingRules& rules, const char* module, const char* process, LogLevel level)
{
    return rules.decide(QString::fromLatin1(module), QString::fromLatin1(process))
        .lets(static_cast<std::uint64_t>(level));
}

TEST(UserGuideExamples, LessOfEverythingMoreOfOne)
{
    const LoggingRules rules = rulesOfExample("user-guide.md", 2, 0);
    EXPECT_FALSE(isLogged(rules, "Other", "", LogLevel::Info));
    EXPECT_TRUE(isLogged(rules, "Other", "", LogLevel::Warn));
    EXPECT_TRUE(isLogged(rules, "Backup", "", LogLevel::Debug));
}

TEST(UserGuideExamples, AFileForTheErrorsOfOneProgram)
{
    const LoggingRules rules = rulesOfExample("user-guide.md", 2, 1);
    EXPECT_TRUE(isLogged(rules, "any", "other", LogLevel::Debug));
    EXPECT_FALSE(isLogged(rules, "any", "backupd", LogLevel::Warn));
    EXPECT_TRUE(isLogged(rules, "any", "backupd", LogLevel::Err));
    const LoggingDecision decision = rules.decide(QStringLiteral("any"), QStringLiteral("backupd"));
    EXPECT_EQ(decision.destination, LoggingDecision::Destination::File);
    EXPECT_EQ(rules.files().at(decision.file), "backup-errors.log");
}

TEST(ProtocolPage, TheConfigurationIsOne)
{
    const LoggingRules rules = rulesOfExample("protocol.md", 1, 0);
    EXPECT_FALSE(isLogged(rules, "Other", "", LogLevel::Debug));
    EXPECT_TRUE(isLogged(rules, "Backup", "", LogLevel::Debug));
}

TEST(ServicePage, TheStartUpFileHasEveryKindOfSink)
{
    const QStringList examples = blocks(page("service.md"), "json");
    ASSERT_EQ(examples.size(), 1);
    QTemporaryFile file;
    ASSERT_TRUE(file.open());
    file.write(examples.first().toUtf8());
    file.close();
    const StartupFile startup(file.fileName().toStdString());
    QSet<int> types;
    for (const StartupSink& sink : startup.sinks()) {
        EXPECT_EQ(sink.error, "") << sink.typeName;
        types.insert(static_cast<int>(sink.type));
    }
    EXPECT_EQ(types.size(), 6);
}

TEST(UserGuideExamples, TheStatusHasTheLinesThatAreShown)
{
    const QStringList shown = blocks(page("user-guide.md"), "console");
    ASSERT_EQ(shown.size(), 1);
    const RunningService service;
    const ProgramRun run = runProgram(QStringLiteral("zulog"), {QStringLiteral("status")});
    ASSERT_EQ(run.status, 0) << run.err.toStdString();
    const auto labels = [](const QString& text) {
        QStringList names;
        for (const QString& line : text.split(QLatin1Char('\n')))
            if (line.contains(QLatin1Char(':')))
                names.append(line.left(line.indexOf(QLatin1Char(':'))));
        return names;
    };
    QStringList expected = labels(shown.first());
    // This service has none, and writes to no file.
    expected.removeAll(QStringLiteral("sink"));
    EXPECT_EQ(labels(run.out), expected);
}

} // namespace
} // namespace zuLogging::test
