// The launcher's window.
#include "app/LauncherWindow.h"

#include <imgui.h>

#include "app/WindowPlacement.h"
#include "platform/GlContext.h"
#include "platform/ImGuiInput.h"
#include "platform/Platform.h"
#include "platform/SystemFonts.h"
#include "platform/Window.h"
#include "render/ImGuiRenderer.h"

namespace lh::app {

namespace {

constexpr int kWidth = 480;
constexpr int kHeight = 600;

void styleDialogs() {
    ImGuiStyle& style = ImGui::GetStyle();
    ImGui::StyleColorsDark(&style);
    style.WindowRounding = 0;
    style.FrameRounding = 3;
    style.FramePadding = ImVec2(8, 5);
    style.ItemSpacing = ImVec2(8, 8);
    ImVec4* c = style.Colors;
    c[ImGuiCol_WindowBg] = ImVec4(0.10f, 0.08f, 0.13f, 1);
    c[ImGuiCol_Button] = ImVec4(0.30f, 0.22f, 0.36f, 1);
    c[ImGuiCol_ButtonHovered] = ImVec4(0.45f, 0.33f, 0.50f, 1);
    c[ImGuiCol_ButtonActive] = ImVec4(0.78f, 0.63f, 0.28f, 1);
    c[ImGuiCol_FrameBg] = ImVec4(0.18f, 0.15f, 0.22f, 1);
    c[ImGuiCol_CheckMark] = ImVec4(0.94f, 0.78f, 0.38f, 1);
    c[ImGuiCol_NavHighlight] = ImVec4(0.94f, 0.78f, 0.38f, 1);
}

}  // namespace

std::unique_ptr<LauncherWindow> LauncherWindow::create(std::string& error) {
    std::unique_ptr<LauncherWindow> w(new LauncherWindow());
    w->window.reset(platform::Window::create("Lorehaven", kWidth, kHeight));
    if (!w->window) {
        error = "the launcher window could not be made";
        return nullptr;
    }
    platform::ScreenSize screen = platform::primaryScreen();
    w->window->setPosition(centredPosition(screen.left, screen.width, kWidth),
                           centredPosition(screen.top, screen.height, kHeight));
    w->context.reset(platform::GlContext::create(*w->window, error));
    if (!w->context) return nullptr;
    w->context->setSwapInterval(1);

    ImGuiContext* ctx = ImGui::CreateContext();
    w->imgui = ctx;
    ImGuiIO& io = ImGui::GetIO();
    io.IniFilename = nullptr;
    io.ConfigFlags |= ImGuiConfigFlags_NavEnableKeyboard;
    std::string font = platform::findFontFile("DejaVu Sans");
    if (!font.empty()) io.Fonts->AddFontFromFileTTF(font.c_str(), 16.0f);
    styleDialogs();
    w->input = std::make_unique<platform::ImGuiInput>(*w->window, *w->context);
    w->renderer = std::make_unique<render::ImGuiRenderer>();
    if (!w->renderer->init()) {
        error = "the launcher's drawing could not be set up";
        return nullptr;
    }
    w->window->show();
    w->window->raise();
    return w;
}

LauncherWindow::~LauncherWindow() {
    renderer.reset();
    input.reset();
    if (imgui) ImGui::DestroyContext(static_cast<ImGuiContext*>(imgui));
    context.reset();
    window.reset();
}

bool LauncherWindow::beginFrame() {
    if (onFrame) onFrame(frame);
    ++frame;
    // A few quick frames after any input let ImGui settle focus, popups and
    // hover; after that the window sleeps until the next input, waking at the
    // caret's pace only while a text field has it.
    int wait = 0;
    if (busyFrames == 0) wait = ImGui::GetCurrentContext() && ImGui::GetIO().WantTextInput ? idleWaitMs : quietWaitMs;
    int got = input->pump(wait);
    if (got < 0) return false;
    busyFrames = got > 0 ? 3 : (busyFrames > 0 ? busyFrames - 1 : 0);
    renderer->newFrame();
    input->newFrame();
    ImGui::NewFrame();
    return true;
}

void LauncherWindow::endFrame() {
    int w = 0, h = 0;
    window->drawableSize(w, h);
    renderer->render(w, h);
    context->swap();
}

}  // namespace lh::app
