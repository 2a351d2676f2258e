// The token bag's heap: every picture of the library lies inside the bag
// when thrown, shaken and laid out again, also where the room left for a
// picture is none (as wide or as high as the bag: a modulus of 0) or less
// than none (wider than the bag); host-only pictures lie only in the
// host's bag, and an empty library or a bag of no size leave nothing to
// draw and nothing broken.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "../ui/DesktopFixture.h"
#include "render/Bitmap.h"
#include "render/RecordingRenderContext.h"
#include "table/TokenBag.h"
#include "table/TokenLibrary.h"
#include "ui/Desktop.h"
#include "ui/InputState.h"
#include "ui/RulesetData.h"
#include "ui/Window.h"

using namespace lh;
using table::TokenBag;

namespace {

// Bags of 48 x 40 pixels, and one of no width at all.
const char* kBagRuleset = R"(<root>
  <windowclass name="bag">
    <defaultsize width="200" height="150"/><defaultposition x="10" y="10"/>
    <sheetdata><tokenbag name="bag"><bounds rect="20,30,48,40"/></tokenbag></sheetdata>
  </windowclass>
  <windowclass name="slit">
    <defaultsize width="200" height="150"/><defaultposition x="10" y="10"/>
    <sheetdata><tokenbag name="bag"><bounds rect="20,30,0,40"/></tokenbag></sheetdata>
  </windowclass>
</root>)";

class Bag : public ::testing::Test {
protected:
    void SetUp() override {
        table::registerTokenBag();
        test::loadWindowRuleset(kBagRuleset);
        table::tokenLibrary().clear();
    }
    void TearDown() override {
        while (!desk.windows.empty()) desk.Remove(desk.windows.back().get());
        desk.CollectClosed();
        table::tokenLibrary().clear();
        ui::clearRuleset();
    }
    void picture(const std::string& name, uint32_t w, uint32_t h, bool hostOnly = false) {
        auto b = std::make_unique<render::Bitmap>();
        std::vector<uint32_t> px(size_t(w) * h, 0xFF808080u);
        b->LoadFromPixels(w, h, px.data());
        table::tokenLibrary().insert("data/tokens/" + name + ".png", std::move(b), hostOnly, !hostOnly);
    }
    TokenBag* open(const char* cls) {
        const ui::WindowClass* c = ui::findWindowClass(cls);
        EXPECT_TRUE(c);
        if (!c) return nullptr;
        ui::Window* w = desk.OpenWindow(*c, "");
        EXPECT_TRUE(w);
        return w ? dynamic_cast<TokenBag*>(w->FindControl("bag")) : nullptr;
    }
    // Every entry inside the bag, or at its top left when it cannot be.
    static void expectInside(const TokenBag& bag, size_t count) {
        ASSERT_EQ(bag.entries().size(), count);
        for (const TokenBag::Entry& e : bag.entries()) {
            const int32_t roomX = bag.rect.width() - e.def->width(), roomY = bag.rect.height() - e.def->height();
            EXPECT_GE(e.x, 0) << e.def->name;
            EXPECT_GE(e.y, 0) << e.def->name;
            EXPECT_LE(e.x, std::max(0, roomX)) << e.def->name;
            EXPECT_LE(e.y, std::max(0, roomY)) << e.def->name;
        }
    }

    ui::Desktop desk;
    test::SilentClientNetwork player;
};

}  // namespace

TEST_F(Bag, EveryPictureLiesInsideWhateverRoomItLeaves) {
    picture("exact", 48, 40);  // no room either way: x and y are 0
    picture("flat", 48, 10);   // no room across
    picture("tall", 12, 40);   // no room down
    picture("wide", 60, 20);   // wider than the bag
    picture("huge", 90, 90);   // larger both ways
    picture("small", 10, 8);
    picture("secret", 10, 8, true);
    TokenBag* bag = open("bag");
    ASSERT_TRUE(bag);
    ASSERT_EQ(bag->rect.width(), 48);
    ASSERT_EQ(bag->rect.height(), 40);
    expectInside(*bag, 7);  // the Gamemaster's bag holds his own pictures too
    for (const TokenBag::Entry& e : bag->entries()) {
        EXPECT_TRUE(e.def->width() < 48 || e.x == 0) << e.def->name;
        EXPECT_TRUE(e.def->height() < 40 || e.y == 0) << e.def->name;
    }

    // Shaken many times, by the middle button and by a click with Shift:
    // always inside, and the small ones do not all stay in one place.
    int32_t ox = 0, oy = 0;
    bag->GetOrigin(ox, oy);
    const uint32_t inside = ui::mouse::pack(ox + 5, oy + 5);
    std::vector<int32_t> smallAt;
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(bag->MouseButton(i % 2 ? ui::mouse::kMiddleUp : ui::mouse::kLeftUp, i % 2 ? 0u : ui::mouse::kShift,
                                   inside),
                  1);
        expectInside(*bag, 7);
        for (const TokenBag::Entry& e : bag->entries())
            if (e.def->name == "data/tokens/small.png") smallAt.push_back(e.x * 100 + e.y);
    }
    std::sort(smallAt.begin(), smallAt.end());
    EXPECT_GT(std::unique(smallAt.begin(), smallAt.end()) - smallAt.begin(), 3);

    // Laid out again (the window resized or moved): nothing leaves.
    bag->Arrange(true);
    expectInside(*bag, 7);
    render::RecordingRenderContext context;
    bag->Draw(context, {0, 0, 1024, 768});
    EXPECT_EQ(context.calls.size(), 14u);  // shadow and picture each
}

TEST_F(Bag, APlayerSeesNoHostPicturesAndEmptyOrNarrowBagsHoldUp) {
    // Nothing in the library: an empty heap, nothing drawn, shaking is fine.
    TokenBag* empty = open("bag");
    ASSERT_TRUE(empty);
    EXPECT_TRUE(empty->entries().empty());
    EXPECT_EQ(empty->MouseButton(ui::mouse::kMiddleUp, 0, ui::mouse::pack(40, 50)), 1);
    render::RecordingRenderContext context;
    empty->Draw(context, {0, 0, 1024, 768});
    EXPECT_TRUE(context.calls.empty());

    // A bag of no width: every picture wider than it, all at its left edge.
    picture("small", 10, 8);
    picture("wide", 60, 20);
    TokenBag* slit = open("slit");
    ASSERT_TRUE(slit);
    EXPECT_EQ(slit->rect.width(), 0);
    ASSERT_EQ(slit->entries().size(), 2u);
    for (const TokenBag::Entry& e : slit->entries()) EXPECT_EQ(e.x, 0) << e.def->name;
    expectInside(*slit, 2);

    // A player's bag leaves out what only the host may hand out.
    picture("secret", 10, 8, true);
    desk.network = &player;
    TokenBag* bag = open("bag");
    ASSERT_TRUE(bag);
    expectInside(*bag, 2);
    for (const TokenBag::Entry& e : bag->entries()) EXPECT_NE(e.def->name, "data/tokens/secret.png");
    desk.network = nullptr;
}
