// The frame drawn in idle time: only when something is dirty, only inside
// the dirty rectangle, in the fixed order of ui/FrameLayers.h, into which the
// subsystems put their drawing; the frame itself knows only the desktop
// image and which layers a mode leaves out. Also the Print Screen picture.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include "ui/FrameLayers.h"

namespace lh::render {
class Bitmap;
class RenderContext;
}  // namespace lh::render

namespace lh::app {

// What the frame asks of the rest of the program each time it draws; the way
// in it reads from db::sessionMode().
struct FrameState {
    std::function<bool()> desktopModal;
    std::function<uint32_t()> desktopLightColor;  // 0xAARRGGBB
};
void setFrameState(FrameState state);

// The picture tiled under everything; null draws none.
void setDesktopImage(render::Bitmap* image);

// Draws a frame if the dirty rectangle is not empty and the device is not
// resetting: 1 if it drew, 0 if there was nothing to draw (the loop sleeps).
int DrawFrame();
// True when DrawFrame would draw: something is dirty and the device is up.
bool framePending();

// The layers of a frame into `context` (whose clip rectangle is the dirty
// rectangle), without the device's clear and present: DrawFrame's middle,
// which tests run on a recording context. With `from`, a backdrop already
// holds what the desktop image and the steps before it drew.
void drawFrameLayers(render::RenderContext& context, std::optional<ui::FrameStep> from = std::nullopt);

// The first "screenshotNNNN.png" (from 0001) that does not exist in `dir`.
std::string nextScreenshotName(const std::filesystem::path& dir);
// Writes the client area to the next screenshot name in the working
// directory. The file name written, or "" on failure (no message).
std::string SaveScreenshot();
// The same under a given name in the working directory (the test driver's).
bool saveScreenshotAs(const std::string& name);

}  // namespace lh::app
