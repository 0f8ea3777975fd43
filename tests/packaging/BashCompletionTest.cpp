// What bash offers behind "zulog".

#include "tests/packaging/PackagingSupport.h"
#include "tests/service/ProgramRun.h"
#include "tests/service/ServiceProcess.h"
#include "tests/support/TestEnvironment.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace zuLogging {
namespace {

using test::completionsOf;

QStringList sortedWords(const char* text)
{
    QStringList words = QString::fromUtf8(text).split(QLatin1Char(' '));
    words.removeAll(QString());
    words.sort();
    return words;
}

struct Line
{
    const char* typed; ///< words with a blank between them; one at the end begins a new word
    const char* offered;
};

std::ostream& operator<<(std::ostream& out, const Line& line)
{
    return out << '"' << line.typed << '"';
}

class BashCompletion : public testing::TestWithParam<Line>
{
};

TEST_P(BashCompletion, Offers)
{
    const QStringList words = QString::fromUtf8(GetParam().typed).split(QLatin1Char(' '));
    EXPECT_EQ(completionsOf(words), sortedWords(GetParam().offered));
}

INSTANTIATE_TEST_SUITE_P(
    Lines, BashCompletion,
    testing::Values(Line{"zulog ", "send tail config modules status demo --help --version -h"},
                    Line{"zulog s", "send status"}, Line{"zulog --v", "--version"},
                    Line{"zulog x", ""}, Line{"zulog nothing ", ""}, Line{"zulog nothing --", ""},
                    Line{"zulog send --p", "--pos --pid"},
                    Line{"zulog send --reliable --l", "--level"}, Line{"zulog send ", ""},
                    Line{"zulog send --level ", "none fatal err warn info trace debug"},
                    Line{"zulog send --level w", "warn"},
                    Line{"zulog send --level =", // as bash has it apart
                         "none fatal err warn info trace debug"},
                    Line{"zulog send --level = in", "info"},
                    Line{"zulog send --level = info --rel", "--reliable"},
                    Line{"zulog send --pid ", ""}, Line{"zulog send --time -", ""},
                    Line{"zulog send --group --l", ""}, Line{"zulog tail --r", "--replay"},
                    Line{"zulog tail --level ", ""}, Line{"zulog status --json --rate ", ""},
                    Line{"zulog status -", "--json --help -h"},
                    Line{"zulog modules -", "--help -h"}, Line{"zulog modules ", ""},
                    Line{"zulog demo --s", "--seed"}, Line{"zulog demo --rate ", ""},
                    Line{"zulog config ", "get put"}, Line{"zulog config p", "put"},
                    Line{"zulog config put -", "- --help -h"}, Line{"zulog config --", "--help"},
                    Line{"zulog config get --", "--help"}, Line{"logdesk -", "--help --version -h"},
                    Line{"logdesk --v", "--version"}, Line{"logdesk -- --", ""}));

TEST(BashCompletion, AFileNameStandsBehindGetAndPutAndLogdesk)
{
    QTemporaryDir folder;
    for (const char* name : {"/rules one.json", "/rules two.json", "/other"}) {
        QFile file(folder.path() + QString::fromUtf8(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    }
    const QString start = folder.filePath(QStringLiteral("rules"));
    const QStringList both{start + QStringLiteral(" one.json"),
                           start + QStringLiteral(" two.json")};
    const QString zulog = QStringLiteral("zulog");
    const QString config = QStringLiteral("config");
    for (const QString& verb : {QStringLiteral("get"), QStringLiteral("put")}) {
        EXPECT_EQ(completionsOf({zulog, config, verb, start}), both);
        EXPECT_EQ(completionsOf({zulog, config, verb, both.first(), start}), QStringList())
            << "there is one file only";
    }
    const QString logdesk = QStringLiteral("logdesk");
    EXPECT_EQ(completionsOf({logdesk, start}), both);
    EXPECT_EQ(completionsOf({logdesk, both.first(), QStringLiteral("--"), start}), both);
}

TEST(BashCompletion, TheServiceIsAskedForItsModules)
{
    test::ServiceProcess service;
    ASSERT_TRUE(service.start());
    const QString zulog = QStringLiteral("zulog");
    const QString send = QStringLiteral("send");
    const QString module = QStringLiteral("--module");
    for (const char* name : {"Pump", "PumpControl", "Valve"})
        ASSERT_EQ(
            test::runProgram(zulog, {send, module, QString::fromUtf8(name), QStringLiteral("text")})
                .status,
            0);
    EXPECT_EQ(completionsOf({zulog, send, module, QString()}),
              sortedWords("Pump PumpControl Valve"));
    EXPECT_EQ(completionsOf({zulog, send, module, QStringLiteral("=")}),
              sortedWords("Pump PumpControl Valve"));
    EXPECT_EQ(completionsOf({zulog, send, module, QStringLiteral("Pu")}),
              sortedWords("Pump PumpControl"));
    EXPECT_EQ(service.terminate(), 0);
}

TEST(BashCompletion, WithoutAServiceThereAreNoModules)
{
    EXPECT_EQ(completionsOf({QStringLiteral("zulog"), QStringLiteral("send"),
                             QStringLiteral("--module"), QString()}),
              QStringList());
}

/// A folder with a program "zulog" that does what the shell script says.
class FakeProgram
{
public:
    explicit FakeProgram(const QByteArray& script)
    {
        QFile file(folder_.filePath(QStringLiteral("zulog")));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("#!/bin/sh\n" + script);
        file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    QString folder() const { return folder_.path(); }

private:
    QTemporaryDir folder_;
};

TEST(BashCompletion, AModulesNameIsNeverRunAsACommand)
{
    const FakeProgram program("cat <<'END'\n"
                              "$(touch was-run)\n"
                              "`touch was-run`\n"
                              "; touch was-run\n"
                              "*\n"
                              "two words\n"
                              "quote'd\n"
                              "a:b\n"
                              "\033[2J\n"
                              "\n"
                              "Plain\n"
                              "END\n");
    QTemporaryDir place;
    const QString before = QDir::currentPath();
    ASSERT_TRUE(QDir::setCurrent(place.path()));
    const QStringList offered = completionsOf(
        {QStringLiteral("zulog"), QStringLiteral("send"), QStringLiteral("--module"), QString()},
        program.folder());
    QDir::setCurrent(before);
    EXPECT_TRUE(QDir(place.path()).isEmpty());
    // What bash puts into the line is one word for it, and no command.
    QStringList expected{QStringLiteral("Plain"),
                         QStringLiteral("two\\ words"),
                         QStringLiteral("\\*"),
                         QStringLiteral("\\$\\(touch\\ was-run\\)"),
                         QStringLiteral("\\;\\ touch\\ was-run"),
                         QStringLiteral("\\`touch\\ was-run\\`")};
    expected.sort();
    EXPECT_EQ(offered, expected);
}

TEST(BashCompletion, AServiceThatDoesNotAnswerHoldsTheLineUpForASecondAtMost)
{
    const FakeProgram program("echo Early\nexec sleep 30\n");
    QElapsedTimer timer;
    timer.start();
    EXPECT_EQ(completionsOf({QStringLiteral("zulog"), QStringLiteral("send"),
                             QStringLiteral("--module"), QString()},
                            program.folder()),
              QStringList{QStringLiteral("Early")});
    EXPECT_LT(timer.elapsed(), 10000);
}

} // namespace
} // namespace zuLogging
