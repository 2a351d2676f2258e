// Reading files that a Ruleset names, and the list of those that came from
// disk rather than the resource archive: the host offers that list to
// joining clients so that they can fetch what they lack.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "ui/PictureDecoder.h"

namespace lh::render {
class Bitmap;
}

namespace lh::ui {

class ResourceFile;

// Turns '/' into '\\' and, unless the archive holds the file, adds it to the
// list (once).
void NoteRulesetFile(std::string_view path);
const std::vector<std::string>& rulesetFiles();
void clearRulesetFiles();

// Where noted files go besides our list: the Campaign's list of Ruleset
// files, once the program wires it. Null keeps them here only.
using RulesetFileSink = void (*)(std::string_view path);
void setRulesetFileSink(RulesetFileSink sink);

// ResourceFile::Open plus NoteRulesetFile (noted whether it was found or not:
// a file that a client lacks is what the list is for).
bool openRulesetFile(std::string_view path, ResourceFile& file);

// A picture named by the Ruleset, decoded; empty when missing or unreadable.
PixelImage loadRulesetPicture(std::string_view path);
// The same as a Bitmap; an empty Bitmap (never null) when there is nothing.
std::unique_ptr<render::Bitmap> loadRulesetBitmap(std::string_view path);

}  // namespace lh::ui
