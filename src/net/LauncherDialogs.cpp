// The launcher's dialogs as plain models.
#include "net/LauncherDialogs.h"

#include <cstdio>

namespace lh::net {

std::string launcherField(const std::string& typed) { return typed.substr(0, kLauncherFieldMax); }

MainMenu::MainMenu() {
    char text[32];
    std::snprintf(text, sizeof text, "v.%u.%02u", 1u, 3u);
    versionText = text;
}

DialogOutcome MainMenu::choose(db::SessionMode sessionMode) {
    chosenMode = sessionMode;
    return DialogOutcome::end(1);
}

DialogOutcome smallDesktopWarning(int width, int height) {
    if (width >= 1024 && height >= 768) return DialogOutcome::stay();
    return DialogOutcome::box("Unsupported display mode",
                              "Your desktop is set too small for the optimal operation of Lorehaven.\n"
                              "Please set your desktop to 1024 by 768 or more.\n"
                              "If this is not done, the program might behave unexpectedly.");
}

void ConnectionProperties::open(db::SessionMode sessionMode, const LauncherFields& fields) {
    mode = sessionMode;
    userName = fields.userName;
    gamemasterName = fields.gamemasterName;
    hostAddress = fields.hostAddress;
    const bool host = sessionMode == db::SessionMode::Host;
    showGamemaster = host;
    showAddress = !host;
    startLabel = host ? "Continue" : "Start";
    focus = host ? FieldGamemaster : FieldAddress;
    selectFocusText = true;
    userEditable = fields.userName.empty();
    showChange = !userEditable;
    if (userEditable) focus = FieldUser;
}

void ConnectionProperties::pressChange() {
    showChange = false;
    userEditable = true;
    focus = FieldUser;
    selectFocusText = true;
}

DialogOutcome ConnectionProperties::pressStart(LauncherFields& fields) {
    std::string user = launcherField(userName);
    std::string gm = launcherField(gamemasterName);
    std::string address = launcherField(hostAddress);
    // The checks are for empty fields: a name of blanks passes.
    if (user.empty()) {
        focus = FieldUser;
        return DialogOutcome::box(kMissingTitle, "Specify a user name.");
    }
    if (mode == db::SessionMode::Host && gm.empty()) {
        focus = FieldGamemaster;
        return DialogOutcome::box(kMissingTitle, "You must specify a Gamemaster name.");
    }
    if (mode != db::SessionMode::Host && address.empty()) {
        focus = FieldAddress;
        return DialogOutcome::box(kMissingTitle, "You must specify the address to connect to");
    }
    fields.userName = user;
    fields.gamemasterName = gm;
    fields.hostAddress = address;
    return DialogOutcome::end(1);
}

void SelectRuleset::open(const std::vector<std::string>& list) {
    rulesets = list;
    selected = list.empty() ? -1 : 0;
}

DialogOutcome SelectRuleset::pressStart(std::string& ruleset) {
    if (selected < 0 || selected >= int(rulesets.size())) return DialogOutcome::stay();
    ruleset = rulesets[size_t(selected)];
    return DialogOutcome::end(1);
}

void HostOptions::open(const CampaignChoice& remembered, const std::vector<std::string>& machineAddresses,
                       const std::vector<std::string>& campaignList, const std::vector<std::string>& rulesetList) {
    // Each address is written in turn; the last one stays in the field.
    addressLine = machineAddresses.empty() ? "- error -" : machineAddresses.back();
    campaigns = campaignList;
    selectedCampaign = campaigns.empty() ? -1 : 0;
    for (size_t i = 0; i < campaigns.size(); ++i) {
        if (campaigns[i] == remembered.name) selectedCampaign = int(i);
    }
    rulesets = rulesetList;
    selectedRuleset = rulesets.empty() ? -1 : 0;
    loadMode = !remembered.name.empty();
    focus = loadMode ? FieldLoadList : FieldNewName;
    alias = remembered.alias;
    useAlias = !alias.empty();
    newName.clear();
    password.clear();
    usePassword = false;
}

void HostOptions::pressLoad() {
    loadMode = true;
    focus = FieldLoadList;
}

void HostOptions::pressCreate() {
    loadMode = false;
    focus = FieldNewName;
}

void HostOptions::togglePassword(bool on) {
    usePassword = on;
    if (on) focus = FieldPassword;
}

DialogOutcome HostOptions::pressGenerate(const HostOptionsServices& services) {
    if (!services.requestAlias) return DialogOutcome::box(kAddressServerErrorTitle, kAddressServerErrorText);
    std::string fresh;
    if (services.requestAlias(fresh)) alias = launcherField(fresh);
    return DialogOutcome::stay();
}

namespace {

// A Campaign name becomes a folder name under "campaigns": nothing in it may
// lead out of that folder or trip the file system.
bool isUsableFolderName(const std::string& name) {
    if (name == "." || name == "..") return false;
    for (char c : name) {
        if (c == '\\' || c == '/' || c == ':' || c == '*' || c == '?' || c == '"' || c == '<' || c == '>' ||
            c == '|' || static_cast<unsigned char>(c) < 32) {
            return false;
        }
    }
    return true;
}

}  // namespace

DialogOutcome HostOptions::pressStart(const HostOptionsServices& services, CampaignChoice& choice) {
    // A password typed and then switched off still counts.
    choice.password = launcherField(password);
    if (useAlias) {
        if (alias.empty()) {
            return DialogOutcome::box(kMissingTitle,
                                      "You must either disable the address server or generate an alias name");
        }
        if (!services.refreshAlias) return DialogOutcome::box(kAddressServerErrorTitle, kAddressServerErrorText);
        if (!services.refreshAlias(alias)) return DialogOutcome::stay();
        choice.alias = alias;
    }
    if (loadMode) {
        std::string name = selectedCampaign >= 0 && selectedCampaign < int(campaigns.size())
                               ? campaigns[size_t(selectedCampaign)]
                               : std::string();
        if (name.empty()) {
            focus = FieldLoadList;
            return DialogOutcome::box(kMissingTitle, "You must specify a campaign name");
        }
        choice.name = name;
        choice.isNew = false;
        if (services.openCampaign && !services.openCampaign(name)) return DialogOutcome::stay();
        return DialogOutcome::end(1);
    }
    std::string name = launcherField(newName);
    if (name.empty()) {
        focus = FieldNewName;
        return DialogOutcome::box(kMissingTitle, "You must specify a campaign name");
    }
    if (!isUsableFolderName(name)) {
        focus = FieldNewName;
        return DialogOutcome::box("Invalid campaign name",
                                  "A campaign name cannot be \".\" or \"..\", nor hold any of \\ / : * ? \" < > |");
    }
    if (selectedRuleset < 0 || selectedRuleset >= int(rulesets.size())) {
        focus = FieldRulesetList;
        return DialogOutcome::box(kMissingTitle, "You must select a ruleset.");
    }
    choice.name = name;
    choice.ruleset = rulesets[size_t(selectedRuleset)];
    choice.isNew = true;
    if (services.createCampaignFolder && !services.createCampaignFolder(name, choice.ruleset)) {
        return DialogOutcome::stay();
    }
    return DialogOutcome::end(1);
}

}  // namespace lh::net
