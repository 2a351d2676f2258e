// The character registry: records and their flags, who plays a character,
// and the travels of a character in the local-characters way in and at a
// player's exit.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "characters/CharacterFiles.h"
#include "characters/CharacterRegistry.h"
#include "db/Campaign.h"
#include "db/DbNode.h"
#include "db/IntValue.h"
#include "db/NodeValue.h"
#include "db/SessionMode.h"
#include "db/Users.h"
#include "platform/Paths.h"
#include "support/TestSupport.h"

using namespace lh;
using characters::CharacterRegistry;
using lh::test::TempDir;
namespace fs = std::filesystem;

namespace {

const char* kAnn =
    "<root>\n\t<node name=\"charsheet\">\n\t\t<node name=\"Ann\">\n\t\t\t<intvalue name=\"level\" value=\"4\" />\n"
    "\t\t</node>\n\t</node>\n</root>\n";

class Registry : public ::testing::Test {
protected:
    void SetUp() override {
        platform::setWorkingDirectory(dir.path());
        db::clearTree();
        db::campaign().ruleset.set("Lorehaven");
        db::campaign().name.set("");
        r.hooks.listAdd = [this](const std::string& name, const std::string&) { strip.push_back(name); };
        r.hooks.listRemove = [this](const std::string& name) { std::erase(strip, name); };
        r.hooks.requestPortrait = [this](const std::string& name) { asked.push_back(name); };
        r.hooks.line = [this](const std::string& text) { lines.push_back(text); };
    }
    void TearDown() override { db::clearTree(); }

    void setLevel(const char* path, int32_t level) {
        db::DbNode* n = db::findNode(path);
        if (!n) {
            n = db::rootNode().child("charsheet")->child("Ann")->addChild("level");
            n->attachValue(db::makeValue(db::NodeKind::intValue));
        }
        n->valueAs<db::IntValue>()->set(level);
    }

    TempDir dir;
    CharacterRegistry r;
    std::vector<std::string> strip, asked, lines;
};

}  // namespace

TEST_F(Registry, OnlyCharactersInPlayTellWhoPlaysThem) {
    db::setSessionMode(db::SessionMode::Join);
    r.hooks.userConnected = [](const std::string& user) { return user == "dan"; };
    r.record("Dan", "", characters::kServerCharacter, "Saga", false);
    r.record("Dan", "dan", characters::kInPlay, "", true);
    r.record("Eve", "eve", characters::kInPlay, "", false);
    r.record("bad.name", "x", characters::kInPlay, "", false);
    EXPECT_EQ(strip, (std::vector<std::string>{"Dan", "Eve"}));
    // A portrait is asked for unless its owner brings it.
    EXPECT_EQ(asked, (std::vector<std::string>{"Dan", "Eve"}));
    EXPECT_EQ(r.findUserOf("Dan"), "dan");
    EXPECT_EQ(r.findUserOf("Eve"), "");  // not connected
    // Only the record that is not in play is offered for choosing.
    std::vector<ui::CharacterChoice> choices = r.choices(false);
    ASSERT_EQ(choices.size(), 1u);
    EXPECT_EQ(choices[0].portraitPath, "campaigns\\Saga\\portraits\\Dan");

    r.forget("Dan");
    EXPECT_EQ(strip, (std::vector<std::string>{"Eve"}));
    EXPECT_EQ(r.findUserOf("Dan"), "");
    EXPECT_EQ(r.records().size(), 2u);
}

TEST_F(Registry, LocalCharactersAreOpenedEditedSwitchedAndWrittenBack) {
    db::setSessionMode(db::SessionMode::LocalCharacters);
    test::writeFile(dir.path() / "characters/Lorehaven/Ann.xml", kAnn);
    r.scanLocalCharacters("Lorehaven");
    ASSERT_EQ(r.records().size(), 1u);
    EXPECT_TRUE(asked.empty());  // no host to ask

    ASSERT_EQ(r.openLocal("Ann"), 0);
    EXPECT_EQ(r.current(), "Ann");
    db::DbNode* ann = db::findNode("charsheet.Ann");
    ASSERT_NE(ann, nullptr);
    EXPECT_TRUE(db::findNode("charsheet.Ann.level")->canEdit());
    setLevel("charsheet.Ann.level", 9);

    // Switching writes the one before and starts the next from its file.
    ASSERT_EQ(r.openLocal("Bea"), 0);
    EXPECT_EQ(strip, (std::vector<std::string>{"Bea"}));
    EXPECT_EQ(db::findNode("charsheet.Ann"), nullptr);
    EXPECT_NE(test::readFile(dir.path() / "characters/Lorehaven/Ann.xml").find("value=\"9\""), std::string::npos);
    r.saveLocal("Bea");
    EXPECT_TRUE(fs::exists(dir.path() / "characters/Lorehaven/Bea.xml"));
    EXPECT_EQ(r.records().back().name, "Bea");
    EXPECT_EQ(r.records().back().flags, characters::kLocalCharacter);

    // Back to Ann: the edit came back from her file.
    ASSERT_EQ(r.openLocal("Ann"), 0);
    EXPECT_EQ(db::findNode("charsheet.Ann.level")->valueAs<db::IntValue>()->base(), 9);
}

