// Opens a page in the user's web browser.
#include "platform/Browser.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

#include "platform/Platform.h"

namespace lh::platform {

bool openInBrowser(const std::string& target) {
    if (isHeadless()) {
        std::fprintf(stderr, "help page: %s\n", target.c_str());
        return true;
    }
    // Two forks: the browser launcher is left to init, so no zombie stays
    // behind and the program never waits for it.
    pid_t child = fork();
    if (child < 0) return false;
    if (child == 0) {
        if (fork() == 0) {
            execlp("xdg-open", "xdg-open", target.c_str(), static_cast<char*>(nullptr));
            _exit(127);
        }
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace lh::platform
