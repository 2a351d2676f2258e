// SDL implementation of the OpenGL context.
#include "platform/GlContext.h"

#include <SDL.h>
#include <epoxy/egl.h>
#include <epoxy/glx.h>

#include <cstring>

#include "platform/Window.h"

namespace lh::platform {

GlContext* GlContext::create(Window& window, std::string& error) {
    // The attributes (3.3 core, double buffer, no depth or alpha in the
    // window: those live in the device's FBO) were set by Window::create and
    // stay in force for a context made again after a lost one.
    auto* w = static_cast<SDL_Window*>(window.nativeHandle());
    if (!w) {
        error = "no window";
        return nullptr;
    }
    // First ask for a context that reports a reset of the GPU (the loss that
    // the device must recover from); drivers without robustness get a plain one.
    SDL_GL_SetAttribute(SDL_GL_CONTEXT_FLAGS, SDL_GL_CONTEXT_ROBUST_ACCESS_FLAG);
    SDL_GL_SetAttribute(SDL_GL_CONTEXT_RESET_NOTIFICATION, SDL_GL_CONTEXT_RESET_LOSE_CONTEXT);
    SDL_GLContext c = SDL_GL_CreateContext(w);
    SDL_GL_SetAttribute(SDL_GL_CONTEXT_FLAGS, 0);
    SDL_GL_SetAttribute(SDL_GL_CONTEXT_RESET_NOTIFICATION, SDL_GL_CONTEXT_RESET_NO_NOTIFICATION);
    if (!c) c = SDL_GL_CreateContext(w);
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

void GlContext::swap() {
    SDL_GL_SwapWindow(static_cast<SDL_Window*>(window));
}

bool GlContext::setSwapInterval(int interval) {
    return SDL_GL_SetSwapInterval(interval) == 0;
}

int GlContext::bufferAge() const {
    const char* driver = SDL_GetCurrentVideoDriver();
    // The offscreen driver draws into an EGL pbuffer, which a swap leaves as
    // it is: the buffer always holds the last picture.
    if (driver && std::strcmp(driver, "offscreen") == 0) return 1;
    if (eglGetCurrentContext() != EGL_NO_CONTEXT) {
        EGLDisplay display = eglGetCurrentDisplay();
        EGLSurface surface = eglGetCurrentSurface(EGL_DRAW);
        EGLint value = 0;
        if (eglQuerySurface(display, surface, EGL_SWAP_BEHAVIOR, &value) && value == EGL_BUFFER_PRESERVED)
            return 1;
        if (epoxy_has_egl_extension(display, "EGL_EXT_buffer_age") &&
            eglQuerySurface(display, surface, EGL_BUFFER_AGE_EXT, &value)) {
            return value;
        }
        return 0;
    }
    if (driver && std::strcmp(driver, "x11") == 0) {
        Display* display = glXGetCurrentDisplay();
        if (!display || !epoxy_has_glx_extension(display, DefaultScreen(display), "GLX_EXT_buffer_age"))
            return 0;
        unsigned int age = 0;
        glXQueryDrawable(display, glXGetCurrentDrawable(), GLX_BACK_BUFFER_AGE_EXT, &age);
        return int(age);
    }
    return 0;
}

void GlContext::drawableSize(int& w, int& h) const {
    SDL_GL_GetDrawableSize(static_cast<SDL_Window*>(window), &w, &h);
}

}  // namespace lh::platform
