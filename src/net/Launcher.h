// The launcher: the chain of dialogs that settles how this run works (host,
// join or local characters; names; address; Campaign), with the values it
// remembers between runs.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "net/LauncherDialogs.h"

namespace lh::net {

constexpr const char* kRegistryKey = "Software\\Lorehaven";

// The front end that shows the dialogs: on screen, or a script in tests.
// Each run* shows its dialog until a button press ends it, showing the box of
// every outcome that carries one, and returns the dialog's result.
class LauncherUi {
public:
    virtual ~LauncherUi() = default;
    virtual void showBox(const std::string& title, const std::string& text) = 0;
    virtual int runMainMenu(MainMenu& menu) = 0;
    virtual int runConnectionProperties(ConnectionProperties& dialog, LauncherFields& fields) = 0;
    virtual int runSelectRuleset(SelectRuleset& dialog, std::string& ruleset) = 0;
    virtual int runHostOptions(HostOptions& dialog, const HostOptionsServices& services,
                               CampaignChoice& choice) = 0;
};

struct LauncherContext {
    int screenWidth = 1920;
    int screenHeight = 1080;
    // The address test of a client: 0 go on (the text may have been
    // replaced by an address), -1 back to the main menu.
    std::function<int(std::string& hostAddress)> resolveHostAddress;
    // Ruleset folders inside the resource archive, listed before those on disk.
    std::function<std::vector<std::string>()> archiveRulesets;
};

struct LauncherResult {
    db::SessionMode sessionMode = db::SessionMode::Host;
    LauncherFields fields;
    std::string ruleset;   // local characters: the chosen Ruleset
};

// Runs the flow up to the settled mode. 0: the user quit; 1: go on.
// `result.fields` comes in pre-filled (the command line) and is completed
// from the remembered values where it is empty.
int runLauncher(LauncherUi& ui, const LauncherContext& context, LauncherResult& result);

// "Host options" with its remembered values. 0: quit; 1: go on.
int runHostOptions(LauncherUi& ui, const HostOptionsServices& services, const std::vector<std::string>& addresses,
                   const LauncherContext& context, CampaignChoice& choice);

// Folders of "campaigns" that hold a readable "db.xml", names not starting
// with '.'.
std::vector<std::string> listCampaigns();
// The archive's Ruleset folders, then those of "rulesets" not yet listed.
std::vector<std::string> listRulesets(const std::vector<std::string>& archiveRulesets);

// "localhost" (any case) and anything with a dot is an address; the rest is
// an alias for the address server.
bool looksLikeAddress(const std::string& text);

}  // namespace lh::net
