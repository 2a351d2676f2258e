// The window the launcher's dialogs show in: its own small window with a GL
// context and Dear ImGui, made before the main window and gone before it.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "net/LauncherView.h"

namespace lh::platform {
class Window;
class GlContext;
class ImGuiInput;
}  // namespace lh::platform

namespace lh::render {
class ImGuiRenderer;
}

namespace lh::app {

class LauncherWindow : public net::DialogHost {
public:
    // Null with a reason when no window or context can be had.
    static std::unique_ptr<LauncherWindow> create(std::string& error);
    ~LauncherWindow() override;

    bool beginFrame() override;
    void endFrame() override;

    // How long an idle frame waits for input (ms) while a text field has the
    // caret, which blinks at this pace; and without one (-1: until input
    // comes, so an idle dialog costs nothing). Tests that type frame by frame
    // shorten both; 0 draws frames as fast as the caller asks.
    int idleWaitMs = 500;
    int quietWaitMs = -1;
    // Called at the start of every frame with its number; tests type here.
    std::function<void(int frame)> onFrame;

private:
    LauncherWindow() = default;
    std::unique_ptr<platform::Window> window;
    std::unique_ptr<platform::GlContext> context;
    std::unique_ptr<platform::ImGuiInput> input;
    std::unique_ptr<render::ImGuiRenderer> renderer;
    void* imgui = nullptr;
    int frame = 0;
    int busyFrames = 0;
};

}  // namespace lh::app
