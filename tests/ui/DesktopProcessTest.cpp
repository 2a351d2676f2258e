// The program itself, headless, on a Ruleset of our own: the shortcut window
// of the way in opens at start-up (as the trace tells), anchored from the
// far edges, and shows in the screenshot; a way in without its class opens
// nothing and starts all the same.
#include <gtest/gtest.h>

#include <filesystem>

#include "RulesetFixture.h"
#include "support/TestSupport.h"
#include "ui/PictureDecoder.h"

namespace lh::test {
namespace {

using namespace std::chrono_literals;

const char* kBase = R"(<root>
  <framedef name="green"><bitmap file="rulesets\WinTest\frame.png"/><middle rect="0,0,6,6"/></framedef>
  <windowclass name="dmshortcuts">
    <frame name="green"/><desktopwindow/>
    <defaultsize width="100" height="60"/><defaultposition x="-110" y="10"/>
  </windowclass>
</root>)";

class DesktopProcess : public ::testing::Test {
protected:
    void SetUp() override {
        writeFile(work.path() / "rulesets" / "WinTest" / "base.xml", kBase);
        writeFile(work.path() / "rulesets" / "WinTest" / "frame.png",
                  pngBytes(6, 6, std::vector<uint32_t>(36, 0xFF00C000)));
    }
    std::string trace() { return readFile(work.path() / "trace.txt"); }

    TempDir work;
};

TEST_F(DesktopProcess, TheShortcutWindowOfTheWayInOpensAtStartUp) {
    ChildProcess host(builtProgram("lorehaven"),
                      {"--workdir", work.str(), "--host", "--campaign", "C", "--gm", "GM", "--ruleset", "WinTest",
                       "--screenshot-at-tick", "4", "--quit-after-ticks", "6"},
                      {"LOREHAVEN_TRACE=" + (work.path() / "trace.txt").string()});
    ASSERT_EQ(host.wait(60s), 0) << host.errors();
    EXPECT_NE(trace().find("window opened dmshortcuts \n"), std::string::npos) << trace();

    std::string png = readFile(work.path() / "screenshot0001.png");
    ui::PixelImage shot;
    ASSERT_TRUE(ui::decodePicture(png.data(), png.size(), shot));
    ASSERT_EQ(shot.width, 1024u);
    auto at = [&](uint32_t x, uint32_t y) { return shot.pixels[size_t(y) * shot.width + x] & 0xFFFFFF; };
    EXPECT_EQ(at(1024 - 110 + 2, 12), 0x00C000u);  // anchored 110 from the right
    EXPECT_EQ(at(1024 - 10 - 1, 69), 0x00C000u);
    EXPECT_NE(at(1024 - 10 + 2, 40), 0x00C000u);

    // Local characters: no "localshortcuts" in this Ruleset, nothing opens.
    ChildProcess local(builtProgram("lorehaven"),
                       {"--workdir", work.str(), "--local", "--ruleset", "WinTest", "--quit-after-ticks", "3"},
                       {"LOREHAVEN_TRACE=" + (work.path() / "trace2.txt").string()});
    ASSERT_EQ(local.wait(60s), 0) << local.errors();
    EXPECT_EQ(readFile(work.path() / "trace2.txt").find("window opened"), std::string::npos);
}

}  // namespace
}  // namespace lh::test
