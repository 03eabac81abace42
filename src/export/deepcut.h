// Where ffmpeg may begin to read, so that a clip late in a film is exported as fast as an early one.
//
// The plain command decodes everything before In. "-ss IN-M -i SOURCE -ss M" begins M before In, and gives the same
// streams byte for byte in containers whose seeking is reliable. Tests prove which containers those are, and with
// which margin M; all others get the plain command. Pure functions.

#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>

/// How far a container's seeking is trusted.
enum class SeekTrust
{
    None,         ///< never: AVI, MPEG-PS, raw streams, Ogg and what nobody has proved
    ByKeyFrame,   ///< where a key frame is read between the place and In: MPEG-TS
    FromKeyFrame, ///< where the place has a key frame at or before it: Matroska and WebM
    Exact,        ///< the same without a margin: MP4 and MOV, FLV, ASF
};

/// The trust in a container by its name in libavformat.
SeekTrust TrustInFormat(std::string_view FormatName);

/// The trust in a file by its first bytes; nullopt unless they tell for certain, because ffmpeg is started by it
/// before the file is probed.
std::optional<SeekTrust> TrustInFirstBytes(std::string_view FirstBytes);

/// How many bytes of a file's beginning it needs.
inline constexpr std::size_t FirstBytesWanted = 16;

/// How an export is cut: M as above, or the plain command.
struct Cut
{
    std::optional<std::int64_t> MarginMs = {};

    bool operator==(const Cut&) const = default;
};

/// Chooses the cut for a clip from InMs on. The place where ffmpeg begins is a whole second.
///
/// HoldsAll     tells whether what is read after a seek to the given time (milliseconds) is all that the clip
///              needs: the picture's first key frame is where the trust wants it, and no sound is missing. Where
///              not, the margin is doubled, until the beginning of the file is reached.
Cut ChooseCut(SeekTrust Trust,
              std::int64_t InMs,
              const std::function<bool(std::int64_t SeekMs)>& HoldsAll);
