// Token drawing and the atlas of the library's pictures; see TokenDrawing.h.
#include "table/TokenDrawing.h"

#include <algorithm>

#include "render/RenderContext.h"

namespace lh::table {

namespace {

// One pixel between pictures, so that no texel of a neighbour is ever
// sampled at an edge.
constexpr int32_t kGap = 1;

uint64_t signatureOf(const TokenLibrary& library) {
    uint64_t s = library.entries().size();
    for (const auto& [name, def] : library.entries()) s = s * 1000003u + def->generation;
    return s;
}

}  // namespace

TokenAtlas& tokenAtlas() {
    static TokenAtlas atlas;
    return atlas;
}

void TokenAtlas::refresh(const TokenLibrary& library) {
    const uint64_t now = signatureOf(library);
    if (now == signature) return;
    signature = now;
    pages.clear();
    slots.clear();
    std::vector<const TokenDef*> packed;
    for (const auto& [name, def] : library.entries()) {
        if (def->hasPicture() && def->width() <= kMaxPacked && def->height() <= kMaxPacked &&
            def->bitmap->Pixels().size() == size_t(def->width()) * size_t(def->height()))
            packed.push_back(def.get());
    }
    // Shelves of pictures of like height: the tallest first.
    std::stable_sort(packed.begin(), packed.end(),
                     [](const TokenDef* a, const TokenDef* b) { return a->height() > b->height(); });
    size_t next = 0;
    while (next < packed.size()) {
        std::vector<uint32_t> pixels(size_t(kPageSide) * size_t(kPageSide), 0);
        std::vector<std::pair<const TokenDef*, render::Rect>> placed;
        int32_t x = 0, y = 0, shelf = 0;
        for (; next < packed.size(); ++next) {
            const TokenDef& def = *packed[next];
            const int32_t w = def.width(), h = def.height();
            if (x + w > kPageSide) {
                x = 0;
                y += shelf + kGap;
                shelf = 0;
            }
            if (y + h > kPageSide) break;
            const std::vector<uint32_t>& from = def.bitmap->Pixels();
            for (int32_t row = 0; row < h; ++row)
                std::copy_n(from.begin() + ptrdiff_t(row) * w, w,
                            pixels.begin() + ptrdiff_t(y + row) * kPageSide + x);
            placed.emplace_back(&def, render::Rect{x, y, x + w, y + h});
            x += w + kGap;
            shelf = std::max(shelf, h);
        }
        // The page is only as tall as its shelves.
        const int32_t used = std::max(1, y + shelf);
        auto page = std::make_unique<render::Bitmap>();
        if (!page->LoadFromPixels(uint32_t(kPageSide), uint32_t(used), pixels.data())) return;
        for (const auto& [def, rect] : placed) slots[def] = Slot{page.get(), rect};
        pages.push_back(std::move(page));
    }
}

TokenAtlas::Slot TokenAtlas::slotOf(const TokenDef& def) const {
    auto it = slots.find(&def);
    return it == slots.end() ? Slot{} : it->second;
}

void drawWindowTokens(TokenBoard& board, const WindowKey& key, TokenAtlas& atlas, render::RenderContext& context,
                      uint32_t light) {
    auto* list = board.tokensOf(key);
    TokenPlace* place = board.placeOf(key);
    if (!list || !place) return;
    const render::Rect window = place->windowRect();
    for (const auto& tp : *list) {
        Token& t = *tp;
        if (!t.def || !t.def->hasPicture()) continue;
        // A picture that arrived after the turn was made is turned now.
        if (t.rotation != 0 && (!t.rotated || t.rotatedFrom != t.def->generation)) t.SetRotation(t.rotation);
        int32_t ox = 0, oy = 0;
        board.anchorOrigin(key, t, ox, oy);
        render::Rect visible = window;
        if (t.anchorIndex > 0 && t.anchorIndex <= place->controlCount()) {
            render::Rect a = place->controlRect(t.anchorIndex);
            visible = render::intersect(
                render::Rect{a.left + window.left, a.top + window.top, a.right + window.left, a.bottom + window.top},
                window);
        }
        int32_t x = ox + (t.dragging ? t.rect.left : t.shownX);
        int32_t y = oy + (t.dragging ? t.rect.top : t.shownY);
        if (!t.dragging && !visible.contains(x, y)) continue;
        render::Bitmap& picture = *t.def->bitmap;
        if (t.hasProposal()) {
            float cx = float(x + int32_t(picture.GetWidth()) / 2), cy = float(y + int32_t(picture.GetHeight()) / 2);
            context.DrawLine(cx + 1, cy + 1, cx + 1 + float(t.pendingX), cy + 1 + float(t.pendingY), 0x000000, 2);
            context.DrawLine(cx, cy, cx + float(t.pendingX), cy + float(t.pendingY), 0xFFFFFF, 2);
        }
        if (t.rotated) {
            x -= (int32_t(t.rotated->GetWidth()) - int32_t(picture.GetWidth())) / 2;
            y -= (int32_t(t.rotated->GetHeight()) - int32_t(picture.GetHeight())) / 2;
            context.DrawBitmap(*t.rotated, x + 1, y + 2, 0x7F000000);
            context.DrawBitmap(*t.rotated, x, y, light);
            continue;
        }
        const TokenAtlas::Slot slot = atlas.slotOf(*t.def);
        if (slot.page) {
            context.DrawBitmapPart(*slot.page, slot.source, x + 1, y + 2, 0x7F000000);
            context.DrawBitmapPart(*slot.page, slot.source, x, y, light);
        } else {
            context.DrawBitmap(picture, x + 1, y + 2, 0x7F000000);
            context.DrawBitmap(picture, x, y, light);
        }
    }
}

}  // namespace lh::table
