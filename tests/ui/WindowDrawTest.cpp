// An opened sheet drawn on the real device off-screen and read back: the
// frame under the controls, the controls at their computed places, a static
// picture, and the icon of the minimized window; fields with the number
// settings' focus glow and modifier tag, and texts left and centred.
#include <gtest/gtest.h>

#include "DesktopFixture.h"
#include "RulesetFixture.h"
#include "db/DbNode.h"
#include "db/IntValue.h"
#include "db/SessionMode.h"
#include "db/StringValue.h"
#include "platform/Paths.h"
#include "render/GlFixture.h"
#include "render/RenderContext.h"
#include "support/TestSupport.h"
#include "ui/Desktop.h"
#include "ui/DragPayload.h"
#include "ui/KeyboardFocus.h"
#include "ui/NumberControl.h"
#include "ui/ResourceFile.h"
#include "ui/RulesetData.h"
#include "ui/StringControl.h"
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

// The glow and the tag are frames of one colour each; the focus frames
// that are only read have a wide pad, so that drawing them would show.
const char* kFieldRuleset = R"(<root>
  <framedef name="glow"><bitmap file="glow.png"/><middle rect="0,0,6,6"/></framedef>
  <framedef name="tag"><bitmap file="tag.png"/><middle rect="0,0,6,6"/></framedef>
  <numbercontrolsettings>
    <modifier frame="tag" font="tagfont" framemargin="2" frameheight="8"/>
    <dropfocus frame="glow" padx="3" pady="2"/>
    <dragfocus frame="tag" padx="9" pady="9"/><locked frame="tag" padx="9" pady="9"/>
  </numbercontrolsettings>
  <windowclass name="fields">
    <datasource name="fields"/><defaultsize width="140" height="100"/><defaultposition x="10" y="10"/>
    <sheetdata>
      <numbercontrol name="a"><bounds rect="10,10,30,16"/></numbercontrol>
      <numbercontrol name="b"><bounds rect="60,10,30,16"/><nodrop/></numbercontrol>
      <numbercontrol name="m"><bounds rect="100,10,30,16"/><value type="modifier"/></numbercontrol>
      <stringcontrol name="c"><bounds rect="10,40,120,12"/><font name="fixed"/><center/></stringcontrol>
      <stringcontrol name="l"><bounds rect="10,55,55,12"/><font name="fixed"/></stringcontrol>
      <stringcontrol name="lk"><bounds rect="70,55,60,12"/><font name="fixed"/><link underlineoffset="11"/></stringcontrol>
      <stringcontrol name="mc"><bounds rect="10,70,120,24"/><font name="fixed"/><multiline spacing="12"/><center/></stringcontrol>
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

