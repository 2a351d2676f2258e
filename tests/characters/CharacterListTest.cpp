// The strip of portraits without a screen: places and hits, what each place
// shows, the host's menu (kick that must be confirmed, the bell to one user,
// turns that leave a line), a client's menu and clicks, and records dropped
// on a portrait.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "../ui/DesktopFixture.h"
#include "characters/CharacterList.h"
#include "db/DbNode.h"
#include "db/SessionMode.h"
#include "db/Users.h"
#include "db/XmlParse.h"
#include "render/RecordingRenderContext.h"
#include "platform/Trace.h"
#include "ui/ChatPort.h"
#include "ui/Desktop.h"
#include "ui/DragPayload.h"
#include "ui/Identities.h"
#include "ui/InputState.h"
#include "ui/MenuModel.h"
#include "ui/RulesetData.h"
#include "ui/RulesetLoader.h"
#include "ui/Window.h"

using namespace lh;
using characters::CharacterList;
using namespace ui::mouse;

namespace {

class Strip : public ::testing::Test {
protected:
    void SetUp() override {
        db::clearTree();
        db::setSessionMode(db::SessionMode::Host);
        test::loadWindowRuleset();
        settings.position = {10, 10};
        settings.spacing = 80;
        settings.dataSource = "party";
        ui::setChatPort(&chat);
        bells = platform::traceLines().subscribe([this](std::string_view line) {
            if (line == "bell 0") ++beeps;
        });
    }
    void TearDown() override {
        list.reset();
        desk.reset();
        ui::setChatPort(nullptr);
        ui::identities().clear();
        db::clearTree();
        ui::clearRuleset();
    }
    void make(bool host, const std::string& localUser) {
        list = std::make_unique<CharacterList>(*desk, settings);
        list->hooks.isHost = host;
        list->hooks.localUserName = localUser;
        list->hooks.kick = [this](const std::string& user) { kicked.push_back(user); };
        list->hooks.bell = [this](const std::string& user) { rung.push_back(user); };
        list->hooks.sendTurn = [this](int32_t index) { turns.push_back(index); };
        for (const char* name : {"Ann", "Bo", "Cy"}) list->add(name, std::string(name) == "Ann" ? "ann" : name == std::string("Bo") ? "bo" : "cy");
        render::RecordingRenderContext context;
        list->Draw(context);
    }
    // The menu over the portrait at `index`, and its choice.
    std::unique_ptr<ui::MenuModel> menuOver(int index) {
        ui::inputState().lastMousePosition = pack(10 + index * 80 + 5, 15);
        return list->BuildMenu();
    }
    void choose(int index, const std::string& label) {
        auto menu = menuOver(index);
        ASSERT_TRUE(menu);
        int slot = menu->find(label);
        ASSERT_GE(slot, 0) << label;
        list->MenuSelected(menu->at(slot).id);
    }

    ui::CharacterListSettings settings;
    std::unique_ptr<ui::Desktop> desk = std::make_unique<ui::Desktop>();
    std::unique_ptr<CharacterList> list;
    // The chat's lines on this machine.
    struct Chat : ui::ChatPort {
        std::vector<ui::ChatLineDraft>& lines;
        explicit Chat(std::vector<ui::ChatLineDraft>& l) : lines(l) {}
        void post(ui::ChatLineDraft) override {}
        void add(ui::ChatLineDraft line) override { lines.push_back(std::move(line)); }
        void postAsIdentity(std::string) override {}
        void attachDieResult(std::unique_ptr<ui::DieResult>, const char*) override {}
        void clear() override {}
    };
    std::vector<ui::ChatLineDraft> lines;
    Chat chat{lines};
    platform::Subscription bells;
    int beeps = 0;
    std::vector<std::string> kicked, rung;
    std::vector<int32_t> turns;
};

}  // namespace

TEST_F(Strip, PlacesHitsAndAPortraitWithoutABase) {
    make(true, "");
    EXPECT_EQ(list->rect, (render::Rect{10, 10, 250, 30}));  // three places, 20 pixels high without a base
    EXPECT_EQ(list->indexAt(10, 10), 0);
    EXPECT_EQ(list->indexAt(95, 20), 1);
    EXPECT_EQ(list->indexAt(9, 20), -1);  // left of the strip is no entry
    EXPECT_EQ(list->indexAt(249, 29), 2);
    EXPECT_EQ(list->indexAt(100, 31), -1);
    EXPECT_EQ(list->HitTest(95, 20), list.get());
    list->add("Ann", "other");  // one entry a name
    EXPECT_EQ(list->items().size(), 3u);
    settings.spacing = 0;  // a Ruleset without spacing hits nothing rather than dividing by it
    EXPECT_EQ(list->indexAt(12, 12), -1);
}

