// Which files the file service may hand out, and where a client may write
// what it fetches. Paths come from another machine (backslashes on the wire)
// and are checked twice: by their words, then by where they land on disk
// after symlinks are followed.
//
// Content that may travel between host and clients:
//   "rulesets\..."                    every Ruleset file
//   "tokens\..." and "portraits\..."  token and portrait pictures
//   "characters\<name>\portraits\..." portraits of local characters
//   "campaigns\<name>\<sub>\..."      with <sub> one of images, tokens,
//                                     portraits, maskedimages, drawings,
//                                     modules (pictures taken out of one)
//   "temp\mask_snapshot_..." and "temp\drawing_snapshot_..."
//                                     snapshots of map layers
// Everything else stays on its machine: the Campaign's own files (db.xml
// and its copies, campaign.xml, chatlog.html, usersettings, players'
// character files), the starting databases under "settings", Module
// packages, the program's "data", and any name starting with ".".
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace lh::net {

// The check by words alone: a relative path without "..", ".", drive
// letter, leading separator or zero byte, inside the content above.
// Folder names compare without regard to case, as disk lookups do.
bool isContentPath(std::string_view programPath);

// The disk file behind a content path below `root`, for reading: the path
// must pass isContentPath, name an existing regular file, and still be
// content below `root` once every symlink is resolved. Empty if refused.
std::filesystem::path resolveContentFile(const std::filesystem::path& root, std::string_view programPath);

// The disk path that a fetched file is written to below `root`, with the
// folders on the way created. The same rules apply to the folder it lands
// in, symlinks resolved, before anything is created. Empty if refused.
std::filesystem::path prepareContentTarget(const std::filesystem::path& root, std::string_view programPath);

// The disk path for a program path below `root`, with the case-blind
// lookup, without any check.
std::filesystem::path diskPathBelow(const std::filesystem::path& root, std::string_view programPath);

}  // namespace lh::net
