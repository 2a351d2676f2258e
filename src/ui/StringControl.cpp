// The string field: binding, keys, mouse, links, drawing.
#include "ui/StringControl.h"

#include "db/DbNode.h"
#include "db/StringValue.h"
#include "db/TextEscape.h"
#include "platform/Clipboard.h"
#include "render/RenderContext.h"
#include "ui/Desktop.h"
#include "ui/MenuModel.h"
#include "ui/RulesetData.h"
#include "ui/RulesetXml.h"
#include "ui/Window.h"
#include "ui/WindowOpener.h"

namespace lh::ui {

namespace {

IdentityMaker& identityMaker() {
    static IdentityMaker maker;
    return maker;
}

constexpr int kKeyC = 'C', kKeyV = 'V', kKeyX = 'X';

// The platform's clipboard holds line feeds where the text holds carriage
// returns; a single line takes blanks for them.
std::string fromClipboard(const std::string& pasted, bool multiLine) {
    std::string out;
    for (size_t i = 0; i < pasted.size(); ++i) {
        char c = pasted[i];
        if (c == '\r' && i + 1 < pasted.size() && pasted[i + 1] == '\n') continue;
        if (c == '\n' || c == '\r') {
            out.push_back(multiLine ? '\r' : ' ');
        } else if (static_cast<unsigned char>(c) >= 32 || c == '\t') {
            out.push_back(c == '\t' ? ' ' : c);
        }
    }
    return out;
}

std::string toClipboard(const std::string& text) {
    std::string out;
    for (char c : text) out.push_back(c == '\r' ? '\n' : c);
    return out;
}

}  // namespace

void setIdentityMaker(IdentityMaker maker) { identityMaker() = std::move(maker); }

StringControl::StringControl(Window& w) : Control(w) { kind = ControlKind::string; }

StringControl::~StringControl() {
    // A window closing under a field that has the keyboard: what was typed
    // still goes out, but nothing is laid out any more, and a field that
    // went with its record is not made again.
    if (KeyboardFocus() == this) {
        if (db::DbNode* node = boundNode()) {
            if (auto* v = node->valueAs<db::StringValue>()) v->publish(false);
        }
    }
}

void StringControl::Parse(db::XmlElement& element, db::DbNode* record) {
    readText(element, "NAME", name);
    std::string staticText;
    forEachChild(element, [&](std::unique_ptr<db::XmlElement> child, const std::string& tag) {
        if (ParseCommonChild(*child)) return;
        if (tag == "MULTILINE") {
            int32_t spacing = 0;
            if (readInt(*child, "SPACING", spacing) && spacing > 0) lineSpacing = spacing;
        } else if (tag == "CENTER") {
            centered = true;
        } else if (tag == "FONT") {
            readText(*child, "NAME", fontName);
        } else if (tag == "STATIC") {
            isStatic = true;
            readText(*child, "VALUE", staticText);
        } else if (tag == "EMPTY") {
            readText(*child, "VALUE", emptyText);
        } else if (tag == "CREATEIDENTITY") {
            createsIdentity = true;
        } else if (tag == "LINK") {
            isLink = true;
            linkEditing = false;
            readText(*child, "HANDLER", handlerName);
            readInt(*child, "UNDERLINEOFFSET", underlineOffset);
        }
    });
    // A static text is the control's own, whatever its name: it never
    // writes into the record.
    Bind(isStatic ? nullptr : record, db::NodeKind::stringValue);
    if (isStatic) value().set(staticText);
    textRect = rect;
}

db::StringValue& StringControl::value() { return *BoundValue<db::StringValue>(); }

std::string StringControl::GetText() {
    std::string_view text = value().text();
    if (text.empty() && !HasFocus()) return emptyText;
    return std::string(text);
}

void StringControl::SetText(const std::string& text) {
    if (isStatic) return;
    // The value undoes "#" escapes on every set: a typed "#" is kept as one.
    std::string stored;
    for (char c : text) {
        if (c == '#') {
            stored += "#23";
        } else {
            stored.push_back(c);
        }
    }
    value().set(stored);
    Invalidate();
}

void StringControl::SetFocused(bool focused) {
    if (focused) {
        SetKeyboardFocus(this);
    } else {
        focusFallback();
    }
}

bool StringControl::HasFocus() { return KeyboardFocus() == this; }

void StringControl::TakeFocus() {
    if (isStatic || (isLink && !linkEditing) || !mayEdit()) return;
    SetFocused(true);
    caret = int32_t(value().text().size());
    Invalidate();
}

void StringControl::FocusLost() {
    value().publish(false);
    if (isLink) linkEditing = false;
    preferredX = -1;
    Invalidate();
    // The text's height may have changed; a window that is closing is not
    // laid out again.
    if (!isAbsolute && !window->isClosed()) window->Layout(false, false);
}

void StringControl::KeyEvent(int message, int code, int) {
    if (message == kCharMessage && code == keys::kTab) {
        TabToNeighbour((modifierKeys() & kModShift) != 0);
        return;
    }
    if (message == kCharMessage && code == keys::kEscape) {
        focusFallback();
        return;
    }
    if (!mayEdit() || isStatic) return;
    if (message == kKeyDownMessage && (modifierKeys() & kModControl) &&
        (code == kKeyC || code == kKeyX || code == kKeyV)) {
        clipboardKey(code);
        return;
    }
    EditorKey(message, code);
    Invalidate();
}

void StringControl::clipboardKey(int code) {
    const std::string text(value().text());
    if (code == kKeyC || code == kKeyX) {
        if (!text.empty()) platform::setClipboardText(toClipboard(text));
        if (code == kKeyX) {
            SetText({});
            caret = 0;
        }
        return;
    }
    std::string pasted = fromClipboard(platform::clipboardText(), multiLine());
    if (!pasted.empty()) InsertAtCaret(pasted);
}

int StringControl::MouseButton(int message, uint32_t flags, uint32_t position) {
    if (isLink && !linkEditing) {
        if (message == mouse::kLeftUp) {
            focusFallback();
            if (auto* opener = dynamic_cast<WindowOpener*>(window->FindControl(handlerName))) opener->Activate();
        }
        return message == mouse::kLeftDown || message == mouse::kLeftUp ? kTakeCapture : kPass;
    }
    if (isStatic) return kPass;
    if (createsIdentity && (flags & mouse::kControl)) {
        if (message == mouse::kLeftUp && window->desktop().isHost() && !value().text().empty()) {
            if (identityMaker()) identityMaker()(std::string(value().text()));
        }
        return message == mouse::kLeftDown || message == mouse::kLeftUp ? kTakeCapture : kPass;
    }
    if (!mayEdit()) return kPass;
    if (message == mouse::kLeftDown) return kTakeCapture;
    if (message != mouse::kLeftUp) return kPass;
    if (!HasFocus()) SetFocused(true);
    int32_t wx, wy;
    window->GetOrigin(wx, wy);
    caret = IndexAtPoint(std::string(value().text()), mouse::xOf(position) - wx - textRect.left,
                         mouse::yOf(position) - wy - textRect.top);
    preferredX = -1;
    Invalidate();
    return kTakeCapture;
}

void StringControl::HoverChanged(bool entered) {
    Control::HoverChanged(entered);
    Invalidate();
}

std::unique_ptr<MenuModel> StringControl::BuildMenu() {
    if (!isLink || linkEditing) return nullptr;
    db::DbNode* node = boundNode();
    if (!node || !node->canEdit()) return nullptr;
    std::unique_ptr<MenuModel> menu = window->BuildMenu();
    if (!menu) menu = std::make_unique<MenuModel>("menuhub");
    menu->set(4, "Edit", "edit", kMenuEditLink);
    return menu;
}

void StringControl::MenuSelected(int id) {
    if (id != kMenuEditLink) {
        window->MenuSelected(id);
        return;
    }
    linkEditing = true;
    SetFocused(true);
    caret = -1;
    Invalidate();
}

void StringControl::Draw(render::RenderContext& context, const render::Rect& clip) {
    DrawControlFrame(context, clip);
    int32_t wx, wy;
    window->GetOrigin(wx, wy);
    textRect = rect;
    const bool focused = HasFocus();
    DrawEditor(context, clip, wx, wy, focused);
    if (isLink && !linkEditing && hovered && !lineStarts.empty()) {
        const std::string text = GetText();
        const int32_t end = LineEnd(text, 0);
        int32_t width = TextWidth(text.data(), end);
        int32_t left = wx + textRect.left + (centered ? (textRect.width() - width) / 2 : 0);
        int32_t top = wy + textRect.top + (multiLine() ? 0 : (textRect.height() - FontHeight()) / 2);
        float y = float(top + underlineOffset);
        render::Rect cut = render::intersect(clip, {wx + textRect.left, wy + textRect.top, wx + textRect.right,
                                                    wy + textRect.bottom + 1});
        if (width > 0) context.DrawLine(float(left), y, float(left + width), y, TextLineColor(), 1.0f, &cut);
    }
}

void StringControl::Measure(Size& size, int32_t width) {
    if (!multiLine()) {
        size = {width, FontHeight()};
        return;
    }
    if (isAbsolute) {
        Control::Measure(size, width);
        return;
    }
    size = {width, int32_t(LinesFor(GetText(), width).size()) * lineSpacing};
}

void StringControl::Arrange(bool) { textRect = rect; }

}  // namespace lh::ui
