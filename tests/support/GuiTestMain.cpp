#include "tests/support/TestEnvironment.h"

#include <QApplication>

#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    if (::testing::GTEST_FLAG(list_tests))
        return RUN_ALL_TESTS(); // needs no window system
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QCoreApplication::setAttribute(Qt::AA_DisableHighDpiScaling, true);
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    zuLogging::test::TestEnvironment environment;
    return RUN_ALL_TESTS();
}
