// The window tests' Ruleset and test control.
#include "DesktopFixture.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "db/IntValue.h"
#include "db/SessionMode.h"
#include "db/XmlParse.h"
#include "render/Bitmap.h"
#include "render/RenderContext.h"
#include "ui/GlyphFile.h"
#include "ui/ControlFactory.h"
#include "ui/RulesetData.h"
#include "ui/RulesetLoader.h"
#include "ui/RulesetXml.h"
#include "ui/Window.h"

namespace lh::test {

void TestBox::Parse(db::XmlElement& element, db::DbNode* record) {
    ui::readText(element, "NAME", name);
    ui::readInt(element, "HEIGHT", contentHeight);
    std::string text;
    if (ui::readText(element, "COLOR", text)) color = uint32_t(std::stoul(text, nullptr, 16));
    ui::forEachChild(element, [&](std::unique_ptr<db::XmlElement> child, const std::string&) {
        ParseCommonChild(*child);
    });
    Bind(record, db::NodeKind::intValue);
}

void TestBox::Draw(render::RenderContext& context, const render::Rect& clip) {
    DrawControlFrame(context, clip);
    int32_t x, y;
    GetOrigin(x, y);
    render::Rect r = render::intersect({x, y, x + rect.width(), y + rect.height()}, clip);
    if (!r.isEmpty()) context.DrawRect(r.left, r.top, r.right, r.bottom, color, true);
}

void TestBox::Measure(ui::Size& size, int32_t width) {
    if (isAbsolute) return Control::Measure(size, width);
    size = {width, contentHeight};
}

int TestBox::MouseButton(int message, uint32_t, uint32_t) {
    if (message == ui::mouse::kLeftUp && mayEdit()) {
        auto* v = BoundValue<db::IntValue>();
        v->set(v->base() + 1);
        v->publish(false);
        Invalidate();
    }
    return ui::kTakeCapture;
}

void TestBox::KeyEvent(int message, int code, int) {
    ++keys;
    if (message == ui::kKeyDownMessage && code == 0x09) TabToNeighbour(false);
}

int32_t TestBox::value() { return BoundValue<db::IntValue>()->base(); }

void registerTestControls() {
    static bool done = false;
    if (done) return;
    done = true;
    ui::registerControlTag("TESTBOX", [](ui::Window& w) -> std::unique_ptr<ui::Control> {
        return std::make_unique<TestBox>(w);
    });
}

const char* const kWindowRuleset = R"(<root>
  <framedef name="plain"><bitmap file="none.png"/></framedef>
  <windowclass name="sheet">
    <frame name="plain"/><datasource name="sheets"/><sharable/><minimize icon="mini"/>
    <defaultsize width="300" height="200"/>
    <sheetdata>
      <testbox name="hp" color="0000ff"><bounds rect="10,10,50,20"/><tabtarget next="mp"/></testbox>
      <testbox name="mp" color="00ff00"><bounds rect="10,-30,-10,20"/></testbox>
      <testbox name="hp" color="ff0000"><bounds rect="-60,10,50,20"/><frame name="plain" offset="5,5,5,5"/></testbox>
      <staticgraphic><icon name="pic"/><bounds rect="100,40,16,16"/></staticgraphic>
      <windowopencontrol name="link"><bounds rect="100,70,20,20"/><icon normal="open" pressed="openpressed"/>
        <class name="notes"/><closetoggle/></windowopencontrol>
      <mysterytag name="skipped"/>
    </sheetdata>
  </windowclass>
  <windowclass name="party">
    <datasource name="party"/><sharable/><playercontrol/><defaultsize width="200" height="150"/>
    <sheetdata><testbox name="gold"><bounds rect="0,0,-1,-1"/></testbox></sheetdata>
  </windowclass>
  <windowclass name="notes">
    <datasource name="notes"/><softclose/><minimize icon="mini"/><defaultsize width="200" height="120"/>
    <defaultposition x="40" y="30"/>
  </windowclass>
  <windowclass name="keeper"><datasource name="keepers"/><nodelete/><defaultsize width="100" height="100"/></windowclass>
  <windowclass name="flow">
    <defaultsize width="200" height="300"/>
    <sheetdata>
      <testbox name="head"><bounds rect="0,0,-1,30"/></testbox>
      <testbox name="foot"><bounds rect="0,-20,-1,15"/></testbox>
      <testbox name="a" height="10"><bounds hpos="5,50" vmargin="2,3"/></testbox>
      <testbox name="b" height="20"><bounds hpos="60,50" vmargin="0,0"/></testbox>
      <group id="g1">
        <testbox name="c" height="8"><bounds hpos="0,-10" vmargin="1,1"/></testbox>
        <group id="g2"><testbox name="d" height="5"/></group>
        <testbox name="e" height="7"/>
      </group>
      <testbox name="big" height="400"/>
    </sheetdata>
  </windowclass>
  <windowclass name="fit">
    <sheetdata>
      <testbox name="x"><bounds rect="10,10,150,40"/></testbox>
      <testbox name="y"><bounds rect="-30,5,20,20"/></testbox>
      <testbox name="z"><bounds rect="5,-25,100,20"/></testbox>
      <testbox name="f" height="300"/>
    </sheetdata>
  </windowclass>
  <windowclass name="huge">
    <sheetdata>
      <testbox name="w"><bounds rect="0,0,2000,10" hpos="0,5"/></testbox>
      <testbox name="tall" height="5000"/>
    </sheetdata>
  </windowclass>
  <windowclass name="order1"><defaultsize width="200" height="200"/><minimumsize width="300" height="300"/></windowclass>
  <windowclass name="order2"><minimumsize width="300" height="300"/><defaultsize width="200" height="200"/></windowclass>
  <windowclass name="page1"><sheetdata><testbox name="p1" height="50"/></sheetdata></windowclass>
  <windowclass name="page2"><sheetdata><testbox name="p2" height="250"/></sheetdata></windowclass>
  <windowclass name="page3"><sheetdata><testbox name="p3" height="20"/></sheetdata></windowclass>
  <windowclass name="tabbed">
    <datasource name="tabbed"/><defaultsize width="220" height="120"/>
    <sheetdata>
      <subwindow name="one"><class name="page1"/><activate/></subwindow>
      <subwindow name="two"><class name="page2"/></subwindow>
      <subwindow name="three"><class name="page3"/></subwindow>
      <subwindow name="self"><class name="tabbed"/></subwindow>
      <windowchangecontrol><bounds rect="-40,0,20,20"/><target name="two"/></windowchangecontrol>
    </sheetdata>
  </windowclass>
  <windowclass name="grows">
    <sheetdata>
      <testbox name="top"><bounds rect="0,0,120,20"/></testbox>
      <subwindow name="one"><class name="page2"/><activate/></subwindow>
    </sheetdata>
  </windowclass>
  <windowclass name="stretchy">
    <defaultsize width="200" height="150"/><dynamic resize="vertical" minvmargin="40,10"/>
    <sheetdata><testbox name="s" height="5"/></sheetdata>
  </windowclass>
  <windowclass name="stretchboth"><defaultsize width="200" height="150"/><maximumsize width="260" height="400"/><dynamic/></windowclass>
  <windowclass name="hostsized"><defaultsize width="200" height="150"/><dynamic control="host"/></windowclass>
  <windowclass name="dmshortcuts">
    <desktopwindow/><defaultsize width="200" height="100"/><defaultposition x="-210" y="-110"/>
    <sheetdata>
      <windowopencontrol name="open"><bounds rect="0,0,20,20"/><class name="sheet"/><datasource name="00007"/>
        <shortcut key="s" modifier="Control"/></windowopencontrol>
      <windowopencontrol name="make"><bounds rect="20,0,20,20"/><class name="sheet"/><newrecord/></windowopencontrol>
      <windowopencontrol name="alt"><bounds rect="40,0,20,20"/><class name="notes"/><datasource name="n1"/>
        <altclass name="party"/><shortcut key="n"/></windowopencontrol>
    </sheetdata>
  </windowclass>
</root>)";

