// TOKENBAG: the token library as a loose heap in a window. The heap is
// shuffled and scattered when made and again at a middle click (or a left
// click with a modifier); a picture dragged inside the bag goes on top of
// the heap where it is let go, and one dragged out is dropped as a token.
#pragma once

#include <cstdint>
#include <random>
#include <vector>

#include "ui/Control.h"

namespace lh::table {

struct TokenDef;

class TokenBag final : public ui::Control {
public:
    struct Entry {
        int32_t x = 0, y = 0;  // relative to the control's top left
        TokenDef* def = nullptr;
    };

    explicit TokenBag(ui::Window& window) : Control(window) {}

    void Parse(db::XmlElement& element, db::DbNode* record) override;
    void Draw(render::RenderContext& context, const render::Rect& clip) override;
    void Arrange(bool force) override;
    int MouseButton(int message, uint32_t flags, uint32_t position) override;
    int MouseDrag(int message, uint32_t flags, uint32_t startPosition, uint32_t position) override;
    int GetDragData(ui::DragPayload& payload) override;
    void HoverChanged(bool entered) override;
    void HoverMove(uint32_t position) override;

    void Scatter();
    // A trace line with the top picture's name and centre on the Desktop.
    void traceTop();
    const std::vector<Entry>& entries() const { return heap; }

private:
    std::vector<Entry> heap;
    int picked = -1;  // index into heap; not drawn while dragged
    bool dragging = false;
    bool scattered = false;  // thrown into a laid-out rectangle once
    std::minstd_rand random{1};  // seeded: the same heap on every run
};

void registerTokenBag();

}  // namespace lh::table
