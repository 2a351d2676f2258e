// The running Campaign: its record, its folder under "campaigns", and the
// life-cycle of its files. A session that did not end cleanly leaves
// "db.restore.xml" behind, and the next opening reports it.
//
// What the program calls, in order:
//   host, new:      createCampaignFolder(), loadCampaignDatabase()
//   host, existing: openCampaign(name), loadCampaignDatabase()
//   client:         createClientFolder() after the login answer
//   timer 6:        if (autosaveCampaign()) show "Campaign saved."
//   "/save":        saveCampaignDatabase()
//   clean exit:     saveCampaignOnExit()
#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "db/FixedText.h"

namespace lh::db {

class DbNode;

struct Campaign {
    FixedText<260> name;     // folder under "campaigns"
    FixedText<260> setting;  // starting database under "settings", or empty
    FixedText<260> ruleset;  // folder under "rulesets"
    FixedText<50> password;
    FixedText<260> chatLogPath;
    FixedText<50> alias;
    bool isNew = false;
    std::vector<std::string> rulesetFiles;  // files of the Ruleset outside "resource.pak"
    // The window bookmarks of the numeric pad: a class and record name each.
    struct WindowBookmark {
        FixedText<256> className;
        FixedText<256> recordName;
    };
    std::array<WindowBookmark, 10> bookmarks{};

    // Set when "db.xml" exists but could not be read whole: the tree in
    // memory is then less than the file, and no save may replace the file.
    bool databaseUnreadable = false;
};

Campaign& campaign();

// "campaigns\\<name>\\<file>", or "campaigns\\<name>" for an empty file.
std::string campaignPath(std::string_view file);

// Folder, "campaign.xml" and "images" for a new Campaign; sets isNew and the
// chat log path. -1 if the name is no safe folder name or the folder cannot
// be made.
int createCampaignFolder();
// The same for a client, with "clientsession.xml" and without isNew.
int createClientFolder();
// Opens an existing Campaign: reports and keeps a "db.restore.xml" left by a
// crash as "db.backup.xml", copies "db.xml" to "db.restore.xml", reads the
// Ruleset from "campaign.xml". -1 for a name that is no safe folder name.
int openCampaign(std::string_view name);

// The host's part of the content load: the starting database of a new
// Campaign with a setting, or "db.xml" of an existing one, then the image
// scan. A database that is not well formed ends the program with its box.
void loadCampaignDatabase(DbNode& root);

// Writes the tree as "db.xml" at `path` (a program path). Returns 0 without
// writing unless this process is the host; -1 if the file cannot be written,
// in which case the old file is untouched.
int saveDatabase(std::string_view path, const DbNode& root);
// saveDatabase to the Campaign's "db.xml"; refused (-1) while the file on
// disk holds more than was read.
int saveCampaignDatabase();
// Timer 6: true when the Campaign has a name, and the "Campaign saved." line
// is due (also on a client, where nothing is written).
bool autosaveCampaign();
// The host's clean exit: save, then delete "db.restore.xml". The recovery
// copy goes only once the save has been written.
int saveCampaignOnExit();

void addRulesetFile(std::string_view path);

}  // namespace lh::db
