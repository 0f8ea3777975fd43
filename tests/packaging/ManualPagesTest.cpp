#include "tests/packaging/PackagingSupport.h"

#include <QRegularExpression>

#include <gtest/gtest.h>

namespace zuLogging {
namespace {

class ManualPage : public testing::TestWithParam<const char*>
{
protected:
    static QString path()
    {
        return test::sourcePath(QStringLiteral("packaging/man/") + QString::fromUtf8(GetParam()));
    }
};

TEST_P(ManualPage, IsSetWithoutAWarning)
{
    const test::ToolOutput run = test::runSystemTool(
        QStringLiteral("groff"), {QStringLiteral("-man"), QStringLiteral("-ww"),
                                  QStringLiteral("-Tutf8"), QStringLiteral("-z"), path()});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.err, QString());
}

TEST_P(ManualPage, HasTheUsualSections)
{
    const QString text = test::textOf(path());
    for (const char* section : {"NAME", "SYNOPSIS", "DESCRIPTION", "OPTIONS", "EXIT STATUS",
                                "ENVIRONMENT", "FILES", "EXAMPLES", "SEE ALSO"}) {
        const QRegularExpression line(QStringLiteral("^\\.SH %1$").arg(QString::fromUtf8(section)),
                                      QRegularExpression::MultilineOption);
        EXPECT_TRUE(text.contains(line)) << section;
    }
}

INSTANTIATE_TEST_SUITE_P(All, ManualPage, testing::Values("logdesk.1", "zulog.1", "zulogsvc.8"));

} // namespace
} // namespace zuLogging
