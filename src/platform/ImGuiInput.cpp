// Feeds SDL events to Dear ImGui.
#include "platform/ImGuiInput.h"

#include <SDL.h>
#include <backends/imgui_impl_sdl.h>

#include <cstring>

#include "platform/FdWatcher.h"
#include "platform/GlContext.h"
#include "platform/Platform.h"
#include "platform/Window.h"

namespace lh::platform {

ImGuiInput::ImGuiInput(Window& window, GlContext& context) {
    (void)context;
    ImGui_ImplSDL2_InitForOpenGL(static_cast<SDL_Window*>(window.nativeHandle()), SDL_GL_GetCurrentContext());
}

ImGuiInput::~ImGuiInput() { ImGui_ImplSDL2_Shutdown(); }

int ImGuiInput::pump(int timeoutMs) {
    SDL_Event e;
    bool got = SDL_PollEvent(&e);
    if (!got && timeoutMs != 0) {
        if (canWaitNatively()) {
            got = timeoutMs < 0 ? SDL_WaitEvent(&e) : SDL_WaitEventTimeout(&e, timeoutMs);
        } else {
            // A headless driver: sleep for real, then look once.
            sleepUntilWoken(timeoutMs);
            got = SDL_PollEvent(&e);
        }
    }
    if (!got) return 0;
    bool open = true;
    do {
        if (e.type == SDL_QUIT || (e.type == SDL_WINDOWEVENT && e.window.event == SDL_WINDOWEVENT_CLOSE)) open = false;
        ImGui_ImplSDL2_ProcessEvent(&e);
    } while (SDL_PollEvent(&e));
    return open ? 1 : -1;
}

void ImGuiInput::newFrame() { ImGui_ImplSDL2_NewFrame(); }

void pushKey(const char* keyName, bool down) {
    SDL_Keycode key = SDL_GetKeyFromName(keyName);
    SDL_Event e{};
    e.type = down ? SDL_KEYDOWN : SDL_KEYUP;
    e.key.state = down ? SDL_PRESSED : SDL_RELEASED;
    e.key.keysym.sym = key;
    e.key.keysym.scancode = SDL_GetScancodeFromKey(key);
    SDL_PushEvent(&e);
    wakeMainLoop();
}

void pushText(const char* utf8) {
    SDL_Event e{};
    e.type = SDL_TEXTINPUT;
    std::strncpy(e.text.text, utf8, sizeof e.text.text - 1);
    SDL_PushEvent(&e);
    wakeMainLoop();
}

void pushWindowClose() {
    SDL_Event e{};
    e.type = SDL_QUIT;
    SDL_PushEvent(&e);
    wakeMainLoop();
}

}  // namespace lh::platform
