#pragma once

#include "host/mvwindow.h"

#include <cstdint>
#include <list>
#include <string>

class Movane
{
public:
    enum NotificationType
    {
        NotificationInfo = 0,
        NotificationSuccess = 1,
        NotificationWarning = 2,
        NotificationError = 3,
    };

    MvWindow* GetWindow(unsigned long InWindowID);
    template <typename T> T* GetWindowAs(unsigned long InWindowID)
    {
        return dynamic_cast<T*>(GetWindow(InWindowID));
    }
    void QueueNotification(NotificationType Type,
                           const std::string& Title,
                           const std::string& Message,
                           std::uint64_t DurationMs);

    std::list<unsigned long> WindowIDs;
};
