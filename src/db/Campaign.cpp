// The Campaign record and the life-cycle of its files.
#include "db/Campaign.h"

#include <cstdio>
#include <filesystem>
#include <system_error>

#include "db/Box.h"
#include "db/DatabaseLoader.h"
#include "db/DatabaseWriter.h"
#include "db/SessionMode.h"
#include "db/DbNode.h"
#include "db/ImageRecords.h"
#include "db/SafeFile.h"
#include "db/StoredText.h"
#include "db/XmlParse.h"
#include "platform/Paths.h"

namespace lh::db {

namespace fs = std::filesystem;

namespace {

// A Campaign name is one folder: the name of a client's Campaign comes from
// the host, and must not reach outside "campaigns".
bool isSafeFolderName(std::string_view name) {
    if (name.empty() || name == "." || name == "..") return false;
    return name.find_first_of(std::string_view("/\\\0:", 4)) == std::string_view::npos;
}

int makeFolder(std::string_view programPath) {
    std::error_code ec;
    fs::create_directories(platform::diskPath(programPath), ec);
    return ec ? -1 : 0;
}

// "campaign.xml" and "clientsession.xml": the root with one line per field.
int writeSessionFile(std::string_view file, bool withSetting) {
    std::string text = "<root>\n";
    if (withSetting) {
        text += "\t<setting name=\"";
        appendAttributeText(text, campaign().setting.view());
        text += "\" />\n";
    }
    text += "\t<ruleset name=\"";
    appendAttributeText(text, campaign().ruleset.view());
    text += "\" />\n</root>\n";
    return writeFileSafely(platform::diskPath(campaignPath(file)), text);
}

void setChatLogPath() { campaign().chatLogPath.set(campaignPath("chatlog.html")); }

int createFolder(std::string_view sessionFile, bool withSetting) {
    if (!isSafeFolderName(campaign().name.view())) return -1;
    if (makeFolder(campaignPath("")) != 0) return -1;
    if (writeSessionFile(sessionFile, withSetting) != 0) return -1;
    makeFolder(campaignPath("images"));
    setChatLogPath();
    return 0;
}

void reportLeftoverRestoreFile() {
    std::string backup = campaignPath("db.backup.xml");
    std::string database = campaignPath("db.xml");
    copyFileSafely(platform::diskPath(campaignPath("db.restore.xml")), platform::diskPath(backup));
    std::string text =
        "A backup database was found. It is probably the result of an earlier program crash, \nand has been copied "
        "to: \n\n\t" +
        backup + "\n\nIf you find the current campaign has been corrupted, please copy this file to \n\n\t" +
        database + " \n\nto restore this backup.";
    showBox("Possible campaign database corruption", text.c_str());
}

// Reads a stored database into the tree. A missing file reads nothing; a
// file that exists but cannot be read marks the Campaign so that no save
// replaces it; a malformed one ends the program.
void loadDatabaseFile(std::string_view programPath, DbNode& root, bool isCampaignDatabase) {
    XmlParseResult parsed = loadDatabase(programPath, root, false);
    if (parsed.status == XmlStatus::malformed) failOnMalformedXml(parsed.error);
    if (parsed.status == XmlStatus::missing) {
        std::error_code ec;
        if (isCampaignDatabase && fs::exists(platform::diskPath(programPath), ec)) {
            campaign().databaseUnreadable = true;
            std::string text = "The file\n\n\t" + std::string(programPath) +
                               "\n\ncould not be read. The campaign starts without it, and it will not be "
                               "overwritten in this session.";
            showBox("Campaign database", text.c_str());
        }
    }
}

}  // namespace

Campaign& campaign() {
    static Campaign record;
    return record;
}

std::string campaignPath(std::string_view file) {
    return platform::joinProgramPath({"campaigns", campaign().name.view(), file});
}

int createCampaignFolder() {
    if (createFolder("campaign.xml", true) != 0) return -1;
    campaign().isNew = true;
    return 0;
}

int createClientFolder() { return createFolder("clientsession.xml", false); }

int openCampaign(std::string_view name) {
    if (!isSafeFolderName(FixedText<260>::fit(name))) return -1;
    campaign().name.set(name);
    campaign().isNew = false;
    if (canOpenForReading(platform::diskPath(campaignPath("db.restore.xml")))) reportLeftoverRestoreFile();
    copyFileSafely(platform::diskPath(campaignPath("db.xml")), platform::diskPath(campaignPath("db.restore.xml")));
    setChatLogPath();

    std::unique_ptr<XmlElement> root = parseXmlFile(campaignPath("campaign.xml"));
    std::string tag, value;
    for (size_t i = 0; root; ++i) {
        std::unique_ptr<XmlElement> child = root->childAt(i);
        if (!child) break;
        if (child->tagName(tag) == 0 && tag == "RULESET" && child->attribute("NAME", value) == 0) {
            campaign().ruleset.set(value);
        }
    }
    return 0;
}

void loadCampaignDatabase(DbNode& root) {
    Campaign& c = campaign();
    if (c.isNew) {
        if (c.setting.empty()) return;
        loadDatabaseFile(platform::joinProgramPath({"settings", c.setting.view(), "db.xml"}), root, false);
    } else {
        loadDatabaseFile(campaignPath("db.xml"), root, true);
    }
    refreshImageRecords(root);
}

int saveDatabase(std::string_view path, const DbNode& root) {
    if (!isHost()) return 0;
    return writeFileSafely(platform::diskPath(path), databaseText(root));
}

int saveCampaignDatabase() {
    if (!isHost()) return 0;
    if (campaign().name.empty() || campaign().databaseUnreadable) return -1;
    return saveDatabase(campaignPath("db.xml"), rootNode());
}

bool autosaveCampaign() {
    if (campaign().name.empty()) return false;
    saveCampaignDatabase();
    return true;
}

int saveCampaignOnExit() {
    if (!isHost() || campaign().name.empty()) return 0;
    if (saveCampaignDatabase() != 0) return -1;
    std::error_code ec;
    fs::remove(platform::diskPath(campaignPath("db.restore.xml")), ec);
    return 0;
}

void addRulesetFile(std::string_view path) { campaign().rulesetFiles.emplace_back(path); }

}  // namespace lh::db
