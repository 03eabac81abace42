#include "panelstage.h"

#include "host/coresdl.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <new>
#include <string_view>

namespace
{
const std::string InstalledEncoder = "/usr/bin/ffmpeg";
} // namespace

const TempFolder& PanelStage::Folder()
{
    static const TempFolder folder;
    static const bool bFilled = []
    {
        std::filesystem::create_directories(folder.Path() / "temp");
        std::filesystem::create_symlink(folder.Path() / "loop", folder.Path() / "loop");
        setenv("PATH", "/nowhere/bin", 1);
        return true;
    }();
    static_cast<void>(bFilled);
    return folder;
}

PanelStage::PanelStage()
{
    ResetHost();
    ResetPlatform();
    Host().RuntimeDir = Folder().Path();
    Host().OnCall = [this](const std::string& Call)
    {
        if (Call.starts_with("LoadVideoFile("))
        {
            OnLoad();
        }
    };
    Platform().SystemResult = 0;
    Platform().InPlaceOfCommand = [this] { RunEncoder(); };
    SetRecordingsFolder(true);
    SetEncoder("", true);

    Application.pMovane = std::make_unique<Movane>();
    Application.pJobSystem = std::make_unique<JobSystem>();
    Application.pRend = std::make_unique<Rend>();
    Application.pCoreSDL = std::make_unique<CoreSDL>();
    Application.pRend->pTTF = &Font;
    p = &Application;

    Places[0].ID = 3; // the last resort of the target rule
    Places[1].ID = 5;
    Places[2].ID = 7;
    Application.pMovane->WindowIDs = {4, 5, 3, 7};
    Host().Windows[4] = &PlainWindow;
    OpenWindow(Places[1]);
    ReplaceVideo(Places[1], "/media/a.mp4");
    Platform().PretendedFiles.insert("/media/a.mp4");

    Table = std::make_unique<MvTable>();
    NameInput = std::make_unique<MvTextInput>();
    StatusLabel = std::make_unique<MvLabel>();
    SourceLabel = std::make_unique<MvLabel>();
    RangeLabel = std::make_unique<MvLabel>();
    MarkersLabel = std::make_unique<MvLabel>();
    MakePanel();
}

PanelStage::~PanelStage()
{
    Panel->~MvClipControlPanel();
    p = nullptr;
    ResetHost();
    ResetPlatform();
    std::error_code ec;
    std::filesystem::remove(ErrorLogPath(), ec);
}

void PanelStage::MakePanel()
{
    Panel = new (PanelPlace.data()) MvClipControlPanel();
    Panel->TableModel = std::make_unique<MvTableModel>();
    Panel->pParentWindow = &ParentWindow;
    Panel->pClipTable = Table.get();
    Panel->pNameInput = NameInput.get();
    Panel->pStatusLabel = StatusLabel.get();
    Panel->pSourceLabel = SourceLabel.get();
    Panel->pRangeLabel = RangeLabel.get();
    Panel->pMarkersLabel = MarkersLabel.get();
    Panel->StatusChanged.connect([](const std::string& Text)
                                 { Host().Record("Status(" + Text + ")"); });
}

void PanelStage::ReplacePanel()
{
    Panel->~MvClipControlPanel();
    MakePanel();
}

void PanelStage::OpenWindow(VideoPlace& Place)
{
    CloseWindow(Place);
    Place.Window = std::make_unique<MvVideoWindow>();
    Place.Window->bOpen = true;
    Place.Window->bVisible = true;
    Host().Windows[Place.ID] = Place.Window.get();
    SetTimeline(Place, true);
}

void PanelStage::CloseWindow(VideoPlace& Place)
{
    Host().Windows.erase(Place.ID);
    Host().Children.erase({Place.Window.get(), 0});
    Host().Timelines.erase(Place.Timeline.get());
    Place.Timeline.reset();
    Place.Window.reset();
    Place.Video.reset();
}

void PanelStage::SetTimeline(VideoPlace& Place, bool bThere)
{
    Host().Timelines.erase(Place.Timeline.get());
    Place.Timeline = bThere ? std::make_unique<MvTimeControl>() : nullptr;
    MvChildWindow* const child = bThere ? Place.Timeline.get() : &PlainChild;
    Host().Children[{Place.Window.get(), 0}] = child;
}

void PanelStage::ReplaceVideo(VideoPlace& Place, const std::string& FilePath)
{
    Place.Video = std::make_unique<MvVideo>();
    Place.Info.reset();
    Place.Video->FilePath = FilePath;
    Place.Window->pVideo = Place.Video.get();
}

void PanelStage::CloseVideo(VideoPlace& Place)
{
    Place.Window->pVideo = nullptr;
    Place.Video.reset();
}

void PanelStage::SetRecordingsFolder(bool bUsable)
{
    bRecordingsUsable = bUsable;
    Host().RecordingsDir = bUsable ? Folder().Path().native() : "/dev/null/recordings";
}

void PanelStage::SetEncoder(const std::string& NewOverridePath, bool bNewInstalled)
{
    OverridePath = NewOverridePath;
    bInstalled = bNewInstalled;
    setenv("MOVANE_FFMPEG_BIN", NewOverridePath.c_str(), 1);
    Platform().PretendedFiles.insert("/opt/it's/ffmpeg");
    Platform().HiddenFiles = {InstalledEncoder, "/usr/sbin/ffmpeg"};
    if (bNewInstalled)
    {
        Platform().HiddenFiles.erase(InstalledEncoder);
        Platform().PretendedFiles.insert(InstalledEncoder);
    }
}

void PanelStage::OnLoad()
{
    if (bReplacesVideoOnLoad)
    {
        for (VideoPlace& place : Places)
        {
            if (place.Video != nullptr)
            {
                ReplaceVideo(place, std::string(place.Video->FilePath));
            }
        }
    }
    if (bDeletesClipOnLoad)
    {
        Panel->DeleteSelectedClip();
    }
}

void PanelStage::RunEncoder() const
{
    // The output stands between the last words of the command: … -c:a copy 'OUTPUT' 2> 'LOG'
    const std::string& command = Platform().Commands.back();
    constexpr std::string_view Before = " -c:a copy '";
    const std::size_t before = command.rfind(Before);
    if (before == std::string::npos)
    {
        // A NUL in the source's path has cut the command within a quoted word, which no shell runs.
        Platform().SystemResult = SyntaxError;
        return;
    }
    const std::size_t begin = before + Before.size();
    const std::string output = command.substr(begin, command.rfind("' 2> '") - begin);
    if (Outcome.bWritesOutput)
    {
        Platform().PretendedFiles.insert(output);
    }
    if (!Outcome.ErrorText.empty())
    {
        std::ofstream(ErrorLogPath(), std::ios::binary) << Outcome.ErrorText;
    }
    Platform().SystemResult = Outcome.SystemResult;
}
