// Whole frames on the real device: the dirty rectangle, the tiled desktop
// image, screenshots, and the same picture after a lost context.
#include <gtest/gtest.h>
#include <png.h>

#include "GlFixture.h"
#include "app/Frame.h"
#include "ui/FrameLayers.h"
#include "platform/Paths.h"
#include "render/FreeTypeFont.h"
#include "render/RenderContext.h"
#include "support/TestSupport.h"

namespace lh::test {
namespace {

using render::GraphicsDevice;
using render::Rect;

// A tile whose every pixel differs, so a misplaced or flipped tile shows.
std::vector<uint32_t> tilePixels(uint32_t w, uint32_t h) {
    std::vector<uint32_t> px(w * h);
    for (uint32_t y = 0; y < h; ++y)
        for (uint32_t x = 0; x < w; ++x)
            px[y * w + x] = 0xFF000000u | (x * 30u << 16) | (y * 40u << 8) | 0x11;
    return px;
}

class Frame : public GlTest {
protected:
    // The desktop image: a tw x th tile of tilePixels.
    void useTile(uint32_t w, uint32_t h) {
        tw = w;
        th = h;
        px = tilePixels(w, h);
        ASSERT_TRUE(tile.LoadFromPixels(w, h, px.data()));
        app::setDesktopImage(&tile);
    }
    uint32_t tileAt(int x, int y) const { return px[size_t(y) % th * tw + size_t(x) % tw]; }

    uint32_t tw = 0, th = 0;
    std::vector<uint32_t> px;
    render::Bitmap tile;
    std::vector<platform::Subscription> layers;

    void TearDown() override {
        layers.clear();
        app::setDesktopImage(nullptr);
        GlTest::TearDown();
    }
};


TEST_F(Frame, DrawsOnlyWhenDirtyAndTilesTheDesktopImage) {
    useTile(7, 5);

    EXPECT_EQ(app::DrawFrame(), 1);  // a new device is dirty all over
    EXPECT_TRUE(GraphicsDevice::Get().DirtyRect().isEmpty());
    EXPECT_EQ(app::DrawFrame(), 0);  // nothing dirty: the loop may sleep
    auto s = screen();
    for (int y = 0; y < kHeight; ++y)
        for (int x = 0; x < kWidth; ++x)
            ASSERT_EQ(at(s, x, y), tileAt(x, y)) << x << "," << y;
}

TEST_F(Frame, ASmallDirtyRectangleChangesOnlyItsPixels) {
    useTile(7, 5);
    uint32_t cover = 0x000000FFu;  // red over everything
    layers.push_back(ui::drawOnFrameStep(ui::FrameStep::DesktopWindows, [&](render::RenderContext& c) {
        c.DrawRect(0, 0, kWidth, kHeight, cover, true);
        c.DrawLine(0, 0, kWidth - 1, kHeight - 1, 0x00FFFFFFu, 2.0f);
    }));
    ASSERT_EQ(app::DrawFrame(), 1);
    auto before = screen();

    cover = 0x00FF0000u;  // now blue
    Rect small{40, 30, 61, 47};
    GraphicsDevice::Get().Invalidate(&small);
    ASSERT_EQ(app::DrawFrame(), 1);
    auto after = screen();
    // Only the small rectangle went to the window, and the window shows the
    // same picture as the back buffer.
    std::vector<uint32_t> shown;
    ASSERT_TRUE(GraphicsDevice::Get().ReadWindow(shown));
    EXPECT_EQ(shown, after);
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            if (small.contains(x, y)) {
                bool offTheLine = std::abs(x * (kHeight - 1) - y * (kWidth - 1)) > 3 * kWidth;
                if (offTheLine) {
                    ASSERT_EQ(at(after, x, y), 0xFF0000FFu);
                }
            } else {
                ASSERT_EQ(at(after, x, y), at(before, x, y)) << x << "," << y;
            }
        }
    }
}

