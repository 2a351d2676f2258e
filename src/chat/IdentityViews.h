// What the user sees of Identities: the Gamemaster's strip of names
// (IdentityList), the joining player's choice of character
// (IDENTITYSELECTION, in the modal "identityselection" window), and the
// button that makes an Identity of a sheet's field (IDENTITYACTIVATION).
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "chat/ChatWindow.h"
#include "platform/Signal.h"
#include "ui/Control.h"
#include "ui/DesktopObject.h"
#include "ui/KeyboardFocus.h"
#include "ui/Subsystems.h"

namespace lh::render {
class Bitmap;
class Font;
}  // namespace lh::render
namespace lh::ui {
class FrameDef;
class RulesetFont;
}  // namespace lh::ui

namespace lh::chat {

// The host's strip of Identities along the Desktop.
class IdentityList : public ui::DesktopObject {
public:
    void Draw(render::RenderContext& context);
    int MouseButton(int message, uint32_t flags, uint32_t position) override;
    int MouseDrop(int message, uint32_t flags, uint32_t position, ui::DesktopObject* source) override;
    std::unique_ptr<ui::MenuModel> BuildMenu() override;
    void MenuSelected(int id) override;
    // The slot under x, or -1.
    int slotAt(int32_t x) const;
    // Left clicks also reset the entry to its first buffer.
    std::function<void()> selected;
    // The strip's plates as the Ruleset places them in a client area of
    // this height, before any rise: top and bottom.
    static std::pair<int32_t, int32_t> restingSpan(int32_t clientHeight);
    // How far it went up with a chat grown beneath it.
    int32_t rise = 0;

private:
    std::string menuName;
    std::string traced;  // the names last drawn, as traced
};

struct IdentityRow {
    std::string name, campaign, description;
    int flags = 2;  // 1 local, 2 server
    bool rejected = false;
    std::string portraitPath;  // empty: where its kind keeps it
};

class IdentitySelection : public ui::Control, public ui::KeyboardTarget {
public:
    explicit IdentitySelection(ui::Window& window);
    ~IdentitySelection() override;

    void Parse(db::XmlElement& element, db::DbNode* record) override;
    void Draw(render::RenderContext& context, const render::Rect& clip) override;
    int MouseButton(int message, uint32_t flags, uint32_t position) override;
    void KeyEvent(int message, int code, int scanCode) override;
    void TakeFocus() override { ui::SetKeyboardFocus(this); }
    // The host's menu over a row: "Delete character", unless somebody plays it.
    std::unique_ptr<ui::MenuModel> BuildMenu() override;
    void MenuSelected(int id) override;
    static constexpr int kMenuDeleteCharacter = 66;

    // The row that the click at window-relative y hits, or -1.
    int rowAt(int32_t y) const;
    void clickRow(int row, uint64_t nowMs);
    // Answers 0 when the window may close (the host's and local choices),
    // 1 while the host's answer is awaited.
    int choose(const IdentityRow& row);
    void answer(bool accepted);
    void addRow(const std::string& name);
    // The characters of this machine that may be taken on (the local ones,
    // and in the local way in the copies of server characters too).
    void addCharacterChoices();
    void removeRow(const std::string& name);

    std::string fontName, descriptionFontName, selectionFrameName, errorIconName;
    int32_t rowHeight = 50, textMargin = 100, portraitMargin = 20;
    int selectedRow = -1;
    int32_t scrollOffset = 0;
    uint64_t lastClickTime = 0;
    std::string newName = "[Create New]";
    bool editing = false;
    bool creationRejected = false;  // the name typed in row 0 was refused
    std::vector<IdentityRow> rows;
    std::unique_ptr<IdentityRow> pendingRow;

    static constexpr size_t kMaxNewName = 255;
    static constexpr uint32_t kDoubleClickMs = 500;

private:
    void finish();
    std::string menuName;  // the row of the open menu
};

// The selection that counts, or null.
IdentitySelection* identitySelection();

class IdentityActivation : public ui::Control {
public:
    using ui::Control::Control;
    void Parse(db::XmlElement& element, db::DbNode* record) override;
    void Draw(render::RenderContext& context, const render::Rect& clip) override;
    int MouseButton(int message, uint32_t flags, uint32_t position) override;

    std::string sourceField, normalIconName, pressedIconName;
    bool pressed = false;
};


// What the chat keeps running for Identities: the list's drawing, the
// join's choice, the answers from the host.
struct IdentityViews {
    std::unique_ptr<IdentityList> list;
    std::vector<platform::Subscription> subscriptions;
};
std::unique_ptr<IdentityViews> startIdentityViews(const ui::SubsystemStart& start, ChatWindow& window);

// A name field marked CREATEIDENTITY, control-clicked on the host: a new
// Identity of that name in "chatfont" becomes the active one. False, and
// nothing changes, when the name is empty or already an Identity.
bool makeIdentityFromField(const std::string& name);

}  // namespace lh::chat
