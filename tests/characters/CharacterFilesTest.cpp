// Character files: the exact bytes, reading them back, files that are not
// well formed, the scans of the folders that hold them, and the one check
// for names that become keys and file names.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "characters/CharacterFiles.h"
#include "db/DbNode.h"
#include "db/IntValue.h"
#include "db/NameCheck.h"
#include "db/NodeValue.h"
#include "db/SessionMode.h"
#include "db/StringValue.h"
#include "platform/Paths.h"
#include "support/TestSupport.h"

using namespace lh;
using lh::test::TempDir;
namespace fs = std::filesystem;

namespace {

const fs::path kGolden = fs::path(LOREHAVEN_TEST_DATA) / "characters" / "Aria.xml";

db::DbNode* value(db::DbNode& parent, const char* key, db::NodeKind kind) {
    db::DbNode* node = parent.addChild(key);
    node->attachValue(db::makeValue(kind));
    return node;
}

// The record that the golden file holds, made by hand.
db::DbNode& buildAria(db::DbNode& root) {
    db::DbNode* aria = characters::ensureCharacterNode(root, "Aria");
    value(*aria, "level", db::NodeKind::intValue)->valueAs<db::IntValue>()->set(-3);
    value(*aria, "title", db::NodeKind::stringValue)->valueAs<db::StringValue>()->set(std::string("The \"Swift\" \xE9"));
    db::DbNode* item = aria->addChild("inventory")->addChild("00001");
    value(*item, "name", db::NodeKind::stringValue)->valueAs<db::StringValue>()->set(std::string("Rope"));
    value(*item, "count", db::NodeKind::intValue)->valueAs<db::IntValue>()->set(2);
    return *aria;
}

class CharacterFiles : public ::testing::Test {
protected:
    void SetUp() override {
        db::setSessionMode(db::SessionMode::LocalCharacters);
        platform::setWorkingDirectory(dir.path());
        db::clearTree();
    }
    void TearDown() override { db::clearTree(); }
    TempDir dir;
};

}  // namespace

TEST_F(CharacterFiles, WrittenByteForByteAndReadBackTheSame) {
    const std::string golden = test::readFile(kGolden);
    db::DbNode& aria = buildAria(db::rootNode());
    EXPECT_EQ(characters::characterFileText(aria), golden);

    // Written through its folders, read into an empty tree, written again.
    const std::string path = characters::localCharacterPath("Lorehaven", "Aria");
    EXPECT_EQ(path, "characters\\Lorehaven\\Aria.xml");
    ASSERT_EQ(characters::writeCharacterFile(path, aria), 0);
    EXPECT_EQ(test::readFile(dir.path() / "characters/Lorehaven/Aria.xml"), golden);
    db::clearTree();
    std::string error;
    ASSERT_TRUE(characters::readCharacterFile(path, db::rootNode(), false, error)) << error;
    db::DbNode* back = db::findNode("charsheet.Aria");
    ASSERT_NE(back, nullptr);
    EXPECT_EQ(characters::characterFileText(*back), golden);
    EXPECT_EQ(db::findNode("charsheet.Aria.title")->valueAs<db::StringValue>()->text(), "The \"Swift\" \xE9");

    // Read as static, what the file brings cannot be edited nor written.
    db::clearTree();
    ASSERT_TRUE(characters::readCharacterFile(path, db::rootNode(), true, error));
    EXPECT_FALSE(db::findNode("charsheet.Aria.level")->canEdit());
    EXPECT_EQ(characters::characterFileText(*db::findNode("charsheet.Aria")), "<root>\n\t<node name=\"charsheet\">\n\t</node>\n</root>\n");
}

