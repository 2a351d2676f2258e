// The Desktop's mouse and key routing with stand-ins for the dice, the
// pointers, the main window and the chat: the press walk by owner with its
// three answers, the click and drag distance, the drop order, the right
// button and its menus, modal windows, cursors, keys with bookmarks and
// shortcuts, the keyboard in menus, and pointers drawn on windows.
#include <gtest/gtest.h>

#include "DesktopFixture.h"
#include "db/Campaign.h"
#include "db/DbNode.h"
#include "db/SessionMode.h"
#include "platform/Clock.h"
#include "platform/Scheduler.h"
#include "render/Bitmap.h"
#include "render/RecordingRenderContext.h"
#include "ui/Desktop.h"
#include "ui/DesktopHooks.h"
#include "ui/DesktopMenu.h"
#include "ui/InputState.h"
#include "ui/KeyboardFocus.h"
#include "ui/MenuModel.h"
#include "ui/RadialMenu.h"
#include "ui/RulesetData.h"
#include "ui/Window.h"

namespace lh::test {
namespace {

using ui::Window;
using namespace ui::mouse;

// A plain object on the Desktop that answers as told and notes what it hears.
struct Probe : ui::DesktopObject {
    int buttonResult = ui::kPass;
    int dragResult = 0;
    int dropResult = 0;
    std::vector<int> buttons;
    int drags = 0, drops = 0, cancels = 0, fronts = 0, chosen = -1;
    bool offersMenu = false;
    int namedCursor = 0;  // the cursor it names left of x 40; none right of it
    int CursorAt(uint32_t position) override { return xOf(position) < 40 ? namedCursor : 0; }
    int MouseButton(int message, uint32_t, uint32_t) override {
        buttons.push_back(message);
        return buttonResult;
    }
    int MouseDrag(int, uint32_t, uint32_t, uint32_t) override {
        ++drags;
        return dragResult;
    }
    int MouseDrop(int, uint32_t, uint32_t, DesktopObject*) override {
        ++drops;
        return dropResult;
    }
    void CancelDrag() override { ++cancels; }
    void BringToFront() override { ++fronts; }
    void MenuSelected(int id) override {
        chosen = id;
        if (id == 42) namedCursor = ui::cursor::kDrawing;
    }
    std::unique_ptr<ui::MenuModel> BuildMenu() override {
        if (!offersMenu) return nullptr;
        auto m = std::make_unique<ui::MenuModel>("menuhub");
        m->set(0, "Probe", "close", 42);
        return m;
    }
};

struct FakeDice : ui::DiceInput {
    render::Rect die{900, 600, 940, 640};
    std::vector<int> phases;
    int added = 0, dropped = 0, chosen = -1;
    int Mouse(int32_t x, int32_t y, int phase) override {
        phases.push_back(phase);
        return phase == 0 && die.contains(x, y) && phases.size() == 1 ? 1 : 0;
    }
    void AddDie(int) override { ++added; }
    bool DieAt(int32_t x, int32_t y) override { return die.contains(x, y); }
    std::unique_ptr<ui::MenuModel> BuildDieMenu(int32_t, int32_t) override {
        auto m = std::make_unique<ui::MenuModel>("menuhub");
        m->set(0, "Roll 2", "close", 2);
        return m;
    }
    bool DieMenuChosen(int id, int32_t, int32_t) override {
        chosen = id;
        return id != 0;
    }
    void DropOnDie(int32_t, int32_t, ui::DesktopObject&) override { ++dropped; }
};

struct FakePointers : ui::PointerInput {
    struct Set {
        Window* window;
        int kind;
        uint32_t start, end;
        bool finish;
    };
    std::vector<Set> sets;
    bool HasPointer() override { return !sets.empty() && sets.back().window; }
    void SetPointer(Window* w, int kind, uint32_t start, uint32_t end, bool finish) override {
        sets.push_back({w, kind, start, end, finish});
    }
    void DrawPointersOn(Window&, render::RenderContext&) override {}
};

struct FakeShell : ui::DesktopShell {
    int quitCode = 0;
    bool quit_ = false, full = false;
    std::vector<int> cursors;
    std::vector<std::pair<int32_t, int32_t>> warps;
    void quit(int code) override {
        quit_ = true;
        quitCode = code;
    }
    bool fullScreen() const override { return full; }
    void setFullScreen(bool on) override { full = on; }
    void setCursor(int id) override { cursors.push_back(id); }
    void warpMouse(int32_t x, int32_t y) override { warps.emplace_back(x, y); }
    void captureMouse(bool) override {}
};

const char* kInputRuleset = R"(<root>
  <windowclass name="sheet">
    <datasource name="sheets"/><minimize icon="mini"/><defaultsize width="300" height="200"/>
    <defaultposition x="100" y="100"/>
    <sheetdata><testbox name="hp"><bounds rect="10,10,50,20"/></testbox></sheetdata>
  </windowclass>
  <windowclass name="map">
    <datasource name="maps"/><usepointers/><defaultsize width="300" height="200"/><defaultposition x="500" y="100"/>
  </windowclass>
  <windowclass name="box">
    <defaultsize width="200" height="100"/><defaultposition x="300" y="300"/>
  </windowclass>
  <windowclass name="shortcuts">
    <desktopwindow/><defaultsize width="60" height="30"/><defaultposition x="0" y="-30"/>
    <sheetdata>
      <windowopencontrol name="open"><bounds rect="0,0,20,20"/><class name="box"/>
        <shortcut key="b" modifier="control"/></windowopencontrol>
    </sheetdata>
  </windowclass>
</root>)";

class DesktopInput : public ::testing::Test {
protected:
    void SetUp() override {
        db::clearTree();
        db::setSessionMode(db::SessionMode::Host);
        loadWindowRuleset(kInputRuleset);
        for (const char* name : {"menuhub", "menuback", "closeprogram", "maximizewindow", "restorewindow", "close",
                                 "pointer", "pointer_circle", "pointer_cone", "pointer_square", "crossed"}) {
            ui::ruleset().icons[name] = std::make_unique<render::Bitmap>();
        }
        ui::setFallbackKeyboardTarget(&chat);
        ui::inputState() = ui::InputState{};
        desk = std::make_unique<ui::Desktop>();
    }
    void TearDown() override {
        desk.reset();
        ui::inputState() = ui::InputState{};
        ui::setFallbackKeyboardTarget(nullptr);
        ui::SetKeyboardFocus(nullptr);
        db::clearTree();
        ui::clearRuleset();
    }
    Window* open(const char* cls, const char* record = "00001") {
        return desk->OpenWindow(*ui::findWindowClass(cls), record);
    }
    // An object with one child inside it, both at the front of the targets.
    void addPair() {
        parent.rect = {10, 10, 110, 110};
        child.rect = {20, 20, 60, 60};
        child.owner = &parent;
        parent.children = {&child};
        desk->AddTarget(&parent);
    }
    void click(uint32_t buttonDown, uint32_t buttonUp, uint32_t flag, int32_t x, int32_t y) {
        desk->MouseMove(0, x, y);
        desk->MousePress(int(buttonDown), flag, x, y);
        desk->MouseRelease(int(buttonUp), 0, x, y);
    }
    void rightClick(int32_t x, int32_t y) { click(kRightDown, kRightUp, kRight, x, y); }
    void leftClick(int32_t x, int32_t y) { click(kLeftDown, kLeftUp, kLeft, x, y); }
    // The centre of a slot of the open menu's deepest ring.
    std::pair<int32_t, int32_t> slotCentre(int slot) {
        const ui::RadialMenu& ring = desk->activeMenu->Deepest();
        int32_t dx, dy;
        ui::RadialMenu::SlotOffset(slot, ring.radius, dx, dy);
        const uint32_t anchor = ui::inputState().menuAnchor;
        return {xOf(anchor) + ring.offsetX + dx, yOf(anchor) + ring.offsetY + dy};
    }

