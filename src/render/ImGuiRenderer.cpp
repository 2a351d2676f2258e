// Draws Dear ImGui's frames with OpenGL 3.3.
#include "render/ImGuiRenderer.h"

#include <backends/imgui_impl_opengl3.h>
#include <epoxy/gl.h>
#include <imgui.h>

namespace lh::render {

bool ImGuiRenderer::init() {
    ready = ImGui_ImplOpenGL3_Init("#version 330 core");
    return ready;
}

ImGuiRenderer::~ImGuiRenderer() {
    if (ready) ImGui_ImplOpenGL3_Shutdown();
}

void ImGuiRenderer::newFrame() { ImGui_ImplOpenGL3_NewFrame(); }

void ImGuiRenderer::render(int drawableWidth, int drawableHeight) {
    ImGui::Render();
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    glViewport(0, 0, drawableWidth, drawableHeight);
    glDisable(GL_SCISSOR_TEST);
    glClearColor(0.10f, 0.08f, 0.13f, 1.0f);
    glClear(GL_COLOR_BUFFER_BIT);
    ImGui_ImplOpenGL3_RenderDrawData(ImGui::GetDrawData());
}

}  // namespace lh::render
