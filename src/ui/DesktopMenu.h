// The Desktop's own radial menu, the one a right click on the bare Desktop
// opens: exit (with its confirmation ring), the main window's size, and
// the entries other subsystems add (addDesktopMenuEntry).
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/Signal.h"

namespace lh::ui {

class MenuModel;

struct DesktopMenuEntry {
    int slot;
    std::string label;
    std::string icon;
    std::function<void()> chosen;
};

// Ids of the Desktop menu; added entries take ids from kDesktopMenuAdded up.
enum DesktopMenuId : int {
    kDesktopMenuExit = 1,
    kDesktopMenuRestore = 2,
    kDesktopMenuMaximize = 3,
    kDesktopMenuAdded = 4,
};

platform::Signal<const DesktopMenuEntry*()>& desktopMenuEntries();

// `fullScreen`: the main window is in its borderless full-screen form.
std::unique_ptr<MenuModel> BuildDesktopMenu(bool fullScreen);
// 1 quits with -1, 2 restores the main window, 3 maximizes it, an added
// entry runs its action.
void HandleMenuChoice(int id);

}  // namespace lh::ui
