// Reading a die of the Ruleset.
#include "ui/DieType.h"

#include "db/XmlElement.h"
#include "render/Bitmap.h"
#include "ui/RulesetFiles.h"
#include "ui/RulesetXml.h"

namespace lh::ui {

DieType::DieType() = default;
DieType::~DieType() = default;

std::vector<std::string> parseDieValues(std::string_view list) {
    std::vector<std::string> values;
    std::string item;
    auto finish = [&] {
        if (!item.empty()) values.push_back(item.substr(0, DieType::kMaxValue));
        item.clear();
    };
    for (char c : list) {
        if (c == ' ' || c == '\t' || c == '\r' || c == '\n') continue;
        if (c == ',')
            finish();
        else
            item += c;
    }
    finish();
    return values;
}

bool DieType::Load(db::XmlElement& element) {
    if (!readText(element, "NAME", name)) return false;
    forEachChild(element, [&](std::unique_ptr<db::XmlElement> c, const std::string& tag) {
        std::string text;
        Point home;
        if (tag == "ICON" && readText(*c, "FILE", text)) {
            icon = loadRulesetBitmap(text);
        } else if (tag == "POSITION" && readPoint(*c, "POINT", home)) {
            homeX = uint32_t(home.x);
            homeY = uint32_t(home.y);
        } else if (tag == "VALUES" && readText(*c, "LIST", text)) {
            values = parseDieValues(text);
        }
    });
    return true;
}

}  // namespace lh::ui
