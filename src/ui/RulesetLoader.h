// Walks the top level of a Ruleset document, in document order, into the
// process-wide maps and settings (RulesetData). Later definitions of a name
// replace earlier ones; an include is loaded completely where it stands.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "db/SessionMode.h"

namespace lh::db {
class XmlElement;
}
namespace lh::render {
class Bitmap;
}

namespace lh::ui {

// Includes nested deeper than this are skipped, as is an include of a file
// that is being loaded already: a Ruleset that includes itself must not take
// the program down.
constexpr int kMaxIncludeDepth = 32;

// Takes a parsed document and consumes it. 1 for a null document, else 0.
// The local characters mode ignores HOTKEYBAR.
int LoadRulesetFile(std::unique_ptr<db::XmlElement> document, db::SessionMode sessionMode);

// Who loads the records of a STATICDATA file under the root node, marked
// static. Until the program sets one, the file is parsed (so that a broken
// one still stops the program) and its records are dropped.
using StaticDataLoader = void (*)(db::XmlElement& root);
void setStaticDataLoader(StaticDataLoader loader);

// The content load's Ruleset step: reads "rulesets\\<name>\\base.xml" through
// the resource archive (a missing or malformed file shows the box and ends
// the program with -1), loads it, and answers the Desktop picture (null if
// the Ruleset has none) for the frame.
render::Bitmap* LoadRuleset(std::string_view name, db::SessionMode sessionMode);

}  // namespace lh::ui
