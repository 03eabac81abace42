#include "host/mvtextinput.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{
using testing::ElementsAre;
using testing::IsEmpty;

TEST(MvTextInput, IsEmptyAtFirst)
{
    EXPECT_EQ(MvTextInput().Text, "");
}

TEST(MvTextInput, HoldsTheTextByteForByte)
{
    for (const std::string& text :
         {std::string(), std::string("a"), std::string("  \t\n"), std::string("Größe %s"),
          std::string("\xff\xfe"), std::string("nul\0inside", 10), std::string(100000, 'x')})
    {
        MvTextInput input;
        input.SetText("earlier", false);
        input.SetText(text, false);
        EXPECT_EQ(input.Text, text);
    }
}

TEST(MvTextInput, TellsOfEverySetTextAlsoOfTheSame)
{
    MvTextInput input;
    std::vector<std::string> heard;
    input.Changed.connect([&heard](std::string Text) { heard.push_back(Text); });
    input.SetText("a", false);
    input.SetText("a", false);
    input.SetText("", false);
    EXPECT_THAT(heard, ElementsAre("a", "a", ""));
}

TEST(MvTextInput, StaysQuietOnRequest)
{
    MvTextInput input;
    std::vector<std::string> heard;
    input.Changed.connect([&heard](std::string Text) { heard.push_back(Text); });
    input.SetText("typed", true);
    EXPECT_EQ(input.Text, "typed");
    EXPECT_THAT(heard, IsEmpty());
}

TEST(MvTextInput, IsSilentWhenTheFieldIsWritten)
{
    MvTextInput input;
    int changeCount = 0;
    input.Changed.connect([&changeCount](std::string) { ++changeCount; });
    input.Text = "written";
    EXPECT_EQ(changeCount, 0);
}

TEST(MvTextInput, ShowsItsObserversTheNewText)
{
    MvTextInput input;
    std::string seen;
    input.Changed.connect([&](std::string) { seen = input.Text; });
    input.SetText("new", false);
    EXPECT_EQ(seen, "new");
}

TEST(MvTextInput, TakesItsOwnTextBack)
{
    MvTextInput input;
    input.SetText("same text, too long for a short string", false);
    input.SetText(input.Text, false);
    EXPECT_EQ(input.Text, "same text, too long for a short string");
}

TEST(MvTextInput, LetsAnObserverReplaceTheText)
{
    MvTextInput input;
    std::vector<std::string> heard;
    input.Changed.connect(
        [&](std::string Text)
        {
            heard.push_back(Text);
            if (Text == "first")
            {
                input.SetText("second", false);
            }
        });
    input.SetText("first", false);
    EXPECT_EQ(input.Text, "second");
    EXPECT_THAT(heard, ElementsAre("first", "second"));
}
} // namespace
