// What a drag carries. Texts are held by value, copied when the drag
// begins, so that a payload outlives the object it came from; a drop target
// asks the source again by GetDragData, and the source may answer with what
// it holds at that moment.
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

enum DragKind : int { kDragNothing = 0, kDragNumber = 1, kDragText = 2, kDragWindowLink = 3, kDragToken = 4 };

struct DragPayload {
    int kind = kDragNothing;
    // The picture of a window link or a token. Owned by the Ruleset's icons
    // or the token library, which live for the whole run.
    render::Bitmap* icon = nullptr;
    std::string description;  // a readable name of what is dragged
    std::string sourcePath;   // the path of the source node; empty if none
    db::DbNode* sourceNode = nullptr;  // behind a window link; cleared if the node goes
    int32_t number = 0;       // a number
    std::string text;         // a text
    std::string className;    // a window link: what it opens
    std::string recordName;
    std::string tokenPath;    // a token: the path of its picture, which names it
};

}  // namespace lh::ui
