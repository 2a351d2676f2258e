// The graphics device that the frame benchmarks draw on, and the step they
// time. A benchmark holds one BenchDevice for as long as it draws (usually
// as the first member of its scene, so that the scene's textures go before
// the device does) and skips with `failure()` when it could not be had.
#pragma once

#include <memory>

#include "render/Rect.h"

namespace lh::platform {
class Window;
}

namespace lh::bench {

// The window every frame benchmark draws in, so that their figures compare.
inline constexpr int kWidth = 1024, kHeight = 768;

// The platform, a kWidth x kHeight window titled "bench" and the graphics
// device on it; given up in the opposite order.
class BenchDevice {
public:
    BenchDevice();
    ~BenchDevice();
    BenchDevice(const BenchDevice&) = delete;
    BenchDevice& operator=(const BenchDevice&) = delete;

    bool ok() const { return why == nullptr; }
    // What is missing, for SkipWithError; null when ok().
    const char* failure() const { return why; }

private:
    bool platformUp = false;
    std::unique_ptr<platform::Window> window;
    const char* why = nullptr;
};

// Reads one pixel back: the GPU (llvmpipe when headless) must finish every
// frame before it, so the time taken includes the drawing, not only its
// submission.
void waitForFrame();

// Draws a frame of what is dirty now, and waits for it.
void drawAndWait();

// Marks `dirty` (null: the whole client area) to be drawn again, then draws
// the frame and waits for it.
void redrawAndWait(const render::Rect* dirty = nullptr);

}  // namespace lh::bench
