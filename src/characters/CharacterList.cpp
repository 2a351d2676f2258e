// The strip of portraits: drawing, clicks, drags and drops, the menu.
#include "characters/CharacterList.h"

#include <algorithm>

#include "characters/PortraitShape.h"
#include "db/DbNode.h"
#include "db/Users.h"
#include "platform/Bell.h"
#include "platform/Trace.h"
#include "render/Bitmap.h"
#include "render/GraphicsDevice.h"
#include "render/RenderContext.h"
#include "ui/Desktop.h"
#include "ui/DragPayload.h"
#include "ui/ChatPort.h"
#include "ui/Identities.h"
#include "ui/InputState.h"
#include "ui/Lights.h"
#include "ui/MenuModel.h"
#include "ui/RulesetData.h"
#include "ui/Window.h"

namespace lh::characters {

namespace {

constexpr uint32_t kBlankPortraitSize = 20;

}  // namespace

CharacterList::CharacterList(ui::Desktop& d, const ui::CharacterListSettings& s)
    : desktop(d), settings(s), painter(s) {}

CharacterList::~CharacterList() = default;

void CharacterList::invalidateAll() { render::GraphicsDevice::Get().Invalidate(nullptr); }

void CharacterList::portraitSize(uint32_t& width, uint32_t& height) const {
    const render::Bitmap* base = settings.portraitBase.get();
    width = base && base->GetWidth() ? base->GetWidth() : kBlankPortraitSize;
    height = base && base->GetHeight() ? base->GetHeight() : kBlankPortraitSize;
}

int CharacterList::find(const std::string& name) const {
    for (size_t i = 0; i < entries.size(); ++i)
        if (entries[i].name == name) return int(i);
    return -1;
}

void CharacterList::add(const std::string& name, const std::string& owner) {
    // One entry a name: a character comes into play once.
    if (find(name) >= 0) return;
    entries.push_back({name, owner, 0, nullptr});
    invalidateAll();
}

void CharacterList::remove(const std::string& name) {
    int index = find(name);
    if (index < 0) return;
    if (ui::Window* sheet = desktop.Find(settings.dataSource, name)) sheet->Close(true);
    entries.erase(entries.begin() + index);
    kickArmedIndex = -1;  // the places behind it move
    invalidateAll();
}

bool CharacterList::setPortrait(const std::string& name, const std::string& path) {
    int index = find(name);
    if (index < 0) return false;
    uint32_t width, height;
    portraitSize(width, height);
    // A file that cannot be read leaves the blank alone.
    entries[size_t(index)].portrait = loadShapedPortrait(path, settings.portraitMask.get(), width);
    invalidateAll();
    return entries[size_t(index)].portrait != nullptr;
}

void CharacterList::setState(const std::string& name, int state) {
    int index = find(name);
    if (index < 0) return;
    entries[size_t(index)].state = state;
    render::GraphicsDevice::Get().Invalidate(&rect);
}

void CharacterList::setTurn(int32_t index) {
    selectedIndex = index;
    render::GraphicsDevice::Get().Invalidate(&rect);
    ui::ChatLineDraft line;
    line.font = "narratorfont";
    line.turnMarker = true;
    if (index < 0) {
        line.text = " ";
    } else {
        if (size_t(index) >= entries.size()) return;
        platform::trace("turn %d %s", index, entries[size_t(index)].name.c_str());
        const std::string& name = entries[size_t(index)].name;
        // The player whose character it is hears it, on whatever machine.
        if (const ui::Identity* own = ui::activeIdentity(); own && own->name == name) {
            platform::trace("bell 0");
            platform::ringBell(platform::BellSound::Notice);
        }
        line.text = name;
        line.indicator = "indicator_flag";
    }
    if (index < 0) platform::trace("turn -1");
    if (ui::ChatPort* chat = ui::chatPort()) chat->add(std::move(line));
}

int CharacterList::indexAt(int32_t x, int32_t y) const {
    if (!rect.contains(x, y) || settings.spacing <= 0 || x < settings.position.x) return -1;
    int index = (x - settings.position.x) / settings.spacing;
    return index < int(entries.size()) ? index : -1;
}

ui::DesktopObject* CharacterList::HitTest(int32_t x, int32_t y) { return indexAt(x, y) >= 0 ? this : nullptr; }

void CharacterList::Draw(render::RenderContext& context) {
    if (!frame) frame = ui::findFrame(settings.name.frame);
    if (!nameFont) nameFont = ui::findFont("mini_name");
    if (!selectedNameFont) selectedNameFont = ui::findFont("mini_name_selected");
    render::Bitmap* typing = ui::findIcon(settings.typingIcon);
    render::Bitmap* idling = ui::findIcon(settings.idlingIcon);
    render::Bitmap* pointer = ui::findIcon(settings.pointerIcon);
    uint32_t width, height;
    portraitSize(width, height);
    const uint32_t iconLight = ui::lights().icon;
    const int32_t y = settings.position.y;
    int32_t x = settings.position.x;
    context.PushFont();
    for (size_t i = 0; i < entries.size(); ++i, x += settings.spacing) {
        const CharacterListEntry& e = entries[i];
        render::Font* font = int32_t(i) == selectedIndex ? selectedNameFont : nameFont;
        if (settings.portraitBase) context.DrawBitmap(*settings.portraitBase, x, y, iconLight);
        if (e.portrait) {
            context.DrawBitmap(*e.portrait, x + (int32_t(width) - int32_t(e.portrait->GetWidth())) / 2,
                               y + (int32_t(height) - int32_t(e.portrait->GetHeight())) / 2, iconLight);
        } else {
            painter.drawBlank(context, e.name, x + int32_t(width) / 2, y + int32_t(height) / 2, nullptr);
        }
        uint32_t bgr = 0;
        if (pointer && hooks.pointerColor && hooks.pointerColor(e.owner, bgr)) {
            uint32_t argb = 0xFF000000u | ((bgr & 0xFF) << 16) | (bgr & 0xFF00) | ((bgr >> 16) & 0xFF);
            context.DrawBitmap(*pointer, x + settings.pointerIconPosition.x, y + settings.pointerIconPosition.y, argb);
        }
        if (font) {
            context.SetFont(font);
            const int32_t length = int32_t(e.name.size());
            int32_t textWidth = std::min(context.MeasureText(e.name.c_str(), length).width, settings.name.maxWidth);
            const int32_t centre = x + int32_t(width) / 2;
            render::Rect plate{centre - textWidth / 2 - settings.name.margin, y + settings.name.offset,
                               centre + (textWidth + 1) / 2 + settings.name.margin,
                               y + settings.name.offset + settings.name.height};
            if (frame) frame->Draw(context, plate, iconLight, nullptr);
            const int32_t lineHeight = context.LineHeight();
            render::Rect text{centre - textWidth / 2, plate.top + (plate.height() - lineHeight) / 2,
                              centre - textWidth / 2 + textWidth, plate.top + (plate.height() - lineHeight) / 2 + lineHeight};
            context.DrawText(text.left, text.top, e.name.c_str(), length, &text);
        }
        render::Bitmap* indicator = e.state == 1 ? typing : e.state == 2 ? idling : nullptr;
        if (indicator)
            context.DrawBitmap(*indicator, x + settings.indicatorPosition.x, y + settings.indicatorPosition.y, iconLight);
    }
    context.PopFont();
    rect = render::Rect{settings.position.x, y, x, y + int32_t(height)};
}

void CharacterList::openSheet(int index) {
    if (index < 0 || size_t(index) >= entries.size()) return;
    const std::string& name = entries[size_t(index)].name;
    if (!hooks.isHost) {
        // A client opens only a sheet it holds.
        db::DbNode* group = db::rootNode().child(settings.dataSource);
        if (!group || !group->child(name)) return;
    }
    if (ui::Window* open = desktop.Find(settings.dataSource, name)) {
        open->ToggleMinimize(nullptr);
        return;
    }
    findOrOpen(settings.dataSource, name);
}

ui::Window* CharacterList::findOrOpen(const std::string& className, const std::string& recordName) {
    if (ui::Window* open = desktop.Find(className, recordName)) return open;
    const ui::WindowClass* windowClass = ui::findWindowClass(className);
    return windowClass ? desktop.OpenWindow(*windowClass, recordName) : nullptr;
}

int CharacterList::MouseButton(int message, uint32_t, uint32_t position) {
    int index = indexAt(ui::mouse::xOf(position), ui::mouse::yOf(position));
    if (message == ui::mouse::kLeftDown) {
        if (index < 0) return ui::kPass;
        dragIndex = index;
        return ui::kTakeCapture;
    }
    if (message == ui::mouse::kLeftUp) {
        if (index >= 0) openSheet(index);
        return ui::kTakeNoCapture;
    }
    return ui::kPass;
}

int CharacterList::MouseDrag(int message, uint32_t flags, uint32_t, uint32_t) {
    if (!hooks.isHost || dragIndex < 0 || size_t(dragIndex) >= entries.size()) return 0;
    if (message == ui::mouse::kMove && (flags & ui::mouse::kLeft) && !desktop.dragPayload.kind) {
        ui::DragPayload payload;
        GetDragData(payload);
        desktop.BeginDrag(*this, payload);
    }
    return 1;
}

int CharacterList::GetDragData(ui::DragPayload& payload) {
    if (dragIndex < 0 || size_t(dragIndex) >= entries.size()) return 0;
    const std::string& name = entries[size_t(dragIndex)].name;
    payload.kind = 3;
    payload.icon = ui::findIcon(settings.dragIcon);
    payload.className = settings.dataSource;
    payload.recordName = name;
    payload.description = name;
    db::DbNode* group = db::rootNode().child(settings.dataSource);
    payload.sourceNode = group ? group->child(name) : nullptr;
    return 1;
}

int CharacterList::MouseDrop(int, uint32_t flags, uint32_t position, ui::DesktopObject*) {
    const ui::DragPayload& payload = desktop.dragPayload;
    if (!hooks.isHost || payload.kind != 3 || payload.className.empty() || payload.recordName.empty()) return 0;
    int index = indexAt(ui::mouse::xOf(position), ui::mouse::yOf(position));
    if (index < 0) return 0;
    const std::string player = entries[size_t(index)].owner;
    ui::Window* window = findOrOpen(payload.className, payload.recordName);
    if (!window) return 1;
    if ((flags & ui::mouse::kControl) && window->record && !player.empty()) {
        db::DbNode& node = *window->record;
        db::User* former = node.owner;
        db::SessionUser& user = db::knownUser(player);
        node.addHolder(player, true);
        std::string formerName = former && former != &db::localUser() && former != &user
                                     ? std::string(former->name.view())
                                     : std::string();
        if (hooks.ownerChanged) hooks.ownerChanged(node.pathOf(), formerName);
    }
    if (!player.empty()) window->Share(&player);
    return 1;
}

int CharacterList::entryOfMenu() const {
    if (settings.spacing <= 0 || menuX < settings.position.x) return -1;
    int index = (menuX - settings.position.x) / settings.spacing;
    return index < int(entries.size()) ? index : -1;
}

std::unique_ptr<ui::MenuModel> CharacterList::BuildMenu() {
    const uint32_t at = ui::inputState().lastMousePosition;
    int index = indexAt(ui::mouse::xOf(at), ui::mouse::yOf(at));
    if (index < 0) return nullptr;
    auto menu = std::make_unique<ui::MenuModel>("menuhub");
    uint32_t width, height;
    portraitSize(width, height);
    menu->anchored = true;
    menu->anchorX = settings.position.x + index * settings.spacing + int32_t(width) / 2;
    menu->anchorY = settings.position.y + int32_t(height) / 2;
    if (hooks.isHost) {
        menuX = ui::mouse::xOf(at);
        if (kickArmedIndex == index) {
            menu->set(2, "Confirm Kick", "kickconfirm", kMenuConfirmKick);
        } else {
            menu->set(2, "Kick Player", "kick", kMenuKickPlayer);
        }
        menu->set(3, "Sound Bell", "bell", kMenuSoundBell);
        menu->set(4, "Toggle Turn", "turn", kMenuToggleTurn);
        return menu;
    }
    const CharacterListEntry& e = entries[size_t(index)];
    if (e.owner != hooks.localUserName) return nullptr;
    if (settings.portraitMenuClass.empty() && settings.pointerMenuClass.empty()) return nullptr;
    menuX = ui::mouse::xOf(at);
    if (!settings.portraitMenuClass.empty()) menu->set(4, "Select Portrait", "portrait", kMenuSelectPortrait);
    if (!settings.pointerMenuClass.empty()) menu->set(3, "Select Colors", "pointer", kMenuSelectColors);
    return menu;
}

void CharacterList::MenuSelected(int id) {
    int index = entryOfMenu();
    if (id != kMenuKickPlayer) kickArmedIndex = -1;
    if (index < 0) return;
    const CharacterListEntry& e = entries[size_t(index)];
    switch (id) {
    case kMenuKickPlayer: kickArmedIndex = index; break;
    case kMenuConfirmKick:
        if (hooks.kick && !e.owner.empty()) hooks.kick(e.owner);
        break;
    case kMenuSoundBell:
        if (hooks.bell && !e.owner.empty()) hooks.bell(e.owner);
        break;
    case kMenuToggleTurn: {
        int32_t turn = index == selectedIndex ? -1 : index;
        setTurn(turn);
        if (hooks.sendTurn) hooks.sendTurn(turn);
        break;
    }
    case kMenuSelectPortrait:
    case kMenuSelectColors: {
        const std::string& className = id == kMenuSelectPortrait ? settings.portraitMenuClass : settings.pointerMenuClass;
        if (const ui::WindowClass* windowClass = ui::findWindowClass(className)) desktop.OpenWindow(*windowClass, "");
        break;
    }
    default: break;
    }
}

}  // namespace lh::characters