// A backdrop stands in for the desktop image and the steps under its step:
// a change over it only (a chat line) puts the copy back and draws the rest,
// with the same pixels as drawing everything; a change under it, a dirty
// rectangle reaching past it or a lost context draws everything again.
TEST_F(Frame, ABackdropStandsInForTheLayersUnderItsStep) {
    useTile(7, 5);
    const Rect area{20, 30, 130, 100};
    // Each layer has a spot whose colour changes; a change invalidates it.
    const Rect underSpot{15, 25, 60, 50}, overSpot{40, 45, 70, 58};
    int underDraws = 0;
    uint32_t under = 0x4000FF00u, over = 0x00FFFFFFu, spot = 0x0000FF00u;
    layers.push_back(ui::drawOnFrameStep(ui::FrameStep::ChatFrame, [&](render::RenderContext& c) {
        ++underDraws;
        c.DrawRect(10, 20, 140, 110, 0x40808000u, true);  // translucent: the tiles show through
        c.DrawRect(underSpot.left, underSpot.top, underSpot.right, underSpot.bottom, under, true);
    }));
    layers.push_back(ui::drawOnFrameStep(ui::FrameStep::ChatWindow, [&](render::RenderContext& c) {
        c.DrawRect(30, 40, 90, 60, over, true);
        c.DrawRect(overSpot.left, overSpot.top, overSpot.right, overSpot.bottom, spot, true);
        c.DrawLine(25, 95, 125, 35, 0x80FF00FFu, 3.0f);
    }));
    layers.push_back(ui::drawOnFrameStep(ui::FrameStep::DesktopWindows, [&](render::RenderContext& c) {
        c.DrawRect(100, 80, 150, 115, 0x800000FFu, true);  // above, and partly over the area
    }));
    layers.push_back(ui::keepBackdrop(ui::FrameStep::ChatWindow, [&] { return area; }));
    GraphicsDevice& device = GraphicsDevice::Get();
    // What drawing every layer gives, whatever was kept.
    auto everything = [&] {
        device.Invalidate(nullptr);
        EXPECT_EQ(app::DrawFrame(), 1);
        return screen();
    };

    ASSERT_EQ(app::DrawFrame(), 1);
    ASSERT_EQ(underDraws, 1);
    over = 0x000080FFu;
    device.InvalidateOverBackdrop(area);
    ASSERT_EQ(app::DrawFrame(), 1);
    EXPECT_EQ(underDraws, 1);  // put back, not drawn
    auto restored = screen();
    EXPECT_EQ(restored, everything());
    EXPECT_EQ(underDraws, 2);

    // Part of the area.
    spot = 0x00FF8000u;
    device.InvalidateOverBackdrop(overSpot);
    ASSERT_EQ(app::DrawFrame(), 1);
    EXPECT_EQ(underDraws, 2);
    auto part = screen();
    EXPECT_EQ(part, everything());
    EXPECT_EQ(underDraws, 3);

    // A change under the backdrop: its copy is stale. The frame that covers
    // the area draws everything and keeps a new one, which the next puts back.
    under = 0x40FF0000u;
    device.Invalidate(&underSpot);
    device.InvalidateOverBackdrop(area);
    ASSERT_EQ(app::DrawFrame(), 1);
    EXPECT_EQ(underDraws, 4);
    auto redrawn = screen();
    device.InvalidateOverBackdrop(area);
    ASSERT_EQ(app::DrawFrame(), 1);
    EXPECT_EQ(underDraws, 4);
    EXPECT_EQ(screen(), redrawn);
    EXPECT_EQ(redrawn, everything());
    EXPECT_EQ(underDraws, 5);

    // Dirty past the area: everything.
    Rect outside{140, 5, 150, 15};
    device.InvalidateOverBackdrop(area);
    device.Invalidate(&outside);
    ASSERT_EQ(app::DrawFrame(), 1);
    EXPECT_EQ(underDraws, 6);

    // A lost context takes the copy with it.
    ASSERT_EQ(device.RecreateContext(), 0);
    ASSERT_EQ(app::DrawFrame(), 1);
    EXPECT_EQ(underDraws, 7);
    device.InvalidateOverBackdrop(area);
    ASSERT_EQ(app::DrawFrame(), 1);
    EXPECT_EQ(underDraws, 7);
    EXPECT_EQ(screen(), redrawn);
}

// Reads a PNG into 0xAARRGGBB pixels.
bool readPng(const std::string& path, uint32_t& w, uint32_t& h, std::vector<uint32_t>& argb) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&image, path.c_str())) return false;
    image.format = PNG_FORMAT_BGRA;  // bytes B, G, R, A: 0xAARRGGBB on little-endian
    w = image.width;
    h = image.height;
    argb.assign(size_t(w) * h, 0);
    bool ok = png_image_finish_read(&image, nullptr, argb.data(), 0, nullptr) != 0;
    png_image_free(&image);
    return ok;
}

TEST_F(Frame, PrintScreenWritesTheNextFreeNumberTopRowFirst) {
    TempDir dir;
    platform::setWorkingDirectory(dir.path());
    EXPECT_EQ(app::nextScreenshotName(dir.path()), "screenshot0001.png");
    writeFile(dir.path() / "screenshot0001.png", "x");
    writeFile(dir.path() / "screenshot0003.png", "x");
    EXPECT_EQ(app::nextScreenshotName(dir.path()), "screenshot0002.png");  // the gap first

    // One red pixel near the top left, one green near the bottom right.
    layers.push_back(ui::drawOnFrameStep(ui::FrameStep::DesktopWindows, [&](render::RenderContext& c) {
        c.DrawRect(2, 1, 3, 2, 0x000000FFu, true);
        c.DrawRect(kWidth - 3, kHeight - 2, kWidth - 2, kHeight - 1, 0x0000FF00u, true);
    }));
    ASSERT_EQ(app::DrawFrame(), 1);
    EXPECT_EQ(app::SaveScreenshot(), "screenshot0002.png");
    uint32_t w = 0, h = 0;
    std::vector<uint32_t> png;
    ASSERT_TRUE(readPng((dir.path() / "screenshot0002.png").string(), w, h, png));
    ASSERT_EQ(w, uint32_t(kWidth));
    ASSERT_EQ(h, uint32_t(kHeight));
    EXPECT_EQ(png[1 * w + 2], 0xFFFF0000u);
    EXPECT_EQ(png[size_t(kHeight - 2) * w + kWidth - 3], 0xFF00FF00u);
    EXPECT_EQ(png[0], 0xFF000000u);
    EXPECT_EQ(app::nextScreenshotName(dir.path()), "screenshot0004.png");
}

