// The launcher's dialogs as plain models: the fields, what shows and what is
// enabled, and what each button does, with the checks and their words. A
// front end (drawn on screen, or a test script) presses the buttons and shows
// what the model says; the model never draws.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "db/SessionMode.h"

namespace lh::net {

// The launcher fields hold 50 bytes: at most 49 characters are taken.
constexpr size_t kLauncherFieldMax = 49;
std::string launcherField(const std::string& typed);

struct LauncherFields {
    std::string hostAddress;
    std::string userName;
    std::string gamemasterName;
};

// What a button press leaves behind: stay in the dialog (perhaps after a
// box), or end it with a result.
struct DialogOutcome {
    bool ends = false;
    int result = 0;
    std::string boxTitle;  // non-empty: show this box first
    std::string boxText;
    static DialogOutcome stay() { return {}; }
    static DialogOutcome end(int r) { return {true, r, {}, {}}; }
    static DialogOutcome box(const std::string& title, const std::string& text) { return {false, 0, title, text}; }
};

constexpr const char* kMissingTitle = "Required parameter missing";

struct MainMenu {
    std::string versionText;   // "v.1.03"
    // Set by the three large buttons; empty while none was pressed.
    std::optional<db::SessionMode> chosenMode;
    MainMenu();
    DialogOutcome choose(db::SessionMode sessionMode);
    DialogOutcome close() { return DialogOutcome::end(0); }
};

// The box the main menu shows first on a small desktop, or empty texts.
DialogOutcome smallDesktopWarning(int width, int height);

struct ConnectionProperties {
    enum Field { FieldUser, FieldGamemaster, FieldAddress };
    // Shown state, set by open().
    bool showGamemaster = false;
    bool showAddress = false;
    std::string startLabel;
    bool userEditable = false;
    bool showChange = false;
    Field focus = FieldUser;
    bool selectFocusText = false;
    // The edit fields as typed.
    std::string userName, gamemasterName, hostAddress;

    void open(db::SessionMode sessionMode, const LauncherFields& fields);
    void pressChange();
    // On success the fields go back into `fields` and the dialog ends with 1.
    DialogOutcome pressStart(LauncherFields& fields);
    DialogOutcome pressBack() { return DialogOutcome::end(0); }
    DialogOutcome close() { return DialogOutcome::end(-1); }

private:
    db::SessionMode mode = db::SessionMode::Host;
};

struct SelectRuleset {
    std::vector<std::string> rulesets;
    int selected = -1;
    void open(const std::vector<std::string>& list);
    DialogOutcome pressStart(std::string& ruleset);  // a double click is the same
    DialogOutcome pressBack() { return DialogOutcome::end(0); }
    DialogOutcome close() { return DialogOutcome::end(-1); }
};

// The box of an address server that cannot be reached.
constexpr const char* kAddressServerErrorTitle = "Network error";
constexpr const char* kAddressServerErrorText = "Could not access the address server.\nCheck your internet connection.";

// What "Host options" needs from outside; tests replace each.
struct HostOptionsServices {
    // Address server: a new alias (true and the alias) and the refresh of
    // one; each tells its own failures. Without them there is no server to
    // reach, and the dialog fails as with one that cannot be reached.
    bool (*requestAlias)(std::string& alias) = nullptr;
    bool (*refreshAlias)(const std::string& alias) = nullptr;
    // The Campaign folder for "Load campaign" and "Create new campaign".
    bool (*openCampaign)(const std::string& name) = nullptr;
    bool (*createCampaignFolder)(const std::string& name, const std::string& ruleset) = nullptr;
};

struct CampaignChoice {
    std::string name;
    std::string ruleset;
    std::string password;
    std::string alias;
    bool isNew = false;
};

struct HostOptions {
    enum Field { FieldLoadList, FieldNewName, FieldRulesetList, FieldAlias, FieldPassword };
    std::string addressLine;                 // "Players connect to the ip address"
    std::vector<std::string> campaigns;
    int selectedCampaign = -1;
    std::vector<std::string> rulesets;
    int selectedRuleset = -1;
    bool loadMode = false;                   // "Load campaign" on, else "Create new campaign"
    std::string newName;
    bool useAlias = false;
    std::string alias;
    bool usePassword = false;
    std::string password;
    Field focus = FieldNewName;

    void open(const CampaignChoice& remembered, const std::vector<std::string>& machineAddresses,
              const std::vector<std::string>& campaignList, const std::vector<std::string>& rulesetList);
    void pressLoad();
    void pressCreate();
    void toggleAlias(bool on) { useAlias = on; }
    void togglePassword(bool on);
    DialogOutcome pressGenerate(const HostOptionsServices& services);
    DialogOutcome pressStart(const HostOptionsServices& services, CampaignChoice& choice);
    DialogOutcome close() { return DialogOutcome::end(0); }
};

}  // namespace lh::net
