// The Gamemaster's choice of character, with the chat and the characters
// started as the program starts them: the Campaign's characters are its
// rows, the menu over a row deletes a character nobody plays together with
// its portrait, and the row of a character somebody plays has no such entry;
// a name typed into the creation row holds letters only. And the strip
// learns the players' pointer colours from the pointers.
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "WholeProgram.h"
#include "characters/CharacterFiles.h"
#include "chat/IdentityViews.h"
#include "db/Campaign.h"
#include "db/DbNode.h"
#include "db/SessionMode.h"
#include "net/Connection.h"
#include "net/JoinEvents.h"
#include "net/Session.h"
#include "net/MessageCatalogue.h"
#include "platform/Paths.h"
#include "support/TestSupport.h"
#include "table/TokenMessages.h"
#include "ui/Desktop.h"
#include "ui/Identities.h"
#include "ui/InputState.h"
#include "ui/KeyboardFocus.h"
#include "ui/MenuModel.h"
#include "ui/ColorPort.h"
#include "ui/RulesetData.h"
#include "ui/Subsystems.h"
#include "ui/Window.h"

using namespace lh;
namespace fs = std::filesystem;

namespace {

const char* kChoiceRuleset = R"(<root>
  <windowclass name="identityselection">
    <defaultsize width="400" height="300"/><defaultposition x="20" y="10"/>
    <sheetdata>
      <identityselection name="characters"><bounds rect="0,0,-1,-1"/><location spacing="50"/></identityselection>
    </sheetdata>
  </windowclass>
</root>)";

std::vector<std::string> rowNames(const chat::IdentitySelection& s) {
    std::vector<std::string> out;
    for (const chat::IdentityRow& r : s.rows) out.push_back(r.name);
    return out;
}

class CharacterChoice : public test::WholeProgram {
protected:
    void SetUp() override {
        platform::setWorkingDirectory(dir.path());
        hostOn(kChoiceRuleset);
        db::campaign().name.set("Saga");
    }
    test::TempDir dir;
};

}  // namespace

TEST_F(CharacterChoice, TheHostDeletesACharacterNobodyPlaysWithItsPortrait) {
    for (const char* name : {"Ann", "Bo"}) characters::ensureCharacterNode(db::rootNode(), name);
    test::writeFile(dir.path() / "campaigns/Saga/portraits/Ann", "picture");
    start();
    // Bo's player is connected.
    net::SessionPeer& bo = session.addPeer(std::make_unique<net::Connection>(static_cast<net::Resolver*>(nullptr)));
    bo.name = "bo";
    net::joinEvents().characterInPlay.emit("Bo", "bo", false);

    const ui::WindowClass* cls = ui::findWindowClass("identityselection");
    ASSERT_TRUE(cls);
    ASSERT_TRUE(ui::desktop().OpenWindow(*cls, ""));
    chat::IdentitySelection* choice = chat::identitySelection();
    ASSERT_TRUE(choice);
    EXPECT_EQ(rowNames(*choice), (std::vector<std::string>{"Ann", "Bo"}));
    int32_t x, y;
    choice->GetOrigin(x, y);
    auto deleteOver = [&](int row) {
        ui::inputState().lastMousePosition = ui::mouse::pack(x + 10, y + row * 50 + 25);
        std::unique_ptr<ui::MenuModel> menu = choice->BuildMenu();
        return menu ? menu->find("Delete character") : -1;
    };
    EXPECT_EQ(deleteOver(0), -1);  // the creation row
    EXPECT_EQ(deleteOver(2), -1);  // Bo is played

    choice->clickRow(1, 1000);
    ASSERT_EQ(choice->selectedRow, 1);
    ui::inputState().lastMousePosition = ui::mouse::pack(x + 10, y + 75);
    std::unique_ptr<ui::MenuModel> menu = choice->BuildMenu();
    ASSERT_TRUE(menu);
    EXPECT_EQ(menu->hubIcon, "menuhub");
    const int slot = menu->find("Delete character");
    ASSERT_EQ(slot, 2);
    EXPECT_EQ(menu->at(slot).icon, "delete");
    EXPECT_EQ(menu->at(slot).id, 66);
    choice->MenuSelected(menu->at(slot).id);
    EXPECT_EQ(rowNames(*choice), (std::vector<std::string>{"Bo"}));
    EXPECT_EQ(choice->selectedRow, -1);
    EXPECT_EQ(db::findNode("charsheet.Ann"), nullptr);
    EXPECT_FALSE(fs::exists(dir.path() / "campaigns/Saga/portraits/Ann"));
    // Over a played row the command alone deletes nothing.
    ui::inputState().lastMousePosition = ui::mouse::pack(x + 10, y + 75);
    choice->BuildMenu();
    choice->MenuSelected(66);
    EXPECT_NE(db::findNode("charsheet.Bo"), nullptr);
    EXPECT_EQ(rowNames(*choice), (std::vector<std::string>{"Bo"}));
}

// Only letters reach a new name, so no typed name can be a path: the dot,
// slashes, blanks, digits and control bytes are dropped; the first letter
// becomes a capital; the Gamemaster's Return makes the record at once.
TEST_F(CharacterChoice, ANewNameTakesLettersOnly) {
    start();
    const ui::WindowClass* cls = ui::findWindowClass("identityselection");
    ASSERT_TRUE(cls);
    ASSERT_TRUE(ui::desktop().OpenWindow(*cls, ""));
    chat::IdentitySelection* choice = chat::identitySelection();
    ASSERT_TRUE(choice);
    choice->clickRow(0, 1000);
    EXPECT_TRUE(choice->editing);
    EXPECT_TRUE(choice->newName.empty());  // "[Create New]" gives way
    for (char c : std::string("..\\/ e.l/9 a\t\x01")) choice->KeyEvent(ui::kCharMessage, static_cast<unsigned char>(c), 0);
    EXPECT_EQ(choice->newName, "Ela");
    choice->KeyEvent(ui::kKeyDownMessage, 0x0D, 0);
    EXPECT_NE(db::findNode("charsheet.Ela"), nullptr);
    EXPECT_EQ(ui::desktop().Find("identityselection", ""), nullptr);
    EXPECT_EQ(db::rootNode().child("charsheet")->children.size(), 1u);
}

// The strip marks each player in his pointer's colour: the pointers, once
// started, tell it the colour that a player's PNTRQ brought; a user without
// a pointer has none, and nothing is told once the pointers stop.
TEST_F(CharacterChoice, ThePointersTellTheStripEachPlayersColour) {
    start();
    net::SessionPeer& bo = session.addPeer(std::make_unique<net::Connection>(static_cast<net::Resolver*>(nullptr)));
    bo.name = "bo";
    table::PointerBody body;
    body.user = "bo";
    body.color = 0x00112233;
    net::NetMessage m;
    table::encodePointer(net::tags::PNTRQ, body, m);
    session.dispatch(&bo, m);
    const ui::ColorPort& colors = ui::colorPort();
    ASSERT_TRUE(colors.pointerColorOf);
    uint32_t bgr = 0;
    EXPECT_TRUE(colors.pointerColorOf("bo", bgr));
    EXPECT_EQ(bgr, 0x00112233u);
    EXPECT_FALSE(colors.pointerColorOf("cy", bgr));
    ui::stopSubsystems();
    EXPECT_FALSE(colors.pointerColorOf);
}
