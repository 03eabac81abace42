// The source of an export, read from its container by libavformat.
//
// Opens only what src/media/containers.h allows. Times are seconds from the start of the source, as in ffmpeg. One
// thread.

#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct AVFormatContext;
struct AVStream;

/// Reads "00:00:02.018000000", the end of a stream, which Matroska's muxers write into its tags.
std::optional<double> ReadDurationTag(const AVStream& Stream);

struct SourceFacts
{
    std::string Format;             ///< libavformat's name
    std::optional<int> VideoStream; ///< the first that is not an attached picture
    int WidthPx = 0;                ///< of that one
    int HeightPx = 0;
    double FrameSec = 0.04; ///< usual duration of a frame
    double BeatSec = 0.0; ///< frame duration of the rate that ffmpeg guesses; 0 at a constant rate
    std::vector<int> SoundStreams;
    std::optional<double> DeclaredSec; ///< the end of picture and sound that the source declares
};

class SourceFile
{
public:
    /// Opens the file. On failure returns null and sets OutSentence, which names a format that is not allowed.
    ///
    /// IsStopped is asked at each read from the disk, also later. Once it says true, all reading ends as at the
    /// end of the file, and what is said of the file means nothing.
    static std::unique_ptr<SourceFile>
    Open(const std::string& Path, std::string& OutSentence, std::function<bool()> IsStopped);
    ~SourceFile();
    SourceFile(const SourceFile&) = delete;
    SourceFile& operator=(const SourceFile&) = delete;

    const SourceFacts& Facts() const { return Known; }

    /// Whether all that a clip from InSec on needs is read after a seek to SeekSec: the picture's first key
    /// frame lies at or before LatestKeySec, and of each stream of sound the first packet at or before
    /// InSec, for sound may be stored far ahead of its picture. A stream that ends before is not
    /// asked, where the file tells when. Reads until all are met, or the file is past InSec.
    bool HoldsAll(double SeekSec, double LatestKeySec, double InSec);

    /// Whether a packet of the stream begins at or after FromSec and before ToSec; nullopt when the container's
    /// seeking or times don't tell. Reads from a key frame before FromSec.
    std::optional<bool> HasAnything(int Stream, double FromSec, double ToSec);

    /// Whether two pictures of a range are much closer than the guessed rate allows: ffmpeg writes pictures at that
    /// rate and would drop one of them. False at a constant rate; otherwise reads the range until it finds two.
    bool HasCrowdedPictures(double FromSec, double ToSec);

    /// Whether picture or sound continues until AtSec; nullopt as above.
    std::optional<bool> Reaches(double AtSec);

private:
    struct Piece
    {
        int Stream;
        bool bKey;
        std::optional<double> FromSec;
        double ToSec;
    };

    explicit SourceFile(std::function<bool()> NewIsStopped);
    void Learn();
    std::optional<double> DeclaredSec() const;
    bool Seek(double Sec);
    std::optional<Piece> Read();

    std::function<bool()> IsStopped;
    AVFormatContext* pFile = nullptr;
    double StartSec = 0.0;
    SourceFacts Known;
};
