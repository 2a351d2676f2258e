// Choosing the way in: the command line settles what it can, and the
// launcher's dialogs ask for the rest.
#pragma once

#include <string>

#include "app/CommandLine.h"
#include "db/SessionMode.h"
#include "net/Launcher.h"

namespace lh::app {

struct WayIn {
    db::SessionMode sessionMode = db::SessionMode::Host;
    net::LauncherFields fields;      // user name, Gamemaster name, host address
    net::CampaignChoice campaign;    // the host's Campaign
    std::string localRuleset;        // local characters: the chosen Ruleset
};

// Fills `wayIn` from the flags; true when they settle everything, so that no
// dialog needs to show.
bool wayInFromCommandLine(const CommandLine& cl, WayIn& wayIn);

// Runs the launcher window for what the flags left open. 0: the user quit;
// 1: go on. `services` opens or creates the host's Campaign folder.
int runLauncherDialogs(WayIn& wayIn, const net::HostOptionsServices& services);

}  // namespace lh::app
