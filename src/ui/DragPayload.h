// What a drag carries. Strings are held by value so that a payload outlives
// the object it came from.
#pragma once

#include <cstdint>
#include <string>

namespace lh::db {
class DbNode;
}
namespace lh::render {
class Bitmap;
}

namespace lh::ui {

struct DragPayload {
    int kind = 0;  // 1 number, 2 text, 3 window link, 4 token
    render::Bitmap* icon = nullptr;  // owned by Icons
    std::string className;
    std::string recordName;
    std::string description;
    int32_t number = 0;  // kind 1
    std::string text;    // kind 2
    db::DbNode* sourceNode = nullptr;
};

}  // namespace lh::ui
