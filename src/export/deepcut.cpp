#include "export/deepcut.h"

#include <algorithm>
#include <array>

using namespace std::string_view_literals;

namespace
{
// Nearer to the beginning a seek saves no time.
constexpr std::int64_t MinSeekMs = 1000;
// The first margin after none.
constexpr std::int64_t MinMarginMs = 1000;

std::int64_t FirstMarginMs(SeekTrust Trust)
{
    switch (Trust)
    {
    case SeekTrust::ByKeyFrame:
        return 30'000; // longer than the groups of pictures of usual broadcasts and cameras
    case SeekTrust::FromKeyFrame:
        // The index leads to a key frame, and what is stored before that is not read. In most
        // files sound is stored less than this ahead of its picture.
        return 5000;
    case SeekTrust::Exact:
    case SeekTrust::None:
        break;
    }
    return 0;
}
} // namespace

SeekTrust TrustInFormat(std::string_view FormatName)
{
    for (const std::string_view exact : {"mov,mp4,m4a,3gp,3g2,mj2", "flv", "asf"})
    {
        if (FormatName == exact)
        {
            return SeekTrust::Exact;
        }
    }
    if (FormatName == "matroska,webm")
    {
        return SeekTrust::FromKeyFrame;
    }
    return FormatName == "mpegts" ? SeekTrust::ByKeyFrame : SeekTrust::None;
}

std::optional<SeekTrust> TrustInFirstBytes(std::string_view FirstBytes)
{
    if (FirstBytes.starts_with("\x1A\x45\xDF\xA3"sv))
    {
        return SeekTrust::FromKeyFrame;
    }
    constexpr std::array<std::string_view, 2> Beginnings = {
        "FLV\x01"sv, "\x30\x26\xB2\x75\x8E\x66\xCF\x11\xA6\xD9\x00\xAA\x00\x62\xCE\x6C"sv};
    bool bExact = FirstBytes.size() >= 8 && FirstBytes.substr(4, 4) == "ftyp";
    for (const std::string_view beginning : Beginnings)
    {
        bExact = bExact || FirstBytes.starts_with(beginning);
    }
    return bExact ? std::optional(SeekTrust::Exact) : std::nullopt;
}

Cut ChooseCut(SeekTrust Trust,
              std::int64_t InMs,
              const std::function<bool(std::int64_t SeekMs)>& HoldsAll)
{
    if (Trust == SeekTrust::None || InMs < MinSeekMs)
    {
        return {};
    }
    // A whole second is a whole number of samples and ticks for every integer rate, so each time is rounded as in
    // the plain command. Otherwise about one sound packet in some hundred would be a millisecond off.
    const std::int64_t restMs = InMs % 1000;
    for (std::int64_t marginMs = FirstMarginMs(Trust); InMs - marginMs >= MinSeekMs;
         marginMs = std::max(2 * marginMs, MinMarginMs))
    {
        if (HoldsAll(InMs - marginMs - restMs))
        {
            return {marginMs + restMs};
        }
    }
    return {};
}
