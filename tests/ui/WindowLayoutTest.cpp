// Placement tables: the bounds rule of controls (negative and far-edge
// values), the steps of window layout (bands, GROUP rows nested and not,
// cut controls, content sizes, the one extra pass for a taller sub-window),
// class size limits in both orders, and desktop window anchoring.
#include <gtest/gtest.h>

#include "DesktopFixture.h"
#include "db/DbContext.h"
#include "db/SessionMode.h"
#include "db/DbNode.h"
#include "db/XmlParse.h"
#include "ui/RulesetLoader.h"
#include "ui/Desktop.h"
#include "ui/RulesetData.h"
#include "ui/Window.h"
#include "ui/WindowNetwork.h"

namespace lh::test {
namespace {

using render::Rect;
using ui::Window;

class Layout : public ::testing::Test {
protected:
    void SetUp() override {
        db::clearTree();
        db::setSessionMode(db::SessionMode::Host);
        loadWindowRuleset();
    }
    void TearDown() override {
        desk.reset();
        db::clearTree();
        ui::clearRuleset();
    }
    Window* open(const char* cls, const char* record = "00001") {
        return desk->OpenWindow(*ui::findWindowClass(cls), record);
    }
    static Rect at(Window* w, const char* name) { return w->FindControl(name)->rect; }

