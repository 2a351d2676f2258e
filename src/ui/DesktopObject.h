// Anything the mouse can reach on the Desktop: a window, a control, a
// singleton such as the chat window, a token on the bare Desktop. Mouse
// operations answer 0 to pass the event on to `owner`.
//
// Positions are packed as the platform packs them: x in the low 16 bits, y
// in the high 16 bits, both signed. Messages and flags are the platform's
// mouse numbers (see MouseCodes below).
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "render/Rect.h"

namespace lh::render {
class RenderContext;
}

namespace lh::ui {

class MenuModel;
struct DragPayload;

namespace mouse {
constexpr int kMove = 512, kLeftDown = 513, kLeftUp = 514, kRightDown = 516, kRightUp = 517,
              kMiddleDown = 519, kMiddleUp = 520;
constexpr uint32_t kLeft = 1, kRight = 2, kShift = 4, kControl = 8, kMiddle = 16;

constexpr uint32_t pack(int32_t x, int32_t y) { return (uint32_t(uint16_t(int16_t(x)))) | (uint32_t(uint16_t(int16_t(y))) << 16); }
constexpr int32_t xOf(uint32_t position) { return int16_t(uint16_t(position & 0xFFFF)); }
constexpr int32_t yOf(uint32_t position) { return int16_t(uint16_t(position >> 16)); }
constexpr bool isPress(int message) { return message == kLeftDown || message == kMiddleDown || message == kRightDown; }
constexpr bool isRelease(int message) { return message == kLeftUp || message == kMiddleUp || message == kRightUp; }
}  // namespace mouse

// What a mouse button handler answers.
enum MouseResult : int {
    kPass = 0,            // refused: the event goes on to the owner
    kTakeCapture = 1,     // taken, and the object holds the mouse until release
    kTakeNoCapture = 2,   // taken, nothing held
};

class DesktopObject {
public:
    DesktopObject() = default;
    // A dying object clears every reference the input state holds to it
    // (hover, capture, keyboard focus, drag source, menu owner) and leaves
    // the input target lists.
    virtual ~DesktopObject();
    DesktopObject(const DesktopObject&) = delete;
    DesktopObject& operator=(const DesktopObject&) = delete;

    // The deepest object at the point (Desktop coordinates), or null.
    virtual DesktopObject* HitTest(int32_t x, int32_t y);
    // Top left corner in Desktop coordinates.
    virtual void GetOrigin(int32_t& x, int32_t& y) const;
    virtual int MouseButton(int message, uint32_t flags, uint32_t position);
    virtual int MouseWheel(int notches, uint32_t position);
    virtual int MouseDrag(int message, uint32_t flags, uint32_t startPosition, uint32_t position);
    virtual int MouseDrop(int message, uint32_t flags, uint32_t position, DesktopObject* source);
    virtual void CancelDrag() {}
    virtual int GetDragData(DragPayload& payload);
    virtual void MenuSelected(int id);
    virtual std::unique_ptr<MenuModel> BuildMenu();
    virtual void BringToFront() {}
    virtual void HoverChanged(bool entered);
    virtual void HoverMove(uint32_t position);
    // The cursor this object wants at the point under the mouse (packed,
    // Desktop coordinates), asked after HoverChanged(true) and each
    // HoverMove, and again after one of its menu entries was chosen. 0
    // names none: what HoverChanged showed stays, and a cursor named
    // before goes back to the default.
    virtual int CursorAt(uint32_t position);

    std::vector<DesktopObject*> children;  // not owned; hit testing descends into them
    render::Rect rect;
    DesktopObject* owner = nullptr;
    bool hovered = false;
};

}  // namespace lh::ui
