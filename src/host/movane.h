// The host's registry of windows and its notifications. UI thread only.

#pragma once

#include "host/mvwindow.h"
#include "host/signal.h"

#include <cstdint>
#include <list>
#include <map>
#include <memory>
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

    /// A short message to the user that goes away by itself.
    struct Notification
    {
        NotificationType Type = NotificationInfo;
        std::string Title;
        std::string Message;
        std::uint64_t DurationMs = 0; ///< how long it is shown
    };

    /// The ID of the first video window, the fallback when no other window can be used.
    static constexpr unsigned long FirstVideoWindowID = 3;

    /// Registers pWindow under an ID and appends the ID to WindowIDs. Returns the window, or null when
    /// the ID is taken or pWindow is null.
    MvWindow* AddWindow(unsigned long WindowID, std::unique_ptr<MvWindow> pWindow);

    /// Takes a window out and destroys it; its ID is free again. An unknown ID changes nothing.
    void RemoveWindow(unsigned long WindowID);

    /// Returns the window with that ID, or null. Valid until the window is removed.
    MvWindow* GetWindow(unsigned long InWindowID);

    /// Returns GetWindow(InWindowID) when it is a T, else null.
    template <typename T> T* GetWindowAs(unsigned long InWindowID)
    {
        return dynamic_cast<T*>(GetWindow(InWindowID));
    }

    /// Hands a notification to everyone who shows notifications.
    void QueueNotification(NotificationType Type,
                           const std::string& Title,
                           const std::string& Message,
                           std::uint64_t DurationMs);
    Signal<Notification> NotificationQueued;

    std::list<unsigned long> WindowIDs; ///< in the order of adding

private:
    std::map<unsigned long, std::unique_ptr<MvWindow>> Windows;
};
