// The source of an export, asked of its container (libavformat).
//
// Only what src/media/containers.h allows is opened. Times are seconds from the start of the source,
// as ffmpeg counts them. One thread.

#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

struct AVFormatContext;
struct AVStream;

/// "00:00:02.018000000": the time of a stream's end, which Matroska's muxers write into its tags.
std::optional<double> ReadDurationTag(const AVStream& Stream);

struct SourceFacts
{
    std::string Format;             ///< libavformat's name
    std::optional<int> VideoStream; ///< the first that is no attached picture
    int WidthPx = 0;                ///< of that one
    int HeightPx = 0;
    double FrameSec = 0.04; ///< how long one of its frames is shown, as a rule
    double BeatSec = 0.0;   ///< of the rate that ffmpeg guesses; 0 where its rate is constant
    std::vector<int> SoundStreams;
    std::optional<double> DeclaredSec; ///< when picture and sound end, as the source says
};

class SourceFile
{
public:
    /// Opens the file. Null sets OutSentence, which names the format where it is one that is not
    /// allowed.
    static std::unique_ptr<SourceFile> Open(const std::string& Path, std::string& OutSentence);
    ~SourceFile();
    SourceFile(const SourceFile&) = delete;
    SourceFile& operator=(const SourceFile&) = delete;

    const SourceFacts& Facts() const { return Known; }

    /// Whether all that a clip from InSec on needs is read after a seek to SeekSec: the picture's first key
    /// frame lies at or before LatestKeySec, and of each stream of sound the first packet at or before
    /// InSec, for sound may be stored far ahead of its picture. A stream that ends before is not
    /// asked, where the file tells when. Reads until all are met, or the file is past InSec.
    bool HoldsAll(double SeekSec, double LatestKeySec, double InSec);

    /// Whether a stream has something that begins from FromSec on and before ToSec; nullopt where the
    /// container's seeking or times do not tell. Reads from a key frame before FromSec.
    std::optional<bool> HasAnything(int Stream, double FromSec, double ToSec);

    /// Whether two pictures of a range follow each other much faster than the guessed rate. ffmpeg writes
    /// on the beat of that rate and would leave one of them out. False at a constant rate; otherwise the
    /// range is read until two are found.
    bool HasCrowdedPictures(double FromSec, double ToSec);

    /// Whether picture or sound goes on until AtSec, the same way.
    std::optional<bool> Reaches(double AtSec);

private:
    struct Piece
    {
        int Stream;
        bool bKey;
        std::optional<double> FromSec;
        double ToSec;
    };

    SourceFile() = default;
    void Learn();
    std::optional<double> DeclaredSec() const;
    bool Seek(double Sec);
    std::optional<Piece> Read();

    AVFormatContext* pFile = nullptr;
    double StartSec = 0.0;
    SourceFacts Known;
};
