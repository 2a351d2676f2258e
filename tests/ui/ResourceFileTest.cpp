// The resource archive shadows the disk; lookups and enumerations follow the
// archive's rules, and a damaged archive finds nothing without harm.
#include <gtest/gtest.h>

#include <cstdlib>

#include "ZipWriter.h"
#include "platform/Paths.h"
#include "support/TestSupport.h"
#include "ui/ResourceFile.h"

using lh::ui::ResourceFile;

namespace {

struct ArchiveSandbox {
    lh::test::TempDir dir;
    ArchiveSandbox() {
        lh::platform::setWorkingDirectory(dir.path());
        ResourceFile::setArchivePath("resource.pak");
        lh::test::writeZip((dir.path() / "resource.pak").string(),
                           {{"rulesets/", ""},
                            {"rulesets/ABC/", ""},
                            {"rulesets/ABC/base.xml", "<root>packed</root>"},
                            {"rulesets/ABC/graphics/", ""},
                            {"rulesets/Other/", ""},
                            {"data/tokens/a.png", std::string(5000, 'a')},
                            {"data/tokens/b.png", "b"},
                            {"data/tokensx/c.png", "c"},
                            {"data/tokens/empty.png", ""}});
    }
};

std::vector<std::string> filesUnder(const std::string& prefix) {
    std::vector<std::string> names;
    ResourceFile r;
    for (bool ok = r.FirstFile(prefix); ok; ok = r.NextFile()) names.push_back(r.name() + ":" + std::to_string(r.size()));
    EXPECT_FALSE(r.NextFile());  // stays done
    return names;
}

}  // namespace

TEST(ResourceFile, ArchiveFirstThenDiskWithPathRules) {
    ArchiveSandbox box;
    lh::test::writeFile(box.dir.path() / "rulesets/ABC/base.xml", "<root>disk</root>");
    lh::test::writeFile(box.dir.path() / "rulesets/ABC/extra.xml", "<x/>");

    ResourceFile r;
    ASSERT_TRUE(r.Open("rulesets\\abc\\BASE.xml"));  // archive, any case, backslashes
    EXPECT_EQ(std::string(r.data()), "<root>packed</root>");
    EXPECT_EQ(r.size(), 19u);
    EXPECT_EQ(r.data()[r.size()], 0);
    ASSERT_TRUE(r.Open("rulesets\\ABC\\extra.xml"));  // not in the archive: disk
    EXPECT_EQ(std::string(r.data(), r.size()), "<x/>");
    EXPECT_TRUE(r.Open("RULESETS\\abc\\EXTRA.XML"));   // disk, case-blind retry
    EXPECT_FALSE(r.Open("rulesets\\ABC\\missing.xml"));
    EXPECT_EQ(r.data(), nullptr);
    EXPECT_EQ(r.size(), 0u);

    EXPECT_TRUE(ResourceFile::Exists("rulesets\\ABC\\base.xml"));
    EXPECT_FALSE(ResourceFile::Exists("rulesets\\ABC\\extra.xml"));  // the archive only
}

TEST(ResourceFile, EnumeratesFilesByPrefixAndDirectChildFolders) {
    ArchiveSandbox box;
    EXPECT_EQ(filesUnder("data\\TOKENS\\"), (std::vector<std::string>{"data/tokens/a.png:5000", "data/tokens/b.png:1"}));
    EXPECT_EQ(filesUnder("nothing"), std::vector<std::string>{});

    std::vector<std::string> folders;
    ResourceFile r;
    std::string name;
    for (bool ok = r.FirstFolder("rulesets/", name); ok; ok = r.NextFolder(name)) folders.push_back(name);
    EXPECT_EQ(folders, (std::vector<std::string>{"rulesets/ABC/", "rulesets/Other/"}));
    EXPECT_EQ(lh::ui::archiveRulesetFolders(), (std::vector<std::string>{"ABC", "Other"}));
    EXPECT_TRUE(lh::ui::matchesResourcePrefix("data\\tok", "DATA/TOKENS/x"));
    EXPECT_FALSE(lh::ui::matchesResourcePrefix("data\\tokens\\", "data/tok"));
}

