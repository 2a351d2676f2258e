// A font of fixed cells for layout tables: every character 7 pixels wide,
// lines 10 high; what it draws is kept as (x, y, text).
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "render/Font.h"

namespace lh::chat {

class FixedFont final : public render::Font {
public:
    static constexpr int32_t kCell = 7, kLine = 10;
    struct Drawn {
        int32_t x, y;
        std::string text;
    };
    bool IsLoaded() const override { return true; }
    int32_t LineHeight() const override { return kLine; }
    render::TextSize MeasureText(const char*, int32_t length) const override { return {kCell * length, kLine}; }
    int32_t HitTestText(const char*, int32_t length, int32_t x, int32_t& extent) const override {
        int32_t n = std::clamp(x / kCell, 0, length);
        extent = n * kCell;
        return n;
    }
    void DrawText(render::RenderContext&, int32_t x, int32_t y, const char* text, int32_t length,
                  const render::Rect*) override {
        drawn.push_back({x, y, std::string(text, size_t(length))});
    }
    std::vector<Drawn> drawn;
};

}  // namespace lh::chat