TEST_F(Registry, AServerCopyIsReadOnlyAndNeverWritten) {
    db::setSessionMode(db::SessionMode::LocalCharacters);
    test::writeFile(dir.path() / "campaigns/Saga/characters/Ann.xml", kAnn);
    test::writeFile(dir.path() / "campaigns/Saga/clientsession.xml", "<root>\n\t<ruleset name=\"Lorehaven\" />\n</root>\n");
    test::writeFile(dir.path() / "campaigns/Saga/characters/Empty.xml", "<root />\n");
    EXPECT_EQ(r.choices(true).size(), 2u);

    EXPECT_EQ(r.openServer("Empty", "Saga"), -1);
    EXPECT_TRUE(strip.empty());
    ASSERT_EQ(r.openServer("Ann", "Saga"), 0);
    EXPECT_FALSE(db::findNode("charsheet.Ann.level")->canEdit());
    const std::string before = test::readFile(dir.path() / "campaigns/Saga/characters/Ann.xml");
    r.saveLocal("Ann");
    r.saveCopy("Ann");
    EXPECT_FALSE(fs::exists(dir.path() / "characters/Lorehaven/Ann.xml"));
    EXPECT_EQ(test::readFile(dir.path() / "campaigns/Saga/characters/Ann.xml"), before);
    // Closing it by opening another writes nothing either.
    ASSERT_EQ(r.openLocal("Bea"), 0);
    EXPECT_FALSE(fs::exists(dir.path() / "characters/Lorehaven/Ann.xml"));

    // A truncated local file: an empty character and a line, never an exit.
    test::writeFile(dir.path() / "characters/Lorehaven/Cut.xml", std::string(kAnn).substr(0, 40));
    ASSERT_EQ(r.openLocal("Cut"), 0);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_NE(lines[0].find("Cut.xml"), std::string::npos);
    EXPECT_TRUE(db::findNode("charsheet.Cut")->children.empty());
}

TEST_F(Registry, APlayersExitWritesOnlyItsServerCopy) {
    db::setSessionMode(db::SessionMode::Join);
    db::campaign().name.set("Saga");
    test::writeFile(dir.path() / "characters/Lorehaven/Ann.xml", kAnn);
    db::DbNode* sent = nullptr;
    r.hooks.sendToHost = [&](db::DbNode& node) { sent = &node; };
    std::string portrait;
    r.hooks.sendPortrait = [&](const std::string& path) { portrait = path; };
    r.upload("Ann");
    ASSERT_NE(sent, nullptr);
    EXPECT_EQ(sent->pathOf(), "charsheet.Ann");
    EXPECT_EQ(portrait, "characters\\Lorehaven\\portraits\\Ann");
    setLevel("charsheet.Ann.level", 12);

    r.saveCopy("Ann");
    EXPECT_NE(test::readFile(dir.path() / "campaigns/Saga/characters/Ann.xml").find("value=\"12\""), std::string::npos);
    EXPECT_EQ(test::readFile(dir.path() / "characters/Lorehaven/Ann.xml"), kAnn);
    // What the user does not own is not written.
    db::findNode("charsheet.Ann")->setOwner(nullptr);
    fs::remove(dir.path() / "campaigns/Saga/characters/Ann.xml");
    r.saveCopy("Ann");
    EXPECT_FALSE(fs::exists(dir.path() / "campaigns/Saga/characters/Ann.xml"));
}

TEST_F(Registry, TheHostDeletesACharacterNobodyPlays) {
    db::setSessionMode(db::SessionMode::Host);
    db::campaign().name.set("Saga");
    characters::ensureCharacterNode(db::rootNode(), "Ann");
    characters::ensureCharacterNode(db::rootNode(), "Bo");
    test::writeFile(dir.path() / "campaigns/Saga/portraits/Ann", "picture");
    r.hooks.userConnected = [](const std::string& user) { return user == "bo"; };
    r.record("Bo", "bo", characters::kInPlay, "", false);
    ASSERT_EQ(r.choices(false).size(), 2u);  // the Gamemaster picks among the Campaign's own
    EXPECT_FALSE(r.deleteCharacter("Bo"));
    EXPECT_NE(db::findNode("charsheet.Bo"), nullptr);
    EXPECT_TRUE(r.deleteCharacter("Ann"));
    EXPECT_EQ(db::findNode("charsheet.Ann"), nullptr);
    EXPECT_FALSE(fs::exists(dir.path() / "campaigns/Saga/portraits/Ann"));
}
