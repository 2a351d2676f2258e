// Message boxes from the data layer. The db library draws nothing: the
// program points this hook at the platform's message box at start-up; until
// then (and in tests) a box is printed to stderr.
#pragma once

namespace lh::db {

using BoxHandler = void (*)(const char* title, const char* text);
// Null restores the default.
void setBoxHandler(BoxHandler handler);
void showBox(const char* title, const char* text);

}  // namespace lh::db
