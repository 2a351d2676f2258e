// A token lying on the bare Desktop, where a dragged token was dropped on no
// window. It shows its picture over a soft black shadow and can be picked
// up again: the drag hides it, and when that drag ends the token is gone, as
// the drop has put it where it belongs now (back on the Desktop, onto a map,
// anywhere). A cancelled drag leaves it where it was.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ui/DesktopObject.h"

namespace lh::render {
class Bitmap;
class RenderContext;
}  // namespace lh::render

namespace lh::ui {

class Desktop;

class DesktopToken final : public DesktopObject {
public:
    // Centred on (x, y), with the picture's size.
    DesktopToken(Desktop& desktop, render::Bitmap& picture, std::string tokenPath, int32_t x, int32_t y);

    DesktopObject* HitTest(int32_t x, int32_t y) override;
    int MouseButton(int message, uint32_t flags, uint32_t position) override;
    int MouseDrag(int message, uint32_t flags, uint32_t startPosition, uint32_t position) override;
    void CancelDrag() override;
    int GetDragData(DragPayload& payload) override;
    void HoverChanged(bool entered) override;
    void Draw(render::RenderContext& context);

    render::Bitmap& picture;
    const std::string tokenPath;
    bool hidden = false;  // picked up: a drag of it runs

private:
    Desktop& home;
};

constexpr uint32_t kTokenShadowColor = 0x7F000000;

// Puts a new token on the Desktop: on its input targets, at the front, and
// in the list that is drawn.
DesktopToken& placeDesktopToken(Desktop& desktop, render::Bitmap& picture, const std::string& tokenPath,
                                int32_t x, int32_t y);
// The tokens lying on the bare Desktop, oldest first.
const std::vector<std::unique_ptr<DesktopToken>>& desktopTokens();
// Draws them, and destroys those whose drag has ended.
void drawDesktopTokens(render::RenderContext& context);
// Destroys those whose drag has ended (outside any event).
void collectDesktopTokens();
// Removes them all (a Desktop going away, tests).
void clearDesktopTokens();

}  // namespace lh::ui
