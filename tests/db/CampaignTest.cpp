// The Campaign folder across runs: creation, saving, the clean exit, the
// report of a session that did not end cleanly, and the image scan.
#include <gtest/gtest.h>

#include <filesystem>

#include "db/Box.h"
#include "db/Campaign.h"
#include "db/DatabaseWriter.h"
#include "db/DbContext.h"
#include "db/DbNode.h"
#include "db/ImageRecords.h"
#include "db/IntValue.h"
#include "db/KeptValues.h"
#include "db/StringValue.h"
#include "platform/Paths.h"
#include "support/TestSupport.h"
#include "db/SessionMode.h"

using namespace lh::db;
namespace fs = std::filesystem;

namespace {

std::vector<std::pair<std::string, std::string>> boxes;

void recordBox(const char* title, const char* text) { boxes.emplace_back(title, text); }

class CampaignFiles : public ::testing::Test {
protected:
    void SetUp() override {
        lh::platform::setWorkingDirectory(work.path());
        fs::create_directories(work.path() / "campaigns");
        campaign() = Campaign{};
        dbContext() = DbContext{};
        setSessionMode(SessionMode::Host);
        boxes.clear();
        setBoxHandler(recordBox);
    }
    void TearDown() override {
        setBoxHandler(nullptr);
        dbContext() = DbContext{};
        campaign() = Campaign{};
        clearTree();
    }
    fs::path folder() const { return work.path() / "campaigns" / "Quest"; }
    std::string read(const char* file) const { return lh::test::readFile(folder() / file); }
    bool has(const char* file) const { return fs::exists(folder() / file); }

    // A run of the program ends; the next starts with an empty tree.
    void newProcess() {
        clearTree();
        campaign() = Campaign{};
    }

    lh::test::TempDir work;
};

void setNumber(const char* path, const char* key, int32_t value) {
    DbNode* group = rootNode().addChild(path);
    DbNode* node = group->addChild(key);
    if (node->kind == NodeKind::node) node->attachValue(makeValue(NodeKind::intValue));
    node->valueAs<IntValue>()->set(value);
}

}  // namespace

TEST_F(CampaignFiles, RestoreAndBackupAcrossRuns) {
    // Run 1: a new Campaign. No restore copy in its first session; its first
    // save creates db.xml, and the clean exit leaves no restore copy.
    campaign().name.set("Quest");
    campaign().ruleset.set("Fantasy \"d20\"");
    ASSERT_EQ(createCampaignFolder(), 0);
    EXPECT_TRUE(campaign().isNew);
    EXPECT_EQ(read("campaign.xml"), "<root>\n\t<setting name=\"\" />\n\t<ruleset name=\"Fantasy &quot;d20&quot;\" />\n</root>\n");
    EXPECT_TRUE(fs::is_directory(folder() / "images"));
    EXPECT_EQ(campaign().chatLogPath.view(), "campaigns\\Quest\\chatlog.html");
    loadCampaignDatabase(rootNode());
    EXPECT_FALSE(has("db.restore.xml"));
    EXPECT_FALSE(has("db.xml"));
    setNumber("state", "run", 1);
    EXPECT_TRUE(autosaveCampaign());
    EXPECT_TRUE(has("db.xml"));
    setNumber("state", "run", 11);
    EXPECT_EQ(saveCampaignOnExit(), 0);
    EXPECT_FALSE(has("db.restore.xml"));
    std::string afterRun1 = read("db.xml");
    EXPECT_NE(afterRun1.find("value=\"11\""), std::string::npos);

    // Run 2: opened; the session runs with a restore copy of its start, and
    // then crashes (no clean exit).
    newProcess();
    ASSERT_EQ(openCampaign("Quest"), 0);
    EXPECT_TRUE(boxes.empty());
    EXPECT_FALSE(campaign().isNew);
    EXPECT_EQ(campaign().ruleset.view(), "Fantasy \"d20\"");
    EXPECT_EQ(read("db.restore.xml"), afterRun1);
    loadCampaignDatabase(rootNode());
    EXPECT_EQ(findNode("state.run")->valueAs<IntValue>()->base(), 11);
    setNumber("state", "run", 2);
    EXPECT_TRUE(autosaveCampaign());
    std::string afterRun2 = read("db.xml");

    // Run 3: the opening finds the restore copy, keeps it as the backup,
    // says so, and starts a new restore copy from the current db.xml.
    newProcess();
    lh::test::writeFile(folder() / "db.backup.xml", "older backup");
    ASSERT_EQ(openCampaign("Quest"), 0);
    ASSERT_EQ(boxes.size(), 1u);
    EXPECT_EQ(boxes[0].first, "Possible campaign database corruption");
    EXPECT_EQ(boxes[0].second,
              "A backup database was found. It is probably the result of an earlier program crash, \nand has been "
              "copied to: \n\n\tcampaigns\\Quest\\db.backup.xml\n\nIf you find the current campaign has been "
              "corrupted, please copy this file to \n\n\tcampaigns\\Quest\\db.xml \n\nto restore this backup.");
    EXPECT_EQ(read("db.backup.xml"), afterRun1);
    EXPECT_EQ(read("db.restore.xml"), afterRun2);
    EXPECT_EQ(saveCampaignOnExit(), 0);
    EXPECT_FALSE(has("db.restore.xml"));
    EXPECT_FALSE(has("db.xml.tmp"));
}

