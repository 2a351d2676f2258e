// The circular menu: a hub under the mouse and up to eight slots around it,
// numbered clockwise from the top, each an icon with a label and either an id
// or a further ring that opens at the slot's place. This is the menu's
// geometry and state; RadialMenuDraw.cpp draws it. Positions are Desktop
// pixels, y growing downwards.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "render/Rect.h"

namespace lh::render {
class Bitmap;
class RenderContext;
}  // namespace lh::render

namespace lh::ui {

class MenuModel;

class RadialMenu {
public:
    static constexpr int kSlots = 8;
    static constexpr int kDefaultRadius = 80;
    static constexpr int kDefaultHitRadius = 30;
    static constexpr size_t kLabelLength = 49;
    // Results of Release and Move besides an id (0 or more).
    static constexpr int kStayOpen = -1;
    static constexpr int kBack = -2;  // for the enclosing ring: close the ring below
    static constexpr int kNoBackSlot = -2;

    RadialMenu();
    ~RadialMenu();
    RadialMenu(const RadialMenu&) = delete;
    RadialMenu& operator=(const RadialMenu&) = delete;

    void SetHub(render::Bitmap* icon) { hubIcon = icon; }
    // A plain slot; a slot out of 0..7 is ignored; `label` may be null. A null
    // icon leaves the slot absent.
    void SetEntry(int slot, render::Bitmap* icon, int id, const char* label);
    // A slot that opens a ring; ignored also with a null icon.
    void SetSubMenu(int slot, render::Bitmap* icon, std::unique_ptr<RadialMenu> subMenu, const char* label);
    // The slot that leads back, with the icon "menuback" of the Ruleset.
    void SetBackSlot(int slot);
    void SetFixedAnchor(int32_t x, int32_t y);

    // The user let go at `position` (packed x, y), the root anchored at
    // `anchor`: an id of 0 or more ends the menu (0: nothing chosen),
    // kStayOpen keeps it, kBack is for an enclosing ring.
    int Release(uint32_t anchor, uint32_t position);
    // The mouse moved with the menu open; `held` tells whether the menu's
    // button (the right one, the left when swapped) is down. Answers kBack to
    // an enclosing ring that should close this one, else kStayOpen.
    int Move(uint32_t anchor, uint32_t position, bool held);
    // Extends `rect` over this ring, centred at x, y, and all rings below.
    void GetBounds(int32_t x, int32_t y, render::Rect& rect) const;
    // x, y relative to this ring's centre: the slot hit, or -1.
    int SlotAt(int32_t x, int32_t y) const;
    static void SlotOffset(int slot, int32_t radius, int32_t& dx, int32_t& dy);

    // The deepest open ring (this one when none is open below).
    const RadialMenu& Deepest() const;
    RadialMenu& Deepest();
    // Keyboard use: the slot that the arrow keys have marked on the deepest
    // ring, or -1; Step moves it to the next present slot clockwise (+1) or
    // counter-clockwise (-1), Pick acts as a release on it.
    int MarkedSlot() const { return Deepest().marked; }
    void StepMarked(int direction);
    int PickMarked();
    // Escape: closes the deepest sub-ring; false when only the root is open.
    bool CloseDeepest();

    void Draw(render::RenderContext& context, int32_t anchorX, int32_t anchorY, uint32_t mousePosition);

    std::array<int32_t, kSlots> ids{};
    std::array<render::Bitmap*, kSlots> icons{};
    std::array<std::unique_ptr<RadialMenu>, kSlots> subMenus;
    std::array<std::string, kSlots> labels;
    render::Bitmap* hubIcon = nullptr;
    int32_t radius = kDefaultRadius;
    int32_t hitRadius = kDefaultHitRadius;
    int32_t offsetX = 0, offsetY = 0;  // centre relative to the root's anchor
    bool hasFixedAnchor = false;
    int32_t fixedAnchorX = 0, fixedAnchorY = 0;
    RadialMenu* activeSubMenu = nullptr;  // owned in subMenus
    int backSlot = kNoBackSlot;

private:
    void openSubMenu(int slot);
    int marked = -1;
};

// A live menu from a builder's model: each icon name looked up by `icons`
// (null leaves the slot absent), labels cut to 49 characters.
std::unique_ptr<RadialMenu> MakeRadialMenu(const MenuModel& model,
                                           const std::function<render::Bitmap*(std::string_view)>& icons);

}  // namespace lh::ui
