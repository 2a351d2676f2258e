// The main window made larger and smaller while the program runs, headless:
// the size event comes from the window system as for a dragged border; the
// Desktop then lays out in the new client area (the shortcut window keeps
// to its far corner, a sheet opens centred, the radial menu stays inside),
// the mouse reaches what moved, and the least size of 1024 by 768 holds.
#include <gtest/gtest.h>

#include "ScriptedDesktop.h"

namespace lh::test {
namespace {

const char* kBase = R"(<root>
  <icon name="menuhub" file="rulesets\SizeTest\white.png"/>
  <icon name="menuback" file="rulesets\SizeTest\grey.png"/>
  <icon name="closeprogram" file="rulesets\SizeTest\red.png"/>
  <icon name="maximizewindow" file="rulesets\SizeTest\blue.png"/>
  <icon name="opener" file="rulesets\SizeTest\grey.png"/>
  <framedef name="green"><bitmap file="rulesets\SizeTest\green.png"/><middle rect="0,0,6,6"/></framedef>
  <framedef name="yellow"><bitmap file="rulesets\SizeTest\yellow.png"/><middle rect="0,0,6,6"/></framedef>
  <windowclass name="sheet">
    <frame name="green"/><datasource name="sheets"/><defaultsize width="200" height="150"/>
  </windowclass>
  <windowclass name="dmshortcuts">
    <frame name="yellow"/><desktopwindow/><defaultsize width="100" height="60"/><defaultposition x="-110" y="-70"/>
    <sheetdata>
      <windowopencontrol name="sheet"><bounds rect="5,5,20,20"/><icon normal="opener"/><class name="sheet"/><datasource name="00001"/></windowopencontrol>
    </sheetdata>
  </windowclass>
</root>)";

constexpr uint32_t kWhite = 0xFFFFFF, kBlue = 0x0000FF, kGreen = 0x00C000, kYellow = 0xE0E000;

TEST(DesktopResize, TheDesktopFollowsTheMainWindowsSizeDownToItsLeast) {
    ScriptedDesktop desk("SizeTest", kBase);
    desk.writePalette();
    ASSERT_EQ(desk.runHost(R"(screenshot small
resize 1280 900
await desktop sized 1280 900
screenshot large
click left 1185 845
await window opened sheet 00001
click right 1270 890
await menu opened
screenshot menu
key Escape
resize 1100 700
await desktop sized 1100 768
screenshot least
quit 0
)"),
              0)
        << desk.errors;
    const std::string lines = desk.trace();

    Shot small = desk.shot("small");
    EXPECT_EQ(small.image.width, 1024u);
    EXPECT_EQ(small.at(916, 700), kYellow);  // 110 from the right, 70 from the bottom
    EXPECT_NE(small.at(1180, 840), kYellow);

    // The shortcut window went with the far corner, and its opener is where
    // the mouse finds it; the sheet opened in the middle of the larger area.
    Shot large = desk.shot("large");
    EXPECT_EQ(large.image.width, 1280u);
    EXPECT_EQ(large.image.height, 900u);
    EXPECT_EQ(large.at(1172, 832), kYellow);
    EXPECT_EQ(large.at(1266, 886), kYellow);
    EXPECT_NE(large.at(916, 700), kYellow);
    Shot menu = desk.shot("menu");
    EXPECT_EQ(menu.at(545, 380), kGreen);  // (1280 - 200) / 2, (900 - 150) / 2
    EXPECT_EQ(menu.at(735, 520), kGreen);
    // The Desktop menu at the corner moved inside the new client area: its
    // east slot keeps 15 pixels from the right edge, and the ring with the
    // Gamemaster's "Characters" in its south slot stays above the bottom.
    EXPECT_NE(lines.find("menu opened 1185 805\n"), std::string::npos) << lines;
    EXPECT_EQ(menu.at(1185, 805), kWhite);
    EXPECT_EQ(menu.at(1265, 805), kBlue);

    // Smaller than the least size: the width follows, the height stays.
    Shot least = desk.shot("least");
    EXPECT_EQ(least.image.width, 1100u);
    EXPECT_EQ(least.image.height, 768u);
    EXPECT_EQ(least.at(992, 700), kYellow);
}

}  // namespace
}  // namespace lh::test