TEST_F(WindowDraw, FieldsShowTheirFocusGlowModifierTagAndCentredTexts) {
    constexpr uint32_t kBlack = 0xFF000000, kWhite = 0xFFFFFFFF, kGreen = 0xFF00C000, kRed = 0xFFC00000;
    writeFile(dir.path() / "glow.png", pngBytes(6, 6, std::vector<uint32_t>(36, kGreen)));
    writeFile(dir.path() / "tag.png", pngBytes(6, 6, std::vector<uint32_t>(36, kRed)));
    loadWindowRuleset(kFieldRuleset);
    for (const char* font : {"defaultnumbercontrol", "fixed", "tagfont"}) addFixedFont(font);
    ui::Window* w = desk.OpenWindow(*ui::findWindowClass("fields"), "00001");
    ASSERT_EQ(w->rect, (render::Rect{10, 10, 150, 110}));
    auto& a = static_cast<ui::NumberControl&>(*w->FindControl("a"));
    auto& b = static_cast<ui::NumberControl&>(*w->FindControl("b"));
    static_cast<ui::NumberControl&>(*w->FindControl("m")).value().set(3);
    a.value().set(5);
    auto text = [&](const char* name) -> ui::StringControl& {
        return static_cast<ui::StringControl&>(*w->FindControl(name));
    };
    for (const char* name : {"c", "l", "lk"}) text(name).value().set("ab");
    text("mc").value().set("ab\rabcd");

    // The field with the keyboard glows, grown by the pad (a: 20..50 x
    // 20..36 on the screen); its number stands centred over the glow, one
    // pixel low. The focus frames that are only read draw nothing.
    db::setSessionMode(db::SessionMode::Host);
    a.TakeFocus();
    ASSERT_EQ(ui::KeyboardFocus(), &a);
    auto px = frame();
    EXPECT_TRUE(near(at(px, 18, 28), kGreen, 2));
    EXPECT_TRUE(near(at(px, 35, 19), kGreen, 2));
    EXPECT_TRUE(near(at(px, 16, 28), kBlack, 2));
    EXPECT_TRUE(near(at(px, 34, 25), kWhite, 2));  // "5": 31..38 x 24..34
    EXPECT_TRUE(near(at(px, 34, 23), kGreen, 2));
    EXPECT_TRUE(near(at(px, 68, 28), kBlack, 2));  // b has no keyboard
    // A modifier's hand-set base: "+3" centred on m's top right corner
    // (140, 20), over the tag frame two pixels wider and 8 high.
    EXPECT_TRUE(near(at(px, 131, 18), kRed, 2));
    EXPECT_TRUE(near(at(px, 148, 18), kRed, 2));
    EXPECT_TRUE(near(at(px, 140, 18), kWhite, 2));
    EXPECT_TRUE(near(at(px, 130, 18), kBlack, 2));
    EXPECT_TRUE(near(at(px, 140, 24), kWhite, 2));  // the text is taller than the tag
    // Texts in their FONT: "ab" (14 wide) centred in 20..140 starts at 73,
    // a plain one at the left; each line of a centred block is centred by
    // itself.
    EXPECT_TRUE(near(at(px, 74, 56), kWhite, 2));
    EXPECT_TRUE(near(at(px, 72, 56), kBlack, 2));
    EXPECT_TRUE(near(at(px, 87, 56), kBlack, 2));
    EXPECT_TRUE(near(at(px, 21, 71), kWhite, 2));
    EXPECT_TRUE(near(at(px, 74, 71), kBlack, 2));
    EXPECT_TRUE(near(at(px, 67, 85), kBlack, 2));
    EXPECT_TRUE(near(at(px, 74, 85), kWhite, 2));
    EXPECT_TRUE(near(at(px, 67, 97), kWhite, 2));
    // A link gets its underline, in the text's colour, only under the mouse.
    auto lit = [&px](int x, int y) { return near(at(px, x, y), kWhite, 2) || near(at(px, x, y + 1), kWhite, 2); };
    EXPECT_FALSE(lit(85, 76));
    desk.MouseMove(0, 115, 70);
    px = frame();
    EXPECT_TRUE(lit(85, 76));  // "ab" stands at 66..76, the line 11 below its top
    EXPECT_FALSE(lit(95, 76));

    // The caret of the field with the keyboard, in the text's colour, at
    // the left edge of an empty text.
    text("l").value().set("");
    text("l").TakeFocus();
    px = frame();
    EXPECT_TRUE(near(at(px, 18, 28), kBlack, 2));  // a lost the keyboard and its glow
    EXPECT_TRUE(near(at(px, 19, 70), kWhite, 2) || near(at(px, 20, 70), kWhite, 2));
    EXPECT_TRUE(near(at(px, 22, 70), kBlack, 2));

    // While a number is carried, every field that takes a drop glows, with
    // or without the keyboard.
    ui::SetKeyboardFocus(nullptr);
    ui::DragPayload carried;
    carried.kind = ui::kDragNumber;
    desk.BeginDrag(b, carried);
    px = frame();
    EXPECT_TRUE(near(at(px, 18, 28), kGreen, 2));
    EXPECT_TRUE(near(at(px, 68, 28), kBlack, 2));  // b takes no drop
    desk.dragPayload = {};  // put down
    px = frame();
    EXPECT_TRUE(near(at(px, 18, 28), kBlack, 2));
}

}  // namespace
}  // namespace lh::test