    FallbackTarget chat;
    Probe parent, child;
    FakeShell shell;
    platform::Subscription shellHandle = ui::attachDesktopShell(shell);
    std::unique_ptr<ui::Desktop> desk;
};

TEST_F(DesktopInput, ThePressWalksUpTheOwnersWithItsThreeAnswers) {
    addPair();
    ui::InputState& s = ui::inputState();
    // The child passes (0): its owner is brought forward and asked; it takes
    // the capture (1) and hears the release as a click.
    parent.buttonResult = ui::kTakeCapture;
    leftClick(30, 30);
    EXPECT_EQ(child.buttons, (std::vector<int>{kLeftDown}));
    EXPECT_EQ(parent.buttons, (std::vector<int>{kLeftDown, kLeftUp}));
    EXPECT_EQ(child.fronts + parent.fronts, 1);
    EXPECT_EQ(s.mouseCapture, nullptr);
    // A child that takes without capture (2) ends the walk: nobody hears the release.
    child.buttons.clear();
    parent.buttons.clear();
    child.buttonResult = ui::kTakeNoCapture;
    leftClick(30, 30);
    EXPECT_EQ(child.buttons, (std::vector<int>{kLeftDown}));
    EXPECT_TRUE(parent.buttons.empty());
    // The bare Desktop gives the keyboard to the chat entry.
    TestBox& box = static_cast<TestBox&>(*open("sheet")->ControlAt(0));
    box.TakeFocus();
    EXPECT_EQ(ui::KeyboardFocus(), &box);
    leftClick(800, 50);
    EXPECT_EQ(ui::KeyboardFocus(), &chat);
    // A press on a window behind another brings it to the front.
    Window* back = desk->Find("sheet", "00001");
    Window* front = open("box");
    ASSERT_EQ(desk->windows.back().get(), front);
    leftClick(150, 150);
    EXPECT_EQ(desk->windows.back().get(), back);
    EXPECT_EQ(desk->inputTargets.front(), back);
}

TEST_F(DesktopInput, TwoPixelsAreAClickThreeADragAndDropsGoDieOwnersDesktop) {
    addPair();
    parent.buttonResult = ui::kTakeCapture;
    parent.dragResult = 1;
    // Two pixels in both axes: still a click.
    desk->MousePress(kLeftDown, kLeft, 30, 30);
    desk->MouseMove(kLeft, 32, 32);
    desk->MouseRelease(kLeftUp, 0, 32, 32);
    EXPECT_EQ(parent.drags, 0);
    EXPECT_EQ(parent.buttons.back(), kLeftUp);
    // Three in one axis: a drag, taken by the first owner that answers.
    Probe target;
    target.rect = {200, 200, 300, 300};
    Probe holder;
    holder.rect = target.rect;
    target.owner = &holder;
    desk->AddTarget(&target);
    target.dropResult = 0;
    holder.dropResult = 1;
    desk->MousePress(kLeftDown, kLeft, 30, 30);
    desk->MouseMove(kLeft, 33, 30);
    EXPECT_TRUE(ui::inputState().dragging);
    EXPECT_EQ(ui::inputState().mouseCapture, &parent);
    desk->MouseMove(kLeft, 250, 250);
    desk->MouseRelease(kLeftUp, 0, 250, 250);
    EXPECT_EQ(target.drops, 1);
    EXPECT_EQ(holder.drops, 1);
    EXPECT_EQ(parent.drags, 3);  // the start, the move, the release
    // A die under the mouse takes the drop before any object.
    FakeDice dice;
    platform::Subscription diceHandle = ui::attachDiceInput(dice);
    dice.die = {240, 240, 260, 260};
    desk->MousePress(kLeftDown, kLeft, 30, 30);
    desk->MouseMove(kLeft, 40, 40);
    desk->MouseRelease(kLeftUp, 0, 250, 250);
    EXPECT_EQ(dice.dropped, 1);
    EXPECT_EQ(target.drops, 1);
    // Nobody under the mouse: the bare Desktop.
    int desktopDrops = 0;
    platform::Subscription drop = ui::desktopSignals().desktopDrop.subscribe(
        [&](int32_t x, int32_t y, uint32_t, ui::DesktopObject& source) {
            desktopDrops += x == 700 && y == 500 && &source == &parent;
            return 1;
        });
    desk->MousePress(kLeftDown, kLeft, 30, 30);
    desk->MouseMove(kLeft, 40, 40);
    desk->MouseRelease(kLeftUp, 0, 700, 500);
    EXPECT_EQ(desktopDrops, 1);
    // A right press or Escape during a drag cancels it; Escape still
    // reaches the keyboard focus.
    desk->MousePress(kLeftDown, kLeft, 30, 30);
    desk->MouseMove(kLeft, 40, 40);
    desk->MousePress(kRightDown, kLeft | kRight, 40, 40);
    EXPECT_EQ(parent.cancels, 1);
    EXPECT_FALSE(ui::inputState().dragging);
    desk->MouseRelease(kLeftUp, kRight, 40, 40);
    desk->MouseRelease(kRightUp, 0, 40, 40);
    desk->CloseMenu();
    desk->MousePress(kLeftDown, kLeft, 30, 30);
    desk->MouseMove(kLeft, 40, 40);
    const int keysBefore = chat.keys;
    ui::focusFallback();
    desk->KeyDown(0, 0x1B, 1);
    EXPECT_EQ(parent.cancels, 2);
    EXPECT_EQ(chat.keys, keysBefore + 1);
    desk->MouseRelease(kLeftUp, 0, 40, 40);
}

TEST_F(DesktopInput, TheRightButtonOpensMenusAndTheDesktopMenuExits) {
    ui::InputState& s = ui::inputState();
    // A quick right click on the bare Desktop leaves its menu open at the
    // release; a left click on "Exit program" opens the confirmation ring,
    // and "Confirm exit" ends the program with -1.
    rightClick(400, 300);
    ASSERT_NE(desk->activeMenu, nullptr);
    EXPECT_EQ(desk->activeMenu->labels[0], "Exit program");
    EXPECT_EQ(desk->activeMenu->labels[2], "Maximize window");
    EXPECT_EQ(s.mouseCapture, nullptr);
    desk->MouseMove(0, 300, 200);  // wandering opens nothing
    auto [ex, ey] = slotCentre(0);
    leftClick(ex, ey);
    ASSERT_NE(desk->activeMenu, nullptr);
    ASSERT_NE(desk->activeMenu->activeSubMenu, nullptr);
    EXPECT_EQ(desk->activeMenu->Deepest().labels[0], "Confirm exit");
    auto [cx, cy] = slotCentre(0);
    leftClick(cx, cy);
    EXPECT_TRUE(shell.quit_);
    EXPECT_EQ(shell.quitCode, -1);
    EXPECT_EQ(desk->activeMenu, nullptr);
    // Restore or maximize, as the main window stands; added entries join.
    bool arranged = false;
    platform::Subscription entry = ui::addDesktopMenuEntry(6, "Arrange Dice", "close", [&] { arranged = true; });
    shell.full = true;
    rightClick(400, 300);
    EXPECT_EQ(desk->activeMenu->labels[2], "Restore window");
    EXPECT_EQ(desk->activeMenu->labels[6], "Arrange Dice");
    auto [rx, ry] = slotCentre(2);
    leftClick(rx, ry);
    EXPECT_FALSE(shell.full);
    rightClick(400, 300);
    auto [ax, ay] = slotCentre(6);
    leftClick(ax, ay);
    EXPECT_TRUE(arranged);
    // An object's own menu: it holds the capture and hears the choice; a
    // release on the hub ends the menu without one.
    addPair();
    parent.offersMenu = true;
    rightClick(30, 30);
    EXPECT_EQ(s.mouseCapture, &parent);
    auto [px, py] = slotCentre(0);
    desk->MousePress(kRightDown, kRight, px, py);
    desk->MouseRelease(kRightUp, 0, px, py);
    EXPECT_EQ(parent.chosen, 42);
    rightClick(30, 30);
    leftClick(xOf(s.menuAnchor), yOf(s.menuAnchor));
    EXPECT_EQ(desk->activeMenu, nullptr);
    EXPECT_EQ(parent.chosen, 0);  // which no entry has
    // A window whose menu is open closes from elsewhere: the menu goes with
    // it, and a click where "Close Window" stood does not reach the
    // Desktop's own menu (whose id 1 would exit).
    shell.quit_ = false;
    Window* w = open("box");
    rightClick(350, 350);
    ASSERT_EQ(s.mouseCapture, w);
    EXPECT_EQ(desk->activeMenu->labels[0], "Close Window");
    auto [wx, wy] = slotCentre(0);
    w->Close(false);
    desk->CollectClosed();
    leftClick(wx, wy);
    EXPECT_FALSE(shell.quit_);
    EXPECT_EQ(desk->activeMenu, nullptr);
}

TEST_F(DesktopInput, HoldingTheRightButtonAndTheEdgesOfTheClientArea) {
    platform::useManualClock(1000);
    addPair();
    parent.offersMenu = true;
    // Held still for a second over an object: its menu opens before the release.
    desk->MouseMove(0, 30, 30);
    desk->MousePress(kRightDown, kRight, 30, 30);
    platform::advanceClock(999);
    platform::runDueTimers();
    EXPECT_EQ(desk->activeMenu, nullptr);
    platform::advanceClock(1);
    platform::runDueTimers();
    ASSERT_NE(desk->activeMenu, nullptr);
    // The menu (its north slot 80 above) and 15 pixels stay in the client
    // area: the anchor and the mouse moved down by the same amount.
    const uint32_t anchor = ui::inputState().menuAnchor;
    EXPECT_EQ(xOf(anchor), 30);
    EXPECT_EQ(yOf(anchor), 15 + 80);
    ASSERT_FALSE(shell.warps.empty());
    EXPECT_EQ(shell.warps.back(), (std::pair<int32_t, int32_t>{30, 95}));
    // The whole stroke: held, the mouse goes to the slot and lets go there.
    auto [px, py] = slotCentre(0);
    desk->MouseMove(kRight, px, py);
    desk->MouseRelease(kRightUp, 0, px, py);
    EXPECT_EQ(parent.chosen, 42);
    // Dragging with the right button held opens the menu at once.
    desk->MouseMove(0, 600, 400);
    desk->MousePress(kRightDown, kRight, 600, 400);
    desk->MouseMove(kRight, 602, 400);
    EXPECT_EQ(desk->activeMenu, nullptr);
    desk->MouseMove(kRight, 603, 400);
    EXPECT_NE(desk->activeMenu, nullptr);
    desk->MouseRelease(kRightUp, 0, 603, 400);
    EXPECT_EQ(desk->activeMenu, nullptr);
    platform::useRealClock();
}

TEST_F(DesktopInput, AModalWindowTakesEverythingAndOpensNoMenu) {
    Window* behind = open("sheet");
    Window* modal = open("box");
    desk->SetModal(true);
    Window* later = open("map");
    EXPECT_EQ(desk->windows.back().get(), modal);
    EXPECT_EQ(desk->inputTargets.front(), modal);
    EXPECT_EQ(desk->HitTestAll(150, 150), nullptr);
    EXPECT_EQ(desk->HitTestAll(550, 150), nullptr);
    EXPECT_EQ(desk->HitTestAll(310, 310), modal);
    rightClick(310, 310);
    EXPECT_EQ(desk->activeMenu, nullptr);
    desk->BringToFront(later);
    EXPECT_EQ(desk->windows.back().get(), modal);
    EXPECT_NE(behind, nullptr);
}

TEST_F(DesktopInput, CursorsFollowDiceAndDrags) {
    FakeDice dice;
    platform::Subscription diceHandle = ui::attachDiceInput(dice);
    bool overChatNow = false;
    int chatRedraws = 0;
    platform::Subscription chatArea =
        ui::desktopSignals().chatFrameContains.subscribe([](int32_t x, int32_t) { return x < 200; });
    platform::Subscription chatDirty = ui::desktopSignals().chatFrameChanged.subscribe([&](bool over) {
        overChatNow = over;
        ++chatRedraws;
    });
    ui::InputState& s = ui::inputState();
    desk->MouseMove(0, 910, 610);
    EXPECT_EQ(s.cursor, ui::cursor::kDraggable);
    desk->MousePress(kLeftDown, kLeft, 910, 610);
    EXPECT_TRUE(s.carryingDie);
    EXPECT_EQ(s.cursor, ui::cursor::kCarrying);
    desk->MousePress(kRightDown, kLeft | kRight, 910, 610);
    EXPECT_EQ(dice.added, 1);
    desk->MouseRelease(kRightUp, kLeft, 910, 610);
    EXPECT_EQ(desk->activeMenu, nullptr);
    desk->MouseMove(kLeft, 100, 100);
    EXPECT_TRUE(overChatNow);
    desk->MouseRelease(kLeftUp, 0, 100, 100);
    EXPECT_EQ(dice.phases.back(), 2);  // thrown onto the chat
    EXPECT_FALSE(s.carryingDie);
    EXPECT_FALSE(overChatNow);
    EXPECT_EQ(s.cursor, ui::cursor::kDefault);
    // A right click on a die gives the die menu; its choice goes to the dice.
    rightClick(910, 610);
    ASSERT_NE(desk->activeMenu, nullptr);
    EXPECT_EQ(desk->activeMenu->labels[0], "Roll 2");
    auto [x, y] = slotCentre(0);
    leftClick(x, y);
    EXPECT_EQ(dice.chosen, 2);
    EXPECT_TRUE(s.carryingDie);
    EXPECT_GT(chatRedraws, 0);
    // A drag with a payload shows the carrying cursor until it ends.
    addPair();
    parent.buttonResult = ui::kTakeCapture;
    parent.dragResult = 1;
    s.carryingDie = false;
    ui::DragPayload payload;
    payload.kind = 1;
    desk->BeginDrag(parent, payload);
    EXPECT_EQ(s.cursor, ui::cursor::kCarrying);
    desk->MousePress(kLeftDown, kLeft, 30, 30);
    desk->MouseMove(kLeft, 40, 40);
    desk->MouseRelease(kLeftUp, 0, 500, 500);
    EXPECT_EQ(s.cursor, ui::cursor::kDefault);
    EXPECT_EQ(desk->dragPayload.kind, 0);
}

TEST_F(DesktopInput, AnObjectNamesItsCursorForThePointUnderTheMouse) {
    addPair();
    ui::InputState& s = ui::inputState();
    child.namedCursor = ui::cursor::kMask;
    desk->MouseMove(0, 30, 30);
    EXPECT_EQ(s.cursor, ui::cursor::kMask);
    // Where it names none, the arrow comes back; the next point names it again.
    desk->MouseMove(0, 50, 30);
    EXPECT_EQ(s.cursor, ui::cursor::kDefault);
    desk->MouseMove(0, 31, 30);
    EXPECT_EQ(s.cursor, ui::cursor::kMask);
    // Leaving for an object that names nothing takes it away too.
    desk->MouseMove(0, 15, 15);
    EXPECT_EQ(s.cursor, ui::cursor::kDefault);
    // A menu choice that changes what the object does there shows at once,
    // without a move: the menu's own arrow gives way to the named cursor.
    parent.offersMenu = true;
    parent.namedCursor = 0;
    rightClick(15, 16);
    ASSERT_NE(desk->activeMenu, nullptr);
    EXPECT_EQ(s.cursor, ui::cursor::kDefault);
    desk->ChooseMenu(42);
    EXPECT_EQ(parent.chosen, 42);
    EXPECT_EQ(s.cursor, ui::cursor::kDrawing);
    EXPECT_EQ(shell.cursors.back(), ui::cursor::kDrawing);
}

TEST_F(DesktopInput, KeysGoToHotKeysBookmarksShortcutsAndTheFocus) {
    std::vector<int> hotKeys;
    platform::Subscription hot = ui::desktopSignals().hotKey.subscribe([&](int i) { hotKeys.push_back(i); });
    ui::focusFallback();
    desk->KeyDown(0, 0x70 + 4, 63);
    EXPECT_EQ(hotKeys, (std::vector<int>{4}));
    EXPECT_EQ(chat.keys, 0);
    // Bookmarks: holding pad 7 stores the top window (it blinks); a tap
    // brings it back to the front, restored.
    Window* first = open("sheet");
    Window* second = open("box");
    desk->KeyDown(0, 0x67, 71);
    desk->KeyDown(0, 0x67, 71, true);
    EXPECT_TRUE(ui::inputState().bookmarkStored);
    desk->KeyUp(0x67, 71);
    EXPECT_EQ(db::campaign().bookmarks[0].className.view(), "box");
    desk->BringToFront(first);
    first->ToggleMinimize(nullptr);
    desk->KeyDown(0, 0x67, 71);
    desk->KeyUp(0x67, 71);
    EXPECT_EQ(desk->windows.back().get(), second);
    // Pad 0 holds slot 9; the cursor keys share the pad's codes but are
    // extended, and go on to the focus.
    desk->BringToFront(first);
    desk->KeyDown(0, 0x60, 82, false);
    desk->KeyDown(0, 0x60, 82, true);
    desk->KeyUp(0x60, 82);
    EXPECT_EQ(db::campaign().bookmarks[9].className.view(), "sheet");
    desk->BringToFront(second);
    desk->KeyDown(0, 0x60, 82);
    desk->KeyUp(0x60, 82);
    EXPECT_EQ(desk->windows.back().get(), first);
    EXPECT_FALSE(first->minimized);
    desk->KeyDown(0, 0x25, 75, false, true);
    EXPECT_EQ(chat.keys, 1);
    desk->Char('7', 71);  // a digit of the pad is the bookmark's
    EXPECT_EQ(chat.keys, 1);
    // The stored window blinks: it is left out of the drawing for 100 ms.
    platform::useManualClock(1000);
    auto drawCalls = [&] {
        render::RecordingRenderContext context;
        desk->Draw(context, {0, 0, 1024, 768});
        return context.calls.size();
    };
    desk->KeyDown(0, 0x68, 72);
    desk->KeyDown(0, 0x68, 72, true);
    desk->KeyUp(0x68, 72);
    const size_t hidden = drawCalls();
    platform::advanceClock(99);
    platform::runDueTimers();
    EXPECT_EQ(drawCalls(), hidden);
    platform::advanceClock(1);
    platform::runDueTimers();
    EXPECT_EQ(drawCalls(), hidden + 1);  // the sheet's box is back
    platform::useRealClock();
    // A shortcut of a desktop window takes its key until the key goes up.
    open("shortcuts", "");
    EXPECT_TRUE(desk->KeyDown(2, 'B', 48));
    EXPECT_NE(desk->Find("box", ""), nullptr);
    desk->Char('b', 48);
    desk->KeyDown(2, 'B', 48, true);
    EXPECT_EQ(chat.keys, 1);
    desk->KeyUp('B', 48);
    desk->KeyDown(0, 'B', 48);
    EXPECT_EQ(chat.keys, 2);
}

TEST_F(DesktopInput, TheKeyboardReachesEveryMenuEntry) {
    // The menu key opens the menu under the mouse; arrows walk, Return
    // picks, Escape closes a ring and then the menu.
    desk->MouseMove(0, 400, 300);
    desk->KeyDown(0, 0x5D, 93, false, true);
    ASSERT_NE(desk->activeMenu, nullptr);
    desk->KeyDown(0, 0x27, 77, false, true);  // slot 0
    desk->KeyDown(0, 0x0D, 28);
    ASSERT_NE(desk->activeMenu->activeSubMenu, nullptr);
    desk->KeyDown(0, 0x1B, 1);
    EXPECT_EQ(desk->activeMenu->activeSubMenu, nullptr);
    desk->KeyDown(0, 0x1B, 1);
    EXPECT_EQ(desk->activeMenu, nullptr);
    EXPECT_EQ(chat.keys, 0);
    desk->KeyDown(0, 0x5D, 93, false, true);
    desk->KeyDown(0, 0x28, 80, false, true);  // 0
    desk->KeyDown(0, 0x28, 80, false, true);  // 2: maximize
    desk->KeyDown(0, 0x0D, 28);
    EXPECT_TRUE(shell.full);
    EXPECT_EQ(desk->activeMenu, nullptr);
}

TEST_F(DesktopInput, PointersAreDrawnOnWindowsThatUseThem) {
    FakePointers pointers;
    platform::Subscription handle = ui::attachPointerInput(pointers);
    Window* map = open("map", "m1");
    ui::InputState& s = ui::inputState();
    // Armed from the window menu's ring: the next press draws a circle,
    // whatever modifier is held.
    map->MenuSelected(ui::kMenuDrawCircle);
    EXPECT_TRUE(s.pointerArmed);
    desk->KeyDown(0, 0x10, 42);  // shift
    desk->MousePress(kLeftDown, kLeft, 550, 150);
    EXPECT_TRUE(s.pointerDrawing);
    desk->MouseMove(kLeft, 600, 180);
    desk->MouseRelease(kLeftUp, 0, 600, 180);
    desk->KeyUp(0x10, 42);
    ASSERT_EQ(pointers.sets.size(), 2u);
    EXPECT_FALSE(pointers.sets[0].finish);
    EXPECT_EQ(pointers.sets[1].window, map);
    EXPECT_EQ(pointers.sets[1].kind, 2);
    EXPECT_EQ(pointers.sets[1].start, pack(550, 150));
    EXPECT_TRUE(pointers.sets[1].finish);
    EXPECT_FALSE(s.pointerDrawing);
    // "Remove Pointer" shows once there is one.
    auto menu = map->BuildMenu();
    const ui::MenuModel::Entry& ring = menu->at(7);
    ASSERT_TRUE(ring.subMenu);
    EXPECT_EQ(ring.subMenu->at(1).label, "Remove Pointer");
    // Left pressed while the right is held: with alt a cone; a click that
    // does not move takes the pointer away.
    desk->KeyDown(1, 0x12, 56);
    desk->MousePress(kRightDown, kRight, 560, 160);
    desk->MousePress(kLeftDown, kLeft | kRight, 560, 160);
    desk->MouseMove(kLeft | kRight, 590, 190);
    desk->MouseRelease(kLeftUp, kRight, 590, 190);
    EXPECT_EQ(pointers.sets.back().finish, false);
    desk->MouseRelease(kRightUp, 0, 590, 190);
    desk->KeyUp(0x12, 56);
    EXPECT_EQ(pointers.sets.back().kind, 3);
    EXPECT_TRUE(pointers.sets.back().finish);
    EXPECT_EQ(desk->activeMenu, nullptr);
    desk->MousePress(kRightDown, kRight, 560, 160);
    desk->MousePress(kLeftDown, kLeft | kRight, 560, 160);
    desk->MouseRelease(kLeftUp, kRight, 560, 160);
    desk->MouseRelease(kRightUp, 0, 560, 160);
    EXPECT_EQ(pointers.sets.back().window, nullptr);
    // On a window without pointers, nothing is drawn.
    const size_t count = pointers.sets.size();
    open("box");
    desk->MousePress(kRightDown, kRight, 350, 350);
    desk->MousePress(kLeftDown, kLeft | kRight, 350, 350);
    EXPECT_FALSE(s.pointerDrawing);
    desk->MouseRelease(kLeftUp, kRight, 350, 350);
    desk->MouseRelease(kRightUp, 0, 350, 350);
    desk->CloseMenu();
    EXPECT_EQ(pointers.sets.size(), count);
}

}  // namespace
}  // namespace lh::test
