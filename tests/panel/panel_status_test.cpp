// The status line: stored, shown, announced.

#include "panel/panelfixture.h"

#include <functional>
#include <stdexcept>

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{
class StatusLine : public PanelTest
{
protected:
    StatusLine() { Panel->StatusChanged.slots.clear(); }

    void Listen()
    {
        Panel->StatusChanged.connect([this](const std::string& Text) { Heard.push_back(Text); });
    }

    std::vector<std::string> Heard;
};
} // namespace

TEST_F(StatusLine, IsStoredShownAndAnnounced)
{
    Listen();
    Panel->SetStatusTextInternal("Saved", true);
    EXPECT_EQ(Panel->StatusText, "Saved");
    EXPECT_EQ(StatusLabel.Text, "Saved");
    EXPECT_THAT(Heard, ElementsAre("Saved"));
}

TEST_F(StatusLine, IsShownWithoutAnnouncementWhenNoneIsAskedFor)
{
    Listen();
    Panel->SetStatusTextInternal("Saved", false);
    EXPECT_EQ(Panel->StatusText, "Saved");
    EXPECT_EQ(StatusLabel.Text, "Saved");
    EXPECT_THAT(Heard, IsEmpty());
}

TEST_F(StatusLine, IsStoredAndAnnouncedWithoutALabel)
{
    Listen();
    Panel->pStatusLabel = nullptr;
    Panel->SetStatusTextInternal("Saved", true);
    EXPECT_EQ(Panel->StatusText, "Saved");
    EXPECT_EQ(StatusLabel.Text, "");
    EXPECT_THAT(Heard, ElementsAre("Saved"));
}

TEST_F(StatusLine, IsAnnouncedTwiceWhenSetTwiceToTheSameText)
{
    Listen();
    Panel->SetStatusTextInternal("Saved", true);
    Panel->SetStatusTextInternal("Saved", true);
    EXPECT_THAT(Heard, ElementsAre("Saved", "Saved"));
}

TEST_F(StatusLine, MayBeSetToItself)
{
    Listen();
    Panel->StatusText = std::string(100, 'x');
    Panel->SetStatusTextInternal(Panel->StatusText, true);
    EXPECT_EQ(StatusLabel.Text, std::string(100, 'x'));
    EXPECT_THAT(Heard, ElementsAre(std::string(100, 'x')));
}

TEST_F(StatusLine, MayBeSetToTheExportsMessage)
{
    Panel->ExportResultMessage = "Exported";
    Panel->SetStatusTextInternal(Panel->ExportResultMessage, true);
    EXPECT_EQ(Panel->StatusText, "Exported");
}

TEST_F(StatusLine, IsStoredAndShownBeforeItIsAnnounced)
{
    Panel->StatusChanged.connect(
        [this](const std::string& Text)
        {
            EXPECT_EQ(Panel->StatusText, Text);
            EXPECT_EQ(StatusLabel.Text, Text);
            Heard.push_back(Text);
        });
    Panel->SetStatusTextInternal("Saved", true);
    EXPECT_THAT(Heard, ElementsAre("Saved"));
}

TEST_F(StatusLine, ReachesEverySlotInOrderWithACopyOfItsOwn)
{
    Panel->StatusChanged.connect(
        [this](std::string Text)
        {
            Text += " by the first";
            Heard.push_back(Text);
        });
    Listen();
    Panel->SetStatusTextInternal("Saved", true);
    EXPECT_THAT(Heard, ElementsAre("Saved by the first", "Saved"));
    EXPECT_EQ(Panel->StatusText, "Saved");
}

TEST_F(StatusLine, FailsAtAnEmptySlotWhenTheTextIsShownAlready)
{
    Listen();
    Panel->StatusChanged.connect(nullptr);
    Listen();
    EXPECT_THROW(Panel->SetStatusTextInternal("Saved", true), std::bad_function_call);
    EXPECT_EQ(Panel->StatusText, "Saved");
    EXPECT_EQ(StatusLabel.Text, "Saved");
    EXPECT_THAT(Heard, ElementsAre("Saved"));
}

TEST_F(StatusLine, StopsAtASlotThatThrowsWhenTheTextIsShownAlready)
{
    Panel->StatusChanged.connect([](const std::string&) { throw std::runtime_error("no"); });
    Listen();
    EXPECT_THROW(Panel->SetStatusTextInternal("Saved", true), std::runtime_error);
    EXPECT_EQ(Panel->StatusText, "Saved");
    EXPECT_EQ(StatusLabel.Text, "Saved");
    EXPECT_THAT(Heard, IsEmpty());
}

TEST_F(StatusLine, MayBeSetAnewByAListener)
{
    Panel->StatusChanged.connect(
        [this](const std::string& Text)
        {
            if (Text == "Saved")
            {
                Panel->SetStatusTextInternal("Renamed", true);
            }
        });
    Listen();
    Panel->SetStatusTextInternal("Saved", true);
    EXPECT_EQ(Panel->StatusText, "Renamed");
    EXPECT_EQ(StatusLabel.Text, "Renamed");
    EXPECT_THAT(Heard, ElementsAre("Renamed", "Saved"));
}

TEST_F(StatusLine, KeepsNulBytes)
{
    const std::string text("a\0b", 3);
    Listen();
    Panel->SetStatusTextInternal(text, true);
    EXPECT_EQ(Panel->StatusText, text);
    EXPECT_EQ(StatusLabel.Text, text);
    EXPECT_THAT(Heard, ElementsAre(text));
}
