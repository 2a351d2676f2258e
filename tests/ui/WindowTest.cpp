// Windows and controls at work: the factory's table, fields shared by name
// and redrawn on a remote change, rights, openers (toggle, new records,
// ALTCLASS, shortcuts, the client's request), the window menu, tabs,
// minimizing with the glow, and the object-dying rule (run under ASan).
#include <gtest/gtest.h>

#include "DesktopFixture.h"
#include "db/DbContext.h"
#include "db/SessionMode.h"
#include "db/DbNode.h"
#include "db/IntValue.h"
#include "db/Users.h"
#include "render/RecordingRenderContext.h"
#include "ui/ControlFactory.h"
#include "ui/Desktop.h"
#include "ui/InputState.h"
#include "ui/MenuModel.h"
#include "ui/RulesetData.h"
#include "ui/Window.h"
#include "ui/WindowMessages.h"
#include "ui/WindowNetwork.h"
#include "ui/WindowOpener.h"

namespace lh::test {
namespace {

using render::Rect;
using ui::Window;
using namespace ui::mouse;

// A session stand-in that writes down what would have been sent.
struct RecordingNetwork : ui::WindowNetwork {
    bool host = false;
    std::vector<std::pair<std::string, std::vector<uint8_t>>> sent;
    bool isHost() const override { return host; }
    void sendToHost(const char* tag, std::vector<uint8_t> body) override { sent.emplace_back(tag, std::move(body)); }
    void sendToAll(const char* tag, std::vector<uint8_t> body) override { sent.emplace_back(tag, std::move(body)); }
    bool sendToUser(const std::string&, const char* tag, std::vector<uint8_t> body) override {
        sent.emplace_back(tag, std::move(body));
        return true;
    }
    std::vector<std::string> connectedUsers() const override { return {"alice"}; }
    void sendRecord(db::DbNode&, const std::string*) override {}
    int requestDelete(db::DbNode& node) override {
        deleteRequests.push_back(node.pathOf());
        return 0;
    }
    std::vector<std::string> deleteRequests;

    // The one message sent, read as names and a size; the test fails unless
    // exactly one went out, of that tag.
    ui::WindowMessage onlySent(const char* tag) const {
        ui::WindowMessage m;
        std::string why;
        EXPECT_EQ(sent.size(), 1u);
        if (sent.size() != 1) return m;
        EXPECT_EQ(sent[0].first, tag);
        EXPECT_TRUE(ui::decodeWindowMessage(sent[0].second, ui::WindowMessageForm::namesAndSize, m, why)) << why;
        return m;
    }
};

class Windows : public ::testing::Test {
protected:
    void SetUp() override {
        db::clearTree();
        db::setSessionMode(db::SessionMode::Host);
        loadWindowRuleset();
        ui::setFallbackKeyboardTarget(&chat);
    }
    void TearDown() override {
        desk.reset();
        ui::setFallbackKeyboardTarget(nullptr);
        ui::SetKeyboardFocus(nullptr);
        db::setSessionMode(db::SessionMode::Host);
        db::clearTree();
        ui::clearRuleset();
    }
    Window* open(const char* cls, const char* record = "00001") {
        return desk->OpenWindow(*ui::findWindowClass(cls), record);
    }
    // A click in the middle of a control, through the Desktop's routing.
    void click(ui::Control& c, uint32_t flags = 0) {
        int32_t x, y;
        c.GetOrigin(x, y);
        x += c.rect.width() / 2;
        y += c.rect.height() / 2;
        desk->MousePress(kLeftDown, kLeft | flags, x, y);
        desk->MouseRelease(kLeftUp, flags, x, y);
    }

