// The link button.
#include "ui/WindowOpener.h"

#include <cctype>
#include <strings.h>

#include "db/DbNode.h"
#include "db/StringValue.h"
#include "render/GraphicsDevice.h"
#include "render/RenderContext.h"
#include "ui/Desktop.h"
#include "ui/DragImage.h"
#include "ui/InputState.h"
#include "ui/Lights.h"
#include "ui/RulesetData.h"
#include "ui/RulesetXml.h"
#include "ui/Window.h"
#include "ui/WindowMessages.h"
#include "ui/WindowNetwork.h"

namespace lh::ui {

WindowOpener::WindowOpener(Window& w) : Control(w) { kind = ControlKind::windowOpener; }

void WindowOpener::Parse(db::XmlElement& element, db::DbNode*) {
    readText(element, "NAME", name);
    forEachChild(element, [&](std::unique_ptr<db::XmlElement> child, const std::string& tag) {
        if (ParseCommonChild(*child)) return;
        std::string text;
        if (tag == "ICON") {
            if (readText(*child, "NORMAL", text)) iconNormal = findIcon(text);
            if (readText(*child, "PRESSED", text)) iconPressed = findIcon(text);
        } else if (tag == "DESCRIPTION") {
            readText(*child, "TEXT", descriptionText);
            readText(*child, "FIELD", descriptionField);
        } else if (tag == "CLASS") {
            readText(*child, "NAME", className);
        } else if (tag == "DATASOURCE") {
            hasRecordName = readText(*child, "NAME", recordName);
        } else if (tag == "ALTCLASS") {
            readText(*child, "NAME", altClassName);
        } else if (tag == "NEWRECORD") {
            newRecord = true;
            noDrag = true;
        } else if (tag == "NODRAG") {
            noDrag = true;
        } else if (tag == "CLOSETOGGLE") {
            closeToggle = true;
        } else if (tag == "SHORTCUT") {
            if (readText(*child, "KEY", text) && !text.empty())
                shortcutKey = std::toupper(static_cast<unsigned char>(text[0]));
            shortcutModifier = 0;
            if (readText(*child, "MODIFIER", text)) {
                if (strcasecmp(text.c_str(), "control") == 0) shortcutModifier = 2;
                else if (strcasecmp(text.c_str(), "alt") == 0) shortcutModifier = 1;
                else if (strcasecmp(text.c_str(), "shift") == 0) shortcutModifier = 4;
            }
        }
    });
}

const std::string& WindowOpener::ownRecordName() const { return hasRecordName ? recordName : window->name; }

void WindowOpener::Draw(render::RenderContext& context, const render::Rect& clip) {
    DrawControlFrame(context, clip);
    render::Bitmap* icon = pressed && iconPressed ? iconPressed : iconNormal;
    if (!icon) return;
    int32_t x, y;
    GetOrigin(x, y);
    context.DrawBitmap(*icon, x, y, lights().icon, &clip);
}

void WindowOpener::click(uint32_t flags) {
    if ((flags & mouse::kControl) && !altClassName.empty()) {
        CreateFromClass();
    } else {
        Activate();
    }
}

int WindowOpener::MouseButton(int message, uint32_t flags, uint32_t) {
    if (message == mouse::kLeftDown || message == mouse::kMiddleDown) {
        pressed = true;
        Invalidate();
    } else if (message == mouse::kLeftUp || message == mouse::kMiddleUp) {
        // Activating may close this very window: the Desktop destroys it
        // only after the event, so `this` stays valid to the end.
        click(flags);
        pressed = false;
        Invalidate();
    } else {
        pressed = false;
    }
    return kTakeCapture;
}

int WindowOpener::MouseDrag(int message, uint32_t flags, uint32_t, uint32_t position) {
    int32_t ox, oy;
    window->GetOrigin(ox, oy);
    bool inside = rect.contains(mouse::xOf(position) - ox, mouse::yOf(position) - oy);
    if (!inside && pressed) {
        pressed = false;
        Invalidate();
    }
    if (mouse::isRelease(message)) {
        if (inside) click(flags);
        pressed = false;
        Invalidate();
        return 1;
    }
    if (message == mouse::kMove && (flags & mouse::kLeft) && !noDrag && !currentDragKind(window->desktop())) {
        DragPayload payload;
        GetDragData(payload);
        window->desktop().BeginDrag(*this, payload);
    }
    return 1;
}

void WindowOpener::CancelDrag() {
    pressed = false;
    Invalidate();
}

int WindowOpener::GetDragData(DragPayload& payload) {
    payload.kind = 3;
    payload.icon = iconNormal;
    payload.className = className;
    payload.recordName = ownRecordName();
    payload.sourceNode = window->record;
    payload.description = descriptionText;
    if (window->record && !descriptionField.empty()) {
        db::DbNode* field = window->record->child(descriptionField);
        if (auto* text = field ? field->valueAs<db::StringValue>() : nullptr) payload.description = text->text();
    }
    return 1;
}

void WindowOpener::HoverChanged(bool entered) {
    Control::HoverChanged(entered);
    if (!noDrag) setDesktopCursor(entered ? cursor::kDraggable : cursor::kDefault);
}

int WindowOpener::ShortcutKey(int modifiers, int key) {
    if (shortcutModifier == 0 || modifiers != shortcutModifier || key != shortcutKey) return 0;
    Activate();
    return 1;
}

void WindowOpener::Activate() {
    Desktop& d = window->desktop();
    if (newRecord) {
        if (altClassName.empty()) altClassName = className;
        CreateFromClass();
        return;
    }
    if (Window* open = d.Find(className, ownRecordName())) {
        if (closeToggle || open->minimized) open->ToggleMinimize(nullptr);
        return;
    }
    const WindowClass* cls = findWindowClass(className);
    if (!cls) return;
    d.OpenWindow(*cls, ownRecordName());
}

void WindowOpener::CreateFromClass() {
    const WindowClass* cls = findWindowClass(altClassName);
    if (!cls) return;
    Desktop& d = window->desktop();
    if (!d.isHost()) {
        WindowMessage m;
        m.className = cls->name;
        d.network->sendToHost("WINCQ", encodeWindowMessage(m, WindowMessageForm::classOnly));
        return;
    }
    std::string id = "00001";
    if (!cls->dataSource.empty()) {
        if (db::DbNode* source = d.root->child(cls->dataSource)) id = source->nextRecordId();
    }
    d.OpenWindow(*cls, id);
}

}  // namespace lh::ui
