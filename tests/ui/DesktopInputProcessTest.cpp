// The running program driven by scripts, headless: a right click on the bare
// Desktop shows its menu and "Exit program", "Confirm exit" end the program
// with -1; a window closes from its own menu while the mouse is on it; two
// pixels are a click and three a drag, and control held resizes only a
// DYNAMIC window; the numeric pad stores and recalls a window. Then a host
// and a client: "Share Sheet" from the host's window menu opens the sheet on
// the client, and "Close For All" closes it there; a player who forges the
// host's own window messages closes, resizes and shares nothing.
#include <gtest/gtest.h>

#include <filesystem>

#include "ScriptedDesktop.h"
#include "support/RawPeer.h"

namespace lh::test {
namespace {

using namespace std::chrono_literals;

const char* kBase = R"(<root>
  <icon name="menuhub" file="rulesets\InTest\white.png"/>
  <icon name="menuback" file="rulesets\InTest\grey.png"/>
  <icon name="closeprogram" file="rulesets\InTest\red.png"/>
  <icon name="maximizewindow" file="rulesets\InTest\blue.png"/>
  <icon name="restorewindow" file="rulesets\InTest\blue.png"/>
  <icon name="close" file="rulesets\InTest\red.png"/>
  <icon name="closeremote" file="rulesets\InTest\red.png"/>
  <icon name="broadcast" file="rulesets\InTest\blue.png"/>
  <icon name="opener" file="rulesets\InTest\grey.png"/>
  <font name="mini_name"><face value="DejaVu Sans"/><size value="12"/><color value="FF0000"/></font>
  <framedef name="mini_name"><bitmap file="rulesets\InTest\yellow.png"/><middle rect="0,0,6,6"/></framedef>
  <framedef name="green"><bitmap file="rulesets\InTest\green.png"/><middle rect="0,0,6,6"/></framedef>
  <framedef name="yellow"><bitmap file="rulesets\InTest\yellow.png"/><middle rect="0,0,6,6"/></framedef>
  <windowclass name="sheet">
    <frame name="green"/><datasource name="sheets"/><sharable/><dynamic/>
    <defaultsize width="200" height="150"/><defaultposition x="100" y="100"/>
    <sheetdata><stringcontrol name="title"><bounds rect="150,120,40,20"/></stringcontrol></sheetdata>
  </windowclass>
  <windowclass name="plain">
    <frame name="yellow"/><datasource name="plains"/>
    <defaultsize width="200" height="150"/><defaultposition x="200" y="150"/>
  </windowclass>
  <windowclass name="party">
    <datasource name="party"/><sharable/><playercontrol/><defaultsize width="100" height="100"/>
    <defaultposition x="600" y="500"/>
  </windowclass>
  <windowclass name="dmshortcuts">
    <desktopwindow/><defaultsize width="100" height="60"/><defaultposition x="-110" y="10"/>
    <sheetdata>
      <windowopencontrol name="sheet"><bounds rect="5,5,20,20"/><icon normal="opener"/><class name="sheet"/><datasource name="00001"/></windowopencontrol>
      <windowopencontrol name="plain"><bounds rect="35,5,20,20"/><icon normal="opener"/><class name="plain"/><datasource name="00002"/></windowopencontrol>
    </sheetdata>
  </windowclass>
  <windowclass name="playershortcuts">
    <desktopwindow/><defaultsize width="100" height="60"/><defaultposition x="-110" y="10"/>
    <sheetdata>
      <windowopencontrol name="party"><bounds rect="5,5,20,20"/><icon normal="opener"/><class name="party"/><newrecord/></windowopencontrol>
    </sheetdata>
  </windowclass>
</root>)";

constexpr uint32_t kWhite = 0xFFFFFF, kRed = 0xFF0000, kBlue = 0x0000FF, kGreen = 0x00C000, kYellow = 0xE0E000;

class DesktopInputProcess : public ::testing::Test {
protected:
    void SetUp() override { desk.writePalette(); }
    // Runs a host on the Ruleset with the script; answers the exit code.
    int runScript(const char* script) { return desk.runHost(script); }
    std::string trace() { return desk.trace(); }
    Shot shot(const char* name) { return desk.shot(name); }

