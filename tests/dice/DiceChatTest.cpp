// The dice and the chat as the program starts them, without a window: a
// number dropped on a die or on the modifier box piles up there and goes
// with the next roll into the chat; typed commands post through the chat's
// hooks; results keep their dice on the way into a chat line and back.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "db/Users.h"
#include "dice/ChatCommands.h"
#include "dice/ChatDieResult.h"
#include "dice/DiceScene.h"
#include "dice/DiceSubsystem.h"
#include "dice/ModifierCollector.h"
#include "platform/Trace.h"
#include "support/TestSupport.h"
#include "ui/ChatPort.h"
#include "ui/ColorPort.h"
#include "ui/Desktop.h"
#include "ui/DesktopHooks.h"
#include "ui/DesktopMenu.h"
#include "ui/DieType.h"
#include "ui/DragPayload.h"
#include "ui/Identities.h"
#include "ui/MenuModel.h"
#include "ui/RulesetData.h"
#include "ui/Subsystems.h"

namespace lh::dice {
namespace {

struct NumberSource : ui::DesktopObject {
    NumberSource(int kind, int32_t number, const std::string& description) {
        payload.kind = kind;
        payload.number = number;
        payload.description = description;
    }
    int GetDragData(ui::DragPayload& out) override {
        out = payload;
        return 1;
    }
    ui::DragPayload payload;
};

// A host without sockets, with two dice and a modifier box in its Ruleset;
// the chat's lines and die results as the trace tells them.
class DiceChat : public ::testing::Test {
protected:
    void SetUp() override {
        ui::clearRuleset();
        for (const char* name : {"d6", "d20"}) {
            auto type = std::make_unique<ui::DieType>();
            type->name = name;
            for (int i = 1; i <= (name[1] == '6' ? 6 : 20); ++i) type->values.push_back(std::to_string(i));
            ui::ruleset().dieTypes[name] = std::move(type);
        }
        ui::ModifierCollectorSettings& box = ui::ruleset().settings.modifierCollector;
        box.present = true;
        box.limit = 3;
        seedRandom(11);
        lines = platform::traceLines().subscribe([this](std::string_view line) {
            if (line.substr(0, 5) == "chat ") chat.emplace_back(line);
        });
        ui::startSubsystems({db::SessionMode::Host, ui::desktop(), nullptr, nullptr});
        ASSERT_TRUE(ui::chatPort());
        ASSERT_TRUE(modifierCollector());
    }
    void TearDown() override {
        ui::stopSubsystems();
        ui::identities().clear();
        ui::clearRuleset();
    }
    bool said(const std::string& text) const {
        for (const std::string& line : chat)
            if (line.find(text) != std::string::npos) return true;
        return false;
    }
    void type(const std::string& line) { ASSERT_TRUE(ui::slashCommandHandler()(line, 0)) << line; }

