// The Identity list, the choice of character at the join, and the button
// that makes an Identity of a field.
//
// Index: the join's context; IdentityList; IdentitySelection;
// IdentityActivation; start.
#include "chat/IdentityViews.h"

#include <algorithm>

#include "db/DbNode.h"
#include "db/StringValue.h"
#include "net/ClientLogin.h"
#include "net/JoinEvents.h"
#include "net/Session.h"
#include "platform/Platform.h"
#include "platform/Trace.h"
#include "render/Bitmap.h"
#include "render/GraphicsDevice.h"
#include "render/RenderContext.h"
#include "ui/CharacterPort.h"
#include "ui/ControlFactory.h"
#include "ui/Desktop.h"
#include "ui/DesktopHooks.h"
#include "ui/DragPayload.h"
#include "ui/FrameDef.h"
#include "ui/FrameLayers.h"
#include "ui/Identities.h"
#include "ui/InputState.h"
#include "ui/Lights.h"
#include "ui/MenuModel.h"
#include "ui/RulesetData.h"
#include "ui/RulesetXml.h"
#include "ui/Window.h"

namespace lh::chat {

namespace {

// Section: the join's context.

struct JoinContext {
    db::SessionMode mode = db::SessionMode::LocalCharacters;
    net::Session* session = nullptr;
    ui::Desktop* desktop = nullptr;
    std::vector<std::string> offered;  // server characters, in the order told
    std::vector<std::string> inPlay;
    IdentitySelection* selection = nullptr;
};

JoinContext& join() {
    static JoinContext c;
    return c;
}

// The choice of character. A joining player may reach nothing else until he
// has one; the local way in keeps the Desktop open, as its characters may
// be switched at any time, and so does the Gamemaster's list of the
// Campaign's characters.
void openSelection() {
    JoinContext& c = join();
    const ui::WindowClass* cls = ui::findWindowClass("identityselection");
    if (!cls || !c.desktop || identitySelection()) return;
    c.desktop->OpenWindow(*cls, "");
    if (c.mode == db::SessionMode::Join) c.desktop->SetModal(true);
}

void drawCentred(render::Font& font, render::RenderContext& context, const render::Rect& box, const std::string& text,
                 const render::Rect& clip) {
    const int32_t w = font.MeasureText(text.data(), int32_t(text.size())).width;
    const int32_t x = box.left + std::max(0, (box.width() - w) / 2);
    const int32_t y = box.top + (box.height() - font.LineHeight()) / 2;
    render::Rect cut = render::intersect(clip, box);
    if (!cut.isEmpty()) font.DrawText(context, x, y, text.data(), int32_t(text.size()), &cut);
}

// The Gamemaster's Identity without a name is his narration.
std::string nameOf(const ui::Identity& identity) {
    return identity.name.empty() ? std::string("Narrator") : identity.name;
}

}  // namespace

// Section: IdentityList.

void IdentityList::Draw(render::RenderContext& context) {
    const ui::IdentityListSettings& s = ui::ruleset().settings.identityList;
    const auto& all = ui::identities().all();
    if (!s.present || s.spacing <= 0) {
        rect = {};
        return;
    }
    const ui::Desktop& desk = ui::desktop();
    const int32_t px = s.position.x < 0 ? desk.clientWidth + s.position.x : s.position.x;
    const int32_t py = restingSpan(desk.clientHeight).first - s.name.offset - rise;
    ui::FrameDef* frame = ui::findFrame(s.name.frame);
    ui::RulesetFont* nameFont = ui::findFont("mini_name");
    ui::RulesetFont* selectedFont = ui::findFont("mini_name_selected");
    const render::Rect clip = context.ClipRect();
    const int active = ui::identities().activePosition();
    std::string shown;
    for (const auto& identity : all) shown += (shown.empty() ? "" : ",") + nameOf(*identity);
    if (shown != traced) {
        traced = shown;
        platform::trace("identity list %.400s", shown.c_str());
    }
    for (size_t i = 0; i < all.size(); ++i) {
        const int32_t x = px + int32_t(i) * s.spacing;
        render::Rect plate{x + s.name.margin, py + s.name.offset, x + s.spacing - s.name.margin,
                           py + s.name.offset + s.name.height};
        if (frame) frame->Draw(context, plate, ui::lights().frame, &clip);
        ui::RulesetFont* font = int(i) == active && selectedFont ? selectedFont : nameFont;
        if (!font) continue;
        render::Rect box = plate;
        if (s.name.maxWidth > 0 && box.width() > s.name.maxWidth) {
            box.left = x + (s.spacing - s.name.maxWidth) / 2;
            box.right = box.left + s.name.maxWidth;
        }
        drawCentred(*font, context, box, nameOf(*all[i]), clip);
    }
    rect = {px, py, px + int32_t(all.size()) * s.spacing, py + s.name.offset + s.name.height};
}

std::pair<int32_t, int32_t> IdentityList::restingSpan(int32_t clientHeight) {
    const ui::IdentityListSettings& s = ui::ruleset().settings.identityList;
    const int32_t py = s.position.y < 0 ? clientHeight + s.position.y : s.position.y;
    return {py + s.name.offset, py + s.name.offset + s.name.height};
}

int IdentityList::slotAt(int32_t x) const {
    const ui::IdentityListSettings& s = ui::ruleset().settings.identityList;
    if (s.spacing <= 0 || x < rect.left) return -1;
    const int slot = (x - rect.left) / s.spacing;
    return slot < int(ui::identities().all().size()) ? slot : -1;
}

int IdentityList::MouseButton(int message, uint32_t flags, uint32_t position) {
    if (ui::mouse::isPress(message)) return message == ui::mouse::kRightDown ? ui::kPass : ui::kTakeCapture;
    const int slot = slotAt(ui::mouse::xOf(position));
    if (slot < 0) return ui::kTakeNoCapture;
    const bool ctrl = flags & ui::mouse::kControl;
    if (message == ui::mouse::kLeftUp && !ctrl) {
        ui::identities().activate(slot);
        if (selected) selected();
    } else if ((message == ui::mouse::kMiddleUp || (message == ui::mouse::kLeftUp && ctrl)) && slot > 0) {
        ui::identities().removeIdentity(ui::identities().all()[size_t(slot)]->name);
    }
    return ui::kTakeNoCapture;
}

int IdentityList::MouseDrop(int, uint32_t, uint32_t, ui::DesktopObject* source) {
    ui::DragPayload payload;
    if (!source || !source->GetDragData(payload)) payload = ui::desktop().dragPayload;
    if (payload.kind == 2) {
        if (!payload.text.empty()) ui::identities().selectOrMakeIdentity(payload.text, "npcchatfont");
        return 1;
    }
    if (payload.kind != 3) return 0;
    for (const ui::AcceptDrop& accept : ui::ruleset().settings.identityList.acceptDrops) {
        if (accept.windowClass != payload.className) continue;
        const ui::WindowClass* cls = ui::findWindowClass(payload.className);
        db::DbNode* root = ui::desktop().root;
        db::DbNode* source = cls && root ? root->child(cls->dataSource) : nullptr;
        db::DbNode* record = source ? source->child(payload.recordName) : nullptr;
        db::DbNode* field = record ? record->child(accept.field) : nullptr;
        if (field && field->kind == db::NodeKind::stringValue && field->value) {
            const std::string name(static_cast<db::StringValue*>(field->value.get())->text());
            if (!name.empty()) ui::identities().selectOrMakeIdentity(name, "npcchatfont");
        }
        return 1;
    }
    return 0;
}

std::unique_ptr<ui::MenuModel> IdentityList::BuildMenu() {
    const int slot = slotAt(ui::mouse::xOf(ui::inputState().lastMousePosition));
    if (slot <= 0) return nullptr;  // the first Identity stays
    menuName = ui::identities().all()[size_t(slot)]->name;
    auto menu = std::make_unique<ui::MenuModel>("menuhub");
    menu->set(0, "Remove entry", "erase", 1);
    return menu;
}

void IdentityList::MenuSelected(int id) {
    if (id == 1 && !menuName.empty()) ui::identities().removeIdentity(menuName);
    menuName.clear();
}

// Section: IdentitySelection.

IdentitySelection* identitySelection() { return join().selection; }

IdentitySelection::IdentitySelection(ui::Window& w) : ui::Control(w) {
    join().selection = this;
    for (const std::string& name : join().offered) addRow(name);
    addCharacterChoices();
}

void IdentitySelection::addCharacterChoices() {
    const ui::CharacterPort& port = ui::characterPort();
    const db::SessionMode mode = join().mode;
    if (!port.choices) return;
    // The Gamemaster's choices are the Campaign's own characters.
    for (const ui::CharacterChoice& choice : port.choices()) {
        // A joining player is offered the host's characters by the host.
        const bool local = choice.flags & 1;
        if (!local && mode == db::SessionMode::Join) continue;
        auto same = [&](const IdentityRow& r) { return r.name == choice.name && r.campaign == choice.campaign; };
        if (std::any_of(rows.begin(), rows.end(), same)) continue;
        IdentityRow row;
        row.name = choice.name;
        row.campaign = choice.campaign;
        row.flags = local ? 1 : 2;
        row.description = local ? "(Local character)" : choice.campaign + " (Server character)";
        row.portraitPath = choice.portraitPath;
        rows.push_back(std::move(row));
    }
    Invalidate();
}

IdentitySelection::~IdentitySelection() {
    if (join().selection == this) join().selection = nullptr;
    if (ui::KeyboardFocus() == this) ui::focusFallback();
}

void IdentitySelection::Parse(db::XmlElement& element, db::DbNode*) {
    ui::readText(element, "NAME", name);
    ui::forEachChild(element, [&](std::unique_ptr<db::XmlElement> child, const std::string& tag) {
        if (ParseCommonChild(*child)) return;
        if (tag == "FONT") {
            ui::readText(*child, "NAME", fontName);
            ui::readText(*child, "DESCRIPTION", descriptionFontName);
        } else if (tag == "SELECTIONFRAME") {
            ui::readText(*child, "NAME", selectionFrameName);
        } else if (tag == "LOCATION") {
            ui::readInt(*child, "SPACING", rowHeight);
            ui::readInt(*child, "TEXTMARGIN", textMargin);
            ui::readInt(*child, "PORTRAITMARGIN", portraitMargin);
        } else if (tag == "ERRORICON") {
            ui::readText(*child, "ERROR", errorIconName);
        }
    });
    if (rowHeight <= 0) rowHeight = 50;
}

void IdentitySelection::addRow(const std::string& rowName) {
    for (const IdentityRow& r : rows)
        if (r.name == rowName) return;
    const std::vector<std::string>& playing = join().inPlay;
    if (std::find(playing.begin(), playing.end(), rowName) != playing.end()) return;
    IdentityRow row;
    row.name = rowName;
    row.flags = 2;
    row.description = "(Server character)";
    rows.push_back(std::move(row));
    Invalidate();
}

void IdentitySelection::removeRow(const std::string& rowName) {
    auto it = std::find_if(rows.begin(), rows.end(), [&](const IdentityRow& r) { return r.name == rowName; });
    if (it == rows.end()) return;
    const int index = int(it - rows.begin()) + 1;
    rows.erase(it);
    if (selectedRow == index) selectedRow = -1;
    if (selectedRow > index) --selectedRow;
    Invalidate();
}

int IdentitySelection::rowAt(int32_t y) const {
    if (y < 0 || y >= rect.height()) return -1;
    const int row = (y - scrollOffset) / rowHeight;
    return row >= 0 && row <= int(rows.size()) ? row : -1;
}

void IdentitySelection::Draw(render::RenderContext& context, const render::Rect& clip) {
    DrawControlFrame(context, clip);
    int32_t x, y;
    GetOrigin(x, y);
    const render::Rect area{x, y, x + rect.width(), y + rect.height()};
    const render::Rect cut = render::intersect(clip, area);
    if (cut.isEmpty()) return;
    ui::RulesetFont* nameFont = ui::findFont(fontName);
    ui::RulesetFont* noteFont = ui::findFont(descriptionFontName);
    ui::FrameDef* selection = ui::findFrame(selectionFrameName);
    render::Bitmap* errorIcon = ui::findIcon(errorIconName);
    render::Bitmap* blank = ui::ruleset().settings.characterList.portraitBase.get();
    const ui::CharacterPort& port = ui::characterPort();
    for (int i = 0; i <= int(rows.size()); ++i) {
        const int32_t top = y + scrollOffset + i * rowHeight;
        if (top >= cut.bottom || top + rowHeight <= cut.top) continue;
        const render::Rect rowRect{area.left, top, area.right, top + rowHeight};
        if (i == selectedRow && selection) selection->Draw(context, rowRect, ui::lights().frame, &cut);
        const IdentityRow* row = i == 0 ? nullptr : &rows[size_t(i - 1)];
        const int32_t blankWidth = blank ? int32_t(blank->GetWidth()) : 0;
        if (blank) {
            const int32_t py = top + (rowHeight - int32_t(blank->GetHeight())) / 2;
            context.DrawBitmap(*blank, area.left + portraitMargin, py, ui::lights().icon, &cut);
        }
        if (row && port.drawPortrait) {
            ui::CharacterChoice who{row->name, row->campaign, uint32_t(row->flags), row->portraitPath};
            port.drawPortrait(context, who, area.left + portraitMargin + blankWidth / 2, top + rowHeight / 2, cut);
        }
        const std::string& rowName = row ? row->name : newName;
        const std::string description = row ? row->description : std::string();
        const int32_t nameHeight = nameFont ? nameFont->LineHeight() : 0;
        const int32_t noteHeight = noteFont && !description.empty() ? noteFont->LineHeight() : 0;
        int32_t textTop = top + (rowHeight - nameHeight - noteHeight) / 2;
        const int32_t textLeft = area.left + textMargin;
        if (nameFont) {
            nameFont->DrawText(context, textLeft, textTop, rowName.data(), int32_t(rowName.size()), &cut);
            if (i == 0 && editing) {
                const int32_t w = nameFont->MeasureText(rowName.data(), int32_t(rowName.size())).width;
                context.DrawRect(textLeft + w + 1, textTop, textLeft + w + 2, textTop + nameHeight, 0x00FFFFFF, true);
            }
        }
        if (noteHeight) {
            noteFont->DrawText(context, textLeft, textTop + nameHeight, description.data(), int32_t(description.size()),
                               &cut);
        }
        const bool rejected = row ? row->rejected : creationRejected;
        if (rejected && errorIcon) {
            const int32_t ix = area.right - portraitMargin - int32_t(errorIcon->GetWidth());
            const int32_t iy = top + (rowHeight - int32_t(errorIcon->GetHeight())) / 2;
            context.DrawBitmap(*errorIcon, ix, iy, ui::lights().icon, &cut);
        }
    }
    if (pendingRow) context.DrawRect(area.left, area.top, area.right, area.bottom, 0x7F000000, true);
}

std::unique_ptr<ui::MenuModel> IdentitySelection::BuildMenu() {
    std::unique_ptr<ui::MenuModel> menu = window ? window->BuildMenu() : nullptr;
    menuName.clear();
    if (join().mode != db::SessionMode::Host || pendingRow) return menu;
    int32_t x, y;
    GetOrigin(x, y);
    const int row = rowAt(ui::mouse::yOf(ui::inputState().lastMousePosition) - y);
    if (row < 1) return menu;
    const std::string& rowName = rows[size_t(row - 1)].name;
    const ui::CharacterPort& port = ui::characterPort();
    if (!port.deleteCharacter || (port.isPlayed && port.isPlayed(rowName))) return menu;
    if (!menu) menu = std::make_unique<ui::MenuModel>("menuhub");
    menuName = rowName;
    menu->set(2, "Delete character", "delete", kMenuDeleteCharacter);
    return menu;
}

void IdentitySelection::MenuSelected(int id) {
    if (id != kMenuDeleteCharacter) {
        if (window) window->MenuSelected(id);
        return;
    }
    const std::string chosen = std::move(menuName);
    menuName.clear();
    const ui::CharacterPort& port = ui::characterPort();
    // Whoever took the character on since the menu opened keeps it.
    if (chosen.empty() || join().mode != db::SessionMode::Host || !port.deleteCharacter) return;
    if (!port.deleteCharacter(chosen)) return;
    removeRow(chosen);
    selectedRow = -1;
    Invalidate();
}

int IdentitySelection::MouseButton(int message, uint32_t, uint32_t position) {
    if (message == ui::mouse::kLeftDown) return ui::kTakeCapture;
    if (message != ui::mouse::kLeftUp || pendingRow) return ui::kTakeNoCapture;
    int32_t x, y;
    GetOrigin(x, y);
    clickRow(rowAt(ui::mouse::yOf(position) - y), platform::tickMs());
    return ui::kTakeNoCapture;
}

void IdentitySelection::clickRow(int row, uint64_t now) {
    if (pendingRow) return;
    if (row < 0) {
        selectedRow = -1;
        Invalidate();
        return;
    }
    const bool doubleClick = row == selectedRow && now - lastClickTime <= kDoubleClickMs;
    lastClickTime = now;
    if (doubleClick) {
        if (row == 0) {
            if (newName.empty() || newName.front() == '[') return;
            IdentityRow made;
            made.name = newName;
            made.flags = join().mode == db::SessionMode::LocalCharacters ? 1 : 2;
            if (choose(made) == 0) finish();
        } else if (choose(rows[size_t(row - 1)]) == 0) {
            finish();
        }
        return;
    }
    selectedRow = row;
    if (row == 0) {
        ui::SetKeyboardFocus(this);
        editing = true;
        if (!newName.empty() && newName.front() == '[') newName.clear();
    } else {
        editing = false;
        ui::focusFallback();
    }
    Invalidate();
}

void IdentitySelection::KeyEvent(int message, int code, int) {
    if (pendingRow) return;
    if (message == ui::kKeyDownMessage) {
        // The platform gives Backspace and Return as keys only.
        if (code == 0x08 && !newName.empty() && newName.front() != '[') newName.pop_back();
        if (code == 0x0D) {
            ui::focusFallback();
            editing = false;
            if (!newName.empty() && newName.front() != '[') {
                IdentityRow made;
                made.name = newName;
                made.flags = join().mode == db::SessionMode::Join ? 2 : 1;
                if (choose(made) == 0) finish();
            }
        }
        Invalidate();
        return;
    }
    if (message != ui::kCharMessage) return;
    const bool letter = (code >= 'a' && code <= 'z') || (code >= 'A' && code <= 'Z');
    if (!letter || newName.size() >= kMaxNewName) return;
    if (!newName.empty() && newName.front() == '[') newName.clear();
    char c = char(code);
    if (newName.empty() && c >= 'a' && c <= 'z') c = char(c - 'a' + 'A');
    newName += c;
    Invalidate();
}

int IdentitySelection::choose(const IdentityRow& row) {
    JoinContext& c = join();
    switch (c.mode) {
    case db::SessionMode::Join:
        ui::identities().selectOrMakeIdentity(row.name, "chatfont");
        pendingRow = std::make_unique<IdentityRow>(row);
        if (c.session) net::requestIdentity(*c.session, row.name, (row.flags & 1) != 0);
        Invalidate();
        return 1;
    case db::SessionMode::Host: {
        db::DbNode* root = window ? ui::desktop().root : nullptr;
        db::DbNode* sheets = root ? root->addChild("charsheet") : nullptr;
        if (sheets) sheets->addChild(row.name);
        const std::string& source = ui::ruleset().settings.characterList.dataSource;
        if (const ui::WindowClass* cls = ui::findWindowClass(source); cls && c.desktop) {
            c.desktop->OpenWindow(*cls, row.name);
        }
        return 0;
    }
    case db::SessionMode::LocalCharacters: {
        const ui::CharacterPort& port = ui::characterPort();
        if (row.flags & 1) return port.openLocal ? port.openLocal(row.name) : -1;
        return port.openServer ? port.openServer(row.name, row.campaign) : -1;
    }
    }
    return 0;
}

void IdentitySelection::answer(bool accepted) {
    if (!pendingRow) return;
    const std::string chosen = pendingRow->name;
    pendingRow.reset();
    if (!accepted) {
        platform::trace("identity refused %s", chosen.c_str());
        bool found = false;
        for (IdentityRow& r : rows) {
            if (r.name == chosen) r.rejected = found = true;
        }
        if (!found) creationRejected = true;
        ui::identities().removeIdentity(chosen);
        Invalidate();
        return;
    }
    platform::trace("identity chosen %s", chosen.c_str());
    finish();
}

void IdentitySelection::finish() {
    if (join().desktop) join().desktop->SetModal(false);
    ui::focusFallback();
    if (window) window->outermost().Close(true);
    render::GraphicsDevice::Get().Invalidate(nullptr);
}

// Section: IdentityActivation.

void IdentityActivation::Parse(db::XmlElement& element, db::DbNode*) {
    ui::readText(element, "NAME", name);
    ui::forEachChild(element, [&](std::unique_ptr<db::XmlElement> child, const std::string& tag) {
        if (ParseCommonChild(*child)) return;
        if (tag == "SOURCEFIELD") ui::readText(*child, "NAME", sourceField);
        if (tag == "ICON") {
            ui::readText(*child, "NORMAL", normalIconName);
            ui::readText(*child, "PRESSED", pressedIconName);
        }
    });
}

void IdentityActivation::Draw(render::RenderContext& context, const render::Rect& clip) {
    render::Bitmap* icon = ui::findIcon(pressed ? pressedIconName : normalIconName);
    if (!icon) return;
    int32_t x, y;
    GetOrigin(x, y);
    context.DrawBitmap(*icon, x, y, ui::lights().icon, &clip);
}

int IdentityActivation::MouseButton(int message, uint32_t, uint32_t position) {
    int32_t x, y;
    GetOrigin(x, y);
    const bool inside = render::Rect{x, y, x + rect.width(), y + rect.height()}.contains(ui::mouse::xOf(position),
                                                                                        ui::mouse::yOf(position));
    if (message == ui::mouse::kLeftDown) {
        pressed = true;
        Invalidate();
        return ui::kTakeCapture;
    }
    if (message != ui::mouse::kLeftUp) return ui::kPass;
    pressed = false;
    Invalidate();
    if (!inside || join().mode != db::SessionMode::Host || !window) return ui::kTakeNoCapture;
    ui::Control* source = window->FindControl(sourceField);
    db::DbNode* node = source && source->kind == ui::ControlKind::string ? source->boundNode() : nullptr;
    if (node && node->value && node->kind == db::NodeKind::stringValue) {
        const std::string text(static_cast<db::StringValue*>(node->value.get())->text());
        if (!text.empty()) ui::identities().selectOrMakeIdentity(text, "npcchatfont");
    }
    return ui::kTakeNoCapture;
}

// Section: start.

std::unique_ptr<IdentityViews> startIdentityViews(const ui::SubsystemStart& start, ChatWindow&) {
    JoinContext& c = join();
    c.mode = start.mode;
    c.session = start.session;
    c.desktop = &start.desktop;
    c.offered.clear();
    c.inPlay.clear();
    ui::registerControlTag("IDENTITYSELECTION", [](ui::Window& w) -> std::unique_ptr<ui::Control> {
        return std::make_unique<IdentitySelection>(w);
    });
    ui::registerControlTag("IDENTITYACTIVATION", [](ui::Window& w) -> std::unique_ptr<ui::Control> {
        return std::make_unique<IdentityActivation>(w);
    });
    auto views = std::make_unique<IdentityViews>();
    std::vector<std::string> asked = db::localUser().identities;
    switch (start.mode) {
    case db::SessionMode::Host: {
        // The Gamemaster's first Identity: the name given at the launch,
        // empty for the Narrator.
        ui::identities().clear();
        ui::identities().selectOrMakeIdentity(asked.empty() ? std::string() : asked.front(), "dmfont");
        views->list = std::make_unique<IdentityList>();
        IdentityList* list = views->list.get();
        start.desktop.AddTarget(list);
        views->subscriptions.push_back(
            ui::drawOnFrameStep(ui::FrameStep::IdentityList, [list](render::RenderContext& ctx) { list->Draw(ctx); }));
        // The Campaign's characters, to open, make or delete.
        views->subscriptions.push_back(ui::addDesktopMenuEntry(4, "Characters", "portrait", openSelection));
        break;
    }
    case db::SessionMode::Join: {
        views->subscriptions.push_back(net::joinEvents().characterOffered.subscribe([](const std::string& name) {
            join().offered.push_back(name);
            if (IdentitySelection* s = identitySelection()) s->addRow(name);
        }));
        views->subscriptions.push_back(
            net::joinEvents().characterInPlay.subscribe([](const std::string& identity, const std::string&, bool) {
                join().inPlay.push_back(identity);
                if (IdentitySelection* s = identitySelection()) s->removeRow(identity);
            }));
        views->subscriptions.push_back(net::joinEvents().identityAnswered.subscribe([](const std::string&, bool, bool accepted) {
            if (IdentitySelection* s = identitySelection(); s && s->pendingRow) {
                s->answer(accepted);
                return;
            }
            // The Identity of the command line: a refusal leaves the choice
            // to the player.
            if (!accepted) {
                if (ui::Identity* i = ui::activeIdentity()) ui::identities().removeIdentity(i->name);
                openSelection();
            }
        }));
        ui::identities().clear();
        if (!asked.empty()) {
            ui::identities().selectOrMakeIdentity(asked.front(), "chatfont");
        } else {
            openSelection();
        }
        break;
    }
    case db::SessionMode::LocalCharacters:
        // Without a character named at the launch the user picks one; the
        // Desktop menu brings the choice back to switch.
        if (asked.empty()) openSelection();
        views->subscriptions.push_back(ui::addDesktopMenuEntry(4, "Characters", "portrait", openSelection));
        break;
    }
    views->subscriptions.push_back(ui::characterPort().choicesChanged.subscribe([] {
        if (IdentitySelection* s = identitySelection()) s->addCharacterChoices();
    }));
    return views;
}

bool makeIdentityFromField(const std::string& name) {
    if (name.empty() || ui::identities().find(name)) return false;
    ui::identities().selectOrMakeIdentity(std::string_view(name).substr(0, ui::Identity::kMaxName), "chatfont");
    return true;
}

}  // namespace lh::chat
