// What other subsystems ask of the characters (the registry, the strip of
// portraits, the files), without including them: the character subsystem
// fills these at its start. The chat's IdentitySelection lists and opens
// characters through it, and its typing marks reach the strip.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "platform/Signal.h"

namespace lh::render {
class RenderContext;
struct Rect;
}  // namespace lh::render

namespace lh::ui {

// A character that may be taken on, as IdentitySelection shows it.
struct CharacterChoice {
    std::string name;
    std::string campaign;  // of a server character; empty for a local one
    uint32_t flags = 0;    // 1 local, 2 server
    std::string portraitPath;  // program path of its portrait file; empty: where its kind keeps it
};

struct CharacterPortFunctions {
    // The characters that are not in play: the registry's, and in the
    // local-characters way in the copies of server characters as well.
    std::function<std::vector<CharacterChoice>()> choices;
    // The local-characters way in: takes the character on (0), or -1 when
    // a server copy lacks its record.
    std::function<int(const std::string& name)> openLocal;
    std::function<int(const std::string& name, const std::string& campaign)> openServer;
    // A client whose local character the host accepted sends it over.
    std::function<void(const std::string& name)> upload;
    // The host's selection window: whether a connected user plays the
    // name, and the deletion of a character with its portrait.
    std::function<bool(const std::string& name)> isPlayed;
    // False when the character stays (somebody plays it, or not the host).
    std::function<bool(const std::string& name)> deleteCharacter;
    // Draws the character's portrait as the strip shows it, centred on
    // (x, y) and cut to `clip`: shaped at the portrait mask's size, or the
    // blank with the name's initial while there is no picture.
    std::function<void(render::RenderContext& context, const CharacterChoice& who, int32_t x, int32_t y,
                       const render::Rect& clip)>
        drawPortrait;
    // The strip's indicator: 0 nothing, 1 typing, 2 away.
    std::function<void(const std::string& name, int state)> setState;
    // The user name of the connected user who plays the character; empty
    // when nobody does.
    std::function<std::string(const std::string& name)> findUserOf;
};

struct CharacterPort : CharacterPortFunctions {
    // The choices changed (a character offered, recorded or deleted): an
    // open selection reads them again.
    platform::Signal<void()> choicesChanged;

    // Empties the functions (the subsystem stopped); subscribers stay.
    void clearFunctions() { static_cast<CharacterPortFunctions&>(*this) = CharacterPortFunctions{}; }
};

inline CharacterPort& characterPort() {
    static CharacterPort port;
    return port;
}

}  // namespace lh::ui
