// The Identities that this machine's user speaks under, and the active one.
// A player has one, the character he took on when he joined; the Gamemaster
// has the first, under the name he gave at the launch (empty stands for the
// Narrator), and any number of people of the story made on the fly. Held
// here, beneath the chat, so that every subsystem of the table may read
// them; the names are mirrored into the local user's record.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Signal.h"

namespace lh::ui {

class RulesetFont;

struct Identity {
    std::string name;      // at most kMaxName bytes; may be empty
    std::string mood;      // at most kMaxMood bytes; shown in the chat label
    std::string fontName;  // the font of what is said
    // The font in the Ruleset's Fonts, looked up when first asked: the host's
    // first Identity is made before the Ruleset is loaded.
    RulesetFont* font();

    static constexpr size_t kMaxName = 119;
    static constexpr size_t kMaxMood = 99;

private:
    RulesetFont* resolved = nullptr;
};

class IdentitySet {
public:
    const std::vector<std::unique_ptr<Identity>>& all() const { return list; }
    Identity* active() const { return activeIndex < 0 ? nullptr : list[size_t(activeIndex)].get(); }
    int activePosition() const { return activeIndex; }  // -1: none
    Identity* find(std::string_view name) const;

    // The Identity of that exact name becomes active, or a new one with the
    // font of that name is made and becomes active. The whole screen is
    // redrawn.
    Identity& selectOrMakeIdentity(std::string_view name, std::string_view fontName);
    // Deletes it; if it was active the next one becomes active, or the one
    // before it when it was the last, or none.
    void removeIdentity(std::string_view name);
    // Makes the Identity at `index` active (no change outside the list).
    void activate(int index);
    // The previous (-1) or the next (+1) Identity of the list, no wrapping.
    void step(int direction);
    void clear();

    // Anything about the list or the active one changed.
    platform::Signal<void()> changed;

private:
    void mirror();
    void notify();
    std::vector<std::unique_ptr<Identity>> list;
    int activeIndex = -1;
};

// This process's Identities.
IdentitySet& identities();
inline Identity* activeIdentity() { return identities().active(); }

}  // namespace lh::ui
