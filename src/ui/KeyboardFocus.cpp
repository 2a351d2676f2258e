// The keyboard focus and its fallback.
#include "ui/KeyboardFocus.h"

#include "render/GraphicsDevice.h"
#include "ui/InputState.h"

namespace lh::ui {

namespace {
KeyboardTarget* focus = nullptr;
KeyboardTarget* fallback = nullptr;
}  // namespace

KeyboardTarget::~KeyboardTarget() {
    if (fallback == this) fallback = nullptr;
    if (focus == this) {
        // A dying target hears nothing more; the keyboard moves on.
        focus = nullptr;
        if (fallback) SetKeyboardFocus(fallback);
    }
}

KeyboardTarget* KeyboardFocus() { return focus; }

KeyboardTarget* SetKeyboardFocus(KeyboardTarget* target) {
    KeyboardTarget* old = focus;
    // Focus shows all over (carets, highlighted frames); a focus that stays
    // changes nothing, which a click on a window's surface does every time.
    if (old == target) return old;
    render::GraphicsDevice::Get().Invalidate(nullptr);
    focus = nullptr;
    if (old) old->FocusLost();
    focus = target;
    if (focus) focus->FocusGained();
    return old;
}

void setFallbackKeyboardTarget(KeyboardTarget* target) { fallback = target; }
KeyboardTarget* fallbackKeyboardTarget() { return fallback; }
void focusFallback() { SetKeyboardFocus(fallback); }

int modifierKeys() { return inputState().modifiers; }
void setModifierKeys(int mask) { inputState().modifiers = mask; }

}  // namespace lh::ui
