// The user's Identities.
#include "ui/Identities.h"

#include "db/Users.h"
#include "render/GraphicsDevice.h"
#include "ui/RulesetData.h"

namespace lh::ui {

RulesetFont* Identity::font() {
    if (!resolved) resolved = findFont(fontName);
    return resolved;
}

Identity* IdentitySet::find(std::string_view name) const {
    for (const auto& i : list)
        if (i->name == name) return i.get();
    return nullptr;
}

Identity& IdentitySet::selectOrMakeIdentity(std::string_view name, std::string_view fontName) {
    name = name.substr(0, std::min(name.size(), Identity::kMaxName));
    Identity* found = nullptr;
    for (size_t i = 0; i < list.size(); ++i) {
        if (list[i]->name == name) {
            activeIndex = int(i);
            found = list[i].get();
        }
        if (found) break;
    }
    if (!found) {
        auto made = std::make_unique<Identity>();
        made->name = std::string(name);
        made->fontName = std::string(fontName);
        found = made.get();
        list.push_back(std::move(made));
        activeIndex = int(list.size()) - 1;
        mirror();
    }
    notify();
    return *found;
}

void IdentitySet::removeIdentity(std::string_view name) {
    for (size_t i = 0; i < list.size(); ++i) {
        if (list[i]->name != name) continue;
        const int removed = int(i);
        list.erase(list.begin() + std::ptrdiff_t(i));
        if (activeIndex == removed) {
            activeIndex = list.empty() ? -1 : removed < int(list.size()) ? removed : int(list.size()) - 1;
        } else if (activeIndex > removed) {
            --activeIndex;
        }
        mirror();
        notify();
        return;
    }
}

void IdentitySet::activate(int index) {
    if (index < 0 || index >= int(list.size()) || index == activeIndex) return;
    activeIndex = index;
    notify();
}

void IdentitySet::step(int direction) {
    if (activeIndex < 0) return;
    activate(activeIndex + (direction < 0 ? -1 : 1));
}

void IdentitySet::clear() {
    list.clear();
    activeIndex = -1;
    mirror();
    notify();
}

void IdentitySet::mirror() {
    std::vector<std::string>& names = db::localUser().identities;
    names.clear();
    for (const auto& i : list) names.push_back(i->name);
}

void IdentitySet::notify() {
    render::GraphicsDevice::Get().Invalidate(nullptr);
    changed.emit();
}

IdentitySet& identities() {
    static IdentitySet set;
    return set;
}

}  // namespace lh::ui