    ScriptedDesktop desk{"InTest", kBase};
};

TEST_F(DesktopInputProcess, TheDesktopMenuShowsAndItsExitEndsWithMinusOne) {
    // The menu opens at the release, 600, 500: "Exit program" north of the
    // hub, its ring opens there with "Confirm exit" north again.
    EXPECT_EQ(runScript(R"(click right 600 500
wait 50
screenshot menu
move 600 425
wait 50
screenshot label
click left 600 420
wait 50
screenshot confirm
click left 600 340
wait 5000
quit 0
)"),
              255)
        << desk.errors;
    const std::string lines = trace();
    EXPECT_NE(lines.find("menu opened 600 500\n"), std::string::npos) << lines;
    EXPECT_NE(lines.find("menu chosen 1\n"), std::string::npos) << lines;
    EXPECT_NE(lines.find("quit -1\n"), std::string::npos) << lines;
    Shot menu = shot("menu");
    EXPECT_EQ(menu.at(600, 500), kWhite);  // the hub
    EXPECT_EQ(menu.at(600, 420), kRed);    // "Exit program"
    EXPECT_EQ(menu.at(680, 500), kBlue);   // "Maximize window"
    EXPECT_NE(menu.at(600, 580), kRed);
    // The mouse over "Exit program" without a button: the menu stays, and
    // the label stands on the hub in its frame, as wide as the text.
    auto frameWidth = [](const Shot& s) {
        uint32_t n = 0;
        for (uint32_t x = 500; x < 700; ++x) n += s.at(x, 507) == kYellow;
        return n;
    };
    EXPECT_EQ(frameWidth(menu), 0u);
    Shot label = shot("label");
    EXPECT_GT(frameWidth(label), 50u);
    EXPECT_EQ(label.at(600, 420), kRed);
    // Only the deepest ring shows: the confirmation around the old slot.
    Shot confirm = shot("confirm");
    EXPECT_EQ(confirm.at(600, 420), kWhite);  // its hub
    EXPECT_EQ(confirm.at(600, 340), kRed);    // "Confirm exit"
    EXPECT_NE(confirm.at(680, 500), kBlue);
}

TEST_F(DesktopInputProcess, AWindowClosesFromItsOwnMenuUnderTheMouse) {
    // The sheet's field has the keyboard and the mouse when its window
    // closes from the menu; what is typed next goes to the chat entry.
    EXPECT_EQ(runScript(R"(click left 924 25
wait 50
click left 260 230
text before
move 260 230
click right 260 230
click left 260 150
wait 50
move 261 231
screenshot closed
text after
key Return
wait 50
click left 150 150
quit 0
)"),
              0)
        << desk.errors;
    const std::string lines = trace();
    EXPECT_NE(lines.find("window opened sheet 00001\n"), std::string::npos) << lines;
    EXPECT_NE(lines.find("window closed sheet 00001\n"), std::string::npos) << lines;
    // The field let go of the keyboard as its window went, and kept its
    // text; the chat entry took what came after.
    EXPECT_NE(lines.find("record sheets.00001", lines.find("window closed sheet 00001")), std::string::npos)
        << lines;
    EXPECT_NE(readFile(desk.work.path() / "campaigns" / "C" / "db.xml").find("before"), std::string::npos);
    EXPECT_NE(lines.find("] after\n"), std::string::npos) << lines;
    EXPECT_NE(shot("closed").at(150, 150), kGreen);
}

TEST_F(DesktopInputProcess, ClicksDragsAndResizing) {
    EXPECT_EQ(runScript(R"(click left 924 25
click left 954 25
wait 50
down left 380 280
move 382 282
up left 382 282
wait 50
screenshot click
down left 380 280
move 383 280
move 413 290
up left 413 290
wait 50
screenshot drag
keydown Ctrl
down left 120 120
move 123 123
move 153 143
up left 153 143
down left 420 300
move 423 300
move 443 320
up left 443 320
keyup Ctrl
wait 50
screenshot ctrl
quit 0
)"),
              0)
        << desk.errors;
    const std::string lines = trace();
    // The two-pixel press stayed a click; the three-pixel one became a drag.
    EXPECT_EQ(lines.find("drag started 380 280\n"), lines.rfind("drag started 380 280\n")) << lines;
    EXPECT_NE(lines.find("drag started 380 280\n"), std::string::npos) << lines;
    Shot click = shot("click");  // the plain window (200,150 200x150) did not move
    EXPECT_EQ(click.at(202, 152), kYellow);
    EXPECT_EQ(click.at(398, 298), kYellow);
    Shot drag = shot("drag");  // moved by 30, 10 after the three pixels
    EXPECT_EQ(drag.at(232, 162), kYellow);
    EXPECT_NE(drag.at(202, 152), kYellow);
    EXPECT_EQ(drag.at(428, 308), kYellow);
    Shot ctrl = shot("ctrl");
    // The DYNAMIC sheet grew by 30, 20 at its far corner; the plain window
    // moved by 20, 20 instead of growing.
    EXPECT_EQ(ctrl.at(102, 102), kGreen);
    EXPECT_EQ(ctrl.at(325, 110), kGreen);
    EXPECT_EQ(ctrl.at(120, 265), kGreen);
    EXPECT_NE(ctrl.at(335, 110), kGreen);
    EXPECT_EQ(ctrl.at(252, 182), kYellow);
    EXPECT_EQ(ctrl.at(448, 328), kYellow);
    EXPECT_NE(ctrl.at(452, 332), kYellow);
}

TEST_F(DesktopInputProcess, TheNumericPadStoresAndRecallsWindows) {
    EXPECT_EQ(runScript(R"(click left 924 25
click left 954 25
wait 50
keydown Num7
keydown Num7
keydown Num7
keyup Num7
wait 200
click left 110 110
wait 50
screenshot behind
key Num7
wait 50
screenshot recalled
key Num3
quit 0
)"),
              0)
        << desk.errors;
    const std::string lines = trace();
    EXPECT_NE(lines.find("bookmark stored 0 plain 00002\n"), std::string::npos) << lines;
    EXPECT_NE(lines.find("bookmark recalled 0 plain 00002\n"), std::string::npos) << lines;
    EXPECT_EQ(lines.find("bookmark stored 0", lines.find("bookmark stored 0") + 1), std::string::npos) << lines;
    EXPECT_EQ(shot("behind").at(250, 200), kGreen);     // the sheet came forward
    EXPECT_EQ(shot("recalled").at(250, 200), kYellow);  // the bookmark brought the plain one back
}

TEST(DesktopShare, ShareSheetOpensOnTheClientAndCloseForAllClosesIt) {
    ScriptedDesktop h("InTest", kBase), c("InTest", kBase);
    h.writePalette();
    c.writePalette();
    const uint16_t port = freeTcpPort();
    // The host opens the sheet, waits for the player, shares the sheet from
    // its window menu (slot 6, west), waits until the player has asked for
    // a record of its own, then closes the sheet for all (slot 0).
    writeFile(h.work.path() / "steps.txt", R"(click left 924 25
await received IDENQ
click right 150 150
click left 70 150
await received WINCQ
click right 150 150
click left 150 70
await sent WINDQ
wait 300
quit 0
)");
    // The player waits for the shared sheet, asks for a record, and waits
    // for the sheet to go.
    writeFile(c.work.path() / "steps.txt", R"(await window opened sheet 00001
click left 924 25
await window closed sheet 00001
quit 0
)");
    ChildProcess host(builtProgram("lorehaven"), h.hostArguments(port), {"LOREHAVEN_TRACE=" + h.tracePath()});
    // The client may start before the host listens: it is started once the
    // host has traced its first frame.
    ASSERT_TRUE(waitForTracedLine(host, h.tracePath(), "frame")) << host.errors();
    ChildProcess client(builtProgram("lorehaven"),
                        {"--workdir", c.work.str(), "--join", "127.0.0.1", "--user", "Ann", "--identity", "Hero",
                         "--script", (c.work.path() / "steps.txt").string(), "p" + std::to_string(port)},
                        {"LOREHAVEN_TRACE=" + c.tracePath()});
    EXPECT_EQ(client.wait(120s), 0) << client.errors();
    EXPECT_EQ(host.wait(120s), 0) << host.errors();
    const std::string hostLines = h.trace();
    const std::string clientLines = c.trace();
    EXPECT_NE(hostLines.find("window shared sheet 00001\n"), std::string::npos) << hostLines;
    EXPECT_NE(hostLines.find("sent WINCR"), std::string::npos) << hostLines;
    EXPECT_NE(clientLines.find("window opened sheet 00001\n"), std::string::npos) << clientLines;
    EXPECT_NE(clientLines.find("window closed sheet 00001\n"), std::string::npos) << clientLines;
    EXPECT_LT(clientLines.find("window opened sheet 00001\n"), clientLines.find("window closed sheet 00001\n"));
}

TEST(DesktopShare, AForgedCloseResizeOrShareFromAPlayerChangesNothingOnTheHost) {
    ScriptedDesktop h("InTest", kBase);
    h.writePalette();
    const uint16_t port = freeTcpPort();
    // The host opens its sheet (record 00001, not the player's) and looks at
    // it once the last forged request has been dealt with.
    writeFile(h.work.path() / "steps.txt", R"(click left 924 25
await window opened sheet 00001
await received WINBQ
screenshot forged
quit 0
)");
    ChildProcess host(builtProgram("lorehaven"), h.hostArguments(port), {"LOREHAVEN_TRACE=" + h.tracePath()});
    ASSERT_TRUE(waitForTracedLine(host, h.tracePath(), "window opened sheet 00001")) << host.errors();
    RawPeer peer(port);
    peer.send("CONNQ", connectBody("Raw", ""));
    peer.send("IDENQ", std::string("Rogue") + '\0' + '\0');
    std::string tag, body;
    while (tag != "LGINR") ASSERT_TRUE(peer.receive(tag, body)) << host.errors();
    // What only the host may say, and a share of a record that is not its own.
    peer.send("WINDQ", std::string("sheet") + '\0' + "00001" + '\0');
    peer.send("WINSQ", std::string("sheet") + '\0' + "00001" + '\0' + std::string("\x84\x03\0\0\xBC\x02\0\0", 8));
    peer.send("WINBQ", std::string("sheet") + '\0' + "00001" + '\0' + std::string("\xC8\0\0\0\xC8\0\0\0", 8));
    EXPECT_EQ(host.wait(120s), 0) << host.errors();
    const std::string lines = h.trace();
    EXPECT_EQ(lines.find("window closed sheet 00001"), std::string::npos) << lines;
    EXPECT_EQ(lines.find("sent WINCR"), std::string::npos) << lines;
    Shot forged = h.shot("forged");
    EXPECT_EQ(forged.at(150, 150), kGreen);   // still open where it was
    EXPECT_NE(forged.at(500, 450), kGreen);   // and not 900 by 700
}

}  // namespace
}  // namespace lh::test
