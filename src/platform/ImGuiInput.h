// Feeds the window system's events to Dear ImGui for a dialog window (the
// launcher), and waits for them without spinning.
#pragma once

namespace lh::platform {

class Window;
class GlContext;

class ImGuiInput {
public:
    // Needs a current ImGui context; hooks the window up to it.
    ImGuiInput(Window& window, GlContext& context);
    ~ImGuiInput();
    ImGuiInput(const ImGuiInput&) = delete;
    ImGuiInput& operator=(const ImGuiInput&) = delete;

    // Waits up to `timeoutMs` (-1: for as long as it takes) for input and
    // hands all of it to ImGui.
    // 1 when input came, 0 when the wait ran out, -1 once the window was
    // closed or the process told to stop.
    int pump(int timeoutMs);
    void newFrame();
};

// Test input: events as a person's keyboard would make them, by SDL key
// name ("Return", "Tab", "Escape", "A") and as typed UTF-8 text. A press and
// its release belong in different frames, as a real key's do.
void pushKey(const char* keyName, bool down);
void pushText(const char* utf8);
void pushWindowClose();

}  // namespace lh::platform
