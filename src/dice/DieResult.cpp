// The result model, its die text, and the result box.
#include "dice/DieResult.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include "render/Bitmap.h"
#include "render/Font.h"
#include "render/RenderContext.h"
#include "ui/DieType.h"
#include "ui/FrameDef.h"

namespace lh::dice {

namespace {

constexpr uint32_t kTotalColor = 0xFFAFAFAFu;

int32_t clamp32(int64_t v) {
    return int32_t(std::clamp<int64_t>(v, std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max()));
}

// A small generator of our own, so that a seed gives the same faces on
// every machine and C library.
struct Random {
    uint64_t state;
    Random() {
        const char* seed = std::getenv("LOREHAVEN_DICE_SEED");
        state = seed ? std::strtoull(seed, nullptr, 10)
                     : uint64_t(std::chrono::steady_clock::now().time_since_epoch().count());
        state = state * 2654435761u + 1;
    }
    uint32_t next() {
        // splitmix64
        uint64_t z = (state += 0x9E3779B97F4A7C15ull);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
        return uint32_t((z ^ (z >> 31)) >> 1);
    }
};

Random& generator() {
    static Random r;
    return r;
}

std::string formatInt(const char* format, int32_t v) {
    char text[32];
    std::snprintf(text, sizeof text, format, v);
    return text;
}

int32_t textWidthOf(render::Font* font, const std::string& text) {
    if (!font || !font->IsLoaded() || text.empty()) return 0;
    return font->MeasureText(text.data(), int32_t(text.size())).width;
}

render::Bitmap* iconOf(const ui::DieType* type) {
    return type ? type->icon.get() : nullptr;
}

void drawIconCentred(render::RenderContext& context, render::Bitmap* icon, int32_t cx, int32_t cy, uint32_t light,
                     const render::Rect& clip) {
    if (!icon || icon->IsEmpty()) return;
    context.DrawBitmap(*icon, cx - int32_t(icon->GetWidth()) / 2, cy - int32_t(icon->GetHeight()) / 2, light, &clip);
}

}  // namespace

uint32_t nextRandom() {
    return generator().next();
}

void seedRandom(uint32_t seed) {
    generator().state = uint64_t(seed) * 2654435761u + 1;
}

int32_t randomFaceValue(const ui::DieType& type) {
    if (type.values.empty()) return 0;
    return std::atoi(type.values[nextRandom() % type.values.size()].c_str());
}

void DieResult::AddDie(int32_t value, const ui::DieType* type, bool atFront) {
    if (atFront) {
        dice.insert(dice.begin(), type);
        values.insert(values.begin(), value);
    } else {
        dice.push_back(type);
        values.push_back(value);
    }
}

void DieResult::AddType(const ui::DieType* type, bool atFront) {
    if (atFront)
        dice.insert(dice.begin(), type);
    else
        dice.push_back(type);
}

void DieResult::Roll() {
    values.clear();
    for (const ui::DieType* type : dice) values.push_back(type ? randomFaceValue(*type) : 0);
    rolled = true;
}

int32_t DieResult::Total() const {
    int64_t sum = modifier;
    for (int32_t v : values) sum += v;
    return clamp32(sum);
}

int32_t DieResult::ShownValue() const {
    const int64_t total = Total();
    switch (displayMode) {
    case ShownValue::Negated: return clamp32(-total);
    case ShownValue::Doubled: return clamp32(2 * total);
    case ShownValue::Halved: return clamp32(total / 2);  // truncates towards 0: 7 gives 3, -7 gives -3
    default: return clamp32(total);
    }
}

std::string encodeDieText(const DieResult& result) {
    std::string text;
    const size_t n = std::min(result.dice.size(), result.values.size());
    for (size_t i = 0; i < n; ++i) {
        if (i > 0) text += ',';
        text += result.dice[i] ? result.dice[i]->name : std::string();
        text += '=';
        text += formatInt("%d", result.values[i]);
    }
    text += ':';
    text += formatInt("%d", result.modifier);
    return text;
}

DieResult decodeDieText(std::string_view text, DieTypeLookup find) {
    DieResult result;
    if (!text.empty() && text.front() == '?') {
        result.hidden = true;
        text.remove_prefix(1);
    }
    // Items end at "," or ":"; what stands behind the last separator is the
    // modifier.
    size_t start = 0;
    for (;;) {
        size_t end = text.find_first_of(",:", start);
        if (end == std::string_view::npos) break;
        std::string_view item = text.substr(start, end - start);
        size_t eq = item.find('=');
        if (eq != std::string_view::npos) {
            std::string value(item.substr(eq + 1));
            if (const ui::DieType* type = find ? find(item.substr(0, eq)) : nullptr)
                result.AddDie(std::atoi(value.c_str()), type);
        }
        start = end + 1;
    }
    result.modifier = std::atoi(std::string(text.substr(std::min(start, text.size()))).c_str());
    result.rolled = true;
    return result;
}

DieResultLayout layoutDieResult(const DieResult& r, const DieBoxStyle& style, int32_t availableWidth,
                                bool secretFromMe, bool forMeasure) {
    DieResultLayout l;
    const bool hasDice = !r.dice.empty();
    if (forMeasure)
        l.textPart = !(r.modifier == 0 && r.displayMode == ShownValue::None && hasDice);
    else
        l.textPart = (r.modifier != 0 && !secretFromMe) || r.displayMode != ShownValue::None || !hasDice;
    if (l.textPart) {
        // A player does not see the modifier of a secret result, only a
        // total that someone chose to show.
        if (!secretFromMe) {
            if (!hasDice)
                l.modifierText = formatInt("%d", r.modifier);
            else if (r.modifier != 0)
                l.modifierText = formatInt(r.modifier > 0 ? "+%d" : "%d", r.modifier);
        }
        if (r.displayMode != ShownValue::None) l.totalText = formatInt(" %d", r.ShownValue());
        l.textWidth = textWidthOf(style.modFont, l.modifierText) + textWidthOf(style.modFont, l.totalText);
        if (hasDice) l.textWidth += style.numberTailMargin;
    }
    const render::Bitmap* first = hasDice ? iconOf(r.dice.front()) : nullptr;
    if (!first && secretFromMe) first = style.secretIcon;
    if (first && !first->IsEmpty()) {
        l.iconWidth = int32_t(first->GetWidth());
        l.iconHeight = int32_t(first->GetHeight());
    }
    l.slots = secretFromMe ? 1 : int32_t(r.dice.size()) + (r.hidden ? 1 : 0);
    if (l.iconWidth <= 0)
        l.columns = std::max(l.slots, 1);
    else
        l.columns = std::max(1, (availableWidth - l.textWidth) / l.iconWidth);
    return l;
}

render::Rect measureDieResult(const DieResult& r, const DieBoxStyle& style, int32_t availableWidth,
                              bool secretFromMe) {
    DieResultLayout l = layoutDieResult(r, style, availableWidth, secretFromMe, true);
    int32_t width = 2 * style.margin + l.textWidth, height = 2 * style.margin;
    if (!r.dice.empty() && l.slots > 0) {
        const int32_t rows = (l.slots + l.columns - 1) / l.columns;
        if (rows < 2) {
            width += l.iconWidth * (l.slots - 1);
        } else {
            height += l.iconHeight * (rows - 1);
            width += l.iconWidth * (l.columns - 1);
        }
    }
    return render::Rect{0, 0, width, height};
}

render::Rect drawDieResult(const DieResult& r, const DieBoxStyle& style, render::RenderContext& context,
                           const render::Rect& rect, const render::Rect& clip, bool secretFromMe) {
    if (!clip.contains(rect.left, rect.top)) return {};
    DieResultLayout l = layoutDieResult(r, style, rect.width(), secretFromMe, false);
    const bool showsDice = l.slots > 0;
    const int32_t iconsExtent = showsDice ? l.iconWidth * (std::min(l.slots, l.columns) - 1) : 0;
    render::Rect outer;
    if (style.frame) {
        outer = {rect.left, rect.top, rect.left + 2 * style.margin + iconsExtent + l.textWidth, rect.bottom};
        style.frame->Draw(context, outer, style.frameLight, &clip);
    }

    int32_t cx = style.margin, cy = style.margin, column = 0;
    auto advance = [&](const render::Bitmap* icon) {
        cx += icon ? int32_t(icon->GetWidth()) : l.iconWidth;
        if (++column >= l.columns) {
            column = 0;
            cx = style.margin;
            cy += l.iconHeight;
        }
    };
    if (r.hidden || secretFromMe) {
        render::Bitmap* icon = style.secretIcon;
        drawIconCentred(context, icon, rect.left + cx, rect.top + cy, style.iconLight, clip);
        advance(icon);
    }
    if (!secretFromMe) {
        const size_t n = std::min(r.dice.size(), r.values.size());
        for (size_t i = 0; i < n; ++i) {
            render::Bitmap* icon = iconOf(r.dice[i]);
            drawIconCentred(context, icon, rect.left + cx, rect.top + cy, style.iconLight, clip);
            if (render::Font* font = style.resultFont; font && font->IsLoaded()) {
                std::string value = formatInt("%d", r.values[i]);
                render::TextSize size = font->MeasureText(value.data(), int32_t(value.size()));
                context.PushFont();
                context.SetFont(font);
                context.DrawText(rect.left + cx - size.width / 2, rect.top + cy - size.height / 2, value.data(),
                                 int32_t(value.size()), &clip);
                context.PopFont();
            }
            advance(icon);
        }
    }
    if (l.textPart && style.modFont && style.modFont->IsLoaded()) {
        context.PushFont();
        context.SetFont(style.modFont);
        const int32_t x = rect.left + style.margin + iconsExtent + l.iconWidth / 2;
        const int32_t y = (rect.top + rect.bottom - style.modFont->LineHeight()) / 2;
        context.DrawText(x, y, l.modifierText.data(), int32_t(l.modifierText.size()), &clip);
        // The total stands back from the modifier, in grey.
        if (!l.totalText.empty())
            context.DrawTextInColor(x + textWidthOf(style.modFont, l.modifierText), y, l.totalText.data(),
                                    int32_t(l.totalText.size()), kTotalColor, &clip);
        context.PopFont();
    }
    return outer;
}

}  // namespace lh::dice
