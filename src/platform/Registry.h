// Remembered values of the user, kept between runs. They live in an INI file
// in the user's config folder ($LOREHAVEN_CONFIG_DIR, else
// $XDG_CONFIG_HOME/lorehaven, else ~/.config/lorehaven), one section per key
// path such as "Software\\Lorehaven".
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace lh::platform {

std::filesystem::path registryFile();

// The value, or nothing when the file, the section or the value is missing
// or unreadable: failures read as absent.
std::optional<std::string> readRegistryValue(const std::string& key, const std::string& name);

// Stores the value, keeping everything else in the file. Written to a temp
// file and renamed over the old one, so a crash leaves either file whole.
// False on failure, which callers may ignore.
bool writeRegistryValue(const std::string& key, const std::string& name, const std::string& value);

}  // namespace lh::platform