    std::unique_ptr<ui::Desktop> desk = std::make_unique<ui::Desktop>();
};

TEST_F(Layout, BoundsCountNegativeValuesFromTheFarEdge) {
    Window* w = open("sheet");
    ASSERT_NE(w, nullptr);
    // Centred at the default size in 1024 x 768.
    EXPECT_EQ(w->rect, (Rect{362, 284, 662, 484}));
    struct Case {
        const char* rect;
        int32_t width, height;
        Rect expected;
    } cases[] = {
        {"10,-30,-10,20", 300, 200, {10, 170, 290, 190}},  // 10 from the sides, 30 above the bottom
        {"0,0,-1,-1", 300, 200, {0, 0, 299, 199}},
        {"0,0,-1,-1", 400, 300, {0, 0, 399, 299}},          // follows a resize
        {"10,10,-500,20", 300, 200, {10, 10, 10, 30}},      // empty but there
        {"-20,-20,10,10", 300, 200, {280, 180, 290, 190}},
        {"5,5,-5,-5", 300, 200, {5, 5, 295, 195}},
        {"0,0,0,0", 300, 200, {0, 0, 0, 0}},
    };
    ui::Control& c = *w->FindControl("mp");
    for (const Case& k : cases) {
        ui::RectXYWH r;
        ASSERT_TRUE(ui::scanNumbers(k.rect, &r.x, 4)) << k.rect;
        c.boundLeft = r.x;
        c.boundTop = r.y;
        c.boundWidth = r.width;
        c.boundHeight = r.height;
        ui::Size size{k.width, k.height};
        c.ComputeRect(&size);
        EXPECT_EQ(c.rect, k.expected) << k.rect << " in " << k.width << "x" << k.height;
    }
    // Without an override the window's own size counts, also while minimized.
    c.boundLeft = 10, c.boundTop = -30, c.boundWidth = -10, c.boundHeight = 20;
    w->Resize(400, 300);
    EXPECT_EQ(at(w, "mp"), (Rect{10, 270, 390, 290}));
    w->ToggleMinimize(nullptr);
    w->FindControl("mp")->ComputeRect();
    EXPECT_EQ(at(w, "mp"), (Rect{10, 270, 390, 290}));
}

TEST_F(Layout, FlowControlsStackInGroupRowsBetweenTheBands) {
    Window* w = open("flow", "");
    ASSERT_NE(w, nullptr);
    EXPECT_EQ(w->rect.width(), 200);
    EXPECT_EQ(w->rect.height(), 300);
    EXPECT_EQ(at(w, "head"), (Rect{0, 0, 199, 30}));   // top band 30
    EXPECT_EQ(at(w, "foot"), (Rect{0, 280, 199, 295}));  // bottom band 20
    // The two ungrouped controls share one row, each with its margins.
    EXPECT_EQ(at(w, "a"), (Rect{5, 32, 55, 45}));
    EXPECT_EQ(at(w, "b"), (Rect{60, 30, 110, 50}));
    // GROUP g1 starts under the taller of them; a width from the far edge.
    EXPECT_EQ(at(w, "c"), (Rect{0, 51, 190, 60}));
    // The nested group is a row of its own; after it, g1 starts another.
    EXPECT_EQ(at(w, "d"), (Rect{0, 60, 200, 65}));
    EXPECT_EQ(at(w, "e"), (Rect{0, 65, 200, 72}));
    // Too tall: cut at the bottom band.
    EXPECT_EQ(at(w, "big"), (Rect{0, 72, 200, 280}));
}

TEST_F(Layout, ContentSizesTheWindowWithinItsLimits) {
    Window* w = open("fit", "");
    ASSERT_NE(w, nullptr);
    // Width from the absolute controls' needs (10+150; 30 from the right
    // and 20 wide; 5+100), height from the bands and the flow row.
    EXPECT_EQ(w->rect.width(), 160);
    EXPECT_EQ(w->rect.height(), 50 + 300 + 25);
    EXPECT_EQ(w->rect.left, (1024 - 160) / 2);
    EXPECT_EQ(w->rect.top, (768 - 375) / 2);
    EXPECT_EQ(at(w, "y"), (Rect{130, 5, 150, 25}));
    EXPECT_EQ(at(w, "f"), (Rect{0, 50, 160, 350}));

    // The largest window of a class without limits is 1025 x 768.
    Window* big = open("huge", "");
    EXPECT_EQ(big->rect.width(), 1025);
    EXPECT_EQ(big->rect.height(), 768);
    EXPECT_EQ(at(big, "w"), (Rect{0, 0, 2000, 10}));  // RECT wins over HPOS

    // A minimum above the default size drops to it, in either order.
    for (const char* name : {"order1", "order2"}) {
        const ui::WindowClass* c = ui::findWindowClass(name);
        EXPECT_EQ(c->minWidth, 200) << name;
        EXPECT_EQ(c->minHeight, 200) << name;
    }
}

TEST_F(Layout, ATallerSubWindowGrowsItsParentInOneMorePass) {
    Window* w = open("grows", "");
    ASSERT_NE(w, nullptr);
    ASSERT_EQ(w->subWindows.size(), 1u);
    Window* page = w->subWindows[0].second.get();
    EXPECT_EQ(page->rect.height(), 250);
    EXPECT_EQ(w->rect.height(), 250);
    EXPECT_EQ(page->rect, w->rect);
    EXPECT_EQ(w->rect.top, (768 - 250) / 2);  // centred again with the new height
}

TEST_F(Layout, DesktopWindowsAnchorToTheFarEdges) {
    using namespace ui::mouse;
    Window* sheet = open("sheet");
    Window* w = desk->OpenShortcutWindow(db::SessionMode::Host);
    ASSERT_NE(w, nullptr);
    EXPECT_EQ(w->rect, (Rect{1024 - 210, 768 - 110, 1024 - 10, 768 - 10}));
    // It goes under the windows already open, and a press and a drag on it
    // neither raise nor move it.
    EXPECT_EQ(desk->windows.front().get(), w);
    desk->MousePress(kLeftDown, kLeft, 914, 708);
    desk->MouseMove(kLeft, 944, 728);
    desk->MouseRelease(kLeftUp, 0, 944, 728);
    EXPECT_EQ(desk->windows.back().get(), sheet);
    EXPECT_EQ(w->rect, (Rect{1024 - 210, 768 - 110, 1024 - 10, 768 - 10}));
    desk->OnMainWindowSized(800, 600);
    EXPECT_EQ(w->rect, (Rect{590, 490, 790, 590}));
    // Nothing else opens for a way in whose class is missing.
    EXPECT_EQ(desk->OpenShortcutWindow(db::SessionMode::Join), nullptr);
    EXPECT_EQ(desk->OpenShortcutWindow(db::SessionMode::LocalCharacters), nullptr);
    // With their classes there, a player gets his shortcuts and local
    // characters theirs.
    ui::LoadRulesetFile(db::parseXmlText(R"(<root>
      <windowclass name="playershortcuts"><desktopwindow/><defaultsize width="50" height="50"/></windowclass>
      <windowclass name="localshortcuts"><desktopwindow/><defaultsize width="50" height="50"/></windowclass>
    </root>)", "shortcuts"), db::SessionMode::Join);
    for (auto [mode, name] : {std::pair{db::SessionMode::Join, "playershortcuts"},
                              std::pair{db::SessionMode::LocalCharacters, "localshortcuts"}}) {
        Window* opened = desk->OpenShortcutWindow(mode);
        ASSERT_NE(opened, nullptr) << name;
        EXPECT_EQ(opened->windowClass.name, name);
    }
}

TEST_F(Layout, DynamicWindowsResizeWithControlDragOthersMove) {
    using namespace ui::mouse;
    auto drag = [&](Window* w, uint32_t flags, int dx, int dy) {
        int32_t x = w->rect.left + 50, y = w->rect.top + 50;
        desk->MousePress(kLeftDown, kLeft | flags, x, y);
        desk->MouseMove(kLeft | flags, x + 3, y + 3);  // the drag starts; its position is noted
        desk->MouseMove(kLeft | flags, x + 3 + dx, y + 3 + dy);
        desk->MouseRelease(kLeftUp, flags, x + 3 + dx, y + 3 + dy);
    };
    Window* v = open("stretchy", "");
    Rect before = v->rect;
    drag(v, kControl, 40, 30);
    // Vertical only: the width stays.
    EXPECT_EQ(v->rect, (Rect{before.left, before.top, before.right, before.bottom + 30}));
    // MINVMARGIN keeps the flow control under a 40 pixel top band.
    EXPECT_EQ(v->FindControl("s")->rect.top, 40);

    Window* both = open("stretchboth", "");
    before = both->rect;
    drag(both, kControl, 100, -100);  // clamped to 260 wide, 100 high
    EXPECT_EQ(both->rect.width(), 260);
    EXPECT_EQ(both->rect.height(), 100);
    EXPECT_EQ(both->rect.left, before.left);

    Window* plain = open("sheet");
    before = plain->rect;
    drag(plain, kControl, 25, 15);  // not DYNAMIC: it moves
    EXPECT_EQ(plain->rect, (Rect{before.left + 25, before.top + 15, before.right + 25, before.bottom + 15}));

    // A host-sized class does not resize on a client.
    SilentClientNetwork client;
    Window* hosted = open("hostsized", "");
    desk->network = &client;
    before = hosted->rect;
    drag(hosted, kControl, 20, 20);
    EXPECT_EQ(hosted->rect.width(), before.width());
    EXPECT_EQ(hosted->rect.left, before.left + 20);
    desk->network = nullptr;
}

}  // namespace
}  // namespace lh::test
