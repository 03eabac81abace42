// One clip, "Intro", 1 s to 3 s of a source that exists, ready to be exported on the real host while
// something goes wrong.

#pragma once

#include "panel/panelonhost.h"
#include "support/filetext.h"
#include "support/threadevent.h"

#include <gmock/gmock.h>

#include <functional>

class FaultTest : public PanelOnHost
{
protected:
    FaultTest()
    {
        EXPECT_TRUE(WriteFile(Source, "pictures"));
        EXPECT_TRUE(pWindow->LoadVideoFile(Source, false));
        Save("Intro", 1.0, 3.0);
    }

    /// What ffmpeg does from now on.
    void FfmpegDoes(const FakeFfmpeg::Behaviour& How) const { FakeFfmpeg(Folder.Path(), How); }

    /// The ffmpeg that copies the source to the output, or fails with cp's words.
    void FfmpegCopies() const
    {
        FfmpegDoes({.OutputCommand = "LC_ALL=C cp \"$6\" \"$out\" || exit 1"});
    }

    /// Runs an export from the request to the status line, on a worker, and returns that line.
    std::string ExportToTheEnd()
    {
        if (Application.pJobSystem == nullptr)
        {
            StartJobSystem();
        }
        Panel->ExportSelectedClip();
        RunToTheResult();
        return StatusLabel.Text;
    }

    /// Runs frames until the running export has ended; earlier callbacks may wake the loop, too.
    void RunToTheResult()
    {
        while (Panel->GetExportStatus().bInProgress && !HasFatalFailure())
        {
            RunOneWakeUp();
        }
    }

    /// Asks for an export, changes the world once all is checked and before the job begins, and returns
    /// the last status line.
    std::string ExportWithChange(const std::function<void()>& Change)
    {
        StartJobSystem();
        ThreadEvent mayBegin;
        Application.pJobSystem->Enqueue([&mayBegin] { EXPECT_TRUE(mayBegin.Wait()); }, "gate");
        Panel->ExportSelectedClip();
        EXPECT_TRUE(Panel->GetExportStatus().bInProgress);
        Change();
        mayBegin.Set();
        RunToTheResult();
        return StatusLabel.Text;
    }

    /// Runs an export without a worker, as is needed in a child process, and returns the status line.
    std::string ExportOnTheSpot() const
    {
        Panel->ExportSelectedClip();
        Panel->PumpExportResult();
        return StatusLabel.Text;
    }

    /// After a fault: nothing is left of it, and the next export succeeds.
    void ExpectReady()
    {
        EXPECT_FALSE(Panel->GetExportStatus().bInProgress);
        EXPECT_FALSE(std::filesystem::exists(ErrorLog()));
        FfmpegDoes({});
        EXPECT_THAT(ExportToTheEnd(), testing::StartsWith("Exported clip_0000"));
    }

    std::filesystem::path Clips() const { return Folder.Path() / "recordings" / "clips"; }
    std::filesystem::path Output() const { return Clips() / "clip_00000_Intro.mkv"; }
    std::filesystem::path RuntimeFolder() const { return Folder.Path() / "runtime"; }
    std::filesystem::path ErrorLog() const { return RuntimeFolder() / "temp" / "clip-export.log"; }

    const std::filesystem::path Source = Folder.Path() / "source.mp4";
};
