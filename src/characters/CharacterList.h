// The strip of portraits along the Desktop: one entry for each character in
// play, in order of arrival, with its portrait, a name plate, the mark of
// its player's pointer colour, and a typing or away indicator. For the
// Gamemaster it is the way to the players: a click opens a sheet, a record
// dropped on a portrait is shown to that player, and the radial menu rings
// a bell, marks whose turn it is, or removes a player.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "characters/PortraitPainter.h"
#include "ui/DesktopObject.h"

namespace lh::render {
class Bitmap;
class Font;
class RenderContext;
}  // namespace lh::render

namespace lh::ui {
class Desktop;
class FrameDef;
class Window;
struct CharacterListSettings;
}  // namespace lh::ui

namespace lh::characters {

struct CharacterListEntry {
    std::string name;   // the Identity; the key
    std::string owner;  // the user who plays it; empty for this user's own in the local way in
    int state = 0;      // 0 nothing, 1 typing, 2 away
    std::unique_ptr<render::Bitmap> portrait;  // shaped by the mask
};

// Menu ids.
enum CharacterMenuId : int {
    kMenuSoundBell = 1,
    kMenuToggleTurn = 2,
    kMenuSelectPortrait = 3,
    kMenuSelectColors = 4,
    kMenuKickPlayer = 5,
    kMenuConfirmKick = 6,
};

// What the list's commands reach beyond the Desktop; each may be empty.
struct CharacterListHooks {
    bool isHost = false;
    std::string localUserName;
    // Host: the session drops the user; a BELLR to one user; CHSLR to all.
    std::function<void(const std::string& userName)> kick;
    std::function<void(const std::string& userName)> bell;
    std::function<void(int32_t index)> sendTurn;
    // Host, Ctrl-drop: the record changed owner; the former owner (not the
    // Gamemaster) is sent the node.
    std::function<void(const std::string& recordPath, const std::string& formerOwner)> ownerChanged;
    // The pointer colour of a user, 0x00BBGGRR; false when it has none.
    std::function<bool(const std::string& userName, uint32_t& bgr)> pointerColor;
};

class CharacterList final : public ui::DesktopObject {
public:
    CharacterList(ui::Desktop& desktop, const ui::CharacterListSettings& settings);
    ~CharacterList() override;

    void add(const std::string& name, const std::string& owner);
    void remove(const std::string& name);
    // False when the name has no entry or the file gives no picture.
    bool setPortrait(const std::string& name, const std::string& path);
    void setState(const std::string& name, int state);
    void setTurn(int32_t index);

    void Draw(render::RenderContext& context);

    ui::DesktopObject* HitTest(int32_t x, int32_t y) override;
    int MouseButton(int message, uint32_t flags, uint32_t position) override;
    int MouseDrag(int message, uint32_t flags, uint32_t startPosition, uint32_t position) override;
    int MouseDrop(int message, uint32_t flags, uint32_t position, ui::DesktopObject* source) override;
    int GetDragData(ui::DragPayload& payload) override;
    std::unique_ptr<ui::MenuModel> BuildMenu() override;
    void MenuSelected(int id) override;

    // The entry under a Desktop point; -1 for none.
    int indexAt(int32_t x, int32_t y) const;
    int find(const std::string& name) const;
    // Opens the entry's sheet, or minimizes or restores the open one.
    void openSheet(int index);
    // The window of a class and record, opened when it is not.
    ui::Window* findOrOpen(const std::string& className, const std::string& recordName);
    // The size of a portrait: the base picture's, or 20 by 20.
    void portraitSize(uint32_t& width, uint32_t& height) const;

    const std::vector<CharacterListEntry>& items() const { return entries; }
    // Draws portraits the strip's way, for the other lists of characters.
    PortraitPainter& portraits() { return painter; }
    int32_t selectedIndex = -1;
    int dragIndex = -1;
    int32_t menuX = 0;
    int kickArmedIndex = -1;
    CharacterListHooks hooks;

private:
    void invalidateAll();
    int entryOfMenu() const;

    ui::Desktop& desktop;
    const ui::CharacterListSettings& settings;
    std::vector<CharacterListEntry> entries;
    ui::FrameDef* frame = nullptr;
    render::Font* nameFont = nullptr;
    render::Font* selectedNameFont = nullptr;
    PortraitPainter painter;
};

}  // namespace lh::characters
