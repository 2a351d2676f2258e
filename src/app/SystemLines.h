// Lines that the program itself posts to the chat in the font "systemfont"
// (joins, saves, dropped messages). They go to the chat window while it runs,
// and to standard error, one per line, so that they are never lost.
#pragma once

#include <functional>
#include <string>

namespace lh::app {

void postSystemLine(const std::string& text);
// Where the lines go from now on; empty sends them to standard error again.
void setSystemLineSink(std::function<void(const std::string&)> sink);

}  // namespace lh::app