// Each place, left to right in order of arrival: the blank disc (no portrait
// yet), the owner's pointer icon in his colour, the name on its plate, and
// the typing or away icon; the name of the turn is in the turn's font.
TEST_F(Strip, EachPlaceShowsItsPortraitPointerPlateAndIndicator) {
    ui::LoadRulesetFile(db::parseXmlText(R"(<root>
      <font name="mini_name"><face value="DejaVu Sans"/><size value="9"/></font>
      <font name="mini_name_selected"><face value="DejaVu Sans"/><size value="20"/></font>
    </root>)", "strip fonts"), db::SessionMode::Host);
    settings.name = {"plain", 24, 3, 16, 70};
    settings.typingIcon = "open";
    settings.idlingIcon = "openpressed";
    settings.pointerIcon = "pic";
    settings.pointerIconPosition = {50, 2};
    settings.indicatorPosition = {4, 40};
    make(true, "");
    list->hooks.pointerColor = [](const std::string& user, uint32_t& bgr) {
        bgr = 0x00332211;  // the platform's blue-green-red
        return user == "bo";
    };
    list->setState("Ann", 1);
    list->setState("Cy", 2);
    auto draw = [&] {
        render::RecordingRenderContext context;
        list->Draw(context);
        return context.calls;
    };
    auto at = [](const std::vector<render::DrawCall>& calls, const render::Bitmap* icon) {
        std::vector<std::pair<float, float>> places;
        for (const render::DrawCall& c : calls)
            if (c.bitmap == icon) places.emplace_back(c.x1, c.y1);
        return places;
    };
    // The names' places along the strip, after the initials on the discs.
    auto names = [&](const std::vector<render::DrawCall>& calls) {
        std::vector<std::pair<std::string, float>> out;
        for (const render::DrawCall& c : calls)
            if (c.kind == render::DrawCall::Text) out.emplace_back(c.text, c.x1);
        return out;
    };
    std::vector<render::DrawCall> calls = draw();
    std::vector<std::pair<std::string, float>> plain = names(calls);
    std::vector<std::string> texts;
    for (const auto& [text, x] : plain) texts.push_back(text);
    ASSERT_EQ(texts, (std::vector<std::string>{"A", "Ann", "B", "Bo", "C", "Cy"}));
    // Without a base, the first thing drawn is Ann's disc, 20 pixels round.
    ASSERT_FALSE(calls.empty());
    using Places = std::vector<std::pair<float, float>>;
    EXPECT_EQ(at(calls, calls[0].bitmap), (Places{{10, 10}, {90, 10}, {170, 10}}));
    EXPECT_EQ(at(calls, ui::findIcon("pic")), (Places{{90 + 50, 12}}));
    for (const render::DrawCall& c : calls) {
        if (c.bitmap == ui::findIcon("pic")) { EXPECT_EQ(c.color, 0xFF112233u); }
    }
    EXPECT_EQ(at(calls, ui::findIcon("open")), (Places{{10 + 4, 50}}));
    EXPECT_EQ(at(calls, ui::findIcon("openpressed")), (Places{{170 + 4, 50}}));

    // Bo's turn: his name alone changes font, and so its width.
    list->setTurn(1);
    std::vector<std::pair<std::string, float>> turn = names(draw());
    ASSERT_EQ(turn.size(), 6u);
    EXPECT_EQ(turn[1].second, plain[1].second);
    EXPECT_LT(turn[3].second, plain[3].second);
    EXPECT_EQ(turn[5].second, plain[5].second);
}

TEST_F(Strip, TheHostsMenuKicksOnlyOnConfirmRingsOneUserAndTogglesTurns) {
    make(true, "");
    auto menu = menuOver(1);
    ASSERT_TRUE(menu);
    EXPECT_TRUE(menu->anchored);
    EXPECT_EQ(menu->anchorX, 10 + 80 + 10);
    EXPECT_EQ(menu->at(2).label, "Kick Player");
    EXPECT_EQ(menu->at(2).icon, "kick");
    EXPECT_EQ(menu->at(3).label, "Sound Bell");
    EXPECT_EQ(menu->at(4).label, "Toggle Turn");

    choose(1, "Kick Player");
    EXPECT_TRUE(kicked.empty());
    EXPECT_EQ(menuOver(1)->at(2).label, "Confirm Kick");
    EXPECT_EQ(menuOver(2)->at(2).label, "Kick Player");  // armed for that entry only
    choose(1, "Sound Bell");                              // any other command disarms
    EXPECT_EQ(rung, (std::vector<std::string>{"bo"}));
    EXPECT_EQ(menuOver(1)->at(2).label, "Kick Player");
    choose(1, "Kick Player");
    choose(1, "Confirm Kick");
    EXPECT_EQ(kicked, (std::vector<std::string>{"bo"}));

    ui::identities().selectOrMakeIdentity("Bo", "chatfont");
    choose(1, "Toggle Turn");
    EXPECT_EQ(list->selectedIndex, 1);
    EXPECT_EQ(turns, (std::vector<int32_t>{1}));
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].text, "Bo");
    EXPECT_EQ(lines[0].font, "narratorfont");
    EXPECT_EQ(lines[0].indicator, "indicator_flag");
    EXPECT_TRUE(lines[0].turnMarker);
    EXPECT_EQ(beeps, 1);  // the one who speaks under it hears it
    choose(1, "Toggle Turn");                    // again: the turn is cleared, a bare rule
    EXPECT_EQ(list->selectedIndex, -1);
    EXPECT_EQ(turns.back(), -1);
    EXPECT_EQ(lines.back().text, " ");
    EXPECT_TRUE(lines.back().indicator.empty());

    // The mark is a place: when an entry in front leaves, the next one has it.
    list->setTurn(1);
    list->remove("Ann");
    EXPECT_EQ(list->selectedIndex, 1);
    EXPECT_EQ(list->items()[1].name, "Cy");
    // A turn beyond the list (a hostile host) is kept but says nothing.
    size_t before = lines.size();
    list->setTurn(7);
    EXPECT_EQ(lines.size(), before);
    list->remove("Nobody");
    list->setState("Nobody", 1);
    list->setState("Cy", 2);
    EXPECT_EQ(list->items()[1].state, 2);
}

