// The scan that keeps the group "image" in step with the picture files of
// the Campaign's "images" folder: a record for every new picture, none for a
// file that is gone.
#pragma once

#include <filesystem>

namespace lh::db {

class DbNode;

// Whether a file is a picture the program can load. The bitmap loader sets
// the real test; until then pictures are told by their first bytes (PNG,
// JPEG, BMP, GIF).
using PictureProbe = bool (*)(const std::filesystem::path& file);
void setPictureProbe(PictureProbe probe);

// Host only. Runs after the content load and whenever the main window is
// activated.
void refreshImageRecords(DbNode& root);

}  // namespace lh::db
