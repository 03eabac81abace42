#include "host/mvwindow.h"

#include "host/mvtimecontrol.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>

namespace
{
class WatchedChild : public MvChildWindow
{
public:
    explicit WatchedChild(bool& bOutGone)
        : bGone(bOutGone)
    {
    }
    ~WatchedChild() override { bGone = true; }

private:
    bool& bGone;
};

TEST(MvWindow, IsNotOpenAndCoversTheSurfaceAtFirst)
{
    const MvWindow window;
    EXPECT_FALSE(window.bOpen);
    EXPECT_FALSE(window.bVisible);
    EXPECT_FALSE(window.bClosing);
    EXPECT_EQ(window.X1, -1.0);
    EXPECT_EQ(window.Y1, 1.0);
    EXPECT_EQ(window.X2, 1.0);
    EXPECT_EQ(window.Y2, -1.0);
    EXPECT_EQ(window.BorderWidth, 0.0);
    EXPECT_FALSE(window.bHasTitleBar);
    EXPECT_EQ(window.TitleBarHeight, 0.0);
}

TEST(MvWindow, FindsAChildUnderItsKeyAlone)
{
    for (const int key :
         {std::numeric_limits<int>::min(), -1, 0, 1, std::numeric_limits<int>::max()})
    {
        MvWindow window;
        auto child = std::make_unique<MvChildWindow>();
        MvChildWindow* const expected = child.get();
        window.SetChild(key, std::move(child));
        EXPECT_EQ(window.GetChild(key), expected) << key;
        EXPECT_EQ(window.GetChild(5), nullptr) << key;
    }
}

TEST(MvWindow, GivesNullForAKeyWithoutAChild)
{
    MvWindow window;
    EXPECT_EQ(window.GetChild(0), nullptr);
    EXPECT_EQ(window.GetChildAs<MvTimeControl>(0), nullptr);
}

TEST(MvWindow, DestroysAChildWhenAnotherTakesItsKey)
{
    MvWindow window;
    bool bGone = false;
    window.SetChild(0, std::make_unique<WatchedChild>(bGone));
    auto second = std::make_unique<MvChildWindow>();
    MvChildWindow* const expected = second.get();
    window.SetChild(0, std::move(second));
    EXPECT_TRUE(bGone);
    EXPECT_EQ(window.GetChild(0), expected);
}

TEST(MvWindow, TakesAChildOutWhenNullTakesItsKey)
{
    MvWindow window;
    bool bGone = false;
    window.SetChild(0, std::make_unique<WatchedChild>(bGone));
    window.SetChild(0, nullptr);
    EXPECT_TRUE(bGone);
    EXPECT_EQ(window.GetChild(0), nullptr);
    EXPECT_EQ(window.GetChildAs<MvTimeControl>(0), nullptr);
}

TEST(MvWindow, DestroysItsChildrenWithItself)
{
    bool bGone = false;
    {
        MvWindow window;
        window.SetChild(4, std::make_unique<WatchedChild>(bGone));
    }
    EXPECT_TRUE(bGone);
}

TEST(MvWindow, TellsWhatKindOfControlAChildIs)
{
    MvWindow window;
    window.SetChild(0, std::make_unique<MvTimeControl>());
    window.SetChild(1, std::make_unique<MvChildWindow>());
    EXPECT_EQ(window.GetChildAs<MvTimeControl>(0), window.GetChild(0));
    EXPECT_EQ(window.GetChildAs<MvTimeControl>(1), nullptr);
}
} // namespace
