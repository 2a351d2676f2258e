// Characters on disk. A character is the record "charsheet.<name>" with
// everything below it; between sessions it rests in a file of its own:
//
//   characters\<ruleset>\<name>.xml           a local character, the player's
//   characters\<ruleset>\portraits\<name>     its portrait, no extension
//   campaigns\<campaign>\characters\<name>.xml a player's copy of a server character
//   campaigns\<campaign>\portraits\<name>     a portrait of that Campaign
//
// The file is the stored database form with the one record in it, so the
// database reader merges it into the tree. A character file is the user's
// own data: one that is not well formed is reported and leaves an empty
// character, it never ends the program.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace lh::db {
class DbNode;
}

namespace lh::characters {

// The record group of characters under the root.
inline constexpr const char* kCharacterGroup = "charsheet";

std::string localCharacterPath(std::string_view ruleset, std::string_view name);
std::string localPortraitPath(std::string_view ruleset, std::string_view name);
std::string serverCopyPath(std::string_view campaign, std::string_view name);
std::string campaignPortraitPath(std::string_view campaign, std::string_view name);

// "<root>\n", "\t<node name=\"charsheet\">\n", the character's record at two
// tabs, "\t</node>\n", "</root>\n".
std::string characterFileText(const db::DbNode& character);

// Writes the record to the program path, making its folders first: 0, or -1
// with the old file untouched.
int writeCharacterFile(std::string_view programPath, const db::DbNode& character);

// Reads a character file into `root` (static nodes with `isStatic`). True
// when the file was read whole; a missing file is false with an empty
// `error`, a malformed one false with the parser's words in `error`, and
// in both cases the tree is as it was.
bool readCharacterFile(std::string_view programPath, db::DbNode& root, bool isStatic, std::string& error);

// The record of the character, made (with "charsheet") when missing; null
// only for a name that cannot be a key.
db::DbNode* ensureCharacterNode(db::DbNode& root, std::string_view name);

// A file name's character name: the part before its first ".". Empty for
// names that begin with "." (hidden files), and for unusable names.
std::string characterNameOfFile(std::string_view fileName);

// Names of the local characters of a Ruleset: the files of
// "characters\<ruleset>", sorted. Folders and hidden files are skipped.
std::vector<std::string> scanLocalCharacterFiles(std::string_view ruleset);

struct ServerCopy {
    std::string name;
    std::string campaign;
};
// The players' copies of server characters of a Ruleset: for each Campaign
// folder whose "clientsession.xml" names that Ruleset, the files of its
// "characters" folder (found without regard to case). Sorted by Campaign,
// then name.
std::vector<ServerCopy> scanServerCopies(std::string_view ruleset);

}  // namespace lh::characters
