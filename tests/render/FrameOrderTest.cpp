// The order of a frame's layers and which of them each mode draws, seen
// through the recording render context.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "app/Frame.h"
#include "ui/FrameLayers.h"
#include "render/Bitmap.h"
#include "render/RecordingRenderContext.h"
#include "db/SessionMode.h"

namespace lh::app {
namespace {

using render::DrawCall;

struct FrameOrder : ::testing::Test {
    std::vector<std::string> order;
    std::vector<platform::Subscription> layers;
    bool modal = false;

    void SetUp() override {
        const char* names[] = {"chatFrame",  "modifiers",  "chatWindow",    "chatEntry", "hotkeys",
                               "characters", "identities", "desktopTokens", "windows",   "dieBox",
                               "dice",       "drag",       "radial"};
        for (int i = 0; i < int(ui::FrameStep::Count); ++i) {
            std::string name = names[i];
            layers.push_back(
                ui::drawOnFrameStep(ui::FrameStep(i), [this, name](render::RenderContext&) { order.push_back(name); }));
        }
        db::setSessionMode(db::SessionMode::Host);
        setFrameState({[this] { return modal; }, [] { return 0xFF808080u; }});
    }
    void TearDown() override {
        layers.clear();
        setFrameState({});
        setDesktopImage(nullptr);
    }
};

TEST_F(FrameOrder, LayersComeInOrderAndModesLeaveTheirsOut) {
    render::RecordingRenderContext context;
    drawFrameLayers(context);
    EXPECT_EQ(order, (std::vector<std::string>{"chatFrame", "modifiers", "chatWindow", "chatEntry", "hotkeys",
                                               "characters", "identities", "desktopTokens", "windows",
                                               "dieBox", "dice", "drag", "radial"}));
    // The dice sit between two sprite batches.
    EXPECT_EQ(context.kinds(), (std::vector<std::string>{"endSprites", "beginSprites"}));

    order.clear();
    db::setSessionMode(db::SessionMode::Join);
    modal = true;
    drawFrameLayers(context);
    EXPECT_EQ(order, (std::vector<std::string>{"chatFrame", "modifiers", "chatWindow", "chatEntry", "hotkeys",
                                               "characters", "desktopTokens", "windows", "dieBox", "drag",
                                               "radial"}));

    order.clear();
    db::setSessionMode(db::SessionMode::LocalCharacters);
    modal = false;
    drawFrameLayers(context);
    EXPECT_EQ(order, (std::vector<std::string>{"characters", "desktopTokens", "windows", "dieBox", "dice",
                                               "drag", "radial"}));
}

TEST_F(FrameOrder, DesktopImageTilesOnlyWhereTheClipIs) {
    render::Bitmap tile;  // pixels only: no device needed to record
    std::vector<uint32_t> px(64 * 32, 0xFF112233u);
    ASSERT_TRUE(tile.LoadFromPixels(64, 32, px.data()));
    setDesktopImage(&tile);
    layers.clear();

    render::RecordingRenderContext context;
    context.SetClipRect({100, 40, 140, 70});  // meets tiles x 64, 128 and y 32, 64
    drawFrameLayers(context);
    std::vector<std::pair<float, float>> at;
    for (const DrawCall& c : context.calls) {
        if (c.kind != DrawCall::Bitmap) continue;
        EXPECT_EQ(c.bitmap, &tile);
        EXPECT_EQ(c.color, 0xFF808080u);  // the desktop light
        at.push_back({c.x1, c.y1});
    }
    EXPECT_EQ(at, (std::vector<std::pair<float, float>>{{64, 32}, {128, 32}, {64, 64}, {128, 64}}));
}

}  // namespace
}  // namespace lh::app