TEST_F(CampaignFiles, ClientsAndUnsafeNamesWriteNothing) {
    setSessionMode(SessionMode::Join);
    campaign().name.set("Quest");
    campaign().ruleset.set("Fantasy");
    ASSERT_EQ(createClientFolder(), 0);
    EXPECT_FALSE(campaign().isNew);
    EXPECT_EQ(read("clientsession.xml"), "<root>\n\t<ruleset name=\"Fantasy\" />\n</root>\n");
    setNumber("g", "x", 1);
    EXPECT_EQ(saveDatabase("campaigns\\Quest\\db.xml", rootNode()), 0);
    EXPECT_TRUE(autosaveCampaign());  // the line still shows
    EXPECT_EQ(saveCampaignOnExit(), 0);
    EXPECT_FALSE(has("db.xml"));

    for (const char* bad : {"..", "a\\..\\..\\b", "x/y", ""}) {
        campaign().name.set(bad);
        EXPECT_EQ(createClientFolder(), -1) << bad;
        EXPECT_EQ(openCampaign(bad), -1) << bad;
    }
    campaign().name.clear();
    EXPECT_FALSE(autosaveCampaign());
}

TEST_F(CampaignFiles, DatabasesThatCannotBeReadAreNeverOverwritten) {
    campaign().name.set("Quest");
    ASSERT_EQ(createCampaignFolder(), 0);
    // A db.xml that exists but cannot be read (here: a folder of that name)
    // starts the Campaign empty, says so, and blocks every save over it.
    fs::create_directories(folder() / "db.xml");
    campaign().isNew = false;
    loadCampaignDatabase(rootNode());
    EXPECT_TRUE(campaign().databaseUnreadable);
    ASSERT_EQ(boxes.size(), 1u);
    EXPECT_EQ(saveCampaignDatabase(), -1);
    EXPECT_EQ(saveCampaignOnExit(), -1);
    EXPECT_TRUE(fs::is_directory(folder() / "db.xml"));

    // A malformed db.xml ends the program with its line, before anything
    // could be saved over it.
    fs::remove(folder() / "db.xml");
    std::string broken = lh::test::readFile(std::string(LOREHAVEN_TEST_DATA) + "/malformed/db_unclosed.xml");
    lh::test::writeFile(folder() / "db.xml", broken);
    campaign().databaseUnreadable = false;
    setBoxHandler(nullptr);  // the box goes to stderr
    EXPECT_EXIT(loadCampaignDatabase(rootNode()), testing::ExitedWithCode(255),
                "db.xml :\n Error on line 6\\. Found \"</root>\" while expecting \"</node>\"");
    EXPECT_EQ(read("db.xml"), broken);
    std::string badAttribute = lh::test::readFile(std::string(LOREHAVEN_TEST_DATA) + "/malformed/db_bad_attribute.xml");
    lh::test::writeFile(folder() / "db.xml", badAttribute);
    EXPECT_EXIT(loadCampaignDatabase(rootNode()), testing::ExitedWithCode(255), "Error on line 2\\.");

    // A save into a folder that is not there fails and leaves nothing.
    EXPECT_EQ(saveDatabase("campaigns\\Missing\\db.xml", rootNode()), -1);
    EXPECT_FALSE(fs::exists(work.path() / "campaigns" / "Missing"));
}

TEST_F(CampaignFiles, ImageScanFollowsTheFolder) {
    campaign().name.set("Quest");
    ASSERT_EQ(createCampaignFolder(), 0);
    const std::string png = "\x89PNG\r\n\x1a\n and the rest";
    lh::test::writeFile(folder() / "images" / "Map #12.png", png);
    lh::test::writeFile(folder() / "images" / "caves" / "level1.jpg", "\xFF\xD8\xFF\xE0 jpeg");
    lh::test::writeFile(folder() / "images" / "notes.txt", "not a picture");
    lh::test::writeFile(folder() / "images" / ".hidden.png", png);
    refreshImageRecords(rootNode());

    auto pathOf = [](const char* id) {
        DbNode* node = findNode(std::string("image.") + id + ".image");
        return node ? std::string(node->valueAs<ImageValueBase>()->imagePath()) : std::string("-");
    };
    auto nameOf = [](const char* id) { return findNode(std::string("image.") + id + ".name")->valueAs<StringValue>()->text(); };
    EXPECT_EQ(rootNode().child("image")->children.size(), 2u);
    EXPECT_EQ(pathOf("00001"), "campaigns\\Quest\\images\\Map #12.png");
    EXPECT_EQ(nameOf("00001"), "Map #12");
    EXPECT_EQ(pathOf("00002"), "campaigns\\Quest\\images\\caves\\level1.jpg");
    EXPECT_EQ(nameOf("00002"), "level1");

    // A file that went is dropped, and its number goes to the next new one;
    // a record whose file lies elsewhere but still exists stays.
    fs::remove(folder() / "images" / "Map #12.png");
    lh::test::writeFile(work.path() / "tokens" / "elsewhere.png", png);
    DbNode* kept = rootNode().child("image")->addChild("00007");
    DbNode* keptImage = kept->addChild("image");
    keptImage->attachValue(makeValue(NodeKind::image));
    keptImage->valueAs<ImageValueBase>()->setImagePath("tokens\\elsewhere.png");
    lh::test::writeFile(folder() / "images" / "new.gif", "GIF89a...");
    refreshImageRecords(rootNode());
    EXPECT_EQ(pathOf("00001"), "campaigns\\Quest\\images\\new.gif");
    EXPECT_EQ(pathOf("00002"), "campaigns\\Quest\\images\\caves\\level1.jpg");
    EXPECT_EQ(pathOf("00007"), "tokens\\elsewhere.png");
    EXPECT_EQ(rootNode().child("image")->children.size(), 3u);

    // Only the host scans.
    setSessionMode(SessionMode::Join);
    fs::remove(folder() / "images" / "new.gif");
    refreshImageRecords(rootNode());
    EXPECT_EQ(rootNode().child("image")->children.size(), 3u);
}
