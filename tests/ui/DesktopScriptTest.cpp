// The running program driven by a script, headless: an opener on the
// shortcut window opens a sheet on its record, the sheet is dragged, resized
// with control held (it is DYNAMIC), turned to its second page by a tab,
// minimized and restored by a toggling opener, and the program ends while a
// field holds a typed number. The trace tells each step and the screenshots
// show it.
#include <gtest/gtest.h>

#include "ScriptedDesktop.h"

namespace lh::test {
namespace {

const char* kBase = R"(<root>
  <icon name="mini" file="rulesets\WinTest\mini.png"/>
  <icon name="blue" file="rulesets\WinTest\blue.png"/>
  <icon name="red" file="rulesets\WinTest\red.png"/>
  <framedef name="green"><bitmap file="rulesets\WinTest\frame.png"/><middle rect="0,0,6,6"/></framedef>
  <windowclass name="page1"><sheetdata><staticgraphic><bounds rect="20,40,16,16"/><icon name="blue"/></staticgraphic></sheetdata></windowclass>
  <windowclass name="page2"><sheetdata><staticgraphic><bounds rect="20,40,16,16"/><icon name="red"/></staticgraphic>
    <numbercontrol name="might"><bounds rect="60,40,30,20"/></numbercontrol></sheetdata></windowclass>
  <windowclass name="sheet">
    <frame name="green"/><datasource name="sheets"/><minimize icon="mini"/>
    <defaultsize width="200" height="150"/><defaultposition x="100" y="100"/><dynamic/>
    <sheetdata>
      <subwindow name="one"><class name="page1"/><activate/></subwindow>
      <subwindow name="two"><class name="page2"/></subwindow>
      <windowchangecontrol><bounds rect="150,5,20,20"/><target name="two"/></windowchangecontrol>
    </sheetdata>
  </windowclass>
  <windowclass name="dmshortcuts">
    <frame name="green"/><desktopwindow/>
    <defaultsize width="100" height="60"/><defaultposition x="-110" y="10"/>
    <sheetdata>
      <windowopencontrol name="open"><bounds rect="5,5,20,20"/><class name="sheet"/><datasource name="00001"/></windowopencontrol>
      <windowopencontrol name="toggle"><bounds rect="35,5,20,20"/><class name="sheet"/><datasource name="00001"/><closetoggle/></windowopencontrol>
    </sheetdata>
  </windowclass>
</root>)";

const char* kScript = R"(# open, move, resize, tab, minimize, restore
click left 924 25
wait 100
screenshot opened
down left 200 240
move 203 243
move 253 263
up left 253 263
wait 100
screenshot moved
keydown Ctrl
down left 250 250
move 253 253
move 283 283
up left 283 283
keyup Ctrl
wait 100
screenshot resized
click left 310 135
wait 100
screenshot tabbed
click left 954 25
wait 100
screenshot minimized
click left 954 25
wait 100
screenshot restored
# the program ends while a field holds the keyboard and a typed number
click left 225 170
text 7
quit 0
)";

}  // namespace

TEST(DesktopScript, OpenMoveResizeTabMinimizeRestore) {
    ScriptedDesktop desk("WinTest", kBase);
    desk.writeSquare("frame.png", 6, 0xFF00C000);
    desk.writeSquare("mini.png", 32, 0xFF00FFFF);
    desk.writeSquare("blue.png", 16, 0xFF0000FF);
    desk.writeSquare("red.png", 16, 0xFFFF0000);
    ASSERT_EQ(desk.runHost(kScript), 0) << desk.errors;
    std::string lines = desk.trace();
    for (const char* want : {"window opened sheet 00001\n", "window tab sheet 00001 page2\n",
                             "window minimized sheet 00001\n", "window restored sheet 00001\n"}) {
        EXPECT_NE(lines.find(want), std::string::npos) << want << " not in\n" << lines;
    }

    constexpr uint32_t kGreen = 0x00C000, kBlue = 0x0000FF, kRed = 0xFF0000, kCyan = 0x00FFFF;
    Shot opened = desk.shot("opened");
    EXPECT_EQ(opened.at(105, 105), kGreen);
    EXPECT_EQ(opened.at(128, 148), kBlue);  // the first page's picture
    Shot moved = desk.shot("moved");            // by 50, 20
    EXPECT_NE(moved.at(105, 105), kGreen);
    EXPECT_EQ(moved.at(155, 125), kGreen);
    EXPECT_EQ(moved.at(178, 168), kBlue);
    EXPECT_NE(moved.at(360, 280), kGreen);
    Shot resized = desk.shot("resized");  // 30 wider and higher
    EXPECT_EQ(resized.at(375, 295), kGreen);
    EXPECT_EQ(resized.at(155, 125), kGreen);
    Shot tabbed = desk.shot("tabbed");
    EXPECT_EQ(tabbed.at(178, 168), kRed);
    Shot minimized = desk.shot("minimized");
    EXPECT_EQ(minimized.at(160, 130), kCyan);
    EXPECT_NE(minimized.at(300, 250), kGreen);
    Shot restored = desk.shot("restored");
    EXPECT_EQ(restored.at(375, 295), kGreen);
    EXPECT_EQ(restored.at(178, 168), kRed);
}

}  // namespace lh::test
