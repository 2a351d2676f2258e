// 2D drawing on the real device, read back from the back buffer: sprites
// texel for texel, tints, lines and rectangles in the platform colour form,
// shapes, clipped text, render targets across a reset.
#include <gtest/gtest.h>

#include <cmath>

#include "GlFixture.h"
#include "render/FreeTypeFont.h"
#include "render/RenderContext.h"

namespace lh::test {
namespace {

using render::GraphicsDevice;
using render::Rect;
using render::RenderContext;

class Drawing : public GlTest {
protected:
    // One whole frame drawn by `draw`, presented.
    template <typename F>
    void frame(F draw, Rect dirty = {0, 0, kWidth, kHeight}) {
        GraphicsDevice& device = GraphicsDevice::Get();
        device.BeginFrame(dirty);
        {
            RenderContext context(false, kWidth, kHeight);
            context.SetClipRect(dirty);
            context.BeginScene();
            device.SetDepthTest(false);
            draw(context);
            context.EndScene();
        }
        device.Present(dirty);
    }
};

TEST_F(Drawing, SpritesAreTexelForTexelCutToClipsAndBlended) {
    // An asymmetric picture: every pixel different, one transparent, one half.
    const uint32_t w = 4, h = 3;
    std::vector<uint32_t> px(w * h);
    for (uint32_t i = 0; i < w * h; ++i)
        px[i] = 0xFF000000u | (i * 20u << 16) | ((255 - i * 10) << 8) | (i * 7);
    px[5] = 0x00FFFFFFu;  // alpha 0 draws nothing
    px[6] = 0x80FF0000u;  // half red over black
    render::Bitmap bitmap;
    ASSERT_TRUE(bitmap.LoadFromPixels(w, h, px.data()));

    Rect cut{0, 0, 12, kHeight};
    frame([&](RenderContext& c) {
        c.DrawBitmap(bitmap, 10, 20, 0xFFFFFFFFu);
        c.DrawBitmap(bitmap, 10, 40, 0xFFFFFFFFu, &cut);  // only columns 10, 11
        c.SetClipRect({0, 0, kWidth, 62});
        c.DrawBitmap(bitmap, 30, 60, 0xFFFFFFFFu);  // only rows 60, 61
    });
    auto s = screen();
    for (uint32_t y = 0; y < h; ++y) {
        for (uint32_t x = 0; x < w; ++x) {
            size_t i = y * w + x;
            if (i == 5) {
                EXPECT_EQ(at(s, 10 + int(x), 20 + int(y)), 0xFF000000u);
            } else if (i == 6) {
                EXPECT_TRUE(near(at(s, 10 + int(x), 20 + int(y)), 0xFF800000u, 2));
            } else {
                EXPECT_EQ(at(s, 10 + int(x), 20 + int(y)), px[i]) << x << "," << y;
            }
        }
    }
    EXPECT_EQ(at(s, 9, 20), 0xFF000000u);
    EXPECT_EQ(at(s, 14, 22), 0xFF000000u);
    EXPECT_EQ(at(s, 10, 23), 0xFF000000u);
    EXPECT_EQ(at(s, 11, 40), px[1]);
    EXPECT_EQ(at(s, 12, 40), 0xFF000000u);
    EXPECT_EQ(at(s, 30, 61), px[4]);
    EXPECT_EQ(at(s, 30, 62), 0xFF000000u);
}

TEST_F(Drawing, TiledPartsRepeatTexelForTexelInOneQuad) {
    // A 4x3 picture; its part (1,1)-(3,3), 2x2, is repeated.
    const uint32_t w = 4, h = 3;
    std::vector<uint32_t> px(w * h);
    for (uint32_t i = 0; i < w * h; ++i) px[i] = 0xFF000000u | (i * 21u << 16) | (i * 13u << 8) | (255 - i * 9);
    render::Bitmap bitmap;
    ASSERT_TRUE(bitmap.LoadFromPixels(w, h, px.data()));
    auto texel = [&](int x, int y) { return px[size_t(y) * w + size_t(x)]; };

    Rect cut{0, 0, kWidth, 55};
    frame([&](RenderContext& c) {
        c.DrawBitmapTiled(bitmap, {1, 1, 3, 3}, {10, 10, 15, 17}, 0xFFFFFFFFu);  // 5x7: cut at the far edges
        c.DrawBitmapTiled(bitmap, {1, 1, 3, 3}, {40, 50, 44, 60}, 0xFFFFFFFFu, &cut);  // rows from 55 cut
        c.DrawBitmapTiled(bitmap, {3, 2, 5, 4}, {60, 10, 64, 14}, 0xFFFFFFFFu);  // reaches past the picture
    });
    auto s = screen();
    for (int y = 10; y < 17; ++y) {
        for (int x = 10; x < 15; ++x) {
            EXPECT_EQ(at(s, x, y), texel(1 + (x - 10) % 2, 1 + (y - 10) % 2)) << x << "," << y;
        }
    }
    EXPECT_EQ(at(s, 15, 10), 0xFF000000u);
    EXPECT_EQ(at(s, 10, 17), 0xFF000000u);
    EXPECT_EQ(at(s, 41, 54), texel(2, 1 + (54 - 50) % 2));
    EXPECT_EQ(at(s, 41, 55), 0xFF000000u);
    // Only texel (3,2) of the third part lies inside the picture.
    EXPECT_EQ(at(s, 60, 10), texel(3, 2));
    EXPECT_EQ(at(s, 61, 10), 0xFF000000u);
    EXPECT_EQ(at(s, 60, 11), 0xFF000000u);
    EXPECT_EQ(at(s, 62, 12), texel(3, 2));
}

TEST_F(Drawing, TintsMultiplyAndAlphaZeroTintDrawsNothing) {
    auto white = solidBitmap(8, 8, 0xFFFFFFFFu);
    auto colour = solidBitmap(8, 8, 0xFF4080C0u);
    frame([&](RenderContext& c) {
        c.DrawBitmap(*white, 0, 0, 0xFF00FF00u);
        c.DrawBitmap(*white, 10, 0, 0x80FFFFFFu);
        c.DrawBitmap(*white, 20, 0, 0x00FFFFFFu);
        c.DrawBitmap(*colour, 30, 0, 0xFF808080u);
        c.DrawBitmap(*white, 40, 0, 0xFFFFFFFFu);
        c.DrawBitmap(*colour, 40, 0, 0x80FFFFFFu);  // half over white
        auto shortLived = solidBitmap(4, 4, 0xFF123456u);
        c.DrawBitmap(*shortLived, 60, 0, 0xFFFFFFFFu);  // gone before the batch is sent
    });
    auto s = screen();
    EXPECT_TRUE(near(at(s, 4, 4), 0xFF00FF00u, 2));
    EXPECT_TRUE(near(at(s, 14, 4), 0xFF808080u, 2));
    EXPECT_EQ(at(s, 24, 4), 0xFF000000u);
    EXPECT_TRUE(near(at(s, 34, 4), 0xFF204060u, 2));
    EXPECT_TRUE(near(at(s, 44, 4), 0xFF9FBFDFu, 2));
    EXPECT_EQ(at(s, 61, 1), 0xFF123456u);
}

TEST_F(Drawing, LinesAndRectanglesTakePlatformColours) {
    Rect clip{0, 0, 80, kHeight};
    Rect below{0, 70, kWidth, kHeight};
    frame([&](RenderContext& c) {
        c.DrawLine(120, 70, 150, 70, 0x00FFFFFFu, 3.0f, &below);   // white, 3 wide on the clip's top row
        c.DrawLine(120, 69, 150, 69, 0x00FFFFFFu, 3.0f, &below);   // its centre outside: nothing
        c.DrawLine(79, 90, 79, 110, 0x00FFFFFFu, 3.0f, &clip);     // on the clip's last column
        EXPECT_EQ(c.DrawLine(5, 10, 60, 10, 0x000000FFu, 1.0f), 1);  // opaque red
        c.DrawLine(5, 20, 60, 20, 0x800000FFu, 1.0f);                // half red
        c.DrawLine(30, 30, 30, 50, 0x0000FF00u, 3.0f);               // green, 3 wide
        c.DrawLine(70, 60, 150, 60, 0x00FF0000u, 1.0f, &clip);       // blue, cut at x 80
        c.DrawRect(100, 10, 110, 15, 0x0000FFFFu, true);             // yellow block
        c.DrawRect(100, 30, 110, 40, 0x80FFFFFFu, false);            // outline: always opaque
    });
    auto s = screen();
    EXPECT_TRUE(near(at(s, 30, 10), 0xFFFF0000u, 2));
    EXPECT_TRUE(near(at(s, 5, 10), 0xFFFF0000u, 2));
    EXPECT_EQ(at(s, 30, 12), 0xFF000000u);
    EXPECT_EQ(at(s, 30, 8), 0xFF000000u);
    EXPECT_TRUE(near(at(s, 30, 20), 0xFF800000u, 2));
    EXPECT_TRUE(near(at(s, 29, 40), 0xFF00FF00u, 2));
    EXPECT_TRUE(near(at(s, 31, 40), 0xFF00FF00u, 2));
    EXPECT_EQ(at(s, 33, 40), 0xFF000000u);
    EXPECT_TRUE(near(at(s, 75, 60), 0xFF0000FFu, 2));
    EXPECT_EQ(at(s, 82, 60), 0xFF000000u);
    // A wide line along a clip edge keeps the part of its width inside.
    EXPECT_EQ(at(s, 135, 69), 0xFF000000u);
    EXPECT_TRUE(near(at(s, 135, 70), 0xFFFFFFFFu, 2));
    EXPECT_TRUE(near(at(s, 135, 71), 0xFFFFFFFFu, 2));
    EXPECT_EQ(at(s, 135, 72), 0xFF000000u);
    EXPECT_TRUE(near(at(s, 78, 100), 0xFFFFFFFFu, 2));
    EXPECT_TRUE(near(at(s, 79, 100), 0xFFFFFFFFu, 2));
    EXPECT_EQ(at(s, 80, 100), 0xFF000000u);
    EXPECT_EQ(at(s, 100, 10), 0xFFFFFF00u);
    EXPECT_EQ(at(s, 109, 14), 0xFFFFFF00u);
    EXPECT_EQ(at(s, 110, 12), 0xFF000000u);
    EXPECT_EQ(at(s, 105, 15), 0xFF000000u);
    EXPECT_TRUE(near(at(s, 100, 30), 0xFFFFFFFFu, 2));
    EXPECT_TRUE(near(at(s, 109, 39), 0xFFFFFFFFu, 2));
    EXPECT_TRUE(near(at(s, 105, 30), 0xFFFFFFFFu, 2));
    EXPECT_TRUE(near(at(s, 100, 35), 0xFFFFFFFFu, 2));
    EXPECT_EQ(at(s, 105, 35), 0xFF000000u);
}

TEST_F(Drawing, EllipsesAndArcsFollowTheirRims) {
    frame([&](RenderContext& c) {
        c.DrawEllipse(20, 20, 60, 60, 0x00FFFFFFu, 1.0f);                      // centre 40,40, radius 20
        c.DrawArc(110.0f, 60.0f, 30.0f, 0.0f, 1.5707963f, 0x00FFFFFFu, 1.0f);  // top to right
    });
    auto s = screen();
    auto lit = [&](int x, int y) { return (at(s, x, y) & 0xFF) > 0x60; };
    EXPECT_TRUE(lit(40, 20));
    EXPECT_TRUE(lit(40, 60) || lit(40, 59));
    EXPECT_TRUE(lit(20, 40) || lit(21, 40));
    EXPECT_FALSE(lit(40, 40));
    EXPECT_TRUE(lit(110, 30));
    EXPECT_TRUE(lit(140, 60) || lit(139, 60));
    EXPECT_FALSE(lit(80, 60));
    EXPECT_FALSE(lit(110, 90));
}

TEST_F(Drawing, TextIsCutToTheClipAndMeasured) {
    render::FreeTypeFont::Options options;
    options.pixelSize = 16;
    options.color = 0xFFFFFFFFu;
    auto font = render::FreeTypeFont::Open(options);
    ASSERT_TRUE(font) << "no system font found";
    const char text[] = "Hello \xE9t\xE9";  // Windows-1252 e acute
    const int32_t len = int32_t(sizeof text - 1);

    RenderContext measuring;  // no size: measures, draws nothing
    EXPECT_EQ(measuring.MeasureText(text, len).width, 0);
    measuring.SetFont(font.get());
    render::TextSize size = measuring.MeasureText(text, len);
    EXPECT_GT(size.width, 50);
    EXPECT_EQ(size.height, font->LineHeight());
    EXPECT_GT(measuring.MeasureText("\xE9", 1).width, 4);
    int32_t extent = 0;
    int32_t index = measuring.HitTestText(text, len, size.width / 2, extent);
    EXPECT_GT(index, 0);
    EXPECT_LT(index, len);
    EXPECT_LE(extent, size.width / 2);
    EXPECT_EQ(measuring.FitText(text, len, 10000), len);

    Rect clip{0, 0, 40, kHeight};
    frame([&](RenderContext& c) {
        c.SetFont(font.get());
        c.DrawText(10, 10, text, len, &clip);
        c.DrawText(10, 50, text, len);
        c.PushFont();
        c.SetFont(nullptr);
        c.DrawText(10, 90, text, len);  // no font: nothing
        c.PopFont();
        EXPECT_EQ(c.GetFont(), font.get());
    });
    auto s = screen();
    auto litIn = [&](int x0, int x1, int y0, int y1) {
        int n = 0;
        for (int y = y0; y < y1; ++y)
            for (int x = x0; x < x1; ++x) n += (at(s, x, y) & 0xFF) > 0x80;
        return n;
    };
    EXPECT_GT(litIn(10, 40, 10, 10 + size.height), 20);
    EXPECT_EQ(litIn(40, kWidth, 10, 10 + size.height), 0);
    EXPECT_GT(litIn(40, kWidth, 50, 50 + size.height), 20);
    EXPECT_EQ(litIn(0, kWidth, 90, kHeight), 0);
    EXPECT_EQ(litIn(0, 10, 0, kHeight), 0);  // nothing left of the pen
}

// Text in a colour of its own: the glyphs of a white font come out in that
// colour, and the next plain text is in the font's colour again.
TEST_F(Drawing, TextDrawsInAGivenColourForThatCallOnly) {
    render::FreeTypeFont::Options options;
    options.pixelSize = 24;
    options.color = 0xFFFFFFFFu;
    auto font = render::FreeTypeFont::Open(options);
    ASSERT_TRUE(font) << "no system font found";
    frame([&](RenderContext& c) {
        c.SetFont(font.get());
        c.DrawTextInColor(10, 10, "MMMM", 4, 0xFFAFAFAFu);
        c.DrawTextInColor(10, 50, "MMMM", 4, 0xFF20C040u);
        c.DrawText(10, 90, "MMMM", 4);
    });
    auto s = screen();
    auto brightest = [&](int y0) { return brightestIn(s, kWidth, 0, y0, kWidth, y0 + 30); };
    EXPECT_TRUE(near(brightest(10), 0xFFAFAFAFu, 2));
    EXPECT_TRUE(near(brightest(50), 0xFF20C040u, 2));
    EXPECT_TRUE(near(brightest(90), 0xFFFFFFFFu, 2));
}

TEST_F(Drawing, RenderTargetsDrawMidFrameAndComeBackEmptyAfterReset) {
    GraphicsDevice& device = GraphicsDevice::Get();
    render::Bitmap target;
    ASSERT_TRUE(target.CreateRenderTarget(16, 8));
    auto tile = solidBitmap(4, 4, 0xFF0000FFu);

    // Paint the whole screen green, then a frame of a small dirty rectangle
    // that draws into the target and then onto the screen.
    frame([&](RenderContext& c) { c.DrawRect(0, 0, kWidth, kHeight, 0x0000FF00u, true); });
    Rect dirty{40, 40, 80, 60};
    frame(
        [&](RenderContext& c) {
            RenderContext* t = target.BeginRender();
            ASSERT_TRUE(t);
            t->BeginScene();
            t->DrawRect(0, 0, 16, 8, 0x000000FFu, true);  // red
            t->DrawBitmap(*tile, 12, 0, 0xFFFFFFFFu);     // blue corner
            t->EndScene();
            target.EndRender();
            // Back on the screen: the frame's scissor and size are back too.
            c.DrawRect(0, 0, kWidth, kHeight, 0x00000000u, true);
            c.DrawBitmap(target, 50, 45, 0xFFFFFFFFu);
        },
        dirty);
    auto s = screen();
    EXPECT_EQ(at(s, 50, 45), 0xFFFF0000u);
    EXPECT_EQ(at(s, 62, 45), 0xFF0000FFu);  // the target's top row is its first row
    EXPECT_EQ(at(s, 62, 52), 0xFFFF0000u);
    EXPECT_EQ(at(s, 45, 41), 0xFF000000u);
    EXPECT_EQ(at(s, 10, 10), 0xFF00FF00u);  // outside the dirty rectangle: untouched
    EXPECT_EQ(at(s, 80, 50), 0xFF00FF00u);

    ASSERT_TRUE(target.Lock());
    EXPECT_EQ(target.GetPixel(0, 0, true), 0xFFFF0000u);
    EXPECT_EQ(target.GetPixel(15, 3, true), 0xFF0000FFu);
    target.Unlock();

    RenderContext scenes(false, kWidth, kHeight);
    scenes.BeginScene();
    scenes.BeginScene();
    EXPECT_EQ(device.SceneDepth(), 2);
    scenes.EndScene();
    EXPECT_EQ(device.SceneDepth(), 1);
    scenes.EndScene();
    EXPECT_EQ(device.SceneDepth(), 0);

    ASSERT_EQ(device.Reset(), 0);
    EXPECT_FALSE(device.IsResetting());
    EXPECT_EQ(device.DirtyRect(), (Rect{0, 0, kWidth, kHeight}));
    EXPECT_EQ(target.GetState(), render::Bitmap::RenderTarget);
    ASSERT_TRUE(target.Lock());
    for (uint32_t p : target.Pixels()) ASSERT_EQ(p, 0u);
    target.Unlock();
    // Pictures of the other kinds survive.
    frame([&](RenderContext& c) { c.DrawBitmap(*tile, 0, 0, 0xFFFFFFFFu); });
    EXPECT_EQ(at(screen(), 3, 3), 0xFF0000FFu);
}

TEST_F(Drawing, PixelAccessOnWritableBitmaps) {
    render::Bitmap b;
    ASSERT_TRUE(b.CreateEmpty(4, 4, false));
    ASSERT_TRUE(b.Lock());
    b.SetPixelRgb(1, 2, 0x00FF8040u);  // platform colour: red 0x40
    b.SetPixelAlpha(1, 2, 0xFF);
    b.SetPixelRgb(9, 9, 0x00FFFFFFu);  // outside: ignored
    EXPECT_EQ(b.GetPixel(1, 2, true), 0xFF4080FFu);
    EXPECT_EQ(b.GetPixel(1, 2, false), 0x004080FFu);
    EXPECT_EQ(b.GetPixelAlpha(0, 0), 0);
    b.Unlock();
    frame([&](RenderContext& c) { c.DrawBitmap(b, 20, 20, 0xFFFFFFFFu); });
    auto s = screen();
    EXPECT_EQ(at(s, 21, 22), 0xFF4080FFu);
    EXPECT_EQ(at(s, 20, 20), 0xFF000000u);  // alpha 0: nothing

    EXPECT_FALSE(b.LoadFromPixels(0, 4, nullptr));
    EXPECT_TRUE(b.IsEmpty());
    frame([&](RenderContext& c) { c.DrawBitmap(b, 20, 20, 0xFFFFFFFFu); });  // empty: draws nothing
    EXPECT_EQ(at(screen(), 21, 22), 0xFF000000u);
}

TEST_F(Drawing, StreamedBitmapsTakeBoxesAndKeepNoCopy) {
    render::Bitmap b;
    ASSERT_TRUE(b.CreateStreamed(4, 4));
    EXPECT_TRUE(b.ContentLost());
    std::vector<uint32_t> all(16, 0xFF102030u);
    b.WriteBox({0, 0, 4, 4}, all.data(), 4);
    EXPECT_FALSE(b.ContentLost());
    EXPECT_TRUE(b.IsOpaque());
    // A box of 2 x 2 from memory with rows of 3; one pixel transparent.
    std::vector<uint32_t> box{0xFF4080FFu, 0xFF4080FFu, 0xDEADBEEFu, 0x00000000u, 0xFF4080FFu, 0xDEADBEEFu};
    b.WriteBox({1, 1, 3, 3}, box.data(), 3);
    EXPECT_FALSE(b.IsOpaque());
    EXPECT_TRUE(b.Pixels().empty());
    EXPECT_FALSE(b.Lock());
    frame([&](RenderContext& c) { c.DrawBitmap(b, 20, 20, 0xFFFFFFFFu); });
    auto s = screen();
    EXPECT_EQ(at(s, 20, 20), 0xFF102030u);
    EXPECT_EQ(at(s, 21, 21), 0xFF4080FFu);
    EXPECT_EQ(at(s, 22, 22), 0xFF4080FFu);
    EXPECT_EQ(at(s, 21, 22), 0xFF000000u);  // alpha 0: nothing
    EXPECT_EQ(at(s, 23, 23), 0xFF102030u);
}

}  // namespace
}  // namespace lh::test

