// The image scan.
#include "db/ImageRecords.h"

#include <cstdio>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "db/Campaign.h"
#include "db/SessionMode.h"
#include "db/DbNode.h"
#include "db/SafeFile.h"
#include "db/StringValue.h"
#include "db/TextEscape.h"
#include "platform/Paths.h"

namespace lh::db {

namespace fs = std::filesystem;

namespace {

bool looksLikePicture(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    char head[8] = {};
    in.read(head, sizeof head);
    std::string_view bytes(head, size_t(in.gcount()));
    return bytes.substr(0, 8) == "\x89PNG\r\n\x1a\n" || bytes.substr(0, 3) == "\xFF\xD8\xFF" ||
           bytes.substr(0, 2) == "BM" || bytes.substr(0, 4) == "GIF8";
}

PictureProbe pictureProbe = looksLikePicture;

// Every picture below `folder`, as program paths with backslashes under
// `programFolder`, skipping names that start with ".".
void collectPictures(const fs::path& folder, const std::string& programFolder, std::set<std::string>& paths) {
    std::error_code ec;
    for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
        std::string name = it->path().filename().string();
        if (name.empty() || name[0] == '.') continue;
        std::string programPath = programFolder + "\\" + name;
        if (it->is_directory(ec)) {
            collectPictures(it->path(), programPath, paths);
        } else if (pictureProbe(it->path())) {
            paths.insert(programPath);
        }
    }
}

// File name without folders and extension.
std::string displayName(const std::string& programPath) {
    size_t slash = programPath.find_last_of("\\/");
    std::string name = programPath.substr(slash == std::string::npos ? 0 : slash + 1);
    size_t dot = name.find_last_of('.');
    if (dot != std::string::npos && dot > 0) name.resize(dot);
    return name;
}

}  // namespace

void setPictureProbe(PictureProbe probe) { pictureProbe = probe ? probe : looksLikePicture; }

void refreshImageRecords(DbNode& root) {
    if (!isHost()) return;
    DbNode* group = root.addChildQuietly("image");
    if (!group) return;

    std::set<std::string> pictures;
    std::string imagesFolder = campaignPath("images");
    collectPictures(platform::diskPath(imagesFolder), imagesFolder, pictures);

    std::vector<DbNode*> gone;
    for (auto& [key, record] : group->children) {
        DbNode* image = record->child("image");
        const auto* value = image && image->kind == NodeKind::image ? image->valueAs<ImageValueBase>() : nullptr;
        if (!value || value->imagePath().empty()) continue;
        std::string path(value->imagePath());
        if (pictures.erase(path)) continue;
        if (!canOpenForReading(platform::diskPath(path))) gone.push_back(record);
    }
    for (DbNode* record : gone) delete record;

    unsigned next = 1;
    char id[16];
    for (const std::string& path : pictures) {
        for (;; ++next) {
            std::snprintf(id, sizeof id, "%05u", next);
            if (!group->child(id)) break;
        }
        DbNode* record = group->addChildQuietly(id);
        DbNode* image = record->addChildQuietly("image");
        auto value = makeValue(NodeKind::image);
        if (auto* imageValue = dynamic_cast<ImageValueBase*>(value.get())) imageValue->setImagePath(path);
        image->attachValue(std::move(value));
        DbNode* name = record->addChildQuietly("name");
        name->attachValue(NodeKind::stringValue);
        // Escaped first, as the value undoes escapes: a "#" in a file name
        // stays a "#".
        name->valueAs<StringValue>()->set(escapeText(displayName(path)));
    }
    group->notify(ChangeKind::children);
}

}  // namespace lh::db
