// A Ruleset whose base file is not well formed ends the loading program with
// the box text and exit code -1 (255 as the parent sees it).
#include <gtest/gtest.h>

#include <chrono>

#include "support/TestSupport.h"

namespace lh::test {
namespace {

TEST(RulesetProcess, MalformedBaseEndsWithTheBoxAndMinusOne) {
    TempDir dir;
    writeFile(dir.path() / "rulesets/Broken/base.xml", "<root>\n  <font name=\"x\">\n</root>\n");
    // The program itself, at its content load.
    ChildProcess probe(builtProgram("lorehaven"),
                       {"--workdir", dir.str(), "--local", "--ruleset", "Broken", "--quit-after-ticks", "5"});
    EXPECT_EQ(probe.wait(std::chrono::seconds(60)), 255);
    EXPECT_NE(probe.errors().find("rulesets\\Broken\\base.xml"), std::string::npos) << probe.errors();
    EXPECT_NE(probe.errors().find("Error on line 3"), std::string::npos) << probe.errors();
    EXPECT_EQ(probe.output().find("fonts"), std::string::npos);

    // A base file that is not there at all ends the same way.
    ChildProcess missing(builtProgram("lorehaven"),
                         {"--workdir", dir.str(), "--local", "--ruleset", "Nowhere", "--quit-after-ticks", "5"});
    EXPECT_EQ(missing.wait(std::chrono::seconds(60)), 255);
    EXPECT_NE(missing.errors().find("rulesets\\Nowhere\\base.xml"), std::string::npos) << missing.errors();

    // And a good one loads (the probe prints what the maps hold).
    writeFile(dir.path() / "rulesets/Good/base.xml", "<root><icon name=\"i\" file=\"none.png\"/></root>");
    ChildProcess good(builtProgram("lh_ruleset_probe"), {"--workdir", dir.str(), "--ruleset", "Good"});
    EXPECT_EQ(good.wait(std::chrono::seconds(60)), 0);
    EXPECT_NE(good.output().find("icons 1"), std::string::npos) << good.output();
}

}  // namespace
}  // namespace lh::test
