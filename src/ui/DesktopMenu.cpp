// The Desktop menu and its choices.
#include "ui/DesktopMenu.h"

#include <vector>

#include "ui/DesktopHooks.h"
#include "ui/MenuModel.h"

namespace lh::ui {

namespace {

// The added entries in the order they came, as the menu numbers them.
std::vector<const DesktopMenuEntry*> addedEntries() {
    std::vector<const DesktopMenuEntry*> entries;
    desktopMenuEntries().forEach([&](const std::function<const DesktopMenuEntry*()>& get) {
        entries.push_back(get());
    });
    return entries;
}

}  // namespace

platform::Signal<const DesktopMenuEntry*()>& desktopMenuEntries() {
    static platform::Signal<const DesktopMenuEntry*()> entries;
    return entries;
}

std::unique_ptr<MenuModel> BuildDesktopMenu(bool fullScreen) {
    auto menu = std::make_unique<MenuModel>("menuhub");
    auto confirm = std::make_unique<MenuModel>("menuhub");
    confirm->backSlot = 4;
    confirm->set(0, "Confirm exit", "closeprogram", kDesktopMenuExit);
    menu->setSubMenu(0, "Exit program", "closeprogram", std::move(confirm));
    if (fullScreen) {
        menu->set(2, "Restore window", "restorewindow", kDesktopMenuRestore);
    } else {
        menu->set(2, "Maximize window", "maximizewindow", kDesktopMenuMaximize);
    }
    int id = kDesktopMenuAdded;
    for (const DesktopMenuEntry* e : addedEntries()) {
        if (e->slot >= 0 && e->slot < MenuModel::kSlots && !menu->at(e->slot).present) {
            menu->set(e->slot, e->label, e->icon, id);
        }
        ++id;
    }
    return menu;
}

void HandleMenuChoice(int id) {
    DesktopShell* shell = desktopShell();
    switch (id) {
    case kDesktopMenuExit:
        if (shell) shell->quit(-1);
        return;
    case kDesktopMenuRestore:
        if (shell) shell->setFullScreen(false);
        return;
    case kDesktopMenuMaximize:
        if (shell) shell->setFullScreen(true);
        return;
    default:
        break;
    }
    if (id < kDesktopMenuAdded) return;
    std::vector<const DesktopMenuEntry*> entries = addedEntries();
    size_t index = size_t(id - kDesktopMenuAdded);
    if (index < entries.size() && entries[index]->chosen) entries[index]->chosen();
}

}  // namespace lh::ui
