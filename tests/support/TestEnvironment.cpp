#include "tests/support/TestEnvironment.h"

#include <QCoreApplication>
#include <QDir>
#include <QTest>

#include <cstdlib>

namespace zuLogging::test {

namespace {
TestEnvironment* theEnvironment = nullptr;
}

TestEnvironment::TestEnvironment()
{
    if (!directory_.isValid())
        qFatal("the test program needs a temporary directory");
    QDir(directory_.path()).mkpath(QStringLiteral("data/Applications"));
    QDir(directory_.path()).mkpath(QStringLiteral("data/log"));
    QDir(directory_.path()).mkpath(QStringLiteral("run"));
    connectionInfoName_ = "zuLogTest-" + std::to_string(QCoreApplication::applicationPid());
    qputenv("ZULOG_CONNECTION_INFO", QByteArray::fromStdString(connectionInfoName_));
    qputenv("ARZDATA", QDir::toNativeSeparators(dataDirectory()).toLocal8Bit());
    qputenv("XDG_RUNTIME_DIR", QDir::toNativeSeparators(runtimeDirectory()).toLocal8Bit());
    // What the programs say is compared with what is written here, whoever runs the tests.
    qputenv("LANGUAGE", "en");
    theEnvironment = this;
}

TestEnvironment::~TestEnvironment()
{
    theEnvironment = nullptr;
}

TestEnvironment& TestEnvironment::instance()
{
    return *theEnvironment;
}

bool waitFor(const std::function<bool()>& condition, int limitMs)
{
    return QTest::qWaitFor(condition, limitMs);
}

QString programPath(const QString& name)
{
    return QDir(QCoreApplication::applicationDirPath()).filePath(name);
}

} // namespace zuLogging::test
