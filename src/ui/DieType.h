// One die of the Ruleset: its name, the faces that a roll without a thrown
// die picks from, the icon drawn in results, and the home of the permanent
// die of that name on the Desktop.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace lh::db {
class XmlElement;
}
namespace lh::render {
class Bitmap;
}

namespace lh::ui {

struct DieType {
    std::vector<std::string> values;  // each at most kMaxValue characters
    std::string name;
    std::unique_ptr<render::Bitmap> icon;  // empty when the file was missing; null without ICON
    uint32_t homeX = 0, homeY = 0;

    static constexpr size_t kMaxValue = 9;

    DieType();
    ~DieType();
    // NAME is required: false without it (the die is then given up).
    bool Load(db::XmlElement& element);
};

// The VALUES list: blanks, tabs and line ends dropped, split at commas,
// each item cut to kMaxValue characters; empty items are left out.
std::vector<std::string> parseDieValues(std::string_view list);

}  // namespace lh::ui
