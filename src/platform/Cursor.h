// The mouse cursor and the clipboard of the main window.
//
// Cursors go by the numbers the input routing speaks: 155 the default arrow,
// 156 over something that can be picked up (a die, a draggable control), 157
// while carrying a die or dragging a payload. Without a video device (tests,
// headless runs) the choice is only remembered.
//
// The clipboard holds Windows-1252 text here and UTF-8 on the platform's
// side; without a video device a process-local clipboard stands in.
#pragma once

#include <string>

namespace lh::platform {

constexpr int kCursorDefault = 155, kCursorDraggable = 156, kCursorCarrying = 157;

void setCursor(int id);
// The id last set (155 before any).
int currentCursor();

void setClipboardText(const std::string& text);
std::string clipboardText();

}  // namespace lh::platform