    FallbackTarget chat;
    std::unique_ptr<ui::Desktop> desk = std::make_unique<ui::Desktop>();
};

TEST_F(Windows, FactoryKnowsEveryTagAndSkipsUnknownOnes) {
    for (const char* tag : {"NUMBERCONTROL", "STRINGCONTROL", "FORMATTEDTEXTCONTROL", "WINDOWCHANGECONTROL",
                            "WINDOWOPENCONTROL", "MULTISTATE", "LIGHTINGSELECTION", "COLORSELECTION",
                            "STATICGRAPHIC", "SCROLLER", "FILTER", "VIEWERLIST", "IDENTITYACTIVATION",
                            "IDENTITYSELECTION", "IMAGE", "WINDOWLIST", "TOKENBAG", "PORTRAITSELECTION",
                            "CATEGORYSELECTION", "MODULESELECTION"}) {
        EXPECT_TRUE(ui::isControlTag(tag)) << tag;
    }
    EXPECT_FALSE(ui::isControlTag("MYSTERYTAG"));
    EXPECT_FALSE(ui::isPlaceholderTag("WINDOWOPENCONTROL"));
    EXPECT_TRUE(ui::isPlaceholderTag("PORTRAITSELECTION"));
    // A subsystem's registration takes the placeholder's place.
    ui::registerControlTag("PORTRAITSELECTION", [](Window& w) -> std::unique_ptr<ui::Control> {
        return std::make_unique<TestBox>(w);
    });
    EXPECT_FALSE(ui::isPlaceholderTag("PORTRAITSELECTION"));

    Window* w = open("sheet");
    ASSERT_EQ(w->controls.size(), 5u);  // the unknown tag is skipped
    EXPECT_EQ(w->ControlAt(4)->kind, ui::ControlKind::windowOpener);
    EXPECT_EQ(w->ControlAt(9), nullptr);
    EXPECT_EQ(w->FindControl("hp"), w->ControlAt(0));  // the first of the name
    // A frame's OFFSET reaches out on each side.
    EXPECT_EQ(w->ControlAt(2)->frameOffset, (Rect{5, 5, 5, 5}));
    // The record was made under the class's data source.
    EXPECT_EQ(w->record, db::findNode("sheets.00001"));
}

TEST_F(Windows, ControlsOnOneNameShareAValueAndRemoteChangesRedraw) {
    Window* w = open("sheet");
    auto& first = static_cast<TestBox&>(*w->ControlAt(0));
    auto& second = static_cast<TestBox&>(*w->ControlAt(2));
    click(first);
    click(second);
    EXPECT_EQ(first.value(), 2);
    EXPECT_EQ(second.value(), 2);
    db::DbNode* field = db::findNode("sheets.00001.hp");
    ASSERT_NE(field, nullptr);
    EXPECT_EQ(field->valueAs<db::IntValue>()->base(), 2);

    // A change from elsewhere reaches the window through its record.
    w->changed = false;
    field->valueAs<db::IntValue>()->set(9);
    field->parent->notify(db::ChangeKind::value);
    EXPECT_TRUE(w->changed);
    EXPECT_EQ(second.value(), 9);

    // A player without the record changes nothing, and shows nothing.
    db::setSessionMode(db::SessionMode::Join);
    w->record->setOwner(nullptr);
    click(first);
    EXPECT_EQ(first.value(), 9);
    w->record->setOwner(&db::localUser());
    click(first);
    EXPECT_EQ(first.value(), 10);

    // A window with no record keeps its values to itself.
    Window* loose = open("party", "");
    EXPECT_EQ(loose->record, nullptr);
    click(*loose->ControlAt(0));
    EXPECT_EQ(static_cast<TestBox&>(*loose->ControlAt(0)).value(), 1);

    // Tab moves the keyboard to TABTARGET NEXT; a missing name keeps it.
    first.TakeFocus();
    desk->KeyDown(0, 0x09, 15);
    EXPECT_EQ(ui::KeyboardFocus(), static_cast<ui::KeyboardTarget*>(&static_cast<TestBox&>(*w->FindControl("mp"))));
    desk->KeyDown(0, 0x09, 15);
    EXPECT_EQ(ui::KeyboardFocus(), static_cast<ui::KeyboardTarget*>(&static_cast<TestBox&>(*w->FindControl("mp"))));
}

TEST_F(Windows, OpenersOpenToggleAndMakeRecords) {
    Window* shortcuts = desk->OpenShortcutWindow(db::SessionMode::Host);
    ASSERT_NE(shortcuts, nullptr);
    auto& openSheet = *shortcuts->FindControl("open");
    click(openSheet);
    Window* sheet = desk->Find("sheet", "00007");
    ASSERT_NE(sheet, nullptr);
    click(openSheet);  // open and not toggled: left alone
    EXPECT_FALSE(sheet->minimized);
    sheet->ToggleMinimize(nullptr);
    click(openSheet);  // a minimized one comes back
    EXPECT_FALSE(sheet->minimized);
    EXPECT_EQ(desk->windows.back().get(), sheet);

    // CLOSETOGGLE: open, minimize, restore; the record is the sheet's own.
    auto& link = *sheet->FindControl("link");
    // Held down, the link shows its pressed icon; leaving it lets go.
    auto drawnIcon = [&] {
        render::RecordingRenderContext context;
        link.Draw(context, {0, 0, 1024, 768});
        return context.calls.empty() ? nullptr : context.calls.back().bitmap;
    };
    EXPECT_EQ(drawnIcon(), ui::findIcon("open"));
    int32_t lx, ly;
    link.GetOrigin(lx, ly);
    // The hand shows over a link that can be dragged, the arrow beside it.
    desk->MouseMove(0, lx + 5, ly + 5);
    EXPECT_EQ(ui::inputState().cursor, ui::cursor::kDraggable);
    desk->MouseMove(0, lx - 5, ly + 5);
    EXPECT_EQ(ui::inputState().cursor, ui::cursor::kDefault);
    desk->MousePress(kLeftDown, kLeft, lx + 5, ly + 5);
    EXPECT_EQ(drawnIcon(), ui::findIcon("openpressed"));
    desk->MouseMove(kLeft, lx + 5, ly + 40);
    EXPECT_EQ(drawnIcon(), ui::findIcon("open"));
    desk->MouseRelease(kLeftUp, 0, lx + 5, ly + 40);
    EXPECT_EQ(desk->Find("notes", "00007"), nullptr);  // let go outside: nothing opened
    EXPECT_EQ(desk->dragPayload.kind, 0);
    click(link);
    Window* notes = desk->Find("notes", "00007");
    ASSERT_NE(notes, nullptr);
    click(link);
    EXPECT_TRUE(notes->minimized);
    click(link);
    EXPECT_FALSE(notes->minimized);

    // NEWRECORD on the host takes the first free id each time.
    auto& make = *shortcuts->FindControl("make");
    db::findNode("sheets.00007")->name;  // 00007 exists already
    click(make);
    click(make);
    EXPECT_NE(desk->Find("sheet", "00001"), nullptr);
    EXPECT_NE(desk->Find("sheet", "00002"), nullptr);
    delete db::findNode("sheets.00001");
    desk->CollectClosed();
    EXPECT_EQ(desk->Find("sheet", "00001"), nullptr);
    click(make);
    EXPECT_NE(desk->Find("sheet", "00001"), nullptr);

    // Control with ALTCLASS makes a record of that class; without, it opens.
    auto& alt = *shortcuts->FindControl("alt");
    click(alt, kControl);
    EXPECT_NE(desk->Find("party", "00001"), nullptr);
    click(alt);
    EXPECT_NE(desk->Find("notes", "n1"), nullptr);

    // Shortcuts: control+S opens; a SHORTCUT without MODIFIER never fires.
    desk->Find("sheet", "00007")->Close(false);
    desk->CollectClosed();
    EXPECT_TRUE(desk->KeyDown(2, 'S', 31));
    EXPECT_NE(desk->Find("sheet", "00007"), nullptr);
    EXPECT_FALSE(desk->KeyDown(0, 'N', 49));

    // A client asks the host by WINCQ and makes nothing itself.
    RecordingNetwork client;
    desk->network = &client;
    size_t before = desk->windows.size();
    click(make);
    EXPECT_EQ(desk->windows.size(), before);
    ASSERT_EQ(client.sent.size(), 1u);
    EXPECT_EQ(client.sent[0].first, "WINCQ");
    EXPECT_EQ(client.sent[0].second, (std::vector<uint8_t>{'s', 'h', 'e', 'e', 't', 0}));
    desk->network = nullptr;

    // The drag payload is a window link.
    ui::DragPayload payload;
    static_cast<ui::WindowOpener&>(openSheet).GetDragData(payload);
    EXPECT_EQ(payload.kind, 3);
    EXPECT_EQ(payload.className, "sheet");
    EXPECT_EQ(payload.recordName, "00007");
}

TEST_F(Windows, MenuEntriesFollowRightsAndState) {
    Window* sheet = open("sheet");
    auto menu = sheet->BuildMenu();
    EXPECT_EQ(menu->at(0).label, "Close Window");
    EXPECT_EQ(menu->at(1).label, "Minimize");
    EXPECT_EQ(menu->at(2).label, "Delete Record");
    EXPECT_EQ(menu->at(2).subMenu->at(0).id, ui::kMenuConfirmDelete);
    EXPECT_EQ(menu->at(2).subMenu->backSlot, 6);
    EXPECT_EQ(menu->at(6).label, "Share Sheet");
    EXPECT_EQ(menu->find("Pointers"), -1);

    RecordingNetwork net;
    net.host = true;
    desk->network = &net;
    sheet->MenuSelected(ui::kMenuShare);
    EXPECT_TRUE(sheet->shared);
    EXPECT_EQ(sheet->sharedWith.count("alice"), 1u);
    EXPECT_EQ(sheet->BuildMenu()->at(0).label, "Close For All");
    sheet->MenuSelected(ui::kMenuClose);  // shared without PLAYERCONTROL: no plain close
    EXPECT_FALSE(sheet->isClosed());

    // A client sees no close entry on such a window, and cannot share it.
    net.host = false;
    auto clientMenu = sheet->BuildMenu();
    EXPECT_FALSE(clientMenu->at(0).present);
    EXPECT_EQ(clientMenu->find("Share Sheet"), -1);
    EXPECT_EQ(clientMenu->find("Delete Record"), -1);

    // A PLAYERCONTROL window on the player's own record may be shared.
    db::setSessionMode(db::SessionMode::Join);
    Window* party = open("party");
    party->record->setOwner(&db::localUser());
    EXPECT_EQ(party->BuildMenu()->at(6).label, "Share Sheet");
    net.sent.clear();
    party->MenuSelected(ui::kMenuShare);
    ui::WindowMessage m = net.onlySent("WINBQ");
    EXPECT_EQ(m.className, "party");
    EXPECT_EQ(m.recordName, "00001");
    EXPECT_EQ(m.width, 200);
    desk->network = nullptr;
    db::setSessionMode(db::SessionMode::Host);

    // Minimized: Restore, anchored at the icon.
    sheet->shared = false;
    sheet->ToggleMinimize(nullptr);
    auto small = sheet->BuildMenu();
    EXPECT_EQ(small->at(1).label, "Restore");
    EXPECT_TRUE(small->anchored);
    // Desktop windows have none.
    EXPECT_EQ(desk->OpenShortcutWindow(db::SessionMode::Host)->BuildMenu(), nullptr);
}

TEST_F(Windows, MenuChoicesDeleteMinimizeAndTellTheHostsSize) {
    // "Confirm Delete" on the host deletes the record at once; the window
    // dies with it after the event.
    Window* sheet = open("sheet");
    sheet->MenuSelected(ui::kMenuConfirmDelete);
    desk->CollectClosed();
    EXPECT_EQ(db::findNode("sheets.00001"), nullptr);
    EXPECT_EQ(desk->Find("sheet", "00001"), nullptr);

    // A player asks the host for it, on a PLAYERCONTROL record of its own,
    // and deletes nothing itself; on another's record there is no entry.
    RecordingNetwork net;
    desk->network = &net;
    db::setSessionMode(db::SessionMode::Join);
    Window* party = open("party");
    party->record->setOwner(&db::localUser());
    ASSERT_NE(party->BuildMenu()->find("Delete Record"), -1);
    party->MenuSelected(ui::kMenuConfirmDelete);
    EXPECT_EQ(net.deleteRequests, (std::vector<std::string>{"party.00001"}));
    EXPECT_NE(db::findNode("party.00001"), nullptr);
    party->record->setOwner(nullptr);
    EXPECT_EQ(party->BuildMenu()->find("Delete Record"), -1);
    party->MenuSelected(ui::kMenuConfirmDelete);
    EXPECT_EQ(net.deleteRequests.size(), 1u);
    db::setSessionMode(db::SessionMode::Host);
    net.host = true;

    // NODELETE and static records offer no delete, even to the host.
    EXPECT_EQ(open("keeper")->BuildMenu()->find("Delete Record"), -1);
    Window* fixed = open("sheet", "00004");
    fixed->record->isStatic = 1;
    EXPECT_EQ(fixed->BuildMenu()->find("Delete Record"), -1);

    // "Minimize" puts the icon where the mouse chose it.
    desk->MouseMove(0, 600, 500);
    fixed->MenuSelected(ui::kMenuMinimize);
    EXPECT_TRUE(fixed->minimized);
    EXPECT_EQ(fixed->rect, (Rect{584, 484, 616, 516}));

    // A host-sized window, shared, tells its new size to all at the end of
    // its resize; a plain move tells nothing.
    Window* hosted = open("hostsized", "");
    hosted->shared = true;
    auto drag = [&](uint32_t flags) {
        const int32_t x = hosted->rect.left + 50, y = hosted->rect.top + 50;
        desk->MousePress(kLeftDown, kLeft | flags, x, y);
        desk->MouseMove(kLeft | flags, x + 3, y + 3);
        desk->MouseMove(kLeft | flags, x + 33, y + 23);
        desk->MouseRelease(kLeftUp, flags, x + 33, y + 23);
    };
    net.sent.clear();
    drag(0);
    EXPECT_TRUE(net.sent.empty());
    drag(kControl);
    ui::WindowMessage m = net.onlySent("WINSQ");
    EXPECT_EQ(m.className, "hostsized");
    EXPECT_EQ(m.width, 230);
    EXPECT_EQ(m.height, 170);
    desk->network = nullptr;
}

TEST_F(Windows, TabsAndMiddleDragTurnPages) {
    Window* w = open("tabbed");
    ASSERT_EQ(w->subWindows.size(), 3u);  // a class holding itself is dropped
    EXPECT_EQ(w->activeSubWindow, w->subWindows[0].second.get());
    // The tallest page grew the sheet.
    EXPECT_EQ(w->rect.height(), 250);
    // Every 20 pixels of a middle drag is one page, counted from the page
    // at the press; a walk off either end changes nothing.
    int32_t x = w->rect.left + 5, y = w->rect.top + 200;
    desk->MousePress(kMiddleDown, kMiddle, x, y);
    desk->MouseMove(kMiddle, x, y + 5);
    desk->MouseMove(kMiddle, x, y + 25);
    EXPECT_EQ(w->activeSubWindow, w->subWindows[1].second.get());
    desk->MouseMove(kMiddle, x, y + 45);
    EXPECT_EQ(w->activeSubWindow, w->subWindows[2].second.get());
    desk->MouseMove(kMiddle, x, y + 65);
    EXPECT_EQ(w->activeSubWindow, w->subWindows[2].second.get());
    desk->MouseMove(kMiddle, x, y - 20);
    EXPECT_EQ(w->activeSubWindow, w->subWindows[2].second.get());
    desk->MouseMove(kMiddle, x, y + 5);
    EXPECT_EQ(w->activeSubWindow, w->subWindows[0].second.get());
    desk->MouseRelease(kMiddleUp, 0, x, y + 5);
    // The tab shows its page.
    click(*w->controls.back());
    EXPECT_EQ(w->activeSubWindow, w->subWindows[1].second.get());
}

TEST_F(Windows, MinimizedWindowsShowTheirIconAndTheGlow) {
    Window* w = open("sheet");
    Rect before = w->rect;
    uint32_t centre = pack(500, 400);
    w->ToggleMinimize(&centre);
    EXPECT_EQ(w->rect, (Rect{484, 384, 516, 416}));
    EXPECT_EQ(w->restoreRect, before);
    render::RecordingRenderContext context;
    desk->Draw(context, {0, 0, 1024, 768});
    ASSERT_EQ(context.calls.size(), 1u);
    EXPECT_EQ(context.calls[0].bitmap, ui::findIcon("mini"));
    // A change while minimized adds the glow, centred on the icon.
    w->MarkChanged();
    context.calls.clear();
    desk->Draw(context, {0, 0, 1024, 768});
    ASSERT_EQ(context.calls.size(), 2u);
    EXPECT_EQ(context.calls[1].bitmap, ui::findIcon("minimized_glow"));
    EXPECT_EQ(context.calls[1].x1, 476);
    EXPECT_EQ(context.calls[1].y1, 376);
    // A left click restores it where it was, and the glow goes.
    desk->MousePress(kLeftDown, kLeft, 490, 390);
    desk->MouseRelease(kLeftUp, 0, 490, 390);
    EXPECT_FALSE(w->minimized);
    EXPECT_EQ(w->rect, before);
    w->ToggleMinimize(nullptr);
    EXPECT_FALSE(w->changed);
    EXPECT_EQ(w->rect, (Rect{484, 384, 516, 416}));  // the icon keeps its place

    // SOFTCLOSE minimizes instead of closing.
    Window* notes = open("notes");
    EXPECT_EQ(notes->rect.left, 40);
    notes->Close(false);
    desk->CollectClosed();
    EXPECT_EQ(desk->Find("notes", "00001"), notes);
    EXPECT_TRUE(notes->minimized);
    EXPECT_EQ(notes->rect, (Rect{40, 30, 72, 62}));
}

TEST_F(Windows, DyingObjectsLeaveNoReferenceBehind) {
    ui::InputState& s = ui::inputState();
    Window* w = open("sheet");
    auto& box = static_cast<TestBox&>(*w->ControlAt(0));
    int32_t x, y;
    box.GetOrigin(x, y);
    // Hover on the control, keyboard on it, a menu of the window open.
    desk->MouseMove(0, x + 1, y + 1);
    EXPECT_EQ(s.hoverTarget, &box);
    box.TakeFocus();
    ASSERT_NE(desk->OpenMenuAt(w->rect.left + 150, w->rect.top + 100), nullptr);
    EXPECT_EQ(s.mouseCapture, w);
    // The window closes from its own menu: it lives to the end of the
    // event, then every reference to it and its controls is gone.
    desk->ChooseMenu(ui::kMenuClose);
    EXPECT_EQ(desk->Find("sheet", "00001"), nullptr);
    EXPECT_EQ(s.hoverTarget, nullptr);
    EXPECT_EQ(s.mouseCapture, nullptr);
    EXPECT_EQ(ui::KeyboardFocus(), &chat);
    EXPECT_TRUE(desk->inputTargets.empty());

    // A record deleted from elsewhere while its window holds the mouse and
    // the keyboard: closed at once, destroyed after the event.
    w = open("sheet");
    auto& again = static_cast<TestBox&>(*w->ControlAt(0));
    again.GetOrigin(x, y);
    desk->MousePress(kLeftDown, kLeft, x + 1, y + 1);
    EXPECT_EQ(s.mouseCapture, &again);
    again.TakeFocus();
    delete db::findNode("sheets.00001");
    EXPECT_TRUE(w->isClosed());  // still there to ask
    EXPECT_EQ(w->record, nullptr);
    desk->CollectClosed();
    EXPECT_EQ(s.mouseCapture, nullptr);
    EXPECT_EQ(ui::KeyboardFocus(), &chat);
    desk->MouseRelease(kLeftUp, 0, x + 1, y + 1);  // nobody holds it: nothing happens
    EXPECT_TRUE(desk->windows.empty());
}

}  // namespace
}  // namespace lh::test
