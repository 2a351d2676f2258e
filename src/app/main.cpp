// Lorehaven: a virtual tabletop for pen-and-paper role-playing games.
#include "app/Application.h"

int main(int argc, char** argv) { return lh::app::runMain(argc, argv); }
