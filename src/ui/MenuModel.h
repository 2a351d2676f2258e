// What a radial menu offers: up to eight slots around a hub, each with a
// label, an icon name and either an id to hand back or a sub-menu. Built
// by an object's BuildMenu; the radial menu draws and runs it.
#pragma once

#include <array>
#include <memory>
#include <string>

namespace lh::ui {

class MenuModel {
public:
    static constexpr int kSlots = 8;

    struct Entry {
        bool present = false;
        std::string label;
        std::string icon;  // a name in Icons; a missing icon leaves the slot unavailable
        int id = 0;
        std::unique_ptr<MenuModel> subMenu;
    };

    explicit MenuModel(std::string hub = "menuhub") : hubIcon(std::move(hub)) {}

    void set(int slot, std::string label, std::string icon, int id) {
        if (slot < 0 || slot >= kSlots) return;
        Entry& e = entries[size_t(slot)];
        e.present = true;
        e.label = std::move(label);
        e.icon = std::move(icon);
        e.id = id;
        e.subMenu.reset();
    }
    void setSubMenu(int slot, std::string label, std::string icon, std::unique_ptr<MenuModel> sub) {
        set(slot, std::move(label), std::move(icon), 0);
        if (slot >= 0 && slot < kSlots) entries[size_t(slot)].subMenu = std::move(sub);
    }
    const Entry& at(int slot) const { return entries[size_t(slot)]; }
    // The slot holding `label` or -1: what tests and scripts look entries up by.
    int find(const std::string& label) const {
        for (int i = 0; i < kSlots; ++i)
            if (entries[size_t(i)].present && entries[size_t(i)].label == label) return i;
        return -1;
    }

    std::string hubIcon;
    int backSlot = -1;  // a sub-menu's way back; -1 for a top menu
    bool anchored = false;  // the menu opens at `anchorX/Y`, not at the mouse
    int32_t anchorX = 0, anchorY = 0;

private:
    std::array<Entry, kSlots> entries{};
};

}  // namespace lh::ui
