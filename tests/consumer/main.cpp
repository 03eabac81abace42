// The panel in somebody else's program: saves the marked range of a video as a clip and prints its row.

#include "host/core.h"
#include "host/movane.h"
#include "host/mvtable.h"
#include "host/mvtablemodel.h"
#include "host/mvtextinput.h"
#include "host/mvtimecontrol.h"
#include "host/mvvideo.h"
#include "host/mvvideowindow.h"
#include "panel/mvclipcontrolpanel.h"

#include <iostream>
#include <memory>
#include <string>

namespace
{
/// A player that shows no picture.
class DarkVideo : public MvVideo
{
public:
    bool Open(const std::string& Path, std::string& /*OutError*/) override
    {
        FilePath = Path;
        pMediaInfo = &Info;
        return true;
    }
    void Play() override {}
    void Pause() override {}
    void Seek(int /*Request*/) override {}
    double CurrentTimeSec() const override { return 0.0; }

private:
    MvMediaInfo Info{300'000'000};
};
} // namespace

int main()
{
    Core core;
    p = &core;
    core.pMovane = std::make_unique<Movane>();
    core.pMovane->AddWindow(Movane::FirstVideoWindowID, std::make_unique<MvVideoWindow>());
    auto* const window = core.pMovane->GetWindowAs<MvVideoWindow>(Movane::FirstVideoWindowID);
    window->SetVideo(std::make_unique<DarkVideo>());
    window->LoadVideoFile("/videos/holiday.mkv", false);
    window->Timeline().SetRangeSelection(61.0, 125.0, false);

    MvTextInput nameInput;
    nameInput.SetText("The sea", false);
    MvTable table;
    MvClipControlPanel panel;
    panel.pNameInput = &nameInput;
    panel.pClipTable = &table;
    panel.TableModel = std::make_unique<MvTableModel>();
    panel.SaveCurrentRangeAsClip();

    std::string row;
    for (const std::string& cell : panel.TableModel->GetRows().at(0))
    {
        row += (row.empty() ? "" : " | ") + cell;
    }
    std::cout << row << '\n';
    p = nullptr;
    return 0;
}
