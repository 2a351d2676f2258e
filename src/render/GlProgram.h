// Building a GL shader program from the sources of its two stages.
#pragma once

#include <string>

namespace lh::render {

// The linked program, or 0 with the compiler's or linker's log in `error`.
unsigned linkGlProgram(const char* vertexSource, const char* fragmentSource, std::string& error);

}  // namespace lh::render
