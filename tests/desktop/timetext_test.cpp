#include "desktop/look/timetext.h"

#include "support/extremes.h"

#include <gtest/gtest.h>

#include <cmath>

namespace
{
std::string Written(double Sec)
{
    return TimeText(Sec).toStdString();
}
} // namespace

TEST(TimeText, WritesHoursMinutesSecondsAndMilliseconds)
{
    EXPECT_EQ(Written(0.0), "0:00:00.000");
    EXPECT_EQ(Written(75.5), "0:01:15.500");
    EXPECT_EQ(Written(3723.25), "1:02:03.250");
}

TEST(TimeText, RoundsToTheNearestMillisecondAndCarriesOver)
{
    EXPECT_EQ(Written(0.0004), "0:00:00.000");
    EXPECT_EQ(Written(1.0 / 24.0), "0:00:00.042");
    EXPECT_EQ(Written(59.9994), "0:00:59.999");
    EXPECT_EQ(Written(59.9996), "0:01:00.000");
    EXPECT_EQ(Written(3599.9996), "1:00:00.000");
}

TEST(TimeText, GivesHoursAsManyDigitsAsTheyNeed)
{
    EXPECT_EQ(Written(36000.0), "10:00:00.000");
    EXPECT_EQ(Written(360000.001), "100:00:00.001");
}

TEST(TimeText, ReadsAsTheStartForATimeThatIsNone)
{
    EXPECT_EQ(Written(-1.0), "0:00:00.000");
    EXPECT_EQ(Written(-Infinity), "0:00:00.000");
    EXPECT_EQ(Written(std::nan("")), "0:00:00.000");
}

TEST(TimeText, StaysATimeForAnEndlessOne)
{
    EXPECT_EQ(Written(Infinity), Written(1e12));
}
