// The dice's place in the program: the scene on the Desktop, its drawing,
// the roll messages, the modifier collector, and what the Desktop's input
// and menus ask of them. Started by registration when the Desktop is up.
#pragma once

#include <cstdint>
#include <memory>

namespace lh::ui {
class MenuModel;
}

namespace lh::dice {

class DiceScene;
class ModifierCollector;

// The running scene and collector; null before start and after stop.
DiceScene* diceScene();
ModifierCollector* modifierCollector();


// The radial menu over a permanent die at the point: "Roll 2" ... "Roll 20",
// and "Roll d100" on the d10. Null when no die is there.
std::unique_ptr<ui::MenuModel> buildDieMenuAt(int32_t x, int32_t y);

// The Desktop menu's "Arrange Dice": dice at rest go home.
void arrangeDice();

// "/night", "/day" and the light of a Ruleset: the Desktop's tint fades to
// `window` over three seconds; a host sends the colours to every client.
void setDesktopLight(uint32_t system, uint32_t window, uint32_t control, uint32_t content);

}  // namespace lh::dice
