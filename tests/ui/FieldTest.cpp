// Number and string fields at work through the Desktop's routing: typing
// with the one-second rule and the pending minus, the wheel and drops at
// their limits, sources with value maps and dotted names, rights, the text
// editor's moves, wraps and line modes, values published once when the
// keyboard moves on, the clipboard, links; and drags: their pictures, their
// dirty area, drops on the bare Desktop, tokens lying there, and a drag
// whose source dies.
#include <gtest/gtest.h>

#include <climits>
#include <map>

#include "DesktopFixture.h"
#include "support/TestSupport.h"
#include "db/DbContext.h"
#include "db/DbNode.h"
#include "db/IntValue.h"
#include "db/SessionMode.h"
#include "db/StringValue.h"
#include "db/Users.h"
#include "platform/Clock.h"
#include "platform/Clipboard.h"
#include "platform/Paths.h"
#include "render/GraphicsDevice.h"
#include "render/RecordingRenderContext.h"
#include "ui/Desktop.h"
#include "ui/DesktopHooks.h"
#include "ui/DesktopToken.h"
#include "ui/DragImage.h"
#include "ui/InputState.h"
#include "ui/MenuModel.h"
#include "ui/NumberControl.h"
#include "ui/ResourceFile.h"
#include "ui/RulesetData.h"
#include "ui/RulesetLoader.h"
#include "ui/StringControl.h"
#include "ui/TextEditor.h"
#include "ui/Window.h"

namespace lh::test {
namespace {

using namespace ui::mouse;
using ui::NumberControl;
using ui::StringControl;
using ui::Window;

const char* kFieldRuleset = R"(<root>
  <windowclass name="sheet">
    <datasource name="sheets"/><minimize icon="mini"/><defaultsize width="300" height="200"/>
    <sheetdata>
      <numbercontrol name="score"><bounds rect="10,10,40,20"/><limits minimum="0" maximum="25"/>
        <description field="title"/><tabtarget next="title"/></numbercontrol>
      <numbercontrol name="bonus"><bounds rect="60,10,40,20"/><value type="readonly"/>
        <source name="score" valuemap="1:-5,2:-4,1234567890:1"/><nodrop/><nokeyedit/></numbercontrol>
      <numbercontrol name="total"><bounds rect="110,10,40,20"/><value type="modifier"/>
        <source name="score"/><source name="bonus" op="*"/><dropoperation op="+"/><noreset/>
        <displaysign/><hideonvalue value="0"/></numbercontrol>
      <numbercontrol name="score"><bounds rect="160,10,40,20"/><dropoperation op="-"/><nodrag/></numbercontrol>
      <numbercontrol name="hidden"><invisible/><source name="score"/><source name="score"/></numbercontrol>
      <stringcontrol name="title"><bounds rect="10,40,200,20"/><empty value="Nameless"/>
        <tabtarget next="score" prev="score"/></stringcontrol>
      <stringcontrol name="notes"><bounds rect="10,70,200,60"/><multiline spacing="10"/></stringcontrol>
      <stringcontrol name="label"><bounds rect="10,140,100,30"/><multiline spacing="10"/><static value="one#0dtwo"/></stringcontrol>
      <stringcontrol name="link"><bounds rect="120,140,80,20"/><link handler="opener"/></stringcontrol>
      <windowopencontrol name="opener"><bounds rect="210,140,20,20"/><icon normal="open"/><class name="other"/></windowopencontrol>
      <stringcontrol name="line"><bounds rect="10,175,200,20"/><multiline/></stringcontrol>
    </sheetdata>
  </windowclass>
  <windowclass name="item">
    <datasource name="gear"/><defaultsize width="100" height="40"/>
    <sheetdata>
      <numbercontrol name="weight"><bounds rect="0,0,40,20"/><source name=".score"/><source name="..cap" op="-"/></numbercontrol>
    </sheetdata>
  </windowclass>
  <windowclass name="other"><datasource name="others"/><minimize icon="mini"/><defaultsize width="100" height="80"/></windowclass>
  <windowclass name="fixed"><datasource name="others"/><defaultsize width="100" height="80"/></windowclass>
</root>)";

// Counts the values published, by path.
struct CountingSink : db::ReplicationSink {
    std::map<std::string, int> published;
    void publishNode(db::DbNode& node) override { ++published[node.pathOf()]; }
    void nodeDeleted(const std::string&) override {}
};

class Fields : public ::testing::Test {
protected:
    void SetUp() override {
        db::clearTree();
        db::setSessionMode(db::SessionMode::Host);
        loadWindowRuleset(kFieldRuleset);
        addFixedFont("diemod");
        addFixedFont("defaultstringcontrol");
        ui::setFallbackKeyboardTarget(&chat);
        db::dbContext().sink = &sink;
        platform::useManualClock(5000);
        ui::setModifierKeys(0);
        sheet = desk->OpenWindow(*ui::findWindowClass("sheet"), "00001");
        bareDrops = ui::desktopSignals().desktopDrop.subscribe(
            [this](int32_t x, int32_t y, uint32_t flags, ui::DesktopObject& source) {
                return ui::dropOnBareDesktop(*desk, flags, x, y, &source);
            });
    }
    void TearDown() override {
        ui::clearDesktopTokens();
        desk.reset();
        db::dbContext().sink = nullptr;
        ui::setFallbackKeyboardTarget(nullptr);
        ui::SetKeyboardFocus(nullptr);
        ui::setModifierKeys(0);
        platform::useRealClock();
        db::setSessionMode(db::SessionMode::Host);
        db::clearTree();
        ui::clearRuleset();
    }
    template <class T>
    T& control(size_t index) {
        return static_cast<T&>(*sheet->ControlAt(index));
    }
    NumberControl& number(size_t index) { return control<NumberControl>(index); }
    StringControl& text(size_t index) { return control<StringControl>(index); }
    void centre(ui::Control& c, int32_t& x, int32_t& y) {
        c.GetOrigin(x, y);
        x += c.rect.width() / 2;
        y += c.rect.height() / 2;
    }
    void click(ui::Control& c, int button = kLeftDown, uint32_t flags = 0) {
        int32_t x, y;
        centre(c, x, y);
        desk->MousePress(button, (button == kLeftDown ? kLeft : kMiddle) | flags, x, y);
        desk->MouseRelease(button + 1, flags, x, y);
    }
    void type(const std::string& keys) {
        for (char c : keys) desk->Char(static_cast<unsigned char>(c), 0);
    }
    // A left drag from one control to another, through the routing.
    void dragOnto(ui::Control& from, ui::Control& to, uint32_t flags = 0) {
        int32_t x, y, tx, ty;
        centre(from, x, y);
        centre(to, tx, ty);
        desk->MousePress(kLeftDown, kLeft | flags, x, y);
        desk->MouseMove(kLeft | flags, x + 5, y + 5);
        desk->MouseMove(kLeft | flags, tx, ty);
        desk->MouseRelease(kLeftUp, flags, tx, ty);
    }
    int32_t field(const char* name) { return db::findNode(std::string("sheets.00001.") + name)->valueAs<db::IntValue>()->effective(); }

