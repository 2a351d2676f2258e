// The chat entry's keys: what Return sends by the keys held (speaker and
// font), the 4095-character limit, Tab's two buffers, Escape, the history of
// ten, Identities stepped with Shift, word moves, the "/" key by its place,
// die results attached; and the chat's messages through a host session.
#include <gtest/gtest.h>

#include "chat/ChatEntry.h"
#include "chat/ChatWindow.h"
#include "chat/ScanCodes.h"
#include "chat/ChatWire.h"
#include "db/Users.h"
#include "net/MessageCatalogue.h"
#include "net/Session.h"
#include "platform/Clipboard.h"
#include "platform/Clock.h"
#include "platform/Events.h"
#include "platform/Platform.h"
#include "platform/Scheduler.h"
#include "ui/ChatPort.h"
#include "ui/Desktop.h"
#include "ui/Identities.h"
#include "ui/Subsystems.h"

namespace lh::chat {
namespace {

constexpr int kReturn = 0x0D, kTab = 0x09, kEscape = 0x1B, kLeft = 0x25, kRight = 0x27, kUp = 0x26, kDown = 0x28,
              kBackspace = 0x08, kHome = 0x24, kPageUp = 0x21, kPageDown = 0x22, kKeyV = 0x56;
constexpr int kSlashKey = 0x35, kStopKey = 0x29;

struct EntryRig {
    explicit EntryRig(db::SessionMode mode) : window(ChatLink{mode, nullptr}), entry(window, ChatLink{mode, nullptr}) {
        entry.heldKeys = [this] { return held; };
        entry.userName = [] { return std::string("Boss"); };
    }
    void type(const std::string& text) {
        for (char c : text) entry.KeyEvent(ui::kCharMessage, static_cast<unsigned char>(c), 0);
    }
    void key(int code, uint16_t mods = 0, int scan = 0) {
        held = mods;
        entry.KeyEvent(ui::kKeyDownMessage, code, scan);
        held = 0;
    }
    const ChatLine& last() const { return *window.allLines().back(); }
    ChatWindow window;
    ChatEntry entry;
    uint16_t held = 0;
};

TEST(ChatEntry, ReturnSendsBySpeakerAndFontInTableOrder) {
    ui::identities().clear();
    ui::identities().selectOrMakeIdentity("Keeper", "dmfont");
    struct Case {
        db::SessionMode mode;
        uint16_t mods;
        const char* label;
        const char* font;
        const char* text;
    };
    using M = db::SessionMode;
    const Case cases[] = {
        {M::Host, 0, "Keeper:", "dmfont", "hello"},
        {M::Host, platform::ModAlt, "Boss (Keeper):", "oocfont", "hello"},
        {M::Host, platform::ModAlt | platform::ModCtrl, "Boss (Keeper):", "oocfont", "hello"},
        {M::Host, platform::ModCtrl | platform::ModShift, "", "emotefont", "Keeper hello"},
        {M::Host, platform::ModCtrl, "", "narratorfont", "hello"},
        {M::Join, platform::ModCtrl, "Keeper:", "emotefont", "hello"},
        {M::Join, platform::ModShift, "Keeper:", "dmfont", "hello"},
    };
    for (const Case& c : cases) {
        EntryRig rig(c.mode);
        rig.type("hello");
        rig.key(kReturn, c.mods);
        ASSERT_EQ(rig.window.allLines().size(), 1u);
        EXPECT_EQ(rig.last().label, c.label) << c.label << c.font;
        EXPECT_EQ(rig.last().fontName, c.font) << c.label << c.font;
        EXPECT_EQ(rig.last().text, c.text);
        EXPECT_TRUE(rig.entry.text().empty());
        rig.key(kReturn);  // an empty entry sends nothing
        EXPECT_EQ(rig.window.allLines().size(), 1u);
    }
    // Without an Identity the user name speaks out of character, whatever is held.
    ui::identities().clear();
    EntryRig rig(M::Join);
    rig.type("hi");
    rig.key(kReturn, platform::ModCtrl | platform::ModShift);
    EXPECT_EQ(rig.last().label, "Boss:");
    EXPECT_EQ(rig.last().fontName, "oocfont");
    // A slash command is not sent while no parser takes it.
    rig.type("/die 2d6");
    rig.key(kReturn);
    EXPECT_EQ(rig.window.allLines().size(), 1u);
    std::string parsed;
    ui::setSlashCommandHandler([&](const std::string& line, uint16_t) {
        parsed = line;
        return true;
    });
    rig.key(kReturn);
    EXPECT_EQ(parsed, "/die 2d6");
    EXPECT_TRUE(rig.entry.text().empty());
    ui::setSlashCommandHandler({});
}

TEST(ChatEntry, EditingKeysBuffersAndHistory) {
    ui::identities().clear();
    ui::identities().selectOrMakeIdentity("Keeper", "dmfont");
    ui::identities().selectOrMakeIdentity("Grub", "npcchatfont");
    ui::identities().selectOrMakeIdentity("Vala", "npcchatfont");
    EntryRig rig(db::SessionMode::Host);

    // 4095 characters and no more; Backspace still works.
    rig.type(std::string(ChatEntry::kMaxChars + 3, 'a'));
    EXPECT_EQ(rig.entry.text().size(), ChatEntry::kMaxChars);
    rig.key(kBackspace);
    EXPECT_EQ(rig.entry.text().size(), ChatEntry::kMaxChars - 1);
    rig.key(kEscape);
    EXPECT_TRUE(rig.entry.text().empty());
    EXPECT_FALSE(rig.entry.isTyping());

    // Tab swaps two buffers with their carets.
    rig.type("first");
    rig.key(kTab);
    EXPECT_EQ(rig.entry.text(), "");
    rig.type("second");
    rig.key(kTab);
    EXPECT_EQ(rig.entry.text(), "first");
    EXPECT_EQ(rig.entry.caret(), 5u);
    rig.key(kEscape);

    // Word moves: Ctrl+Left skips blanks then the word; Right the reverse.
    rig.type("one two  three");
    rig.key(kLeft, platform::ModCtrl);
    EXPECT_EQ(rig.entry.caret(), 9u);
    rig.key(kLeft, platform::ModCtrl);
    EXPECT_EQ(rig.entry.caret(), 4u);
    rig.key(kHome);
    rig.key(kRight, platform::ModCtrl);
    EXPECT_EQ(rig.entry.caret(), 4u);
    rig.key(kRight);
    EXPECT_EQ(rig.entry.caret(), 5u);
    rig.key(kEscape);

    // Shift+Left/Right steps the active Identity, without wrapping round.
    EXPECT_EQ(ui::activeIdentity()->name, "Vala");
    rig.key(kRight, platform::ModShift);
    EXPECT_EQ(ui::activeIdentity()->name, "Vala");
    rig.key(kLeft, platform::ModShift);
    rig.key(kLeft, platform::ModShift);
    rig.key(kLeft, platform::ModShift);
    EXPECT_EQ(ui::activeIdentity()->name, "Keeper");

    // After 11 lines sent, Up reaches back 10; Down comes forward to empty.
    for (int n = 1; n <= 11; ++n) {
        rig.type("line " + std::to_string(n));
        rig.key(kReturn);
    }
    for (int n = 0; n < 12; ++n) rig.key(kUp);
    EXPECT_EQ(rig.entry.text(), "line 2");
    rig.key(kDown);
    EXPECT_EQ(rig.entry.text(), "line 3");
    for (int n = 0; n < 12; ++n) rig.key(kDown);
    EXPECT_EQ(rig.entry.text(), "");
    // Page Up and Down move the chat's view by five lines; at the newest
    // line it follows again.
    const int newest = int(rig.window.allLines().size()) - 1;
    rig.key(kPageUp);
    EXPECT_EQ(rig.window.scrollPosition(), newest - ChatWindow::kPageLines);
    rig.key(kPageUp);
    rig.key(kPageDown);
    EXPECT_EQ(rig.window.scrollPosition(), newest - ChatWindow::kPageLines);
    rig.key(kPageDown);
    EXPECT_EQ(rig.window.scrollPosition(), -1);

    // "/" by its key's place on an empty entry, the layout's character
    // elsewhere; the stop key never types, and on a host posts a halt mark.
    rig.entry.KeyEvent(ui::kKeyDownMessage, 0xBD, kSlashKey);
    rig.entry.KeyEvent(ui::kCharMessage, '-', kSlashKey);
    EXPECT_EQ(rig.entry.text(), "/");
    rig.entry.KeyEvent(ui::kKeyDownMessage, 0xBD, kSlashKey);
    rig.entry.KeyEvent(ui::kCharMessage, '-', kSlashKey);
    EXPECT_EQ(rig.entry.text(), "/-");
    const size_t before = rig.window.allLines().size();
    rig.entry.KeyEvent(ui::kKeyDownMessage, 0xC0, kStopKey);
    rig.entry.KeyEvent(ui::kCharMessage, '`', kStopKey);
    EXPECT_EQ(rig.entry.text(), "/-");
    ASSERT_EQ(rig.window.allLines().size(), before + 1);
    EXPECT_EQ(rig.last().indicatorName, "indicator_stop");
    EXPECT_EQ(rig.last().fontName, "narratorfont");
    rig.key(kEscape);

    // A die result goes at once with an empty entry, else with the next line.
    auto roll = [] {
        auto r = ui::makeDieResult();
        r->modifier = 4;
        return r;
    };
    rig.entry.attachDieResult(roll(), "Strength");
    EXPECT_EQ(rig.last().label, "Keeper:");
    EXPECT_EQ(rig.last().fontName, "systemfont");
    ASSERT_TRUE(rig.last().attachment);
    rig.type("Hit!");
    rig.entry.attachDieResult(roll(), "Strength");
    EXPECT_TRUE(rig.entry.pendingAttachment());
    rig.key(kReturn);
    EXPECT_EQ(rig.last().text, "Hit!");
    EXPECT_TRUE(rig.last().attachment);
    EXPECT_FALSE(rig.entry.pendingAttachment());
    ui::identities().clear();
}

// The typing mark on the program's own clock: on with the first key, kept
// by each further key, off after five seconds without one; and a paste,
// which the desktop's clipboard holds as UTF-8, arrives 8-bit at the caret.
TEST(ChatEntry, TypingEndsWhenIdleAndPasteTakesEightBitText) {
    ui::identities().clear();
    ui::identities().selectOrMakeIdentity("Keeper", "dmfont");
    platform::useManualClock(0);
    EntryRig rig(db::SessionMode::Host);
    rig.type("a");
    EXPECT_TRUE(rig.entry.isTyping());
    platform::advanceClock(3000);
    rig.type("b");  // the five seconds start again
    platform::advanceClock(4999);
    platform::runDueTimers();
    EXPECT_TRUE(rig.entry.isTyping());
    platform::advanceClock(1);
    platform::runDueTimers();
    EXPECT_FALSE(rig.entry.isTyping());
    EXPECT_EQ(rig.entry.text(), "ab");
    platform::useRealClock();

    std::string error;
    ASSERT_TRUE(platform::initialize(error)) << error;
    rig.entry.clipboard = [] { return platform::clipboardText(); };
    platform::setClipboardText("caf\xE9 \x80");
    rig.key(kHome);
    rig.key(kKeyV, platform::ModCtrl);
    EXPECT_EQ(rig.entry.text(), "caf\xE9 \x80" "ab");
    EXPECT_TRUE(rig.entry.isTyping());
    // A paste that would overflow the entry is left out whole.
    rig.type(std::string(ChatEntry::kMaxChars - rig.entry.text().size() - 2, 'x'));
    rig.key(kKeyV, platform::ModCtrl);
    EXPECT_EQ(rig.entry.text().size(), ChatEntry::kMaxChars - 2);
    platform::shutdown();
    ui::identities().clear();
}

// The chat as the program runs it, on a host session without sockets: a
// player's line is added and passed on, a cut one is dropped with a notice.
TEST(ChatEntry, AHostTakesLinesAndDropsBadOnes) {
    net::Session session;
    session.becomeHost();
    std::vector<std::string> notices;
    session.setSystemLineSink([&](const std::string& line) { notices.push_back(line); });
    db::setSessionMode(db::SessionMode::Host);
    ui::startSubsystems({db::SessionMode::Host, ui::desktop(), &session, nullptr});
    ASSERT_TRUE(ui::chatPort());

    net::SessionPeer& ann = session.addPeer(nullptr);
    ann.name = "Ann";
    db::knownUser("Ann").identity.set("Hero");
    ChatMessage said{"Hero", "chatfont", "Hello all", "", 0, "", 0};
    session.dispatch(&ann, encodeChat(net::tags::CHATQ, said));
    net::NetMessage cut = encodeChat(net::tags::CHATQ, said);
    cut.body.resize(8);
    session.dispatch(&ann, cut);
    ASSERT_EQ(notices.size(), 1u);
    EXPECT_NE(notices[0].find("Dropped a message CHATQ from 'Ann'"), std::string::npos) << notices[0];

    // What the chat now holds: the one good line, and the host's own notice.
    ui::ChatLineDraft draft;
    draft.font = "systemfont";
    draft.text = "Campaign saved.";
    ui::chatPort()->add(std::move(draft));
    ui::stopSubsystems();
    EXPECT_FALSE(ui::chatPort());
    ui::identities().clear();
}

}  // namespace
}  // namespace lh::chat
