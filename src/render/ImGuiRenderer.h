// Draws Dear ImGui's frames with OpenGL 3.3 in a dialog window's context.
#pragma once

namespace lh::render {

class ImGuiRenderer {
public:
    // Needs the dialog's GL context current and an ImGui context. False when
    // the shaders or the font texture cannot be made.
    bool init();
    ~ImGuiRenderer();
    void newFrame();
    // Clears the window to the dialog background and draws the frame.
    void render(int drawableWidth, int drawableHeight);

private:
    bool ready = false;
};

}  // namespace lh::render
