// Process-wide state of the application shell.
#include "app/AppState.h"

namespace lh::app {

AppState& app() {
    static AppState state;
    return state;
}

}  // namespace lh::app
