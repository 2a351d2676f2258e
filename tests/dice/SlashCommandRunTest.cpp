// What each command does, on host and client, through a recorder of the
// chat's actions; and the Desktop light's fade and its message.
#include <gtest/gtest.h>

#include <map>

#include "dice/LightState.h"
#include "dice/SlashCommands.h"
#include "ui/DieType.h"

namespace lh::dice {
namespace {

struct Recorder : CommandActions {
    bool host = false;
    std::string user = "Ann", identity, mood;
    std::vector<CommandChatLine> posted, added;
    std::vector<std::string> calls;
    std::map<std::string, ui::DieType> types;
    std::vector<std::string> fileLines;
    std::vector<uint8_t> lastWhisper;
    std::string whisperTo;

    bool isHost() const override { return host; }
    std::string userName() const override { return user; }
    std::string identityName() const override { return identity; }
    void setMood(const std::string& m) override { mood = m, calls.push_back("mood " + m); }
    void post(CommandChatLine line) override { posted.push_back(std::move(line)); }
    void add(CommandChatLine line) override { added.push_back(std::move(line)); }
    std::unique_ptr<DieResult> takePendingAttachment() override { return nullptr; }
    void saveCampaign() override { calls.push_back("save"); }
    void selectOrMakeIdentity(const std::string& n, const std::string& f) override {
        calls.push_back("identity " + n + " " + f);
    }
    void openWindow(const std::string& c, const std::string& r) override { calls.push_back("open " + c + " " + r); }
    bool sendToClientByIdentity(const std::string& name, const std::vector<uint8_t>& body) override {
        if (name != "bob" && name != "Bob") return false;
        whisperTo = name;
        lastWhisper = body;
        return true;
    }
    void sendToHost(const std::vector<uint8_t>& body) override { whisperTo = "host", lastWhisper = body; }
    bool exportModule(const std::string& t, const std::string&) override { return t != "modules\\bad.mod"; }
    void clearChat() override { calls.push_back("clear"); }
    void setLight(uint32_t a, uint32_t b, uint32_t c, uint32_t d) override {
        char text[64];
        std::snprintf(text, sizeof text, "light %08X %08X %08X %08X", a, b, c, d);
        calls.push_back(text);
    }
    void resetDevice() override { calls.push_back("reset"); }
    bool readLines(const std::string& path, std::vector<std::string>& lines) override {
        if (path != "script.txt") return false;
        lines = fileLines;
        return true;
    }
    const ui::DieType* findDieType(std::string_view name) override {
        auto it = types.find(std::string(name));
        return it == types.end() ? nullptr : &it->second;
    }
};

Recorder withDice(bool host) {
    Recorder r;
    r.host = host;
    for (int faces : {4, 6, 20}) {
        ui::DieType& t = r.types["d" + std::to_string(faces)];
        t.name = "d" + std::to_string(faces);
        for (int v = 1; v <= faces; ++v) t.values.push_back(std::to_string(v));
    }
    return r;
}

TEST(SlashCommands, HelpSaveAndTheGamemastersCommands) {
    Recorder client = withDice(false), host = withDice(true);
    for (const char* line : {"/", "/save", "/identity Orc", "/clear", "/day", "/night", "/openwindow notes x", "/Help"})
        runSlashCommand(line, client);
    ASSERT_EQ(client.added.size(), 9u);  // the help text, and nothing else
    EXPECT_EQ(client.added.back().text, " /whisper [message]");
    EXPECT_EQ(client.added.back().font, "systemfont");
    EXPECT_TRUE(client.calls.empty());
    EXPECT_TRUE(client.posted.empty());

    for (const char* line : {"/s", "/identity Orc Chief", "/c", "/day", "/n", "/op notes The Keep", "/r"})
        runSlashCommand(line, host);
    EXPECT_EQ(host.calls, (std::vector<std::string>{"save", "identity Orc Chief npcchatfont", "clear",
                                                    "light FFFFFFFF FFFFFFFF FFFFFFFF FFFFFFFF",
                                                    "light FFFFFFFF FFA4B8FF FFFFFFFF FFFFFFFF",
                                                    "open notes The Keep", "reset"}));
}

TEST(SlashCommands, TypedRolls) {
    seedRandom(3);
    Recorder client = withDice(false);
    runSlashCommand("/die 2d6 Attack", client);
    ASSERT_EQ(client.posted.size(), 1u);
    const CommandChatLine& line = client.posted[0];
    EXPECT_EQ(line.speaker, "Ann");  // no Identity: the user in "oocfont"
    EXPECT_EQ(line.font, "oocfont");
    EXPECT_EQ(line.text, "Attack");
    ASSERT_TRUE(line.die);
    EXPECT_EQ(line.die->values.size(), 2u);
    runSlashCommand("/die ?d20", client);  // a player's secret roll is public
    EXPECT_FALSE(client.posted.back().die->hidden);
    runSlashCommand("/d 40d6", client);
    EXPECT_EQ(client.posted.back().die->values.size(), 30u);
    runSlashCommand("/die hit", client);
    runSlashCommand("/die d", client);
    EXPECT_EQ(client.posted.size(), 3u);
    runSlashCommand("/die -1 penalty", client);
    EXPECT_EQ(client.posted.back().die->Total(), -1);
    EXPECT_TRUE(client.posted.back().die->dice.empty());

    Recorder host = withDice(true);
    host.identity = "Narrator";
    runSlashCommand("/die ?d20", host);
    ASSERT_EQ(host.posted.size(), 1u);
    EXPECT_TRUE(host.posted[0].die->hidden);
    EXPECT_TRUE(host.posted[0].fromIdentity);
}

TEST(SlashCommands, SpeechWhispersAndMoods) {
    Recorder client = withDice(false);
    runSlashCommand("/emote waves", client);  // needs an Identity
    runSlashCommand("/mood tired", client);
    EXPECT_TRUE(client.posted.empty());
    runSlashCommand("/ooc brb", client);
    EXPECT_EQ(client.posted.back().speaker, "Ann");
    client.identity = "Hero";
    runSlashCommand("/ooc brb", client);
    EXPECT_EQ(client.posted.back().speaker, "Ann (Hero)");
    runSlashCommand("/e waves", client);
    EXPECT_EQ(client.posted.back().text, "Hero waves");
    EXPECT_EQ(client.posted.back().font, "emotefont");
    runSlashCommand("/mood (very tired) Good night", client);
    EXPECT_EQ(client.posted.back().text, "Good night");
    EXPECT_TRUE(client.posted.back().fromIdentity);
    EXPECT_EQ(client.calls, (std::vector<std::string>{"mood very tired", "mood "}));
    runSlashCommand("/mood sleepy", client);
    EXPECT_EQ(client.mood, "sleepy");

    runSlashCommand("/whisper hello there", client);
    EXPECT_EQ(client.whisperTo, "host");
    EXPECT_EQ(client.added.back().speaker, "->");
    Whisper w;
    ASSERT_TRUE(decodeWhisper(client.lastWhisper.data(), client.lastWhisper.size(), w));
    EXPECT_EQ(w.speaker, "Hero");
    EXPECT_EQ(w.font, "msgfont");
    EXPECT_EQ(w.text, "hello there");

    Recorder host = withDice(true);
    runSlashCommand("/whisper Bob", host);
    runSlashCommand("/whisper someone hello", host);
    EXPECT_TRUE(host.added.empty());
    EXPECT_TRUE(host.whisperTo.empty());
    runSlashCommand("/w bob psst", host);
    EXPECT_EQ(host.whisperTo, "bob");
    EXPECT_EQ(host.added.back().speaker, "-> bob");

    const uint8_t truncated[] = {'a', 0, 'b'};
    EXPECT_FALSE(decodeWhisper(truncated, sizeof truncated, w));
}

TEST(SlashCommands, ExportAndChatScripts) {
    Recorder r = withDice(false);
    runSlashCommand("/ex adventure", r);  // needs two words
    EXPECT_TRUE(r.added.empty());
    runSlashCommand("/ex adventure Adventure", r);
    EXPECT_EQ(r.added.back().text, "Campaign exported to 'modules\\adventure.mod'");
    runSlashCommand("/export bad x", r);
    EXPECT_EQ(r.added.back().text, "Export failed!");

    r.fileLines = {"Bob:chatfont:d6=4,1,6+2:Attack", "short:line", "", ":systemfont:t: ", "GM:dmfont:q:Ready?",
                   "GM:dmfont:?d20=15:Secret", "Ann:chatfont:x:Hello"};
    runSlashCommand("/chat missing.txt", r);
    EXPECT_TRUE(r.posted.empty());
    runSlashCommand("/chatimport script.txt", r);
    ASSERT_EQ(r.posted.size(), 5u);
    EXPECT_EQ(r.posted[0].die->Total(), 13);
    EXPECT_TRUE(r.posted[1].turnMarker);
    EXPECT_EQ(r.posted[1].indicator, "");
    EXPECT_EQ(r.posted[2].indicator, "indicator_prompt");
    EXPECT_TRUE(r.posted[3].die->hidden);
    EXPECT_EQ(r.posted[4].text, "Hello");
}

TEST(LightState, NightFadesInThreeSecondsAndTravels) {
    LightState light;
    std::vector<std::vector<uint8_t>> sent;
    light.sendToClients = [&](const std::vector<uint8_t>& b) { sent.push_back(b); };
    uint32_t desktop = 0xFFFFFFFF;
    light.setLight(0xFFFFFFFF, 0xFFA4B8FF, 0xFFFFFFFF, 0xFFFFFFFF, 1000);
    ASSERT_EQ(sent.size(), 1u);
    uint32_t colors[4];
    ASSERT_TRUE(decodeLight(sent[0].data(), sent[0].size(), colors));
    EXPECT_EQ(colors[1], 0xFFA4B8FFu);
    EXPECT_FALSE(decodeLight(sent[0].data(), 15, colors));

    EXPECT_TRUE(light.fadeStep(2500, desktop));  // half way
    EXPECT_EQ(desktop, 0xFFD2DCFFu);  // each byte moves by (target - now) x passed / span, truncated
    EXPECT_TRUE(light.fadeStep(4000, desktop));
    EXPECT_EQ(desktop, 0xFFA4B8FFu);
    EXPECT_FALSE(light.fadeStep(4030, desktop));
}

}  // namespace
}  // namespace lh::dice