TEST_F(Strip, AClientsMenuIsOnItsOwnEntryAndItsClicksNeedTheRecord) {
    db::setSessionMode(db::SessionMode::Join);
    settings.portraitMenuClass = "notes";
    make(false, "ann");
    EXPECT_FALSE(menuOver(1));  // somebody else's
    auto own = menuOver(0);
    ASSERT_TRUE(own);
    EXPECT_EQ(own->at(4).label, "Select Portrait");
    EXPECT_FALSE(own->at(3).present);  // no colour picker class
    list->MenuSelected(own->at(4).id);
    EXPECT_NE(desk->Find("notes", ""), nullptr);
    settings.pointerMenuClass = "fit";
    own = menuOver(0);
    ASSERT_TRUE(own);
    EXPECT_EQ(own->at(3).label, "Select Colors");
    list->MenuSelected(own->at(3).id);
    EXPECT_NE(desk->Find("fit", ""), nullptr);
    settings.pointerMenuClass.clear();
    settings.portraitMenuClass.clear();
    EXPECT_FALSE(menuOver(0));

    // Bo's sheet is not here: the click does nothing.
    list->MouseButton(kLeftUp, 0, pack(95, 15));
    EXPECT_EQ(desk->Find("party", "Bo"), nullptr);
    db::rootNode().addChild("party")->addChild("Bo");
    list->MouseButton(kLeftUp, 0, pack(95, 15));
    ui::Window* sheet = desk->Find("party", "Bo");
    ASSERT_NE(sheet, nullptr);
    list->MouseButton(kLeftUp, 0, pack(95, 15));  // again: minimized
    EXPECT_TRUE(sheet->minimized);
    // A client starts no drags and takes no drops.
    EXPECT_EQ(list->MouseDrag(kMove, kLeft, pack(95, 15), pack(200, 200)), 0);
}

TEST_F(Strip, ARecordDroppedOnAPortraitIsSharedAndWithCtrlGiven) {
    make(true, "");
    std::vector<std::pair<std::string, std::string>> owners;
    list->hooks.ownerChanged = [&](const std::string& path, const std::string& former) { owners.emplace_back(path, former); };
    db::DbNode* record = db::rootNode().addChild("party")->addChild("00001");
    record->addHolder("cy", true);
    desk->dragPayload.kind = 3;
    desk->dragPayload.className = "party";
    desk->dragPayload.recordName = "00001";
    EXPECT_EQ(list->MouseDrop(kLeftUp, 0, pack(15, 15), nullptr), 1);
    ui::Window* window = desk->Find("party", "00001");
    ASSERT_NE(window, nullptr);
    EXPECT_TRUE(window->shared);
    EXPECT_EQ(record->owner, db::findKnownUser("cy"));
    list->MouseDrop(kLeftUp, kControl, pack(15, 15), nullptr);
    EXPECT_EQ(record->owner, db::findKnownUser("ann"));
    ASSERT_EQ(owners.size(), 1u);
    EXPECT_EQ(owners[0], (std::pair<std::string, std::string>{"party.00001", "cy"}));
    // An unknown class or a drag of another kind ends the drop.
    desk->dragPayload.className = "nothing";
    EXPECT_EQ(list->MouseDrop(kLeftUp, 0, pack(15, 15), nullptr), 1);
    desk->dragPayload.kind = 1;
    EXPECT_EQ(list->MouseDrop(kLeftUp, 0, pack(15, 15), nullptr), 0);

    // The host drags a portrait as a link to the character's sheet.
    EXPECT_EQ(list->MouseButton(kLeftDown, kLeft, pack(95, 15)), ui::kTakeCapture);
    desk->dragPayload = {};
    EXPECT_EQ(list->MouseDrag(kMove, kLeft, pack(95, 15), pack(300, 300)), 1);
    EXPECT_EQ(desk->dragPayload.kind, 3);
    EXPECT_EQ(desk->dragPayload.className, "party");
    EXPECT_EQ(desk->dragPayload.recordName, "Bo");
}
