// An opened sheet drawn on the real device off-screen and read back: the
// frame under the controls, the controls at their computed places, a static
// picture, and the icon of the minimized window.
#include <gtest/gtest.h>

#include "DesktopFixture.h"
#include "RulesetFixture.h"
#include "db/DbNode.h"
#include "platform/Paths.h"
#include "render/GlFixture.h"
#include "render/RenderContext.h"
#include "support/TestSupport.h"
#include "ui/Desktop.h"
#include "ui/ResourceFile.h"
#include "ui/RulesetData.h"
#include "ui/Window.h"

namespace lh::test {
namespace {

const char* kCardRuleset = R"(<root>
  <framedef name="box"><bitmap file="frame.png"/><middle rect="0,0,6,6"/></framedef>
  <windowclass name="card">
    <frame name="box"/><datasource name="cards"/><minimize icon="mini"/>
    <defaultsize width="100" height="80"/><defaultposition x="20" y="10"/>
    <sheetdata>
      <testbox name="a" color="ff0000"><bounds rect="10,10,30,20"/></testbox>
      <testbox name="b" color="0000ff"><bounds rect="-40,-30,30,20"/></testbox>
      <staticgraphic><bounds rect="50,10,16,16"/><icon name="pic"/></staticgraphic>
    </sheetdata>
  </windowclass>
</root>)";

class WindowDraw : public GlTest {
protected:
    void SetUp() override {
        GlTest::SetUp();
        platform::setWorkingDirectory(dir.path());
        ui::ResourceFile::setArchivePath("resource.pak");
        writeFile(dir.path() / "frame.png", pngBytes(6, 6, std::vector<uint32_t>(36, 0xFF303030)));
        db::clearTree();
        loadWindowRuleset(kCardRuleset);
        desk.OnMainWindowSized(kWidth, kHeight);
    }
    void TearDown() override {
        desk.windows.clear();
        ui::clearRuleset();
        db::clearTree();
        GlTest::TearDown();
    }
    std::vector<uint32_t> frame() {
        render::GraphicsDevice& device = render::GraphicsDevice::Get();
        render::Rect all{0, 0, kWidth, kHeight};
        device.BeginFrame(all);
        {
            render::RenderContext context(false, kWidth, kHeight);
            context.BeginScene();
            context.DrawRect(0, 0, kWidth, kHeight, 0x000000, true);
            desk.Draw(context, all);
            context.EndScene();
        }
        device.Present(all);
        return screen();
    }

    TempDir dir;
    ui::Desktop desk;
};

TEST_F(WindowDraw, AnOpenedSheetShowsItsFrameAndControls) {
    ui::Window* w = desk.OpenWindow(*ui::findWindowClass("card"), "00001");
    ASSERT_EQ(w->rect, (render::Rect{20, 10, 120, 90}));
    auto px = frame();
    EXPECT_TRUE(near(at(px, 5, 5), 0xFF000000, 2));      // outside: the background
    EXPECT_TRUE(near(at(px, 24, 14), 0xFF303030, 2));    // the frame
    EXPECT_TRUE(near(at(px, 40, 30), 0xFF0000FF, 2));    // "a" at 10,10 in the window
    EXPECT_TRUE(near(at(px, 95, 70), 0xFFFF0000, 2));    // "b" 40 from the right, 30 from the bottom
    EXPECT_TRUE(near(at(px, 78, 28), 0xFFFF00FF, 2));    // the static picture
    EXPECT_TRUE(near(at(px, 119, 89), 0xFF303030, 2));   // the frame's last pixel
    EXPECT_TRUE(near(at(px, 120, 90), 0xFF000000, 2));

    // Minimized: only the icon, at the window's old top left.
    w->ToggleMinimize(nullptr);
    px = frame();
    EXPECT_TRUE(near(at(px, 30, 20), 0xFF00FFFF, 2));
    EXPECT_TRUE(near(at(px, 95, 70), 0xFF000000, 2));
}

}  // namespace
}  // namespace lh::test
