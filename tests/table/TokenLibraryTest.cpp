// The token library from disk: folders walked down in name order with '/'
// names, dot entries passed over, a picture that does not read dropped on
// the host; shared pictures noted to go with the Ruleset's files. A client
// keeps an entry for a picture it lacks, asks for it once, and draws it when
// the bytes arrive; unsafe names from the wire make nothing and fetch
// nothing.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/Paths.h"
#include "support/TestPictures.h"
#include "support/TestSupport.h"
#include "table/TokenLibrary.h"
#include "ui/RulesetFiles.h"

using namespace lh;
using namespace lh::table;

namespace {

std::vector<uint8_t> png(uint32_t w, uint32_t h, uint32_t argb) {
    return test::encodePng(w, h, std::vector<uint32_t>(size_t(w) * h, argb));
}

std::vector<std::string> namesOf(const TokenLibrary& lib) {
    std::vector<std::string> names;
    for (const auto& [name, def] : lib.entries()) names.push_back(name);
    return names;
}

}  // namespace

TEST(TokenLibrary, FoldersFetchesArrivalsAndUnsafeNames) {
    test::TempDir dir;
    platform::setWorkingDirectory(dir.path());
    ui::clearRulesetFiles();
    const auto& root = dir.path();
    test::writeFile(root / "tokens/shared/b.png", test::asText(png(4, 3, 0xFF102030u)));
    test::writeFile(root / "tokens/shared/a/deep.png", test::asText(png(2, 2, 0xFF405060u)));
    test::writeFile(root / "tokens/shared/.hidden.png", test::asText(png(2, 2, 0xFF000000u)));
    test::writeFile(root / "tokens/shared/broken.png", "no picture at all");
    test::writeFile(root / "tokens/host/secret.png", test::asText(png(5, 5, 0xFF708090u)));

    TokenLibrary host;
    host.setHost(true);
    host.LoadFolder("tokens\\shared", false);
    host.LoadFolder("tokens\\host", true);
    EXPECT_EQ(namesOf(host), (std::vector<std::string>{"tokens/host/secret.png", "tokens/shared/a/deep.png",
                                                       "tokens/shared/b.png"}));
    EXPECT_TRUE(host.find("tokens/host/secret.png")->hostOnly);
    EXPECT_FALSE(host.find("tokens/shared/b.png")->hostOnly);
    EXPECT_EQ(host.find("tokens/shared/b.png")->width(), 4);
    // Only the shared ones go to a joining player.
    const auto& noted = ui::rulesetFiles();
    EXPECT_NE(std::find(noted.begin(), noted.end(), "tokens\\shared\\b.png"), noted.end());
    EXPECT_EQ(std::find(noted.begin(), noted.end(), "tokens\\host\\secret.png"), noted.end());
    // The host never fetches: a name it has no picture for makes nothing.
    EXPECT_EQ(host.obtain("tokens/shared/gone.png", false), nullptr);

    TokenLibrary client;
    client.setHost(false);
    std::vector<std::string> asked;
    client.setFetcher([&](const std::string& name) {
        asked.push_back(name);
        return true;
    });
    TokenDef* late = client.obtain("tokens/campaign/new.png", true);
    ASSERT_NE(late, nullptr);
    EXPECT_FALSE(late->hasPicture());
    EXPECT_EQ(client.obtain("tokens/campaign/new.png", true), late);  // asked once
    EXPECT_EQ(asked, std::vector<std::string>{"tokens/campaign/new.png"});
    client.pictureArrived("tokens/campaign/new.png", "junk", 4);
    EXPECT_FALSE(late->hasPicture());
    const auto bytes = png(6, 7, 0xFF00FF00u);
    client.pictureArrived("tokens/campaign/new.png", bytes.data(), bytes.size());
    ASSERT_TRUE(late->hasPicture());
    EXPECT_EQ(late->height(), 7);
    EXPECT_EQ(late->generation, 1u);
    for (const char* unsafe : {"../secret.png", "tokens/../../x.png", "/etc/passwd", "C:/x.png", ""})
        EXPECT_EQ(client.obtain(unsafe, false), nullptr) << unsafe;
    EXPECT_EQ(asked.size(), 1u);
    ui::clearRulesetFiles();
}
