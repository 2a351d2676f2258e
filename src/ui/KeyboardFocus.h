// Who has the keyboard. One target at a time, process-wide; without one, and
// whenever the current one dies, the keyboard goes to the fallback target
// (the chat entry, once there is one).
#pragma once

namespace lh::ui {

class KeyboardTarget {
public:
    virtual ~KeyboardTarget();
    virtual void FocusLost() {}
    virtual void FocusGained() {}
    // `message` is 256 for a key down (virtual-key code) or 258 for a
    // character.
    virtual void KeyEvent(int message, int code, int scanCode) = 0;
};

constexpr int kKeyDownMessage = 256;
constexpr int kCharMessage = 258;

KeyboardTarget* KeyboardFocus();
// When the target changes: marks the whole client area dirty, tells the old
// target it lost the keyboard, stores the new one and tells it. Returns the
// old one.
KeyboardTarget* SetKeyboardFocus(KeyboardTarget* target);
// The chat entry registers here; null leaves the keyboard with nobody.
void setFallbackKeyboardTarget(KeyboardTarget* target);
KeyboardTarget* fallbackKeyboardTarget();
// SetKeyboardFocus(fallback).
void focusFallback();

// The modifier keys held now, as the Desktop's key routing saw them: 2
// control, 1 alt, 4 shift. Key handlers that care (word moves, the
// clipboard, the tab direction, a negated number under the mouse) ask here.
constexpr int kModControl = 2, kModAlt = 1, kModShift = 4;
int modifierKeys();
void setModifierKeys(int mask);

}  // namespace lh::ui
