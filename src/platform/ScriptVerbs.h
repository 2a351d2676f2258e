// Steps that a subsystem adds to the test driver's script. The script's own
// steps are input and timing; a subsystem that a test must reach directly
// (the dice's "throw" of given records) names a verb of its own here, by a
// static registration, and the script reader and player look it up.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace lh::platform {

struct ScriptVerb {
    // When the script is read: empty if the rest of the line will do,
    // otherwise why not (the program does not start).
    std::function<std::string(std::string_view arguments)> check;
    // When the step comes: empty when done, otherwise what went wrong.
    std::function<std::string(std::string_view arguments)> run;
};

class ScriptVerbRegistration {
public:
    ScriptVerbRegistration(std::string name, ScriptVerb verb);
};

// The verb of that name (case counts), or null.
const ScriptVerb* findScriptVerb(std::string_view name);

}  // namespace lh::platform
