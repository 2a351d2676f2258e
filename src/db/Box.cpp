// The box hook of the data layer.
#include "db/Box.h"

#include <cstdio>

namespace lh::db {

namespace {

void printToStderr(const char* title, const char* text) { std::fprintf(stderr, "%s\n%s\n", title, text); }

BoxHandler boxHandler = printToStderr;

}  // namespace

void setBoxHandler(BoxHandler handler) { boxHandler = handler ? handler : printToStderr; }

void showBox(const char* title, const char* text) { boxHandler(title, text); }

}  // namespace lh::db
