// The test driver: the real program, headless, plays a script of input into
// its own handlers, writes a screenshot, and reports each step in its trace;
// a watcher follows the trace file instead of sleeping.
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <set>
#include <string>
#include <thread>

#include "platform/InputScript.h"
#include "platform/ScriptVerbs.h"
#include "support/TestSupport.h"
#include "ui/PictureDecoder.h"

using lh::test::ChildProcess;
using lh::test::TempDir;
using namespace std::chrono_literals;

namespace {

// Polls the trace until a line holds `text`, the program ends, or the
// deadline passes.
bool waitForTrace(const std::filesystem::path& trace, const std::string& text, ChildProcess& program,
                  std::chrono::seconds deadline) {
    auto until = std::chrono::steady_clock::now() + deadline;
    while (std::chrono::steady_clock::now() < until) {
        std::error_code ec;
        if (std::filesystem::exists(trace, ec) && lh::test::readFile(trace).find(text) != std::string::npos) return true;
        if (!program.running()) return lh::test::readFile(trace).find(text) != std::string::npos;
        std::this_thread::sleep_for(20ms);
    }
    return false;
}

}  // namespace

TEST(Script, ClicksAndAScreenshotReachTheRealProgramAndItsTrace) {
    TempDir work;
    std::filesystem::path trace = work.path() / "trace.txt";
    lh::test::writeFile(work.path() / "steps.txt",
                        "# a short tour\n"
                        "move 300 200\n"
                        "click left 512 384\n"
                        "wheel -2\n"
                        "key Escape\n"
                        "text Hello\n"
                        "key PrintScreen\n"
                        "wait 1000\n"
                        "screenshot table\n"
                        "quit 7\n");
    ChildProcess program(lh::test::builtProgram("lorehaven"),
                         {"--workdir", work.str(), "--host", "--campaign", "Tour", "--gm", "GM", "--script",
                          (work.path() / "steps.txt").string()},
                         {"LOREHAVEN_TRACE=" + trace.string(), "LOREHAVEN_CLOCK=manual"});
    ASSERT_TRUE(waitForTrace(trace, " screenshot table.png", program, 120s)) << program.errors();
    EXPECT_EQ(program.wait(60s), 7) << program.errors();

    std::string lines = lh::test::readFile(trace);
    for (const char* want : {" frame\n", " script 2 move 300 200\n", " script 3 click left 512 384\n",
                             " script 9 screenshot table\n", " quit 7\n"}) {
        EXPECT_NE(lines.find(want), std::string::npos) << want << "\n" << lines;
    }
    // The manual clock moved only by the script's wait: the screenshot's
    // stamp is exactly 1000.
    EXPECT_NE(lines.find("\n1000 screenshot table.png\n"), std::string::npos) << lines;

    // Print Screen saved the picture under the next free number.
    EXPECT_TRUE(std::filesystem::exists(work.path() / "screenshot0001.png"));

    std::string png = lh::test::readFile(work.path() / "table.png");
    lh::ui::PixelImage picture;
    ASSERT_TRUE(lh::ui::decodePicture(png.data(), png.size(), picture));
    EXPECT_EQ(picture.width, 1024u);
    EXPECT_EQ(picture.height, 768u);
    // The tiled desktop: many colours, and not the black of an empty buffer.
    std::set<uint32_t> colours;
    size_t black = 0;
    for (size_t i = 0; i < picture.pixels.size(); i += 97) {
        colours.insert(picture.pixels[i] & 0xFFFFFFu);
        if ((picture.pixels[i] & 0xFFFFFFu) == 0) ++black;
    }
    EXPECT_GT(colours.size(), 20u);
    EXPECT_LT(black * 2, picture.pixels.size() / 97);
}

