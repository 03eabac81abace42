// Base of the controls that live inside a window.

#pragma once

/// A control inside an MvWindow, found there by its key. Polymorphic, so that a caller can test what
/// kind of control it is.
class MvChildWindow
{
public:
    MvChildWindow() = default;
    virtual ~MvChildWindow() = default;
    MvChildWindow(const MvChildWindow&) = delete;
    MvChildWindow& operator=(const MvChildWindow&) = delete;
};
