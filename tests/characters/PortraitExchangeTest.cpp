// The portrait messages handled on one side at a time, through the
// session's dispatch: the host assembles uploads and refuses what does not
// belong to one; a client takes notices only for this Campaign's portraits
// and fetches only what it lacks; the picker chooses on a double click.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "../ui/DesktopFixture.h"
#include "characters/PortraitExchange.h"
#include "characters/PortraitMessages.h"
#include "characters/PortraitSelection.h"
#include "db/Campaign.h"
#include "db/SessionMode.h"
#include "db/Users.h"
#include "net/FileStamp.h"
#include "net/Session.h"
#include "platform/Clock.h"
#include "platform/Paths.h"
#include "support/TestPictures.h"
#include "support/TestSupport.h"
#include "ui/Desktop.h"
#include "ui/RulesetData.h"
#include "ui/Window.h"

using namespace lh;
using lh::test::TempDir;
namespace fs = std::filesystem;

namespace {

struct Shown {
    std::vector<std::pair<std::string, std::string>> list;
    std::function<void(const std::string&, const std::string&)> sink() {
        return [this](const std::string& name, const std::string& path) { list.emplace_back(name, path); };
    }
};

}  // namespace

TEST(PortraitExchange, TheHostAssemblesUploadsInOrderFromPlayersWithACharacter) {
    TempDir dir;
    platform::setWorkingDirectory(dir.path());
    db::setSessionMode(db::SessionMode::Host);
    db::campaign().name.set("Saga");
    net::Session session;
    session.becomeHost();
    std::vector<std::string> lines;
    session.setSystemLineSink([&](const std::string& text) { lines.push_back(text); });
    Shown shown;
    characters::PortraitExchange exchange(session, shown.sink());
    net::SessionPeer& ann = session.addPeer(nullptr);
    ann.name = "ann";
    db::knownUser("ann").identity.set("Aria");
    net::SessionPeer& bo = session.addPeer(nullptr);
    bo.name = "bo";  // no character yet

    std::vector<uint8_t> file(9000);
    for (size_t i = 0; i < file.size(); ++i) file[i] = uint8_t(i);
    std::vector<net::NetMessage> chunks = characters::encodePortraitChunks(file);
    ASSERT_EQ(chunks.size(), 2u);
    const fs::path target = dir.path() / "campaigns/Saga/portraits/Aria";

    session.dispatch(&bo, chunks[0]);  // nobody to be the portrait of
    session.dispatch(&ann, chunks[1]);  // a second chunk with no first
    EXPECT_FALSE(fs::exists(target));
    EXPECT_EQ(lines.size(), 2u);

    session.dispatch(&ann, chunks[0]);
    EXPECT_FALSE(fs::exists(target));  // not whole yet, and never served half-made
    session.dispatch(&ann, chunks[1]);
    ASSERT_TRUE(fs::exists(target));
    EXPECT_EQ(test::readFile(target), std::string(file.begin(), file.end()));
    ASSERT_EQ(shown.list.size(), 1u);
    EXPECT_EQ(shown.list[0], (std::pair<std::string, std::string>{"Aria", "campaigns\\Saga\\portraits\\Aria"}));

    // The same picture again keeps the file and its time.
    net::FileStamp before, after;
    ASSERT_TRUE(net::setFileWriteTime(target, net::FileTime::of(130000000000000000ull)));
    ASSERT_TRUE(net::readFileStamp(target, before));
    for (const auto& c : chunks) session.dispatch(&ann, c);
    ASSERT_TRUE(net::readFileStamp(target, after));
    EXPECT_EQ(before.writeTime.value(), after.writeTime.value());
    EXPECT_TRUE(fs::is_empty(target.parent_path()) == false);
    for (const auto& entry : fs::directory_iterator(target.parent_path()))
        EXPECT_EQ(entry.path().filename(), "Aria");  // nothing half-made left behind
}

