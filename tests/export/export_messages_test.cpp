#include "export/exportmessages.h"

#include "support/extremes.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

using Type = ExportMessageType;

namespace
{
ExportMessage Progress(ExportPhase Phase, double Fraction)
{
    return {Type::Progress, {}, Phase, Fraction};
}
} // namespace

TEST(ExportMessages, AreThePacketsThatBothSidesAgreedOn)
{
    EXPECT_EQ(WriteExportMessage({Type::Output, "/clips/A b\n.mkv"}), "output /clips/A b\n.mkv");
    EXPECT_EQ(WriteExportMessage(Progress(ExportPhase::Seek, 0.0)), "progress seek 0.0000");
    EXPECT_EQ(WriteExportMessage(Progress(ExportPhase::Encode, 0.42131)), "progress encode 0.4213");
    EXPECT_EQ(WriteExportMessage(Progress(ExportPhase::Finish, 1.0)), "progress finish 1.0000");
    EXPECT_EQ(WriteExportMessage({Type::Taken}), "taken");
    EXPECT_EQ(WriteExportMessage({Type::Judged}), "judged");
    EXPECT_EQ(WriteExportMessage({Type::Failed, "It is gone."}), "failed It is gone.");
    EXPECT_EQ(WriteExportMessage({Type::Stop}), "stop");
}

TEST(ExportMessages, ComeBackAsTheyWere)
{
    for (const ExportMessage& message :
         {ExportMessage{Type::Output, "/a\xff\x01 progress"}, Progress(ExportPhase::Seek, 0.25),
          Progress(ExportPhase::Encode, 0.5), Progress(ExportPhase::Finish, 1.0),
          ExportMessage{Type::Taken}, ExportMessage{Type::Judged},
          ExportMessage{Type::Failed, "stop"}, ExportMessage{Type::Stop}})
    {
        const std::string packet = WriteExportMessage(message);
        EXPECT_EQ(ReadExportMessage(packet), message) << packet;
    }
}

TEST(ExportMessages, HoldAFractionWithinItsBounds)
{
    for (const double low : {-1.0, NotANumber, -Infinity})
    {
        EXPECT_EQ(WriteExportMessage(Progress(ExportPhase::Seek, low)), "progress seek 0.0000");
    }
    EXPECT_EQ(WriteExportMessage(Progress(ExportPhase::Seek, Infinity)), "progress seek 1.0000");
    EXPECT_EQ(ReadExportMessage("progress seek 7"), Progress(ExportPhase::Seek, 1.0));
    EXPECT_EQ(ReadExportMessage("progress seek -7"), Progress(ExportPhase::Seek, 0.0));
    EXPECT_EQ(ReadExportMessage("progress seek nan"), Progress(ExportPhase::Seek, 0.0));
}

TEST(ExportMessages, AreNoOtherPackets)
{
    for (const std::string packet :
         {"", "stop ", " stop", "output", "output ", "failed ", "progress", "progress ",
          "progress seek", "progress seek ", "progress seek 0,5", "progress seek 0.5 ",
          "progress  seek 0.5", "progress other 0.5", "progress seek0.5", "judged now"})
    {
        EXPECT_EQ(ReadExportMessage(packet), std::nullopt) << packet;
    }
    EXPECT_EQ(ReadExportMessage(std::string("output a\0b", 10)), std::nullopt);
}

TEST(ExportMessages, CutASentenceThatNoPacketHolds)
{
    const std::string packet = WriteExportMessage({Type::Failed, std::string(100'000, 'x')});
    EXPECT_EQ(packet.size(), MaxExportMessageBytes);
    EXPECT_TRUE(ReadExportMessage(packet).has_value());
}

TEST(ExportMessages, TakeAnyBytes)
{
    const unsigned seed = std::random_device()();
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    constexpr std::string_view Letters = "progressenkdifhtuawj 0123456789.-\0\n\xff";
    for (int i = 0; i < 20'000; ++i)
    {
        std::string packet = i % 2 == 0 ? "progress encode " : "";
        for (std::size_t size = random() % 30; size > 0; --size)
        {
            packet += Letters[random() % Letters.size()];
        }
        const auto message = ReadExportMessage(packet);
        EXPECT_TRUE(!message || (message->Fraction >= 0.0 && message->Fraction <= 1.0)) << packet;
    }
}
