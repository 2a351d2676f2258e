// Ruleset frames and glyph fonts drawn on the real device off-screen and read
// back; the cost of tiling a one-pixel piece over a whole screen.
#include <gtest/gtest.h>

#include "RulesetFixture.h"
#include "app/Frame.h"
#include "db/XmlParse.h"
#include "platform/Paths.h"
#include "render/GlFixture.h"
#include "render/RecordingRenderContext.h"
#include "render/RenderContext.h"
#include "support/TestSupport.h"
#include "ui/ResourceFile.h"
#include "ui/RulesetData.h"
#include "ui/RulesetLoader.h"

namespace lh::test {
namespace {

using render::GraphicsDevice;
using render::Rect;
using render::RenderContext;
using namespace lh::ui;

class RulesetDraw : public GlTest {
protected:
    void SetUp() override {
        GlTest::SetUp();
        platform::setWorkingDirectory(dir.path());
        ResourceFile::setArchivePath("resource.pak");
        files = testRulesetFiles();
        writeRulesetFiles(dir.str(), files);
        clearRuleset();
        LoadRuleset("Test", db::SessionMode::Host);
    }
    void TearDown() override {
        clearRuleset();
        GlTest::TearDown();
    }

    // Black background, then `draw`, presented and read back.
    template <typename F>
    std::vector<uint32_t> frame(F draw) {
        GraphicsDevice& device = GraphicsDevice::Get();
        Rect all{0, 0, kWidth, kHeight};
        device.BeginFrame(all);
        {
            RenderContext context(false, kWidth, kHeight);
            context.BeginScene();
            context.DrawRect(0, 0, kWidth, kHeight, 0x000000, true);
            draw(context);
            context.EndScene();
        }
        device.Present(all);
        return screen();
    }

