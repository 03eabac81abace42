#include "app/application.h"

#include <mutex>
#include <utility>

Application::Application(Setup How)
    : pFont(How.pFont != nullptr ? std::move(How.pFont) : std::make_unique<TTF>())
    , RequestFrame(std::move(How.RequestFrame))
{
    ApplicationCore.pMovane = std::make_unique<Movane>();
    ApplicationCore.pRend = std::make_unique<Rend>();
    ApplicationCore.pRend->pTTF = pFont.get();
    ApplicationCore.pCoreSDL = std::make_unique<CoreSDL>();
    p = &ApplicationCore;
    ConnectPanelToRecords(ClipPanel, PanelRecords);
    ClipPanel.pParentWindow = &Place;
    pExports = std::make_unique<ExportQueue>(ClipPanel, RequestFrame, std::move(How.pSocket),
                                             std::move(How.pEncoder));
    if (How.bStartsJobs)
    {
        StartJobs();
    }
}

Application::~Application()
{
    pExports->Shutdown();
    if (ApplicationCore.pJobSystem != nullptr)
    {
        ApplicationCore.pJobSystem->Stop();
        ApplicationCore.pJobSystem->SetWakeUp({});
    }
    pExports.reset(); // after the jobs: callbacks that come now find its panel gone and do nothing
    p = nullptr;
}

void Application::StartJobs()
{
    ApplicationCore.pJobSystem = std::make_unique<JobSystem>();
    ApplicationCore.pJobSystem->SetWakeUp(RequestFrame);
    ApplicationCore.pJobSystem->JobFailed.connect([this](const JobSystem::Failure& Failure)
                                                  { EndExport(Failure); });
}

// Every job is an export. A job that threw posts no result, and without a result its panel would refuse all further
// exports.
void Application::EndExport(const JobSystem::Failure& Failure)
{
    if (pExports->Running() != nullptr)
    {
        pExports->TakeJobFailure(Failure.Text);
        return;
    }
    const std::lock_guard lock(ClipPanel.ExportMutex);
    if (ClipPanel.bExportInProgress)
    {
        ClipPanel.bExportResultSuccess = false;
        ClipPanel.bExportInProgress = false;
        ClipPanel.bExportResultReady = true;
        ClipPanel.ExportResultMessage = "Clip export failed: " + Failure.Text;
    }
}

void Application::ExportSelectedClip()
{
    if (const MvClipControlPanel::SavedClip* const clip = ClipPanel.SelectedClip())
    {
        pExports->Add(*clip);
        return;
    }
    ClipPanel.ExportSelectedClip();
}

void Application::Frame()
{
    if (ApplicationCore.pJobSystem != nullptr)
    {
        ApplicationCore.pJobSystem->PumpMainThread();
    }
    pExports->Pump();
    ClipPanel.PumpExportResult();
    ClipPanel.UpdateLiveLabels();
}
