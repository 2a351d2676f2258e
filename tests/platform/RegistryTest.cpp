// Remembered values survive a round trip through the INI file, odd bytes too.
#include <gtest/gtest.h>

#include <cstdlib>

#include "platform/Registry.h"
#include "support/TestSupport.h"

using namespace lh::platform;

TEST(Registry, ValuesRoundTripAndMissingReadsAsAbsent) {
    lh::test::TempDir dir;
    const char* previous = std::getenv("LOREHAVEN_CONFIG_DIR");
    std::string restore = previous ? previous : "";
    setenv("LOREHAVEN_CONFIG_DIR", (dir.path() / "cfg").c_str(), 1);
    const std::string key = "Software\\Lorehaven";
    EXPECT_FALSE(readRegistryValue(key, "LastUsername").has_value());  // no file yet

    EXPECT_TRUE(writeRegistryValue(key, "LastUsername", "Ann"));
    EXPECT_TRUE(writeRegistryValue(key, "LastHostAddress", "a=b\\c\r\nd \xE9"));
    EXPECT_TRUE(writeRegistryValue("Other", "LastUsername", "Bo"));
    EXPECT_TRUE(writeRegistryValue(key, "Empty", ""));
    EXPECT_EQ(readRegistryValue(key, "LastUsername"), "Ann");
    EXPECT_EQ(readRegistryValue(key, "LastHostAddress"), "a=b\\c\r\nd \xE9");
    EXPECT_EQ(readRegistryValue("Other", "LastUsername"), "Bo");
    EXPECT_EQ(readRegistryValue(key, "Empty"), "");
    EXPECT_FALSE(readRegistryValue(key, "SessionKey").has_value());

    EXPECT_TRUE(writeRegistryValue(key, "LastUsername", "Cy"));  // replaces, keeps the rest
    EXPECT_EQ(readRegistryValue(key, "LastUsername"), "Cy");
    EXPECT_EQ(readRegistryValue("Other", "LastUsername"), "Bo");
    EXPECT_FALSE(writeRegistryValue(key, "bad=name", "x"));

    // A damaged file reads what it can and never fails the program.
    lh::test::writeFile(registryFile(), "garbage\n[Software\\Lorehaven\nx\n[Software\\Lorehaven]\nLastIdentity=GM\n");
    EXPECT_EQ(readRegistryValue(key, "LastIdentity"), "GM");
    setenv("LOREHAVEN_CONFIG_DIR", restore.c_str(), 1);
}
