// The chat model as tables: wrapping, the measure of a line with label,
// attachment and text sharing the width, labels with and without a mood,
// the 50-line view with a scrolled-back position that stays put, and the
// chat's place in a client area of each height.
#include <gtest/gtest.h>

#include "ChatTestFont.h"
#include "chat/ChatLine.h"
#include "chat/ChatPlacement.h"
#include "ui/RulesetSettings.h"
#include "chat/ChatWindow.h"
#include "render/RecordingRenderContext.h"
#include "render/RenderContext.h"
#include "ui/Identities.h"

namespace lh::chat {
namespace {

// An attachment of a fixed size that notes the widths it was offered.
class Box final : public ui::ChatAttachment {
public:
    Box(int32_t w, int32_t h) : ui::ChatAttachment(kDieResult), width(w), height(h) {}
    void draw(render::RenderContext&, const render::Rect&, const render::Rect*) override {}
    void measure(ui::AttachmentSize& out, render::RenderContext&, int32_t available) override {
        offered.push_back(available);
        out = {width, height};
    }
    int32_t width, height;
    std::vector<int32_t> offered;
};

std::vector<std::string> wrapped(const FixedFont& font, const std::string& text, int32_t width) {
    std::vector<std::string> out;
    for (TextSpan s : wrapText(font, text, width)) out.push_back(text.substr(size_t(s.start), size_t(s.length)));
    return out;
}

TEST(ChatLayout, TextWrapsAtBlanksAndCutsLongWords) {
    FixedFont f;
    using Lines = std::vector<std::string>;
    EXPECT_EQ(wrapped(f, "hello world foo", 49), (Lines{"hello", "world", "foo"}));
    EXPECT_EQ(wrapped(f, "hello world", 200), (Lines{"hello world"}));
    EXPECT_EQ(wrapped(f, "abcdefghijkl", 35), (Lines{"abcde", "fghij", "kl"}));  // cut, not pushed down
    EXPECT_EQ(wrapped(f, "ab abcdefghijkl", 35), (Lines{"ab", "abcde", "fghij", "kl"}));
    EXPECT_EQ(wrapped(f, "a   b", 14), (Lines{"a ", "b"}));  // blanks after a break go
    EXPECT_EQ(wrapped(f, "abc", 0), (Lines{"a", "b", "c"}));   // no room still ends
    EXPECT_EQ(wrapped(f, "abc", -50), (Lines{"a", "b", "c"}));
    EXPECT_TRUE(wrapped(f, "", 100).empty());
}

TEST(ChatLayout, LinesMeasureTextLabelAndAttachment) {
    FixedFont f;
    render::RenderContext measuring;
    struct Case {
        const char* what;
        std::string text, speaker;
        int32_t boxWidth, boxHeight;  // 0: no attachment
        int32_t height, textWidth, lastOffered;
    };
    // 200 pixels wide, no icon: 190 for text and attachment, half is 95.
    const Case cases[] = {
        {"one line", "hello world", "", 0, 0, 10, 77, -1},
        {"a long word", std::string(40, 'x'), "", 0, 0, 20, 190, -1},
        {"label wider than the line", "abc", std::string(40, 'L'), 0, 0, 30, 0, -1},
        {"attachment alone", "", "", 50, 30, 30, 0, 190},
        {"side by side", "hello", "", 60, 20, 20, 40, 190},
        {"text over half", std::string(20, 'x'), "", 60, 8, 20, 125, 190},
        {"both over half", std::string(20, 'x'), "", 120, 8, 20, 90, 95},
        {"text under half", std::string(10, 'x'), "", 150, 8, 10, 75, 115},
    };
    for (const Case& c : cases) {
        ChatLine line(c.text, c.speaker, "chatfont");
        line.font = &f;
        Box* box = nullptr;
        if (c.boxWidth) {
            auto b = std::make_unique<Box>(c.boxWidth, c.boxHeight);
            box = b.get();
            line.attachment = std::move(b);
        }
        EXPECT_EQ(line.measure(measuring, 200), c.height) << c.what;
        if (c.textWidth || c.text.empty()) {
            EXPECT_EQ(line.textWidth, c.textWidth) << c.what;
        }
        if (box) {
            EXPECT_EQ(box->offered.back(), c.lastOffered) << c.what;
        }
    }

    // Painting follows the measure: label, then the text 10 pixels on, the
    // attachment behind the text.
    ChatLine line("hi there", "Bob", "chatfont");
    line.font = &f;
    line.attachment = std::make_unique<Box>(30, 20);
    int32_t h = line.measure(measuring, 300);
    line.paint(measuring, {100, 50, 400, 50 + h}, nullptr);
    ASSERT_EQ(f.drawn.size(), 2u);
    EXPECT_EQ(f.drawn[0].text, "Bob:");
    EXPECT_EQ(f.drawn[0].x, 100);
    EXPECT_EQ(f.drawn[1].text, "hi there");
    EXPECT_EQ(f.drawn[1].x, 100 + 28 + 10);
    EXPECT_EQ(f.drawn[1].y, 55);  // centred on the taller attachment
    EXPECT_EQ(line.attachment->rect.left, 138 + 56 + 5);

    // The turn rule: one pixel high, unfilled, in the font's colour, from 5
    // pixels after the end of the last text line to the right edge, at that
    // line's middle; a word cut at the edge puts it after the cut's rest.
    struct Turn {
        const char* text;
        bool marker;
        int32_t from;  // 0: no rule
    };
    for (const Turn& t : {Turn{"one two three", true, 100 + 35 + 5}, Turn{"one two three", false, 0},
                          Turn{"ninechars", true, 100 + 14 + 5}}) {
        ChatLine turn(t.text, "", "narratorfont");
        turn.font = &f;
        turn.turnMarker = t.marker;
        render::RecordingRenderContext recording;
        const int32_t height = turn.measure(recording, 65);
        EXPECT_EQ(height, 20) << t.text;
        turn.paint(recording, {100, 50, 165, 50 + height}, nullptr);
        std::vector<render::DrawCall> rules;
        for (const render::DrawCall& c : recording.calls)
            if (c.kind == render::DrawCall::Rect) rules.push_back(c);
        ASSERT_EQ(rules.size(), t.from ? 1u : 0u) << t.text;
        if (!t.from) continue;
        EXPECT_FALSE(rules[0].filled);
        EXPECT_EQ(rules[0].color, lineColor(&f));
        EXPECT_EQ(rules[0].x1, t.from) << t.text;
        EXPECT_EQ(rules[0].x2, 165);
        EXPECT_EQ(rules[0].y1, 50 + 10 + 5);  // the second line's middle
        EXPECT_EQ(rules[0].y2, 50 + 10 + 6);
    }
}

TEST(ChatLayout, LabelsComeFromSpeakerOrIdentity) {
    ChatLine plain("x", "Bob", "chatfont");
    EXPECT_EQ(plain.label, "Bob:");
    EXPECT_EQ(plain.speaker(), "Bob");
    EXPECT_EQ(ChatLine("x", "", "chatfont").label, "");
    ui::Identity bob;
    bob.name = "Bob";
    bob.fontName = "npcchatfont";
    EXPECT_EQ(ChatLine("x", bob).label, "Bob:");
    bob.mood = "very tired";
    ChatLine moody("x", bob);
    EXPECT_EQ(moody.label, "Bob (very tired):");
    EXPECT_EQ(moody.speaker(), "Bob (very tired)");
    EXPECT_EQ(moody.fontName, "npcchatfont");
    ui::Identity narrator;
    EXPECT_EQ(ChatLine("x", narrator).label, "");
    // A label never outgrows its field.
    EXPECT_EQ(ChatLine("x", std::string(500, 'n'), "chatfont").label.size(), ChatLine::kMaxLabel);
}

TEST(ChatLayout, TheViewKeepsFiftyLinesAndItsPlace) {
    ChatWindow window(ChatLink{db::SessionMode::LocalCharacters, nullptr});
    auto say = [&](int n) { window.post(std::make_unique<ChatLine>("line " + std::to_string(n), "", "chatfont")); };
    auto bottom = [&] {
        int at = window.scrollPosition() < 0 ? int(window.allLines().size()) - 1 : window.scrollPosition();
        return window.allLines()[size_t(at)]->text;
    };
    for (int n = 0; n < 60; ++n) say(n);
    ASSERT_EQ(window.allLines().size(), ChatWindow::kMaxLines);
    EXPECT_EQ(window.allLines().front()->text, "line 10");
    EXPECT_EQ(window.scrollPosition(), -1);

    struct Step {
        const char* what;
        int scroll;     // lines, negative towards the oldest
        bool addLine;   // then one line arrives
        int position;
        const char* bottom;
    };
    const Step steps[] = {
        {"page up", -5, false, 44, "line 54"},
        {"a line arrives: the view stays", 0, true, 43, "line 54"},
        {"up to the oldest", -100, false, 0, "line 11"},
        {"the oldest goes: the view moves on", 0, true, 0, "line 12"},
        {"page down", 5, false, 5, "line 17"},
        {"back to the end", 100, false, -1, "line 61"},
        {"the end follows", 0, true, -1, "line 62"},
    };
    int next = 60;
    for (const Step& s : steps) {
        if (s.scroll) window.scrollBy(s.scroll);
        if (s.addLine) say(next++);
        EXPECT_EQ(window.scrollPosition(), s.position) << s.what;
        EXPECT_EQ(bottom(), s.bottom) << s.what;
    }
    // The wheel: away from the user one line back, towards the user forward.
    window.MouseWheel(1, 0);
    EXPECT_EQ(window.scrollPosition(), 48);
    window.MouseWheel(-1, 0);
    EXPECT_EQ(window.scrollPosition(), -1);
    window.clear();
    EXPECT_TRUE(window.allLines().empty());
}

// The default Ruleset's chat in client areas of 768 (as given), 960 (192
// taller, upwards), and very tall with something above the chat: that stops
// the rise 10 pixels under the top. Icons by the lines' top rise, the state
// icon by the entry stays; a chat without a frame rises as far as allowed.
TEST(ChatLayout, TheChatGrowsUpwardsInATallerClientArea) {
    ui::ChatWindowSettings s;
    s.position = {10, 330, 440, 340};
    s.chatArea = {26, 346, 408, 270};
    s.entryArea = {26, 626, 378, 26};
    s.waitIconPosition = {412, 346};
    s.statePosition = {410, 628};
    ChatPlacement given = placeChat(s, 768, 330);
    EXPECT_EQ(given.rise, 0);
    EXPECT_EQ(given.frame, (render::Rect{10, 330, 450, 670}));
    EXPECT_EQ(given.area, (render::Rect{26, 346, 434, 616}));
    ChatPlacement smaller = placeChat(s, 700, 330);
    EXPECT_EQ(smaller.rise, 0);

    ChatPlacement tall = placeChat(s, 960, 298);
    EXPECT_EQ(tall.rise, 192);
    EXPECT_EQ(tall.frame, (render::Rect{10, 138, 450, 670}));
    EXPECT_EQ(tall.area, (render::Rect{26, 154, 434, 616}));
    EXPECT_EQ(tall.entry, (render::Rect{26, 626, 404, 652}));
    EXPECT_EQ(tall.waitIcon.y, 154);
    EXPECT_EQ(tall.stateIcon.y, 628);

    EXPECT_EQ(placeChat(s, 2000, 298).rise, 288);  // the strip stops 10 under the top
    EXPECT_EQ(placeChat(s, 2000, 330).rise, 320);
    EXPECT_EQ(placeChat(s, 2000, 5).rise, 0);

    ui::ChatWindowSettings bare;
    bare.chatArea = {0, 100, 200, 100};
    ChatPlacement loose = placeChat(bare, 800, 100);
    EXPECT_EQ(loose.rise, 32);
    EXPECT_TRUE(loose.frame.isEmpty());
    EXPECT_EQ(loose.area, (render::Rect{0, 68, 200, 200}));
}

}  // namespace
}  // namespace lh::chat
