// Cursors and the clipboard through SDL, with stand-ins when no video
// device is there.
#include "platform/Cursor.h"

#include <SDL.h>

#include "platform/Encoding.h"

namespace lh::platform {

namespace {

int current = kCursorDefault;
std::string localClipboard;

bool haveVideo() { return SDL_WasInit(SDL_INIT_VIDEO) != 0; }

SDL_Cursor* systemCursor(int id) {
    // Made once each, on first use; they live as long as the process.
    static SDL_Cursor* arrow = nullptr;
    static SDL_Cursor* hand = nullptr;
    static SDL_Cursor* carry = nullptr;
    SDL_Cursor** slot = id == kCursorDraggable ? &hand : id == kCursorCarrying ? &carry : &arrow;
    if (!*slot) {
        SDL_SystemCursor kind = id == kCursorDraggable  ? SDL_SYSTEM_CURSOR_HAND
                                : id == kCursorCarrying ? SDL_SYSTEM_CURSOR_SIZEALL
                                                        : SDL_SYSTEM_CURSOR_ARROW;
        *slot = SDL_CreateSystemCursor(kind);
    }
    return *slot;
}

}  // namespace

void setCursor(int id) {
    if (id != kCursorDraggable && id != kCursorCarrying) id = kCursorDefault;
    if (id == current) return;
    current = id;
    if (!haveVideo()) return;
    if (SDL_Cursor* c = systemCursor(id)) SDL_SetCursor(c);
}

int currentCursor() { return current; }

void setClipboardText(const std::string& text) {
    localClipboard = text;
    if (haveVideo()) SDL_SetClipboardText(windows1252ToUtf8(text).c_str());
}

std::string clipboardText() {
    if (haveVideo() && SDL_HasClipboardText()) {
        if (char* utf8 = SDL_GetClipboardText()) {
            std::string text = typedTextToWindows1252(utf8);
            SDL_free(utf8);
            return text;
        }
    }
    return localClipboard;
}

}  // namespace lh::platform
