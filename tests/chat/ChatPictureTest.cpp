// The chat's kept picture, drawn off-screen and read back: lines are laid
// out and painted once, a frame that changes nothing in the chat only blits
// the picture, every change (a line, a scroll, a vote) paints it anew, a
// lost context paints the same picture again, and die results answer hit
// tests at their place on the Desktop.
#include <gtest/gtest.h>

#include "chat/ChatLine.h"
#include "chat/ChatWindow.h"
#include "render/GlFixture.h"
#include "render/RenderContext.h"
#include "ui/ChatPort.h"
#include "ui/GlyphFile.h"
#include "ui/RulesetData.h"
#include "ui/RulesetFont.h"

namespace lh::chat {
namespace {

// Every character a solid block of 7 x 10 pixels, in white.
void addBlockFont(const char* name) {
    ui::GlyphSet set;
    for (int c = 33; c < 256; ++c) {
        set.glyphs[size_t(c)].width = 7;
        set.glyphs[size_t(c)].height = 10;
        set.glyphs[size_t(c)].alpha.assign(70, 255);
        set.present[size_t(c)] = true;
    }
    set.glyphs[32].width = 7;
    set.glyphs[32].height = 10;
    set.glyphs[32].alpha.assign(70, 0);
    set.present[32] = true;
    std::vector<uint8_t> bytes = ui::writeGlyphFile(set);
    auto font = std::make_unique<ui::RulesetFont>();
    ASSERT_TRUE(font->LoadGlyphs(bytes.data(), bytes.size(), 0xFFFFFFFF));
    ui::ruleset().fonts[name] = std::move(font);
}

class ChatPicture : public test::GlTest {
protected:
    void SetUp() override {
        test::GlTest::SetUp();
        ui::clearRuleset();
        addBlockFont("chatfont");
    }
    void TearDown() override {
        ui::clearRuleset();
        test::GlTest::TearDown();
    }
    // One frame: the chat drawn onto a black back buffer.
    std::vector<uint32_t> frame(ChatWindow& chat) {
        render::RenderContext context(false, kWidth, kHeight);
        context.SetClipRect({0, 0, kWidth, kHeight});
        context.BeginScene();
        context.DrawRect(0, 0, kWidth, kHeight, 0x00000000, true);
        chat.Draw(context);
        context.EndScene();
        return screen();
    }
    static int lit(const std::vector<uint32_t>& px) {
        int n = 0;
        for (uint32_t p : px) n += (p & 0xFFFFFF) == 0xFFFFFF;
        return n;
    }
};

// Changed lines go straight onto the screen; the first frame after that
// which leaves them alone paints the kept picture, and later ones only blit
// it: the same pixels each way.
TEST_F(ChatPicture, PaintsOnlyWhenSomethingChanged) {
    ChatWindow chat(ChatLink{db::SessionMode::Host, nullptr});
    chat.rect = {10, 10, 150, 110};
    chat.frameRect = chat.rect;
    chat.add(std::make_unique<ChatLine>("Hi", "", "chatfont"));
    const auto first = frame(chat);
    EXPECT_EQ(chat.paintCount(), 1u);
    // "Hi" as two white blocks at the bottom left of the area.
    EXPECT_EQ(lit(first), 2 * 70);
    EXPECT_EQ(test::GlTest::at(first, 10, 109), 0xFFFFFFFFu);

    EXPECT_EQ(frame(chat), first);
    EXPECT_EQ(chat.paintCount(), 2u);  // the kept picture catches up
    EXPECT_EQ(frame(chat), first);
    EXPECT_EQ(chat.paintCount(), 2u);

    chat.add(std::make_unique<ChatLine>("Yes", "", "chatfont"));
    const auto two = frame(chat);
    EXPECT_EQ(chat.paintCount(), 3u);
    EXPECT_EQ(lit(two), 5 * 70);
    chat.scrollBy(-1);
    frame(chat);
    EXPECT_EQ(chat.paintCount(), 4u);
    EXPECT_EQ(frame(chat), first);  // "Hi" back at the bottom, from the picture
    EXPECT_EQ(chat.paintCount(), 5u);
    EXPECT_EQ(frame(chat), first);
    EXPECT_EQ(chat.paintCount(), 5u);

    // A lost context empties the picture: the next frame paints it again.
    ASSERT_EQ(render::GraphicsDevice::Get().RecreateContext(), 0);
    EXPECT_EQ(frame(chat), first);
    EXPECT_EQ(chat.paintCount(), 6u);
}

TEST_F(ChatPicture, DieResultsAnswerWhereTheyStandOnTheDesktop) {
    ChatWindow chat(ChatLink{db::SessionMode::Host, nullptr});
    chat.rect = {10, 10, 150, 110};
    chat.frameRect = chat.rect;
    auto line = std::make_unique<ChatLine>("", "", "chatfont");
    auto result = std::make_unique<ui::DieResult>();
    result->modifier = 4;
    line->attachment = std::move(result);
    ChatLine* rolled = line.get();
    chat.add(std::move(line));
    chat.add(std::make_unique<ChatLine>("later", "", "chatfont"));
    frame(chat);
    const render::Rect at = rolled->attachment->rect;
    ASSERT_FALSE(at.isEmpty());
    EXPECT_GE(at.left, chat.rect.left);
    EXPECT_GE(at.top, chat.rect.top);
    EXPECT_LE(at.bottom, chat.rect.bottom);
    EXPECT_EQ(chat.lineAt(at.left + 1, at.top + 1), rolled);
    EXPECT_EQ(chat.lineAt(at.left + 1, chat.rect.bottom - 1), nullptr);  // the text line below has none
}

}  // namespace
}  // namespace lh::chat
