// How the programs are built: what makes an error in one hard to use.

#include "tests/packaging/PackagingSupport.h"

#include <QRegularExpression>

#include <gtest/gtest.h>

namespace zuLogging {
namespace {

class Hardening : public testing::TestWithParam<const char*>
{
protected:
    /// What readelf says about the program.
    static QString elf(const char* option)
    {
        const QString program =
            QStringLiteral(LOGDESK_BINARY_DIR "/bin/") + QString::fromLatin1(GetParam());
        const test::ToolOutput run = test::runSystemTool(
            QStringLiteral("readelf"), {QStringLiteral("-W"), QString::fromLatin1(option), program},
            {QStringLiteral("LC_ALL=C")});
        EXPECT_EQ(run.status, 0) << run.err.toStdString();
        return run.out;
    }
};

INSTANTIATE_TEST_SUITE_P(Programs, Hardening, testing::Values("logdesk", "zulogsvc", "zulog"),
                         [](const auto& program) { return std::string(program.param); });

TEST_P(Hardening, TheProgramIsLoadedAtAnyAddress)
{
    EXPECT_TRUE(elf("-h").contains(QRegularExpression(QStringLiteral("Type: +DYN"))));
    EXPECT_TRUE(elf("-d").contains(QRegularExpression(QStringLiteral("FLAGS_1\\).*PIE"))));
}

TEST_P(Hardening, ItsJumpTablesAreFilledAtStartAndReadOnlyThen)
{
    EXPECT_TRUE(elf("-l").contains(QStringLiteral("GNU_RELRO")));
    EXPECT_TRUE(elf("-d").contains(QRegularExpression(QStringLiteral("FLAGS_1\\).*NOW"))));
}

TEST_P(Hardening, ItsStackIsNoProgram)
{
    // The flags of the segment: read and write, no execute.
    EXPECT_TRUE(
        elf("-l").contains(QRegularExpression(QStringLiteral("GNU_STACK[0-9a-fx ]+ RW +0x"))));
}

TEST_P(Hardening, ItsFunctionsLookAfterTheirStack)
{
    EXPECT_TRUE(elf("-s").contains(QStringLiteral("__stack_chk_fail")));
}

#if !defined(LOGDESK_ADDRESS_SANITIZER) && !defined(LOGDESK_THREAD_SANITIZER)
TEST_P(Hardening, CopiesAreChecked)
{
    EXPECT_TRUE(elf("-s").contains(QRegularExpression(QStringLiteral("__\\w+_chk@"))));
}
#endif

} // namespace
} // namespace zuLogging