    std::vector<std::string> chat;
    platform::Subscription lines;
};

TEST_F(DiceChat, DroppedNumbersGoWithTheNextRoll) {
    ModifierCollector& box = *modifierCollector();
    ui::DiceInput* dice = ui::diceInput();
    ASSERT_TRUE(dice);
    NumberSource strength(ui::kDragNumber, 3, "Strength");
    dice->DropOnDie(0, 0, strength);
    ASSERT_EQ(box.entries().size(), 1u);
    EXPECT_EQ(box.entries()[0].label, "Strength");
    NumberSource words(ui::kDragText, 9, "Words");
    dice->DropOnDie(0, 0, words);
    EXPECT_EQ(box.entries().size(), 1u);  // only numbers count

    NumberSource prone(ui::kDragNumber, -2, "Prone");
    EXPECT_EQ(box.MouseDrop(0, 0, 0, &prone), 1);
    EXPECT_EQ(box.MouseDrop(0, 0, 0, &box), 1);  // its own number dropped back adds nothing
    box.MouseWheel(2, 0);
    ui::DragPayload out;
    ASSERT_EQ(box.GetDragData(out), 1);
    EXPECT_EQ(out.kind, ui::kDragNumber);
    EXPECT_EQ(out.number, 3);
    EXPECT_EQ(out.description, "Strength +3, Prone -2");

    // A typed roll leaves the box alone; a finished throw takes it all.
    type("/die 1d20 Look");
    EXPECT_EQ(box.entries().size(), 2u);
    auto thrown = std::make_unique<DieResult>();
    thrown->AddDie(14, ui::findDieType("d20"));
    ui::chatPort()->attachDieResult(toChatResult(*thrown, true), nullptr);
    EXPECT_TRUE(said("chat die d20=14:3 total 17")) << ::testing::PrintToString(chat);
    EXPECT_TRUE(said("[GM:] Strength +3, Prone -2") || said("] Strength +3, Prone -2"));
    EXPECT_TRUE(box.entries().empty());
    EXPECT_EQ(box.adjust, 0);
}

// The radial menu over a permanent die: "Roll 2" ... "Roll 20", and on the
// d10 "Roll d100"; a choice puts that many dice (or the percentile pair)
// in the hand. Nothing opens where no die lies.
TEST_F(DiceChat, TheDieMenuTakesUpThatManyDice) {
    DiceScene* scene = diceScene();
    ASSERT_TRUE(scene);
    ui::DiceInput* input = ui::diceInput();
    ASSERT_TRUE(input);
    EXPECT_FALSE(input->BuildDieMenu(3, 3));
    const char* labels[] = {"Roll 2", "Roll 3", "Roll 4", "Roll 5", "Roll 10", "Roll 15", "Roll 20"};
    for (int shape = 0; shape < kPermanentDice; ++shape) {
        const glm::vec3 p = scene->project(scene->world().dice()[size_t(shape)]->center);
        std::unique_ptr<ui::MenuModel> menu = input->BuildDieMenu(int32_t(p.x), int32_t(p.y));
        ASSERT_TRUE(menu) << shape;
        for (const char* label : labels) EXPECT_GE(menu->find(label), 0) << label;
        EXPECT_EQ(menu->find("Roll d100") >= 0, shape == kShapeD10) << shape;
        input->DieMenuClosed();
    }
    const glm::vec3 d10 = scene->project(scene->world().dice()[kShapeD10]->center);
    std::unique_ptr<ui::MenuModel> menu = input->BuildDieMenu(int32_t(d10.x), int32_t(d10.y));
    ASSERT_TRUE(menu);
    EXPECT_TRUE(input->DieMenuChosen(menu->at(menu->find("Roll 5")).id, 600, 300));
    EXPECT_EQ(scene->world().heldCount, 5);
    for (const auto& die : scene->world().dice()) EXPECT_TRUE(!die->held || die->shape == kShapeD10);
    input->Mouse(600, 300, 1);  // put down elsewhere
    EXPECT_EQ(scene->world().heldCount, 0);
}

// "Arrange Dice" in the Desktop's menu sends the dice at rest home.
TEST_F(DiceChat, ArrangeDiceInTheDesktopMenuSendsThemHome) {
    ui::DieType* d20 = ui::ruleset().dieTypes["d20"].get();
    d20->homeX = 600;
    d20->homeY = 400;
    const DieBody& die = *diceScene()->world().dice()[kShapeD20];
    for (int step = 0; step < kMaxStepsPerThrow && !die.atRest; ++step) diceScene()->world().Step();
    ASSERT_TRUE(die.atRest);
    std::unique_ptr<ui::MenuModel> menu = ui::BuildDesktopMenu(false);
    ASSERT_TRUE(menu);
    const int slot = menu->find("Arrange Dice");
    ASSERT_GE(slot, 0);
    ui::HandleMenuChoice(menu->at(slot).id);
    const Vec3 home = diceScene()->nearPicture(600, 400);
    EXPECT_NEAR(die.center.x, home.x, 1e-4f);
    EXPECT_NEAR(die.center.y, home.y, 1e-4f);
}

TEST_F(DiceChat, CommandsSpeakThroughTheChat) {
    db::localUser().name.set("Boss");
    type("/die 2d6+1 Hit");
    ASSERT_TRUE(said("chat oocfont [Boss:] Hit")) << ::testing::PrintToString(chat);
    EXPECT_TRUE(said(":1 total "));
    type("/");
    EXPECT_TRUE(said("chat systemfont [] SLASH COMMANDS:"));
    EXPECT_TRUE(said("chat systemfont []  /whisper [character] [message]"));
    const size_t before = chat.size();
    type("/whisper Nobody hello");  // no such player: nothing at all
    type("/Help");
    type("/die hit");
    EXPECT_EQ(chat.size(), before);

    ui::identities().selectOrMakeIdentity("Bard", "npcchatfont");
    type("/mood (very tired) Good night");
    EXPECT_TRUE(said("chat npcchatfont [Bard (very tired):] Good night"));
    EXPECT_EQ(ui::activeIdentity()->mood, "");
    type("/mood grim");
    EXPECT_EQ(ui::activeIdentity()->mood, "grim");
    type("/die ?d20 Secret");
    EXPECT_TRUE(said("chat die ?d20=")) << ::testing::PrintToString(chat);
    type("/identity Guard");
    EXPECT_EQ(ui::activeIdentity()->name, "Guard");
}

// The dice take their colour from the stored "DiceColor" when they start,
// and follow the colour selection (through the colour port) at once: the
// dice on the table, the next dice taken up, and the stored value for the
// next start.
TEST(DiceColour, FollowsTheStoredValueAndTheColourSelection) {
    test::TempDir config;
    const char* before = std::getenv("LOREHAVEN_CONFIG_DIR");
    const std::string formerConfig = before ? before : "";
    setenv("LOREHAVEN_CONFIG_DIR", config.str().c_str(), 1);
    ui::clearRuleset();
    auto colourOfDice = [](uint32_t& body, uint32_t& flags) {
        DiceScene* scene = diceScene();
        ASSERT_TRUE(scene);
        body = scene->bodyColor;
        flags = scene->colorFlags;
        for (const auto& die : scene->world().dice()) {
            EXPECT_EQ(die->bodyColor, body);
            EXPECT_EQ(die->colorFlags, flags);
        }
    };
    uint32_t body = 0, flags = 0;

    // Blue (0x00BBGGRR) with black numerals, as stored by an earlier run.
    writeDiceColor(0x00FF0000u);
    ui::startSubsystems({db::SessionMode::Host, ui::desktop(), nullptr, nullptr});
    colourOfDice(body, flags);
    EXPECT_EQ(body, 0xFF0000FFu);
    EXPECT_EQ(flags, kGamemasterDice);
    ASSERT_TRUE(ui::colorPort().whiteNumerals);
    EXPECT_FALSE(ui::colorPort().whiteNumerals());

    // A green picked with white numerals.
    ASSERT_TRUE(ui::colorPort().setDiceColor);
    ui::colorPort().setDiceColor(0x00E21Fu, true);
    colourOfDice(body, flags);
    EXPECT_EQ(body, 0xFF1FE200u);
    EXPECT_EQ(flags, kGamemasterDice | kWhiteNumerals);
    EXPECT_TRUE(ui::colorPort().whiteNumerals());
    EXPECT_EQ(readDiceColor(), 0xFF00E21Fu);
    ui::stopSubsystems();
    EXPECT_FALSE(ui::colorPort().setDiceColor);

    // The next start, a player's this time: the same colour, no
    // Gamemaster's mark.
    ui::startSubsystems({db::SessionMode::Join, ui::desktop(), nullptr, nullptr});
    colourOfDice(body, flags);
    EXPECT_EQ(body, 0xFF1FE200u);
    EXPECT_EQ(flags, kWhiteNumerals);
    ui::stopSubsystems();
    ui::identities().clear();
    if (before)
        setenv("LOREHAVEN_CONFIG_DIR", formerConfig.c_str(), 1);
    else
        unsetenv("LOREHAVEN_CONFIG_DIR");
}

TEST(DiceChatResult, KeepsItsDiceAndThrowRecordsOnTheWayIntoALineAndBack) {
    ui::clearRuleset();
    auto d8 = std::make_unique<ui::DieType>();
    d8->name = "d8";
    const ui::DieType* type = d8.get();
    ui::ruleset().dieTypes["d8"] = std::move(d8);
    DieResult r;
    r.AddDie(7, type);
    r.AddDie(2, type);
    r.SetModifier(-3);
    r.hidden = true;
    r.SetDisplayMode(ShownValue::Halved);
    r.throwRecords.assign(2 * kThrowRecordSize, 7);
    std::unique_ptr<ui::DieResult> line = toChatResult(r, false);
    EXPECT_EQ(line->dieText(), "d8=7,d8=2:-3");
    EXPECT_EQ(line->shownValue(), 3);
    DieResult back = fromChatResult(*line);
    EXPECT_EQ(back.values, r.values);
    EXPECT_EQ(back.dice, r.dice);
    EXPECT_TRUE(back.hidden);
    EXPECT_EQ(back.displayMode, ShownValue::Halved);
    EXPECT_EQ(back.throwRecords, r.throwRecords);  // the thrower's line can replay the roll
    line->displayMode = 99;  // from nowhere we know: shown as rolled
    EXPECT_EQ(fromChatResult(*line).displayMode, ShownValue::None);
    ui::clearRuleset();
}

}  // namespace
}  // namespace lh::dice
