// A client fetches the host's Ruleset before loading it and shows the same
// Desktop: the host's Ruleset lives on disk (the archive holds other ones),
// so every file of it crosses the session port; both take a screenshot and
// the pictures must agree pixel for pixel.
#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "platform/Paths.h"
#include "support/TestSupport.h"
#include "ui/PictureDecoder.h"
#include "ui/ResourceFile.h"

using lh::test::ChildProcess;
using lh::test::TempDir;
using namespace std::chrono_literals;
namespace fs = std::filesystem;

namespace {

lh::ui::PixelImage decodeFile(const fs::path& path) {
    std::string bytes = lh::test::readFile(path);
    lh::ui::PixelImage image;
    lh::ui::decodePicture(bytes.data(), bytes.size(), image);
    return image;
}

}  // namespace

TEST(RulesetFetch, ClientFetchesTheHostsRulesetAndShowsTheSameDesktop) {
    TempDir hostDir, clientDir;
    // The host's Ruleset "Disky": the default Desktop picture, on disk.
    lh::ui::ResourceFile::setArchivePath(std::string(LOREHAVEN_BINARY_DIR) + "/resource.pak");
    lh::ui::ResourceFile picture;
    ASSERT_TRUE(picture.Open("rulesets\\Lorehaven\\graphics\\desktop.png"));
    lh::test::writeFile(hostDir.path() / "rulesets/Disky/graphics/desktop.png",
                        std::string(picture.data(), picture.size()));
    lh::test::writeFile(hostDir.path() / "rulesets/Disky/base.xml",
                        "<root>\n  <desktopimage file=\"rulesets\\Disky\\graphics\\desktop.png\" />\n</root>\n");

    uint16_t port = lh::test::freeTcpPort();
    std::string p = "p" + std::to_string(port);
    ChildProcess host(lh::test::builtProgram("lorehaven"), {"--workdir", hostDir.str(), "--host", "--campaign", "C",
                                                            "--gm", "GM", "--ruleset", "Disky", p,
                                                            "--screenshot-at-tick", "5"});
    for (int i = 0; i < 600 && !fs::exists(hostDir.path() / "screenshot0001.png"); ++i) std::this_thread::sleep_for(50ms);
    ASSERT_TRUE(fs::exists(hostDir.path() / "screenshot0001.png")) << host.errors();

    ChildProcess client(lh::test::builtProgram("lorehaven"),
                        {"--workdir", clientDir.str(), "--join", "127.0.0.1", "--user", "Ann", p,
                         "--screenshot-at-tick", "5", "--quit-after-ticks", "10"});
    ASSERT_EQ(client.wait(60s), 0) << client.errors();
    for (const char* file : {"rulesets/Disky/base.xml", "rulesets/Disky/graphics/desktop.png"}) {
        ASSERT_TRUE(fs::exists(clientDir.path() / file)) << file;
        EXPECT_EQ(lh::test::readFile(clientDir.path() / file), lh::test::readFile(hostDir.path() / file)) << file;
    }
    lh::ui::PixelImage seenByHost = decodeFile(hostDir.path() / "screenshot0001.png");
    lh::ui::PixelImage seenByClient = decodeFile(clientDir.path() / "screenshot0001.png");
    ASSERT_FALSE(seenByHost.empty());
    EXPECT_EQ(seenByHost.width, seenByClient.width);
    EXPECT_EQ(seenByHost.height, seenByClient.height);
    EXPECT_TRUE(seenByHost.pixels == seenByClient.pixels);
    // Not a black screen that would match anything: the picture is there.
    EXPECT_NE(seenByClient.pixels[100 * seenByClient.width + 100] & 0xFFFFFF, 0u);
    host.signal(SIGTERM);
    EXPECT_EQ(host.wait(30s), 255);
    lh::ui::ResourceFile::setArchivePath("resource.pak");
}
