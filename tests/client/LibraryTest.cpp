// The library as a file, and the programs in examples/.

#include "tests/client/SystemTool.h"
#include "tests/service/ProgramRun.h"
#include "tests/service/ServiceProcess.h"
#include "tests/service/Subscriber.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QRegularExpression>

#include <set>

namespace zuLogging {
namespace {

using test::outputOf;

const QString library = QStringLiteral(ZULOG_LIBRARY);
const QString sourceFolder = QStringLiteral(ZULOG_SOURCE_FOLDER);

std::set<QString> matches(const QString& text, const QString& pattern)
{
    std::set<QString> found;
    QRegularExpressionMatchIterator next =
        QRegularExpression(pattern, QRegularExpression::MultilineOption).globalMatch(text);
    while (next.hasNext())
        found.insert(next.next().captured(1));
    return found;
}

TEST(Library, ShowsTheFunctionsOfItsHeaderAndNothingElse)
{
    QFile header(sourceFolder + QStringLiteral("/client/include/zulog/zulog.h"));
    ASSERT_TRUE(header.open(QIODevice::ReadOnly));
    const std::set<QString> declared = matches(QString::fromUtf8(header.readAll()),
                                               QStringLiteral("^ZULOG_API [^(]*?(zulog_\\w+)\\("));
    EXPECT_EQ(declared.size(), 13U);
    const QString symbols = outputOf(
        QStringLiteral("nm"), {QStringLiteral("-D"), QStringLiteral("--defined-only"), library});
    std::set<QString> shown = matches(symbols, QStringLiteral("^\\w+ \\w (.+?)(@.*)?$"));
    shown.erase(QStringLiteral("ZULOG_1")); // the name of the version
    EXPECT_EQ(shown, declared) << symbols.toStdString();
}

TEST(Library, NeedsNeitherQtNorBoost)
{
    const QString needed = outputOf(QStringLiteral("readelf"), {QStringLiteral("-d"), library});
    EXPECT_TRUE(needed.contains(QStringLiteral("libzulog.so.1"))) << needed.toStdString();
    EXPECT_TRUE(needed.contains(QStringLiteral("libc.so")));
    EXPECT_FALSE(needed.contains(QStringLiteral("Qt"))) << needed.toStdString();
    EXPECT_FALSE(needed.contains(QStringLiteral("boost"))) << needed.toStdString();
}

struct Example
{
    const char* program;
    const char16_t* module;
    const char16_t* text;
    const char16_t* group;
    std::uint64_t level;
    const char16_t* file;
};

void expectArrival(const test::Subscriber& subscriber, std::size_t count, const Example& example)
{
    const std::vector<DecodedMessage> messages = subscriber.waitForMessages(count);
    ASSERT_EQ(messages.size(), count);
    const DecodedMessage& message = messages.back();
    EXPECT_EQ(message.module, example.module);
    EXPECT_EQ(message.logMessage, example.text);
    EXPECT_EQ(message.groupName, example.group);
    EXPECT_EQ(message.logLevel, example.level);
    EXPECT_EQ(message.logPos.substr(0, message.logPos.find(u':')), example.file);
}

TEST(Examples, EachOnesMessageArrivesThroughTheRealService)
{
    test::ServiceProcess service;
    ASSERT_TRUE(service.start());
    const test::Subscriber subscriber;
    const std::vector<Example> examples{
        {"hello_cpp", u"HelloCpp", u"Hello from C++", u"greetings", 8, u"hello.cpp"},
        {"hello_c", u"HelloC", u"Hello from C11", u"greetings", 8, u"hello.c"},
        {"hello_qt", u"HelloQt", u"Hello from Qt", u"greetings", 4, u"hello_qt.cpp"},
#ifdef ZULOG_HAS_SPDLOG
        {"hello_spdlog", u"HelloSpdlog", u"Hello from spdlog", u"greetings", 8, u""},
#endif
    };
    std::size_t count = 0;
    for (const Example& example : examples) {
        const test::ProgramRun ran = test::runProgram(QString::fromLatin1(example.program), {});
        EXPECT_TRUE(ran.ended && ran.status == 0) << example.program;
        expectArrival(subscriber, ++count, example);
    }
}

TEST(Examples, AreFiveLinesOrSixOfCode)
{
    for (const char* name : {"hello.cpp", "hello.c", "hello_qt.cpp", "hello_spdlog.cpp"}) {
        QFile file(sourceFolder + QStringLiteral("/examples/") + QString::fromLatin1(name));
        ASSERT_TRUE(file.open(QIODevice::ReadOnly)) << name;
        int lines = 0;
        for (const QByteArray& line : file.readAll().split('\n'))
            lines += line.trimmed().size() > 1 ? 1 : 0;
        EXPECT_LE(lines, 6) << name;
        EXPECT_GE(lines, 3) << name;
    }
}

} // namespace
} // namespace zuLogging
