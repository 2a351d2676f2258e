// The Ruleset's process-wide maps.
#include "ui/RulesetData.h"

#include "render/GraphicsDevice.h"

namespace lh::ui {

namespace {

template <typename T>
T* find(const NamedMap<T>& map, std::string_view name) {
    auto it = map.find(name);
    return it == map.end() ? nullptr : it->second.get();
}

}  // namespace

RulesetData& ruleset() {
    // The device is made first so that it outlives the bitmaps held here,
    // which unregister from it when the process ends.
    render::GraphicsDevice::Get();
    static RulesetData data;
    return data;
}

void clearRuleset() {
    ruleset() = RulesetData{};
}

FrameDef* findFrame(std::string_view name) {
    return find(ruleset().frameDefs, name);
}

RulesetFont* findFont(std::string_view name) {
    return find(ruleset().fonts, name);
}

render::Bitmap* findIcon(std::string_view name) {
    return find(ruleset().icons, name);
}

WindowClass* findWindowClass(std::string_view name) {
    return find(ruleset().windowClasses, name);
}

DieType* findDieType(std::string_view name) {
    return find(ruleset().dieTypes, name);
}

}  // namespace lh::ui
