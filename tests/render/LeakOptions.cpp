// Mesa's llvmpipe keeps JIT-compiled shader code and fontconfig keeps its
// caches until the process ends, allocated from places LeakSanitizer cannot
// name. The GL tests therefore run without leak checking, as the whole suite
// is meant to (ASAN_OPTIONS=detect_leaks=0 in the test environment).
extern "C" const char* __lsan_default_options() {
    return "detect_leaks=0";
}
