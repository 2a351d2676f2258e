// Sheet fields between two real processes on loopback, driven by scripts:
// a player types into the number and the text of his own sheet, drags one
// number onto another, and the host has every value in its db.xml once the
// keyboard has moved on; a typed text goes out as one message; the same
// typing on a sheet the player does not own changes nothing anywhere.
#include <gtest/gtest.h>

#include <signal.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <thread>

#include "support/TestSupport.h"

namespace lh::test {
namespace {

using namespace std::chrono_literals;
namespace fs = std::filesystem;

const char* kRuleset = R"(<root>
  <windowclass name="sheet">
    <datasource name="sheets"/><defaultsize width="200" height="120"/><defaultposition x="100" y="100"/>
    <sheetdata>
      <numbercontrol name="might"><bounds rect="10,10,40,20"/></numbercontrol>
      <numbercontrol name="bonus"><bounds rect="60,10,40,20"/><dropoperation op="+"/></numbercontrol>
      <stringcontrol name="name"><bounds rect="10,50,150,20"/></stringcontrol>
      <stringcontrol name="motto"><bounds rect="10,80,150,20"/></stringcontrol>
    </sheetdata>
  </windowclass>
  <windowclass name="playershortcuts">
    <desktopwindow/><defaultsize width="100" height="60"/><defaultposition x="-110" y="10"/>
    <sheetdata>
      <windowopencontrol name="mine"><bounds rect="5,5,20,20"/><class name="sheet"/><datasource name="00001"/></windowopencontrol>
      <windowopencontrol name="theirs"><bounds rect="35,5,20,20"/><class name="sheet"/><datasource name="00002"/></windowopencontrol>
    </sheetdata>
  </windowclass>
</root>)";

// Ann owns sheet 00001; 00002 belongs to nobody but the host.
const char* kDatabase = R"(<root>
	<node name="sheets">
		<node name="00001">
			<holder name="Ann" owner="true" />
			<intvalue name="might" value="3" />
			<intvalue name="bonus" value="2" />
		</node>
		<node name="00002">
			<intvalue name="might" value="8" />
		</node>
	</node>
</root>
)";

// The opener of the player's own sheet, then his might (typed), his name
// (typed in UTF-8, Return sends it), the name copied through the clipboard
// into his motto, might dragged onto bonus ("+"); then the other sheet, on
// top of the first, where the same typing does nothing.
const char* kClientScript = R"(await record sheets.00001
click left 929 25
wait 300
click left 130 120
text 17
click left 600 600
click left 180 160
text Ann the Bóld
key Return
click left 180 160
keydown Ctrl
key C
keyup Ctrl
click left 180 190
keydown Ctrl
key V
keyup Ctrl
key Return
down left 130 120
move 140 120
move 180 120
up left 180 120
wait 100
click left 959 25
wait 300
click left 130 120
text 99
click left 600 600
click left 180 160
text Nobody
key Return
wait 300
quit 0
)";

size_t count(const std::string& text, const std::string& piece) {
    size_t n = 0;
    for (size_t at = text.find(piece); at != std::string::npos; at = text.find(piece, at + 1)) ++n;
    return n;
}

bool waitForCount(const fs::path& file, const std::string& piece, size_t wanted) {
    for (int i = 0; i < 1500; ++i) {
        if (fs::exists(file) && count(readFile(file), piece) >= wanted) return true;
        std::this_thread::sleep_for(20ms);
    }
    return false;
}

TEST(FieldProcess, APlayersTypingAndDropsReachTheHostAndAStrangersDoNot) {
    TempDir hostDir, clientDir;
    writeFile(hostDir.path() / "rulesets" / "FieldTest" / "base.xml", kRuleset);
    writeFile(hostDir.path() / "campaigns" / "Saga" / "db.xml", kDatabase);
    writeFile(hostDir.path() / "campaigns" / "Saga" / "campaign.xml",
              "<root>\n\t<ruleset name=\"FieldTest\" />\n</root>\n");
    writeFile(clientDir.path() / "steps.txt", kClientScript);
    const fs::path hostTrace = hostDir.path() / "trace.txt", clientTrace = clientDir.path() / "trace.txt";
    uint16_t port = freeTcpPort();
    std::string p = "p" + std::to_string(port);
    ChildProcess host(builtProgram("lorehaven"),
                      {"--workdir", hostDir.str(), "--host", "--campaign", "Saga", "--gm", "GM", "--ruleset",
                       "FieldTest", p},
                      {"LOREHAVEN_TRACE=" + hostTrace.string()});
    ASSERT_TRUE(waitForCount(hostTrace, " frame", 1)) << host.errors();

    ChildProcess client(builtProgram("lorehaven"),
                        {"--workdir", clientDir.str(), "--join", "127.0.0.1", "--user", "Ann", "--identity", "Hero", p, "--script",
                         (clientDir.path() / "steps.txt").string()},
                        {"LOREHAVEN_TRACE=" + clientTrace.string()});
    ASSERT_EQ(client.wait(120s), 0) << client.errors();
    std::string clientLines = readFile(clientTrace);
    EXPECT_NE(clientLines.find("window opened sheet 00002"), std::string::npos) << clientLines;
    // Might when the keyboard left it, the name once for all its letters
    // and once more as the keyboard left it after the copy, the motto,
    // bonus after the drop: five values, and nothing for the other sheet.
    EXPECT_EQ(count(clientLines, "sent DATAR"), 5u) << clientLines;

    ASSERT_TRUE(waitForCount(hostTrace, "received DATAR", 5)) << readFile(hostTrace);
    host.signal(SIGTERM);
    host.wait(60s);
    std::string db = readFile(hostDir.path() / "campaigns" / "Saga" / "db.xml");
    const size_t mine = db.find("name=\"00001\""), theirs = db.find("name=\"00002\"");
    ASSERT_NE(mine, std::string::npos) << db;
    ASSERT_NE(theirs, std::string::npos) << db;
    std::string first = db.substr(mine, theirs > mine ? theirs - mine : std::string::npos);
    std::string second = db.substr(theirs, mine > theirs ? mine - theirs : std::string::npos);
    EXPECT_NE(first.find("<intvalue name=\"might\" value=\"17\""), std::string::npos) << db;
    // The typed UTF-8 letter is one Windows-1252 byte inside (0xF3, written
    // escaped), and went through the platform's clipboard and back whole.
    EXPECT_NE(first.find("<stringvalue name=\"name\" value=\"Ann the B#f3ld\""), std::string::npos) << db;
    EXPECT_NE(first.find("<stringvalue name=\"motto\" value=\"Ann the B#f3ld\""), std::string::npos) << db;
    EXPECT_NE(first.find("<intvalue name=\"bonus\" value=\"19\""), std::string::npos) << db;
    EXPECT_NE(second.find("<intvalue name=\"might\" value=\"8\""), std::string::npos) << db;
    EXPECT_EQ(second.find("Nobody"), std::string::npos) << db;
}

}  // namespace
}  // namespace lh::test
