// How far an export is, from what ffmpeg says on the descriptor of "-progress", and from its place in
// the source as long as it says nothing. Pure but for ReadPartOf.

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

    /// Takes a piece of ffmpeg's text, cut anywhere.
    void Take(std::string_view Text);

    /// Takes how much of the source has been read, 0 to 1.
    void TakeReadPart(double Part);

    /// True until the first picture is out.
    bool IsSeeking() const { return EncodedSec <= 0.0; }

    /// What is to be told; its fraction never falls.
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
    std::string Begun; ///< a line that is not at its end
};

/// How much of a plain file a process has read, 0 to 1; nullopt where it does not have it open, or its
/// descriptors can't be seen.
std::optional<double> ReadPartOf(const std::string& Path, pid_t Pid);
