// The character registry and the travels of a character between the tree,
// its files and the host.
#include "characters/CharacterRegistry.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "characters/CharacterFiles.h"
#include "db/Campaign.h"
#include "db/DbNode.h"
#include "db/NameCheck.h"
#include "db/SessionMode.h"
#include "db/Users.h"
#include "platform/Paths.h"
#include "ui/Identities.h"

namespace lh::characters {

namespace {

std::string rulesetName() { return std::string(db::campaign().ruleset.view()); }
std::string campaignName() { return std::string(db::campaign().name.view()); }

db::DbNode* characterNode(const std::string& name) {
    db::DbNode* group = db::rootNode().child(kCharacterGroup);
    return group ? group->child(name) : nullptr;
}

// The name the user speaks under now, or the one taken on here when no
// Identity is active.
std::string activeIdentity(const std::string& fallback) {
    const ui::Identity* identity = ui::activeIdentity();
    return identity ? identity->name : fallback;
}

}  // namespace

CharacterRegistry& registry() {
    static CharacterRegistry r;
    return r;
}

void CharacterRegistry::say(const std::string& text) const {
    if (hooks.line) {
        hooks.line(text);
    } else {
        std::fprintf(stderr, "%s\n", text.c_str());
    }
}

void CharacterRegistry::record(const std::string& name, const std::string& owner, uint32_t flags,
                               const std::string& campaign, bool skipPortraitRequest) {
    if (!db::isUsableName(name)) return;
    list.push_back({name, campaign, owner, flags});
    if (!(flags & kInPlay)) ui::characterPort().choicesChanged.emit();
    if ((flags & kInPlay) && hooks.listAdd) hooks.listAdd(name, owner);
    switch (db::sessionMode()) {
    case db::SessionMode::Join:
        if (!skipPortraitRequest && hooks.requestPortrait) hooks.requestPortrait(name);
        break;
    case db::SessionMode::Host:
        if (hooks.showPortrait) hooks.showPortrait(name, campaignPortraitPath(campaignName(), name));
        break;
    case db::SessionMode::LocalCharacters:
        break;
    }
}

const CharacterRecord* CharacterRegistry::findInPlay(const std::string& name) const {
    for (const CharacterRecord& r : list)
        if ((r.flags & kInPlay) && r.name == name) return &r;
    return nullptr;
}

std::string CharacterRegistry::findUserOf(const std::string& name) const {
    const CharacterRecord* r = findInPlay(name);
    if (!r || r->owner.empty()) return {};
    if (hooks.userConnected && !hooks.userConnected(r->owner)) return {};
    return r->owner;
}

void CharacterRegistry::forget(const std::string& name) {
    auto it = std::find_if(list.begin(), list.end(),
                           [&](const CharacterRecord& r) { return (r.flags & kInPlay) && r.name == name; });
    if (it == list.end()) return;
    list.erase(it);
    if (hooks.listRemove) hooks.listRemove(name);
}

void CharacterRegistry::scanLocalCharacters(const std::string& ruleset) {
    for (const std::string& name : scanLocalCharacterFiles(ruleset)) record(name, "", kLocalCharacter, "", false);
}

std::vector<ui::CharacterChoice> CharacterRegistry::choices(bool withServerCopies) const {
    std::vector<ui::CharacterChoice> out;
    const std::string ruleset = rulesetName();
    if (db::isHost()) {
        // The Gamemaster picks among the Campaign's own characters.
        if (db::DbNode* group = db::rootNode().child(kCharacterGroup)) {
            for (const auto& [key, node] : group->children) {
                std::string name(key);
                out.push_back({name, campaignName(), kServerCharacter, campaignPortraitPath(campaignName(), name)});
            }
        }
        return out;
    }
    for (const CharacterRecord& r : list) {
        if (r.flags & kInPlay) continue;
        std::string portrait = (r.flags & kLocalCharacter) ? localPortraitPath(ruleset, r.name)
                                                           : campaignPortraitPath(r.campaign, r.name);
        out.push_back({r.name, r.campaign, r.flags, portrait});
    }
    if (withServerCopies) {
        for (const ServerCopy& copy : scanServerCopies(ruleset))
            out.push_back({copy.name, copy.campaign, kServerCharacter, campaignPortraitPath(copy.campaign, copy.name)});
    }
    return out;
}

bool CharacterRegistry::writable(const std::string& name) const {
    db::DbNode* node = characterNode(name);
    if (!node || node->isStatic) return false;
    return db::isHost() || node->owner == &db::localUser();
}

int CharacterRegistry::open(const std::string& name, const std::string& campaign, bool server) {
    if (!db::isUsableName(name) || (server && !db::isUsableName(campaign))) return -1;
    // Put away the character taken on before: its sheet closes, it is
    // written back, and its records leave the tree so that the next one
    // starts from its own file alone.
    std::string previous = activeIdentity(active);
    if (!previous.empty()) {
        if (hooks.closeSheet) hooks.closeSheet(previous);
        saveLocal(previous);
        if (hooks.listRemove) hooks.listRemove(previous);
        ui::identities().removeIdentity(previous);
        if (db::DbNode* old = characterNode(previous)) delete old;
        active.clear();
    }

    const std::string path = server ? serverCopyPath(campaign, name) : localCharacterPath(rulesetName(), name);
    std::string error;
    if (!readCharacterFile(path, db::rootNode(), server, error) && !error.empty()) {
        say("The character file " + error);
    }
    db::DbNode* node = nullptr;
    if (server) {
        // A copy that lacks its record gives nothing to show.
        node = characterNode(name);
        if (!node) return -1;
        node->setOwner(nullptr);
    } else {
        node = ensureCharacterNode(db::rootNode(), name);
        if (!node) return -1;
        node->setOwner(&db::localUser());
    }

    ui::identities().selectOrMakeIdentity(name, "chatfont");
    active = name;
    if (hooks.listAdd) hooks.listAdd(name, "");
    if (hooks.showPortrait)
        hooks.showPortrait(name, server ? campaignPortraitPath(campaign, name) : localPortraitPath(rulesetName(), name));
    if (hooks.openSheet) hooks.openSheet(name);
    return 0;
}

int CharacterRegistry::openLocal(const std::string& name) { return open(name, "", false); }

int CharacterRegistry::openServer(const std::string& name, const std::string& campaign) {
    return open(name, campaign, true);
}

void CharacterRegistry::saveLocal(const std::string& name) {
    if (!writable(name)) return;
    // A failed write is silent: the old file stays as it was.
    writeCharacterFile(localCharacterPath(rulesetName(), name), *characterNode(name));
    bool known = std::any_of(list.begin(), list.end(),
                             [&](const CharacterRecord& r) { return (r.flags & kLocalCharacter) && r.name == name; });
    if (!known) record(name, "", kLocalCharacter, "", false);
}

void CharacterRegistry::saveCopy(const std::string& name) {
    if (!writable(name) || campaignName().empty()) return;
    writeCharacterFile(serverCopyPath(campaignName(), name), *characterNode(name));
}

void CharacterRegistry::upload(const std::string& name) {
    std::string error;
    const std::string ruleset = rulesetName();
    if (!readCharacterFile(localCharacterPath(ruleset, name), db::rootNode(), false, error) && !error.empty()) {
        say("The character file " + error);
    }
    db::DbNode* node = ensureCharacterNode(db::rootNode(), name);
    if (!node) return;
    // This side owns it (what the host's echo will confirm), so the sheet
    // can be edited at once.
    node->setOwner(&db::localUser());
    if (hooks.sendToHost) hooks.sendToHost(*node);
    if (hooks.sendPortrait) hooks.sendPortrait(localPortraitPath(ruleset, name));
}

bool CharacterRegistry::deleteCharacter(const std::string& name) {
    if (!db::isHost() || !findUserOf(name).empty()) return false;
    if (db::DbNode* node = characterNode(name)) {
        if (hooks.deleteNode) {
            hooks.deleteNode(*node);
        } else {
            delete node;
        }
    }
    std::error_code ec;
    std::filesystem::remove(platform::diskPath(campaignPortraitPath(campaignName(), name)), ec);
    std::erase_if(list, [&](const CharacterRecord& r) { return !(r.flags & kInPlay) && r.name == name; });
    ui::characterPort().choicesChanged.emit();
    return true;
}

void CharacterRegistry::clear() {
    list.clear();
    active.clear();
}

}  // namespace lh::characters
