// main() of every test program: a headless display, a private config folder,
// and leak checks off for the GL and window-system libraries, which keep
// allocations until exit in modules unloaded before the check could name them.
#include <gtest/gtest.h>

#include <cstdlib>

extern "C" const char* __asan_default_options() { return "detect_leaks=0"; }

int main(int argc, char** argv) {
    setenv("SDL_VIDEODRIVER", "offscreen", 0);
    setenv("LOREHAVEN_CONFIG_DIR", LOREHAVEN_TEST_CONFIG_DIR, 0);
    setenv("ASAN_OPTIONS", "detect_leaks=0", 0);  // for the programs the tests start
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
