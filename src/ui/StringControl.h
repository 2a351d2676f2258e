// STRINGCONTROL: one line or a block of plain text of a record. Each key
// writes the value here; the other machines get it once, when the field
// loses the keyboard. It can also be a static label (STATIC, where "#0d"
// breaks the line), a link that presses a window opener of its window
// (LINK HANDLER), or, with CREATEIDENTITY, the place where the host turns
// its text into an Identity with a control-click.
//
// Beyond the plain keys, control C, X and V copy the whole text, cut it, and
// put the clipboard's text in at the caret.
#pragma once

#include <functional>
#include <string>

#include "ui/Control.h"
#include "ui/KeyboardFocus.h"
#include "ui/TextEditor.h"

namespace lh::db {
class StringValue;
}

namespace lh::ui {

class StringControl final : public Control, public TextEditor, public KeyboardTarget {
public:
    explicit StringControl(Window& window);
    ~StringControl() override;

    void Parse(db::XmlElement& element, db::DbNode* record) override;
    void Draw(render::RenderContext& context, const render::Rect& clip) override;
    void Measure(Size& size, int32_t width) override;
    void Arrange(bool force) override;
    void TakeFocus() override;
    int MouseButton(int message, uint32_t flags, uint32_t position) override;
    void HoverChanged(bool entered) override;
    std::unique_ptr<MenuModel> BuildMenu() override;
    void MenuSelected(int id) override;

    std::string GetText() override;
    void SetText(const std::string& text) override;
    void SetFocused(bool focused) override;
    bool HasFocus() override;

    void FocusLost() override;
    void KeyEvent(int message, int code, int scanCode) override;

    db::StringValue& value();

    bool isStatic = false;
    std::string emptyText;
    bool isLink = false;
    bool linkEditing = true;
    std::string handlerName;
    int32_t underlineOffset = 0;
    bool createsIdentity = false;

private:
    void clipboardKey(int code);
};

constexpr int kMenuEditLink = 10;

// Makes an Identity of the name for the local user and makes it the active
// one; false when one of that name exists. The chat's Identities register
// it; until then a control-click on CREATEIDENTITY does nothing.
using IdentityMaker = std::function<bool(const std::string& name)>;
void setIdentityMaker(IdentityMaker maker);

}  // namespace lh::ui
