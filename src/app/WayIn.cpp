// Choosing the way in.
#include "app/WayIn.h"

#include <cstdio>

#include "app/LauncherWindow.h"
#include "platform/Browser.h"
#include "platform/HostAddresses.h"
#include "platform/Paths.h"
#include "platform/Platform.h"
#include "ui/ResourceFile.h"

namespace lh::app {

namespace {

// Help pages live in the resource archive (or beside it on disk); the
// browser needs a file, so the page is written out to "temp" first.
void openHelpPage(int which) {
    static const char* const pages[] = {"help\\credits.html", "help\\license.html", "help\\tutorial.html"};
    if (which < 0 || which > 2) return;
    ui::ResourceFile page;
    if (!page.Open(pages[which])) return;
    std::filesystem::path out = platform::diskPath(std::string("temp\\") + (pages[which] + 5));
    if (FILE* f = std::fopen(out.c_str(), "wb")) {
        std::fwrite(page.data(), 1, page.size(), f);
        std::fclose(f);
        platform::openInBrowser(out.string());
    }
}

// The client's test of the address: an alias goes to the address server.
int resolveHostAddress(std::string& address) {
    if (net::looksLikeAddress(address)) return 0;
    // FIXME: aliases go to the address server, which arrives later; until
    // then an alias fails as an unreachable server does.
    platform::messageBox(net::kAddressServerErrorTitle, net::kAddressServerErrorText);
    return -1;
}

net::LauncherContext launcherContext() {
    net::LauncherContext context;
    platform::ScreenSize screen = platform::primaryScreen();
    context.screenWidth = screen.width;
    context.screenHeight = screen.height;
    context.archiveRulesets = [] { return ui::archiveRulesetFolders(); };
    context.resolveHostAddress = resolveHostAddress;
    return context;
}

}  // namespace

bool wayInFromCommandLine(const CommandLine& cl, WayIn& w) {
    w.fields.userName = net::launcherField(cl.userName);
    w.fields.gamemasterName = net::launcherField(cl.gamemasterName);
    w.fields.hostAddress = net::launcherField(cl.joinAddress);
    w.campaign.name = cl.campaignName;
    w.campaign.ruleset = cl.rulesetName;
    w.campaign.password = net::launcherField(cl.password);
    w.localRuleset = cl.rulesetName;
    if (!cl.sessionMode) return false;
    w.sessionMode = *cl.sessionMode;
    switch (w.sessionMode) {
    case db::SessionMode::Host:
        // The user name defaults to the Gamemaster's, and a host needs one.
        // The Gamemaster's may be empty: he then speaks as the Narrator.
        if (w.fields.userName.empty()) w.fields.userName = w.fields.gamemasterName;
        return !w.campaign.name.empty() && !w.fields.userName.empty();
    case db::SessionMode::Join:
        // An alias that the address server cannot translate sends the user
        // to the launcher's main menu, as the dialogs' own test does.
        return !w.fields.userName.empty() && !w.fields.hostAddress.empty() &&
               resolveHostAddress(w.fields.hostAddress) == 0;
    case db::SessionMode::LocalCharacters:
        break;
    }
    return !w.localRuleset.empty();
}

int runLauncherDialogs(WayIn& w, const net::HostOptionsServices& services) {
    std::string error;
    std::unique_ptr<LauncherWindow> window = LauncherWindow::create(error);
    if (!window) {
        platform::messageBox("Lorehaven", "The launcher could not start: " + error);
        return 0;
    }
    net::ImGuiLauncherUi ui(*window);
    ui.openHelp = openHelpPage;
    net::LauncherContext context = launcherContext();
    net::LauncherResult result;
    result.fields = w.fields;
    if (net::runLauncher(ui, context, result) == 0) return 0;
    // The launcher's menu answers 0, 1 or 2, in the order of the modes.
    w.sessionMode = result.sessionMode;
    w.fields = result.fields;
    w.localRuleset = result.ruleset;
    if (w.sessionMode != db::SessionMode::Host) return 1;
    return net::runHostOptions(ui, services, platform::hostAddresses(), context, w.campaign);
}

}  // namespace lh::app
