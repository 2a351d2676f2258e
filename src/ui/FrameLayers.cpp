// One signal a frame step.
#include "ui/FrameLayers.h"

#include <array>

namespace lh::ui {
namespace {

using StepSignal = platform::Signal<void(render::RenderContext&)>;

std::array<StepSignal, size_t(FrameStep::Count)>& steps() {
    static std::array<StepSignal, size_t(FrameStep::Count)> s;
    return s;
}

}  // namespace

platform::Subscription drawOnFrameStep(FrameStep step, FrameDraw draw) {
    if (step >= FrameStep::Count || !draw) return {};
    return steps()[size_t(step)].subscribe(std::move(draw));
}

void runFrameStep(FrameStep step, render::RenderContext& context) {
    if (step >= FrameStep::Count) return;
    steps()[size_t(step)].emit(context);
}

}  // namespace lh::ui
