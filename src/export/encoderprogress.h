// The progress of an export: from ffmpeg's "-progress" output, and before the first picture from its read position in
// the source. Pure except for ReadPartOf.

#pragma once

#include "export/encoderarguments.h"
#include "export/exportmessages.h"

#include <optional>
#include <string>
#include <string_view>

#include <sys/types.h>

class EncoderProgress
{
public:
    /// DeclaredSec  how long the source says that it lasts, if it does.
    /// Earlier      what was told of another cut of the same clip, whose file was of no use: the new one
    ///              fills what is left of the whole, and what is told never goes back.
    EncoderProgress(const PanelCommand& Command,
                    const EncoderPlan& Plan,
                    std::optional<double> DeclaredSec,
                    const std::optional<ExportMessage>& Earlier = std::nullopt);

    /// Takes a piece of ffmpeg's output; it may end within a line.
    void Take(std::string_view Text);

    /// Takes the part of the source that was read, 0 to 1.
    void TakeReadPart(double Part);

    /// True until the first picture is out.
    bool IsSeeking() const { return EncodedSec <= 0.0; }

    /// The message to send. Its fraction never decreases.
    ExportMessage Message();

private:
    void TakeLine(std::string_view Line);

    double InSec;
    double LengthSec;
    std::optional<double> DeclaredSec;
    double SeekShare; ///< of the whole work
    double SoughtPart = 0.0;
    double EncodedSec = 0.0;
    double Begin = 0.0;         ///< the fraction at which this cut begins
    bool bOtherEncoded = false; ///< pictures of an earlier cut came out
    double Fraction = 0.0;
    std::string PartialLine;
};

/// The part of a plain file that a process has read, 0 to 1; nullopt when it does not have it open or its descriptors
/// can't be read.
std::optional<double> ReadPartOf(const std::string& Path, pid_t Pid);
