// Character files and the scans of the folders that hold them.
#include "characters/CharacterFiles.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "db/DatabaseLoader.h"
#include "db/DatabaseWriter.h"
#include "db/DbNode.h"
#include "db/NameCheck.h"
#include "db/SafeFile.h"
#include "db/XmlParse.h"
#include "platform/Paths.h"

namespace lh::characters {

namespace fs = std::filesystem;

std::string localCharacterPath(std::string_view ruleset, std::string_view name) {
    return platform::joinProgramPath({"characters", ruleset, std::string(name) + ".xml"});
}

std::string localPortraitPath(std::string_view ruleset, std::string_view name) {
    return platform::joinProgramPath({"characters", ruleset, "portraits", name});
}

std::string serverCopyPath(std::string_view campaign, std::string_view name) {
    return platform::joinProgramPath({"campaigns", campaign, "characters", std::string(name) + ".xml"});
}

std::string campaignPortraitPath(std::string_view campaign, std::string_view name) {
    return platform::joinProgramPath({"campaigns", campaign, "portraits", name});
}

std::string characterFileText(const db::DbNode& character) {
    std::string text = "<root>\n\t<node name=\"charsheet\">\n";
    db::writeNode(text, character, 2);
    text += "\t</node>\n</root>\n";
    return text;
}

int writeCharacterFile(std::string_view programPath, const db::DbNode& character) {
    fs::path target = platform::diskPath(programPath);
    std::error_code ec;
    fs::create_directories(target.parent_path(), ec);
    if (ec) return -1;
    return db::writeFileSafely(target, characterFileText(character));
}

bool readCharacterFile(std::string_view programPath, db::DbNode& root, bool isStatic, std::string& error) {
    error.clear();
    if (!db::canOpenForReading(platform::diskPath(programPath))) return false;
    db::XmlParseResult result = db::loadDatabase(programPath, root, isStatic);
    if (result.status == db::XmlStatus::ok) return true;
    if (result.status == db::XmlStatus::malformed) {
        error = std::string(programPath) + ":" + result.error.message();
        while (!error.empty() && (error.back() == '\n' || error.back() == '\r')) error.pop_back();
    }
    return false;
}

db::DbNode* ensureCharacterNode(db::DbNode& root, std::string_view name) {
    if (!db::isUsableName(name)) return nullptr;
    db::DbNode* group = root.addChild(kCharacterGroup);
    return group ? group->addChild(name) : nullptr;
}

std::string characterNameOfFile(std::string_view fileName) {
    if (fileName.empty() || fileName.front() == '.') return {};
    std::string name(fileName.substr(0, fileName.find('.')));
    return db::isUsableName(name) ? name : std::string();
}

namespace {

// The plain files of a folder, by the character names they give, sorted.
std::vector<std::string> characterNamesIn(const fs::path& folder) {
    std::vector<std::string> names;
    std::error_code ec;
    for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
        std::error_code typeError;
        if (it->is_directory(typeError)) continue;
        std::string name = characterNameOfFile(it->path().filename().string());
        if (!name.empty()) names.push_back(std::move(name));
    }
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    return names;
}

// The Ruleset that a client's "clientsession.xml" names; empty when the
// file is missing or unreadable.
std::string rulesetOfClientSession(std::string_view campaignFolder) {
    const std::string file = platform::joinProgramPath({"campaigns", campaignFolder, "clientsession.xml"});
    if (!db::canOpenForReading(platform::diskPath(file))) return {};
    db::XmlParseResult parsed = db::parseXmlFileChecked(file);
    if (parsed.status != db::XmlStatus::ok || !parsed.root) return {};
    std::string tag, value;
    for (size_t i = 0;; ++i) {
        std::unique_ptr<db::XmlElement> child = parsed.root->childAt(i);
        if (!child) break;
        if (child->tagName(tag) == 0 && tag == "RULESET" && child->attribute("NAME", value) == 0) return value;
    }
    return {};
}

}  // namespace

std::vector<std::string> scanLocalCharacterFiles(std::string_view ruleset) {
    if (ruleset.empty()) return {};
    return characterNamesIn(platform::diskPath(platform::joinProgramPath({"characters", ruleset})));
}

std::vector<ServerCopy> scanServerCopies(std::string_view ruleset) {
    std::vector<ServerCopy> copies;
    if (ruleset.empty()) return copies;
    std::vector<std::string> campaigns;
    std::error_code ec;
    for (fs::directory_iterator it(platform::diskPath("campaigns"), ec), end; !ec && it != end; it.increment(ec)) {
        std::error_code typeError;
        std::string folder = it->path().filename().string();
        if (folder.empty() || folder.front() == '.' || !it->is_directory(typeError)) continue;
        campaigns.push_back(folder);
    }
    std::sort(campaigns.begin(), campaigns.end());
    for (const std::string& campaign : campaigns) {
        if (rulesetOfClientSession(campaign) != ruleset) continue;
        fs::path folder = platform::diskPath(platform::joinProgramPath({"campaigns", campaign}));
        for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
            std::error_code typeError;
            if (!it->is_directory(typeError) || !platform::sameNameNoCase(it->path().filename().string(), "characters"))
                continue;
            for (std::string& name : characterNamesIn(it->path())) copies.push_back({std::move(name), campaign});
            break;
        }
    }
    return copies;
}

}  // namespace lh::characters
