#include "support/BenchGl.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <vector>

#include "app/Frame.h"
#include "platform/Platform.h"
#include "platform/Window.h"
#include "render/GraphicsDevice.h"

namespace lh::bench {

BenchDevice::BenchDevice() {
    std::string error;
    if (!platform::initialize(error)) {
        why = "no platform";
        return;
    }
    platformUp = true;
    window.reset(platform::Window::create("bench", kWidth, kHeight));
    if (!window || render::GraphicsDevice::Get().Create(*window) != 0) why = "no OpenGL device";
}

BenchDevice::~BenchDevice() {
    render::GraphicsDevice::Get().Destroy();
    window.reset();
    if (platformUp) platform::shutdown();
}

void waitForFrame() {
    std::vector<uint32_t> px;
    render::GraphicsDevice::Get().ReadBackBuffer({0, 0, 1, 1}, px);
}

void drawAndWait() {
    benchmark::DoNotOptimize(app::DrawFrame());
    waitForFrame();
}

void redrawAndWait(const render::Rect* dirty) {
    render::GraphicsDevice::Get().Invalidate(dirty);
    drawAndWait();
}

}  // namespace lh::bench
