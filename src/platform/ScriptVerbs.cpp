// The registered script verbs; see ScriptVerbs.h.
#include "platform/ScriptVerbs.h"

#include <map>

namespace lh::platform {

namespace {

// Filled by static registrations, so built on first use.
std::map<std::string, ScriptVerb, std::less<>>& verbs() {
    static std::map<std::string, ScriptVerb, std::less<>> table;
    return table;
}

}  // namespace

ScriptVerbRegistration::ScriptVerbRegistration(std::string name, ScriptVerb verb) {
    verbs()[std::move(name)] = std::move(verb);
}

const ScriptVerb* findScriptVerb(std::string_view name) {
    auto it = verbs().find(name);
    return it == verbs().end() ? nullptr : &it->second;
}

}  // namespace lh::platform
