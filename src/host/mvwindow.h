// A window of the application: its state flags, its place on the drawing surface, its controls.
//
// The widget that draws the window copies its state into this record. UI thread only.

#pragma once

#include "host/mvchildwindow.h"

#include <map>
#include <memory>

class MvWindow
{
public:
    MvWindow() = default;
    virtual ~MvWindow() = default;
    MvWindow(const MvWindow&) = delete;
    MvWindow& operator=(const MvWindow&) = delete;

    /// Returns the control with that key, or null. The window keeps it; the pointer is valid until
    /// the window is destroyed or another control is set under the same key.
    MvChildWindow* GetChild(int Key);

    /// Returns GetChild(Key) when it is a T, else null.
    template <typename T> T* GetChildAs(int Key) { return dynamic_cast<T*>(GetChild(Key)); }

    /// Puts pChild under Key, in place of an earlier one. Key 0 of a video window is its timeline.
    void SetChild(int Key, std::unique_ptr<MvChildWindow> pChild);

    // -- Set when the window is made, shown or hidden, and before anything else when it goes away.
    bool bOpen = false;
    bool bVisible = false;
    bool bClosing = false;

    // -- The rectangle in normalised device coordinates (-1 to 1; y grows upwards, so Y1, the top
    //    edge, is the greater one) and the frame around the inner area.
    double X1 = -1.0;
    double Y1 = 1.0;
    double X2 = 1.0;
    double Y2 = -1.0;
    double BorderWidth = 0.0; ///< pixels
    bool bHasTitleBar = false;
    double TitleBarHeight = 0.0; ///< normalised units

private:
    std::map<int, std::unique_ptr<MvChildWindow>> Children;
};
