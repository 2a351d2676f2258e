#include "characters/PortraitSelection.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <vector>

#include "characters/PortraitShape.h"
#include "platform/Clock.h"
#include "platform/Paths.h"
#include "render/Bitmap.h"
#include "render/GraphicsDevice.h"
#include "render/RenderContext.h"
#include "ui/ControlFactory.h"
#include "ui/Lights.h"
#include "ui/RulesetData.h"
#include "ui/RulesetXml.h"
#include "ui/Window.h"

namespace lh::characters {

namespace fs = std::filesystem;

std::function<void(const std::string&)>& PortraitSelection::chooser() {
    static std::function<void(const std::string&)> choose;
    return choose;
}

PortraitSelection::PortraitSelection(ui::Window& w) : ui::Control(w) {}

PortraitSelection::~PortraitSelection() = default;

void PortraitSelection::Parse(db::XmlElement& element, db::DbNode*) {
    ui::readText(element, "NAME", name);
    ui::forEachChild(element, [&](std::unique_ptr<db::XmlElement> child, const std::string& tag) {
        if (ParseCommonChild(*child)) return;
        if (tag == "SPACING") ui::readInt(*child, "VALUE", spacing);
        if (tag == "SELECTIONFRAME") ui::readText(*child, "NAME", selectionFrameName);
    });
    if (spacing < 0) spacing = 0;
    fill();
}

void PortraitSelection::fill() {
    std::vector<std::string> files;
    std::error_code ec;
    for (fs::directory_iterator it(platform::diskPath("portraits"), ec), end; !ec && it != end; it.increment(ec)) {
        std::error_code typeError;
        std::string file = it->path().filename().string();
        if (file.empty() || file.front() == '.' || it->is_directory(typeError)) continue;
        files.push_back(platform::joinProgramPath({"portraits", file}));
    }
    const render::Bitmap* mask = ui::ruleset().settings.characterList.portraitMask.get();
    uint32_t width, height;
    cellSize(width, height);
    for (const std::string& path : files) {
        if (pictures.count(path)) continue;
        if (auto shaped = loadShapedPortrait(path, mask, width)) pictures.emplace(path, std::move(shaped));
    }
}

void PortraitSelection::cellSize(uint32_t& width, uint32_t& height) const {
    const render::Bitmap* base = ui::ruleset().settings.characterList.portraitBase.get();
    width = base && base->GetWidth() ? base->GetWidth() : 20;
    height = base && base->GetHeight() ? base->GetHeight() : 20;
}

// Calls visit(index, path, bitmap, x, y) for each picture at its place
// relative to the control, in the order of the map.
template <class Visit>
void PortraitSelection::walk(Visit&& visit) const {
    uint32_t width, height;
    cellSize(width, height);
    int32_t x = spacing, y = spacing + scrollOffset;
    int index = 0;
    for (const auto& [path, bitmap] : pictures) {
        visit(index++, path, *bitmap, x, y);
        x += int32_t(width) + spacing;
        if (x > rect.width() - int32_t(width)) {
            x = spacing;
            y += int32_t(height) + spacing;
        }
    }
}

void PortraitSelection::Draw(render::RenderContext& context, const render::Rect& clip) {
    DrawControlFrame(context, clip);
    int32_t ox, oy;
    GetOrigin(ox, oy);
    render::Rect inner{ox, oy, ox + rect.width(), oy + rect.height()};
    render::Rect box{std::max(inner.left, clip.left), std::max(inner.top, clip.top), std::min(inner.right, clip.right),
                     std::min(inner.bottom, clip.bottom)};
    if (box.isEmpty()) return;
    uint32_t width, height;
    cellSize(width, height);
    render::Bitmap* base = ui::ruleset().settings.characterList.portraitBase.get();
    ui::FrameDef* selection = ui::findFrame(selectionFrameName);
    const uint32_t light = ui::lights().icon;
    int32_t lastY = spacing + scrollOffset;
    walk([&](int index, const std::string&, render::Bitmap& bitmap, int32_t x, int32_t y) {
        lastY = y;
        if (index == selectedIndex && selection) {
            int32_t pad = spacing / 2;
            selection->Draw(context,
                            render::Rect{ox + x - pad, oy + y - pad, ox + x + int32_t(width) + pad,
                                         oy + y + int32_t(height) + pad},
                            ui::lights().frame, &box);
        }
        if (base) context.DrawBitmap(*base, ox + x, oy + y, light, &box);
        context.DrawBitmap(bitmap, ox + x + (int32_t(width) - int32_t(bitmap.GetWidth())) / 2,
                           oy + y + (int32_t(height) - int32_t(bitmap.GetHeight())) / 2, light, &box);
    });
    contentHeight = lastY - scrollOffset + int32_t(height);
}

int PortraitSelection::pictureAt(int32_t px, int32_t py) const {
    uint32_t width, height;
    cellSize(width, height);
    int found = -1;
    walk([&](int index, const std::string&, render::Bitmap&, int32_t x, int32_t y) {
        if (px >= x && px < x + int32_t(width) && py >= y && py < y + int32_t(height)) found = index;
    });
    return found;
}

int PortraitSelection::MouseButton(int message, uint32_t, uint32_t position) {
    if (message == ui::mouse::kLeftDown) return ui::kTakeCapture;
    if (message != ui::mouse::kLeftUp) return ui::kPass;
    int32_t ox, oy;
    GetOrigin(ox, oy);
    int index = pictureAt(ui::mouse::xOf(position) - ox, ui::mouse::yOf(position) - oy);
    const uint64_t now = platform::nowMs();
    bool twice = index >= 0 && index == selectedIndex && now - lastClickTime <= kDoubleClickMs;
    selectedIndex = index;
    lastClickTime = now;
    Invalidate();
    if (!twice) return ui::kTakeNoCapture;
    auto it = pictures.begin();
    std::advance(it, index);
    std::string path = it->first;
    if (chooser()) chooser()(path);
    window->outermost().Close(false);
    return ui::kTakeNoCapture;
}

int PortraitSelection::MouseWheel(int notches, uint32_t) {
    uint32_t width, height;
    cellSize(width, height);
    int32_t lowest = std::min(0, rect.height() - contentHeight);
    scrollOffset = std::clamp(scrollOffset + notches * int32_t(height + uint32_t(spacing)) / 2, lowest, 0);
    Invalidate();
    return 1;
}

void registerPortraitSelection() {
    ui::registerControlTag("PORTRAITSELECTION",
                           [](ui::Window& w) -> std::unique_ptr<ui::Control> { return std::make_unique<PortraitSelection>(w); });
}

}  // namespace lh::characters