TEST(PortraitExchange, AClientTakesOnlyThisCampaignsPortraitsAndFetchesWhatItLacks) {
    TempDir dir;
    platform::setWorkingDirectory(dir.path());
    db::setSessionMode(db::SessionMode::Join);
    db::campaign().name.set("Saga");
    net::Session session;
    session.connectToHost("127.0.0.1", test::freeTcpPort());
    std::vector<std::string> lines;
    session.setSystemLineSink([&](const std::string& text) { lines.push_back(text); });
    Shown shown;
    characters::PortraitExchange exchange(session, shown.sink());
    exchange.line = [&](const std::string& text) { lines.push_back(text); };

    for (const char* path : {"campaigns\\Other\\portraits\\Aria", "campaigns\\Saga\\portraits\\..",
                             "campaigns\\Saga\\characters\\Aria.xml", "rulesets\\x\\base.xml",
                             "campaigns\\Saga\\portraits\\Aria\\deeper"}) {
        session.dispatch(nullptr, characters::encodePortraitNotice({5, 0, path}));
    }
    EXPECT_EQ(lines.size(), 5u);
    EXPECT_EQ(exchange.runningFetches(), 0u);

    // A copy of the same size and time is shown at once; another is fetched.
    test::writeFile(dir.path() / "campaigns/Saga/portraits/Aria", "12345");
    const uint64_t time = 130000000000000000ull;
    ASSERT_TRUE(net::setFileWriteTime(dir.path() / "campaigns/Saga/portraits/Aria", net::FileTime::of(time)));
    session.dispatch(nullptr, characters::encodePortraitNotice({5, time, "campaigns\\Saga\\portraits\\Aria"}));
    ASSERT_EQ(shown.list.size(), 1u);
    EXPECT_EQ(shown.list[0].first, "Aria");
    EXPECT_EQ(exchange.runningFetches(), 0u);
    session.dispatch(nullptr, characters::encodePortraitNotice({6, time, "campaigns\\Saga\\portraits\\Aria"}));
    EXPECT_EQ(exchange.runningFetches(), 1u);
    EXPECT_EQ(shown.list.size(), 1u);

    // A file whose chunks cannot be counted is refused before sending.
    test::writeFile(dir.path() / "big", std::string(characters::kMaxPortraitBytes + 1, 'x'));
    EXPECT_FALSE(exchange.sendFile("big"));
    ASSERT_EQ(lines.size(), 6u);
    EXPECT_NE(lines.back().find("too large"), std::string::npos) << lines.back();
}

TEST(PortraitExchange, ThePickerChoosesOnADoubleClickOnOnePicture) {
    TempDir dir;
    platform::setWorkingDirectory(dir.path());
    platform::useManualClock(1000);
    for (const char* name : {"a", "b", ".hidden"}) {
        // Pictures without an extension.
        test::writeFile(dir.path() / "portraits" / name, test::asText(test::tinyBmp()));
    }
    fs::create_directories(dir.path() / "portraits/folder");
    test::loadWindowRuleset(R"(<root><windowclass name="picker"><defaultsize width="200" height="200"/>
        <sheetdata><portraitselection name="p"><bounds rect="0,0,-1,-1"/><spacing value="10"/></portraitselection>
        </sheetdata></windowclass></root>)");
    characters::registerPortraitSelection();
    std::vector<std::string> chosen;
    characters::PortraitSelection::chooser() = [&](const std::string& path) { chosen.push_back(path); };
    {
        ui::Desktop desk;
        ui::Window* w = desk.OpenWindow(*ui::findWindowClass("picker"), "");
        auto* picker = dynamic_cast<characters::PortraitSelection*>(w->FindControl("p"));
        ASSERT_NE(picker, nullptr);
        EXPECT_EQ(picker->items().size(), 2u);  // no hidden files, no folders
        // Cells of 20 pixels (no portrait base) from (10, 10), 10 apart.
        EXPECT_EQ(picker->pictureAt(15, 15), 0);
        EXPECT_EQ(picker->pictureAt(45, 15), 1);
        EXPECT_EQ(picker->pictureAt(35, 15), -1);
        int32_t ox, oy;
        picker->GetOrigin(ox, oy);
        auto click = [&](int32_t x, int32_t y) { picker->MouseButton(ui::mouse::kLeftUp, 0, ui::mouse::pack(ox + x, oy + y)); };
        click(15, 15);
        click(45, 15);  // another picture: selects only
        EXPECT_EQ(picker->selectedIndex, 1);
        platform::advanceClock(600);
        click(45, 15);  // too late for a double click
        EXPECT_TRUE(chosen.empty());
        platform::advanceClock(100);
        click(45, 15);
        ASSERT_EQ(chosen.size(), 1u);
        EXPECT_EQ(chosen[0], "portraits\\b");
        EXPECT_TRUE(w->isClosed());
        desk.CollectClosed();
    }
    characters::PortraitSelection::chooser() = nullptr;
    platform::useRealClock();
    ui::clearRuleset();
}
