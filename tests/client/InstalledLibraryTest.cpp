// The library as it is installed, for who builds a program outside this tree.

#include "tests/client/SystemTool.h"
#include "tests/service/ServiceProcess.h"
#include "tests/service/Subscriber.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace zuLogging {
namespace {

using test::outputOf;

const QString sourceFolder = QStringLiteral(ZULOG_SOURCE_FOLDER);

TEST(InstalledLibrary, ProgramsAreBuiltWithCMakeAndWithPkgConfigAndReachTheService)
{
    QTemporaryDir folder;
    const QString prefix = folder.filePath(QStringLiteral("prefix"));
    for (const char* component : {"zulog_library", "zulog_development"})
        outputOf(QStringLiteral("cmake"),
                 {QStringLiteral("--install"), QStringLiteral(ZULOG_BUILD_FOLDER),
                  QStringLiteral("--prefix"), prefix, QStringLiteral("--component"),
                  QString::fromLatin1(component)});
    const QString libraries = prefix + QStringLiteral("/" ZULOG_LIBRARY_FOLDER);

    const QString build = folder.filePath(QStringLiteral("build"));
    outputOf(QStringLiteral("cmake"),
             {QStringLiteral("-S"), sourceFolder + QStringLiteral("/examples"),
              QStringLiteral("-B"), build, QStringLiteral("-DCMAKE_PREFIX_PATH=") + prefix});
    outputOf(QStringLiteral("cmake"), {QStringLiteral("--build"), build, QStringLiteral("--target"),
                                       QStringLiteral("hello_cpp"), QStringLiteral("hello_c")});

    const QStringList environment{QStringLiteral("PKG_CONFIG_PATH=") + libraries +
                                      QStringLiteral("/pkgconfig"),
                                  QStringLiteral("LD_LIBRARY_PATH=") + libraries};
    const QString plain = folder.filePath(QStringLiteral("plain"));
    outputOf(QStringLiteral("sh"),
             {QStringLiteral("-c"),
              QStringLiteral("cc -std=c11 \"$1\" -o \"$2\" $(pkg-config --cflags --libs zulog)"),
              QStringLiteral("sh"), sourceFolder + QStringLiteral("/examples/hello.c"), plain},
             environment);

    test::ServiceProcess service;
    ASSERT_TRUE(service.start());
    const test::Subscriber subscriber;
    outputOf(build + QStringLiteral("/hello_cpp"), {});
    outputOf(build + QStringLiteral("/hello_c"), {});
    outputOf(plain, {}, environment);
    const auto messages = subscriber.waitForMessages(3);
    ASSERT_EQ(messages.size(), 3U);
    EXPECT_EQ(messages[0].module, u"HelloCpp");
    EXPECT_EQ(messages[1].module, u"HelloC");
    EXPECT_EQ(messages[2].module, u"HelloC");
}

} // namespace
} // namespace zuLogging