TEST_F(CharacterFiles, AFileThatIsNotWellFormedGivesAnEmptyCharacterAndItsReason) {
    const std::string golden = test::readFile(kGolden);
    const std::string path = characters::localCharacterPath("Lorehaven", "Aria");
    std::string error;
    for (const std::string& bytes : {golden.substr(0, golden.size() / 2), std::string("\x89PNG garbage\0<<", 16),
                                     std::string("<root><node name=\"charsheet\"></root>")}) {
        db::clearTree();
        test::writeFile(dir.path() / "characters/Lorehaven/Aria.xml", bytes);
        EXPECT_FALSE(characters::readCharacterFile(path, db::rootNode(), false, error));
        EXPECT_NE(error.find("characters\\Lorehaven\\Aria.xml"), std::string::npos) << error;
        EXPECT_EQ(db::rootNode().child("charsheet"), nullptr);
        db::DbNode* empty = characters::ensureCharacterNode(db::rootNode(), "Aria");
        ASSERT_NE(empty, nullptr);
        EXPECT_TRUE(empty->children.empty());
    }
    // A missing file is no error worth a line.
    EXPECT_FALSE(characters::readCharacterFile("characters\\Lorehaven\\Nobody.xml", db::rootNode(), false, error));
    EXPECT_TRUE(error.empty());
    EXPECT_EQ(characters::ensureCharacterNode(db::rootNode(), "a.b"), nullptr);
}

TEST_F(CharacterFiles, ScansFindTheirRulesetsCharactersOnly) {
    const fs::path d = dir.path();
    for (const char* file : {"characters/Lorehaven/Sir.Bob.xml", "characters/Lorehaven/Ann.xml",
                             "characters/Lorehaven/Ann.backup.xml", "characters/Lorehaven/.hidden.xml",
                             "characters/Lorehaven/portraits/Ann", "characters/Other/Zed.xml",
                             "campaigns/Saga/Characters/Cy.xml", "campaigns/Saga/Characters/Dee.old.xml",
                             "campaigns/Saga/Characters/.swap", "campaigns/Elsewhere/characters/Eve.xml",
                             "campaigns/Bare/characters/Fay.xml", "campaigns/.trash/characters/Gil.xml"})
        test::writeFile(d / file, "<root />\n");
    const std::string session = "<root>\n\t<ruleset name=\"Lorehaven\" />\n</root>\n";
    test::writeFile(d / "campaigns/Saga/clientsession.xml", session);
    test::writeFile(d / "campaigns/.trash/clientsession.xml", session);
    test::writeFile(d / "campaigns/Elsewhere/clientsession.xml", "<root>\n\t<ruleset name=\"Other\" />\n</root>\n");

    // Names cut at the first "."; hidden files and folders left out.
    EXPECT_EQ(characters::scanLocalCharacterFiles("Lorehaven"), (std::vector<std::string>{"Ann", "Sir"}));
    EXPECT_EQ(characters::scanLocalCharacterFiles("Other"), (std::vector<std::string>{"Zed"}));
    EXPECT_TRUE(characters::scanLocalCharacterFiles("Missing").empty());

    std::vector<characters::ServerCopy> copies = characters::scanServerCopies("Lorehaven");
    ASSERT_EQ(copies.size(), 2u);
    EXPECT_EQ(copies[0].name, "Cy");
    EXPECT_EQ(copies[1].name, "Dee");
    EXPECT_EQ(copies[0].campaign, "Saga");
    ASSERT_EQ(characters::scanServerCopies("Other").size(), 1u);
    EXPECT_EQ(characters::scanServerCopies("Other")[0].name, "Eve");
}

TEST(NameCheck, NamesThatCannotBeOnePieceOfAPathOrKeyAreRefused) {
    for (const char* good : {"Bob", "Sir Bob", "Ann-Marie", "\xC9lodie", "O'Neill", "x"}) EXPECT_TRUE(db::isUsableName(good)) << good;
    for (const char* bad : {"", ".", "..", "a.b", "../etc", "a/b", "a\\b", "c:", "tab\there", "bell\a", "del\x7f"})
        EXPECT_FALSE(db::isUsableName(bad)) << bad;
    EXPECT_FALSE(db::isUsableName(std::string_view("nul\0l", 5)));
    EXPECT_TRUE(db::isUsableName(std::string(db::kMaxNameLength, 'a')));
    EXPECT_FALSE(db::isUsableName(std::string(db::kMaxNameLength + 1, 'a')));
    EXPECT_EQ(characters::characterNameOfFile("Sir.Bob.xml"), "Sir");
    EXPECT_EQ(characters::characterNameOfFile(".Bob.xml"), "");
}
