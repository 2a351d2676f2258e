// The control factory: a table from Ruleset tag to the function that makes
// the control. Subsystems register their tags from their own folders
// (chat/, dice/, table/, text/, characters/), so ui/ never includes them:
//
//     ui::registerControlTag("NUMBERCONTROL", [](ui::Window& w) -> std::unique_ptr<ui::Control> {
//         return std::make_unique<NumberControl>(w);
//     });
//
// Every tag a window class may hold is known from the start: those whose
// subsystem has not registered yet make a placeholder that takes its room
// in the layout and draws nothing. A later registration replaces it.
#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace lh::db {
class DbNode;
class XmlElement;
}  // namespace lh::db

namespace lh::ui {

class Control;
class Window;

using ControlMaker = std::unique_ptr<Control> (*)(Window& window);

void registerControlTag(std::string_view tag, ControlMaker maker);
// True when the tag makes a control (GROUP and SUBWINDOW are the factory's own).
bool isControlTag(std::string_view tag);
// True while the tag still makes the placeholder.
bool isPlaceholderTag(std::string_view tag);

// Walks `element`'s children in order: each control is made with the window
// as owner, parses its own element with the record, takes the group id and
// joins the window. GROUP recurses with its id; SUBWINDOW opens a
// sub-window; unknown tags are skipped.
void BuildControls(Window& window, db::XmlElement& element, db::DbNode* record, const std::string& groupId);

}  // namespace lh::ui
