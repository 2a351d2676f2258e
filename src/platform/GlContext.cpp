// SDL implementation of the OpenGL context.
#include "platform/GlContext.h"

#include <SDL.h>

#include "platform/Window.h"

namespace lh::platform {

GlContext* GlContext::create(Window& window, std::string& error) {
    // The window set these when it was made; a context made again later (after
    // a lost one) must ask for the same, whatever was set in between.
    SDL_GL_SetAttribute(SDL_GL_CONTEXT_MAJOR_VERSION, 3);
    SDL_GL_SetAttribute(SDL_GL_CONTEXT_MINOR_VERSION, 3);
    SDL_GL_SetAttribute(SDL_GL_CONTEXT_PROFILE_MASK, SDL_GL_CONTEXT_PROFILE_CORE);
    SDL_GL_SetAttribute(SDL_GL_DOUBLEBUFFER, 1);
    SDL_GL_SetAttribute(SDL_GL_DEPTH_SIZE, 0);
    SDL_GL_SetAttribute(SDL_GL_ALPHA_SIZE, 0);
    auto* w = static_cast<SDL_Window*>(window.nativeHandle());
    SDL_GLContext c = w ? SDL_GL_CreateContext(w) : nullptr;
    if (!c) {
        const char* why = SDL_GetError();
        error = why && *why ? why : "no OpenGL context";
        return nullptr;
    }
    if (SDL_GL_MakeCurrent(w, c) != 0) {
        error = SDL_GetError();
        SDL_GL_DeleteContext(c);
        return nullptr;
    }
    return new GlContext(w, c);
}

GlContext::~GlContext() {
    SDL_GL_MakeCurrent(static_cast<SDL_Window*>(window), nullptr);
    SDL_GL_DeleteContext(static_cast<SDL_GLContext>(context));
}

bool GlContext::makeCurrent() {
    return SDL_GL_MakeCurrent(static_cast<SDL_Window*>(window), static_cast<SDL_GLContext>(context)) == 0;
}

void GlContext::swap() { SDL_GL_SwapWindow(static_cast<SDL_Window*>(window)); }

bool GlContext::setSwapInterval(int interval) { return SDL_GL_SetSwapInterval(interval) == 0; }

void GlContext::drawableSize(int& w, int& h) const {
    SDL_GL_GetDrawableSize(static_cast<SDL_Window*>(window), &w, &h);
}

}  // namespace lh::platform
