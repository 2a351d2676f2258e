// The running drag as the rest of the Desktop sees it: its kind, the
// picture that follows the mouse (a number or a few words in "diemod", or
// the icon of a link or a token), the cursor, the part of the screen the
// picture dirties, and the drops that no object takes, which land on the
// bare Desktop.
//
// The payload is the Desktop's copy, made when the drag began. A drag
// whose source dies is over: its kind reads 0 from then on.
#pragma once

#include <cstdint>
#include <string>

#include "render/Rect.h"
#include "ui/DragPayload.h"

namespace lh::render {
class RenderContext;
}

namespace lh::ui {

class Desktop;
class DesktopObject;

// Shows a cursor (155 default, 156 over what can be picked up, 157 while
// dragging) through the main window, and keeps it in the input state.
void setDesktopCursor(int id);

// The kind of the drag under way on this Desktop; 0 when none runs.
int currentDragKind(const Desktop& desktop);

// The text of a number or text payload's picture: "%d" (negated when
// `negate`), or the first 10 characters, with "..." behind a longer or an
// empty text. Empty for the other kinds.
std::string dragImageText(const DragPayload& payload, bool negate);
// The picture's rectangle centred on (x, y); empty for kind 0.
render::Rect dragImageRect(const DragPayload& payload, int32_t x, int32_t y, bool negate);

// The routing tells the picture where the drag stands: at the start the
// whole client area is dirty (droppable fields show that they would take
// it), then at each move the picture's old and new rectangles.
void dragStarted(Desktop& desktop);
void dragMoved(Desktop& desktop, int32_t x, int32_t y);
// The rectangle last marked dirty for the picture (grown by 50 pixels).
const render::Rect& lastDragImageArea();

// In the frame, over everything but the radial menu.
void drawDragImage(const Desktop& desktop, render::RenderContext& context);

// A drop that no object took. A token becomes a DesktopToken at the point;
// a window link opens its window there, or minimizes or restores it when
// it is open and can be minimized. Other kinds are ignored. Answers 1 when
// the drop was one of these two kinds.
int dropOnBareDesktop(Desktop& desktop, uint32_t flags, int32_t x, int32_t y, DesktopObject* source);

}  // namespace lh::ui