namespace lh::test {
namespace {

struct Listener : render::DeviceResource {
    explicit Listener(std::vector<std::string>& l, std::string n) : log(l), name(std::move(n)) {
        GraphicsDevice::Get().Register(this);
    }
    ~Listener() override { GraphicsDevice::Get().Unregister(this); }
    void OnDeviceLost() override { log.push_back("lost " + name); }
    void OnDeviceReset() override { log.push_back("reset " + name); }
    std::vector<std::string>& log;
    std::string name;
};

TEST_F(Drawing, ResetTellsEveryResourceInSetOrderAndDirtiesEverything) {
    GraphicsDevice& device = GraphicsDevice::Get();
    std::vector<std::string> log;
    auto a = std::make_unique<Listener>(log, "a");
    auto b = std::make_unique<Listener>(log, "b");
    // The set is ordered by address; name them in that order.
    std::string first = a.get() < b.get() ? "a" : "b", second = first == "a" ? "b" : "a";

    device.ClearDirtyRect();
    Rect one{10, 10, 20, 20}, two{30, 5, 40, 12};
    device.Invalidate(&one);
    device.Invalidate(&two);
    EXPECT_EQ(device.DirtyRect(), (Rect{10, 5, 40, 20}));

    ASSERT_EQ(device.Reset(), 0);
    EXPECT_EQ(log, (std::vector<std::string>{"lost " + first, "lost " + second, "reset " + first,
                                             "reset " + second}));
    EXPECT_EQ(device.DirtyRect(), (Rect{0, 0, kWidth, kHeight}));

    // While closing, registering does nothing: a resource made then is not told.
    log.clear();
    a.reset();
    b.reset();
    device.SetClosing(true);
    Listener late(log, "late");
    device.SetClosing(false);
    ASSERT_EQ(device.Reset(), 0);
    EXPECT_TRUE(log.empty());
}

}  // namespace
}  // namespace lh::test