TEST_F(Frame, BitmapsSaveAsColourOrAlphaPictures) {
    TempDir dir;
    render::Bitmap picture;
    std::vector<uint32_t> src{0x80FF0000u, 0xFF00FF00u, 0x000000FFu, 0x40102030u, 0xFFFFFFFFu, 0x01020304u};
    ASSERT_TRUE(picture.LoadFromPixels(3, 2, src.data()));
    ASSERT_TRUE(picture.SavePng(dir.path() / "colour.png"));
    ASSERT_TRUE(picture.SaveGrayscalePng(dir.path() / "alpha.png"));
    uint32_t w = 0, h = 0;
    std::vector<uint32_t> back;
    ASSERT_TRUE(readPng((dir.path() / "colour.png").string(), w, h, back));
    EXPECT_EQ(w, 3u);
    EXPECT_EQ(h, 2u);
    EXPECT_EQ(back, src);
    ASSERT_TRUE(readPng((dir.path() / "alpha.png").string(), w, h, back));
    for (size_t i = 0; i < src.size(); ++i) {
        uint32_t a = src[i] >> 24;
        EXPECT_EQ(back[i], 0xFF000000u | a << 16 | a << 8 | a) << i;
    }

    // A render target is read back from the device for it.
    render::Bitmap target;
    ASSERT_TRUE(target.CreateRenderTarget(4, 4));
    render::RenderContext* c = target.BeginRender();
    ASSERT_TRUE(c);
    c->BeginScene();
    c->DrawRect(1, 1, 3, 3, 0x00FF0000u, true);
    c->EndScene();
    target.EndRender();
    ASSERT_TRUE(target.SavePng(dir.path() / "target.png"));
    ASSERT_TRUE(readPng((dir.path() / "target.png").string(), w, h, back));
    EXPECT_EQ(back[0], 0u);
    EXPECT_EQ(back[5], 0xFF0000FFu);
    EXPECT_FALSE(render::Bitmap().SavePng(dir.path() / "empty.png"));
    EXPECT_FALSE(std::filesystem::exists(dir.path() / "empty.png"));
}

TEST_F(Frame, ALostContextDrawsTheSamePictureAfterwards) {
    useTile(9, 6);
    render::FreeTypeFont::Options options;
    options.pixelSize = 14;
    options.color = 0xFFFFFF80u;
    auto font = render::FreeTypeFont::Open(options);
    ASSERT_TRUE(font);
    // A cache picture like the chat's: a render target that its owner fills
    // before drawing it.
    render::Bitmap cache;
    ASSERT_TRUE(cache.CreateRenderTarget(40, 20));
    layers.push_back(ui::drawOnFrameStep(ui::FrameStep::ChatWindow, [&](render::RenderContext& c) {
        render::RenderContext* t = cache.BeginRender();
        ASSERT_TRUE(t);
        t->BeginScene();
        t->DrawRect(0, 0, 40, 20, 0x80FF8000u, true);
        t->EndScene();
        cache.EndRender();
        c.DrawBitmap(cache, 100, 80, 0xFFFFFFFFu);
        c.SetFont(font.get());
        Rect clip{0, 0, 90, kHeight};
        c.DrawText(5, 5, "Lost & found", 12, &clip);
        c.DrawLine(10, 100, 150, 60, 0x8000FF00u, 2.5f);
    }));
    ASSERT_EQ(app::DrawFrame(), 1);
    auto before = screen();

    ASSERT_EQ(GraphicsDevice::Get().RecreateContext(), 0);
    EXPECT_FALSE(GraphicsDevice::Get().IsResetting());
    ASSERT_TRUE(cache.Lock());  // a render target comes back empty
    for (uint32_t p : cache.Pixels()) ASSERT_EQ(p, 0u);
    cache.Unlock();
    ASSERT_EQ(app::DrawFrame(), 1);  // the new context is dirty all over
    auto after = screen();
    size_t differing = 0;
    for (size_t i = 0; i < before.size(); ++i) differing += before[i] != after[i];
    EXPECT_EQ(differing, 0u);
}

}  // namespace
}  // namespace lh::test
