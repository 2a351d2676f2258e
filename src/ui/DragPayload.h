// What a drag carries. Strings are held by value so that a payload outlives
// the object it came from.
#pragma once

#include <string>

namespace lh::db {
class DbNode;
}
namespace lh::render {
class Bitmap;
}

namespace lh::ui {

struct DragPayload {
    int kind = 0;  // 1 number, 3 window link, 4 token
    render::Bitmap* icon = nullptr;  // owned by Icons
    std::string className;
    std::string recordName;
    std::string description;
    db::DbNode* sourceNode = nullptr;
};

}  // namespace lh::ui
