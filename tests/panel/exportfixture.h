// A panel with one clip that is ready to be exported by a fake ffmpeg: "Intro", 10 s to 12 s of a
// source that exists.

#pragma once

#include "panel/panelfixture.h"

#include <future>

class ExportTest : public PanelTest
{
protected:
    ExportTest()
    {
        Video.FilePath = Source;
        AddClip("Intro", 10.0, 12.0).SourceLabel = "source.mp4";
        Select(0);
    }

    /// What the export's fields hold.
    struct ExportState
    {
        std::uint64_t Generation;
        bool bInProgress;
        bool bResultReady;
        bool bResultSuccess;
        std::string Message;

        bool operator==(const ExportState&) const = default;
    };

    ExportState State() const
    {
        return {Panel->ExportGeneration.load(), Panel->bExportInProgress, Panel->bExportResultReady,
                Panel->bExportResultSuccess, Panel->ExportResultMessage};
    }

    /// Replaces the fake ffmpeg.
    void FfmpegDoes(const FakeFfmpeg::Behaviour& How) const
    {
        FakeFfmpeg(Folder.Path() / "fake", How);
    }

    /// Asks for an export on a fresh log and returns the last status text.
    std::string Export() const
    {
        Log().clear();
        Panel->ExportSelectedClip();
        EXPECT_EQ(StatusLabel.Text, Panel->StatusText);
        return Panel->StatusText;
    }

    /// Lets the job that waits run and its result reach the panel.
    static void FinishJob()
    {
        Host().RunJob();
        Host().RunMainThreadJob();
    }

    /// Exports from the request to the status line and returns the result's message.
    std::string ExportToTheEnd() const
    {
        Export();
        FinishJob();
        Panel->PumpExportResult();
        return Panel->StatusText;
    }

    /// Tells whether another thread could take the export's mutex now.
    bool IsMutexFree() const
    {
        return std::async(std::launch::async,
                          [this]
                          {
                              const std::unique_lock lock(Panel->ExportMutex, std::try_to_lock);
                              return lock.owns_lock();
                          })
            .get();
    }

    SavedClip& Clip() const { return Panel->Clips[0]; }

    std::filesystem::path Output(const std::string& Name = "clip_00000_Intro.mkv") const
    {
        return Folder.Path() / "recordings" / "clips" / Name;
    }
    std::filesystem::path ErrorLog() const
    {
        return Folder.Path() / "runtime" / "temp" / "clip-export.log";
    }

    std::string Source = MakeFile("source.mp4");
    FakeFfmpeg Ffmpeg = FakeFfmpeg(std::filesystem::path(MakeFile("fake/errortext")).parent_path());
    EnvironmentGuard FfmpegOverride{"MOVANE_FFMPEG_BIN", Ffmpeg.Path()};
};
