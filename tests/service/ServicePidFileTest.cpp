#include "service/ServicePidFile.h"

#include "platform/Process.h"
#include "tests/support/TestEnvironment.h"

#include <QFile>

#include <gtest/gtest.h>

namespace zuLogging {
namespace {

QString pidFilePath()
{
    return test::TestEnvironment::instance().runtimeDirectory() + QStringLiteral("/ZULogSvc.pid");
}

TEST(PidFileOfTheService, HoldsTheProcessNumberWhileItLives)
{
    {
        const ServicePidFile file;
        EXPECT_EQ(file.error(), "");
        EXPECT_EQ(QString::fromStdString(ServicePidFile::path()), pidFilePath());
        EXPECT_EQ(platform::readPidFile(ServicePidFile::path()), platform::currentProcessId());
    }
    EXPECT_FALSE(QFile::exists(pidFilePath()));
}

TEST(PidFileOfTheService, LeavesTheFileOfAnotherProcessAlone)
{
    {
        const ServicePidFile file;
        QFile other(pidFilePath());
        ASSERT_TRUE(other.open(QIODevice::WriteOnly | QIODevice::Truncate));
        other.write("1\n");
    }
    EXPECT_TRUE(QFile::exists(pidFilePath()));
    QFile::remove(pidFilePath());
}

TEST(PidFileOfTheService, TellsWhyItCannotBeWritten)
{
    const QByteArray before = qgetenv("XDG_RUNTIME_DIR");
    qputenv("XDG_RUNTIME_DIR", before + "/not-there");
    {
        const ServicePidFile file;
        EXPECT_NE(file.error(), "");
    }
    qputenv("XDG_RUNTIME_DIR", before);
}

} // namespace
} // namespace zuLogging
