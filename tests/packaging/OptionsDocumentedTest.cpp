// Help text, manual page and completion of a program name the same options and commands.

#include "tests/packaging/PackagingSupport.h"
#include "tests/service/ProgramRun.h"

#include <QRegularExpression>

#include <gtest/gtest.h>

namespace zuLogging {
namespace {

using test::Options;

/// The lines of one section: behind `heading` (".SH OPTIONS") up to the next one of its kind or
/// above. Those of all sections whose heading begins so.
QString sectionOf(const QString& page, const QString& heading)
{
    QStringList lines;
    bool isInside = false;
    for (const QString& line : page.split(QLatin1Char('\n'))) {
        if (line.startsWith(QLatin1String(".SH")) || line.startsWith(QLatin1String(".SS")))
            isInside = line == heading || line.startsWith(heading + QLatin1Char(' '));
        else if (isInside)
            lines.append(line);
    }
    return lines.join(QLatin1Char('\n'));
}

/// The options that are described: named by the line behind ".TP".
Options optionsInManual(QString section)
{
    section.replace(QLatin1String("\\-"), QLatin1String("-"));
    static const QRegularExpression tag(QStringLiteral("^\\.TP.*\\n(.*)$"),
                                        QRegularExpression::MultilineOption);
    static const QRegularExpression option(
        QStringLiteral("(?<![a-z-])(--[a-z][a-z-]*|-[A-Za-z])(?![a-z-])"));
    Options options;
    for (auto tags = tag.globalMatch(section); tags.hasNext();)
        for (auto found = option.globalMatch(tags.next().captured(1)); found.hasNext();)
            options.insert(found.next().captured(1).toStdString());
    return options;
}

Options offered(const QStringList& words)
{
    const QStringList all = test::completionsOf(words);
    Options options;
    for (const QString& word : all)
        if (word.startsWith(QLatin1Char('-')))
            options.insert(word.toStdString());
    return options;
}

QString helpOf(const QString& program, QStringList words)
{
    words.append(QStringLiteral("--help"));
    const test::ProgramRun run = test::runProgram(program, words);
    EXPECT_EQ(run.status, 0) << run.err.toStdString();
    return run.out;
}

QString manual(const char* name)
{
    return test::textOf(
        test::sourcePath(QStringLiteral("packaging/man/") + QString::fromUtf8(name)));
}

/// The names in the list "Commands:".
std::set<std::string> commandsInHelp(const QString& help)
{
    std::set<std::string> commands;
    bool isInside = false;
    for (const QString& line : help.split(QLatin1Char('\n'))) {
        if (line == QLatin1String("Commands:"))
            isInside = true;
        else if (line.isEmpty())
            isInside = false;
        else if (isInside)
            commands.insert(line.trimmed().section(QLatin1Char(' '), 0, 0).toStdString());
    }
    return commands;
}

TEST(OptionsDocumented, TheCommandsOfZulogAreTheSameEverywhere)
{
    const std::set<std::string> commands = commandsInHelp(helpOf(QStringLiteral("zulog"), {}));
    EXPECT_GE(commands.size(), 6U);

    std::set<std::string> described;
    static const QRegularExpression heading(QStringLiteral("^\\.SS zulog ([a-z]+)"),
                                            QRegularExpression::MultilineOption);
    for (auto found = heading.globalMatch(manual("zulog.1")); found.hasNext();)
        described.insert(found.next().captured(1).toStdString());
    EXPECT_EQ(described, commands);

    std::set<std::string> completed;
    for (const QString& word : test::completionsOf({QStringLiteral("zulog"), QString()}))
        if (!word.startsWith(QLatin1Char('-')))
            completed.insert(word.toStdString());
    EXPECT_EQ(completed, commands);
}

TEST(OptionsDocumented, ThoseOfZulogItself)
{
    const QString help = helpOf(QStringLiteral("zulog"), {});
    // It has no list of options: its usage names them.
    EXPECT_TRUE(help.contains(QLatin1String("zulog --help | --version")));
    const Options expected{"-h", "--help", "--version"};
    EXPECT_EQ(optionsInManual(sectionOf(manual("zulog.1"), QStringLiteral(".SH OPTIONS"))),
              expected);
    EXPECT_EQ(offered({QStringLiteral("zulog"), QStringLiteral("-")}), expected);
}

class OptionsDocumented : public testing::TestWithParam<const char*>
{
};

TEST_P(OptionsDocumented, ThoseOfTheCommand)
{
    const QString command = QString::fromUtf8(GetParam());
    const Options inHelp = test::optionsInHelp(helpOf(QStringLiteral("zulog"), {command}));
    EXPECT_EQ(inHelp.count("--help"), 1U);

    Options inManual =
        optionsInManual(sectionOf(manual("zulog.1"), QStringLiteral(".SS zulog ") + command));
    // Described once for all of them.
    EXPECT_EQ(inManual.count("--help"), 0U);
    inManual.insert({"-h", "--help"});
    EXPECT_EQ(inManual, inHelp);

    EXPECT_EQ(offered({QStringLiteral("zulog"), command, QStringLiteral("-")}), inHelp);
}

INSTANTIATE_TEST_SUITE_P(All, OptionsDocumented,
                         testing::Values("send", "tail", "config", "modules", "status", "demo"));

TEST(OptionsDocumented, ThoseOfLogdesk)
{
    const Options inHelp = test::optionsInHelp(helpOf(QStringLiteral("logdesk"), {}));
    EXPECT_EQ(inHelp.count("--version"), 1U);
    EXPECT_EQ(optionsInManual(sectionOf(manual("logdesk.1"), QStringLiteral(".SH OPTIONS"))),
              inHelp);
    EXPECT_EQ(offered({QStringLiteral("logdesk"), QStringLiteral("-")}), inHelp);
}

TEST(OptionsDocumented, ThoseOfZulogsvc)
{
    const Options inHelp = test::optionsInHelp(helpOf(QStringLiteral("zulogsvc"), {}));
    EXPECT_EQ(inHelp.count("--version"), 1U);
    EXPECT_EQ(optionsInManual(sectionOf(manual("zulogsvc.8"), QStringLiteral(".SH OPTIONS"))),
              inHelp);
    EXPECT_EQ(offered({QStringLiteral("zulogsvc"), QStringLiteral("-")}), inHelp);
}

} // namespace
} // namespace zuLogging
