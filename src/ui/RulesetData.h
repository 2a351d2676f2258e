// The process-wide results of loading a Ruleset: named frames, fonts, icons,
// window classes and dice, the export names, the Desktop picture and the
// settings of the singletons. Filled during the content load, read-only
// afterwards. A lookup of a name that is not there answers null, and the
// caller draws nothing.
#pragma once

#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>

#include "render/Bitmap.h"
#include "ui/DieType.h"
#include "ui/FrameDef.h"
#include "ui/RulesetFont.h"
#include "ui/RulesetSettings.h"
#include "ui/WindowClass.h"

namespace lh::ui {

template <typename T>
using NamedMap = std::map<std::string, std::unique_ptr<T>, std::less<>>;

struct RulesetData {
    NamedMap<FrameDef> frameDefs;
    NamedMap<RulesetFont> fonts;
    NamedMap<render::Bitmap> icons;
    NamedMap<WindowClass> windowClasses;
    NamedMap<DieType> dieTypes;
    std::set<std::string, std::less<>> exportNames;
    std::unique_ptr<render::Bitmap> desktopImage;  // the last DESKTOPIMAGE; null before any
    RulesetSettings settings;
};

RulesetData& ruleset();
// Empties everything (tests load several Rulesets in one process).
void clearRuleset();

FrameDef* findFrame(std::string_view name);
RulesetFont* findFont(std::string_view name);
render::Bitmap* findIcon(std::string_view name);
WindowClass* findWindowClass(std::string_view name);
DieType* findDieType(std::string_view name);

}  // namespace lh::ui
