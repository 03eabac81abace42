#include "host/mvwindow.h"

#include <utility>

MvChildWindow* MvWindow::GetChild(int Key)
{
    const auto child = Children.find(Key);
    return child == Children.end() ? nullptr : child->second.get();
}

void MvWindow::SetChild(int Key, std::unique_ptr<MvChildWindow> pChild)
{
    Children[Key] = std::move(pChild);
}
