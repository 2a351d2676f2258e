// A tiny program for the tests: loads a Ruleset the way the content load
// does, from a working directory, and prints what the maps hold.
#include <cstdio>
#include <cstring>
#include <string>

#include "platform/Paths.h"
#include "ui/RulesetData.h"
#include "ui/RulesetLoader.h"

int main(int argc, char** argv) {
    std::string workdir = ".", name = "Lorehaven";
    for (int i = 1; i + 1 < argc; i += 2) {
        if (std::strcmp(argv[i], "--workdir") == 0) workdir = argv[i + 1];
        if (std::strcmp(argv[i], "--ruleset") == 0) name = argv[i + 1];
    }
    lh::platform::setWorkingDirectory(workdir);
    lh::render::Bitmap* desktop = lh::ui::LoadRuleset(name, lh::db::SessionMode::Host);
    const lh::ui::RulesetData& data = lh::ui::ruleset();
    std::printf("fonts %zu frames %zu icons %zu classes %zu dice %zu desktop %u\n", data.fonts.size(),
                data.frameDefs.size(), data.icons.size(), data.windowClasses.size(), data.dieTypes.size(),
                desktop ? desktop->GetWidth() : 0u);
    return 0;
}