TEST(ResourceFile, DamagedOrMissingArchiveFindsNothing) {
    lh::test::TempDir dir;
    lh::platform::setWorkingDirectory(dir.path());
    ResourceFile r;
    EXPECT_FALSE(r.Open("rulesets\\ABC\\base.xml"));  // no archive at all
    std::string good;
    {
        ArchiveSandbox box;
        good = lh::test::readFile(box.dir.path() / "resource.pak");
    }
    lh::platform::setWorkingDirectory(dir.path());
    // Every cut of the archive and a few flipped bytes: never a crash, and a
    // found entry is always whole.
    for (size_t cut = 0; cut < good.size(); cut += 7) {
        lh::test::writeFile(dir.path() / "resource.pak", good.substr(0, cut));
        if (r.Open("data/tokens/a.png")) {
            EXPECT_EQ(std::string(r.data(), r.size()), std::string(5000, 'a'));
        }
        std::vector<std::string> names;
        for (bool ok = r.FirstFile("data/"); ok; ok = r.NextFile()) names.push_back(r.name());
    }
    for (size_t at = 0; at < good.size(); at += 13) {
        std::string bad = good;
        bad[at] = char(bad[at] ^ 0x5A);
        lh::test::writeFile(dir.path() / "resource.pak", bad);
        if (r.Open("data/tokens/a.png")) {
            EXPECT_EQ(std::string(r.data(), r.size()), std::string(5000, 'a'));
        }
    }
}

TEST(ResourceFile, ReplacedOrRemovedArchiveIsReadAnew) {
    ArchiveSandbox box;
    ResourceFile r;
    ASSERT_TRUE(r.Open("rulesets\\abc\\BASE.XML"));
    EXPECT_TRUE(ResourceFile::Exists("data/tokens/b.png"));
    // Another archive under the same name: the kept handle must not answer.
    lh::test::writeZip((box.dir.path() / "resource.pak").string(), {{"rulesets/ABC/base.xml", "<root>second one</root>"}});
    ASSERT_TRUE(r.Open("rulesets\\abc\\base.xml"));
    EXPECT_STREQ(r.data(), "<root>second one</root>");
    EXPECT_FALSE(ResourceFile::Exists("data/tokens/b.png"));
    std::filesystem::remove(box.dir.path() / "resource.pak");
    EXPECT_FALSE(ResourceFile::Exists("rulesets/ABC/base.xml"));
    EXPECT_FALSE(r.Open("rulesets\\abc\\base.xml"));
}

namespace {
// The most this process has held in memory at once, in kB.
long peakResidentKb() {
    std::string status = lh::test::readFile("/proc/self/status");
    size_t at = status.find("VmHWM:");
    return at == std::string::npos ? 0 : std::strtol(status.c_str() + at + 6, nullptr, 10);
}
}  // namespace

TEST(ResourceFile, EntryClaimingMoreThanItHoldsTakesNoMemoryForTheClaim) {
    // Found by fuzzing: a stored entry of 5 bytes whose headers claim
    // 400 MB; the reader took the claim's memory before reading a byte.
    lh::test::TempDir dir;
    lh::platform::setWorkingDirectory(dir.path());
    std::filesystem::copy_file(std::string(LOREHAVEN_TEST_DATA) + "/malformed/fuzz_resource/entry_claims_400mb.pak",
                               dir.path() / "resource.pak");
    ResourceFile::setArchivePath("resource.pak");
    long before = peakResidentKb();
    ResourceFile r;
    EXPECT_TRUE(ResourceFile::Exists("big.txt"));
    EXPECT_FALSE(r.Open("big.txt"));
    EXPECT_FALSE(r.FirstFile(""));
    EXPECT_LT(peakResidentKb() - before, 64 * 1024);
}
