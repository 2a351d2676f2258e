// Maps SDL key symbols to virtual-key numbers.
#include "platform/KeyCodes.h"

#include <SDL.h>

namespace lh::platform {

int virtualKeyFromSdl(int32_t key, int scancode) {
    if (key >= 'a' && key <= 'z') return key - 'a' + 'A';
    if (key >= '0' && key <= '9') return key;
    if (key >= SDLK_F1 && key <= SDLK_F12) return 0x70 + (key - SDLK_F1);
    switch (key) {
    case SDLK_BACKSPACE: return 0x08;
    case SDLK_TAB: return 0x09;
    case SDLK_RETURN:
    case SDLK_KP_ENTER: return 0x0D;
    case SDLK_LSHIFT:
    case SDLK_RSHIFT: return 0x10;
    case SDLK_LCTRL:
    case SDLK_RCTRL: return 0x11;
    case SDLK_LALT:
    case SDLK_RALT: return 0x12;
    case SDLK_PAUSE: return 0x13;
    case SDLK_CAPSLOCK: return 0x14;
    case SDLK_ESCAPE: return 0x1B;
    case SDLK_SPACE: return 0x20;
    case SDLK_PAGEUP: return 0x21;
    case SDLK_PAGEDOWN: return 0x22;
    case SDLK_END: return 0x23;
    case SDLK_HOME: return 0x24;
    case SDLK_LEFT: return 0x25;
    case SDLK_UP: return 0x26;
    case SDLK_RIGHT: return 0x27;
    case SDLK_DOWN: return 0x28;
    case SDLK_PRINTSCREEN: return 0x2C;
    case SDLK_INSERT: return 0x2D;
    case SDLK_DELETE: return 0x2E;
    case SDLK_KP_0: return 0x60;
    case SDLK_APPLICATION: return 0x5D;
    case SDLK_KP_MULTIPLY: return 0x6A;
    case SDLK_KP_PLUS: return 0x6B;
    case SDLK_KP_MINUS: return 0x6D;
    case SDLK_KP_PERIOD: return 0x6E;
    case SDLK_KP_DIVIDE: return 0x6F;
    case SDLK_SEMICOLON: return 0xBA;
    case SDLK_EQUALS: return 0xBB;
    case SDLK_COMMA: return 0xBC;
    case SDLK_MINUS: return 0xBD;
    case SDLK_PERIOD: return 0xBE;
    case SDLK_SLASH: return 0xBF;
    case SDLK_BACKQUOTE: return 0xC0;
    case SDLK_LEFTBRACKET: return 0xDB;
    case SDLK_BACKSLASH: return 0xDC;
    case SDLK_RIGHTBRACKET: return 0xDD;
    case SDLK_QUOTE: return 0xDE;
    default: break;
    }
    if (key >= SDLK_KP_1 && key <= SDLK_KP_9) return 0x61 + (key - SDLK_KP_1);
    (void)scancode;
    return 0;
}

}  // namespace lh::platform
