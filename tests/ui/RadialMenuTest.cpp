// The radial menu's geometry and state machine as tables, with no device:
// slot offsets and hits, sub-rings and their back slots, releases on the
// hub and off every slot, the held button opening rings on pass-over, the
// bounds that keep it on screen, labels cut to length, and the keyboard.
#include <gtest/gtest.h>

#include "render/Bitmap.h"
#include "ui/DesktopObject.h"
#include "ui/MenuModel.h"
#include "ui/RadialMenu.h"
#include "ui/RulesetData.h"

namespace lh::test {
namespace {

using ui::RadialMenu;
using ui::mouse::pack;

class Radial : public ::testing::Test {
protected:
    void SetUp() override {
        ui::clearRuleset();
        ui::ruleset().icons["menuback"] = std::make_unique<render::Bitmap>();
    }
    void TearDown() override { ui::clearRuleset(); }
    render::Bitmap* icon() { return &picture; }
    // A root with plain slots 0..7 of ids 10..17 except slot 2, which opens
    // a ring whose slot 0 is id 99 and whose way back is slot 6.
    std::unique_ptr<RadialMenu> twoRings() {
        auto root = std::make_unique<RadialMenu>();
        for (int slot = 0; slot < 8; ++slot) root->SetEntry(slot, icon(), 10 + slot, "plain");
        auto sub = std::make_unique<RadialMenu>();
        sub->SetEntry(0, icon(), 99, "inner");
        sub->SetBackSlot(6);
        root->SetSubMenu(2, icon(), std::move(sub), "ring");
        return root;
    }
    render::Bitmap picture;
};

TEST_F(Radial, SlotsLieClockwiseFromNorthAndHitStrictlyInsideThirty) {
    struct Offset {
        int slot, dx, dy;
    };
    for (Offset o : {Offset{0, 0, -80}, {1, 56, -56}, {2, 80, 0}, {3, 56, 56}, {4, 0, 80}, {5, -56, 56},
                     {6, -80, 0}, {7, -56, -56}}) {
        int32_t dx, dy;
        RadialMenu::SlotOffset(o.slot, 80, dx, dy);
        EXPECT_EQ(dx, o.dx) << o.slot;
        EXPECT_EQ(dy, o.dy) << o.slot;
    }
    RadialMenu menu;
    for (int slot = 0; slot < 8; ++slot) menu.SetEntry(slot, icon(), slot + 1, nullptr);
    struct Hit {
        int x, y, slot;
    };
    for (Hit h : {Hit{56, -56, 1}, {0, -110, -1}, {0, -109, 0}, {0, 0, -1}, {80, 29, 2}, {80, 30, -1},
                  {-80, 0, 6}, {-40, -40, 7}, {40, 40, 3}, {21, 21, -1}}) {
        EXPECT_EQ(menu.SlotAt(h.x, h.y), h.slot) << h.x << "," << h.y;
    }
    // Slots without an icon do not exist; a lone west slot hits only there.
    RadialMenu west;
    west.SetEntry(6, icon(), 5, "west");
    west.SetEntry(2, nullptr, 7, "east");
    west.SetEntry(9, icon(), 7, "nowhere");
    EXPECT_EQ(west.SlotAt(-80, 0), 6);
    EXPECT_EQ(west.SlotAt(80, 0), -1);
    EXPECT_EQ(west.SlotAt(0, -80), -1);
    west.SetSubMenu(0, nullptr, std::make_unique<RadialMenu>(), "dropped");
    EXPECT_EQ(west.subMenus[0], nullptr);
}

TEST_F(Radial, ReleasesChooseOpenRingsGoBackAndEndOnTheHub) {
    const uint32_t anchor = pack(500, 400);
    struct Step {
        int x, y, result;
        int depth;  // open rings below the root afterwards
    };
    // Through the ring at slot 2 (east: 580, 400) and back, then a choice.
    auto root = twoRings();
    for (Step s : {Step{580, 400, RadialMenu::kStayOpen, 1},  // slot 2 opens its ring there
                   Step{500, 400, RadialMenu::kStayOpen, 0},  // its back slot (west of it) closes only it
                   Step{580, 400, RadialMenu::kStayOpen, 1},
                   Step{580, 320, 99, 1}}) {                  // the inner slot 0, north of the ring
        EXPECT_EQ(root->Release(anchor, pack(s.x, s.y)), s.result) << s.x << "," << s.y;
        EXPECT_EQ(root->activeSubMenu != nullptr, s.depth == 1);
    }
    EXPECT_EQ(root->Deepest().offsetX, 80);
    EXPECT_EQ(root->Deepest().offsetY, 0);
    // The hub and empty space end the menu with nothing chosen.
    auto other = twoRings();
    EXPECT_EQ(other->Release(anchor, anchor), 0);
    EXPECT_EQ(other->Release(anchor, pack(900, 900)), 0);
    EXPECT_EQ(other->Release(anchor, pack(556, 344)), 11);
}

TEST_F(Radial, AHeldButtonOpensRingsOnPassOverAndAQuickClickWanders) {
    const uint32_t anchor = pack(500, 400);
    auto menu = twoRings();
    // Button up: passing over the ring's slot opens nothing.
    EXPECT_EQ(menu->Move(anchor, pack(580, 400), false), RadialMenu::kStayOpen);
    EXPECT_EQ(menu->activeSubMenu, nullptr);
    // Held: it opens at once, and its back slot closes it again.
    menu->Move(anchor, pack(580, 400), true);
    ASSERT_NE(menu->activeSubMenu, nullptr);
    menu->Move(anchor, pack(540, 400), true);  // between the two: nothing
    ASSERT_NE(menu->activeSubMenu, nullptr);
    menu->Move(anchor, pack(502, 401), true);
    EXPECT_EQ(menu->activeSubMenu, nullptr);
    // The whole stroke ends with a release on the inner slot.
    menu->Move(anchor, pack(580, 400), true);
    EXPECT_EQ(menu->Release(anchor, pack(581, 322)), 99);
}

TEST_F(Radial, BoundsCoverSlotCentresAndRingsBelow) {
    auto menu = twoRings();
    render::Rect r{500, 400, 500, 400};
    menu->GetBounds(500, 400, r);
    // Slot 2 (id 0) counts through its ring: the ring's centre and its slot
    // 0; its back slot has id 0 and does not count.
    EXPECT_EQ(r, (render::Rect{420, 320, 580, 480}));
    // Slots with id 0 count only through their rings.
    RadialMenu lone;
    lone.SetEntry(4, icon(), 0, "nothing");
    render::Rect p{10, 10, 10, 10};
    lone.GetBounds(10, 10, p);
    EXPECT_EQ(p, (render::Rect{10, 10, 10, 10}));
}

TEST_F(Radial, ModelsBecomeMenusWithCutLabelsAndMissingIconsDropped) {
    ui::MenuModel model("hub");
    model.set(0, std::string(60, 'x'), "have", 1);
    model.set(1, "gone", "missing", 2);
    auto inner = std::make_unique<ui::MenuModel>("hub");
    inner->backSlot = 4;
    inner->set(0, "Confirm", "have", 3);
    model.setSubMenu(4, "Ring", "have", std::move(inner));
    auto menu = ui::MakeRadialMenu(model, [this](std::string_view name) -> render::Bitmap* {
        if (name == "menuback") return ui::findIcon("menuback");
        return name == "have" || name == "hub" ? icon() : nullptr;
    });
    EXPECT_EQ(menu->labels[0], std::string(49, 'x'));
    EXPECT_EQ(menu->hubIcon, icon());
    EXPECT_EQ(menu->icons[1], nullptr);
    ASSERT_NE(menu->subMenus[4], nullptr);
    EXPECT_EQ(menu->subMenus[4]->backSlot, 4);
    EXPECT_NE(menu->subMenus[4]->icons[4], nullptr);
    EXPECT_EQ(menu->subMenus[4]->ids[0], 3);
}

TEST_F(Radial, TheKeyboardWalksSlotsPicksAndClosesRings) {
    auto menu = twoRings();
    menu->StepMarked(1);
    EXPECT_EQ(menu->MarkedSlot(), 0);
    menu->StepMarked(-1);
    EXPECT_EQ(menu->MarkedSlot(), 7);
    menu->StepMarked(1);
    menu->StepMarked(1);
    menu->StepMarked(1);
    EXPECT_EQ(menu->MarkedSlot(), 2);
    EXPECT_EQ(menu->PickMarked(), RadialMenu::kStayOpen);  // opens the ring
    ASSERT_NE(menu->activeSubMenu, nullptr);
    EXPECT_EQ(menu->MarkedSlot(), -1);
    menu->StepMarked(1);  // slot 0, then the back slot 6
    EXPECT_EQ(menu->PickMarked(), 99);
    menu->StepMarked(1);
    EXPECT_EQ(menu->MarkedSlot(), 6);
    EXPECT_EQ(menu->PickMarked(), RadialMenu::kStayOpen);
    EXPECT_EQ(menu->activeSubMenu, nullptr);
    menu->PickMarked();  // slot 2 is still marked on the root
    EXPECT_TRUE(menu->CloseDeepest());
    EXPECT_FALSE(menu->CloseDeepest());
}

}  // namespace
}  // namespace lh::test
