// One signal a frame step, and the backdrops kept under steps.
#include "ui/FrameLayers.h"

#include <array>
#include <memory>

#include "render/Backdrop.h"
#include "render/RenderContext.h"

namespace lh::ui {
namespace {

using StepSignal = platform::Signal<void(render::RenderContext&)>;

std::array<StepSignal, size_t(FrameStep::Count)>& steps() {
    static std::array<StepSignal, size_t(FrameStep::Count)> s;
    return s;
}

struct KeptBackdrop {
    KeptBackdrop(FrameStep s, std::function<render::Rect()> a) : step(s), area(std::move(a)) {}
    FrameStep step;
    std::function<render::Rect()> area;
    render::Backdrop copy;
    // Set at a frame's start when this frame draws what lies under the
    // step: the step may keep the picture it finds.
    bool due = false;
};

// Each handler hands out its backdrop; the backdrop goes with the handle.
using BackdropList = platform::Signal<KeptBackdrop*()>;

BackdropList& backdrops() {
    static BackdropList b;
    return b;
}

template <class Visit>
void forEachBackdrop(Visit&& visit) {
    backdrops().forEach([&](const BackdropList::Handler& h) { visit(*h()); });
}

bool covers(const render::Rect& outer, const render::Rect& inner) {
    return !inner.isEmpty() && render::intersect(outer, inner) == inner;
}

}  // namespace

platform::Subscription drawOnFrameStep(FrameStep step, FrameDraw draw) {
    if (step >= FrameStep::Count || !draw) return {};
    return steps()[size_t(step)].subscribe(std::move(draw));
}

void runFrameStep(FrameStep step, render::RenderContext& context) {
    if (step >= FrameStep::Count) return;
    forEachBackdrop([&](KeptBackdrop& b) {
        if (b.step != step || !b.due) return;
        b.due = false;
        const render::Rect area = b.area();
        if (covers(context.ClipRect(), area)) b.copy.Keep(area);
    });
    steps()[size_t(step)].emit(context);
}

platform::Subscription keepBackdrop(FrameStep step, std::function<render::Rect()> area) {
    if (step >= FrameStep::Count || !area) return {};
    auto kept = std::make_shared<KeptBackdrop>(step, std::move(area));
    return backdrops().subscribe([kept] { return kept.get(); });
}

std::optional<FrameStep> beginFrameOverBackdrops(const render::Rect& dirty, const render::Rect& dirtyUnder) {
    std::optional<FrameStep> from;
    forEachBackdrop([&](KeptBackdrop& b) {
        const render::Rect area = b.area();
        // A moved area, or a change under it, makes the copy stale.
        if (b.copy.Area() != area || !render::intersect(area, dirtyUnder).isEmpty()) b.copy.Forget();
        b.due = true;
        if (!from && b.copy.Holds(dirty) && b.copy.Restore(dirty)) {
            from = b.step;
            b.due = false;
        }
    });
    return from;
}

}  // namespace lh::ui