    FallbackTarget chat;
    CountingSink sink;
    std::unique_ptr<ui::Desktop> desk = std::make_unique<ui::Desktop>();
    Window* sheet = nullptr;
    platform::Subscription bareDrops;
};

TEST_F(Fields, TypingFollowsTheOneSecondRuleAndThePendingMinus) {
    NumberControl& score = number(0);
    struct Step {
        const char* keys;
        uint64_t pauseBefore;
        int32_t shown;
    };
    struct Case {
        const char* what;
        int32_t start;
        std::vector<Step> steps;
    } cases[] = {
        {"123 within a second", 0, {{"123", 0, 123}}},
        {"a pause before the 3", 0, {{"12", 0, 12}, {"3", 1000, 3}}},
        {"just under a second", 0, {{"12", 0, 12}, {"3", 999, 123}}},
        {"- then 5 on 0", 0, {{"-", 0, 0}, {"5", 0, -5}}},
        {"- then a pause then 5 on 0", 0, {{"-", 0, 0}, {"5", 4000, -5}}},
        {"- on 7", 7, {{"-", 0, -7}, {"2", 0, -72}}},
        {"digits cannot overflow", 0, {{"99999999999", 0, INT_MAX}, {"-", 0, -INT_MAX}, {"9", 0, INT_MIN}}},
    };
    for (const Case& c : cases) {
        score.value().set(c.start);
        click(score);
        ASSERT_EQ(ui::KeyboardFocus(), &score) << c.what;
        for (const Step& s : c.steps) {
            platform::advanceClock(s.pauseBefore);
            type(s.keys);
            EXPECT_EQ(score.value().effective(), s.shown) << c.what << " after " << s.keys;
        }
        platform::advanceClock(2000);
    }
    // The pending minus shows on the zero; typing is not limited.
    score.value().set(0);
    click(score);
    type("-");
    EXPECT_EQ(score.shownText(), "-0");
    type("30");
    EXPECT_EQ(field("score"), -30);

    // Typing on a value with sources: the base takes the difference.
    NumberControl& total = number(2);
    total.value().set(0);
    score.value().set(4);
    EXPECT_EQ(total.value().effective(), 4 * 4);
    total.TakeFocus();
    type("9");
    EXPECT_EQ(total.value().effective(), 9);
    EXPECT_EQ(total.value().base(), 9 - 16);

    // Anything else starts a chat line, and the chat gets the character.
    int before = chat.keys;
    type("x");
    EXPECT_EQ(ui::KeyboardFocus(), &chat);
    EXPECT_EQ(chat.keys, before + 1);
    EXPECT_EQ(total.value().effective(), 9);
}

TEST_F(Fields, WheelDragResetAndDropsKeepTheirLimitsAndRules) {
    NumberControl& score = number(0);
    NumberControl& total = number(2);
    NumberControl& scoreToo = number(3);
    int32_t x, y;
    centre(score, x, y);
    // The wheel stops at the limits and sends at once.
    desk->MouseWheel(3, x, y);
    EXPECT_EQ(field("score"), 3);
    desk->MouseWheel(-10, x, y);
    EXPECT_EQ(field("score"), 0);
    desk->MouseWheel(40, x, y);
    EXPECT_EQ(field("score"), 25);
    EXPECT_EQ(sink.published["sheets.00001.score"], 3);
    // Two controls on one name show one value.
    EXPECT_EQ(scoreToo.value().effective(), 25);

    // A middle drag: 20 pixels a step, upwards counts up; sent at the end.
    score.value().set(10);
    int sent = sink.published["sheets.00001.score"];
    desk->MousePress(kMiddleDown, kMiddle, x, y);
    desk->MouseMove(kMiddle, x, y - 5);
    desk->MouseMove(kMiddle, x, y - 45);
    EXPECT_EQ(field("score"), 12);
    desk->MouseMove(kMiddle, x, y + 40);
    EXPECT_EQ(field("score"), 8);
    EXPECT_EQ(sink.published["sheets.00001.score"], sent);
    desk->MouseRelease(kMiddleUp, 0, x, y + 40);
    EXPECT_EQ(sink.published["sheets.00001.score"], sent + 1);

    // A middle click resets, unless NORESET.
    click(score, kMiddleDown);
    EXPECT_EQ(field("score"), 0);
    total.value().set(6);
    click(total, kMiddleDown);
    EXPECT_EQ(total.value().base(), 6);

    // Drops: "+" adds, "-" subtracts, anything else replaces; control
    // negates; limits hold; a NODROP field takes nothing.
    score.value().set(3);
    total.value().set(4);
    dragOnto(score, total);
    EXPECT_EQ(total.value().base(), 7);
    dragOnto(score, total, kControl);
    EXPECT_EQ(total.value().base(), 4);
    scoreToo.value().set(20);
    dragOnto(total, scoreToo);  // "-", and this control has no limits
    EXPECT_EQ(field("score"), 20 - (4 + 20 * 20));
    score.value().set(0);
    dragOnto(total, score);  // replaces: 4 + 0
    EXPECT_EQ(field("score"), 4);
    dragOnto(total, score, kControl);  // -(4 + 4 * 4) stops at the minimum
    EXPECT_EQ(field("score"), 0);
    NumberControl& bonus = number(1);
    int32_t bonusBefore = bonus.value().effective();
    dragOnto(total, bonus);
    EXPECT_EQ(bonus.value().effective(), bonusBefore);
    // A NODRAG field carries nothing away.
    ui::DragPayload p;
    EXPECT_EQ(scoreToo.GetDragData(p), 0);
    EXPECT_EQ(score.GetDragData(p), 1);
    EXPECT_EQ(p.kind, ui::kDragNumber);
    EXPECT_EQ(p.sourcePath, "sheets.00001.score");
}

TEST_F(Fields, SourcesMapChainAndClimbByDots) {
    NumberControl& score = number(0);
    NumberControl& bonus = number(1);
    NumberControl& total = number(2);
    NumberControl& hidden = number(4);
    struct Row {
        int32_t score, bonus, total;
    } rows[] = {{1, -5, 1 * -5}, {2, -4, 2 * -4}, {3, 3, 3 * 3}, {0, 0, 0}};  // score, then times bonus
    for (const Row& r : rows) {
        score.value().set(r.score);
        EXPECT_EQ(bonus.value().effective(), r.bonus) << r.score;
        EXPECT_EQ(total.value().effective(), r.total) << r.score;
    }
    // A readonly value ignores every write; a hidden one takes no room but
    // goes on counting, its source once however often it is named.
    bonus.value().set(50);
    EXPECT_EQ(bonus.value().base(), 0);
    EXPECT_TRUE(hidden.rect.isEmpty());
    score.value().set(6);
    EXPECT_EQ(hidden.value().effective(), 6);

    // Shown texts: the sign, and nothing at the hidden value.
    EXPECT_EQ(total.shownText(), "+36");
    score.value().set(0);
    EXPECT_EQ(total.shownText(), "");

    // ".score" climbs from an item of a list (sheets.00001.gear.i1) to the
    // sheet; "..cap" two levels more, to the top; a missing field is made
    // as a number.
    auto item = std::make_unique<Window>(*desk, *ui::findWindowClass("item"), "i1");
    item->Open(db::findNode("sheets.00001"), false);
    auto& weight = static_cast<NumberControl&>(*item->ControlAt(0));
    score.value().set(9);
    EXPECT_EQ(weight.value().effective(), 9);
    db::DbNode* cap = db::findNode("cap");
    ASSERT_NE(cap, nullptr);
    cap->valueAs<db::IntValue>()->set(4);
    EXPECT_EQ(weight.value().effective(), 5);
}

TEST_F(Fields, NumbersAreSentOnceWhenTheKeyboardMovesOnAndOnlyWithTheRight) {
    NumberControl& score = number(0);
    click(score);
    type("12");
    EXPECT_EQ(sink.published["sheets.00001.score"], 0);
    ui::SetKeyboardFocus(&chat);
    EXPECT_EQ(sink.published["sheets.00001.score"], 1);
    EXPECT_EQ(field("score"), 12);

    // Tab goes on along TABTARGET, and sends as it leaves.
    click(score);
    type("\t");
    EXPECT_EQ(ui::KeyboardFocus(), &text(5));
    EXPECT_EQ(sink.published["sheets.00001.score"], 2);

    // A player on a record of someone else's: no focus, no change, no drop.
    ui::SetKeyboardFocus(&chat);
    db::setSessionMode(db::SessionMode::Join);
    sheet->record->setOwner(nullptr);
    sink.published.clear();
    click(score);
    EXPECT_EQ(ui::KeyboardFocus(), &chat);
    type("7");
    int32_t x, y;
    centre(score, x, y);
    desk->MouseWheel(2, x, y);
    click(score, kMiddleDown);
    dragOnto(number(2), score);  // no drag: the window moves instead
    EXPECT_EQ(field("score"), 12);
    centre(score, x, y);
    click(text(5));
    type("abc");
    EXPECT_TRUE(db::findNode("sheets.00001.title")->valueAs<db::StringValue>()->isNull());
    EXPECT_TRUE(sink.published.empty());
    // The owner may.
    sheet->record->setOwner(&db::localUser());
    desk->MouseWheel(2, x, y);
    EXPECT_EQ(field("score"), 14);
}

// An editor measuring 7 pixels a character, as the tests' font does.
class FixedEditor : public ui::TextEditor {
public:
    std::string text;
    bool focused = true;
    std::string GetText() override { return text; }
    void SetText(const std::string& t) override { text = t; }
    void SetFocused(bool f) override { focused = f; }
    bool HasFocus() override { return focused; }
    int32_t TextWidth(const char*, int32_t length) const override { return 7 * length; }
    int32_t FontHeight() const override { return 10; }
};

TEST(TextEditorTable, MovesWrapsAndLineModes) {
    ui::setModifierKeys(0);
    FixedEditor e;
    e.lineSpacing = 10;
    e.textRect = {0, 0, 70, 40};  // ten characters a line
    // Wrap points: before the word that passes the width; at carriage
    // returns; a word wider than a line is cut where it passes.
    struct Wrap {
        const char* text;
        std::vector<int32_t> starts;
    } wraps[] = {
        {"", {0}},
        {"one two three", {0, 8}},
        {"abcdefghijklmnopqrstuvwxyz", {0, 10, 20}},
        {"ab\rcd\r", {0, 3, 6}},
        {"hello     world", {0, 10}},
        {"a bcdefghijklmno", {0, 2, 12}},
    };
    for (const Wrap& w : wraps) EXPECT_EQ(e.LinesFor(w.text, 70), w.starts) << w.text;
    EXPECT_EQ(e.LinesFor("x", 0), std::vector<int32_t>({0}));  // no room: no loop

    namespace K = ui::keys;
    auto key = [&](int code) { e.EditorKey(ui::kKeyDownMessage, code); };
    auto chr = [&](int code) { e.EditorKey(ui::kCharMessage, code); };
    e.text = "one two three\rfour";
    e.caret = 5;
    struct Move {
        int code;
        bool control;
        int32_t caret;
    } moves[] = {
        {K::kHome, false, 0},  {K::kEnd, false, 7},    {K::kRight, true, 13},  {K::kRight, false, 14}, {K::kRight, true, 18},
        {K::kLeft, true, 14},  {K::kLeft, true, 8},    {K::kLeft, false, 7},   {K::kUp, false, 7},     {K::kDown, false, 13},
        {K::kDown, false, 18}, {K::kDown, false, 18},  {K::kUp, false, 13},    {K::kUp, false, 7},     {K::kHome, false, 0},
    };
    for (const Move& m : moves) {
        ui::setModifierKeys(m.control ? ui::kModControl : 0);
        key(m.code);
        EXPECT_EQ(e.caret, m.caret) << "key " << m.code;
    }
    ui::setModifierKeys(0);
    // Up and down keep the column they started in; other keys forget it.
    e.caret = 12;  // "thre|e", column 4 of the second line
    key(K::kDown);
    EXPECT_EQ(e.caret, 18);  // "four" is shorter: its end
    key(K::kUp);
    EXPECT_EQ(e.caret, 12);
    key(K::kRight);
    EXPECT_EQ(e.preferredX, -1);

    // Edits: delete, backspace, line feed ignored, Return by line mode.
    e.caret = 0;
    key(K::kDelete);
    EXPECT_EQ(e.text, "ne two three\rfour");
    chr(K::kBack);
    EXPECT_EQ(e.text, "ne two three\rfour");
    e.caret = 2;
    chr(K::kBack);
    chr('\n');
    chr(K::kReturn);
    EXPECT_EQ(e.text, "n\r two three\rfour");
    EXPECT_TRUE(e.focused);
    e.lineSpacing = 0;
    chr(K::kReturn);
    EXPECT_FALSE(e.focused);
    EXPECT_EQ(e.text, "n\r two three\rfour");
    e.text = "abc";
    e.caret = 3;
    key(K::kHome);
    EXPECT_EQ(e.caret, 0);
    key(K::kEnd);
    EXPECT_EQ(e.caret, 3);
    key(K::kDown);
    EXPECT_EQ(e.caret, 3);
    chr(0x1B);  // other control characters have no place in a text
    chr(0xE9);
    EXPECT_EQ(e.text, "abc\xE9");

    // Points: a line from y, the end before a final blank, 0 above.
    e.lineSpacing = 10;
    e.text = "one two three";
    EXPECT_EQ(e.IndexAtPoint(e.text, 15, 2), 2);
    EXPECT_EQ(e.IndexAtPoint(e.text, 69, 2), 7);
    EXPECT_EQ(e.IndexAtPoint(e.text, 8, 13), 9);
    EXPECT_EQ(e.IndexAtPoint(e.text, 300, 300), 13);
    EXPECT_EQ(e.IndexAtPoint(e.text, 30, -5), 0);
}

TEST_F(Fields, StringFieldsEditSendOnceAndShowTheirStaticAndEmptyTexts) {
    StringControl& title = text(5);
    StringControl& notes = text(6);
    StringControl& label = text(7);
    EXPECT_EQ(title.GetText(), "Nameless");
    click(title);
    EXPECT_EQ(title.GetText(), "");  // the placeholder goes with the focus
    type("Ann #2");
    EXPECT_EQ(title.value().text(), "Ann #2");
    EXPECT_EQ(sink.published["sheets.00001.title"], 0);
    desk->KeyDown(0, ui::keys::kLeft, 0);
    desk->KeyDown(0, ui::keys::kLeft, 0);
    type("x");
    EXPECT_EQ(title.value().text(), "Ann x#2");
    type("\r");  // a single line gives the keyboard back, and sends
    EXPECT_EQ(ui::KeyboardFocus(), &chat);
    EXPECT_EQ(sink.published["sheets.00001.title"], 1);

    click(notes);
    type("a\rb");
    EXPECT_EQ(notes.value().text(), "a\rb");
    type("\x1B");  // Escape
    EXPECT_EQ(ui::KeyboardFocus(), &chat);
    EXPECT_EQ(sink.published["sheets.00001.notes"], 1);
    // MULTILINE without SPACING stays one line: Return sends.
    click(text(10));
    type("c\rd");
    EXPECT_EQ(text(10).value().text(), "c");
    EXPECT_EQ(sink.published["sheets.00001.line"], 1);

    // "#0d" in a static text is a line end; a static text takes no click
    // and writes nothing into the record.
    EXPECT_EQ(label.GetText(), "one\rtwo");
    EXPECT_EQ(label.LinesFor(label.GetText(), 100).size(), 2u);
    click(label);
    EXPECT_EQ(ui::KeyboardFocus(), &chat);
    EXPECT_EQ(db::findNode("sheets.00001.label"), nullptr);

    // The clipboard: copy the whole text, paste at the caret (line feeds
    // become line ends, or blanks in a single line), cut.
    title.TakeFocus();
    ui::setModifierKeys(ui::kModControl);
    desk->KeyDown(2, 'C', 0);
    EXPECT_EQ(platform::clipboardText(), "Ann x#2");
    platform::setClipboardText("one\ntwo");
    desk->KeyDown(2, 'V', 0);
    EXPECT_EQ(title.value().text(), "Ann x#2one two");
    notes.TakeFocus();
    desk->KeyDown(2, 'V', 0);
    EXPECT_EQ(notes.value().text(), "a\rbone\rtwo");
    desk->KeyDown(2, 'X', 0);
    EXPECT_EQ(platform::clipboardText(), "a\nbone\ntwo");
    EXPECT_TRUE(notes.value().isNull());
    ui::setModifierKeys(0);

    // A window closing under a field with the keyboard sends what was
    // typed, and lays nothing out.
    notes.TakeFocus();
    type("last");
    int sent = sink.published["sheets.00001.notes"];
    sheet->Close(false);
    desk->CollectClosed();
    EXPECT_EQ(sink.published["sheets.00001.notes"], sent + 1);
    EXPECT_EQ(ui::KeyboardFocus(), &chat);
}

TEST_F(Fields, LinksPressTheirOpenerAndIdentitiesComeFromAControlClick) {
    StringControl& link = text(8);
    link.value().set("Sword");
    click(link);
    EXPECT_NE(desk->Find("other", "00001"), nullptr);
    EXPECT_EQ(ui::KeyboardFocus(), &chat);
    // The menu's Edit makes it a plain field until the focus leaves.
    auto menu = link.BuildMenu();
    ASSERT_NE(menu, nullptr);
    link.MenuSelected(ui::kMenuEditLink);
    EXPECT_EQ(ui::KeyboardFocus(), &link);
    type("s");
    EXPECT_EQ(link.value().text(), "Swords");
    ui::SetKeyboardFocus(&chat);
    EXPECT_FALSE(link.linkEditing);

    std::vector<std::string> made;
    ui::setIdentityMaker([&](const std::string& name) {
        made.push_back(name);
        return true;
    });
    link.createsIdentity = true;
    link.isLink = false;
    click(link, kLeftDown, kControl);
    EXPECT_EQ(made, std::vector<std::string>{"Swords"});
    ui::setIdentityMaker(nullptr);
}

TEST_F(Fields, DragPicturesAndTheirDirtyArea) {
    ui::DragPayload p;
    p.kind = ui::kDragText;
    struct Case {
        std::string text;
        const char* shown;
    } cases[] = {{"0123456789", "0123456789"}, {"0123456789A", "0123456789..."}, {"", "..."}, {"Hi", "Hi"}};
    for (const Case& c : cases) {
        p.text = c.text;
        EXPECT_EQ(ui::dragImageText(p, false), c.shown);
    }
    p.kind = ui::kDragNumber;
    p.number = 12;
    EXPECT_EQ(ui::dragImageText(p, false), "12");
    EXPECT_EQ(ui::dragImageText(p, true), "-12");
    p.number = INT_MIN;
    EXPECT_EQ(ui::dragImageText(p, true), "2147483648");
    p.number = -3;
    EXPECT_EQ(ui::dragImageRect(p, 100, 100, false), (render::Rect{93, 95, 107, 105}));
    p.kind = ui::kDragWindowLink;  // a link or a token shows its icon, centred
    p.icon = ui::findIcon("pic");
    EXPECT_EQ(ui::dragImageRect(p, 100, 100, false), (render::Rect{92, 92, 108, 108}));

    // Through the routing: the picture follows the mouse and dirties its
    // rectangle grown by 50; the cursor shows the carrying hand.
    // A field that can be dragged shows the open hand under the mouse,
    // the arrow again as it leaves; a NODRAG one changes nothing.
    NumberControl& score = number(0);
    score.value().set(42);
    int32_t x, y;
    centre(score, x, y);
    desk->MouseMove(0, x, y);
    EXPECT_EQ(ui::inputState().cursor, ui::cursor::kDraggable);
    centre(number(3), x, y);
    desk->MouseMove(0, x, y);
    EXPECT_EQ(ui::inputState().cursor, ui::cursor::kDefault);
    centre(score, x, y);
    desk->MouseMove(0, x, y);
    desk->MousePress(kLeftDown, kLeft, x, y);
    desk->MouseMove(kLeft, x + 5, y);
    EXPECT_EQ(ui::currentDragKind(*desk), ui::kDragNumber);
    EXPECT_EQ(ui::inputState().cursor, ui::cursor::kCarrying);
    render::GraphicsDevice::Get().ClearDirtyRect();
    desk->MouseMove(kLeft, 400, 300);
    EXPECT_EQ(ui::lastDragImageArea(), (render::Rect{393 - 50, 295 - 50, 407 + 50, 305 + 50}));
    // Drawn at the mouse, negated while control is held, on a dark plate
    // a little larger than the text so that it reads on any background.
    render::RecordingRenderContext drawn;
    ui::setModifierKeys(ui::kModControl);
    ui::drawDragImage(*desk, drawn);
    ui::setModifierKeys(0);
    ASSERT_EQ(drawn.calls.size(), 2u);
    EXPECT_EQ(drawn.calls[1].text, "-42");
    EXPECT_EQ(drawn.calls[1].x1, 400 - 21 / 2);
    EXPECT_TRUE(drawn.calls[0].kind == render::DrawCall::Rect && drawn.calls[0].filled);
    EXPECT_EQ(drawn.calls[0].x1, 400 - 21 / 2 - 3);
    EXPECT_EQ(drawn.calls[0].x2, 400 - 21 / 2 + 21 + 3);
    // A right press ends it with no drop.
    desk->MousePress(kRightDown, kLeft | kRight, 400, 300);
    EXPECT_EQ(ui::currentDragKind(*desk), ui::kDragNothing);
    EXPECT_EQ(ui::inputState().cursor, ui::cursor::kDefault);
    desk->MouseRelease(kRightUp, kLeft, 400, 300);
    desk->MouseRelease(kLeftUp, 0, 400, 300);
    desk->CloseMenu();
}

TEST_F(Fields, DropsOnTheBareDesktopOpenLinksAndLayTokens) {
    // A link dropped on the bare Desktop opens its window centred there;
    // dropped again it minimizes it; a class that cannot minimize stays.
    ui::DragPayload link;
    link.kind = ui::kDragWindowLink;
    link.className = "other";
    link.recordName = "00003";
    struct Source : ui::DesktopObject {
        ui::DragPayload payload;
        int GetDragData(ui::DragPayload& p) override {
            p = payload;
            return 1;
        }
    } source;
    source.payload = link;
    ui::dropOnBareDesktop(*desk, 0, 600, 500, &source);
    Window* other = desk->Find("other", "00003");
    ASSERT_NE(other, nullptr);
    EXPECT_EQ(other->rect, (render::Rect{550, 460, 650, 540}));
    ui::dropOnBareDesktop(*desk, 0, 700, 500, &source);
    EXPECT_TRUE(other->minimized);
    EXPECT_EQ(other->rect, (render::Rect{684, 484, 716, 516}));
    ui::dropOnBareDesktop(*desk, 0, 300, 300, &source);
    EXPECT_FALSE(other->minimized);
    source.payload.className = "fixed";
    ui::dropOnBareDesktop(*desk, 0, 300, 300, &source);
    Window* fixed = desk->Find("fixed", "00003");
    ASSERT_NE(fixed, nullptr);
    render::Rect before = fixed->rect;
    ui::dropOnBareDesktop(*desk, 0, 100, 100, &source);
    EXPECT_EQ(fixed->rect, before);
    source.payload.className = "nosuchclass";
    size_t open = desk->windows.size();
    ui::dropOnBareDesktop(*desk, 0, 100, 100, &source);
    source.payload.className.clear();
    ui::dropOnBareDesktop(*desk, 0, 100, 100, &source);
    EXPECT_EQ(desk->windows.size(), open);

    // A token becomes a DesktopToken with its shadow; picked up again, it
    // goes where it is dropped, and the old one is gone.
    render::Bitmap* pic = ui::findIcon("pic");
    source.payload = {};
    source.payload.kind = ui::kDragToken;
    source.payload.icon = pic;
    source.payload.tokenPath = "tokens\\goblin.png";
    ui::dropOnBareDesktop(*desk, 0, 40, 700, &source);
    ASSERT_EQ(ui::desktopTokens().size(), 1u);
    ui::DesktopToken* token = ui::desktopTokens()[0].get();
    EXPECT_EQ(token->rect, (render::Rect{32, 692, 48, 708}));
    EXPECT_EQ(desk->HitTestAll(40, 700), token);
    render::RecordingRenderContext drawn;  // a half-black shadow 1 right and 2 down, then the picture
    ui::drawDesktopTokens(drawn);
    ASSERT_EQ(drawn.calls.size(), 2u);
    EXPECT_EQ(drawn.calls[0].color, 0x7F000000u);
    EXPECT_EQ(drawn.calls[0].x1, 33);
    EXPECT_EQ(drawn.calls[0].y1, 694);
    EXPECT_EQ(drawn.calls[1].bitmap, pic);
    EXPECT_EQ(drawn.calls[1].x1, 32);
    desk->MousePress(kLeftDown, kLeft, 40, 700);
    desk->MouseMove(kLeft, 45, 700);
    EXPECT_TRUE(token->hidden);
    EXPECT_EQ(ui::currentDragKind(*desk), ui::kDragToken);
    desk->MouseMove(kLeft, 80, 650);
    desk->MouseRelease(kLeftUp, 0, 80, 650);
    ui::collectDesktopTokens();
    ASSERT_EQ(ui::desktopTokens().size(), 1u);
    EXPECT_EQ(ui::desktopTokens()[0]->rect, (render::Rect{72, 642, 88, 658}));
    EXPECT_EQ(ui::desktopTokens()[0]->tokenPath, "tokens\\goblin.png");
    EXPECT_EQ(desk->HitTestAll(40, 700), nullptr);
    // A cancelled pick-up leaves it lying.
    desk->MousePress(kLeftDown, kLeft, 80, 650);
    desk->MouseMove(kLeft, 90, 650);
    desk->MousePress(kRightDown, kLeft | kRight, 90, 650);
    desk->MouseRelease(kRightUp, kLeft, 90, 650);
    desk->MouseRelease(kLeftUp, 0, 90, 650);
    desk->CloseMenu();
    ui::collectDesktopTokens();
    ASSERT_EQ(ui::desktopTokens().size(), 1u);
    EXPECT_FALSE(ui::desktopTokens()[0]->hidden);
}

TEST_F(Fields, ADragWhoseSourceDiesIsCancelledAndItsTextsWereCopied) {
    NumberControl& score = number(0);
    score.value().set(5);
    StringControl& title = text(5);
    title.value().set("Strength");
    int32_t x, y;
    centre(score, x, y);
    desk->MousePress(kLeftDown, kLeft, x, y);
    desk->MouseMove(kLeft, x + 10, y);
    ASSERT_EQ(ui::currentDragKind(*desk), ui::kDragNumber);
    EXPECT_EQ(desk->dragPayload.description, "Strength");
    // The record goes from another machine: the window closes, the source
    // dies, and the drag with it.
    title.value().set("Gone");
    delete db::findNode("sheets.00001");
    desk->CollectClosed();
    EXPECT_EQ(ui::currentDragKind(*desk), ui::kDragNothing);
    EXPECT_EQ(desk->dragPayload.description, "Strength");  // a copy, still readable
    desk->MouseMove(kLeft, 500, 500);
    desk->MouseRelease(kLeftUp, 0, 500, 500);
    EXPECT_TRUE(ui::desktopTokens().empty());
}

// The default Ruleset's sheets at work: bonuses mapped from the scores, a
// total of six sources, a modifier over a bonus, limits, notes with their
// placeholder, and the link that opens the same hero's folio.
TEST(DefaultSheets, TheCharacterSheetAddsUpAndLinksAndTheNoteHasATitleAndText) {
    db::clearTree();
    db::setSessionMode(db::SessionMode::Host);
    ui::clearRuleset();
    TempDir elsewhere;  // nothing on disk to fall back on
    platform::setWorkingDirectory(elsewhere.path());
    ui::ResourceFile::setArchivePath(std::string(LOREHAVEN_BINARY_DIR) + "/resource.pak");
    ASSERT_NE(ui::LoadRuleset("Lorehaven", db::SessionMode::Host), nullptr);
    {
        ui::Desktop desk;
        Window* sheet = desk.OpenWindow(*ui::findWindowClass("charsheet"), "00001");
        ASSERT_NE(sheet, nullptr);
        auto number = [&](const char* name) -> db::IntValue& {
            auto* c = dynamic_cast<NumberControl*>(sheet->FindControl(name));
            EXPECT_NE(c, nullptr) << name;
            return c->value();
        };
        struct Row {
            int32_t score, bonus;
        } rows[] = {{1, -5}, {9, -1}, {10, 0}, {14, 2}, {25, 7}};
        for (const Row& r : rows) {
            number("might").set(r.score);
            EXPECT_EQ(number("might_mod").effective(), r.bonus) << r.score;
        }
        int32_t sum = 0, score = 8;
        for (const char* name : {"might", "agility", "endurance", "wits", "spirit", "presence"}) {
            number(name).set(score);
            sum += score++;
        }
        EXPECT_EQ(number("total").effective(), sum);
        EXPECT_EQ(number("total").mode, db::IntValue::readOnly);
        // Defence: the agility bonus (9: -1) and what the player adds.
        EXPECT_EQ(number("defence").mode, db::IntValue::modifier);
        number("defence").set(4);
        EXPECT_EQ(number("defence").effective(), 3);
        auto& might = static_cast<NumberControl&>(*sheet->FindControl("might"));
        EXPECT_TRUE(might.hasLimits && might.minimum == 0 && might.maximum == 25);
        auto& notes = static_cast<StringControl&>(*sheet->FindControl("notes"));
        EXPECT_TRUE(notes.multiLine());
        EXPECT_FALSE(notes.GetText().empty());  // the placeholder
        int32_t x, y;
        auto& link = *sheet->FindControl("foliolink");
        link.GetOrigin(x, y);
        desk.MousePress(kLeftDown, kLeft, x + 5, y + 5);
        desk.MouseRelease(kLeftUp, 0, x + 5, y + 5);
        EXPECT_NE(desk.Find("folio", "00001"), nullptr);

        Window* note = desk.OpenWindow(*ui::findWindowClass("notes"), "00001");
        ASSERT_NE(note, nullptr);
        auto* title = dynamic_cast<StringControl*>(note->FindControl("name"));
        auto* body = dynamic_cast<StringControl*>(note->FindControl("text"));
        ASSERT_TRUE(title && body);
        EXPECT_FALSE(title->multiLine());
        EXPECT_TRUE(body->multiLine());
        EXPECT_FALSE(body->emptyText.empty());
    }
    ui::ResourceFile::setArchivePath("resource.pak");
    ui::clearRuleset();
    db::clearTree();
}

}  // namespace
}  // namespace lh::test
