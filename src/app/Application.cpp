// The spine of the program.
#include "app/Application.h"

#include <cstdio>
#include <string>

#include "platform/Platform.h"

namespace lh::app {

int runMain(int, char**) {
    std::string error;
    if (!platform::initialize(error)) {
        std::fprintf(stderr, "%s\n", error.c_str());
        return -1;
    }
    platform::shutdown();
    return 0;
}

}  // namespace lh::app
