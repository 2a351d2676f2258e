// A token under the mouse, as the Desktop's input routing sees it: it
// drags (or, locked on a client, proposes), turns by the wheel, accepts a
// proposal by the middle button or Ctrl+left, and offers the token menu.
// The grip names its token by window and id and finds it anew at each
// event, so that a token deleted meanwhile leaves it harmless.
#pragma once

#include <cstdint>
#include <memory>

#include "table/TokenMessages.h"
#include "ui/DesktopObject.h"

namespace lh::table {

class TokenDesk;
struct Token;

class TokenGrip final : public ui::DesktopObject {
public:
    TokenGrip(TokenDesk& desk, WindowKey key, uint32_t id) : desk(desk), key(std::move(key)), id(id) {}

    int MouseButton(int message, uint32_t flags, uint32_t position) override;
    int MouseWheel(int notches, uint32_t position) override;
    int MouseDrag(int message, uint32_t flags, uint32_t startPosition, uint32_t position) override;
    int GetDragData(ui::DragPayload& payload) override;
    std::unique_ptr<ui::MenuModel> BuildMenu() override;
    void MenuSelected(int id) override;

private:
    Token* token();
    TokenDesk& desk;
    WindowKey key;
    uint32_t id;
};

}  // namespace lh::table
