#include "host/mvtheme.h"

#include "support/extremes.h"

#include <gtest/gtest.h>

namespace
{
/// Sets the text scale and puts the earlier one back.
class TextScaleGuard
{
public:
    explicit TextScaleGuard(double Scale) { MvTheme::SetTextScale(Scale); }
    ~TextScaleGuard() { MvTheme::SetTextScale(EarlierScale); }
    TextScaleGuard(const TextScaleGuard&) = delete;
    TextScaleGuard& operator=(const TextScaleGuard&) = delete;

private:
    double EarlierScale = MvTheme::TextScale();
};

TEST(MvTheme, StartsAtAHundredPercent)
{
    EXPECT_EQ(MvTheme::TextScale(), 1.0);
}

TEST(MvTheme, KeepsTheScaleInItsBounds)
{
    struct Case
    {
        double Scale;
        double ExpectedScale;
    };
    for (const Case& one :
         {Case{-Infinity, 0.5}, Case{-1.0, 0.5}, Case{0.0, 0.5}, Case{0.499, 0.5}, Case{0.5, 0.5},
          Case{1.0, 1.0}, Case{1.25, 1.25}, Case{4.0, 4.0}, Case{4.001, 4.0}, Case{Infinity, 4.0}})
    {
        const TextScaleGuard guard(one.Scale);
        EXPECT_EQ(MvTheme::TextScale(), one.ExpectedScale) << one.Scale;
    }
}

TEST(MvTheme, KeepsTheScaleInItsBoundsForNoNumber)
{
    const TextScaleGuard guard(NotANumber);
    EXPECT_GE(MvTheme::TextScale(), 0.5);
    EXPECT_LE(MvTheme::TextScale(), 4.0);
}

TEST(MvTheme, KeepsATextSizeBetweenItsBounds)
{
    struct Case
    {
        int Px;
        int ExpectedPx;
    };
    for (const Case& one :
         {Case{MinInt, 8}, Case{-1, 8}, Case{0, 8}, Case{7, 8}, Case{8, 8}, Case{9, 9},
          Case{14, 14}, Case{219, 219}, Case{220, 220}, Case{221, 220}, Case{MaxInt, 220}})
    {
        EXPECT_EQ(MvTheme::ScaleTextPx(one.Px, 8, 220), one.ExpectedPx) << one.Px;
    }
}

TEST(MvTheme, ScalesATextSizeAndRounds)
{
    struct Case
    {
        double Scale;
        int Px;
        int ExpectedPx;
    };
    for (const Case& one :
         {Case{0.5, 13, 8}, Case{0.5, 20, 10}, Case{0.5, 21, 11}, Case{1.25, 14, 18},
          Case{1.5, 13, 20}, Case{1.1, 14, 15}, Case{2.0, 14, 28}, Case{2.0, 110, 220},
          Case{2.0, 111, 220}, Case{4.0, 2, 8}, Case{4.0, 3, 12}, Case{4.0, MaxInt, 220}})
    {
        const TextScaleGuard guard(one.Scale);
        EXPECT_EQ(MvTheme::ScaleTextPx(one.Px, 8, 220), one.ExpectedPx)
            << one.Scale << ' ' << one.Px;
    }
}

TEST(MvTheme, ScalesWithinTheWholeRangeOfSizes)
{
    const TextScaleGuard guard(4.0);
    EXPECT_EQ(MvTheme::ScaleTextPx(MaxInt, MinInt, MaxInt), MaxInt);
    EXPECT_EQ(MvTheme::ScaleTextPx(MinInt, MinInt, MaxInt), MinInt);
}
} // namespace