TEST(Script, BadScriptsAreRefusedWithTheirLine) {
    using lh::platform::parseInputScript;
    lh::platform::ParsedScript ok = parseInputScript("click right 5 6\r\n\n  # note\nkeydown a ctrl shift\ntext Zoë 日\nawait record x.1\n");
    ASSERT_TRUE(ok.error.empty()) << ok.error;
    ASSERT_EQ(ok.steps.size(), 4u);
    EXPECT_EQ(ok.steps[3].kind, lh::platform::ScriptStep::Kind::Await);
    EXPECT_EQ(ok.steps[3].name, "record x.1");
    EXPECT_EQ(ok.steps[0].events.size(), 3u);  // move, press, release
    EXPECT_EQ(ok.steps[1].line, 4);
    EXPECT_EQ(ok.steps[1].events[0].keyCode, 'A');
    EXPECT_EQ(ok.steps[1].events[0].modifiers, lh::platform::ModCtrl | lh::platform::ModShift);
    ASSERT_EQ(ok.steps[2].events.size(), 4u);  // a character 8-bit text lacks is dropped whole
    EXPECT_EQ(ok.steps[2].events[2].text[0], '\xEB');  // 8-bit text, as the window gives it
    lh::platform::ParsedScript resize = parseInputScript("resize 1280 900\n");
    ASSERT_EQ(resize.steps.size(), 1u) << resize.error;
    EXPECT_EQ(resize.steps[0].kind, lh::platform::ScriptStep::Kind::Resize);
    EXPECT_EQ(resize.steps[0].width, 1280);
    EXPECT_EQ(resize.steps[0].height, 900);

    lh::platform::ParsedScript driven = parseInputScript("menu 10 -20 Layers/Enter Mask Mode\nawait  map a.b polygon\n");
    ASSERT_TRUE(driven.error.empty()) << driven.error;
    ASSERT_EQ(driven.steps.size(), 2u);
    EXPECT_EQ(driven.steps[0].kind, lh::platform::ScriptStep::Kind::Menu);
    EXPECT_EQ(driven.steps[0].y, -20);
    EXPECT_EQ(driven.steps[0].name, "Layers/Enter Mask Mode");
    EXPECT_EQ(driven.steps[1].kind, lh::platform::ScriptStep::Kind::Await);
    EXPECT_EQ(driven.steps[1].name, "map a.b polygon");
    lh::platform::ParsedScript patient = parseInputScript("deadline 600\n");
    ASSERT_EQ(patient.steps.size(), 1u) << patient.error;
    EXPECT_EQ(patient.steps[0].kind, lh::platform::ScriptStep::Kind::Deadline);
    EXPECT_EQ(patient.steps[0].waitMs, 600000u);

    // A verb that a subsystem added: the rest of the line is its own, and
    // its check may refuse it.
    lh::platform::ScriptVerbRegistration added{
        "sing", {[](std::string_view notes) { return notes.empty() ? std::string("sing needs notes") : std::string(); },
                 nullptr}};
    lh::platform::ParsedScript sung = parseInputScript("sing  do re mi\n");
    ASSERT_EQ(sung.steps.size(), 1u) << sung.error;
    EXPECT_EQ(sung.steps[0].kind, lh::platform::ScriptStep::Kind::Added);
    EXPECT_EQ(sung.steps[0].name, "sing");
    EXPECT_EQ(sung.steps[0].arguments, "do re mi");

    for (const char* bad : {"sing", "jump 1 2", "move 1", "move x y", "click left", "down sideways", "wheel 0",
                            "key NoSuchKey", "key a meta", "wait -5", "wait", "screenshot ../x", "quit 1 2",
                            "text", "move 99999 0", "menu 1 2", "menu x 2 Close", "await", "resize 1280", "resize 0 900", "resize a b",
                            "deadline", "deadline 0", "deadline soon"}) {
        lh::platform::ParsedScript parsed = parseInputScript(std::string("wait 1\n") + bad + "\n");
        EXPECT_EQ(parsed.error.rfind("line 2: ", 0), 0u) << bad << ": " << parsed.error;
        EXPECT_TRUE(parsed.steps.empty()) << bad;
    }

    // The program refuses a bad script before it starts anything.
    TempDir work;
    lh::test::writeFile(work.path() / "bad.txt", "move 1 2\nfly away\n");
    ChildProcess program(lh::test::builtProgram("lorehaven"),
                         {"--workdir", work.str(), "--host", "--campaign", "C", "--gm", "GM"},
                         {"LOREHAVEN_SCRIPT=" + (work.path() / "bad.txt").string()});
    EXPECT_EQ(program.wait(60s), 2);
    EXPECT_NE(program.errors().find("line 2: unknown step \"fly\""), std::string::npos) << program.errors();
}
