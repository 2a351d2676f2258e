// The launcher flow.
#include "net/Launcher.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "platform/Paths.h"
#include "platform/Registry.h"

namespace lh::net {

namespace fs = std::filesystem;

namespace {

std::string remembered(const char* name) {
    return launcherField(platform::readRegistryValue(kRegistryKey, name).value_or(""));
}

void fillIfEmpty(std::string& field, const char* name) {
    if (field.empty()) field = remembered(name);
}

std::vector<std::string> sortedFolders(const fs::path& dir) {
    std::vector<std::string> names;
    std::error_code ec;
    for (fs::directory_iterator it(dir, ec), end; !ec && it != end; it.increment(ec)) {
        std::string name = it->path().filename().string();
        if (name.empty() || name[0] == '.' || !it->is_directory(ec)) continue;
        names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace

bool looksLikeAddress(const std::string& text) {
    if (text.find('.') != std::string::npos) return true;
    std::string lower = text;
    for (char& c : lower) c = char(std::tolower(static_cast<unsigned char>(c)));
    return lower == "localhost";
}

int runLauncher(LauncherUi& ui, const LauncherContext& context, LauncherResult& result) {
    fillIfEmpty(result.fields.hostAddress, "LastHostAddress");
    fillIfEmpty(result.fields.userName, "LastUsername");
    fillIfEmpty(result.fields.gamemasterName, "LastIdentity");

    DialogOutcome warning = smallDesktopWarning(context.screenWidth, context.screenHeight);
    bool warned = false;
    for (;;) {
        MainMenu menu;
        if (!warned && !warning.boxTitle.empty()) ui.showBox(warning.boxTitle, warning.boxText);
        warned = true;
        if (ui.runMainMenu(menu) <= 0 || !menu.chosenMode) return 0;
        result.sessionMode = *menu.chosenMode;

        if (result.sessionMode == db::SessionMode::LocalCharacters) {
            SelectRuleset select;
            select.open(listRulesets(context.archiveRulesets ? context.archiveRulesets() : std::vector<std::string>{}));
            int r = ui.runSelectRuleset(select, result.ruleset);
            if (r < 0) return 0;
            if (r > 0) return 1;
            continue;
        }

        ConnectionProperties dialog;
        dialog.open(result.sessionMode, result.fields);
        int r = ui.runConnectionProperties(dialog, result.fields);
        if (r < 0) return 0;
        if (r == 0) continue;
        platform::writeRegistryValue(kRegistryKey, "LastHostAddress", result.fields.hostAddress);
        platform::writeRegistryValue(kRegistryKey, "LastUsername", result.fields.userName);
        platform::writeRegistryValue(kRegistryKey, "LastIdentity", result.fields.gamemasterName);
        if (result.sessionMode == db::SessionMode::Host) return 1;
        if (!context.resolveHostAddress || context.resolveHostAddress(result.fields.hostAddress) == 0) return 1;
    }
}

int runHostOptions(LauncherUi& ui, const HostOptionsServices& services, const std::vector<std::string>& addresses,
                   const LauncherContext& context, CampaignChoice& choice) {
    if (choice.name.empty()) choice.name = remembered("LastSession");
    if (choice.alias.empty()) choice.alias = remembered("SessionKey");
    HostOptions dialog;
    dialog.open(choice, addresses, listCampaigns(),
                listRulesets(context.archiveRulesets ? context.archiveRulesets() : std::vector<std::string>{}));
    if (ui.runHostOptions(dialog, services, choice) <= 0) return 0;
    platform::writeRegistryValue(kRegistryKey, "LastSession", choice.name);
    if (!choice.alias.empty()) platform::writeRegistryValue(kRegistryKey, "SessionKey", choice.alias);
    return 1;
}

std::vector<std::string> listCampaigns() {
    std::vector<std::string> out;
    fs::path dir = platform::diskPath("campaigns");
    for (const std::string& name : sortedFolders(dir)) {
        std::ifstream db(platform::diskPath(platform::joinProgramPath({"campaigns", name, "db.xml"})));
        if (db.good()) out.push_back(name);
    }
    return out;
}

std::vector<std::string> listRulesets(const std::vector<std::string>& archiveRulesets) {
    std::vector<std::string> out = archiveRulesets;
    for (const std::string& name : sortedFolders(platform::diskPath("rulesets"))) {
        if (std::find(out.begin(), out.end(), name) == out.end()) out.push_back(name);
    }
    return out;
}

}  // namespace lh::net
