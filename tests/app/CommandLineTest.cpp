// The command line: the port rule, our flags, and where the window goes.
#include <gtest/gtest.h>

#include "app/CommandLine.h"
#include "app/WindowPlacement.h"

using namespace lh::app;

TEST(CommandLine, PortRuleTakesAnyLeadingMarkAndIgnoresTheRest) {
    for (const char* token : {"-p2000", "/p2000", "p2000"}) {
        CommandLine cl = parseCommandLine({token});
        ASSERT_TRUE(cl.port.has_value()) << token;
        EXPECT_EQ(*cl.port, 2000u);
        EXPECT_TRUE(cl.error.empty());
    }
    EXPECT_FALSE(parseCommandLine({"-x"}).port.has_value());
    EXPECT_TRUE(parseCommandLine({"-x"}).error.empty());  // ignored without a message
    EXPECT_FALSE(parseCommandLine({"/path"}).port.has_value());
    EXPECT_FALSE(parseCommandLine({"-port"}).port.has_value());
    // Tokens are split at blanks, and the last port token wins.
    CommandLine two = parseCommandLine({"-x p1900", "p2100"});
    EXPECT_EQ(*two.port, 2100u);
    // "%u" reads the leading digits and stops.
    EXPECT_EQ(*parseCommandLine({"p77abc"}).port, 77u);
    EXPECT_EQ(*parseCommandLine({"p65535"}).port, 65535u);
    EXPECT_EQ(*parseCommandLine({"-p1"}).port, 1u);
}

TEST(CommandLine, PortsOutsideOneTo65535AreRefusedWithAMessage) {
    for (const char* token : {"p70000", "/p0", "-p65536", "p99999999999999999999"}) {
        CommandLine cl = parseCommandLine({token});
        EXPECT_FALSE(cl.port.has_value()) << token;
        EXPECT_NE(cl.error.find("from 1 to 65535"), std::string::npos) << token << ": " << cl.error;
    }
    EXPECT_NE(parseCommandLine({"p70000"}).error.find("70000"), std::string::npos);
}

TEST(CommandLine, FlagValuesAreNotPortTokens) {
    CommandLine cl = parseCommandLine({"--host", "--campaign", "p123", "--workdir", "/path", "--password", "p9",
                                       "--gm", "Ann", "--ruleset", "Core"});
    EXPECT_FALSE(cl.port.has_value());
    EXPECT_EQ(cl.sessionMode, lh::db::SessionMode::Host);
    EXPECT_EQ(cl.campaignName, "p123");
    EXPECT_EQ(cl.workDir, "/path");
    EXPECT_EQ(cl.password, "p9");
    EXPECT_EQ(cl.gamemasterName, "Ann");
    EXPECT_EQ(cl.rulesetName, "Core");

    CommandLine join = parseCommandLine({"--join", "10.0.0.5", "--user", "Bo", "p3000"});
    EXPECT_EQ(join.sessionMode, lh::db::SessionMode::Join);
    EXPECT_EQ(join.joinAddress, "10.0.0.5");
    EXPECT_EQ(*join.port, 3000u);
    EXPECT_EQ(parseCommandLine({"--local"}).sessionMode, lh::db::SessionMode::LocalCharacters);

    EXPECT_FALSE(parseCommandLine({"--campaign"}).error.empty());
    EXPECT_FALSE(parseCommandLine({"--bogus"}).error.empty());
    EXPECT_FALSE(parseCommandLine({"--quit-after-ticks", "x"}).error.empty());
    EXPECT_EQ(parseCommandLine({"--quit-after-ticks", "12"}).quitAfterTicks, 12u);
}

TEST(WindowPlacement, CentresWithinTheScreenAndPicksFullScreen) {
    EXPECT_EQ(centredPosition(0, 1920, 1030), 445);
    EXPECT_EQ(centredPosition(100, 1920, 1030), 545);
    EXPECT_EQ(centredPosition(0, 800, 1030), 0);         // never below 0
    EXPECT_EQ(centredPosition(-500, 1000, 800), 0);
    EXPECT_TRUE(wantsFullScreen(1024, 768));
    EXPECT_TRUE(wantsFullScreen(1024, 1200));
    EXPECT_TRUE(wantsFullScreen(1280, 768));
    EXPECT_FALSE(wantsFullScreen(1025, 769));
}
