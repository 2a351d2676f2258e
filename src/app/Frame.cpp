// The frame and the screenshot. No GL here: the device and the render
// context do the drawing.
#include "app/Frame.h"

#include <cstdio>
#include <vector>

#include "db/SessionMode.h"
#include "platform/Paths.h"
#include "platform/Trace.h"
#include "render/Bitmap.h"
#include "render/GraphicsDevice.h"
#include "render/PngWriter.h"
#include "render/RenderContext.h"
#include "ui/FrameLayers.h"

namespace lh::app {

namespace {

FrameState state;
render::Bitmap* desktopImage = nullptr;

using ui::FrameStep;

void run(FrameStep step, render::RenderContext& context) { ui::runFrameStep(step, context); }

bool desktopModal() {
    return state.desktopModal ? state.desktopModal() : false;
}
uint32_t desktopLight() {
    return state.desktopLightColor ? state.desktopLightColor() : 0xFFFFFFFFu;
}

// Tiles from the top left corner of the client area, but only the tiles that
// meet the clip rectangle: a small dirty rectangle costs a tile or four.
void tileDesktopImage(render::RenderContext& context) {
    if (!desktopImage || desktopImage->IsEmpty()) return;
    const int32_t w = int32_t(desktopImage->GetWidth()), h = int32_t(desktopImage->GetHeight());
    const render::Rect& clip = context.ClipRect();
    if (clip.isEmpty()) return;
    const uint32_t color = desktopLight();
    const int32_t firstX = clip.left > 0 ? clip.left / w * w : 0;
    const int32_t firstY = clip.top > 0 ? clip.top / h * h : 0;
    for (int32_t y = firstY; y < clip.bottom; y += h) {
        for (int32_t x = firstX; x < clip.right; x += w) context.DrawBitmap(*desktopImage, x, y, color);
    }
}

// The tiles lay opaque pixels over every part of the frame: nothing of the
// last picture shows through, so the frame need not clear first.
bool desktopCoversFrame() {
    return desktopImage && !desktopImage->IsEmpty() && desktopImage->IsOpaque() && (desktopLight() >> 24) == 0xFF;
}

}  // namespace

void setFrameState(FrameState s) {
    state = std::move(s);
}

void setDesktopImage(render::Bitmap* image) {
    desktopImage = image;
}

void drawFrameLayers(render::RenderContext& context, std::optional<FrameStep> from) {
    // Steps before `from` lie under the backdrop that was put back.
    auto due = [&from](FrameStep step) { return !from || step >= *from; };
    if (!from) tileDesktopImage(context);
    if (db::sessionMode() != db::SessionMode::LocalCharacters) {
        for (FrameStep step : {FrameStep::ChatFrame, FrameStep::ModifierCollector, FrameStep::ChatWindow,
                               FrameStep::ChatEntry, FrameStep::HotkeyBar}) {
            if (due(step)) run(step, context);
        }
    }
    if (due(FrameStep::CharacterList)) run(FrameStep::CharacterList, context);
    if (db::isHost() && due(FrameStep::IdentityList)) run(FrameStep::IdentityList, context);
    run(FrameStep::DesktopTokens, context);
    run(FrameStep::DesktopWindows, context);
    run(FrameStep::DieBox, context);
    if (!desktopModal()) {
        // The dice go between two sprite batches, depth tested.
        context.EndSprites();
        render::GraphicsDevice::Get().SetDepthTest(true);
        run(FrameStep::DiceScene, context);
        context.BeginSprites();
        render::GraphicsDevice::Get().SetDepthTest(false);
    }
    run(FrameStep::DragImage, context);
    run(FrameStep::RadialMenu, context);
}

bool framePending() {
    render::GraphicsDevice& device = render::GraphicsDevice::Get();
    return !device.IsResetting() && device.IsCreated() && !device.DirtyRect().isEmpty();
}

int DrawFrame() {
    render::GraphicsDevice& device = render::GraphicsDevice::Get();
    const render::Rect dirty = device.DirtyRect();
    if (device.IsResetting() || !device.IsCreated() || dirty.isEmpty()) return 0;

    // A backdrop put back holds every pixel under its step, as the tiles do.
    const std::optional<FrameStep> from = ui::beginFrameOverBackdrops(dirty, device.DirtyUnderBackdrops());
    device.BeginFrame(dirty, !from && !desktopCoversFrame());
    {
        render::RenderContext context(false, device.Width(), device.Height());
        context.SetClipRect(render::intersect(dirty, render::Rect{0, 0, device.Width(), device.Height()}));
        device.ClearDirtyRect();
        context.BeginScene();
        device.SetDepthTest(false);
        drawFrameLayers(context, from);
        context.EndScene();
    }
    // A GPU reset loses the context: the frame still counts as drawn, and
    // the device is rebuilt at once (everything dirty again).
    if (device.Present(dirty) != 0) device.RecreateContext();
    return 1;
}

std::string nextScreenshotName(const std::filesystem::path& dir) {
    char name[32];
    for (uint32_t n = 1; n != 0; ++n) {
        std::snprintf(name, sizeof name, "screenshot%04u.png", n);
        std::FILE* f = std::fopen((dir / name).c_str(), "rb");
        if (!f) return name;
        std::fclose(f);
    }
    return {};
}

bool saveScreenshotAs(const std::string& name) {
    render::GraphicsDevice& device = render::GraphicsDevice::Get();
    std::vector<uint32_t> pixels;
    render::Rect taken;
    if (!device.ReadBackBuffer(render::Rect{0, 0, device.Width(), device.Height()}, pixels, &taken))
        return false;
    if (taken.isEmpty()) return false;
    if (!render::writePng(platform::workingDirectory() / name, uint32_t(taken.width()), uint32_t(taken.height()),
                          pixels.data(), render::PngLayout::Rgb)) {
        return false;
    }
    platform::trace("screenshot %s", name.c_str());
    return true;
}

std::string SaveScreenshot() {
    std::string name = nextScreenshotName(platform::workingDirectory());
    if (name.empty() || !saveScreenshotAs(name)) return {};
    return name;
}

}  // namespace lh::app
