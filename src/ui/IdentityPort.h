// What other subsystems need of the chat's Identities and chat window,
// without including the chat: the chat fills these at its start, and each
// caller checks that a function is there before calling it. Until the chat
// has filled them, the character subsystem keeps its own list of the names
// it made active (see characters/), so a run without the chat still works.
#pragma once

#include <functional>
#include <string>

namespace lh::ui {

// A line for this machine's chat window only (ChatWindow.add).
struct LocalChatLine {
    std::string text;
    std::string font;       // a name in Fonts, e.g. "narratorfont"
    std::string indicator;  // an icon name, or empty
    bool turnMarker = false;
};

struct IdentityPort {
    // The name of ActiveIdentity; empty when there is none.
    std::function<std::string()> activeName;
    // Makes the Identity of that name active, making it first with the font.
    std::function<void(const std::string& name, const std::string& fontName)> selectOrMake;
    // Deletes the Identity of that name; the next one becomes active.
    std::function<void(const std::string& name)> remove;
    std::function<void(const LocalChatLine& line)> addLine;
    // The platform's beep of that kind (64: the asterisk).
    std::function<void(int kind)> beep;
};

inline IdentityPort& identityPort() {
    static IdentityPort port;
    return port;
}

}  // namespace lh::ui
