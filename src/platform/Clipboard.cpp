// The clipboard through SDL, with a stand-in when no video device is there.
#include "platform/Clipboard.h"

#include <SDL.h>

#include "platform/Encoding.h"

namespace lh::platform {

namespace {

std::string localClipboard;

bool haveVideo() { return SDL_WasInit(SDL_INIT_VIDEO) != 0; }

}  // namespace

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