    TempDir dir;
    RulesetFileList files;
};

// The frame picture's pixel (x, y), as the fixture made it.
uint32_t framePixel(int x, int y) {
    int i = y * 6 + x;
    return 0xFF000000u | uint32_t(i * 7) << 16 | uint32_t(255 - i * 5) << 8 | uint32_t(i * 3);
}

// Where a frame of two-pixel parts puts picture pixels along one axis: the
// first two and last two target pixels are the corners' columns, the band
// between repeats the middle columns from its start.
int frameSource(int t, int length) {
    if (t < 2) return t;
    if (t >= length - 2) return 4 + (t - (length - 2));
    return 2 + (t - 2) % 2;
}

TEST_F(RulesetDraw, FrameCornersStayAndBandsTileFromTheirStart) {
    FrameDef* frame = findFrame("box2");
    ASSERT_NE(frame, nullptr);
    ASSERT_NE(findIcon("gone"), nullptr);
    const Rect target{10, 20, 25, 31};  // 15 x 11: odd bands, so the last tiles are cut
    const Rect clip{0, 0, 22, 120};
    auto px = this->frame([&](RenderContext& c) {
        frame->Draw(c, target, 0xFFFFFFFF, nullptr);
        frame->Draw(c, {40, 20, 55, 31}, 0xFFFFFFFF, &clip);  // wholly clipped away
        c.DrawBitmap(*findIcon("gone"), 60, 60, 0xFFFFFFFF);  // its file is missing
    });
    for (int y = 0; y < target.height(); ++y)
        for (int x = 0; x < target.width(); ++x)
            ASSERT_TRUE(near(at(px, target.left + x, target.top + y),
                             framePixel(frameSource(x, target.width()), frameSource(y, target.height())), 1))
                << "at " << x << "," << y;
    EXPECT_EQ(at(px, 9, 20), 0xFF000000u);
    EXPECT_EQ(at(px, 25, 31), 0xFF000000u);
    EXPECT_EQ(at(px, 45, 25), 0xFF000000u);
    EXPECT_EQ(at(px, 60, 60), 0xFF000000u);  // the missing icon drew nothing
}

TEST_F(RulesetDraw, GlyphFontPlacesGlyphsTopAtYByTheirAdvance) {
    // A: 3 x 4, all but the bottom row opaque; its file stores rows bottom-up.
    std::vector<uint8_t> a(12, 255);
    for (int x = 0; x < 3; ++x) a[size_t(9 + x)] = 0;
    std::string bytes = glyphFileBytes(1, {{' ', 2, 5, std::vector<uint8_t>(10, 0)},
                                           {'A', 3, 4, a},
                                           {0xC9, 2, 2, std::vector<uint8_t>(4, 128)}});
    RulesetFont font;
    ASSERT_TRUE(font.LoadGlyphs(bytes.data(), bytes.size(), 0xFFFF8000u));
    auto px = frame([&](RenderContext& c) {
        c.SetFont(&font);
        c.DrawText(20, 30, "A A\x01\xC9", 5);  // advances 2, 1, 2, 0
    });
    const uint32_t orange = 0xFFFF8000u;
    EXPECT_TRUE(near(at(px, 20, 30), orange, 1));
    EXPECT_TRUE(near(at(px, 22, 32), orange, 1));
    EXPECT_EQ(at(px, 20, 33), 0xFF000000u);  // the bottom row is transparent
    EXPECT_EQ(at(px, 20, 29), 0xFF000000u);
    EXPECT_TRUE(near(at(px, 23, 30), orange, 1));  // second A at 20 + 2 + 1
    EXPECT_TRUE(near(at(px, 25, 30), orange, 1));
    // The half-alpha E acute at 25 (no advance for \x01): over the A's last
    // column, then over black.
    EXPECT_TRUE(near(at(px, 26, 30), 0xFF804000u, 2));
    EXPECT_TRUE(near(at(px, 26, 31), 0xFF804000u, 2));
    EXPECT_EQ(at(px, 27, 30), 0xFF000000u);
    EXPECT_EQ(at(px, 26, 32), 0xFF000000u);
}

TEST_F(RulesetDraw, FontWithoutGlyphFileDrawsThroughTheSystemFontInItsColour) {
    RulesetFont* font = findFont("system");
    ASSERT_NE(font, nullptr);
    const int32_t height = font->LineHeight();
    const int32_t width = font->MeasureText("H\xE9\x80", 3).width;
    auto px = frame([&](RenderContext& c) {
        c.DrawRect(0, 60, kWidth, kHeight, 0xFFFFFF, true);
        c.SetFont(font);
        c.DrawText(10, 70, "H\xE9\x80", 3);
    });
    int inked = 0, outside = 0;
    for (int y = 60; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x) {
            if (at(px, x, y) == 0xFFFFFFFFu) continue;
            // Two pixels of slack for the italic slant.
            bool inside = x >= 8 && x < 12 + width && y >= 70 && y < 70 + height;
            (inside ? inked : outside)++;
            if (inside && near(at(px, x, y), 0xFF102030u, 4)) inked += 1000;  // full coverage in the colour
        }
    EXPECT_GT(inked, 1000);
    EXPECT_EQ(outside, 0);
}

TEST_F(RulesetDraw, TheRulesetsDesktopImageShowsInTheFrame) {
    render::Bitmap* desktop = ruleset().desktopImage.get();
    ASSERT_NE(desktop, nullptr);
    app::setDesktopImage(desktop);
    auto px = frame([](RenderContext& c) { app::drawFrameLayers(c); });
    app::setDesktopImage(nullptr);
    EXPECT_TRUE(near(at(px, 0, 0), 0xFF304050u, 1));
    EXPECT_TRUE(near(at(px, kWidth - 1, kHeight - 1), 0xFF304050u, 1));
}

TEST(RulesetTiling, OnePixelPiecesOverAWholeScreenCostFewDraws) {
    std::string xml =
        "<framedef name=\"thin\"><bitmap file=\"thin.png\"/>"
        "<topleft rect=\"0,0,1,1\"/><top rect=\"1,0,1,1\"/><topright rect=\"2,0,1,1\"/>"
        "<left rect=\"0,1,1,1\"/><middle rect=\"1,1,1,1\"/><right rect=\"2,1,1,1\"/>"
        "<bottomleft rect=\"0,2,1,1\"/><bottom rect=\"1,2,1,1\"/><bottomright rect=\"2,2,1,1\"/></framedef>";
    TempDir dir;
    platform::setWorkingDirectory(dir.path());
    writeFile(dir.path() / "thin.png", pngBytes(3, 3, std::vector<uint32_t>(9, 0xFF808080u)));
    auto root = db::parseXmlText(xml, "thin");
    FrameDef frame;
    ASSERT_TRUE(frame.Load(*root));
    render::RecordingRenderContext context;
    context.SetClipRect({0, 0, 1920, 1080});
    int calls = frame.Draw(context, {0, 0, 1920, 1080}, 0xFFFFFFFF, nullptr);
    // One draw a piece, each a single quad that repeats its one pixel.
    EXPECT_EQ(calls, 9);
    EXPECT_EQ(context.calls.size(), 9u);
    // A small dirty rectangle draws only the piece under it.
    context.calls.clear();
    context.SetClipRect({500, 500, 510, 510});
    EXPECT_EQ(frame.Draw(context, {0, 0, 1920, 1080}, 0xFFFFFFFF, nullptr), 1);
}

}  // namespace
}  // namespace lh::test
