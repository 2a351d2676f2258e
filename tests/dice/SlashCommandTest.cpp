// The text rules of the chat's commands, as tables: which word names which
// command, the help text, die expressions, moods, export targets and the
// lines of a chat script.
#include <gtest/gtest.h>

#include "dice/SlashCommandText.h"

namespace lh::dice {
namespace {

TEST(SlashCommandText, WordsNameTheFirstCommandTheyArePrefixesOf) {
    const struct {
        const char* text;
        SlashCommand command;
        const char* arguments;
    } table[] = {
        {"/", SlashCommand::Help, ""},
        {"/h", SlashCommand::Help, ""},
        {"/s", SlashCommand::Save, ""},
        {"/d 3d6", SlashCommand::Die, "3d6"},
        {"/die   2d6 Attack", SlashCommand::Die, "2d6 Attack"},
        {"/v Lunch?", SlashCommand::Vote, "Lunch?"},
        {"/i Bob", SlashCommand::Identity, "Bob"},
        {"/o hi", SlashCommand::Ooc, "hi"},
        {"/a swings", SlashCommand::Action, "swings"},
        {"/e hello", SlashCommand::Emote, "hello"},
        {"/ex m x", SlashCommand::Export, "m x"},
        {"/op notes 00001", SlashCommand::OpenWindow, "notes 00001"},
        {"/w Bob psst", SlashCommand::Whisper, "Bob psst"},
        {"/m tired", SlashCommand::Mood, "tired"},
        {"/c", SlashCommand::Clear, ""},
        {"/chat file.txt", SlashCommand::ChatImport, "file.txt"},
        {"/n", SlashCommand::Night, ""},
        {"/da", SlashCommand::Day, ""},
        {"/r", SlashCommand::Reset, ""},
        {"/Help", SlashCommand::None, ""},
        {"/helpme", SlashCommand::None, ""},
        {"/x", SlashCommand::None, ""},
    };
    for (const auto& row : table) {
        CommandLine c = parseCommandLine(row.text);
        EXPECT_EQ(c.command, row.command) << row.text;
        EXPECT_EQ(c.arguments, row.arguments) << row.text;
    }
    EXPECT_STREQ(commandName(SlashCommand::ChatImport), "/chatimport");
}

TEST(SlashCommandText, HelpTextForHostAndClient) {
    const std::vector<std::string> common = {
        "SLASH COMMANDS:", " /die [NdN+N] [message]", " /vote [message]", " /ooc [message]",
        " /action [message]", " /emote [message]", " /mood [mood] [message]",
        " /mood ([multiword mood]) [message]"};
    std::vector<std::string> client = common, host = common;
    client.push_back(" /whisper [message]");
    host.insert(host.end(), {"Gamemaster only:", " /identity [name]", " /whisper [character] [message]"});
    EXPECT_EQ(helpText(false), client);
    EXPECT_EQ(helpText(true), host);
}

TEST(SlashCommandText, DieExpressions) {
    const struct {
        const char* text;
        bool hidden;
        uint32_t count;
        const char* name;
        int32_t modifier;
        const char* message;
    } table[] = {
        {"3d6+2 Attack", false, 3, "d6", 2, "Attack"},
        {"?d20", true, 1, "d20", 0, ""},
        {"2d6 5 fire", false, 2, "d6", 5, "5 fire"},
        {"40d6", false, 30, "d6", 0, ""},
        {"d8-1", false, 1, "d8", -1, ""},
        {"+4", false, 0, "", 4, ""},
        {"-1 penalty", false, 0, "", -1, "penalty"},
        {"-1 damage", false, 0, "", -1, "damage"},
        {"hit", false, 0, "", 0, ""},
        {"d", false, 1, "d", 0, ""},
        {"xd10", false, 1, "d10", 0, ""},
        {"1234567890d6", false, 30, "d6", 0, ""},
        {"3d6+99999999999", false, 3, "d6", 2147483647, ""},
        {"", false, 0, "", 0, ""},
    };
    for (const auto& row : table) {
        DieExpression e = parseDieExpression(row.text);
        EXPECT_EQ(e.hidden, row.hidden) << row.text;
        EXPECT_EQ(e.count, row.count) << row.text;
        EXPECT_EQ(e.dieName, row.name) << row.text;
        EXPECT_EQ(e.modifier, row.modifier) << row.text;
        EXPECT_EQ(e.message, row.message) << row.text;
    }
    EXPECT_FALSE(makesResult(parseDieExpression("hit"), false));
    EXPECT_FALSE(makesResult(parseDieExpression("d"), false));
    EXPECT_TRUE(makesResult(parseDieExpression("d"), true));
    EXPECT_TRUE(makesResult(parseDieExpression("+4"), false));
    EXPECT_EQ(parseDieExpression(std::string(300, 'd')).dieName.size(), 255u);
}

TEST(SlashCommandText, WordsMoodsAndExportTargets) {
    FirstWord w = splitFirstWord("Bob   hello there");
    EXPECT_EQ(w.word, "Bob");
    EXPECT_EQ(w.rest, "hello there");
    EXPECT_EQ(splitFirstWord("Bob").rest, "");

    MoodArguments m = parseMoodArguments("(very tired) Good night");
    EXPECT_EQ(m.mood, "very tired");
    EXPECT_EQ(m.message, "Good night");
    m = parseMoodArguments("tired");
    EXPECT_EQ(m.mood, "tired");
    EXPECT_EQ(m.message, "");
    m = parseMoodArguments("(unclosed mood");
    EXPECT_EQ(m.mood, "unclosed mood");
    EXPECT_EQ(parseMoodArguments(std::string(200, 'x')).mood.size(), kMaxMood);

    EXPECT_EQ(exportTarget("adventure"), "modules\\adventure.mod");
    EXPECT_EQ(exportTarget("Adventure.MOD"), "modules\\Adventure.MOD");
}

TEST(SlashCommandText, ChatScriptLines) {
    auto line = parseChatScriptLine("Bob:chatfont:d6=4,1,6+2:Attack\r\n");
    ASSERT_TRUE(line);
    EXPECT_EQ(line->speaker, "Bob");
    EXPECT_EQ(line->font, "chatfont");
    EXPECT_EQ(line->kind, "d6=4,1,6+2");
    EXPECT_EQ(line->text, "Attack");
    ASSERT_TRUE(parseChatScriptLine(":systemfont:t: "));
    EXPECT_FALSE(parseChatScriptLine("a:b:c"));
    EXPECT_FALSE(parseChatScriptLine(""));
    EXPECT_FALSE(parseChatScriptLine("no colons at all"));

    ScriptRoll r = parseScriptRoll("d6=4,1,6+2");
    EXPECT_FALSE(r.hidden);
    EXPECT_EQ(r.dieName, "d6");
    EXPECT_EQ(r.values, (std::vector<int32_t>{4, 1, 6}));
    EXPECT_EQ(r.modifier, 2);
    r = parseScriptRoll("?d20=0,x,17-3");
    EXPECT_TRUE(r.hidden);
    EXPECT_EQ(r.values, (std::vector<int32_t>{17}));
    EXPECT_EQ(r.modifier, -3);
    std::string many = "d6=";
    for (int i = 0; i < 100; ++i) many += "1,";
    EXPECT_EQ(parseScriptRoll(many).values.size(), kMaxScriptDice);
}

}  // namespace
}  // namespace lh::dice
