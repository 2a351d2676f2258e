#include "render/GlProgram.h"

#include <epoxy/gl.h>

namespace lh::render {

namespace {

GLuint compile(GLenum kind, const char* source, std::string& error) {
    GLuint s = glCreateShader(kind);
    glShaderSource(s, 1, &source, nullptr);
    glCompileShader(s);
    GLint ok = 0;
    glGetShaderiv(s, GL_COMPILE_STATUS, &ok);
    if (!ok) {
        char log[1024] = {};
        glGetShaderInfoLog(s, sizeof log, nullptr, log);
        error = log;
        glDeleteShader(s);
        return 0;
    }
    return s;
}

}  // namespace

unsigned linkGlProgram(const char* vertex, const char* fragment, std::string& error) {
    GLuint vs = compile(GL_VERTEX_SHADER, vertex, error);
    if (!vs) return 0;
    GLuint fs = compile(GL_FRAGMENT_SHADER, fragment, error);
    if (!fs) {
        glDeleteShader(vs);
        return 0;
    }
    GLuint p = glCreateProgram();
    glAttachShader(p, vs);
    glAttachShader(p, fs);
    glLinkProgram(p);
    glDeleteShader(vs);
    glDeleteShader(fs);
    GLint ok = 0;
    glGetProgramiv(p, GL_LINK_STATUS, &ok);
    if (!ok) {
        char log[1024] = {};
        glGetProgramInfoLog(p, sizeof log, nullptr, log);
        error = log;
        glDeleteProgram(p);
        return 0;
    }
    return p;
}

}  // namespace lh::render
