// The radial menu's geometry and state machine.
#include "ui/RadialMenu.h"

#include <algorithm>
#include <cmath>

#include "render/GraphicsDevice.h"
#include "ui/DesktopObject.h"
#include "ui/MenuModel.h"
#include "ui/RulesetData.h"

namespace lh::ui {

namespace {

void redrawAll() { render::GraphicsDevice::Get().Invalidate(nullptr); }

std::string cutLabel(const char* label) {
    if (!label) return {};
    std::string text(label);
    if (text.size() > RadialMenu::kLabelLength) text.resize(RadialMenu::kLabelLength);
    return text;
}

}  // namespace

RadialMenu::RadialMenu() { ids.fill(0); }
RadialMenu::~RadialMenu() = default;

void RadialMenu::SlotOffset(int slot, int32_t r, int32_t& dx, int32_t& dy) {
    // Integer diagonal: 80 gives 56.
    const int32_t d = int32_t(int64_t(r) * 70710 / 100000);
    static constexpr int kX[kSlots] = {0, 1, 2, 1, 0, -1, -2, -1};
    static constexpr int kY[kSlots] = {-2, -1, 0, 1, 2, 1, 0, -1};
    auto part = [&](int unit) { return unit == 2 ? r : unit == -2 ? -r : unit * d; };
    dx = part(kX[slot]);
    dy = part(kY[slot]);
}

void RadialMenu::SetEntry(int slot, render::Bitmap* icon, int id, const char* label) {
    if (slot < 0 || slot >= kSlots) return;
    icons[size_t(slot)] = icon;
    ids[size_t(slot)] = id;
    labels[size_t(slot)] = cutLabel(label);
    subMenus[size_t(slot)].reset();
}

void RadialMenu::SetSubMenu(int slot, render::Bitmap* icon, std::unique_ptr<RadialMenu> subMenu, const char* label) {
    if (slot < 0 || slot >= kSlots || !icon) return;
    SetEntry(slot, icon, 0, label);
    subMenus[size_t(slot)] = std::move(subMenu);
}

void RadialMenu::SetBackSlot(int slot) {
    if (slot < 0 || slot >= kSlots) return;
    backSlot = slot;
    icons[size_t(slot)] = findIcon("menuback");
}

void RadialMenu::SetFixedAnchor(int32_t x, int32_t y) {
    hasFixedAnchor = true;
    fixedAnchorX = x;
    fixedAnchorY = y;
}

int RadialMenu::SlotAt(int32_t x, int32_t y) const {
    for (int slot = 0; slot < kSlots; ++slot) {
        if (!icons[size_t(slot)]) continue;
        int32_t sx, sy;
        SlotOffset(slot, radius, sx, sy);
        const double dx = double(x - sx), dy = double(y - sy);
        if (int64_t(std::sqrt(dx * dx + dy * dy)) < hitRadius) return slot;
    }
    return -1;
}

void RadialMenu::openSubMenu(int slot) {
    RadialMenu* sub = subMenus[size_t(slot)].get();
    if (!sub) return;
    int32_t dx, dy;
    SlotOffset(slot, radius, dx, dy);
    sub->offsetX = offsetX + dx;
    sub->offsetY = offsetY + dy;
    sub->activeSubMenu = nullptr;
    sub->marked = -1;
    activeSubMenu = sub;
    redrawAll();
}

int RadialMenu::Release(uint32_t anchor, uint32_t position) {
    if (activeSubMenu) {
        int result = activeSubMenu->Release(anchor, position);
        if (result != kBack) return result;
        activeSubMenu = nullptr;
        redrawAll();
        return kStayOpen;
    }
    const int slot = SlotAt(mouse::xOf(position) - (mouse::xOf(anchor) + offsetX),
                            mouse::yOf(position) - (mouse::yOf(anchor) + offsetY));
    if (slot < 0) return 0;
    if (slot == backSlot) return kBack;
    if (subMenus[size_t(slot)]) {
        openSubMenu(slot);
        return kStayOpen;
    }
    return ids[size_t(slot)];
}

int RadialMenu::Move(uint32_t anchor, uint32_t position, bool held) {
    if (activeSubMenu) {
        if (activeSubMenu->Move(anchor, position, held) == kBack) {
            activeSubMenu = nullptr;
            redrawAll();
        }
        return kStayOpen;
    }
    redrawAll();
    // After a quick click the mouse may wander without opening anything.
    if (!held) return kStayOpen;
    const int slot = SlotAt(mouse::xOf(position) - (mouse::xOf(anchor) + offsetX),
                            mouse::yOf(position) - (mouse::yOf(anchor) + offsetY));
    if (slot < 0) return kStayOpen;
    if (slot == backSlot) return kBack;
    if (subMenus[size_t(slot)]) openSubMenu(slot);
    return kStayOpen;
}

void RadialMenu::GetBounds(int32_t x, int32_t y, render::Rect& rect) const {
    auto include = [&rect](int32_t px, int32_t py) {
        rect.left = std::min(rect.left, px);
        rect.top = std::min(rect.top, py);
        rect.right = std::max(rect.right, px);
        rect.bottom = std::max(rect.bottom, py);
    };
    include(x, y);
    for (int slot = 0; slot < kSlots; ++slot) {
        int32_t dx, dy;
        SlotOffset(slot, radius, dx, dy);
        if (ids[size_t(slot)] != 0) include(x + dx, y + dy);
        if (subMenus[size_t(slot)]) subMenus[size_t(slot)]->GetBounds(x + dx, y + dy, rect);
    }
}

const RadialMenu& RadialMenu::Deepest() const {
    const RadialMenu* ring = this;
    while (ring->activeSubMenu) ring = ring->activeSubMenu;
    return *ring;
}

RadialMenu& RadialMenu::Deepest() {
    RadialMenu* ring = this;
    while (ring->activeSubMenu) ring = ring->activeSubMenu;
    return *ring;
}

void RadialMenu::StepMarked(int direction) {
    RadialMenu& ring = Deepest();
    int slot = ring.marked;
    for (int tries = 0; tries < kSlots; ++tries) {
        slot = slot < 0 ? (direction > 0 ? 0 : kSlots - 1) : (slot + direction + kSlots) % kSlots;
        if (ring.icons[size_t(slot)]) {
            ring.marked = slot;
            break;
        }
    }
    redrawAll();
}

int RadialMenu::PickMarked() {
    RadialMenu* parent = nullptr;
    RadialMenu* ring = this;
    while (ring->activeSubMenu) {
        parent = ring;
        ring = ring->activeSubMenu;
    }
    const int slot = ring->marked;
    if (slot < 0 || !ring->icons[size_t(slot)]) return kStayOpen;
    if (slot == ring->backSlot) {
        if (parent) parent->activeSubMenu = nullptr;
        redrawAll();
        return kStayOpen;
    }
    if (ring->subMenus[size_t(slot)]) {
        ring->openSubMenu(slot);
        return kStayOpen;
    }
    return ring->ids[size_t(slot)];
}

bool RadialMenu::CloseDeepest() {
    if (!activeSubMenu) return false;
    RadialMenu* parent = this;
    while (parent->activeSubMenu->activeSubMenu) parent = parent->activeSubMenu;
    parent->activeSubMenu = nullptr;
    redrawAll();
    return true;
}

std::unique_ptr<RadialMenu> MakeRadialMenu(const MenuModel& model,
                                           const std::function<render::Bitmap*(std::string_view)>& icons) {
    auto menu = std::make_unique<RadialMenu>();
    menu->SetHub(icons(model.hubIcon));
    if (model.anchored) menu->SetFixedAnchor(model.anchorX, model.anchorY);
    for (int slot = 0; slot < MenuModel::kSlots; ++slot) {
        const MenuModel::Entry& e = model.at(slot);
        if (!e.present) continue;
        render::Bitmap* icon = icons(e.icon);
        if (e.subMenu) {
            menu->SetSubMenu(slot, icon, MakeRadialMenu(*e.subMenu, icons), e.label.c_str());
        } else {
            menu->SetEntry(slot, icon, e.id, e.label.c_str());
        }
    }
    if (model.backSlot >= 0) {
        // The way back shows the Ruleset's "menuback" through the same lookup.
        menu->backSlot = model.backSlot;
        menu->icons[size_t(model.backSlot)] = icons("menuback");
    }
    return menu;
}

}  // namespace lh::ui
