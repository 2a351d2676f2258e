// Window layout: absolute controls from their bounds, which set the bands;
// flow controls stacked in GROUP rows between the bands; controls below the
// bottom band cut; sub-windows laid out alike, a taller one causing one more
// pass. The top left corner stays unless the window is new.
#include <algorithm>

#include "ui/Desktop.h"
#include "ui/Window.h"

namespace lh::ui {

namespace {

// What an absolute control needs along one axis to fit: its start, its
// content, and the distance it keeps from the far edge.
int32_t need(int32_t start, int32_t length, int32_t content) {
    int32_t lead = start < 0 ? -start : start;
    return lead + content + (length < 0 ? -length : 0);
}

}  // namespace

void Window::Layout(bool first, bool force) { layoutPass(first, force, false); }

void Window::layoutPass(bool first, bool force, bool secondPass) {
    const WindowClass& c = windowClass;
    // 1. The working rectangle.
    render::Rect work = openRect();
    int32_t topBand = 0, bottomBand = 0;
    const bool sizeFromContent = first && !c.hasDefaultSize;
    const bool heightFromContent = first && (!c.hasDefaultSize || c.defaultHeight == 0);

    // 2. A window without a default size takes the size its absolute
    // controls need.
    if (sizeFromContent) {
        int32_t width = 0, height = 0;
        for (auto& control : controls) {
            if (!control->isAbsolute) continue;
            Size size;
            control->Measure(size, control->rect.width());
            width = std::max(width, need(control->boundLeft, control->boundWidth, size.width));
            height = std::max(height, need(control->boundTop, control->boundHeight, size.height));
        }
        // A sub-window keeps its parent's width: only its height is its own.
        if (!parentWindow) work.right = work.left + width;
        work.bottom = work.top + height;
    }
    // 3. Within the class's limits.
    auto clamp = [&c](render::Rect& r) {
        r.right = r.left + std::clamp(r.width(), std::min(c.minWidth, c.maxWidth), c.maxWidth);
        r.bottom = r.top + std::clamp(r.height(), std::min(c.minHeight, c.maxHeight), c.maxHeight);
    };
    clamp(work);

    // 4. Absolute controls, and the bands they hold at the top and bottom.
    Size workSize{work.width(), work.height()};
    for (auto& control : controls) {
        if (!control->isAbsolute) continue;
        control->ComputeRect(&workSize);
        control->Arrange(force);
        if (control->notCounted) continue;
        if (control->boundTop < 0) bottomBand = std::max(bottomBand, -control->boundTop);
        else topBand = std::max(topBand, control->rect.bottom);
    }
    // 5. The class's own margins.
    topBand = std::max(topBand, c.minTopMargin);
    bottomBand = std::max(bottomBand, c.minBottomMargin);

    // 6. Flow controls, a row per group.
    int32_t cursor = 0, rowHeight = 0;
    const std::string* currentGroup = nullptr;
    static const std::string kNoGroup;
    currentGroup = &kNoGroup;
    for (auto& control : controls) {
        if (control->isAbsolute) continue;
        if (control->groupId != *currentGroup) {
            cursor += rowHeight;
            rowHeight = 0;
            currentGroup = &control->groupId;
        }
        int32_t left, right;
        control->FlowExtent(work.width(), left, right);
        Size size;
        control->Measure(size, right - left);
        int32_t top = control->marginTop + cursor + topBand;
        control->rect = {left, top, right, top + control->marginBottom + size.height};
        control->Arrange(force);
        rowHeight = std::max(rowHeight, control->marginTop + control->marginBottom + size.height);
    }

    // 7. A window sized by its content grows to hold the rows.
    if (heightFromContent) {
        int32_t height = topBand + cursor + rowHeight + bottomBand;
        const int32_t before = work.height();
        if (work.height() < height) work.bottom = work.top + height;
        clamp(work);
        // Controls placed from the bottom edge follow the new height, or
        // they would float where the edge stood before the rows counted.
        if (work.height() != before) {
            workSize = {work.width(), work.height()};
            for (auto& control : controls) {
                if (!control->isAbsolute) continue;
                control->ComputeRect(&workSize);
                control->Arrange(force);
            }
        }
    }

    // 8. Flow controls that reach below the bottom band are cut at it.
    const int32_t cutLine = work.height() - bottomBand;
    for (auto& control : controls) {
        if (control->isAbsolute) continue;
        render::Rect& r = control->rect;
        if (r.top <= cutLine && r.bottom <= cutLine) continue;
        r.top = std::min(r.top, cutLine);
        r.bottom = std::min(r.bottom, cutLine);
        control->Arrange(force);
    }

    // 9. Sub-windows on the same rectangle; a taller one needs another pass.
    bool secondPassDue = false;
    for (auto& [key, sub] : subWindows) {
        sub->rect = work;
        sub->layoutPass(first, false, secondPass);
        if (sub->rect.height() > work.height()) {
            work.bottom = work.top + sub->rect.height();
            secondPassDue = true;
        }
    }

    // 10. A new window sized by its content is centred, then put at its
    // default position; again when a sub-window made it taller. Sub-windows
    // stay on their parent, desktop windows on their anchor.
    const bool anchored = c.desktopWindow && c.hasDefaultSize && c.hasDefaultPosition;
    if (first && !parentWindow && !anchored && (!c.hasDefaultSize || secondPassDue)) {
        centreInClientArea(work);
        if (c.hasDefaultPosition) {
            work = {c.defaultX, c.defaultY, c.defaultX + work.width(), c.defaultY + work.height()};
        }
    }

    // 11. Keep it; one more pass when a sub-window asked for it.
    Invalidate();
    if (minimized) {
        restoreRect = work;
    } else {
        rect = work;
        for (auto& [key, sub] : subWindows) sub->rect = work;
    }
    Invalidate();
    if (secondPassDue && !secondPass) layoutPass(false, force, true);
}

}  // namespace lh::ui
