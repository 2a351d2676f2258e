// Where the nine parts of a frame go.
#include "ui/FrameGeometry.h"

#include <algorithm>

namespace lh::ui {

std::vector<FramePiece> layoutFrame(const std::array<Rect, kFrameParts>& src, const Rect& t) {
    auto w = [&](FramePart p) { return src[p].width(); };
    auto h = [&](FramePart p) { return src[p].height(); };
    std::vector<FramePiece> pieces;
    auto add = [&](FramePart p, Rect target) {
        if (src[p].isEmpty() || target.isEmpty()) return;
        pieces.push_back({p, src[p], target});
    };
    add(TopLeft, {t.left, t.top, t.left + w(TopLeft), t.top + h(TopLeft)});
    add(TopRight, {t.right - w(TopRight), t.top, t.right, t.top + h(TopRight)});
    add(BottomLeft, {t.left, t.bottom - h(BottomLeft), t.left + w(BottomLeft), t.bottom});
    add(BottomRight, {t.right - w(BottomRight), t.bottom - h(BottomRight), t.right, t.bottom});
    add(Top, {t.left + w(TopLeft), t.top, t.right - w(TopRight), t.top + h(Top)});
    add(Left, {t.left, t.top + h(TopLeft), t.left + w(Left), t.bottom - h(BottomLeft)});
    add(Right, {t.right - w(Right), t.top + h(TopRight), t.right, t.bottom - h(BottomRight)});
    add(Bottom, {t.left + w(BottomLeft), t.bottom - h(Bottom), t.right - w(BottomRight), t.bottom});
    add(Middle, {t.left + w(TopLeft), t.top + h(Top), t.right - w(BottomRight), t.bottom - h(Bottom)});
    return pieces;
}

}  // namespace lh::ui

namespace lh::ui {

std::vector<Rect> tilesOf(const FramePiece& piece) {
    std::vector<Rect> tiles;
    int sw = piece.source.width(), sh = piece.source.height();
    if (sw <= 0 || sh <= 0 || piece.target.isEmpty()) return tiles;
    for (int y = piece.target.top; y < piece.target.bottom; y += sh) {
        for (int x = piece.target.left; x < piece.target.right; x += sw) {
            tiles.push_back({x, y, std::min(x + sw, piece.target.right), std::min(y + sh, piece.target.bottom)});
        }
    }
    return tiles;
}

}  // namespace lh::ui
