// The characters this process knows of: local ones on disk, server ones of
// a Campaign, and those in play, each a CharacterRecord with exactly one
// flag. A character in play has its own record beside its local or server
// one, so a name may stand twice; every look-up of who plays a character
// takes only the records in play.
//
// It also moves characters between the tree and their files: taking one on
// in the local-characters way in (openLocal, openServer), writing it back
// (saveLocal, saveCopy), and sending a local character to the host (upload).
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "ui/CharacterPort.h"

namespace lh::db {
class DbNode;
}

namespace lh::characters {

enum CharacterFlags : uint32_t {
    kLocalCharacter = 1,
    kServerCharacter = 2,
    kInPlay = 4,
};

struct CharacterRecord {
    std::string name;
    std::string campaign;  // of a server character
    std::string owner;     // user name of a character in play
    uint32_t flags = 0;
};

// What the registry's work sets going elsewhere; each may be empty.
struct RegistryHooks {
    // The strip of portraits.
    std::function<void(const std::string& name, const std::string& owner)> listAdd;
    std::function<void(const std::string& name)> listRemove;
    std::function<void(const std::string& name, const std::string& path)> showPortrait;
    // A client asks the host for a portrait (CHPRQ).
    std::function<void(const std::string& name)> requestPortrait;
    // Sends a portrait file to the host (CHPDQ).
    std::function<void(const std::string& path)> sendPortrait;
    // Whether a user of that name is connected now.
    std::function<bool(const std::string& userName)> userConnected;
    // The sheet of a character: opened, closed.
    std::function<void(const std::string& name)> openSheet;
    std::function<void(const std::string& name)> closeSheet;
    // Sends a record to the host; deletes one on the host.
    std::function<void(db::DbNode& node)> sendToHost;
    std::function<void(db::DbNode& node)> deleteNode;
    // A line in "systemfont".
    std::function<void(const std::string& text)> line;
};

class CharacterRegistry {
public:
    // Appends a record. One in play joins the strip; a client (not in the
    // local-characters way in) asks for its portrait unless told not to; a
    // host shows it at once from the Campaign's portraits.
    void record(const std::string& name, const std::string& owner, uint32_t flags, const std::string& campaign,
                bool skipPortraitRequest);
    // The record in play of that name, or null.
    const CharacterRecord* findInPlay(const std::string& name) const;
    // The connected user who plays the character; empty when none.
    std::string findUserOf(const std::string& name) const;
    // The character's player left: out of the strip and out of play.
    void forget(const std::string& name);
    // Records every local character of the Ruleset (no host does this).
    void scanLocalCharacters(const std::string& ruleset);
    // What IdentitySelection lists: every record not in play, and with
    // `withServerCopies` the copies of server characters on disk.
    std::vector<ui::CharacterChoice> choices(bool withServerCopies) const;

    // The local-characters way in. The character taken on before is
    // written back and put away first. openServer answers -1, having made
    // nothing, when the copy lacks the record.
    int openLocal(const std::string& name);
    int openServer(const std::string& name, const std::string& campaign);
    // Writes the character where it belongs, if this user may change it.
    void saveLocal(const std::string& name);
    void saveCopy(const std::string& name);
    // Client, once the host accepted a local character: the record and its
    // portrait go to the host.
    void upload(const std::string& name);
    // Host: the character's record and portrait go; refused (false) while
    // someone plays it.
    bool deleteCharacter(const std::string& name);

    // The character taken on in the local-characters way in; empty for none.
    const std::string& current() const { return active; }
    const std::vector<CharacterRecord>& records() const { return list; }
    void clear();

    RegistryHooks hooks;

private:
    int open(const std::string& name, const std::string& campaign, bool server);
    bool writable(const std::string& name) const;
    void say(const std::string& text) const;

    std::vector<CharacterRecord> list;
    std::string active;
};

CharacterRegistry& registry();

}  // namespace lh::characters
