#include "tests/support/TestEnvironment.h"

#include <QApplication>

#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    QCoreApplication::setAttribute(Qt::AA_DisableHighDpiScaling, true);
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    zuLogging::test::TestEnvironment environment;
    return RUN_ALL_TESTS();
}