void loadWindowRuleset(const char* xml) {
    registerTestControls();
    ui::clearRuleset();
    auto addIcon = [](const char* name, uint32_t size, uint32_t argb) {
        auto b = std::make_unique<render::Bitmap>();
        std::vector<uint32_t> px(size_t(size) * size, argb);
        b->LoadFromPixels(size, size, px.data());
        ui::ruleset().icons[name] = std::move(b);
    };
    addIcon("mini", 32, 0xFF00FFFF);
    addIcon("minimized_glow", 48, 0xFFFFFF00);
    addIcon("open", 20, 0xFF808080);
    addIcon("openpressed", 20, 0xFF404040);
    addIcon("pic", 16, 0xFFFF00FF);
    ui::LoadRulesetFile(db::parseXmlText(xml, "windows test"), db::SessionMode::Host);
}

void addFixedFont(const char* name) {
    ui::GlyphSet set;
    for (int c = 32; c < 256; ++c) {
        set.glyphs[size_t(c)].width = 7;
        set.glyphs[size_t(c)].height = 10;
        set.glyphs[size_t(c)].alpha.assign(70, 255);
        set.present[size_t(c)] = true;
    }
    std::vector<uint8_t> bytes = ui::writeGlyphFile(set);
    auto font = std::make_unique<ui::RulesetFont>();
    if (!font->LoadGlyphs(bytes.data(), bytes.size(), 0xFFFFFFFF)) ADD_FAILURE() << "the fixed font does not load";
    ui::ruleset().fonts[name] = std::move(font);
}

}  // namespace lh::test
