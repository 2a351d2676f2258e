// Program paths with backslashes map onto the disk, case-blind on a miss.
#include <gtest/gtest.h>

#include "platform/Paths.h"
#include "support/TestSupport.h"

using namespace lh::platform;

TEST(Paths, BackslashesAndCaseBlindRetry) {
    lh::test::TempDir dir;
    setWorkingDirectory(dir.path());
    lh::test::writeFile(dir.path() / "rulesets" / "Core" / "Icons" / "Die.png", "x");
    EXPECT_EQ(diskPath("rulesets\\Core\\Icons\\Die.png"), dir.path() / "rulesets/Core/Icons/Die.png");
    EXPECT_EQ(diskPath("RULESETS\\core\\icons\\die.PNG"), dir.path() / "rulesets/Core/Icons/Die.png");
    // A miss keeps the plain mapping, so the caller can create the file there.
    EXPECT_EQ(diskPath("campaigns\\New\\db.xml"), dir.path() / "campaigns/New/db.xml");
    EXPECT_EQ(joinProgramPath({"campaigns", "A", "db.xml"}), "campaigns\\A\\db.xml");
}

TEST(Paths, OnlyPlainRelativePathsAreSafe) {
    EXPECT_TRUE(isSafeRelativePath("rulesets\\Core\\base.xml"));
    EXPECT_TRUE(isSafeRelativePath("tokens/shared/a..b.png"));
    EXPECT_FALSE(isSafeRelativePath("..\\..\\etc\\passwd"));
    EXPECT_FALSE(isSafeRelativePath("rulesets\\..\\..\\x"));
    EXPECT_FALSE(isSafeRelativePath("/etc/passwd"));
    EXPECT_FALSE(isSafeRelativePath("\\etc\\passwd"));
    EXPECT_FALSE(isSafeRelativePath("C:\\Windows"));
    EXPECT_FALSE(isSafeRelativePath(""));
}
