// The launcher's window, driven headless by the keyboard alone: a first start
// with nothing remembered, through every check that the keys run into, to a
// new Campaign, with what it writes for the next run.
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <vector>

#include "app/LauncherWindow.h"
#include "net/Launcher.h"
#include "platform/ImGuiInput.h"
#include "platform/Paths.h"
#include "platform/Platform.h"
#include "platform/Registry.h"
#include "support/TestSupport.h"

using namespace lh;

namespace {

std::string created;
std::string held;  // the key pressed in the last step, let go in the next frame

void press(const char* key) {
    held = key;
    lh::platform::pushKey(key, true);
}

}  // namespace

TEST(LauncherUi, FirstStartByKeyboardAlone) {
    test::TempDir dir;
    setenv("LOREHAVEN_CONFIG_DIR", (dir.path() / "config").c_str(), 1);
    platform::setWorkingDirectory(dir.path());
    test::writeFile(dir.path() / "rulesets/Basic/base.xml", "<root/>");
    std::string error;
    ASSERT_TRUE(platform::initialize(error)) << error;
    std::unique_ptr<app::LauncherWindow> window = app::LauncherWindow::create(error);
    ASSERT_TRUE(window) << error;
    window->idleWaitMs = 2;
    window->quietWaitMs = 2;

    // One key or word every few frames, as a (fast) person would type.
    std::vector<std::function<void()>> script = {
        [] { press("Return"); },   // main menu: the default "Host a Game"
        [] { platform::pushText("Ann"); },      // nothing remembered: the user name has the focus
        [] { press("Return"); },   // "Continue" without a Gamemaster name: a box
        [] { press("Return"); },   // OK
        [] { platform::pushText("Keeper"); },   // the focus went to the missing field
        [] { press("Return"); },   // "Continue"
        [] { press("Return"); },   // "Start" with no name: a box
        [] { press("Escape"); },   // dismissed
        [] { platform::pushText("Saga"); },     // "Create new campaign" is on, its name field focused
        [] { press("Return"); },   // "Start"
    };
    size_t step = 0;
    window->onFrame = [&](int frame) {
        if (!held.empty()) {
            platform::pushKey(held.c_str(), false);
            held.clear();
        }
        if (frame % 5 == 4 && step < script.size()) script[step++]();
        if (frame > 2000) platform::pushWindowClose();  // never hang the suite
    };

    net::ImGuiLauncherUi ui(*window);
    net::LauncherContext context;
    net::LauncherResult result;
    ASSERT_EQ(net::runLauncher(ui, context, result), 1);
    EXPECT_EQ(result.sessionMode, lh::db::SessionMode::Host);
    EXPECT_EQ(result.fields.userName, "Ann");
    EXPECT_EQ(result.fields.gamemasterName, "Keeper");

    net::HostOptionsServices services;
    services.createCampaignFolder = [](const std::string& name, const std::string& ruleset) {
        created = name + "/" + ruleset;
        return true;
    };
    net::CampaignChoice choice;
    ASSERT_EQ(net::runHostOptions(ui, services, {"127.0.0.1", "10.9.8.7"}, context, choice), 1);
    EXPECT_EQ(created, "Saga/Basic");
    EXPECT_EQ(step, script.size());
    EXPECT_EQ(platform::readRegistryValue(net::kRegistryKey, "LastUsername"), "Ann");
    EXPECT_EQ(platform::readRegistryValue(net::kRegistryKey, "LastIdentity"), "Keeper");
    EXPECT_EQ(platform::readRegistryValue(net::kRegistryKey, "LastSession"), "Saga");

    window.reset();
    platform::shutdown();
}
