#include "app/WindowGeometry.h"

#include <gtest/gtest.h>

using namespace zuLogging;

TEST(WindowGeometry, AScreenOf1920x1080YieldsAWindowOf1536x864At192And108)
{
    EXPECT_EQ(initialWindowGeometry({1920, 1080}), QRect(192, 108, 1536, 864));
}

TEST(WindowGeometry, FractionsAreCutOff)
{
    // 1093 and 109.3 wide, 614.4 and 76.8 high.
    EXPECT_EQ(initialWindowGeometry({1366, 768}), QRect(136, 76, 1092, 614));
    EXPECT_EQ(initialWindowGeometry({1281, 1023}), QRect(128, 102, 1024, 818));
}

TEST(WindowGeometry, TheWindowIsNeverSmallerThan640x480)
{
    EXPECT_EQ(initialWindowGeometry({640, 480}), QRect(64, 48, 640, 480));
    EXPECT_EQ(initialWindowGeometry({0, 0}), QRect(0, 0, 640, 480));
    EXPECT_EQ(initialWindowGeometry({800, 600}).size(), QSize(640, 480));
    EXPECT_EQ(initialWindowGeometry({799, 1000}).size(), QSize(640, 800));
}
