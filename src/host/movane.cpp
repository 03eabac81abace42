#include "host/movane.h"

#include <utility>

MvWindow* Movane::AddWindow(unsigned long WindowID, std::unique_ptr<MvWindow> pWindow)
{
    if (pWindow == nullptr || GetWindow(WindowID) != nullptr)
    {
        return nullptr;
    }
    MvWindow* const window = pWindow.get();
    std::list<unsigned long> id = {WindowID}; // allocate first: the ID gets into both lists or none
    Windows[WindowID] = std::move(pWindow);
    WindowIDs.splice(WindowIDs.end(), id);
    return window;
}

void Movane::RemoveWindow(unsigned long WindowID)
{
    WindowIDs.remove(WindowID);
    Windows.erase(WindowID);
}

MvWindow* Movane::GetWindow(unsigned long InWindowID)
{
    const auto window = Windows.find(InWindowID);
    return window == Windows.end() ? nullptr : window->second.get();
}

void Movane::QueueNotification(NotificationType Type,
                               const std::string& Title,
                               const std::string& Message,
                               std::uint64_t DurationMs)
{
    NotificationQueued.emit({Type, Title, Message, DurationMs});
}
