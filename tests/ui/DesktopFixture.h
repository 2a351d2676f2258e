// What the window tests share: a small Ruleset of window classes, icons of
// known sizes, and TESTBOX, a control registered the way a subsystem
// registers its own: it binds a number to its NAME, takes its content
// height from HEIGHT, fills its rectangle with COLOR, steps its value on a
// click where the user may edit, and can hold the keyboard.
#pragma once

#include <string>

#include "ui/Control.h"
#include "ui/KeyboardFocus.h"

namespace lh::test {

class TestBox final : public ui::Control, public ui::KeyboardTarget {
public:
    using ui::Control::Control;
    void Parse(db::XmlElement& element, db::DbNode* record) override;
    void Draw(render::RenderContext& context, const render::Rect& clip) override;
    void Measure(ui::Size& size, int32_t width) override;
    int MouseButton(int message, uint32_t flags, uint32_t position) override;
    void TakeFocus() override { ui::SetKeyboardFocus(this); }
    void KeyEvent(int message, int code, int scanCode) override;
    int32_t value();

    int32_t contentHeight = 10;
    uint32_t color = 0x00FFFFFF;
    int keys = 0;
};

// A keyboard target standing in for the chat entry.
class FallbackTarget final : public ui::KeyboardTarget {
public:
    void KeyEvent(int, int, int) override { ++keys; }
    int keys = 0;
};

// Registers TESTBOX with the control factory (once).
void registerTestControls();

// The window classes of the tests (see DesktopFixture.cpp), on top of icons
// "mini" (32x32), "minimized_glow" (48x48), "open", "openpressed" (20x20)
// and "pic" (16x16), and a frame "plain".
extern const char* const kWindowRuleset;

// Clears the Ruleset maps and loads `xml` with the icons above.
void loadWindowRuleset(const char* xml = kWindowRuleset);

// Adds a font `name` whose every character is a white block 7 pixels wide
// and 10 high, so that tests know where text stands to the pixel.
void addFixedFont(const char* name);

}  // namespace lh::test
