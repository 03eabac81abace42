#include "process/threadroom.h"

#include "support/failingnew.h"

#include <gtest/gtest.h>

TEST(ThreadRoom, IsThereAsARule)
{
    EXPECT_TRUE(HasRoomForThreads());
}

TEST(ThreadRoom, IsNotThereWhereMemoryRunsOutAndNoThreadStays)
{
    long long number = 1;
    for (bool bFailed = true; bFailed; ++number)
    {
        FailingNew::Arm(number, FailingNew::Extent::Once);
        const bool bRoom = HasRoomForThreads();
        bFailed = FailingNew::Disarm();
        EXPECT_EQ(bRoom, !bFailed) << number;
    }
    EXPECT_GT(number, 8);
}
